// The executable diskmgt-serve: the keeper, or the front that it starts.
#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "serve/front/front.h"
#include "serve/handover/control.h"
#include "serve/keeper/keeper.h"
#include "serve/keeper/serve_options.h"
#include "terminal/remarks.h"
#include "text/command_error.h"

namespace {

using namespace diskmgt;

/// What goes to a closed standard descriptor must not end up in a socket.
void occupyClosedStandardDescriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        if (::fcntl(fd, F_GETFD) < 0) (void)::open("/dev/null", O_RDWR);  // takes the lowest free number: this one
}

unsigned numberOf(const char* text) {
    unsigned number = 0;
    (void)std::from_chars(text, text + std::strlen(text), number);
    return number;
}

int run(int argumentCount, char** arguments) {
    if (argumentCount == 4 && std::strcmp(arguments[1], serve::kFrontRole) == 0)
        return serve::runFront(numberOf(arguments[2]), numberOf(arguments[3]));
    const serve::ServeOptions options = serve::readServeOptions(argumentCount, arguments);
    if (options.text.empty()) return serve::runKeeper(options);
    return std::fputs(options.text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0 ? kDone : kFailureReported;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    occupyClosedStandardDescriptors();
    (void)std::signal(SIGPIPE, SIG_IGN);
    (void)std::signal(SIGCHLD, SIG_DFL);  // inherited as ignored, no child's end would ever be seen
    try {
        return run(argumentCount, arguments);
    } catch (const CommandError& error) {
        writeRemark(error.what());
        return error.status();
    } catch (const std::exception& error) {
        writeRemark(std::string("the endpoint ended by an unexpected failure: ") + error.what());
    }
    return kFailureReported;
}
