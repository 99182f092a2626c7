// Which classes are asked for when one is named.
#include "session/served_classes.h"

#include <gmock/gmock.h>

namespace diskmgt {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

/// A host with classes of another plug-in's author: one above another, and an abstract one.
const refhost::ReferenceHost& host() {
    static const refhost::ReferenceHost made = [] {
        refhost::HostOptions options;
        options.discoverVirtualDevices = false;
        options.schemaTexts.push_back({"my.mof",
                                       "class MY_Volume : CIM_LogicalDevice {};\n"
                                       "class MY_Mirror : MY_Volume {};\n"
                                       "[Abstract] class MY_Thing : CIM_LogicalDevice {};\n"});
        return refhost::ReferenceHost(options);
    }();
    return made;
}

TEST(RequestedClasses, AServedClassIsAskedForAsOftenAsItIsNamed) {
    EXPECT_THAT(requestedClasses(host(), {"VEXSG_DiskDrive", "VEXSG_DiskDrive"}),
                ElementsAre("VEXSG_DiskDrive", "VEXSG_DiskDrive"));
}

TEST(RequestedClasses, AClassAboveGivesWayToTheServedOnesBeneath) {
    const std::vector<std::string> requested = requestedClasses(host(), {"CIM_LogicalDevice"});
    EXPECT_THAT(requested, Contains("VEXSG_DiskDrive"));
    EXPECT_THAT(requested, Contains("MY_Mirror"));
    EXPECT_THAT(requested, Not(Contains("CIM_LogicalDevice")));
    EXPECT_THAT(requested, Not(Contains("MY_Thing")));
}

TEST(RequestedClasses, AFurtherClassIsAskedForBesideThoseBeneathIt) {
    EXPECT_THAT(requestedClasses(host(), {"MY_Volume"}), ElementsAre("MY_Mirror", "MY_Volume"));
}

TEST(RequestedClasses, AClassWithoutAServedOneBeneathIsAskedForItself) {
    EXPECT_THAT(requestedClasses(host(), {"VEXSG_ComputerSystem"}), ElementsAre("VEXSG_ComputerSystem"));
}

}  // namespace
}  // namespace diskmgt
