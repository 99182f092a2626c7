// The one half-written file that the process may own. It is remembered outside any object, so that a signal or an
// abrupt end can remove it too.
#pragma once

#include <limits.h>

#include <atomic>
#include <string>

namespace diskmgt_cli::pending_file {

enum class State { kNone, kBeingMade, kThere };

/// Where the process remembers its file.
struct Place {
    std::atomic<State> state{State::kNone};
    char path[PATH_MAX] = "";
};
/// From now on in memory that may be shared with another process, which can then remove the file of a killed one.
void keepIn(Place& shared);
/// Whether there is a pending file.
bool isThere() noexcept;

/// Creates and opens a new file beside `target`, readable by its owner only, to be removed when the process is
/// interrupted. The descriptor, or negative with errno set. At most one file is pending at a time.
int createBeside(const std::string& target);

/// Gives the pending file its final name and forgets it; negative with errno set when that fails, and then the
/// file stays pending.
int renameTo(const std::string& target);

/// Removes the pending file, if there is one. Safe in signal handlers.
void remove() noexcept;

}  // namespace diskmgt_cli::pending_file
