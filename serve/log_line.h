// Lines on standard error, for which no process of the endpoint ever waits.
#pragma once

#include <string>

namespace diskmgt::serve {

/// Writes the line in one piece, so that lines of several processes do not mix. Whoever reads no lines gets none: a
/// full pipe would stop the service. What is longer than such a pipe takes at once (PIPE_BUF) is cut.
void writeLogLine(const std::string& line);

/// From now on the process writes its remarks like this too.
void writeRemarksAsLogLines();

}  // namespace diskmgt::serve
