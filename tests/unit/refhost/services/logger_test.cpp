// The core logger: which lines are kept, collected by a request, passed to the sink.
#include <gtest/gtest.h>

#include <thread>

#include "plugin/host/logger.h"
#include "tests/unit/refhost/in_process_plugin.h"

namespace {

using namespace refhost_test;
using NVEXTAL20::ILogger;
using NVEXTAL20::TRootObject;

void say(ILogger::ETALLogSeverity severity, const std::string& text) {
    TRootObject::GetCoreLogger()->Log(severity, text);
}

std::vector<std::string> textsOf(const std::vector<refhost::LogLine>& lines) {
    std::vector<std::string> texts;
    for (const refhost::LogLine& line : lines) texts.push_back(std::to_string(line.severity) + " " + line.text);
    return texts;
}

using Texts = std::vector<std::string>;

TEST(LoggerWithoutHost, DropsLinesAndStaysTheSame) {
    ILogger* const before = TRootObject::GetCoreLogger();
    ASSERT_NE(before, nullptr);
    before->Log(ILogger::kError, "nobody hears this");
    {
        const refhost::ReferenceHost host;
        EXPECT_EQ(TRootObject::GetCoreLogger(), before);
        EXPECT_TRUE(host.log().empty());
    }
    before->Log(ILogger::kError, "nor this");
}

TEST(LoggerThatKeepsNothing, PassesLinesOnAllTheSame) {
    refhost::HostOptions options;
    options.keepsLog = false;
    refhost::ReferenceHost host(options);
    std::vector<refhost::LogLine> heard;
    host.forwardLog(4, [&heard](const refhost::LogLine& line) { heard.push_back(line); });
    say(ILogger::kError, "once");
    EXPECT_TRUE(host.log().empty());
    EXPECT_EQ(textsOf(heard), Texts{"0 once"});
}

TEST(Logger, KeepsSeverityAndTextInOrderUnchanged) {
    const WithHost setup;
    say(ILogger::kVerbose, "");
    say(ILogger::kError, "two\nlines ");
    EXPECT_EQ(textsOf(setup.host.log()), (Texts{"4 ", "0 two\nlines "}));
}

TEST(Logger, RequestCollectsWhatItsThreadLogged) {
    WithHost setup;
    say(ILogger::kStatus, "before");
    const auto result = setup.request({}, [](const Namespace&, Classes&) {
        say(ILogger::kDebug, "during");
        std::thread([] { say(ILogger::kDebug, "elsewhere"); }).join();
    });
    say(ILogger::kStatus, "after");
    EXPECT_EQ(textsOf(result.log), (Texts{"3 during"}));
    EXPECT_EQ(textsOf(setup.host.log()), (Texts{"2 before", "3 during", "3 elsewhere", "2 after"}));
}

TEST(Logger, HandsGraveLinesToTheSinkAsTheyWereLogged) {
    WithHost setup;
    std::vector<refhost::LogLine> seen;
    ::testing::internal::CaptureStderr();
    setup.host.forwardLog(1, [&seen](const refhost::LogLine& line) { seen.push_back(line); });
    say(ILogger::kError, "bad\x1b[31m\n\xC2\x9B");
    say(ILogger::kWarning, "careful \xC3\xA4");
    say(ILogger::kStatus, "chatter");
    EXPECT_EQ(textsOf(seen), (Texts{"0 bad\x1b[31m\n\xC2\x9B", "1 careful \xC3\xA4"}));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");  // only the sink decides what a terminal shows
}

TEST(Logger, ForwardsNothingUnlessAsked) {
    std::vector<refhost::LogLine> seen;
    const refhost::LogSink sink = [&seen](const refhost::LogLine& line) { seen.push_back(line); };
    {
        WithHost setup;
        say(ILogger::kError, "quiet");
        setup.host.forwardLog(4, sink);
        setup.host.forwardLog(-1, sink);
        say(ILogger::kError, "quiet again");
        setup.host.forwardLog(4);
        say(ILogger::kError, "no sink");
        setup.host.forwardLog(4, sink);
    }
    const WithHost next;  // a new host forwards nothing by default
    say(ILogger::kError, "and again");
    EXPECT_TRUE(seen.empty());
}

TEST(Logger, NewHostBeginsWithAnEmptyLog) {
    {
        const WithHost first;
        say(ILogger::kError, "old");
    }
    const WithHost second;
    EXPECT_TRUE(second.host.log().empty());
}

}  // namespace
