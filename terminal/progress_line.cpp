#include "terminal/progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "text/display_width.h"
#include "text/readable_text.h"

namespace diskmgt::progress_line {

namespace {

bool isShown = false;

constexpr const char* kFromTheStart = "\r\033[K";

/// One column less than the terminal has: in the last one some terminals begin a new line.
std::size_t roomOnTerminal() {
    winsize size{};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 79;
    return size.ws_col - 1U;
}

/// Nobody is left to be told when standard error fails.
void say(const std::string& text) {
    (void)std::fwrite(text.data(), 1, text.size(), stderr);
    (void)std::fflush(stderr);
}

}  // namespace

bool isWelcome() {
    const char* const terminal = std::getenv("TERM");
    return ::isatty(STDERR_FILENO) != 0 && (terminal == nullptr || std::string_view(terminal) != "dumb");
}

void show(const std::string& text) {
    say(kFromTheStart + shortened("diskmgt: " + escapedControls(text), roomOnTerminal(), Keep::kBeginning));
    isShown = true;
}

void erase() {
    if (!isShown) return;
    isShown = false;
    say(kFromTheStart);
}

}  // namespace diskmgt::progress_line
