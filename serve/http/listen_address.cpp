#include "serve/http/listen_address.h"

#include <arpa/inet.h>
#include <sys/un.h>

#include <algorithm>
#include <string_view>

#include "serve/http/settings_error.h"
#include "text/readable_text.h"

namespace diskmgt::serve {

namespace {

constexpr std::size_t kLongestPath = sizeof(sockaddr_un::sun_path) - 1;

std::string quoted(const std::string& text) { return "\"" + escapedControls(text) + "\""; }

ListenAddress localAddress(const std::string& path) {
    if (path.empty() || path.front() != '/')
        throw SettingsError("cannot listen on " + quoted("unix:" + path) +
                            ": the path of a Unix socket begins with /, such as unix:/run/diskmgt/serve.sock");
    if (path.size() > kLongestPath || path.find('\0') != std::string::npos)
        throw SettingsError("cannot listen on " + quoted("unix:" + path) + ": the path of a Unix socket has at most " +
                            std::to_string(kLongestPath) + " bytes");
    ListenAddress address;
    address.family = ListenAddress::Family::local;
    address.path = path;
    return address;
}

/// False when it is no port.
bool readPort(std::string_view text, std::uint16_t& port) {
    if (text.empty() || text.size() > 5) return false;
    unsigned value = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9') return false;
        value = value * 10 + static_cast<unsigned>(digit - '0');
    }
    port = static_cast<std::uint16_t>(value);
    return value <= 0xFFFF;
}

bool isLoopback(const in6_addr& address) {
    return IN6_IS_ADDR_LOOPBACK(&address) || (IN6_IS_ADDR_V4MAPPED(&address) && address.s6_addr[12] == 127);
}

}  // namespace

std::string ListenAddress::text() const {
    switch (family) {
        case Family::local:
            return "unix:" + path;
        case Family::ipv6:
            return "[" + host + "]:" + std::to_string(port);
        case Family::ipv4:
            break;
    }
    return host + ":" + std::to_string(port);
}

bool ListenAddress::isLocal() const {
    if (family == Family::local) return true;
    in_addr four{};
    in6_addr six{};
    if (family == Family::ipv4)
        return ::inet_pton(AF_INET, host.c_str(), &four) == 1 && ntohl(four.s_addr) >> 24U == 127;
    return ::inet_pton(AF_INET6, host.c_str(), &six) == 1 && isLoopback(six);
}

ListenAddress parseListenAddress(const std::string& text) {
    constexpr std::string_view kUnix = "unix:";
    if (text.compare(0, kUnix.size(), kUnix) == 0) return localAddress(text.substr(kUnix.size()));
    const std::string forms = ": write ADDRESS:PORT such as 127.0.0.1:5988 or [::1]:5988, or unix:PATH";
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos) throw SettingsError("cannot listen on " + quoted(text) + forms);

    ListenAddress address;
    address.host = text.substr(0, colon);
    if (!readPort(std::string_view(text).substr(colon + 1), address.port))
        throw SettingsError("cannot listen on " + quoted(text) +
                            ": the port behind the last colon is a number up to 65535");
    in_addr four{};
    in6_addr six{};
    if (::inet_pton(AF_INET, address.host.c_str(), &four) == 1 && address.host.find('\0') == std::string::npos)
        return address;
    const bool hasBrackets = address.host.size() > 2 && address.host.front() == '[' && address.host.back() == ']';
    if (hasBrackets) {
        address.host = address.host.substr(1, address.host.size() - 2);
        address.family = ListenAddress::Family::ipv6;
        char shortest[INET6_ADDRSTRLEN] = "";
        if (address.host.find('\0') == std::string::npos && ::inet_pton(AF_INET6, address.host.c_str(), &six) == 1 &&
            ::inet_ntop(AF_INET6, &six, shortest, sizeof shortest) != nullptr) {
            address.host = shortest;
            return address;
        }
    } else if (::inet_pton(AF_INET6, address.host.c_str(), &six) == 1) {
        throw SettingsError("cannot listen on " + quoted(text) + ": put the address in brackets, as in [::1]:5988");
    }
    throw SettingsError("cannot listen on " + quoted(text) + forms +
                        (address.host == "localhost" ? "; names are not looked up" : ""));
}

std::string listeningRule(const ListenAddress& address, const Protection& protection) {
    if (protection.hasClientCa && !protection.hasTls)
        return "client certificates need TLS: give a certificate and a key too (--tls-cert, --tls-key)";
    if (address.isLocal() || (protection.hasTls && (protection.hasCredentials || protection.hasClientCa))) return "";
    const std::string others =
        "cannot listen on " + escapedControls(address.text()) + ", which other machines reach, without ";
    if (!protection.hasTls && !protection.hasCredentials)
        return others +
               "TLS and passwords: give --tls-cert and --tls-key, and --credentials or --client-ca; or listen on "
               "127.0.0.1";
    if (!protection.hasTls) return others + "TLS: give --tls-cert and --tls-key; or listen on 127.0.0.1";
    return others + "asking who it is: give --credentials or --client-ca; or listen on 127.0.0.1";
}

}  // namespace diskmgt::serve
