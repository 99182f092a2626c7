// The host's log on standard error.
#pragma once

#include <string>
#include <vector>

#include "refhost/api/reference_host.h"

namespace diskmgt {

/// The names of the severities, by their number.
const std::vector<std::string>& severityNames();

/// Writes "error: " and the text as one line to standard error. Mount tables put any byte into a log line, so what
/// could act on a terminal is escaped.
void showLogLine(const refhost::LogLine& line);

}  // namespace diskmgt
