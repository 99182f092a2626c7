#include "serve/http/access_log.h"

#include "text/readable_text.h"
#include "text/utc_text.h"

namespace diskmgt::serve {

namespace {

constexpr std::size_t kLongest = 512;

/// Blanks too, so that a line has as many words as it should.
std::string word(const std::string& text) {
    if (text.empty()) return "-";
    std::string shown;
    for (const char letter : escapedControls(text.substr(0, kLongest))) {
        if (letter == '"')
            shown += "\\x22";
        else if (letter == ' ')
            shown += "\\x20";
        else
            shown += letter;
    }
    return text.size() > kLongest ? shown + "..." : shown;
}

}  // namespace

std::string accessLine(const AccessRecord& record) {
    const std::string request = record.method.empty() ? "-"
                                                      : word(record.method) + " " + word(record.target) + " HTTP/1." +
                                                            std::to_string(record.minorVersion);
    return utcText(record.moment) + " " + word(record.address) + " " + word(record.user) + " \"" + request + "\" " +
           std::to_string(record.status) + " " + std::to_string(record.bodyBytes) + " " +
           std::to_string(record.took.count()) + "ms" +
           (record.note.empty() ? std::string() : " " + escapedControls(record.note.substr(0, kLongest)));
}

}  // namespace diskmgt::serve
