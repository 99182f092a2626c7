// What a check makes known step by step, so that the process that shows it has what was found before the plug-in ended
// the other one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "check/finding.h"
#include "refhost/api/reference_host.h"

namespace diskmgt {

/// How one class was served, the first time it was asked for.
struct ServedFacts {
    std::string className;
    bool isAssociation = false;
    std::uint64_t instances = 0;
    std::uint64_t crossings = 0;
    double seconds = 0;
    std::vector<refhost::LogLine> log;
};

struct CheckNote {
    Check check = Check::kLoads;
    std::string text;  // what was looked at; empty: nothing to say
};

/// All that was made known, in order.
struct CheckRecords {
    std::optional<refhost::PluginIdentity> identity;
    std::vector<Check> begun;
    std::vector<CheckNote> ended;  // whatever was found
    CheckFindings findings;
    std::vector<ServedFacts> served;
};

std::string packedIdentity(const refhost::PluginIdentity& identity);
std::string packedBegin(Check check);
std::string packedEnd(const CheckNote& note);
std::string packedFinding(const CheckFinding& finding);
std::string packedFacts(const ServedFacts& facts);

/// A record that is cut short ends the list.
CheckRecords readCheckRecords(const std::string& known);

}  // namespace diskmgt
