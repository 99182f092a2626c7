#include "serve/cimxml/cim_failure.h"

#include "text/readable_text.h"
#include "text/utf8.h"

namespace diskmgt::serve {

std::string quotedForClient(const std::string& text) {
    constexpr std::size_t kLongest = 200;
    std::size_t end = 0;
    while (end < text.size() && end < kLongest) end += utf8CharacterAt(text, end).length;
    return "\"" + escapedControls(text.substr(0, end)) + (end < text.size() ? "...\"" : "\"");
}

}  // namespace diskmgt::serve
