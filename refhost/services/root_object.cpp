// TRootObject: answers from the host that exists, or as if there were none.
#include "plugin/host/root_object.h"

#include "refhost/boundary/boundary.h"
#include "refhost/services/core_logger.h"
#include "refhost/services/plugin_manager.h"

namespace NVEXTAL20 {

boost::shared_ptr<ICIMNamespace> TRootObject::GetPluginManager() {
    return refhost::crossToPointer(
        "getPluginManager", refhost::noArguments,
        [] { return boost::shared_ptr<ICIMNamespace>(refhost::PluginManager::current()); },
        [](const auto&) { return std::string("plug-in manager"); });
}

ILogger* TRootObject::GetCoreLogger() {
    return refhost::crossToPointer(
        "getCoreLogger", refhost::noArguments, []() -> ILogger* { return &refhost::CoreLogger::instance(); },
        [](ILogger*) { return std::string("core logger"); });
}

}  // namespace NVEXTAL20
