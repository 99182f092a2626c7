// What an HTTP server is told when it is made.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

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
    std::chrono::milliseconds answer{30'000};        // for the site to answer; then 503
    std::chrono::milliseconds idle{60'000};          // of a kept connection between two requests
    std::chrono::milliseconds write{20'000};         // to take the next 64 KiB of an answer
    std::chrono::milliseconds linger{1000};          // to read an answer that comes before its request has ended
    std::chrono::milliseconds finish{10'000};        // what is being answered when the server ends
};

/// What is replaced while the server runs: texts, never paths. An empty text is not the same as none.
struct Secrets {
    std::optional<std::string> certificate;  // PEM: the server's, then those up to a root. None: no TLS
    std::optional<std::string> key;          // PEM, not encrypted
    std::optional<std::string> clientCa;     // PEM; clients then need a certificate that one of these has signed
    std::optional<std::string> credentials;  // lines NAME:HASH of crypt(3). None: no password is asked for
};

struct ServerSettings {
    std::vector<std::string> serverNames;  // what Host may name besides loopback addresses
    Secrets secrets;
    Limits limits;
    std::string product = "diskmgt";                     // of the Server header
    std::function<void(const std::string& line)> log{};  // one escaped line a request, on the server's thread
};

}  // namespace diskmgt::serve
