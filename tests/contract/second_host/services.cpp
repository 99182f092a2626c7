// The static services of the host interface, answered from the second host, and the host's exception.
#include <boost/make_shared.hpp>

#include "plugin/host/logger.h"
#include "plugin/host/os_specific.h"
#include "plugin/host/plugin_manager.h"
#include "plugin/host/root_object.h"
#include "plugin/host/schema_helper.h"
#include "plugin/host/tal_exception.h"
#include "tests/contract/second_host/host.h"

namespace NVEXTAL20 {

using second_host::PluginManager;
using second_host::SecondHost;

namespace {

class CoreLogger final : public ILogger {
public:
    void Log(ETALLogSeverity severity, const std::string& text) override {
        (void)SecondHost::current().isAnsweredNull({"Log", "", text, {}});
        SecondHost::current().writeLog(severity, text);
    }
};

/// A namespace that is no plug-in manager.
class ForeignNamespace final : public ICIMNamespace {
public:
    boost::shared_ptr<ICIMClass> GetClass(const std::string& className, TCIMOptions& /*options*/) override {
        throw TTALException("no class " + className + " here");
    }
};

CoreLogger theLogger;

std::string systemFact(const char* operation, const std::string& fact) {
    (void)SecondHost::current().isAnsweredNull({operation, "", "", {}});
    if (!SecondHost::current().offers().knowsItsSystem) throw TTALException("the hosting system is unknown");
    return fact;
}

}  // namespace

TTALException::TTALException(const std::string& text) : std::runtime_error(text) {}
TTALException::~TTALException() = default;

TPluginManagerNamespace::TPluginManagerNamespace() = default;
TPluginManagerNamespace::~TPluginManagerNamespace() = default;

boost::shared_ptr<ICIMClass> TPluginManagerNamespace::GetClass(const std::string& className, TCIMOptions& /*options*/) {
    throw TTALException("the plug-in manager has no class " + className);
}

TPluginManagerProvider* TPluginManagerNamespace::RegisterPlugin(IPluginCallbacks* entry) {
    return SecondHost::current().registerPlugin(entry);
}

boost::shared_ptr<ICIMNamespace> TRootObject::GetPluginManager() {
    switch (SecondHost::current().offers().pluginManager) {
        case PluginManager::kPresent:
            return boost::make_shared<TPluginManagerNamespace>();
        case PluginManager::kForeign:
            return boost::make_shared<ForeignNamespace>();
        case PluginManager::kNone:
            break;
    }
    return nullptr;
}

ILogger* TRootObject::GetCoreLogger() { return SecondHost::current().offers().hasLogger ? &theLogger : nullptr; }

std::string TCIMSchemaHelper::GetSystemName(boost::shared_ptr<ICIMNamespace> /*nameSpace*/) {
    return systemFact("GetSystemName", SecondHost::current().offers().systemName);
}

std::string TCIMSchemaHelper::GetSystemCreationClassName(boost::shared_ptr<ICIMNamespace> /*nameSpace*/) {
    return systemFact("GetSystemCreationClassName", SecondHost::current().offers().systemClassName);
}

// This host runs no programs and reads no files for its plug-ins; the disk plug-in needs neither.
std::string TOSSpecific::SpawnProcess(std::string program, std::vector<std::string> /*arguments*/,
                                      int /*timeLimitSeconds*/) {
    throw TTALException("this host does not run " + program);
}

std::string TOSSpecific::CaptureFile(std::string path) { throw TTALException("this host does not read " + path); }

bool TOSSpecific::FileExists(std::string path) { throw TTALException("this host does not look for " + path); }

int TOSSpecific::getBmcVirtualDevices(int controller, std::vector<std::string>& devices, bool refresh) {
    const std::string arguments = std::to_string(controller) + (refresh ? ", refresh" : "");
    (void)SecondHost::current().isAnsweredNull({"getBmcVirtualDevices", "", arguments, {}});
    const std::vector<std::string>& present = SecondHost::current().offers().virtualDevices;
    devices.insert(devices.end(), present.begin(), present.end());
    return static_cast<int>(present.size());
}

}  // namespace NVEXTAL20
