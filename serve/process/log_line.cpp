#include "serve/process/log_line.h"

#include <poll.h>
#include <unistd.h>

#include <climits>

#include "terminal/remarks.h"
#include "text/readable_text.h"

namespace diskmgt::serve {

void writeLogLine(const std::string& line) {
    pollfd reader{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&reader, 1, 0) == 0) return;
    const std::string whole = line.substr(0, PIPE_BUF - 1) + "\n";
    (void)!::write(STDERR_FILENO, whole.data(), whole.size());  // there is nowhere else to say that it failed
}

void writeRemarksAsLogLines() {
    offerRemarksTo([](const std::string& sentence) {
        writeLogLine("diskmgt: " + escapedControls(sentence));
        return true;
    });
}

}  // namespace diskmgt::serve
