#include "serve/http/request_reader.h"

#include <algorithm>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <cstring>
#include <string_view>

#include "serve/http/ascii.h"

namespace http = boost::beast::http;

namespace diskmgt::serve {

namespace {

constexpr std::size_t kBesideHead = 8192;  // room for what comes behind a head
constexpr std::size_t kFramingFactor = 8;  // a chunk of one byte is sent as six
constexpr std::size_t kVersionLength = 9;  // " HTTP/1.1"

bool isDigit(char character) { return character >= '0' && character <= '9'; }

bool isControl(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return (byte < 0x20 && byte != '\t') || byte == 0x7F;
}

/// What is wrong with a request line, without its end.
Refusal requestLineRefusal(std::string_view line) {
    const std::string_view version = line.substr(line.size() - std::min(line.size(), kVersionLength));
    if (version != " HTTP/1.1" && version != " HTTP/1.0") {
        if (version.substr(0, 6) == " HTTP/" && version.size() == kVersionLength && isDigit(version[6]) &&
            version[7] == '.' && isDigit(version[8]))
            return {505, "Only HTTP/1.0 and HTTP/1.1 are spoken here."};
        return {400, "The first line is not that of an HTTP request."};
    }
    for (const char character : line)
        if (static_cast<unsigned char>(character) >= 0x80)
            return {400, "The request line has a byte that is not ASCII; percent-encode it."};
    return {};
}

Refusal parserRefusal(const boost::system::error_code& error) {
    if (error == http::error::body_limit) return {413, "The body of the request is too long."};
    if (error == http::error::header_limit) return {431, "The headers of the request are too long."};
    if (error == http::error::bad_method) return {400, "The method of the request is not a word of HTTP."};
    if (error == http::error::bad_target) return {400, "The target of the request cannot be read."};
    if (error == http::error::bad_version) return {400, "The first line is not that of an HTTP request."};
    if (error == http::error::bad_content_length)
        return {400, "Content-Length is not one number, or there is Transfer-Encoding too."};
    if (error == http::error::bad_transfer_encoding)
        return {400, "Transfer-Encoding is there twice, or beside Content-Length."};
    if (error == http::error::bad_chunk || error == http::error::bad_chunk_extension)
        return {400, "The chunks of the body cannot be read."};
    if (error == http::error::bad_field || error == http::error::bad_value)
        return {400, "A header of the request cannot be read."};
    return {400, "The request cannot be read."};
}

}  // namespace

struct RequestReader::Parser : http::request_parser<http::string_body> {};

RequestReader::RequestReader(std::size_t longestHead, std::size_t longestBody)
    : headLimit(longestHead), bodyLimit(longestBody), buffer(longestHead + kBesideHead, '\0') {}
RequestReader::~RequestReader() = default;

std::pair<char*, std::size_t> RequestReader::room() { return {&buffer[filled], buffer.size() - filled}; }

RequestReader::State RequestReader::received(std::size_t count) {
    filled += count;
    return advance();
}

RequestReader::State RequestReader::next() {
    parser.reset();
    requestHead = RequestHead();
    scanned = lineStart = bodyBytes = 0;
    now = State::waiting;
    return advance();
}

std::string RequestReader::takeBody() { return std::move(parser->get().body()); }

RequestReader::State RequestReader::advance() {
    if ((now == State::waiting || now == State::head) && scanHead()) readHead();
    if (now == State::body) readBody();
    return now;
}

RequestReader::State RequestReader::refuse(unsigned status, const char* reason) {
    why = {status, reason};
    return now = State::refused;
}

void RequestReader::drop(std::size_t count) {
    std::memmove(&buffer[0], &buffer[count], filled - count);
    filled -= count;
}

/// True when the whole head is there; `scanned` is then its length. Any other reader of this head would see the same
/// lines: none is folded, none ends in another way.
bool RequestReader::scanHead() {
    for (; scanned < filled; ++scanned) {
        const char byte = buffer[scanned];
        const bool isBehindReturn = scanned > lineStart && buffer[scanned - 1] == '\r';
        if (scanned >= headLimit) {
            if (lineStart == 0)
                refuse(414, "The request line is too long.");
            else
                refuse(431, "The headers of the request are too long.");
            return false;
        }
        if (byte == '\n') {
            if (!isBehindReturn) return (void)refuse(400, "A line of the head does not end with CR LF."), false;
            if (takesLineEnd(scanned)) return ++scanned, true;
            if (now == State::refused) return false;
        } else if (isBehindReturn) {
            return (void)refuse(400, "A line of the head does not end with CR LF."), false;
        } else if (byte != '\r' && isControl(byte)) {
            return (void)refuse(400, "The head has a control character; TLS is not spoken here."), false;
        } else if (scanned == lineStart && lineStart > 0 && (byte == ' ' || byte == '\t')) {
            return (void)refuse(400, "A header is folded over two lines."), false;
        }
    }
    now = filled == 0 ? State::waiting : State::head;
    return false;
}

/// True when the line that ends there is the empty one behind the headers.
bool RequestReader::takesLineEnd(std::size_t at) {
    const std::string_view line(&buffer[lineStart], at - 1 - lineStart);
    if (lineStart > 0 && line.empty()) return true;
    if (lineStart == 0 && line.empty()) {  // before a request: some clients send one too many behind a body
        drop(at + 1);
        scanned = static_cast<std::size_t>(-1);  // the next one looked at is the first
        return false;
    }
    if (lineStart == 0) {
        const Refusal refusal = requestLineRefusal(line);
        if (refusal) {
            why = refusal;
            now = State::refused;
        }
    }
    lineStart = at + 1;
    return false;
}

void RequestReader::readHead() {
    parser = std::make_unique<Parser>();
    parser->header_limit(static_cast<std::uint32_t>(headLimit));
    parser->body_limit(bodyLimit);
    boost::system::error_code error;
    (void)parser->put(boost::asio::const_buffer(buffer.data(), scanned), error);
    const auto& message = parser->get();
    requestHead.method = std::string(message.method_string());
    requestHead.target = std::string(message.target());
    if (error) {
        why = parserRefusal(error);
        now = State::refused;
        return;
    }
    drop(scanned);
    requestHead.minorVersion = message.version() % 10;
    for (const auto& field : message) {
        const std::string name = lowerCase({field.name_string().data(), field.name_string().size()});
        const auto [known, isNew] = requestHead.headers.emplace(name, std::string(field.value()));
        if (isNew) continue;
        if (name == "content-length" || name == "transfer-encoding" || name == "host" || name == "authorization")
            return (void)refuse(400, "A header that may come only once is there twice.");
        if (field.value().empty()) continue;  // an empty part of a list is none
        if (!known->second.empty()) known->second.append(", ");
        known->second.append(field.value().data(), field.value().size());
    }
    const std::string& length = requestHead.header("content-length");
    if (!std::all_of(length.begin(), length.end(), isDigit))
        return (void)refuse(400, "Content-Length is not one number.");
    if (requestHead.has("transfer-encoding")) {
        if (requestHead.minorVersion == 0) return (void)refuse(400, "HTTP/1.0 has no Transfer-Encoding.");
        if (!equalsWithoutCase(requestHead.header("transfer-encoding"), "chunked"))
            return (void)refuse(501, "Of the transfer encodings only chunked is known here.");
    }
    const std::string& expectation = requestHead.header("expect");
    if (requestHead.minorVersion > 0 && !expectation.empty()) {
        if (!equalsWithoutCase(expectation, "100-continue"))
            return (void)refuse(417, "Only 100-continue can be expected here.");
        requestHead.expectsContinue = true;
    }
    requestHead.keepsAlive =
        parser->keep_alive() && !http::token_list{requestHead.header("connection")}.exists("close");
    now = parser->is_done() ? State::complete : State::body;
}

void RequestReader::readBody() {
    parser->eager(true);
    // No chunked body is shorter, and the parser asserts as much when the first chunk is the last and comes in pieces.
    constexpr std::size_t kShortestChunked = 5;
    if (requestHead.has("transfer-encoding") && bodyBytes == 0 && filled < kShortestChunked) return;
    while (filled > 0) {
        boost::system::error_code error;
        const std::size_t used = parser->put(boost::asio::const_buffer(buffer.data(), filled), error);
        drop(used);
        bodyBytes += used;
        if (error && error != http::error::need_more) {
            why = parserRefusal(error);
            now = State::refused;
            return;
        }
        if (parser->is_done()) {
            now = State::complete;
            return;
        }
        if (bodyBytes > kFramingFactor * bodyLimit + headLimit)
            return (void)refuse(413, "The chunks of the body take too much room.");
        if (error || used == 0) break;
    }
    if (filled >= headLimit) (void)refuse(431, "A line between the chunks of the body is too long.");
}

}  // namespace diskmgt::serve
