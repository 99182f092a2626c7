// Runs a program and gathers what it prints.
#pragma once

#include <string>
#include <vector>

#include "plugin/host/tal_api.h"

namespace refhost {

/// Runs the program, looked up in PATH, without a shell, its input empty, in a process group of its own. Returns its
/// output and errors together, as soon as it has ended: a process it leaves behind is neither waited for nor killed.
/// Past the limit, in seconds, the whole group is killed and what was printed so far is returned. A limit of 0 or
/// less is no limit. Throws `TTALException` when the program cannot be started.
TAL_API std::string runProcess(const std::string& program, const std::vector<std::string>& arguments,
                               int timeLimitSeconds);

}  // namespace refhost
