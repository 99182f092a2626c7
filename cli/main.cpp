// The command: reads what is asked, does it, and turns what went wrong into one sentence and an exit status.
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <csignal>
#include <exception>
#include <new>
#include <string>

#include "cli/failure.h"
#include "cli/options.h"
#include "cli/uninterrupted.h"

namespace {

using namespace diskmgt_cli;

/// Keeps the standard descriptors from being taken by files that are opened later: what goes to a closed one must
/// fail, and not end up in some other file.
void occupyClosedStandardDescriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        if (::fcntl(fd, F_GETFD) < 0) (void)::open("/dev/null", O_RDONLY);  // takes the lowest free number: this one
}

}  // namespace

int main(int argumentCount, char** arguments) {
    occupyClosedStandardDescriptors();
    (void)::mallopt(M_ARENA_MAX, 1);      // the thread that watches the clock would lay out a heap of its own to end
    (void)std::signal(SIGPIPE, SIG_IGN);  // a reader that goes away is a write error, which cleans up
    (void)std::signal(SIGXFSZ, SIG_IGN);  // so is a file that would exceed "ulimit -f"
    endOnSignalsAsFirstProcess();
    try {
        const Options options = readOptions(argumentCount, arguments);
        return options.run(options);
    } catch (const CommandError& error) {
        if (*error.what() != '\0') complain(error.what());
        return error.status();
    } catch (const std::bad_alloc&) {
        complain("out of memory; ask for fewer classes or files at once");
    } catch (const std::exception& error) {
        complain(std::string("stopped by an unexpected failure: ") + error.what() + "; nothing was written completely");
    }
    return kFailureReported;
}
