// Thousands of requests on the running kernel, with any disks: memory and descriptors do not grow.
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>

#include "collect/partition_table_parser.h"
#include "tests/support/disk_image.h"
#include "tests/support/host_session.h"
#include "tests/support/served_classes.h"

namespace {

using diskmgt_test::DiskImage;
using diskmgt_test::HostWithPlugin;
using diskmgt_test::servedClasses;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kBatches = 10;  // some ten times slower; leaks are found without counting bytes
constexpr bool kCountsBytes = false;
#else
constexpr int kBatches = 100;
constexpr bool kCountsBytes = true;
#endif
constexpr int kRequestsInABatch = 100;
/// What the allocator keeps for a thread counts as in use, and how much that is changes with the machine's disks.
constexpr const char* kWithoutThreadCache = "glibc.malloc.tcache_count=0";

bool canCountBytes() {
    const char* const tunables = std::getenv("GLIBC_TUNABLES");
    return tunables != nullptr && std::strstr(tunables, kWithoutThreadCache) != nullptr;
}

/// Numbers and targets of the open descriptors, except the one used for listing.
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

    /// Makes a host, runs its requests and destroys it.
    void runBatch() {
        HostWithPlugin session;
        for (int i = 0; i < kRequestsInABatch; ++i) {
            ASSERT_FALSE(session.host.request(servedClasses()).failure);
            ASSERT_EQ(diskmgt_col::PartitionTableParser().enumPartitions({mbrDisk(), gptDisk()}).size(), 5U);
        }
    }

    std::filesystem::path folder;
};

TEST_F(Soak, ThousandsOfRequestsLeaveNoDescriptorAndNoMemoryBehind) {
    if (kCountsBytes && !canCountBytes()) GTEST_SKIP() << "run it with GLIBC_TUNABLES=" << kWithoutThreadCache;
    for (int i = 0; i < 2; ++i) ASSERT_NO_FATAL_FAILURE(runBatch());  // lasting buffers are allocated now
    const std::set<std::string> before = openDescriptors();
    const std::size_t bytesBefore = bytesInUse();
    for (int batch = 0; batch < kBatches; ++batch) {
        ASSERT_NO_FATAL_FAILURE(runBatch());
        ASSERT_EQ(openDescriptors(), before) << "after batch " << batch;
        if (kCountsBytes) {
            ASSERT_EQ(bytesInUse(), bytesBefore) << "after batch " << batch;
        }
    }
}

}  // namespace
