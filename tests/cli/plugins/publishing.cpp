// Publishes fixed instances with everything that is hard to print, and says in the log what each class finds: an
// association logs how many drives it sees.
#include <map>

#include "plugin/host/add_to_vector_callback.h"
#include "tests/cli/plugins/test_plugin.h"

namespace {

using namespace NVEXTAL20;

constexpr const char* kHostile =
    "a\nb\033[31mred\t\"quoted\", comma\\back\x7F\xC2\x9B"
    "31m \xFFnot utf-8 \xC3\xA4";

using Texts = std::vector<std::pair<std::string, std::string>>;

std::map<std::string, std::vector<Texts>> publishedInstances() {
    return {
        {"VEXSG_DiskDrive",
         {{{"DeviceID", "/dev/sda"}, {"Name", "/dev/sda"}, {"Size", "18446744073709551615"}, {"NoOfPartitions", "0"}},
          {{"DeviceID", "/dev/sdb"}, {"Name", "/dev/sdb"}, {"Size", "0"}}}},
        {"VEXSG_DiskPartition",
         {{{"DeviceID", "/dev/sda1"},
           {"PartitionType", "17"},
           {"StartingOffset", "1050623"},
           {"Bootable", "true"},
           {"FaultTolerant", "false"}}}},
        {"VEXSG_LogicalDisk", {{{"DeviceID", kHostile}, {"OtherIdentifyingInfo[]", kHostile}, {"MountOptions", ""}}}},
    };
}

TCIMValue valueOf(const std::string& type, std::string text, const boost::shared_ptr<ICIMNamespace>& nameSpace) {
    return {TCIMValue::TCIMType(type), text, nameSpace};
}

/// A name that ends with [] is an array: one element with the text, and one more.
void assign(ICIMInstance& instance, std::string name, const std::string& text,
            const boost::shared_ptr<ICIMNamespace>& nameSpace) {
    const bool isArray = name.size() > 2 && name.compare(name.size() - 2, 2, "[]") == 0;
    if (isArray) name.resize(name.size() - 2);
    TCIMOptions options;
    const std::string type = instance.GetProperty(name, options)->GetType(options).ToString();
    TCIMValue value = valueOf(type, text, nameSpace);
    if (isArray) value.Set(TCIMValue::TCIMType(type), 256, {value, valueOf(type, "second", nameSpace)});
    instance.SetProperty(name, value, options);
}

std::size_t drivesIn(ICIMNamespace& nameSpace) {
    TCIMOptions options;
    std::vector<boost::shared_ptr<ICIMInstance>> drives;
    nameSpace.GetClass("VEXSG_DiskDrive", options)
        ->EnumerateInstances(TAddToVectorCallback<ICIMInstance>(drives), 1, options);
    return drives.size();
}

class Publishing : public test_plugin::TestPlugin {
public:
    void GetData(boost::shared_ptr<ICIMNamespace> nameSpace, test_plugin::Classes& classes) override {
        for (const auto& cls : classes) serve(*cls, nameSpace);
    }

private:
    static void serve(ICIMClass& cls, const boost::shared_ptr<ICIMNamespace>& nameSpace) {
        TCIMOptions options;
        const std::string name = cls.GetName(options);
        const bool isAssociation = cls.IsAssociation(options);
        TRootObject::GetCoreLogger()->Log(
            ILogger::kDebug,
            name + (isAssociation ? " sees " + std::to_string(drivesIn(*nameSpace)) + " drives" : " served"));
        const auto all = publishedInstances();
        const auto found = all.find(name);
        if (found == all.end()) return;
        for (const Texts& texts : found->second) {
            const auto instance = cls.CreateInstance(options);
            for (const auto& [property, text] : texts) assign(*instance, property, text, nameSpace);
            instance->AddToClass({});
        }
    }
};

const test_plugin::Registration<Publishing> registration;

}  // namespace
