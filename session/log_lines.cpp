// Log lines go by the escaping rule of all that a terminal may show.
#include "session/log_lines.h"

#include <cstddef>
#include <cstdio>

#include "text/readable_text.h"

namespace diskmgt {

const std::vector<std::string>& severityNames() {
    static const std::vector<std::string> names = {"error", "warning", "status", "debug", "verbose"};
    return names;
}

void showLogLine(const refhost::LogLine& line) {
    const std::vector<std::string>& names = severityNames();
    const auto severity = static_cast<std::size_t>(line.severity);  // a negative one is past the end
    const std::string shown =
        (severity < names.size() ? names[severity] : "log") + ": " + escapedControls(line.text) + "\n";
    (void)std::fwrite(shown.data(), 1, shown.size(), stderr);  // when this fails there is nowhere else to say it
}

}  // namespace diskmgt
