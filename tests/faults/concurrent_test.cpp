// Eight threads at once: every request logs and publishes the same as alone.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "collect/logical_disk_information.h"
#include "collect/partition_information.h"
#include "tests/faults/full_request.h"
#include "tests/support/host_session.h"

namespace {

using diskmgt_test::allClasses;
using diskmgt_test::describeServer;
using diskmgt_test::differences;
using diskmgt_test::FakeOs;
using diskmgt_test::FullRequest;
using diskmgt_test::Outcome;
using diskmgt_test::Texts;

constexpr int kThreads = 8;
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kRounds = 40;  // some ten times slower
#else
constexpr int kRounds = 400;
#endif

class Concurrent : public ::testing::Test {
protected:
    Concurrent() {
        describeServer(machine);
        machine.keepNoTexts();
        clean = request.run();
    }

    /// Runs the work of each thread, given its number, as simultaneously as possible.
    template <typename Work>
    static void onAllThreads(const Work& work) {
        std::vector<std::thread> threads;
        std::atomic<int> ready{0};
        for (int number = 0; number < kThreads; ++number)
            threads.emplace_back([&, number] {
                ++ready;
                while (ready < kThreads) std::this_thread::yield();
                for (int round = 0; round < kRounds; ++round) work(number);
            });
        for (std::thread& thread : threads) thread.join();
    }

    std::vector<Texts> publishedOf(const std::string& className) const {
        std::vector<Texts> texts;
        for (const refhost::Instance& instance : request.host.instances(className))
            texts.push_back(diskmgt_test::textsOf(instance));
        return texts;
    }

    FakeOs machine;
    FullRequest request;
    Outcome clean;
};

TEST_F(Concurrent, FullRequestsAgreeAndTheLatestOneStays) {
    std::atomic<int> wrong{0};
    onAllThreads([&](int) {
        const refhost::RequestResult result = request.host.request(allClasses());
        if (result.failure || diskmgt_test::linesOf(result.log) != clean.log) ++wrong;
    });
    EXPECT_EQ(wrong, 0);
    for (const std::string& className : allClasses())
        EXPECT_EQ(publishedOf(className), clean.of(className)) << className;
    EXPECT_EQ(machine.openHandles(), 0);
    EXPECT_EQ(machine.staleUses(), 0);
}

TEST_F(Concurrent, RequestsForDifferentClassesDoNotMeet) {
    static const char* const classes[kThreads] = {
        "VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk",      "VEXSG_CDROMDrive",
        "VEXSG_TapeDrive", "VEXSG_DynamicExtent", "VEXSG_DynamicDiskGroup", "VEXSG_DynamicExtentBasedOn"};
    std::atomic<int> wrong{0};
    onAllThreads([&](int number) {
        const std::string className = classes[number];
        const refhost::RequestResult result = request.host.request({className});
        if (result.failure || publishedOf(className) != clean.of(className)) ++wrong;
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(differences(request.run(), clean), "");
}

TEST_F(Concurrent, AssociationsAreComputedFromTheSameInstancesByAll) {
    static const char* const classes[] = {"VEXSG_MediaPresent", "VEXSG_PartitionPresent",
                                          "VEXSG_LogicalDiskBasedOnPartition"};
    std::atomic<int> wrong{0};
    onAllThreads([&](int number) {
        if (number >= 3) return;
        const std::string className = classes[number];
        const refhost::RequestResult result = request.host.request({className});
        if (result.failure || publishedOf(className) != clean.of(className)) ++wrong;
    });
    EXPECT_EQ(wrong, 0);
}

TEST_F(Concurrent, CollectorsShareNothing) {
    diskmgt_col::LDMStore store;
    const auto partitions = diskmgt_col::PartitionInformation().doEnumeration(store);
    const auto logicalDisks = diskmgt_col::LogicalDiskInformation().doEnumeration(store);
    std::atomic<int> wrong{0};
    onAllThreads([&](int number) {
        diskmgt_col::LDMStore ownStore;
        const bool isSame = number % 2 == 0
                                ? diskmgt_col::PartitionInformation().doEnumeration(ownStore) == partitions
                                : diskmgt_col::LogicalDiskInformation().doEnumeration(ownStore) == logicalDisks;
        if (!isSame) ++wrong;
    });
    EXPECT_EQ(wrong, 0);
}

}  // namespace
