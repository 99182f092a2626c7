// The fault plan: which crossing fails, how, and that it then has no effect.
#include <gtest/gtest.h>

#include "plugin/host/os_specific.h"
#include "plugin/host/tal_exception.h"
#include "tests/unit/refhost/in_process_plugin.h"

namespace {

using namespace refhost_test;
using NVEXTAL20::ILogger;
using NVEXTAL20::TCIMOptions;
using NVEXTAL20::TCIMValue;
using NVEXTAL20::TOSSpecific;
using NVEXTAL20::TRootObject;
using refhost::FaultKind;
using refhost::FaultPlan;

class Faults : public ::testing::Test {
protected:
    /// Makes the next crossing fail in this way, for good when `fromThenOn`.
    void plan(FaultKind kind, std::size_t crossing = 1, bool fromThenOn = false) {
        setup.host.setFaultPlan({crossing, fromThenOn, kind});
    }
    WithHost setup;
};

TEST_F(Faults, CrossingsAreCountedFromThePlanOrTheHostsBirth) {
    const std::size_t before = setup.host.crossings();
    EXPECT_EQ(before, 2u);  // the plug-in's own registration: the manager, then the entry
    (void)TRootObject::GetCoreLogger();
    EXPECT_EQ(setup.host.crossings(), before + 1);
    plan(FaultKind::kTalException, 100);
    EXPECT_EQ(setup.host.crossings(), 0u);
    (void)TRootObject::GetCoreLogger();
    EXPECT_EQ(setup.host.crossings(), 1u);
    setup.host.clearFaultPlan();
    (void)TRootObject::GetCoreLogger();
    EXPECT_EQ(setup.host.crossings(), 2u);
}

TEST_F(Faults, ExactlyThePlannedCrossingThrows) {
    plan(FaultKind::kTalException, 2);
    EXPECT_TRUE(TOSSpecific::FileExists("/"));
    EXPECT_THROW((void)TOSSpecific::FileExists("/"), NVEXTAL20::TTALException);
    EXPECT_TRUE(TOSSpecific::FileExists("/"));
}

TEST_F(Faults, FromThenOnEveryLaterOneThrowsUntilThePlanIsCleared) {
    plan(FaultKind::kStandardException, 2, true);
    EXPECT_TRUE(TOSSpecific::FileExists("/"));
    for (int i = 0; i < 3; ++i) EXPECT_THROW((void)TOSSpecific::FileExists("/"), std::runtime_error);
    setup.host.clearFaultPlan();
    EXPECT_TRUE(TOSSpecific::FileExists("/"));
}

TEST_F(Faults, StandardExceptionIsNotTheHosts) {
    plan(FaultKind::kStandardException);
    try {
        (void)TOSSpecific::FileExists("/");
        FAIL() << "did not throw";
    } catch (const NVEXTAL20::TTALException&) {
        FAIL() << "threw the host's exception";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "planned failure of crossing 1, fileExists");
    }
}

TEST_F(Faults, ForeignExceptionIsANumber) {
    plan(FaultKind::kForeignException);
    EXPECT_THROW((void)TOSSpecific::FileExists("/"), int);
}

TEST_F(Faults, NullWhereAPointerIsReturned) {
    EXPECT_EQ(setup.failureOf([this](const Namespace& ns) {
        TCIMOptions options;
        const auto drives = classNamed(ns, "VEXSG_DiskDrive");
        const auto drive = drives->CreateInstance(options);
        auto& manager = dynamic_cast<NVEXTAL20::TPluginManagerNamespace&>(*TRootObject::GetPluginManager());
        plan(FaultKind::kNullResult, 1, true);
        EXPECT_EQ(TRootObject::GetPluginManager(), nullptr);
        EXPECT_EQ(TRootObject::GetCoreLogger(), nullptr);
        EXPECT_EQ(manager.RegisterPlugin(nullptr), nullptr);
        EXPECT_EQ(ns->GetClass("VEXSG_DiskDrive", options), nullptr);
        EXPECT_EQ(drives->GetNamespace(options), nullptr);
        EXPECT_EQ(drives->CreateInstance(options), nullptr);
        EXPECT_EQ(drive->GetProperty("Size", options), nullptr);
        setup.host.clearFaultPlan();
    }),
              "");
}

TEST_F(Faults, NullElsewhereDoesNoHarm) {
    EXPECT_EQ(setup.failureOf([this](const Namespace& ns) {
        const auto drive = newInstance(ns, "VEXSG_DiskDrive");
        plan(FaultKind::kNullResult, 1, true);
        EXPECT_TRUE(TOSSpecific::FileExists("/"));
        const TCIMValue size = parsed("uint64", "5");
        EXPECT_FALSE(size.IsNull());
        assign(*drive, "Size", size);
        drive->AddToClass({});
        EXPECT_EQ(pathOf(*drive), "VEXSG_DiskDrive");
        setup.host.clearFaultPlan();
        EXPECT_EQ(std::string(valueOf(*drive, "Size")), "5");
    }),
              "");
    EXPECT_EQ(setup.host.instances("VEXSG_DiskDrive").size(), 1u);
}

TEST_F(Faults, FailedCrossingHasNoEffect) {
    EXPECT_EQ(setup.failureOf([this](const Namespace& ns) {
        const auto drive = newInstance(ns, "VEXSG_DiskDrive");
        TCIMValue value = parsed("uint64", "5");
        plan(FaultKind::kTalException, 1, true);
        EXPECT_THROW(assign(*drive, "Size", value), NVEXTAL20::TTALException);
        EXPECT_THROW(drive->AddToClass({}), NVEXTAL20::TTALException);
        EXPECT_THROW(value.Set(TCIMValue::TCIMType(value.content() ? "string" : ""), 256, {}),
                     NVEXTAL20::TTALException);
        setup.host.clearFaultPlan();
        ILogger* const logger = TRootObject::GetCoreLogger();
        plan(FaultKind::kTalException);
        EXPECT_THROW(logger->Log(ILogger::kError, "unheard"), NVEXTAL20::TTALException);
        EXPECT_TRUE(valueOf(*drive, "Size").IsNull());
        EXPECT_EQ(std::string(value), "5");
    }),
              "");
    EXPECT_TRUE(setup.host.instances("VEXSG_DiskDrive").empty());
    EXPECT_TRUE(setup.host.log().empty());
}

TEST_F(Faults, HostsCallsIntoThePluginNeverFail) {
    plan(FaultKind::kTalException, 1, true);
    bool served = false;
    EXPECT_EQ(setup.request({"VEXSG_DiskDrive"}, [&](const Namespace&, Classes&) { served = true; }).failure,
              std::nullopt);
    EXPECT_TRUE(served);
}

TEST_F(Faults, ShowInTheTrace) {
    setup.host.startTrace();
    plan(FaultKind::kTalException);
    EXPECT_THROW((void)TRootObject::GetCoreLogger(), NVEXTAL20::TTALException);
    plan(FaultKind::kNullResult);
    EXPECT_EQ(TRootObject::GetCoreLogger(), nullptr);
    const std::vector<refhost::TraceEntry> entries = setup.host.takeTrace();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].throws, "planned failure of crossing 1, getCoreLogger");
    EXPECT_EQ(entries[1].returns, refhost::TraceValue());
}

}  // namespace
