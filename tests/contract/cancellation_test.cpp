// A host thread that ends inside a call by the plug-in: its stack is unwound through the plug-in, the process lives,
// and the next request is clean.
#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>

#include "tests/contract/opened_plugin.h"

namespace contract {
namespace {

using second_host::Call;
using second_host::Refusal;

/// Runs the work on a new thread and returns its result: null when the thread ended by itself.
void* resultOf(std::function<void()> work) {
    const auto run = [](void* context) -> void* {
        (*static_cast<std::function<void()>*>(context))();
        return context;  // neither null nor PTHREAD_CANCELED
    };
    pthread_t thread{};
    if (pthread_create(&thread, nullptr, run, &work) != 0) throw std::runtime_error("no thread can be made");
    void* result = nullptr;
    (void)pthread_join(thread, &result);  // cannot fail: the thread exists and is joined only here
    return result == &work ? nullptr : result;
}

/// Every computed association and, of each kind, one class that only logs a line.
const std::vector<std::string> kClasses = {
    "VEXSG_DynamicExtent", "VEXSG_PartitionPresent",        "VEXSG_LogicalDiskBasedOnPartition",
    "VEXSG_MediaPresent",  "VEXSG_DriveInDynamicDiskGroup", "VEXSG_TapeDrive"};

class EndingThread : public ::testing::TestWithParam<Refusal> {
protected:
    /// A request over instances that are paired; the refusal answers the call of that number.
    void request(std::size_t refusedCall) {
        loaded.nameSpace = second_host::Namespace::create();
        loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sdq"}});
        loaded.nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", "/dev/sdq1"}});
        loaded.nameSpace->seed("VEXSG_LogicalDisk", {{"DeviceID", "/dev/sdq1"}});
        loaded.host.clearRecords();
        calls = 0;
        loaded.host.refuse(
            [this, refusedCall](const Call&) { return ++calls == refusedCall ? GetParam() : Refusal::kNone; });
        loaded.request(kClasses);
    }

    void expectACleanRequest() {
        request(0);
        for (const char* name : {"VEXSG_PartitionPresent", "VEXSG_LogicalDiskBasedOnPartition", "VEXSG_MediaPresent"}) {
            EXPECT_EQ(loaded.nameSpace->instances(name).size(), 1U) << name;
        }
        EXPECT_EQ(loaded.host.log().size(), kClasses.size());
    }

    Loaded loaded;
    std::size_t calls = 0;
};

TEST_P(EndingThread, UnwindsThroughEveryCallAndTheNextRequestIsClean) {
    expectACleanRequest();
    const std::size_t cleanCalls = calls;
    ASSERT_GT(cleanCalls, 60U);
    for (std::size_t n = 1; n <= cleanCalls; ++n) {
        SCOPED_TRACE("call " + std::to_string(n) + " of " + std::to_string(cleanCalls));
        bool cameBack = false;
        void* const left = resultOf([&] {
            request(n);
            cameBack = true;
        });
        EXPECT_FALSE(cameBack);
        EXPECT_EQ(left, GetParam() == Refusal::kThreadCancelled ? PTHREAD_CANCELED : nullptr);
        EXPECT_EQ(calls, n) << "the plug-in went on";
        if (HasFailure()) return;
    }
    expectACleanRequest();
}

INSTANTIATE_TEST_SUITE_P(Ways, EndingThread, ::testing::Values(Refusal::kThreadExit, Refusal::kThreadCancelled),
                         [](const auto& row) { return row.param == Refusal::kThreadExit ? "exit" : "cancellation"; });

}  // namespace
}  // namespace contract
