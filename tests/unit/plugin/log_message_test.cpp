// LogMessage: what reaches the host's logger, and what is dropped.
#include "plugin/log/log_message.h"

#include <gmock/gmock.h>

#include <type_traits>

#include "tests/support/host_session.h"

namespace diskmgt_col {
namespace {

using diskmgt_test::callsByPlugin;
using diskmgt_test::HostSession;
using diskmgt_test::linesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(LogMessage, EveryWriterHasItsSeverityAndAddsNothingToTheText) {
    HostSession session;
    const LogMessage* const log = LogMessage::getInstance();
    log->writeError("an error");
    log->writeWarning("a warning");
    log->writeStatus("a status ");
    log->writeDebug("a debug line");
    log->writeVerbose("\n");
    EXPECT_THAT(linesOf(session.host.log()),
                ElementsAre("0 an error", "1 a warning", "2 a status ", "3 a debug line", "4 \n"));
}

TEST(LogMessage, AnEmptyTextSendsNothing) {
    HostSession session;
    LogMessage::getInstance()->writeError("");
    LogMessage::getInstance()->write("", NVEXTAL20::ILogger::kStatus);
    EXPECT_THAT(session.host.log(), IsEmpty());
}

TEST(LogMessage, BeforeRegistrationEveryWriteIsDropped) {
    HostSession session;
    LogMessage::setPluginInstance(nullptr);
    LogMessage::getInstance()->writeError("unheard");
    LogMessage::getInstance()->writeDebug("unheard");
    EXPECT_THAT(session.host.log(), IsEmpty());
}

TEST(LogMessage, TheLoggerIsQueriedOnlyForTextsToWrite) {
    HostSession session;
    session.host.startTrace();
    LogMessage::getInstance()->writeError("");
    LogMessage::getInstance()->writeWin32Error(2);
    EXPECT_THAT(callsByPlugin(session.host.takeTrace()), IsEmpty());
    LogMessage::setPluginInstance(nullptr);
    session.host.startTrace();
    LogMessage::getInstance()->writeError("unheard");
    EXPECT_THAT(callsByPlugin(session.host.takeTrace()), IsEmpty());
}

TEST(LogMessage, AHostWithoutALoggerDropsTheLine) {
    HostSession session;
    session.host.setFaultPlan({1, true, refhost::FaultKind::kNullResult});
    LogMessage::getInstance()->writeError("unheard");
    session.host.clearFaultPlan();
    EXPECT_THAT(session.host.log(), IsEmpty());
}

TEST(LogMessage, WriteWin32ErrorNeverLogs) {
    HostSession session;
    for (const int code : {0, 2, -1, 87}) {
        EXPECT_EQ(LogMessage::getInstance()->lookupWin32Error(code), "");
        LogMessage::getInstance()->writeWin32Error(code);
    }
    EXPECT_THAT(session.host.log(), IsEmpty());
}

TEST(LogMessage, ALocalObjectWritesAndLeavesTheSingletonAlone) {
    HostSession session;
    { LogMessage().writeStatus("mine"); }
    LogMessage::getInstance()->writeStatus("everybody's");
    EXPECT_THAT(linesOf(session.host.log()), ElementsAre("2 mine", "2 everybody's"));
}

TEST(LogMessage, ThereIsOneObjectWithoutDataMembers) {
    EXPECT_EQ(LogMessage::getInstance(), LogMessage::getInstance());
    EXPECT_EQ(sizeof(LogMessage), sizeof(void*));
    EXPECT_TRUE(std::has_virtual_destructor_v<LogMessage>);
}

}  // namespace
}  // namespace diskmgt_col
