// The head of an answer as it is sent. Pure.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

namespace diskmgt::serve {

struct AnswerHead {
    unsigned status = 200;
    std::string contentType;
    std::vector<std::pair<std::string, std::string>> headers;
    std::uint64_t bodyBytes = 0;
    std::string etag;           // without quotes; empty: none
    bool isCompressed = false;  // the etag is that of the plain text
    bool varies = false;        // another client could get it compressed
    bool keepsAlive = true;
    unsigned minorVersion = 1;  // of the request
};

/// Up to the body, with what keeps a browser from doing anything with it that its type does not say. Control characters
/// in values become blanks. `date` is that of `httpDate`.
std::string answerHeadText(const AnswerHead& head, const std::string& product, const std::string& date);

/// "Sun, 06 Nov 1994 08:49:37 GMT"
std::string httpDate(std::time_t moment);

}  // namespace diskmgt::serve
