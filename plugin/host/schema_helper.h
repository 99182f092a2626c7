// TCIMSchemaHelper: the identity of the hosting computer system, as the schema knows it.
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "plugin/host/cim_model.h"
#include "plugin/host/tal_api.h"

namespace NVEXTAL20 {

class TAL_API TCIMSchemaHelper {
public:
    /// The hosting computer system's name; throws `TTALException` when the namespace has no such system.
    static std::string GetSystemName(boost::shared_ptr<ICIMNamespace> nameSpace);
    /// The class name of the hosting computer system; throws `TTALException` in the same case.
    static std::string GetSystemCreationClassName(boost::shared_ptr<ICIMNamespace> nameSpace);
};

}  // namespace NVEXTAL20
