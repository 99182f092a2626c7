// Why something is or is not reported: rules with stable names, and sentences for people.
#pragma once

#include <string>
#include <vector>

namespace diskmgt {

struct Reason {
    std::string rule;   // a stable name, such as "dm-prefix"
    std::string brief;  // a few words for a table; empty: not worth a place there
    std::string text;   // whole sentences
};

struct Verdict {
    bool isReported = false;
    std::vector<Reason> reasons;
};

}  // namespace diskmgt
