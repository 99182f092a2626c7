// Why a worker did not come to the end of its work.
#pragma once

#include <string>

#include "text/command_error.h"

namespace diskmgt::worker {

/// An empty rule: it came to its end.
struct EarlyEnd {
    std::string rule;   // a stable name, such as "timed-out"
    std::string brief;  // a few words for a table
    std::string text;   // a whole sentence
    ExitStatus status = kDone;
    std::string cause = {};  // of what is the plug-in's doing: what it did and at which work, without a full stop

    bool isEarly() const { return !rule.empty(); }
};

}  // namespace diskmgt::worker
