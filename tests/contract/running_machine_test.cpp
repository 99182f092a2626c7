// Compares what the plug-in publishes about the running machine with the tests' own readings.
#include <gtest/gtest.h>

#include "tests/contract/loop_disk.h"
#include "tests/contract/machine_witness.h"
#include "tests/contract/opened_plugin.h"

namespace contract {
namespace {

using Instances = std::vector<boost::shared_ptr<second_host::Instance>>;

/// The instances that a request for the class publishes.
Instances requestAnew(Loaded& loaded, const std::string& className) {
    loaded.nameSpace = second_host::Namespace::create();
    loaded.request({className});
    return loaded.nameSpace->instances(className);
}

TEST(RunningMachine, DrivesAreTheListedDevicesWithAReadableSize) {
    const LoopDisk disk;  // containers often have disks that do not open
    Loaded loaded;
    Instances published;
    const auto drives = whileStill(readDrives, [&] { published = requestAnew(loaded, "VEXSG_DiskDrive"); });
    if (drives.empty()) GTEST_SKIP() << "no disk opens, and none can be attached: " << disk.failure();
    ASSERT_EQ(published.size(), drives.size());
    for (std::size_t i = 0; i < drives.size(); ++i) {
        SCOPED_TRACE(drives[i].path);
        EXPECT_EQ(published[i]->text("DeviceID"), drives[i].path);
        EXPECT_EQ(published[i]->text("Name"), drives[i].path);
        EXPECT_EQ(published[i]->text("ElementName"), drives[i].path);
        EXPECT_EQ(published[i]->text("Size"), std::to_string(drives[i].sizeBytes));
        ASSERT_TRUE(published[i]->text("NoOfPartitions").has_value());
        if (!drives[i].hasPartitions) {
            EXPECT_EQ(published[i]->text("NoOfPartitions"), "0");
        }
        EXPECT_EQ(published[i]->texts().size(), 8U) << "five facts and three stamps, no more";
    }
}

TEST(RunningMachine, AnAttachedDiskIsReportedWithItsSizeAndPartitions) {
    const LoopDisk disk;
    if (disk.path().empty()) GTEST_SKIP() << "no disk can be attached: " << disk.failure();
    Loaded loaded;
    for (const auto& drive : requestAnew(loaded, "VEXSG_DiskDrive")) {
        if (drive->text("DeviceID") != disk.path()) continue;
        EXPECT_EQ(drive->text("Size"), std::to_string(LoopDisk::kSizeBytes));
        EXPECT_EQ(drive->text("NoOfPartitions"), std::to_string(LoopDisk::kPartitions));
        return;
    }
    FAIL() << disk.path() << " is not reported";
}

TEST(RunningMachine, LogicalDisksAreTheMountedSourcesInByteOrder) {
    Loaded loaded;
    Instances published;
    const auto mounts = whileStill(readMounts, [&] { published = requestAnew(loaded, "VEXSG_LogicalDisk"); });
    ASSERT_EQ(published.size(), mounts.size());
    for (std::size_t i = 0; i < mounts.size(); ++i) {
        const Mount& mount = mounts[i];
        SCOPED_TRACE(mount.source);
        EXPECT_EQ(published[i]->text("DeviceID"), mount.source);
        EXPECT_EQ(published[i]->text("ElementName"), mount.source);
        EXPECT_EQ(published[i]->text("FileSystemName"), mount.type);
        if (mount.mountPoint.find(',') == std::string::npos) {
            EXPECT_EQ(published[i]->elements("OtherIdentifyingInfo"), std::vector<std::string>{mount.mountPoint});
        }
        EXPECT_EQ(published[i]->text("MountOptions"),
                  mount.space ? mount.options + ", " + mount.space->identifier : mount.options);
        EXPECT_EQ(published[i]->text("TotalSpace").has_value(), mount.space.has_value());
        EXPECT_EQ(published[i]->text("FreeSpace").has_value(), mount.space.has_value());
        if (!mount.space) continue;
        EXPECT_EQ(published[i]->text("TotalSpace"), std::to_string(mount.space->totalBytes));
        EXPECT_LE(std::stoull(*published[i]->text("FreeSpace")), mount.space->totalBytes);
    }
}

TEST(RunningMachine, PartitionsBelongToDiskNamesThatAreLookedFor) {
    Loaded loaded;
    loaded.request({"VEXSG_DiskPartition"});
    for (const auto& partition : loaded.nameSpace->instances("VEXSG_DiskPartition")) {
        const std::string id = partition->text("DeviceID").value_or("");
        const bool hasAKnownName = id.compare(0, 7, "/dev/sd") == 0 || id.compare(0, 7, "/dev/hd") == 0 ||
                                   id.compare(0, 7, "/dev/md") == 0 || id.compare(0, 9, "/dev/nvme") == 0 ||
                                   id.find_first_not_of("0123456789") == std::string::npos;
        EXPECT_TRUE(hasAKnownName) << id;
        EXPECT_TRUE(partition->text("Size").has_value()) << id;
        EXPECT_TRUE(partition->text("StartingOffset").has_value()) << id;
        EXPECT_TRUE(partition->text("PartitionType").has_value()) << id;
    }
}

}  // namespace
}  // namespace contract
