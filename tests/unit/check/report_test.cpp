// The verdict from what was made known, and from how the process ended.
#include <gmock/gmock.h>

#include "check/check_report.h"

namespace diskmgt {
namespace {

using Outcome = CheckResult::Outcome;
using Verdict = CheckReport::Verdict;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const worker::EarlyEnd kNoEnd;

/// What a check makes known that comes as far as this.
std::string knownUpTo(Check last) {
    std::string known;
    for (std::size_t i = 0; i <= static_cast<std::size_t>(last); ++i) {
        const auto check = static_cast<Check>(i);
        if (check == Check::kFailures) continue;
        known += packedBegin(check) + packedEnd({check, "looked at"});
    }
    return known;
}

CheckReport report(const std::string& known, const worker::EarlyEnd& end = kNoEnd, bool isThorough = false) {
    return reportOf(known, end, isThorough, "my.pi.so");
}

const CheckResult& resultOf(const CheckReport& report, Check check) {
    return report.results.at(static_cast<std::size_t>(check));
}

TEST(CheckReports, OfAPluginThatPassesAreGood) {
    const CheckReport good = report(knownUpTo(Check::kUnloads));
    EXPECT_EQ(good.verdict, Verdict::kGood);
    EXPECT_EQ(good.status(), kDone);
    EXPECT_EQ(good.results.size(), kCheckCount);
    for (const CheckResult& result : good.results)
        EXPECT_EQ(result.outcome, result.check == Check::kFailures ? Outcome::kNotChecked : Outcome::kGood);
    EXPECT_EQ(resultOf(good, Check::kFailures).note, "only with --thorough");
}

TEST(CheckReports, ARemarkIsNoFailure) {
    const CheckReport remarked =
        report(knownUpTo(Check::kUnloads) + packedFinding({Check::kKeys, false, "A", "alike"}));
    EXPECT_EQ(remarked.status(), kDone);
    EXPECT_EQ(resultOf(remarked, Check::kKeys).outcome, Outcome::kRemark);
}

TEST(CheckReports, AFailureIsOneOfItsCheckAlone) {
    const CheckReport failed =
        report(knownUpTo(Check::kUnloads) + packedFinding({Check::kValues, true, "A", "no number"}) +
               packedFinding({Check::kValues, false, "B", "odd"}));
    EXPECT_EQ(failed.verdict, Verdict::kFailed);
    EXPECT_EQ(failed.status(), kFailureReported);
    const CheckResult& values = resultOf(failed, Check::kValues);
    EXPECT_EQ(values.outcome, Outcome::kFailed);
    ASSERT_EQ(values.findings.size(), 2u);
    EXPECT_EQ(values.findings[0].className, "A");
    EXPECT_EQ(values.findings[1].text, "odd");
    EXPECT_EQ(resultOf(failed, Check::kKeys).outcome, Outcome::kGood);
}

TEST(CheckReports, ACrashIsTheFailureOfTheCheckThatWasUnderWay) {
    const worker::EarlyEnd crash{"crashed", "", "It crashed.", kPluginUnusable, "the plug-in crashed while serving A"};
    const CheckReport crashed = report(knownUpTo(Check::kPairs) + packedBegin(Check::kRepeats), crash);
    EXPECT_EQ(crashed.verdict, Verdict::kUnusable);
    EXPECT_EQ(crashed.status(), kPluginUnusable);
    ASSERT_EQ(resultOf(crashed, Check::kRepeats).findings.size(), 1u);
    EXPECT_EQ(resultOf(crashed, Check::kRepeats).findings[0].text, "the plug-in crashed while serving A");
    EXPECT_EQ(resultOf(crashed, Check::kValues).outcome, Outcome::kNotChecked);
    EXPECT_EQ(resultOf(crashed, Check::kPairs).outcome, Outcome::kGood);
}

TEST(CheckReports, AnEndBeforeAnythingIsAFailureToLoad) {
    const CheckReport ended = report("", {"ended", "", "It ended.", kPluginUnusable, "the plug-in ended the process"});
    EXPECT_EQ(resultOf(ended, Check::kLoads).outcome, Outcome::kFailed);
    EXPECT_EQ(ended.status(), kPluginUnusable);
    EXPECT_EQ(ended.file, "my.pi.so");
    EXPECT_FALSE(ended.identity);
}

TEST(CheckReports, TimeThatRanOutIsAStatusOfItsOwn) {
    const CheckReport hung = report(knownUpTo(Check::kIdentity) + packedBegin(Check::kServes),
                                    {"timed-out", "", "It gave up.", kTimedOut, "gave up after 3 s while serving A"});
    EXPECT_EQ(hung.verdict, Verdict::kTimedOut);
    EXPECT_EQ(hung.status(), kTimedOut);
    EXPECT_EQ(resultOf(hung, Check::kServes).findings[0].text,
              "it does not come back: gave up after 3 s while serving A");
}

TEST(CheckReports, APluginThatDoesNotRegisterIsNotUsableAndNothingElseIsBlamed) {
    const CheckReport silent = report(packedBegin(Check::kLoads) + packedEnd({Check::kLoads, ""}) +
                                      packedFinding({Check::kRegisters, true, "", "registers nothing"}));
    EXPECT_EQ(silent.status(), kPluginUnusable);
    std::vector<std::string> failed;
    for (const CheckResult& result : silent.results)
        if (result.outcome == Outcome::kFailed) failed.emplace_back(nameOf(result.check));
    EXPECT_THAT(failed, ElementsAre("registers"));
}

TEST(CheckReports, SilenceOfAProcessThatEndedWellIsAFailure) {
    const CheckReport silent = report(knownUpTo(Check::kIdentity) + packedBegin(Check::kServes));
    EXPECT_EQ(silent.status(), kFailureReported);
    EXPECT_THAT(resultOf(silent, Check::kServes).findings[0].text, HasSubstr("nothing more was heard"));
}

TEST(CheckRecordsOf, OneProcessAreTheSameInAnother) {
    const refhost::PluginIdentity identity{"f", "n", "v", "i", 7, true};
    ServedFacts facts;
    facts.className = "A";
    facts.isAssociation = true;
    facts.instances = 3;
    facts.crossings = 40;
    facts.seconds = 0.25;
    facts.log = {{2, "line"}, {0, ""}};
    const std::string known = packedIdentity(identity) + packedFacts(facts);
    const CheckRecords read = readCheckRecords(known);
    ASSERT_TRUE(read.identity);
    EXPECT_EQ(read.identity->file + read.identity->name + read.identity->version + read.identity->interfaceVersion,
              "fnvi");
    EXPECT_EQ(read.identity->type, 7u);
    EXPECT_TRUE(read.identity->answersRequests);
    ASSERT_EQ(read.served.size(), 1u);
    EXPECT_EQ(read.served[0].className, "A");
    EXPECT_TRUE(read.served[0].isAssociation);
    EXPECT_EQ(read.served[0].instances, 3u);
    EXPECT_EQ(read.served[0].crossings, 40u);
    EXPECT_EQ(read.served[0].seconds, 0.25);
    ASSERT_EQ(read.served[0].log.size(), 2u);
    EXPECT_EQ(read.served[0].log[0].severity, 2);
    EXPECT_EQ(read.served[0].log[0].text, "line");
    for (std::size_t length = 0; length < known.size(); ++length)
        EXPECT_THAT(readCheckRecords(known.substr(0, length)).served, IsEmpty());
}

}  // namespace
}  // namespace diskmgt
