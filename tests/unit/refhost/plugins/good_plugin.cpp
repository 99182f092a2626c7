// A plug-in that registers properly and publishes one drive a request. Its life shows in the host's log.
#include <memory>
#include <string>

#include "plugin/host/cim_model.h"
#include "plugin/host/plugin_callbacks.h"
#include "plugin/host/plugin_manager.h"
#include "plugin/host/root_object.h"

namespace {

using namespace NVEXTAL20;

#ifdef SECOND_PLUGIN
constexpr const char* kName = "Second test plug-in";
#else
constexpr const char* kName = "Test plug-in";
#endif

void say(const std::string& text) {
    TRootObject::GetCoreLogger()->Log(ILogger::kStatus, *std::make_shared<std::string>(kName) + ": " + text);
}

class Entry final : public IPluginCallbacks, public IPluginBasicQueryCallbacks {
public:
    Entry() {
        auto* const manager = dynamic_cast<TPluginManagerNamespace*>(TRootObject::GetPluginManager().get());
        if (manager != nullptr) (void)manager->RegisterPlugin(this);
    }
    unsigned int GetType() override { return 7; }
    std::string GetName() override { return kName; }
    std::string GetVersion() override { return "2.5"; }
    std::string GetInterfaceVersion() override { return "1.0"; }
    void Init() override { say("init"); }
    void DeInit() override { say("deinit"); }
    void PrepareForUnload() override {
        say("unload");
        delete this;
    }
    void GetData(boost::shared_ptr<ICIMNamespace> nameSpace,
                 std::vector<boost::shared_ptr<ICIMClass>>& classes) override {
        TCIMOptions options;
        for (const auto& one : classes) {
            const boost::shared_ptr<ICIMInstance> drive = one->CreateInstance(options);
            std::string text = "1024";
            TCIMValue size(TCIMValue::TCIMType("uint64"), text, nameSpace);
            drive->SetProperty("Size", size, options);
            drive->AddToClass(options);
        }
    }
};

__attribute__((constructor)) void enter() { new Entry; }

}  // namespace
