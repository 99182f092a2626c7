// A plug-in whose entry object registers, and then throws out of the library's load-time constructor.
#include <stdexcept>
#include <string>

#include "plugin/host/plugin_callbacks.h"
#include "plugin/host/plugin_manager.h"
#include "plugin/host/root_object.h"
#include "plugin/host/tal_exception.h"

namespace {

class Entry final : public NVEXTAL20::IPluginCallbacks {
public:
    Entry() {
        auto* const manager =
            dynamic_cast<NVEXTAL20::TPluginManagerNamespace*>(NVEXTAL20::TRootObject::GetPluginManager().get());
        if (manager != nullptr) (void)manager->RegisterPlugin(this);
        throw THROWN;
    }
    unsigned int GetType() override { return 0; }
    std::string GetName() override { return "never in service"; }
    std::string GetVersion() override { return ""; }
    std::string GetInterfaceVersion() override { return ""; }
    void Init() override {}
    void DeInit() override {}
    void PrepareForUnload() override { delete this; }
};

__attribute__((constructor)) void enter() { new Entry; }

}  // namespace
