// Keys and pairs of published instances: what is the plug-in's fault, and what the disks cause.
#include <gmock/gmock.h>

#include "check/instance_checks.h"
#include "check/pair_checks.h"
#include "tests/unit/inventory/published_scene.h"

namespace diskmgt {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

struct Instances : ::testing::Test {
    /// With a value in every key, and keys in the paths of pairs.
    std::vector<PublishedClass> published() {
        std::vector<PublishedClass> classes = scene.published.classes;
        for (PublishedClass& cls : classes)
            for (refhost::Instance& instance : cls.instances)
                for (refhost::PropertyValue& value : instance.properties) {
                    if (!value.declaration->isKey) continue;
                    if (value.declaration->type == "reference") {
                        instance.path += value.elements.front() + " ";
                    } else if (value.isNull) {
                        value.isNull = false;
                        value.elements = {"given"};
                    }
                }
        return classes;
    }

    /// "failure CLASS: text" or "remark CLASS: text".
    static std::vector<std::string> shown(const CheckFindings& findings) {
        std::vector<std::string> lines;
        for (const CheckFinding& finding : findings)
            lines.push_back((finding.isFailure ? "failure " : "remark ") + finding.className + ": " + finding.text);
        return lines;
    }

    PublishedScene scene;
};

TEST_F(Instances, SoundOnesGiveNoFinding) {
    scene.drive("/dev/sda", 4096, 1);
    scene.mbr("/dev/sda1", 512, 1, 0x83);
    scene.mounted("/dev/sda1", {"/"});
    scene.partitionOn("/dev/sda", "/dev/sda1");
    scene.mountedOnPartition("/dev/sda1", "/dev/sda1");
    EXPECT_THAT(shown(checkKeys(published())), IsEmpty());
    EXPECT_THAT(shown(checkPairs(published(), {})), IsEmpty());
}

TEST_F(Instances, AMissingKeyIsAFailureAndCounted) {
    scene.drive("/dev/sda", 4096, 0);
    scene.drive("/dev/sdb", 4096, 0);
    EXPECT_THAT(shown(checkKeys(scene.published.classes)),
                ElementsAre("failure VEXSG_DiskDrive: the key CreationClassName has no value in 2 instances",
                            "failure VEXSG_DiskDrive: the key SystemCreationClassName has no value in 2 instances",
                            "failure VEXSG_DiskDrive: the key SystemName has no value in 2 instances"));
}

TEST_F(Instances, EqualKeysAreAFailure) {
    scene.drive("/dev/sda", 4096, 0);
    scene.drive("/dev/sda", 4096, 0);
    EXPECT_THAT(
        shown(checkKeys(published())),
        ElementsAre("failure VEXSG_DiskDrive: 2 instances have the keys of VEXSG_DiskDrive.DeviceID=\"/dev/sda\""));
}

TEST_F(Instances, EqualKeysBesideOneExtendedPartitionAreAFailure) {
    scene.mbr("/dev/sda1", 512, 2, 0x05);
    scene.mbr("/dev/sdb1", 512, 2, 0x05);
    scene.mbr("/dev/sda5", 512, 3, 0x83);
    scene.mbr("/dev/sda5", 512, 3, 0x83);
    EXPECT_THAT(shown(checkKeys(published())), ElementsAre(HasSubstr("failure VEXSG_DiskPartition: 2 instances")));
}

TEST_F(Instances, EqualKeysOfTwoExtendedPartitionsAreARemarkAndSoAreTheirPairs) {
    scene.drive("/dev/sda", 4096, 0);
    scene.mbr("/dev/sda1", 512, 2, 0x05);
    scene.mbr("/dev/sda2", 512, 2, 0x05);
    for (int i = 0; i < 2; ++i) {
        scene.mbr("/dev/sda5", 512, 3, 0x83);
        scene.partitionOn("/dev/sda", "/dev/sda5");
    }
    EXPECT_THAT(shown(checkKeys(published())),
                ElementsAre("remark VEXSG_DiskPartition: 2 instances have the keys of "
                            "VEXSG_DiskPartition.DeviceID=\"/dev/sda5\": their disk has 2 extended partitions",
                            HasSubstr("remark VEXSG_PartitionPresent: 2 instances")));
}

TEST_F(Instances, PartitionsCalledByABareNumberAreARemark) {
    scene.gpt("1", 512, 0, 0);
    scene.gpt("1", 1024, 0, 0);
    EXPECT_THAT(shown(checkKeys(published())), ElementsAre(HasSubstr("remark VEXSG_DiskPartition: 2 instances")));
}

TEST_F(Instances, OnePairTwiceIsAFailure) {
    scene.drive("/dev/sda", 4096, 0);
    scene.mbr("/dev/sda1", 512, 1, 0x83);
    for (int i = 0; i < 2; ++i) scene.partitionOn("/dev/sda", "/dev/sda1");
    EXPECT_THAT(shown(checkKeys(published())), ElementsAre(HasSubstr("failure VEXSG_PartitionPresent: 2 instances")));
}

TEST_F(Instances, AnEndThatIsNotPublishedIsAFailure) {
    scene.drive("/dev/sda", 4096, 0);
    scene.mountedOnDrive("/dev/sda", "/dev/sda1");
    EXPECT_THAT(
        shown(checkPairs(published(), {})),
        ElementsAre("failure VEXSG_MediaPresent: a pair's Dependent is VEXSG_LogicalDisk.DeviceID=\"/dev/sda1\", "
                    "which is not published"));
}

TEST_F(Instances, AnEndThatTheHostPublishedIsThere) {
    scene.drive("/dev/sda", 4096, 0);
    scene.mountedOnDrive("/dev/sda", "/dev/sda1");
    refhost::Instance own;
    own.path = "VEXSG_LogicalDisk.DeviceID=\"/dev/sda1\"";
    EXPECT_THAT(shown(checkPairs(published(), {own})), IsEmpty());
}

TEST_F(Instances, PairsByNamesAlikeAreRemarks) {
    scene.drive("/dev/sda", 4096, 0);
    scene.drive("/dev/sdaa", 4096, 0);
    scene.mounted("/dev/sdaa1", {"/data"});
    scene.mountedOnDrive("/dev/sda", "/dev/sdaa1");
    EXPECT_THAT(
        shown(checkPairs(published(), {})),
        ElementsAre("remark VEXSG_MediaPresent: /dev/sdaa1 is paired with /dev/sda because the names are alike; "
                    "it belongs to /dev/sdaa"));
}

}  // namespace
}  // namespace diskmgt
