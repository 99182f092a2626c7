// The HTTP server over a site for tests, on loopback. Usage: toy_site [NAME=VALUE...]
// It prints "listening PORT" once it is ready. A line on its standard input answers what is held; it ends when that
// does.
#include <arpa/inet.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "serve/http/server.h"

namespace {

using namespace diskmgt::serve;
using Options = std::map<std::string, std::string>;

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::optional<std::string> fileOf(const Options& options, const char* name) {
    const auto found = options.find(name);
    if (found == options.end()) return std::nullopt;
    return contentOf(found->second);
}

Secrets secretsOf(const Options& options) {
    return {fileOf(options, "cert"), fileOf(options, "key"), fileOf(options, "ca"), fileOf(options, "credentials")};
}

Limits limitsOf(const Options& options) {
    Limits limits;
    limits.idle = std::chrono::hours(1);  // so that a test sees another reason why a connection ends
    const auto set = [&](const char* name, auto& limit) {
        const auto found = options.find(name);
        if (found != options.end())
            limit = std::decay_t<decltype(limit)>(std::strtoul(found->second.c_str(), nullptr, 10));
    };
    set("body", limits.bodyBytes);
    set("head", limits.headBytes);
    set("connections", limits.connections);
    set("passwords", limits.passwordsWaiting);
    set("unpunished", limits.failuresUnpunished);
    set("pause", limits.firstPause);
    set("request", limits.request);
    set("answer", limits.answer);
    set("idle", limits.idle);
    set("write", limits.write);
    set("linger", limits.linger);
    set("finish", limits.finish);
    return limits;
}

std::string documentOf(std::size_t bytes) {
    std::string text;
    for (int line = 0; text.size() < bytes; ++line)
        text += "diskmgt_partition_size_bytes{disk=\"sda\",number=\"" + std::to_string(line) + "\"} 1048576\n";
    text.resize(bytes);
    return text;
}

class ToySite : public Site {
public:
    explicit ToySite(std::size_t bigBytes)
        : metrics(std::make_shared<const std::string>(documentOf(30 * 1024))),
          big(std::make_shared<const std::string>(documentOf(bigBytes))) {}

    void answer(const SiteRequest& request, std::function<void(SiteAnswer)> done) override {
        const std::string& path = request.path;
        if (path == "/metrics") return done({200, "text/plain; version=0.0.4", {}, metrics, "m1"});
        if (path == "/big") return done({200, "application/octet-stream", {}, big, "", false});
        if (path == "/page") return done({200, "text/html; charset=utf-8", {}, text("<!doctype html><p>disks"), "p1"});
        if (path == "/echo") return done({200, "text/plain", {}, text(shown(request)), ""});
        if (path == "/throw") throw std::runtime_error("no answer");
        if (path == "/header") return done({200, "text/plain", {{"X-Text", "a\r\nSet-Cookie: b"}}, text(""), ""});
        if (path == "/twice") {
            done({200, "text/plain", {}, text("first\n"), ""});
            return done({200, "text/plain", {}, text("second\n"), ""});
        }
        if (path == "/hold") return held.push_back(std::move(done));
        if (path == "/release") {
            return done({200, "text/plain", {}, text(std::to_string(release()) + "\n"), ""});
        }
        if (path == "/") return done({200, "text/plain", {}, text("hello\n"), ""});
        done({404, "text/plain", {}, text("nothing is here\n"), ""});
    }

    /// Answers what is held; how many these are.
    std::size_t release() {
        std::vector<std::function<void(SiteAnswer)>> waiting;
        waiting.swap(held);
        for (const auto& done : waiting) done({200, "text/plain", {}, text("released\n"), ""});
        return waiting.size();
    }

private:
    static std::shared_ptr<const std::string> text(std::string content) {
        return std::make_shared<const std::string>(std::move(content));
    }
    static std::string shown(const SiteRequest& request) {
        std::string lines = "method=" + request.method + "\npath=" + request.path + "\nquery=" + request.query + "\n";
        for (const auto& [name, value] : request.headers) lines += "header " + name + "=" + value + "\n";
        return lines + "body=" + request.body;
    }

    std::shared_ptr<const std::string> metrics;
    std::shared_ptr<const std::string> big;
    std::vector<std::function<void(SiteAnswer)>> held;
};

int listening(sockaddr* address, socklen_t size) {
    const int descriptor = ::socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0 || ::bind(descriptor, address, size) != 0 || ::listen(descriptor, SOMAXCONN) != 0)
        throw std::runtime_error("cannot listen");
    (void)::getsockname(descriptor, address, &size);  // one of our own
    return descriptor;
}

int tcpSocket(unsigned& port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int descriptor = listening(reinterpret_cast<sockaddr*>(&address), sizeof address);
    port = ntohs(address.sin_port);
    return descriptor;
}

int tcp6Socket(unsigned port) {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    address.sin6_port = htons(static_cast<std::uint16_t>(port));
    return listening(reinterpret_cast<sockaddr*>(&address), sizeof address);
}

int unixSocket(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return listening(reinterpret_cast<sockaddr*>(&address), sizeof address);
}

/// Signals as a descriptor, so that the server's loop takes them.
int signalDescriptor() {
    sigset_t taken;
    (void)::sigemptyset(&taken);
    for (const int number : {SIGTERM, SIGHUP}) (void)::sigaddset(&taken, number);
    (void)::sigprocmask(SIG_BLOCK, &taken, nullptr);
    return ::signalfd(-1, &taken, SFD_CLOEXEC | SFD_NONBLOCK);
}

void serve(const Options& options) {
    const auto option = [&](const char* name, const char* usual) {
        const auto found = options.find(name);
        return found == options.end() ? std::string(usual) : found->second;
    };
    ToySite site(std::strtoul(option("big", "1048576").c_str(), nullptr, 10));
    ServerSettings settings;
    settings.limits = limitsOf(options);
    settings.secrets = secretsOf(options);
    if (options.count("name") != 0) settings.serverNames = {options.at("name")};
    if (options.count("log") != 0)
        settings.log = [](const std::string& line) { (void)std::fprintf(stderr, "%s\n", line.c_str()); };
    const int signals = signalDescriptor();
    HttpServer server(site, settings);
    unsigned port = 0;
    server.listenOn(tcpSocket(port));
    if (options.count("six") != 0) server.listenOn(tcp6Socket(port));
    if (options.count("unix") != 0) server.listenOn(unixSocket(options.at("unix")));
    server.watch(signals, [&] {
        signalfd_siginfo signal{};
        if (::read(signals, &signal, sizeof signal) != sizeof signal) return;
        if (signal.ssi_signo == SIGTERM) return server.finish();
        try {
            server.replaceSettings(secretsOf(options));
            (void)std::fprintf(stderr, "settings replaced\n");
        } catch (const SettingsError& error) {
            (void)std::fprintf(stderr, "settings kept: %s\n", error.what());
        }
    });
    server.watch(STDIN_FILENO, [&] {
        char line[64];
        if (::read(STDIN_FILENO, line, sizeof line) > 0) return (void)site.release();
        server.unwatch(STDIN_FILENO);
        server.finish();
    });
    server.prepare();
    (void)std::printf("listening %u\n", port);
    (void)std::fflush(stdout);
    server.run();
    (void)std::printf("finished\n");
}

}  // namespace

int main(int argc, char** argv) {
    try {
        Options options;
        for (int at = 1; at < argc; ++at) {
            const std::string argument = argv[at];
            options[argument.substr(0, argument.find('='))] = argument.substr(argument.find('=') + 1);
        }
        serve(options);
        return 0;
    } catch (const std::exception& failure) {
        (void)std::fprintf(stderr, "%s\n", failure.what());
        return 2;
    }
}
