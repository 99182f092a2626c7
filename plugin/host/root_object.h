// TRootObject: the static access point to the host's services.
#pragma once

#include <boost/shared_ptr.hpp>

#include "plugin/host/cim_model.h"
#include "plugin/host/logger.h"
#include "plugin/host/tal_api.h"

namespace NVEXTAL20 {

class TAL_API TRootObject {
public:
    /// The plug-in manager, whose object is a `TPluginManagerNamespace`; null when the host has none.
    static boost::shared_ptr<ICIMNamespace> GetPluginManager();
    /// The core logger. Owned by the host, valid for the process.
    static ILogger* GetCoreLogger();
};

}  // namespace NVEXTAL20
