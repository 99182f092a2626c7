// The endpoint's executable is in a package of its own.
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/endpoint.h"
#include "session/own_files.h"
#include "text/command_error.h"

namespace diskmgt {

bool isForEndpoint(int argumentCount, const char* const* arguments) {
    if (argumentCount < 2) return false;
    if (std::strcmp(arguments[1], "serve") == 0) return true;
    return argumentCount == 3 && std::strcmp(arguments[1], "help") == 0 && std::strcmp(arguments[2], "serve") == 0;
}

void becomeEndpoint(int argumentCount, char** arguments) {
    const std::string file = ownLibraryFolder() + "/diskmgt-serve";
    char help[] = "--help";
    std::vector<char*> words{arguments[0]};
    if (std::strcmp(arguments[1], "serve") != 0)
        words.push_back(help);
    else
        words.insert(words.end(), arguments + 2, arguments + argumentCount);
    words.push_back(nullptr);
    (void)std::signal(SIGXFSZ, SIG_DFL);
    (void)::execv(file.c_str(), words.data());
    if (errno == ENOENT)
        throw CommandError(kPluginUnusable, "the endpoint is not installed: there is no " + file +
                                                "; install the package diskmgt-serve");
    throw CommandError(kPluginUnusable, "cannot run " + file + ": " + std::strerror(errno) +
                                            "; install the package diskmgt-serve again");
}

ExitStatus runServe(const Options& /*options*/) {
    throw CommandError(kWrongUsage, R"("serve" comes first, and its options behind it; see "diskmgt serve --help")");
}

}  // namespace diskmgt
