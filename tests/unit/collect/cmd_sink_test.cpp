// Captured lines: splitting, the cursor, commands and files through the host.
#include "collect/cmd_sink.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>

#include "plugin/host/tal_exception.h"
#include "tests/unit/collect/host_fixture.h"

namespace {

using diskmgt_col::CmdSink;
using diskmgt_col::ParseSpec;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Lines = std::vector<std::string>;

/// Captures and counts lines.
int capture(CmdSink& sink, std::string text) { return sink.getContents(text); }

/// All lines, read through the cursor from the first on.
Lines linesOf(CmdSink& sink) {
    Lines lines;
    for (sink.toBeginPos(); sink.isGood();) lines.push_back(sink.readLine());
    return lines;
}

Lines linesOf(const std::string& text) {
    CmdSink sink;
    (void)capture(sink, text);
    return linesOf(sink);
}

TEST(CmdSink, StartsEmpty) {
    CmdSink sink;
    EXPECT_FALSE(sink.isGood());
    EXPECT_EQ(sink.readLine(0), "");
}

TEST(CmdSink, IgnoresTheArgumentOfItsConstructor) {
    CmdSink named("not a line\n");
    EXPECT_FALSE(named.isGood());
    EXPECT_EQ(named.readLine(0), "");
}

TEST(CmdSink, SplitsAtLineEnds) { EXPECT_THAT(linesOf("a\nb\n"), ElementsAre("a", "b")); }

TEST(CmdSink, DropsALastLineWithoutItsLineEnd) {
    EXPECT_THAT(linesOf("a\nb"), ElementsAre("a"));
    EXPECT_THAT(linesOf("a"), IsEmpty());
    EXPECT_THAT(linesOf(""), IsEmpty());
}

TEST(CmdSink, KeepsEmptyLines) {
    EXPECT_THAT(linesOf("\n\n"), ElementsAre("", ""));
    EXPECT_THAT(linesOf("\na\n\nb\n"), ElementsAre("", "a", "", "b"));
}

TEST(CmdSink, KeepsCarriageReturnsAndZeroBytes) {
    EXPECT_THAT(linesOf(std::string("a\r\nb\0c\n", 7)), ElementsAre("a\r", std::string("b\0c", 3)));
}

RC_GTEST_PROP(CmdSink, GivesBackTheLinesThatWereJoined, ()) {
    const auto line = rc::gen::container<std::string>(rc::gen::element('a', ' ', '\r', '\0'));
    const Lines lines = *rc::gen::container<Lines>(line);
    std::string text;
    for (const std::string& one : lines) text += one + "\n";
    RC_ASSERT(linesOf(text + *line) == lines);
}

TEST(CmdSink, CapturesAccumulateAndTheCountIsTheTotal) {
    CmdSink sink;
    EXPECT_EQ(capture(sink, "a\nb\n"), 2);
    EXPECT_EQ(capture(sink, "c\n"), 3);
    EXPECT_EQ(capture(sink, ""), 3);
    EXPECT_THAT(linesOf(sink), ElementsAre("a", "b", "c"));
}

TEST(CmdSink, ACaptureReturnsToTheFirstLine) {
    CmdSink sink;
    (void)capture(sink, "a\nb\n");
    (void)sink.readLine();
    (void)capture(sink, "c\n");
    EXPECT_EQ(sink.readLine(), "a");
}

TEST(CmdSink, ReadingByIndexMovesTheCursorThere) {
    CmdSink sink;
    (void)capture(sink, "a\nb\nc\n");
    EXPECT_EQ(sink.readLine(1), "b");
    EXPECT_EQ(sink.readLine(), "b");  // the cursor is on the line just read
    EXPECT_EQ(sink.readLine(), "c");
}

TEST(CmdSink, AnIndexOutOfRangeGivesNothingAndMovesNothing) {
    CmdSink sink;
    (void)capture(sink, "a\nb\n");
    (void)sink.readLine(1);
    for (const int index : {2, 3, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_EQ(sink.readLine(index), "") << index;
        EXPECT_TRUE(sink.isGood());
    }
    EXPECT_EQ(sink.readLine(), "b");
}

TEST(CmdSink, ReadingPastTheEndGivesEmptyTextsWhileTheCursorGrows) {
    CmdSink sink;
    (void)capture(sink, "a\n");
    EXPECT_EQ(sink.readLine(), "a");
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(sink.isGood());
        EXPECT_EQ(sink.readLine(), "");
    }
    EXPECT_EQ(sink.readLine(0), "a");  // only this moves it back
    EXPECT_TRUE(sink.isGood());
}

TEST(CmdSink, GoingBackAlwaysSucceeds) {
    CmdSink sink;
    EXPECT_TRUE(sink.toBeginPos());
    (void)capture(sink, "a\nb\n");
    (void)sink.readLine();
    (void)sink.readLine();
    EXPECT_TRUE(sink.toBeginPos());
    EXPECT_EQ(sink.readLine(), "a");
}

TEST(CmdSink, InitChangesNothing) {
    CmdSink sink;
    (void)capture(sink, "a\nb\n");
    (void)sink.readLine();
    sink.init();
    EXPECT_EQ(sink.readLine(), "b");
}

TEST(CmdSink, ACopyHasTheLinesAndBeginsAtTheFirst) {
    CmdSink original;
    (void)capture(original, "a\nb\n");
    (void)original.readLine();
    CmdSink copy(original);
    EXPECT_EQ(copy.readLine(), "a");
    EXPECT_EQ(original.readLine(), "b");
    CmdSink assigned;
    (void)capture(assigned, "x\ny\nz\n");
    (void)assigned.readLine();
    assigned = original;
    EXPECT_EQ(assigned.readLine(), "a");
    EXPECT_THAT(linesOf(assigned), ElementsAre("a", "b"));
}

TEST(CmdSink, AssigningToItselfDoesNothing) {
    CmdSink sink;
    (void)capture(sink, "a\nb\n");
    (void)sink.readLine();
    const CmdSink& same = sink;
    sink = same;
    EXPECT_EQ(sink.readLine(), "b");
}

/// Counts the lines and keeps the first.
struct CountSpec : ParseSpec<std::pair<int, std::string>> {
    std::pair<int, std::string> parseSink(CmdSink& sink) override {
        std::pair<int, std::string> result{0, sink.isGood() ? sink.readLine() : ""};
        for (sink.toBeginPos(); sink.isGood(); (void)sink.readLine()) ++result.first;
        return result;
    }
};

TEST(CmdSink, ParsingBeginsAtTheFirstLineAndHandsTheResultOn) {
    CmdSink sink;
    (void)capture(sink, "a\nb\nc\n");
    (void)sink.readLine();
    (void)sink.readLine();
    CountSpec spec;
    EXPECT_EQ(sink.parse(&spec), std::make_pair(3, std::string("a")));
}

class CmdSinkOnHost : public ::testing::Test {
protected:
    refhost::ReferenceHost host{diskmgt_test::hostWith()};
    CmdSink sink;
};

TEST_F(CmdSinkOnHost, TwoCommandsGiveTheLinesOfBoth) {
    EXPECT_EQ(sink.executeCmd("printf", {"a\\nb\\n"}), 2);
    EXPECT_EQ(sink.executeCmd("printf", {"c\\nincomplete"}), 3);
    EXPECT_THAT(linesOf(sink), ElementsAre("a", "b", "c"));
}

TEST_F(CmdSinkOnHost, ACommandIsGivenThreeHundredSeconds) {
    host.startTrace();
    (void)sink.executeCmd("printf", {"a"});
    const auto trace = host.takeTrace();
    ASSERT_EQ(trace.size(), 1U);
    ASSERT_FALSE(trace[0].arguments.empty());
    const refhost::TraceValue& limit = trace[0].arguments.back().second;
    const bool isLimit =
        limit == refhost::TraceValue(std::int64_t{300}) || limit == refhost::TraceValue(std::uint64_t{300});
    EXPECT_TRUE(isLimit);
}

TEST_F(CmdSinkOnHost, ASetOfCommandsRunsInTheOrderOfTheirNames) {
    EXPECT_THAT(sink.executeCmdSet({{"printf", {"p\\n"}}, {"echo", {"e"}}}), ElementsAre(1, 2));
    EXPECT_THAT(linesOf(sink), ElementsAre("e", "p"));
    EXPECT_THAT(sink.executeCmdSet({}), IsEmpty());
}

TEST_F(CmdSinkOnHost, ACommandThatCannotBeStartedPassesTheHostsException) {
    EXPECT_THROW((void)sink.executeCmd("/nonexistent/command", {}), NVEXTAL20::TTALException);
    EXPECT_EQ(sink.executeCmd("printf", {"a\\n"}), 1);
}

TEST_F(CmdSinkOnHost, FilesAreAddedToWhatWasCaptured) {
    std::string path = (std::filesystem::temp_directory_path() / "cmd-sink-XXXXXX").string();
    const int created = ::mkstemp(path.data());
    ASSERT_GE(created, 0);
    ASSERT_EQ(::close(created), 0);
    std::ofstream(path) << "a\nb\n";
    EXPECT_EQ(capture(sink, "x\n"), 1);
    EXPECT_EQ(sink.readFile(path), 3);
    EXPECT_THAT(linesOf(sink), ElementsAre("x", "a", "b"));
    std::filesystem::remove(path);
}

TEST_F(CmdSinkOnHost, ExceptionsOfTheHostsFileFunctionsPassToTheCaller) {
    (void)capture(sink, "a\n");
    std::string path = "/etc/passwd";
    for (const std::size_t crossing : {1U, 2U}) {  // whether the file exists, then its contents
        host.setFaultPlan({crossing, false, refhost::FaultKind::kTalException});
        EXPECT_THROW((void)sink.readFile(path), NVEXTAL20::TTALException) << crossing;
        host.setFaultPlan({crossing, false, refhost::FaultKind::kStandardException});
        EXPECT_THROW((void)sink.readFile(path), std::runtime_error) << crossing;
        host.setFaultPlan({crossing, false, refhost::FaultKind::kForeignException});
        EXPECT_THROW((void)sink.readFile(path), int) << crossing;
        EXPECT_EQ(host.crossings(), crossing);
    }
    host.clearFaultPlan();
    EXPECT_THAT(linesOf(sink), ElementsAre("a"));
}

TEST_F(CmdSinkOnHost, AMissingFileEmptiesTheCapture) {
    (void)capture(sink, "a\nb\n");
    std::string path = "/nonexistent/file";
    EXPECT_EQ(sink.readFile(path), 0);
    EXPECT_THAT(linesOf(sink), IsEmpty());
    EXPECT_EQ(path, "/nonexistent/file");
}

}  // namespace
