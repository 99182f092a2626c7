// Runs a command in a worker and answers for it: the terminal, the clock, the signals and the exit status are this
// process's.
#pragma once

#include "cli/io/options.h"

namespace diskmgt {

/// Does what was asked for in this process; what went wrong becomes one sentence and the exit status.
int runHere(const Options& options);

/// The same in a worker, under the time limit: returns whatever the kernel does with the work. An interruption ends
/// this process by the same signal.
int runSupervised(const Options& options);

}  // namespace diskmgt
