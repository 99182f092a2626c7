// Literals of the MOF language. References and date-times are written as strings, as the language wants them.
#include "formats/mof.h"

#include <cstddef>
#include <cstdio>
#include <string_view>

#include "text/readable_text.h"

namespace diskmgt {

namespace {

using LiteralWriter = void (*)(std::string& text, const std::string& value);

void appendCode(std::string& text, unsigned code) {
    char form[8];
    (void)std::snprintf(form, sizeof form, "\\x%04X", code);
    text += form;
}

/// The value between quotes, well-formed and without any control character. The quote itself is escaped.
void appendEscaped(std::string& text, const std::string& value, char quote) {
    constexpr std::string_view kControls = "\b\t\n\f\r";
    constexpr std::string_view kLetters = "btnfr";
    const std::string valid = asUtf8(value);
    for (std::size_t at = 0; at < valid.size(); ++at) {
        const auto byte = static_cast<unsigned char>(valid[at]);
        const unsigned next = at + 1 < valid.size() ? static_cast<unsigned char>(valid[at + 1]) : 0U;
        const std::size_t known = kControls.find(valid[at]);
        if (valid[at] == quote || valid[at] == '\\') {
            text += {'\\', valid[at]};
        } else if (known != std::string_view::npos) {
            text += {'\\', kLetters[known]};
        } else if (byte < 0x20 || byte == 0x7F) {
            appendCode(text, byte);
        } else if (byte == 0xC2 && next < 0xA0) {  // the controls that take two bytes
            appendCode(text, next);
            ++at;
        } else {
            text += valid[at];
        }
    }
}

void appendString(std::string& text, const std::string& value) {
    text += '"';
    appendEscaped(text, value, '"');
    text += '"';
}

/// A strict broker looks a path without a namespace up nowhere.
void appendReference(std::string& text, const std::string& path) {
    appendString(text, std::string(refhost::ReferenceHost::kNamespace) + ":" + path);
}

void appendCharacter(std::string& text, const std::string& value) {
    text += '\'';
    appendEscaped(text, value, '\'');
    text += '\'';
}

void appendPlain(std::string& text, const std::string& value) { text += value; }

/// The language wants a point in a real number, also before an exponent.
void appendReal(std::string& text, const std::string& value) {
    const std::size_t exponent = value.find_first_of("eE");
    const std::string mantissa = value.substr(0, exponent);
    text += mantissa;
    if (mantissa.find('.') == std::string::npos) text += ".0";
    if (exponent != std::string::npos) text += value.substr(exponent);
}

LiteralWriter writerFor(const std::string& type) {
    if (type == "string" || type == "datetime") return appendString;
    if (type == "reference") return appendReference;
    if (type == "char16") return appendCharacter;
    return type.compare(0, 4, "real") == 0 ? appendReal : appendPlain;
}

/// Null needs none, and an array without elements has none: the language wants one at least.
bool hasLiteral(const refhost::PropertyValue& property) {
    return !property.isNull && !(property.declaration->isArray && property.elements.empty());
}

void appendValue(std::string& text, const refhost::PropertyValue& property) {
    const LiteralWriter append = writerFor(property.declaration->type);
    if (!property.declaration->isArray) {
        append(text, property.elements.front());
        return;
    }
    const char* separator = "{ ";
    for (const std::string& element : property.elements) {
        text += separator;
        append(text, element);
        separator = ", ";
    }
    text += " }";
}

}  // namespace

std::string mofInstances(const std::vector<refhost::Instance>& instances, bool forTerminal) {
    std::string text;
    for (const refhost::Instance& instance : instances) {
        text += text.empty() ? "instance of " : "\ninstance of ";
        text += instance.className + " {\n";
        for (const refhost::PropertyValue& property : instance.properties) {
            if (!hasLiteral(property)) continue;
            text += "    " + property.declaration->name + " = ";
            appendValue(text, property);
            text += ";\n";
        }
        text += "};\n";
    }
    if (forTerminal) return withCodedDirectionMarks(text, "\\x");
    return text;
}

}  // namespace diskmgt
