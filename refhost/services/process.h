// Runs a program and gathers what it prints.
#pragma once

#include <string>
#include <vector>

#include "plugin/host/tal_api.h"

namespace refhost {

/// Runs the program, looked up in PATH, without a shell, with empty input, in its own process group. Returns its output
/// and errors together as soon as it has ended; a process that it leaves behind is neither waited for nor killed. Past
/// the limit, in seconds, the whole group is killed and the output so far is returned. 0 or less means unlimited.
/// Throws `TTALException` when the program cannot be started.
TAL_API std::string runProcess(const std::string& program, const std::vector<std::string>& arguments,
                               int timeLimitSeconds);

}  // namespace refhost
