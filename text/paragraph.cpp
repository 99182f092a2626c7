// Word by word.
#include "text/paragraph.h"

#include <algorithm>

#include "text/display_width.h"
#include "text/readable_text.h"

namespace diskmgt {

std::string paragraph(const std::string& lead, const std::string& text, std::size_t width) {
    const std::string readable = escapedControls(text);
    if (width == 0) return lead + readable + "\n";
    const std::string indent(displayWidth(lead), ' ');
    std::string broken = lead;
    std::size_t column = indent.size();
    for (std::size_t begin = 0; begin < readable.size();) {
        const std::size_t end = std::min(readable.find(' ', begin), readable.size());
        const std::string word = readable.substr(begin, end - begin);
        const std::size_t wordWidth = displayWidth(word);
        if (begin > 0 && column + 1 + wordWidth > width) {
            broken.append("\n").append(indent).append(word);
            column = indent.size() + wordWidth;
        } else {
            broken += (begin == 0 ? "" : " ") + word;
            column += (begin == 0 ? 0 : 1) + wordWidth;
        }
        begin = end + 1;
    }
    return broken + "\n";
}

}  // namespace diskmgt
