// Thousands of requests to the running kernel, whatever disks the machine has: nothing grows.
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>

#include "collect/partition_table_parser.h"
#include "tests/support/disk_image.h"
#include "tests/support/host_session.h"

namespace {

using diskmgt_test::DiskImage;
using diskmgt_test::HostWithPlugin;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kBatches = 10;  // some ten times slower; leaks are found without counting bytes
constexpr bool kCountsBytes = false;
#else
constexpr int kBatches = 100;
constexpr bool kCountsBytes = true;
#endif
constexpr int kRequestsInABatch = 100;
constexpr std::size_t kAllowedGrowth = 16384;  // of what stays allocated; one lost string a request would be more

const std::vector<std::string>& everyClass() {
    static const std::vector<std::string> classes{"VEXSG_DiskDrive",
                                                  "VEXSG_CDROMDrive",
                                                  "VEXSG_DVDDrive",
                                                  "VEXSG_DisketteDrive",
                                                  "VEXSG_TapeDrive",
                                                  "VEXSG_DynamicDiskGroup",
                                                  "VEXSG_DynamicExtent",
                                                  "VEXSG_DiskPartition",
                                                  "VEXSG_LogicalDisk",
                                                  "VEXSG_MediaPresent",
                                                  "VEXSG_PartitionPresent",
                                                  "VEXSG_LogicalDiskBasedOnPartition",
                                                  "VEXSG_LogicalDiskBasedOnExtent",
                                                  "VEXSG_DynamicVolumeBasedOnExtent",
                                                  "VEXSG_DynamicExtentBasedOn",
                                                  "VEXSG_DriveInDynamicDiskGroup",
                                                  "VEXSG_DynamicExtentInDiskGroup"};
    return classes;
}

/// Numbers and targets of the open descriptors, less the one that lists them.
std::set<std::string> openDescriptors() {
    std::set<std::string> open;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const std::string target = std::filesystem::read_symlink(entry.path(), gone).string();
        if (!gone && target.find("/fd") == std::string::npos)
            open.insert(entry.path().filename().string() + " " + target);
    }
    return open;
}

std::size_t bytesInUse() { return ::mallinfo2().uordblks + ::mallinfo2().hblkhd; }

class Soak : public ::testing::Test {
protected:
    Soak() : folder(std::filesystem::temp_directory_path() / ("soak-" + std::to_string(::getpid()))) {
        std::filesystem::create_directories(folder);
        DiskImage()
            .slot(0, 0x83, 64, 100)
            .slot(1, 0x05, 200, 900)
            .slot(0, 0x83, 1, 10, 200)
            .slot(1, 0x05, 100, 10, 200)
            .slot(0, 0x83, 1, 10, 300)
            .writeTo(mbrDisk());
        DiskImage().gpt(128).gptEntry(3, "0FC63DAF-8483-4772-8E79-3D69D8477DE4", 40, 99).writeTo(gptDisk());
    }
    ~Soak() override { std::filesystem::remove_all(folder); }

    std::string mbrDisk() const { return folder / "mbr.img"; }
    std::string gptDisk() const { return folder / "gpt.img"; }

    /// A host, its requests, and the end of both.
    void runBatch() {
        HostWithPlugin session;
        for (int i = 0; i < kRequestsInABatch; ++i) {
            ASSERT_FALSE(session.host.request(everyClass()).failure);
            ASSERT_EQ(diskmgt_col::PartitionTableParser().enumPartitions({mbrDisk(), gptDisk()}).size(), 5U);
        }
    }

    std::filesystem::path folder;
};

TEST_F(Soak, ThousandsOfRequestsLeaveNoDescriptorAndNoMemoryBehind) {
    for (int i = 0; i < 2; ++i) ASSERT_NO_FATAL_FAILURE(runBatch());  // buffers that stay are there now
    const std::set<std::string> before = openDescriptors();
    const std::size_t bytesBefore = bytesInUse();
    for (int batch = 0; batch < kBatches; ++batch) {
        ASSERT_NO_FATAL_FAILURE(runBatch());
        ASSERT_EQ(openDescriptors(), before) << "after batch " << batch;
        if (kCountsBytes) {
            ASSERT_LE(bytesInUse(), bytesBefore + kAllowedGrowth) << "after batch " << batch;
        }
    }
}

}  // namespace
