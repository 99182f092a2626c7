#include "serve/http/answer_head.h"

#include <algorithm>
#include <boost/beast/http/status.hpp>
#include <ctime>
#include <ostream>  // missing in the header of the statuses
#include <string_view>

#include "serve/http/ascii.h"
#include "serve/http/conditions.h"

namespace http = boost::beast::http;

namespace diskmgt::serve {

namespace {

// A page carries its styles with it and nothing else; nothing may frame it.
constexpr const char* kPagePolicy =
    "default-src 'none'; style-src 'unsafe-inline'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

void append(std::string& text, std::string_view name, std::string_view value) {
    text.append(name).append(": ");
    const std::size_t start = text.size();
    text.append(value);
    std::replace_if(
        text.begin() + static_cast<std::ptrdiff_t>(start), text.end(),
        [](char letter) { return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F; }, ' ');
    text.append("\r\n");
}

bool has(const AnswerHead& head, const char* name) {
    return std::any_of(head.headers.begin(), head.headers.end(),
                       [&](const auto& header) { return equalsWithoutCase(header.first, name); });
}

}  // namespace

std::string answerHeadText(const AnswerHead& head, const std::string& product, const std::string& date) {
    std::string text = "HTTP/1.1 " + std::to_string(head.status) + " ";
    const auto reason = http::obsolete_reason(static_cast<http::status>(head.status));
    text.append(reason.data(), reason.size()).append("\r\n");
    append(text, "Date", date);
    append(text, "Server", product);
    if (head.status != 304) {
        if (!head.contentType.empty()) append(text, "Content-Type", head.contentType);
        append(text, "Content-Length", std::to_string(head.bodyBytes));
        if (head.isCompressed) append(text, "Content-Encoding", "gzip");
        if (head.status == 200) append(text, "Accept-Ranges", "none");
    }
    if (!head.etag.empty())
        append(text, "ETag",
               "\"" + head.etag + (head.isCompressed ? std::string(kCompressedTag) : std::string()) + "\"");
    if (head.varies) append(text, "Vary", "Accept-Encoding");
    for (const auto& [name, value] : head.headers) append(text, name, value);
    if (!has(head, "Cache-Control")) append(text, "Cache-Control", head.etag.empty() ? "no-store" : "no-cache");
    append(text, "X-Content-Type-Options", "nosniff");
    append(text, "Cross-Origin-Resource-Policy", "same-origin");
    if (equalsWithoutCase(std::string_view(head.contentType).substr(0, 9), "text/html")) {
        if (!has(head, "Content-Security-Policy")) append(text, "Content-Security-Policy", kPagePolicy);
        append(text, "X-Frame-Options", "DENY");
        append(text, "Referrer-Policy", "no-referrer");
        append(text, "Cross-Origin-Opener-Policy", "same-origin");
    }
    if (!head.keepsAlive)
        append(text, "Connection", "close");
    else if (head.minorVersion == 0)
        append(text, "Connection", "keep-alive");
    return text += "\r\n";
}

std::string httpDate(std::time_t moment) {
    static const char* const kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::tm parts{};
    if (::gmtime_r(&moment, &parts) == nullptr) return "Thu, 01 Jan 1970 00:00:00 GMT";
    const auto two = [](int number) { return (number < 10 ? "0" : "") + std::to_string(number); };
    return std::string(kDays[parts.tm_wday]) + ", " + two(parts.tm_mday) + " " + kMonths[parts.tm_mon] + " " +
           std::to_string(parts.tm_year + 1900) + " " + two(parts.tm_hour) + ":" + two(parts.tm_min) + ":" +
           two(parts.tm_sec) + " GMT";
}

}  // namespace diskmgt::serve
