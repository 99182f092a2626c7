// A plug-in with a class of its own: the types of file systems that the kernel knows, from /proc/filesystems.
#include <fstream>

#include "plugin/host/cim_model.h"
#include "plugin/host/plugin_callbacks.h"
#include "plugin/host/plugin_manager.h"
#include "plugin/host/root_object.h"

using namespace NVEXTAL20;

namespace {

using NameSpace = boost::shared_ptr<ICIMNamespace>;

void assign(ICIMInstance& instance, const char* property, const char* type, std::string text,
            const NameSpace& nameSpace) {
    TCIMOptions options;
    TCIMValue value(TCIMValue::TCIMType(type), text, nameSpace);
    instance.SetProperty(property, value, options);
}

class FileSystemTypes : public IPluginCallbacks, public IPluginBasicQueryCallbacks {
    unsigned int GetType() override { return 0; }
    std::string GetName() override { return "File system types"; }
    std::string GetVersion() override { return "1.0"; }
    std::string GetInterfaceVersion() override { return "1.0"; }
    void Init() override {}
    void DeInit() override {}
    void PrepareForUnload() override { delete this; }

    void GetData(NameSpace nameSpace, std::vector<boost::shared_ptr<ICIMClass>>& classes) override {
        for (const auto& cls : classes) {
            TCIMOptions options;
            if (cls->GetName(options) != "EXAMPLE_FileSystemType") continue;  // of another plug-in
            std::ifstream types("/proc/filesystems");
            for (std::string first, name; std::getline(types, first, '\t') && std::getline(types, name);) {
                TCIMOptions ofInstance;
                const auto instance = cls->CreateInstance(ofInstance);
                if (!instance) return;  // the host refuses
                assign(*instance, "Name", "string", name, nameSpace);
                assign(*instance, "NeedsDevice", "boolean", first == "nodev" ? "false" : "true", nameSpace);
                instance->AddToClass({});
            }
        }
    }
};

__attribute__((constructor)) void registerPlugin() {
    const auto manager = boost::dynamic_pointer_cast<TPluginManagerNamespace>(TRootObject::GetPluginManager());
    if (manager) manager->RegisterPlugin(new FileSystemTypes);  // the host's from now on
}

}  // namespace
