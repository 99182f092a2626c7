// The interfaces that a plug-in implements. The order of the virtual operations is binary interface.
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "plugin/host/tal_api.h"

namespace NVEXTAL20 {

class ICIMClass;
class ICIMNamespace;

/// Identity and life cycle of a plug-in. The host owns the object from registration on and gives it
/// back through `PrepareForUnload`.
class TAL_API IPluginCallbacks {
public:
    virtual ~IPluginCallbacks() = default;
    virtual unsigned int GetType() = 0;
    virtual std::string GetName() = 0;
    virtual std::string GetVersion() = 0;
    virtual std::string GetInterfaceVersion() = 0;
    /// The object frees itself: it must not be used afterwards.
    virtual void PrepareForUnload() = 0;
    virtual void Init() = 0;
    virtual void DeInit() = 0;
};

/// The one data request. The host finds it on the registered object by a run-time cast.
class TAL_API IPluginBasicQueryCallbacks {
public:
    virtual ~IPluginBasicQueryCallbacks() = default;
    /// Serves the classes in the order given; a class named twice is served twice. Exceptions end the request.
    virtual void GetData(boost::shared_ptr<ICIMNamespace> nameSpace,
                         std::vector<boost::shared_ptr<ICIMClass>>& classes) = 0;
};

}  // namespace NVEXTAL20
