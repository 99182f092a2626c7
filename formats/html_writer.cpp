#include "formats/html_writer.h"

#include "text/readable_text.h"
#include "text/size_text.h"

namespace diskmgt {

HtmlWriter& HtmlWriter::raw(std::string_view markup) {
    written += markup;
    return *this;
}

HtmlWriter& HtmlWriter::text(const std::string& value) {
    for (const char letter : escapedControls(value)) {
        switch (letter) {
            case '<':
                written += "&lt;";
                break;
            case '>':
                written += "&gt;";
                break;
            case '&':
                written += "&amp;";
                break;
            case '"':
                written += "&quot;";
                break;
            case '\'':
                written += "&#39;";
                break;
            default:
                written += letter;
        }
    }
    return *this;
}

HtmlWriter& HtmlWriter::breakable(const std::string& value) {
    std::size_t begin = 0;
    for (std::size_t i = 1; i + 1 < value.size(); ++i) {
        const bool isBetweenParts = value[i] == '/' && value[i - 1] != ' ' && value[i - 1] != '/';
        if (!isBetweenParts) continue;
        text(value.substr(begin, i + 1 - begin)).raw("<wbr>");
        begin = i + 1;
    }
    return text(value.substr(begin));
}

HtmlWriter& HtmlWriter::size(std::uint64_t bytes) {
    raw("<data value=\"").number(bytes).raw("\" title=\"").number(bytes).raw(" bytes\">");
    return raw(sizeText(bytes)).raw("</data>");
}

}  // namespace diskmgt
