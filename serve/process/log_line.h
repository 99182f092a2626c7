// Lines on standard error, for which the endpoint does not wait.
#pragma once

#include <string>

namespace diskmgt::serve {

/// Writes the line in one piece, so that lines of several processes do not mix. A reader that stops gets no lines: a
/// full pipe would stop the service. What is longer than such a pipe takes at once (PIPE_BUF) is cut. Two processes
/// that write at one moment can still fill it, and one of them waits.
void writeLogLine(const std::string& line);

/// From now on the process writes its remarks like this too.
void writeRemarksAsLogLines();

}  // namespace diskmgt::serve
