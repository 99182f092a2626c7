#include "text/readable_text.h"

#include <algorithm>
#include <cstdio>

#include "text/utf8.h"

namespace diskmgt {

namespace {

constexpr std::string_view kReplacement = "\uFFFD";
struct CodeRange {
    char32_t first, last;
};
/// Marks of writing direction and characters that are not seen. Not the variation selectors, which choose a glyph.
constexpr CodeRange kMarks[] = {
    {0x00AD, 0x00AD},    // soft hyphen
    {0x061C, 0x061C},    // direction
    {0x180E, 0x180E},    // vowel separator
    {0x200B, 0x200F},    // without width, joiners, direction
    {0x2028, 0x202E},    // line and paragraph separator, direction
    {0x2060, 0x2064},    // without width
    {0x2066, 0x2069},    // direction
    {0xFEFF, 0xFEFF},    // byte order mark
    {0xE0000, 0xE007F},  // tags
};
constexpr std::string_view kMarkBeginnings = "\xC2\xD8\xE1\xE2\xEF\xF3";  // the first bytes of these

/// 0 when what begins at `position` is not well-formed.
std::size_t characterLength(const std::string& text, std::size_t position) {
    const Utf8Character character = utf8CharacterAt(text, position);
    return character.isWellFormed ? character.length : 0;
}

bool isControl(const std::string& text, std::size_t position, std::size_t length) {
    const auto first = static_cast<unsigned char>(text[position]);
    if (length == 1) return first < 0x20 || first == 0x7F;
    return length == 2 && first == 0xC2 && static_cast<unsigned char>(text[position + 1]) < 0xA0;  // C1
}

/// Of one well-formed character of two bytes or more.
char32_t codeOf(std::string_view character) {
    char32_t code = static_cast<unsigned char>(character[0]) & (0x7FU >> character.size());
    for (const char byte : character.substr(1)) code = code << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
    return code;
}

std::string fourDigits(char32_t code) {
    char digits[9];
    (void)std::snprintf(digits, sizeof digits, "%04x", static_cast<unsigned>(code));
    return digits;
}

void appendEscaped(std::string& escaped, char byte) {
    char form[5];
    (void)std::snprintf(form, sizeof form, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    escaped += form;
}

template <typename Shown>
std::string withDirectionMarksAs(const std::string& text, const Shown& shownOf) {
    std::string shown;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t mark = directionMarkLength(rest);
        const std::size_t taken = mark != 0 ? mark : std::min(rest.find_first_of(kMarkBeginnings, 1), rest.size());
        shown += mark != 0 ? shownOf(rest.substr(0, taken)) : std::string(rest.substr(0, taken));
        rest.remove_prefix(taken);
    }
    return shown;
}

}  // namespace

std::string escapedControls(const std::string& text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = characterLength(text, at);
        if (length == 0) {
            appendEscaped(escaped, text[at++]);
        } else if (isControl(text, at, length) || directionMarkLength(std::string_view(text).substr(at)) != 0) {
            for (const std::size_t end = at + length; at < end; ++at) appendEscaped(escaped, text[at]);
        } else {
            escaped.append(text, at, length);
            at += length;
        }
    }
    return escaped;
}

std::string asUtf8(const std::string& text) {
    std::string valid;
    valid.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = characterLength(text, at);
        if (length == 0) {
            valid += kReplacement;
            ++at;
        } else {
            valid.append(text, at, length);
            at += length;
        }
    }
    return valid;
}

std::size_t directionMarkLength(std::string_view text) {
    if (text.empty() || kMarkBeginnings.find(text[0]) == kMarkBeginnings.npos) return 0;  // nearly always
    const Utf8Character character = utf8CharacterAt(text, 0);
    if (!character.isWellFormed) return 0;
    const char32_t code = codeOf(text.substr(0, character.length));
    for (const CodeRange& range : kMarks)
        if (code >= range.first && code <= range.last) return character.length;
    return 0;
}

std::string withoutDirectionMarks(const std::string& text) {
    return withDirectionMarksAs(text, [](std::string_view) { return std::string(kReplacement); });
}

std::string withCodedDirectionMarks(const std::string& text, const char* prefix) {
    return withDirectionMarksAs(text, [prefix](std::string_view mark) {
        const char32_t code = codeOf(mark);
        if (code < 0x10000) return prefix + fourDigits(code);
        const char32_t above = code - 0x10000;  // as UTF-16 writes it
        return prefix + fourDigits(0xD800 | above >> 10U) + prefix + fourDigits(0xDC00 | (above & 0x3FFU));
    });
}

}  // namespace diskmgt
