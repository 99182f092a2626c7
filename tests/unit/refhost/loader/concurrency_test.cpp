// Requests on several threads at once.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "plugin/host/add_to_vector_callback.h"
#include "plugin/host/logger.h"
#include "tests/unit/refhost/in_process_plugin.h"

namespace {

using namespace refhost_test;
using NVEXTAL20::ICIMInstance;
using NVEXTAL20::TCIMOptions;

constexpr int kThreads = 8;
constexpr int kRounds = 20;
constexpr int kInstances = 10;

void onThreads(const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
}

/// Publishes ten instances of each class asked for, logging each, and reads what others published meanwhile.
void serve(const Namespace& ns, Classes& classes) {
    TCIMOptions options;
    for (const auto& one : classes) {
        const std::string name = one->GetName(options);
        for (int i = 0; i < kInstances; ++i) {
            const auto instance = one->CreateInstance(options);
            assign(*instance, "DeviceID", parsed("string", std::to_string(i), ns));
            instance->AddToClass(options);
            NVEXTAL20::TRootObject::GetCoreLogger()->Log(NVEXTAL20::ILogger::kDebug, name);
        }
        std::vector<boost::shared_ptr<ICIMInstance>> found;
        classNamed(ns, "CIM_LogicalDevice")
            ->EnumerateInstances(NVEXTAL20::TAddToVectorCallback<ICIMInstance>(found), 1, options);
        for (const auto& instance : found) (void)pathOf(*instance);
    }
}

const std::vector<std::string> kClasses = {"VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk",
                                           "VEXSG_TapeDrive"};

TEST(Concurrency, EveryRequestHasItsOwnLogAndEveryClassItsInstancesOnce) {
    WithHost setup;
    (void)setup.request({}, serve);
    std::atomic<int> wrong{0};
    onThreads([&](int thread) {
        const std::string& name = kClasses[static_cast<std::size_t>(thread) % kClasses.size()];
        for (int round = 0; round < kRounds; ++round) {
            const refhost::RequestResult result = setup.host.request({name});
            if (result.failure || result.log.size() != kInstances) ++wrong;
            for (const refhost::LogLine& line : result.log)
                if (line.text != name) ++wrong;
            (void)setup.host.classBeingServed();
            (void)setup.host.instances(name);
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(setup.host.log().size(), static_cast<std::size_t>(kThreads * kRounds * kInstances));
    EXPECT_EQ(setup.host.classBeingServed(), "");
    for (const std::string& name : kClasses)
        EXPECT_EQ(setup.host.instances(name).size(), static_cast<std::size_t>(kInstances)) << name;
}

TEST(Concurrency, RequestThatALaterOneOvertookPublishesNothingMore) {
    WithHost setup;
    bool isOuter = true;
    (void)setup.request({"VEXSG_DiskDrive"}, [&](const Namespace& ns, Classes&) {
        newInstance(ns, "VEXSG_DiskDrive")->AddToClass({});
        if (!isOuter) return;
        isOuter = false;
        std::thread([&] { (void)setup.host.request({"VEXSG_DiskDrive"}); }).join();
        newInstance(ns, "VEXSG_DiskDrive")->AddToClass({});  // too late
        newInstance(ns, "VEXSG_TapeDrive")->AddToClass({});  // nobody else asked for these
    });
    EXPECT_EQ(setup.host.instances("VEXSG_DiskDrive").size(), 1u);
    EXPECT_EQ(setup.host.instances("VEXSG_TapeDrive").size(), 1u);
}

TEST(Concurrency, TraceAndFaultsMayChangeWhileRequestsRun) {
    WithHost setup;
    (void)setup.request({}, serve);
    std::atomic<bool> running{true};
    std::thread changer([&] {
        for (std::size_t i = 1; running; ++i) {
            setup.host.startTrace();
            setup.host.setFaultPlan({i % 50 + 1, false, refhost::FaultKind::kTalException});
            (void)setup.host.takeTrace();
            setup.host.clearFaultPlan();
            (void)setup.host.crossings();
        }
    });
    onThreads([&](int) {
        for (int round = 0; round < kRounds; ++round) (void)setup.host.request({"VEXSG_DiskDrive"});
    });
    running = false;
    changer.join();
    EXPECT_EQ(setup.host.request({"VEXSG_DiskDrive"}).failure, std::nullopt);
    EXPECT_EQ(setup.host.instances("VEXSG_DiskDrive").size(), static_cast<std::size_t>(kInstances));
}

TEST(Concurrency, AFaultPlanCountsFromZeroWhateverACallThatBeganBeforeItAdds) {
    WithHost setup;
    std::atomic<std::size_t> made{0};
    std::atomic<bool> running{true};
    std::thread caller([&] {
        while (running) {
            (void)NVEXTAL20::TRootObject::GetCoreLogger();
            ++made;
        }
    });
    for (int round = 0; round < 300; ++round) {
        while (made < static_cast<std::size_t>(round) * 10) std::this_thread::yield();  // some that nobody watches
        const std::size_t before = made;
        setup.host.setFaultPlan({0, false, refhost::FaultKind::kTalException});  // of a crossing that never comes
        const std::size_t counted = setup.host.crossings();
        EXPECT_LE(counted, made - before + 1);
        setup.host.clearFaultPlan();
    }
    running = false;
    caller.join();
}

TEST(Concurrency, InstanceMayBeReadWhileItIsWritten) {
    WithHost setup;
    boost::shared_ptr<ICIMInstance> shared;
    ASSERT_EQ(setup.failureOf([&](const Namespace& ns) { shared = newInstance(ns, "VEXSG_DiskDrive"); }), "");
    shared->AddToClass({});
    onThreads([&](int thread) {
        for (int round = 0; round < 200; ++round) {
            assign(*shared, "DeviceID", std::to_string(thread));
            EXPECT_EQ(std::string(valueOf(*shared, "DeviceID")).size(), 1u);
            EXPECT_EQ(setup.host.instances("VEXSG_DiskDrive").at(0).path.size(), pathOf(*shared).size());
        }
    });
}

}  // namespace
