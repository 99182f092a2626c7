// The executable diskmgt-collect: standard input is the connection to its caller.
#include <getopt.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <cstring>
#include <exception>
#include <string>

#include "serve/collector/collector.h"
#include "serve/process/log_line.h"
#include "serve/process/rights.h"
#include "terminal/remarks.h"
#include "text/command_error.h"
#include "worker/worker.h"

namespace {

using namespace diskmgt;

serve::CollectorOptions readOptions(int argumentCount, char** arguments) {
    static const option known[] = {{"plugin", required_argument, nullptr, 'p'},
                                   {"virtual-device", required_argument, nullptr, 'v'},
                                   {"limit", required_argument, nullptr, 'l'},
                                   {nullptr, 0, nullptr, 0}};
    serve::CollectorOptions options;
    ::opterr = 0;
    for (int choice = 0; (choice = ::getopt_long(argumentCount, arguments, "", known, nullptr)) != -1;) {
        if (choice == 'p') options.pluginFile = ::optarg;
        if (choice == 'v') options.virtualDevices.emplace_back(::optarg);
        if (choice == 'l') (void)std::from_chars(::optarg, ::optarg + std::strlen(::optarg), options.limitSeconds);
        if (choice == '?') throw CommandError(kWrongUsage, "the collector does not know an option that it was given");
    }
    return options;
}

int run(int argumentCount, char** arguments) {
    const serve::CollectorOptions options = readOptions(argumentCount, arguments);
    int kind = 0;
    socklen_t size = sizeof kind;
    if (::getsockopt(STDIN_FILENO, SOL_SOCKET, SO_TYPE, &kind, &size) != 0 || kind != SOCK_STREAM)
        throw CommandError(kWrongUsage, R"(the collector is started by "diskmgt serve" or by its socket unit alone)");
    serve::endWithParent();
    serve::keepRightsOfCollector();
    serve::closeInOnItself();
    serve::writeRemarksAsLogLines();
    return serve::runCollector(options, STDIN_FILENO);
}

}  // namespace

int main(int argumentCount, char** arguments) {
    (void)std::signal(SIGPIPE, SIG_IGN);
    int status = kFailureReported;
    try {
        status = run(argumentCount, arguments);
    } catch (const CommandError& error) {
        writeRemark(error.what());
        status = error.status();
    } catch (const std::exception& error) {
        writeRemark(std::string("the collector ended by an unexpected failure: ") + error.what());
    }
    worker::endProcess(status);
}
