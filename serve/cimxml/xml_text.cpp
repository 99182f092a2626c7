#include "serve/cimxml/xml_text.h"

#include "text/utf8.h"

namespace diskmgt::serve {

namespace {

constexpr const char* kReplacement = "\uFFFD";

bool isAllowedControl(char letter) { return letter == '\t' || letter == '\n' || letter == '\r'; }

/// Printable and without meaning to XML.
bool isPlain(char letter) {
    return letter >= ' ' && letter <= '~' && letter != '&' && letter != '<' && letter != '>' && letter != '"';
}

struct XmlCharacter {
    std::size_t length;
    bool isAllowed;
};

XmlCharacter xmlCharacterAt(std::string_view text, std::size_t at) {
    const Utf8Character character = utf8CharacterAt(text, at);
    if (!character.isWellFormed) return {character.length, false};
    if (character.length == 1) {
        const auto byte = static_cast<unsigned char>(text[at]);
        return {1, byte >= 0x20 || isAllowedControl(text[at])};
    }
    const std::string_view bytes = text.substr(at, character.length);
    return {character.length, bytes != "\uFFFE" && bytes != "\uFFFF"};
}

enum class Place { kText, kAttribute };

void appendSpecial(std::string& xml, std::string_view character, Place place) {
    switch (character.front()) {
        case '&':
            xml += "&amp;";
            return;
        case '<':
            xml += "&lt;";
            return;
        case '>':
            xml += "&gt;";
            return;
        case '"':
            xml += "&quot;";
            return;
        default:
            if (place == Place::kAttribute && isAllowedControl(character.front()))
                xml += ' ';  // which is what readers make of it
            else
                xml += character;
    }
}

void appendEscaped(std::string& xml, std::string_view value, Place place) {
    for (std::size_t at = 0; at < value.size();) {
        std::size_t end = at;
        while (end < value.size() && isPlain(value[end])) ++end;
        xml.append(value, at, end - at);
        at = end;
        if (at == value.size()) return;
        const XmlCharacter character = xmlCharacterAt(value, at);
        if (character.isAllowed)
            appendSpecial(xml, value.substr(at, character.length), place);
        else
            xml += kReplacement;
        at += character.length;
    }
}

}  // namespace

bool isXmlText(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const XmlCharacter character = xmlCharacterAt(text, at);
        if (!character.isAllowed) return false;
        at += character.length;
    }
    return true;
}

std::string asReadFromXml(std::string_view text) {
    std::string read;
    read.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const XmlCharacter character = xmlCharacterAt(text, at);
        if (!character.isAllowed)
            read += kReplacement;
        else if (text[at] != '\r')
            read.append(text, at, character.length);
        else if (at + 1 == text.size() || text[at + 1] != '\n')
            read += '\n';
        at += character.length;
    }
    return read;
}

void XmlWriter::openTag(const char* element, Attributes attributes) {
    xml += '<';
    xml += element;
    for (const auto& [name, value] : attributes) {
        if (value.empty()) continue;
        xml += ' ';
        xml += name;
        xml += "=\"";
        appendEscaped(xml, value, Place::kAttribute);
        xml += '"';
    }
}

XmlWriter& XmlWriter::begin(const char* element, Attributes attributes) {
    openTag(element, attributes);
    xml += '>';
    return *this;
}

XmlWriter& XmlWriter::end(const char* element) {
    xml += "</";
    xml += element;
    xml += '>';
    return *this;
}

XmlWriter& XmlWriter::shortForm(const char* element, Attributes attributes) {
    openTag(element, attributes);
    xml += "/>";
    return *this;
}

XmlWriter& XmlWriter::leaf(const char* element, std::string_view text, Attributes attributes) {
    begin(element, attributes);
    appendEscaped(xml, text, Place::kText);
    return end(element);
}

XmlWriter& XmlWriter::raw(std::string_view markup) {
    xml += markup;
    return *this;
}

}  // namespace diskmgt::serve
