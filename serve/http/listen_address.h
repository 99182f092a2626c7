// Where a server listens, as people write it, and whether it may. Pure.
#pragma once

#include <cstdint>
#include <string>

namespace diskmgt::serve {

struct ListenAddress {
    enum class Family { ipv4, ipv6, local };
    Family family = Family::ipv4;
    std::string host;  // numeric, without brackets
    std::uint16_t port = 0;
    std::string path;  // of a Unix socket

    /// As people write it.
    std::string text() const;
    /// Reached from this machine alone.
    bool isLocal() const;
};

/// ADDRESS:PORT, [ADDRESS]:PORT or unix:PATH. Throws `SettingsError` with one sentence.
ListenAddress parseListenAddress(const std::string& text);

struct Protection {
    bool hasTls = false;
    bool hasCredentials = false;
    bool hasClientCa = false;
};

/// Empty: the server may listen there; else the sentence that says why not and what would do.
std::string listeningRule(const ListenAddress& address, const Protection& protection);

}  // namespace diskmgt::serve
