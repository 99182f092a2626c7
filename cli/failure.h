// How the command ends: exit statuses, the error that carries one, and the one way sentences reach standard error.
#pragma once

#include <stdexcept>
#include <string>

namespace diskmgt_cli {

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

/// Writes "diskmgt: " and the sentence as one line to standard error; control characters are escaped.
void complain(const std::string& sentence);

/// Ends the process at once: nothing is unwound, unloaded or joined, and only a file that is being put in place is
/// waited for. For when other threads or the loader are in a state that no destructor may touch.
[[noreturn]] void leaveNow(ExitStatus status);

}  // namespace diskmgt_cli
