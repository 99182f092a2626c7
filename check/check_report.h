// The verdict on a plug-in.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "check/check_records.h"
#include "worker/early_end.h"

namespace diskmgt {

struct CheckResult {
    enum class Outcome { kGood, kRemark, kFailed, kNotChecked };

    Check check = Check::kLoads;
    Outcome outcome = Outcome::kNotChecked;
    std::string note;  // what was looked at, or why nothing was
    CheckFindings findings;
};

struct CheckReport {
    enum class Verdict { kGood, kFailed, kUnusable, kTimedOut };

    std::string file;                                 // as it was asked for
    std::optional<refhost::PluginIdentity> identity;  // absent: it was never known
    bool isThorough = false;
    Verdict verdict = Verdict::kGood;
    std::vector<CheckResult> results;  // every check, in order
    std::vector<ServedFacts> served;

    ExitStatus status() const;
};

/// `known` is what the process that ran the check made known, and `end` how it ended.
CheckReport reportOf(const std::string& known, const worker::EarlyEnd& end, bool isThorough, const std::string& file);

const char* nameOf(CheckResult::Outcome outcome);
const char* nameOf(CheckReport::Verdict verdict);

}  // namespace diskmgt
