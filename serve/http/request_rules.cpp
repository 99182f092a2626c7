#include "serve/http/request_rules.h"

#include <arpa/inet.h>

#include <algorithm>
#include <optional>

#include "serve/http/ascii.h"

namespace diskmgt::serve {

namespace {

int hexValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return -1;
}

std::optional<std::string> percentDecoded(std::string_view text) {
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            decoded += text[at];
            continue;
        }
        if (text.size() - at < 3) return std::nullopt;
        const int high = hexValue(text[at + 1]);
        const int low = hexValue(text[at + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        const int byte = high * 16 + low;
        if (byte < 0x20 || byte == 0x7F) return std::nullopt;
        decoded += static_cast<char>(byte);
        at += 2;
    }
    return decoded;
}

RequestTarget refusedTarget(const char* reason) { return {{}, {}, {}, {400, reason}}; }

struct Authority {
    std::string host;  // comparable
    std::string port;  // empty: none
};

/// HOST, HOST:PORT, [ADDRESS] or [ADDRESS]:PORT; nothing when it is none of these.
std::optional<Authority> parsedAuthority(std::string_view text) {
    std::string_view name = text;
    std::string_view rest;
    if (!text.empty() && text.front() == '[') {
        const std::size_t close = text.find(']');
        if (close == std::string_view::npos) return std::nullopt;
        name = text.substr(0, close + 1);
        rest = text.substr(close + 1);
        in6_addr address{};
        if (::inet_pton(AF_INET6, std::string(name.substr(1, close - 1)).c_str(), &address) != 1) return std::nullopt;
    } else {
        name = text.substr(0, text.find(':'));
        rest = text.substr(name.size());
    }
    if (!rest.empty()) {
        if (rest.front() != ':' || rest.size() > 6) return std::nullopt;
        rest.remove_prefix(1);
        if (!std::all_of(rest.begin(), rest.end(), [](char digit) { return digit >= '0' && digit <= '9'; }))
            return std::nullopt;
    }
    return Authority{comparableHost(name), std::string(rest)};
}

bool isSameOrigin(const std::string& origin, const std::string& hostText, const Arrival& arrival) {
    const std::string scheme = arrival.isOverTls ? "https://" : "http://";
    const std::string usualPort = arrival.isOverTls ? "443" : "80";
    if (lowerCase(origin.substr(0, scheme.size())) != scheme) return false;
    const auto from = parsedAuthority(std::string_view(origin).substr(scheme.size()));
    const auto here = parsedAuthority(hostText);
    const auto port = [&](const Authority& of) { return of.port.empty() ? usualPort : of.port; };
    return from && here && from->host == here->host && port(*from) == port(*here);
}

Refusal hostRefusal(const std::string& hostText, const std::vector<std::string>& serverNames) {
    const auto authority = parsedAuthority(hostText);
    if (!authority) return {400, "Host is not the name of a host."};
    if (isLoopbackHost(authority->host) ||
        std::find(serverNames.begin(), serverNames.end(), authority->host) != serverNames.end())
        return {};
    return {421, "Host names another server; allow the name with --server-name."};
}

}  // namespace

std::string comparableHost(std::string_view name) {
    std::string host = lowerCase(name);
    if (host.size() > 1 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    in6_addr address{};
    char text[INET6_ADDRSTRLEN] = "";
    if (::inet_pton(AF_INET6, host.c_str(), &address) == 1 &&
        ::inet_ntop(AF_INET6, &address, text, sizeof text) != nullptr)
        return text;
    if (host.size() > 1 && host.back() == '.') host.pop_back();
    return host;
}

bool isLoopbackHost(const std::string& host) {
    in_addr address{};
    if (::inet_pton(AF_INET, host.c_str(), &address) == 1) return (ntohl(address.s_addr) >> 24U) == 127;
    return host == "localhost" || host == "::1";
}

RequestTarget requestTarget(const RequestHead& head) {
    std::string_view rest = head.target;
    RequestTarget target;
    if (rest.find('#') != std::string_view::npos) return refusedTarget("The target has a fragment.");
    if (rest == "*" && head.method == "OPTIONS") {
        target.path = "*";
        return target;
    }
    const std::string scheme = lowerCase(rest.substr(0, 8));
    if (scheme == "https://" || scheme.substr(0, 7) == "http://") {
        rest.remove_prefix(scheme == "https://" ? 8 : 7);
        target.authority = std::string(rest.substr(0, std::min(rest.find_first_of("/?"), rest.size())));
        rest.remove_prefix(target.authority.size());
        if (target.authority.empty()) return refusedTarget("The target names no host.");
    } else if (rest.empty() || rest.front() != '/') {
        return refusedTarget("The target of the request is not a path.");
    }
    const std::size_t question = std::min(rest.find('?'), rest.size());
    const auto path = percentDecoded(rest.substr(0, question));
    if (!path) return refusedTarget("The target has a percent sign that encodes no character fit for a path.");
    target.path = path->empty() ? "/" : *path;
    if (question < rest.size()) target.query = std::string(rest.substr(question + 1));
    return target;
}

Refusal headRefusal(const RequestHead& head, const RequestTarget& target, const std::vector<std::string>& serverNames,
                    const Arrival& arrival) {
    if (head.method == "CONNECT") return {501, "This server is not a proxy."};
    if (target.refusal) return target.refusal;
    if (head.minorVersion > 0 && !head.has("host")) return {400, "HTTP/1.1 needs a Host header."};
    const std::string& hostText = target.authority.empty() ? head.header("host") : target.authority;
    if (!arrival.isOverUnixSocket) {
        // HTTP/1.0 may leave Host out, which no browser does.
        if (head.has("host"))
            if (Refusal refusal = hostRefusal(head.header("host"), serverNames)) return refusal;
        if (!target.authority.empty())
            if (Refusal refusal = hostRefusal(target.authority, serverNames)) return refusal;
    }
    if (head.has("origin") && !isSameOrigin(head.header("origin"), hostText, arrival))
        return {403, "Pages of other origins get no answer here."};
    const std::string& site = head.header("sec-fetch-site");
    if ((site == "cross-site" || site == "same-site") && head.header("sec-fetch-mode") != "navigate")
        return {403, "Pages of other origins get no answer here."};
    const std::string encoding = lowerCase(head.header("content-encoding"));
    if (!encoding.empty() && encoding != "identity") return {415, "A compressed body is not read here."};
    return {};
}

}  // namespace diskmgt::serve
