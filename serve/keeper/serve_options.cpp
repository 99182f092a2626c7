#include "serve/keeper/serve_options.h"

#include <getopt.h>

#include <charconv>
#include <cmath>
#include <cstdlib>

#include "text/command_error.h"
#include "text/suggestions.h"
#include "text/wording.h"

namespace diskmgt::serve {

namespace {

const char* const kHelp = R"(diskmgt serve - the inventory over HTTP, for CIM clients, Prometheus and browsers

Usage: diskmgt serve [OPTION...]

  --listen WHERE           ADDRESS:PORT, [ADDRESS]:PORT or unix:PATH; repeatable. Port 0 takes
                           any free one. Without it: 127.0.0.1:5988 and [::1]:5988, or
                           the sockets that systemd hands over
  --max-age SECONDS        how old an answer may be before the server is looked at again (10)
  --timeout SECONDS        for one look (30; 0: no limit)
  --exit-idle SECONDS      end after that long without a request (0: never)
  --tls-cert FILE          certificate and those behind it, PEM; with --tls-key
  --tls-key FILE           its private key, PEM, not encrypted
  --client-ca FILE         clients need a certificate that one of these has signed
  --credentials FILE       clients need a password: lines NAME:HASH, as "openssl passwd -6"
                           writes the hash
  --server-name NAME       what clients call this server, besides loopback; repeatable
  --user NAME              the account that answers clients, when started as root
                           (diskmgt, else nobody)
  --plugin FILE            another plug-in, as DISKMGT_PLUGIN does
  --virtual-device TEXT    a disk of the management controller; repeatable
  --collector SOCKET       unix:PATH: connect to a collector there instead of starting one,
                           as the units for systemd do
  -h,--help                this text
  -V,--version             the version

Every local user may ask, unless there are credentials. Beyond loopback it listens only
with TLS and credentials or client certificates. Where it listens is printed on standard
output, each request on standard error. SIGHUP reads certificates and credentials again;
SIGTERM finishes what is being answered. More: man diskmgt-serve

Exit status: 0 ended by a signal or idle; 2 wrong usage, or a file that cannot be used;
3 it cannot listen, or has no collector.
)";

enum Choice {
    kListen = 1000,
    kMaxAge,
    kTimeout,
    kExitIdle,
    kTlsCert,
    kTlsKey,
    kClientCa,
    kCredentials,
    kServerName,
    kUser,
    kPlugin,
    kVirtualDevice,
    kCollector,
    kHelpWanted,
    kVersionWanted
};

constexpr option kOptions[] = {
    {"listen", required_argument, nullptr, kListen},
    {"max-age", required_argument, nullptr, kMaxAge},
    {"timeout", required_argument, nullptr, kTimeout},
    {"exit-idle", required_argument, nullptr, kExitIdle},
    {"tls-cert", required_argument, nullptr, kTlsCert},
    {"tls-key", required_argument, nullptr, kTlsKey},
    {"client-ca", required_argument, nullptr, kClientCa},
    {"credentials", required_argument, nullptr, kCredentials},
    {"server-name", required_argument, nullptr, kServerName},
    {"user", required_argument, nullptr, kUser},
    {"plugin", required_argument, nullptr, kPlugin},
    {"virtual-device", required_argument, nullptr, kVirtualDevice},
    {"collector", required_argument, nullptr, kCollector},
    {"help", no_argument, nullptr, kHelpWanted},
    {"version", no_argument, nullptr, kVersionWanted},
    {nullptr, 0, nullptr, 0},
};

[[noreturn]] void wrongUsage(const std::string& sentence) {
    throw CommandError(kWrongUsage, sentence + R"(; see "diskmgt serve --help")");
}

double secondsOf(const char* name, const std::string& text) {
    constexpr double kLongest = 1e6;  // eleven days
    double seconds = -1;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, seconds);
    if (error != std::errc() || stop != end || !std::isfinite(seconds) || seconds < 0 || seconds > kLongest)
        wrongUsage(std::string("--") + name + " takes a number of seconds, not \"" + text + "\"");
    return seconds;
}

std::string nonEmpty(const char* name, const std::string& text) {
    if (text.empty()) wrongUsage(std::string("--") + name + " needs a text that is not empty");
    return text;
}

void requireConsistency(const ServeOptions& options) {
    if (options.certificateFile.empty() != options.keyFile.empty()) wrongUsage("--tls-cert and --tls-key go together");
    if (!options.clientCaFile.empty() && options.certificateFile.empty())
        wrongUsage("--client-ca needs --tls-cert and --tls-key");
    const bool isCollectorElsewhere = !options.collectorSocket.empty();
    if (isCollectorElsewhere && (!options.collector.pluginFile.empty() || !options.collector.virtualDevices.empty()))
        wrongUsage("--plugin and --virtual-device are for a collector that is started here, not with --collector");
}

std::string unknownOption(const std::string& given) {
    std::vector<std::string> known;
    for (const option* one = kOptions; one->name != nullptr; ++one) known.push_back(std::string("--") + one->name);
    return "serve has no option " + given + didYouMean(nearestNames(given, known));
}

}  // namespace

ServeOptions readServeOptions(int argumentCount, char** arguments) {
    ServeOptions options;
    if (const char* const plugin = std::getenv("DISKMGT_PLUGIN")) options.collector.pluginFile = plugin;
    ::opterr = 0;
    int index = 0;
    int choice = 0;
    while ((choice = ::getopt_long(argumentCount, arguments, ":hV", kOptions, &index)) != -1) {
        const std::string value = ::optarg == nullptr ? "" : ::optarg;
        const char* const name = choice >= kListen ? kOptions[choice - kListen].name : "";
        switch (choice) {
            case kListen:
                options.listen.push_back(nonEmpty(name, value));
                break;
            case kMaxAge:
                options.maxAgeSeconds = secondsOf(name, value);
                break;
            case kTimeout:
                options.collector.limitSeconds = secondsOf(name, value);
                break;
            case kExitIdle:
                options.exitIdleSeconds = secondsOf(name, value);
                break;
            case kTlsCert:
                options.certificateFile = nonEmpty(name, value);
                break;
            case kTlsKey:
                options.keyFile = nonEmpty(name, value);
                break;
            case kClientCa:
                options.clientCaFile = nonEmpty(name, value);
                break;
            case kCredentials:
                options.credentialsFile = nonEmpty(name, value);
                break;
            case kServerName:
                options.serverNames.push_back(nonEmpty(name, value));
                break;
            case kUser:
                options.user = nonEmpty(name, value);
                break;
            case kPlugin:
                options.collector.pluginFile = nonEmpty(name, value);
                break;
            case kVirtualDevice:
                options.collector.virtualDevices.push_back(value);
                break;
            case kCollector:
                if (value.compare(0, 5, "unix:") != 0 || value.size() == 5)
                    wrongUsage("--collector takes unix:PATH, not \"" + value + "\"");
                options.collectorSocket = value.substr(5);
                break;
            case 'h':
            case kHelpWanted:
                options.text = kHelp;
                return options;
            case 'V':
            case kVersionWanted:
                options.text = "diskmgt " DISKMGT_VERSION "\n";
                return options;
            case ':':
                wrongUsage(std::string(arguments[::optind - 1]) + " needs a value");
            default:
                wrongUsage(unknownOption(arguments[::optind - 1]));
        }
    }
    if (::optind < argumentCount)
        wrongUsage(std::string("serve takes options alone, not \"") + arguments[::optind] + "\"");
    requireConsistency(options);
    return options;
}

}  // namespace diskmgt::serve
