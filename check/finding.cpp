#include "check/finding.h"

namespace diskmgt {

const char* nameOf(Check check) {
    static constexpr const char* kNames[kCheckCount] = {
        "loads",   "registers", "operations", "identity",    "serves",      "keys",     "pairs",
        "repeats", "values",    "own-thread", "descriptors", "two-threads", "failures", "unloads"};
    return kNames[static_cast<std::size_t>(check)];
}

}  // namespace diskmgt
