// Requests from several threads at once: each gets the same result as alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "tests/contract/loop_disk.h"
#include "tests/contract/machine_witness.h"
#include "tests/contract/opened_plugin.h"

namespace contract {
namespace {

constexpr std::size_t kThreads = 4;
constexpr int kRequestsPerThread = 3;

using Texts = std::vector<std::map<std::string, std::string>>;

/// Everything a namespace holds, but for the free space, which others change all the time.
Texts contents(const second_host::Namespace& nameSpace) {
    Texts all;
    for (const std::string& name : servedClasses()) {
        for (const auto& instance : nameSpace.instances(name)) {
            all.push_back(instance->texts());
            all.back().erase("FreeSpace");
        }
    }
    return all;
}

boost::shared_ptr<second_host::Namespace> seeded() {
    const auto nameSpace = second_host::Namespace::create();
    nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sdq"}});
    nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", "/dev/sdq1"}});
    return nameSpace;
}

template <typename Work>
void onAllThreads(Work work) {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
}

TEST(Concurrency, EachNamespaceEndsAsIfItHadBeenServedAlone) {
    const LoopDisk disk;
    Loaded loaded;
    const auto aloneNow = [&] {
        const auto nameSpace = seeded();
        loaded.host.clearRecords();
        loaded.plugin.request(nameSpace, servedClasses());
        return std::pair(contents(*nameSpace), loaded.host.log());
    };
    std::vector<boost::shared_ptr<second_host::Namespace>> last(kThreads);
    std::vector<second_host::LogLine> jointLog;
    const auto [alone, ownLog] = whileStill(aloneNow, [&] {
        loaded.host.clearRecords();
        onAllThreads([&](std::size_t thread) {
            for (int n = 0; n < kRequestsPerThread; ++n) {
                last[thread] = seeded();
                loaded.plugin.request(last[thread], servedClasses());
            }
        });
        jointLog = loaded.host.log();
    });
    for (const auto& nameSpace : last) EXPECT_EQ(contents(*nameSpace), alone);
    EXPECT_EQ(jointLog.size(), ownLog.size() * kThreads * kRequestsPerThread);
    for (const second_host::LogLine& line : ownLog) {
        EXPECT_EQ(std::count(jointLog.begin(), jointLog.end(), line),
                  std::count(ownLog.begin(), ownLog.end(), line) * static_cast<int>(kThreads) * kRequestsPerThread)
            << line.text;
    }
}

TEST(Concurrency, OneNamespaceReceivesEveryThreadsInstances) {
    Loaded loaded;
    loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sdq"}});
    loaded.nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", "/dev/sdq1"}});
    onAllThreads([&](std::size_t) { loaded.request({"VEXSG_PartitionPresent", "VEXSG_DynamicExtent"}); });
    EXPECT_EQ(loaded.nameSpace->instances("VEXSG_PartitionPresent").size(), kThreads);
    EXPECT_EQ(loaded.host.log().size(), 2 * kThreads);
}

TEST(Concurrency, IdentityAndRequestsDoNotDisturbEachOther) {
    Loaded loaded;
    onAllThreads([&](std::size_t thread) {
        for (int n = 0; n < kRequestsPerThread; ++n) {
            if (thread % 2 == 0) {
                loaded.plugin.request(seeded(), {"VEXSG_PartitionPresent"});
            } else {
                EXPECT_EQ(loaded.plugin.entry().GetName(), "Disk Management Information Collector");
            }
        }
    });
    EXPECT_EQ(loaded.host.log().size(), kThreads / 2 * kRequestsPerThread);
}

}  // namespace
}  // namespace contract
