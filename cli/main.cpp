// The command: reads what is asked and does it, in a process of its own where the work may never come back.
#include <fcntl.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <exception>
#include <string>

#include "cli/command_line.h"
#include "cli/commands/endpoint.h"
#include "cli/io/uninterrupted.h"
#include "cli/supervise.h"
#include "terminal/remarks.h"
#include "text/command_error.h"
#include "worker/worker.h"

namespace {

using namespace diskmgt;

/// Keeps the standard descriptors from being taken by files that are opened later: what goes to a closed one must
/// fail, and not end up in some other file.
void occupyClosedStandardDescriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        if (::fcntl(fd, F_GETFD) < 0) (void)::open("/dev/null", O_RDONLY);  // takes the lowest free number: this one
}

}  // namespace

int main(int argumentCount, char** arguments) {
    occupyClosedStandardDescriptors();
    (void)std::signal(SIGPIPE, SIG_IGN);  // a reader that goes away is a write error, which cleans up
    (void)std::signal(SIGXFSZ, SIG_IGN);  // so is a file that would exceed "ulimit -f"
    endOnSignalsAsFirstProcess();
    try {
        if (isForEndpoint(argumentCount, arguments)) becomeEndpoint(argumentCount, arguments);
        const Options options = readOptions(argumentCount, arguments);
        // For the widths of texts; an unknown locale leaves plain ASCII. It costs files to read, so only where it
        // counts.
        if (options.isForPeople) (void)std::setlocale(LC_CTYPE, "");
        if (options.mayStall) worker::endProcess(runSupervised(options));
        return runHere(options);
    } catch (const CommandError& error) {
        writeRemark(error.what());
        return error.status();
    } catch (const std::exception& error) {
        writeRemark(std::string("cannot read the command line: ") + error.what());
    }
    return kFailureReported;
}
