#include "serve/http/conditions.h"

#include <boost/beast/http/rfc7230.hpp>

#include "serve/http/ascii.h"

namespace diskmgt::serve {

namespace {

constexpr std::string_view kBlanks = " \t";

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

template <typename Word>
bool matchesWord(const Word& word, std::string_view expected) {
    return equalsWithoutCase({word.data(), word.size()}, expected);
}

/// q=0, 0.0, 0.00 or 0.000
bool isZeroWeight(std::string_view value) {
    return !value.empty() && value.front() == '0' && value.find_first_not_of("0.", 1) == std::string_view::npos;
}

}  // namespace

bool matchesEtag(std::string_view ifNoneMatch, std::string_view etag) {
    std::string_view rest = trimmed(ifNoneMatch);
    if (rest == "*") return true;
    while (!rest.empty()) {
        if (rest.substr(0, 2) == "W/") rest.remove_prefix(2);
        if (rest.empty() || rest.front() != '"') return false;
        const std::size_t end = rest.find('"', 1);
        if (end == std::string_view::npos) return false;
        std::string_view tag = rest.substr(1, end - 1);
        if (tag == etag) return true;
        if (tag.size() == etag.size() + kCompressedTag.size() && tag.substr(0, etag.size()) == etag &&
            tag.substr(etag.size()) == kCompressedTag)
            return true;
        rest = trimmed(rest.substr(end + 1));
        if (rest.empty()) break;
        if (rest.front() != ',') return false;
        rest = trimmed(rest.substr(1));
    }
    return false;
}

bool acceptsGzip(std::string_view acceptEncoding) {
    bool any = false;
    for (const auto& coding : boost::beast::http::ext_list{{acceptEncoding.data(), acceptEncoding.size()}}) {
        const bool isGzip = matchesWord(coding.first, "gzip") || matchesWord(coding.first, "x-gzip");
        if (!isGzip && coding.first != "*") continue;
        bool isRefused = false;
        for (const auto& parameter : coding.second)
            if (matchesWord(parameter.first, "q"))
                isRefused = isZeroWeight({parameter.second.data(), parameter.second.size()});
        if (isGzip) return !isRefused;
        any = !isRefused;
    }
    return any;
}

}  // namespace diskmgt::serve
