// Sentences on standard error, and the way out that runs no destructor.
#include "cli/failure.h"

#include <unistd.h>

#include <cstdio>

#include "cli/progress_line.h"
#include "cli/readable_text.h"
#include "cli/uninterrupted.h"

namespace diskmgt_cli {

void complain(const std::string& sentence) {
    const std::string line = "diskmgt: " + escapedControls(sentence) + "\n";
    progress_line::erase();
    // Nobody is left to be told when standard error itself fails.
    (void)std::fwrite(line.data(), 1, line.size(), stderr);
    (void)std::fflush(stderr);
}

void leaveNow(ExitStatus status) {
    Uninterrupted::awaitEnd();
    ::_exit(status);
}

}  // namespace diskmgt_cli
