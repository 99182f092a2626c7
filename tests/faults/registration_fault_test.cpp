// Registration in a host that fails: the plug-in stays unregistered and silent, and leaks nothing.
#include <gtest/gtest.h>

#include "plugin/entry/disk_mgt_callbacks.h"
#include "plugin/host/tal_exception.h"
#include "plugin/log/log_message.h"
#include "tests/faults/full_request.h"
#include "tests/support/host_session.h"

namespace {

using diskmgt_col::LogMessage;
using diskmgt_col::TDiskMgtCallbacks;
using diskmgt_test::describeServer;
using diskmgt_test::FakeOs;
using refhost::FaultKind;

constexpr std::size_t kCrossings = 2;  // get the plug-in manager, register the plug-in

class RegistrationFault : public ::testing::TestWithParam<std::size_t> {
protected:
    RegistrationFault() { describeServer(machine); }
    ~RegistrationFault() override { LogMessage::setPluginInstance(nullptr); }

    void plan(FaultKind kind) { host.setFaultPlan({GetParam(), false, kind}); }

    void expectThatALaterOneServes() {
        host.clearFaultPlan();
        new TDiskMgtCallbacks;  // the host's from here on
        EXPECT_FALSE(host.request({"VEXSG_DiskDrive"}).failure);
        EXPECT_EQ(host.instances("VEXSG_DiskDrive").size(), 5U);
    }

    FakeOs machine;
    refhost::ReferenceHost host{diskmgt_test::quietHost()};
};

TEST_P(RegistrationFault, AnExceptionPassesOutOfTheConstructorWithoutALeak) {
    plan(FaultKind::kTalException);
    EXPECT_THROW(new TDiskMgtCallbacks, NVEXTAL20::TTALException);
    expectThatALaterOneServes();
}

TEST_P(RegistrationFault, AStandardExceptionDoesTheSame) {
    plan(FaultKind::kStandardException);
    EXPECT_THROW(new TDiskMgtCallbacks, std::runtime_error);
    expectThatALaterOneServes();
}

TEST_P(RegistrationFault, AnExceptionOfAnyOtherTypeDoesTheSame) {
    plan(FaultKind::kForeignException);
    EXPECT_THROW(new TDiskMgtCallbacks, int);
    expectThatALaterOneServes();
}

TEST_P(RegistrationFault, ANullAnswerLeavesThePlugInUnregisteredAndSilent) {
    plan(FaultKind::kNullResult);
    auto* const entry = new TDiskMgtCallbacks;
    host.clearFaultPlan();
    LogMessage::getInstance()->writeError("nobody hears this");
    EXPECT_TRUE(host.log().empty());
    EXPECT_FALSE(host.request({"VEXSG_DiskDrive"}).failure);
    EXPECT_TRUE(host.instances("VEXSG_DiskDrive").empty());
    entry->PrepareForUnload();  // the host never got it
    expectThatALaterOneServes();
}

INSTANTIATE_TEST_SUITE_P(Crossing, RegistrationFault, ::testing::Range<std::size_t>(1, kCrossings + 1),
                         [](const auto& row) { return std::to_string(row.param); });

}  // namespace
