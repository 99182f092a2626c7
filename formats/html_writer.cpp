// Escaping.
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

HtmlWriter& HtmlWriter::size(std::uint64_t bytes) {
    raw("<data value=\"").number(bytes).raw("\" title=\"").number(bytes).raw(" bytes\">");
    return raw(sizeText(bytes)).raw("</data>");
}

}  // namespace diskmgt
