// Bytes of an HTTP connection: what is read does not depend on how they are cut, and what is taken for a request is the
// same when it is written again in the plainest way.
#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "fuzz/target.h"
#include "serve/http/access_log.h"
#include "serve/http/conditions.h"
#include "serve/http/credentials.h"
#include "serve/http/request_reader.h"
#include "serve/http/request_rules.h"

namespace {

using diskmgt_fuzz::require;
using namespace diskmgt::serve;
using State = RequestReader::State;

struct Limits {
    std::size_t head;
    std::size_t body;
};

struct Request {
    RequestHead head;
    std::string body;
};

struct Reading {
    std::vector<Request> requests;
    Refusal refusal;  // that ended it
};

bool hasControl(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char letter) {
        return (static_cast<unsigned char>(letter) < 0x20 && letter != '\t') || letter == 0x7F;
    });
}

Reading readInPieces(const std::string& bytes, std::size_t piece, const Limits& limits) {
    Reading reading;
    RequestReader reader(limits.head, limits.body);
    std::size_t at = 0;
    for (;;) {
        while (reader.state() == State::complete) {
            reading.requests.push_back({reader.head(), reader.takeBody()});
            require(reading.requests.back().body.size() <= limits.body, "a body keeps within its limit");
            (void)reader.next();
        }
        if (reader.state() == State::refused || at == bytes.size()) break;
        const auto [place, size] = reader.room();
        require(size > 0, "there is room for more bytes as long as more are wanted");
        const std::size_t count = std::min({size, piece, bytes.size() - at});
        std::memcpy(place, &bytes[at], count);
        at += count;
        (void)reader.received(count);
    }
    if (reader.state() == State::refused) {
        reading.refusal = reader.refusal();
        require(reading.refusal.status >= 400 && !reading.refusal.reason.empty(), "a refusal says why");
    }
    return reading;
}

bool isSame(const Request& left, const Request& right) {
    return left.head.method == right.head.method && left.head.target == right.head.target &&
           left.head.minorVersion == right.head.minorVersion && left.head.headers == right.head.headers &&
           left.head.keepsAlive == right.head.keepsAlive && left.body == right.body;
}

/// Limits of what frames chunks are looked at with every piece that comes.
bool dependsOnPieces(const Refusal& refusal) { return refusal.status == 431 || refusal.status == 413; }

void compare(const Reading& whole, const Reading& cut) {
    const std::size_t common = std::min(whole.requests.size(), cut.requests.size());
    for (std::size_t at = 0; at < common; ++at)
        require(isSame(whole.requests[at], cut.requests[at]), "requests do not depend on how the bytes are cut");
    if (dependsOnPieces(whole.refusal) || dependsOnPieces(cut.refusal)) return;
    require(whole.requests.size() == cut.requests.size(), "their number does not depend on it");
    require(whole.refusal.status == cut.refusal.status, "nor does a refusal");
}

void writeAndReadBack(const Request& request) {
    std::string text = request.head.method + " " + request.head.target + " HTTP/1." +
                       std::to_string(request.head.minorVersion) + "\r\n";
    Request plain = request;
    (void)plain.head.headers.erase("transfer-encoding");
    plain.head.headers["content-length"] = std::to_string(plain.body.size());
    for (const auto& [name, value] : plain.head.headers) {
        require(!hasControl(name) && !hasControl(value), "no header has a control character");
        text += name + ": " + value + "\r\n";
    }
    const Limits wide{16384, 65536};
    const Reading again = readInPieces(text + "\r\n" + plain.body, std::string::npos, wide);
    require(again.requests.size() == 1 && !again.refusal, "a request that is written plainly is one request");
    require(isSame(again.requests[0], plain), "it is the same request");
}

void decide(const Request& request) {
    const RequestTarget target = requestTarget(request.head);
    if (!target.refusal) {
        require(target.path == "*" || target.path.front() == '/', "a path begins with a slash");
        require(!hasControl(target.path) && target.path.find('\t') == std::string::npos,
                "a path has no control character");
    }
    for (const bool isLocal : {false, true}) {
        Arrival arrival;
        arrival.isOverUnixSocket = isLocal;
        const Refusal refusal = headRefusal(request.head, target, {"disks.example"}, arrival);
        if (isLocal || refusal || !request.head.has("host")) continue;
        std::string host = comparableHost(request.head.header("host"));
        if (host.find(':') != std::string::npos && host.find("::") == std::string::npos)
            host = host.substr(0, host.rfind(':'));
        host = comparableHost(host);
        require(isLoopbackHost(host) || host == "disks.example" || host.front() == '[' ||
                    host.find("::1") != std::string::npos,
                "a request that is taken names this server");
    }
    (void)matchesEtag(request.head.header("if-none-match"), "tag");
    (void)acceptsGzip(request.head.header("accept-encoding"));
    NameAndPassword given;
    if (readBasicCredentials(request.head.header("authorization"), given))
        require(given.name.find(':') == std::string::npos && given.password.find('\0') == std::string::npos,
                "a name ends at the colon");
    AccessRecord record;
    record.method = request.head.method;
    record.target = request.head.target;
    require(!hasControl(accessLine(record)), "a line of the log is one line");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    diskmgt_fuzz::Choices choices(data, size);
    const std::uint8_t choice = choices.byte();
    const Limits limits = (choice & 1U) != 0 ? Limits{256, 64} : Limits{8192, 65536};
    const std::string bytes(choices.rest(), choices.restSize());
    const Reading whole = readInPieces(bytes, std::string::npos, limits);
    compare(whole, readInPieces(bytes, 1, limits));
    compare(whole, readInPieces(bytes, 1U + (choice >> 1U), limits));
    for (const Request& request : whole.requests) {
        writeAndReadBack(request);
        decide(request);
    }
    return 0;
}
