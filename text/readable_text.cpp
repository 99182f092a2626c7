// One walk over UTF-8 with two ways to treat what is not fit to be shown.
#include "text/readable_text.h"

#include <algorithm>
#include <cstdio>

namespace diskmgt {

namespace {

constexpr std::string_view kReplacement = "\uFFFD";
constexpr std::string_view kDirectionMarks[] = {"\u061C", "\u200E", "\u200F", "\u202A", "\u202B", "\u202C",
                                                "\u202D", "\u202E", "\u2066", "\u2067", "\u2068", "\u2069"};

constexpr std::string_view kMarkBeginnings = "\xD8\xE2";  // the first bytes of these

/// The length of the well-formed UTF-8 character at `position`; 0 when there is none. Overlong forms, surrogates
/// and numbers past U+10FFFF are not well-formed.
std::size_t characterLength(const std::string& text, std::size_t position) {
    const auto byteAt = [&text](std::size_t at) -> unsigned {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
    };
    const auto continues = [&byteAt](std::size_t at) { return (byteAt(at) & 0xC0U) == 0x80U; };
    const unsigned first = byteAt(position);
    const unsigned second = byteAt(position + 1);
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first <= 0xDF) return continues(position + 1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const bool overlong = first == 0xE0 && second < 0xA0;
        const bool surrogate = first == 0xED && second > 0x9F;
        return !overlong && !surrogate && continues(position + 1) && continues(position + 2) ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool overlong = first == 0xF0 && second < 0x90;
        const bool tooLarge = first == 0xF4 && second > 0x8F;
        return !overlong && !tooLarge && continues(position + 1) && continues(position + 2) && continues(position + 3)
                   ? 4
                   : 0;
    }
    return 0;
}

bool isControl(const std::string& text, std::size_t position, std::size_t length) {
    const auto first = static_cast<unsigned char>(text[position]);
    if (length == 1) return first < 0x20 || first == 0x7F;
    return length == 2 && first == 0xC2 && static_cast<unsigned char>(text[position + 1]) < 0xA0;  // C1
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
    for (const std::string_view mark : kDirectionMarks)
        if (text.substr(0, mark.size()) == mark) return mark.size();
    return 0;
}

std::string withoutDirectionMarks(const std::string& text) {
    return withDirectionMarksAs(text, [](std::string_view) { return std::string(kReplacement); });
}

std::string withCodedDirectionMarks(const std::string& text, const char* prefix) {
    return withDirectionMarksAs(text, [prefix](std::string_view mark) {
        unsigned code = static_cast<unsigned char>(mark[0]) & (mark.size() == 2 ? 0x1FU : 0x0FU);
        for (const char byte : mark.substr(1)) code = code << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
        char digits[9];
        (void)std::snprintf(digits, sizeof digits, "%04x", code);
        return prefix + std::string(digits);
    });
}

}  // namespace diskmgt
