#include "check/check_report.h"

#include <algorithm>
#include <utility>

namespace diskmgt {

namespace {

using Outcome = CheckResult::Outcome;
using Verdict = CheckReport::Verdict;

constexpr Check kToBeUsable[] = {Check::kLoads, Check::kRegisters, Check::kOperations};

const CheckNote* noteOf(const CheckRecords& records, Check check) {
    for (const CheckNote& note : records.ended)
        if (note.check == check) return &note;
    return nullptr;
}

bool isAnyFailure(const CheckFindings& findings) {
    return std::any_of(findings.begin(), findings.end(), [](const CheckFinding& finding) { return finding.isFailure; });
}

CheckResult resultOf(const CheckRecords& records, Check check) {
    CheckResult result;
    result.check = check;
    const CheckNote* const note = noteOf(records, check);
    if (note != nullptr) result.note = note->text;
    std::copy_if(records.findings.begin(), records.findings.end(), std::back_inserter(result.findings),
                 [check](const CheckFinding& finding) { return finding.check == check; });
    if (isAnyFailure(result.findings))
        result.outcome = Outcome::kFailed;
    else if (note != nullptr)
        result.outcome = result.findings.empty() ? Outcome::kGood : Outcome::kRemark;
    return result;
}

/// The check that was under way when the process ended; absent: all that began came to their end.
std::optional<Check> interruptedCheck(const CheckRecords& records) {
    if (records.begun.empty()) return Check::kLoads;
    const Check last = records.begun.back();
    if (noteOf(records, last) == nullptr) return last;
    return noteOf(records, Check::kUnloads) != nullptr ? std::nullopt : std::optional<Check>(Check::kServes);
}

std::string whatEndedIt(const worker::EarlyEnd& end) {
    if (end.status == kTimedOut) return "it does not come back: " + end.cause;
    if (!end.cause.empty()) return end.cause;
    if (end.isEarly()) return end.text;
    return "nothing more was heard of the process: the plug-in closed a descriptor that is not its own, or stopped its "
           "threads";
}

}  // namespace

CheckReport reportOf(const std::string& known, const worker::EarlyEnd& end, bool isThorough, const std::string& file) {
    CheckRecords records = readCheckRecords(known);
    CheckReport report;
    report.file = file;
    report.identity = records.identity;
    report.isThorough = isThorough;
    bool isUsable = true;
    for (const CheckFinding& finding : records.findings)
        if (finding.isFailure && std::count(std::begin(kToBeUsable), std::end(kToBeUsable), finding.check) != 0)
            isUsable = false;
    if (isUsable)
        if (const std::optional<Check> interrupted = interruptedCheck(records))
            records.findings.push_back({*interrupted, true, "", whatEndedIt(end)});
    for (std::size_t i = 0; i < kCheckCount; ++i) report.results.push_back(resultOf(records, static_cast<Check>(i)));
    CheckResult& failures = report.results[static_cast<std::size_t>(Check::kFailures)];
    if (!isThorough && failures.outcome == Outcome::kNotChecked) failures.note = "only with --thorough";
    report.served = std::move(records.served);
    if (end.status == kTimedOut)
        report.verdict = Verdict::kTimedOut;
    else if (!isUsable || end.status == kPluginUnusable)
        report.verdict = Verdict::kUnusable;
    else if (end.isEarly() || isAnyFailure(records.findings))
        report.verdict = Verdict::kFailed;
    return report;
}

ExitStatus CheckReport::status() const {
    switch (verdict) {
        case Verdict::kGood:
            return kDone;
        case Verdict::kFailed:
            return kFailureReported;
        case Verdict::kUnusable:
            return kPluginUnusable;
        case Verdict::kTimedOut:
            break;
    }
    return kTimedOut;
}

const char* nameOf(Outcome outcome) {
    static constexpr const char* kNames[] = {"good", "remark", "failed", "not-checked"};
    return kNames[static_cast<std::size_t>(outcome)];
}

const char* nameOf(Verdict verdict) {
    static constexpr const char* kNames[] = {"good", "failed", "unusable", "timed-out"};
    return kNames[static_cast<std::size_t>(verdict)];
}

}  // namespace diskmgt
