// Pairs a drive that it publishes with a file system that it does not.
#include "tests/cli/plugins/published_drive.h"

namespace {

using namespace test_plugin;

class DanglingPair : public TestPlugin {
    void GetData(NameSpace nameSpace, Classes& classes) override {
        for (const auto& cls : classes) {
            const std::string name = nameOf(*cls);
            if (name == "VEXSG_DiskDrive") publish(*cls, nameSpace, drive("/dev/sda"));
            if (name != "VEXSG_MediaPresent") continue;
            const std::string system = R"(,SystemCreationClassName="VEXSG_ComputerSystem",SystemName="here")";
            publish(
                *cls, nameSpace,
                {{"Antecedent", R"(VEXSG_DiskDrive.CreationClassName="VEXSG_DiskDrive",DeviceID="/dev/sda")" + system},
                 {"Dependent",
                  R"(VEXSG_LogicalDisk.CreationClassName="VEXSG_LogicalDisk",DeviceID="/dev/sda1")" + system}});
        }
    }
};

const Registration<DanglingPair> registration;

}  // namespace
