// What a plug-in is judged by, and what was found against it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace diskmgt {

/// In the order in which they are made.
enum class Check : std::uint8_t {
    kLoads,
    kRegisters,
    kOperations,
    kIdentity,
    kServes,
    kKeys,
    kPairs,
    kRepeats,
    kValues,
    kOwnThread,
    kDescriptors,
    kTwoThreads,
    kFailures,
    kUnloads
};
constexpr std::size_t kCheckCount = static_cast<std::size_t>(Check::kUnloads) + 1;

/// Its stable name, such as "two-threads".
const char* nameOf(Check check);

struct CheckFinding {
    Check check = Check::kLoads;
    bool isFailure = true;  // false: a remark, which the disks or the machine cause
    std::string className;  // empty: of no class in particular
    std::string text;       // a clause without a full stop
};

using CheckFindings = std::vector<CheckFinding>;

}  // namespace diskmgt
