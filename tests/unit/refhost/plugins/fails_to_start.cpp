// A plug-in that registers but cannot be initialised.
#include <stdexcept>
#include <string>

#include "plugin/host/plugin_callbacks.h"
#include "plugin/host/plugin_manager.h"
#include "plugin/host/root_object.h"

namespace {

class Entry final : public NVEXTAL20::IPluginCallbacks {
public:
    Entry() {
        auto* const manager =
            dynamic_cast<NVEXTAL20::TPluginManagerNamespace*>(NVEXTAL20::TRootObject::GetPluginManager().get());
        if (manager != nullptr) (void)manager->RegisterPlugin(this);
    }
    unsigned int GetType() override { return 0; }
    std::string GetName() override { return "unfit"; }
    std::string GetVersion() override { return "1.0"; }
    std::string GetInterfaceVersion() override { return "1.0"; }
    void Init() override { throw std::runtime_error("no licence"); }
    void DeInit() override {}
    void PrepareForUnload() override {
        NVEXTAL20::TRootObject::GetCoreLogger()->Log(NVEXTAL20::ILogger::kStatus, "unfit one given back");
        delete this;
    }
};

__attribute__((constructor)) void enter() { new Entry; }

}  // namespace
