// Both providers match class names exactly, case included.
#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>

#include "provider/hardware_associations.h"
#include "provider/hardware_information.h"
#include "tests/support/fake_os.h"
#include "tests/support/host_session.h"
#include "tests/support/renamed_class.h"

namespace diskmgt_col {
namespace {

using diskmgt_test::callsByPlugin;
using diskmgt_test::Classes;
using diskmgt_test::FakeOs;
using diskmgt_test::HostSession;
using diskmgt_test::RenamedClass;
using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

TEST(ClassNameCase, ALowerCaseInstanceClassCreatesAndLogsNothing) {
    FakeOs machine;
    machine.sysfsDisk("sda", 8, "8:0", {}).device("/dev/sda", diskmgt_test::DiskImage());
    HostSession session;
    for (const std::string name : {"VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_DynamicExtent"}) {
        const auto result = session.insideRequest({name}, [&](auto nameSpace, Classes& classes) {
            const auto renamed = boost::shared_ptr<RenamedClass>(new RenamedClass(classes[0], lowered(name)));
            EXPECT_FALSE(HardwareInformation(nameSpace).enumerateInstances(renamed));
        });
        EXPECT_THAT(result.log, IsEmpty());
        EXPECT_THAT(session.host.instances(name), IsEmpty());
    }
    EXPECT_EQ(machine.calls(), 0);
}

TEST(ClassNameCase, ALowerCaseAssociationClassIsNotServed) {
    FakeOs machine;
    HostSession session;
    for (const std::string name : {"VEXSG_MediaPresent", "VEXSG_DynamicExtentInDiskGroup"}) {
        session.host.startTrace();
        const auto result = session.insideRequest({name}, [&](auto nameSpace, Classes& classes) {
            const auto renamed = boost::shared_ptr<RenamedClass>(new RenamedClass(classes[0], lowered(name)));
            EXPECT_EQ(HardwareAssociations(nameSpace).associate(renamed), 0);
        });
        EXPECT_THAT(result.log, IsEmpty());
        EXPECT_THAT(callsByPlugin(session.host.takeTrace()), Not(Contains("getClass")));
    }
}

}  // namespace
}  // namespace diskmgt_col
