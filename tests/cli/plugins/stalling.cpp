// Publishes a drive with two partitions, and never comes back from the logical disks, as from a dead network file
// system.
#include <unistd.h>

#include "tests/cli/plugins/test_plugin.h"

namespace {

using namespace NVEXTAL20;

class Stalling : public test_plugin::TestPlugin {
public:
    void GetData(boost::shared_ptr<ICIMNamespace> nameSpace, test_plugin::Classes& classes) override {
        for (const auto& cls : classes) {
            const std::string name = test_plugin::nameOf(*cls);
            if (name == "VEXSG_LogicalDisk")
                for (;;) ::pause();
            if (name == "VEXSG_DiskDrive") publish(*cls, nameSpace, {{"DeviceID", "/dev/sda"}, {"Size", "4096"}});
            if (name == "VEXSG_DiskPartition")
                for (const char* const device : {"/dev/sda1", "/dev/sda2"})
                    publish(*cls, nameSpace, {{"DeviceID", device}, {"Size", "512"}});
        }
    }

private:
    using Texts = std::vector<std::pair<std::string, std::string>>;

    static void publish(ICIMClass& cls, const boost::shared_ptr<ICIMNamespace>& nameSpace, const Texts& texts) {
        TCIMOptions options;
        const auto instance = cls.CreateInstance(options);
        for (const auto& [name, value] : texts) {
            std::string text = value;
            const std::string type = instance->GetProperty(name, options)->GetType(options).ToString();
            TCIMValue converted(TCIMValue::TCIMType(type), text, nameSpace);
            instance->SetProperty(name, converted, options);
        }
        instance->AddToClass({});
    }
};

const test_plugin::Registration<Stalling> registration;

}  // namespace
