// An HTTP/1.1 server over sockets that somebody else made: one thread, and one more that checks passwords.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "serve/http/settings_error.h"
#include "serve/http/site.h"

namespace diskmgt::serve {

struct Limits {
    std::size_t bodyBytes = 64UL * 1024;
    std::size_t headBytes = 8UL * 1024;              // request line and headers together
    std::size_t connections = 64;                    // past them the one that waits longest for its peer is closed
    std::size_t passwordsWaiting = 16;               // past them 503
    std::size_t failedAddresses = 1024;              // remembered; the one that failed least makes room
    unsigned failuresUnpunished = 5;                 // of an address; then each doubles its pause, answered 429
    std::chrono::milliseconds firstPause{1000};      // after the first failure that is punished
    std::chrono::milliseconds longestPause{60'000};  // a failure is forgotten after ten of them
    std::chrono::milliseconds request{10'000};       // to send one, handshake included
    std::chrono::milliseconds idle{60'000};          // of a kept connection between two requests
    std::chrono::milliseconds write{20'000};         // to take the next 64 KiB of an answer
    std::chrono::milliseconds linger{1000};          // to read an answer that comes before its request has ended
    std::chrono::milliseconds finish{10'000};        // what is being answered when the server ends
};

/// What is replaced while the server runs: texts, never paths.
struct Secrets {
    std::string certificate;  // PEM: the server's, then those up to a root. Empty: no TLS
    std::string key;          // PEM, not encrypted
    std::string clientCa;     // PEM; not empty: clients need a certificate that one of these has signed
    std::string credentials;  // lines NAME:HASH of crypt(3); empty: no password is asked for
};

struct ServerSettings {
    std::vector<std::string> serverNames;  // what Host may name besides loopback addresses
    Secrets secrets;
    Limits limits;
    std::string product = "diskmgt";                     // of the Server header
    std::function<void(const std::string& line)> log{};  // one escaped line a request, on the server's thread
};

class HttpServer {
public:
    /// The site must outlive the server. Throws `SettingsError`.
    HttpServer(Site& site, ServerSettings settings);
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;
    ~HttpServer();

    /// A listening socket, TCP or Unix, which the server owns from now on. With a certificate TCP speaks TLS; a Unix
    /// socket never does, and any Host will do there.
    void listenOn(int descriptor);
    /// Starts the thread that checks passwords, and uses once whatever opens files or descriptors at its first use.
    /// After it nothing does, so that a system-call filter can be set. `run` calls it when nobody has.
    void prepare();
    /// New connections use these; a connection from before is closed when it has nothing to answer. Throws
    /// `SettingsError`, and then nothing has changed. On the server's thread.
    void replaceSettings(const Secrets& secrets);
    /// Calls `readable` as long as there is something to read, an end included, until `unwatch`. The descriptor stays
    /// the caller's, who unwatches it before closing it.
    void watch(int descriptor, std::function<void()> readable);
    void unwatch(int descriptor);
    /// Calls `due` once, on the server's thread.
    void after(std::chrono::milliseconds delay, std::function<void()> due);
    /// Connections that are being answered or send a request.
    std::size_t busyConnections() const;
    /// Serves until `finish`.
    void run();
    /// Takes no further request; what is being answered is finished, then `run` returns. On the server's thread.
    void finish();

private:
    class Core;
    std::unique_ptr<Core> core;
};

}  // namespace diskmgt::serve
