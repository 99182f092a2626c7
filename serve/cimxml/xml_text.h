// Text fit for XML 1.0, and the writer of answers.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace diskmgt::serve {

/// Whether the text is UTF-8 and XML 1.0 allows each of its characters.
bool isXmlText(std::string_view text);

/// The text as a client reads it out of an answer: U+FFFD for bytes that are not UTF-8 and for characters that XML 1.0
/// forbids, line ends as line feeds.
std::string asReadFromXml(std::string_view text);

/// Writes what the strictest client takes: only & < > " are escaped, all else is plain UTF-8 (a client shows numeric
/// references undecoded); U+FFFD as in `asReadFromXml`, but line ends as they are. An element is closed by a tag of its
/// own; the short form is for the elements that have it in every client.
class XmlWriter {
public:
    /// Attributes with an empty value are left out.
    using Attributes = std::initializer_list<std::pair<const char*, std::string_view>>;

    XmlWriter& begin(const char* element, Attributes attributes = {});
    XmlWriter& end(const char* element);
    /// <ELEMENT .../>: for CLASSNAME, ERROR and an INSTANCENAME without keys only.
    XmlWriter& shortForm(const char* element, Attributes attributes);
    /// <ELEMENT ...>text</ELEMENT>
    XmlWriter& leaf(const char* element, std::string_view text, Attributes attributes = {});
    /// Markup that is known to be right.
    XmlWriter& raw(std::string_view markup);

    const std::string& written() const { return xml; }
    std::string take() { return std::move(xml); }

private:
    void openTag(const char* element, Attributes attributes);

    std::string xml;
};

}  // namespace diskmgt::serve
