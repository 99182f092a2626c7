// How the command ends: exit statuses, and the error that carries one.
#pragma once

#include <stdexcept>
#include <string>

namespace diskmgt {

enum ExitStatus {
    kDone = 0,
    kFailureReported = 1,  // the data is there, but something failed; or the output could not be written
    kWrongUsage = 2,
    kPluginUnusable = 3,
    kTimedOut = 4,
};

/// Ends the command with a status. `what()` is one sentence: what, where, and what to do. An empty one ends quietly.
class CommandError : public std::runtime_error {
public:
    CommandError(ExitStatus exitStatus, const std::string& sentence)
        : std::runtime_error(sentence), endStatus(exitStatus) {}
    ExitStatus status() const noexcept { return endStatus; }

private:
    ExitStatus endStatus;
};

}  // namespace diskmgt
