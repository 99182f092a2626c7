#include "machine/texts.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace diskmgt_machine {

namespace {

/// The value of `count` digits of this base at the start of the text; nothing when they are missing.
std::optional<unsigned> digitsAt(std::string_view text, std::size_t count, int base) {
    if (text.size() < count) return std::nullopt;
    unsigned value = 0;
    const char* const end = text.data() + count;
    const auto [stop, error] = std::from_chars(text.data(), end, value, base);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

/// Replaces `mark` and the digits behind it by the byte that they encode.
std::string unescaped(std::string_view text, std::string_view mark, std::size_t digitCount, int base) {
    std::string plain;
    plain.reserve(text.size());
    while (!text.empty()) {
        const std::size_t found = text.find(mark);
        plain += text.substr(0, found);
        if (found == std::string_view::npos) break;
        text.remove_prefix(found + mark.size());
        const auto value = digitsAt(text, digitCount, base);
        if (value && *value <= 0xFF) {
            plain += static_cast<char>(*value);
            text.remove_prefix(digitCount);
        } else {
            plain += mark;
        }
    }
    return plain;
}

}  // namespace

bool startsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

std::string_view firstLineIn(std::string_view text) { return text.substr(0, text.find('\n')); }

std::vector<std::string_view> linesIn(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::string_view line = firstLineIn(text);
        lines.push_back(line);
        text.remove_prefix(line.size() < text.size() ? line.size() + 1 : line.size());
    }
    return lines;
}

std::vector<std::string_view> fieldsIn(std::string_view line) {
    std::vector<std::string_view> fields;
    for (;;) {
        const std::size_t blank = line.find(' ');
        fields.push_back(line.substr(0, blank));
        if (blank == std::string_view::npos) return fields;
        line.remove_prefix(blank + 1);
    }
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kFill("\0 \t\r\n", 5);
    const std::size_t first = text.find_first_not_of(kFill);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kFill) - first + 1);
}

std::optional<std::uint64_t> decimalFrom(std::string_view text) {
    std::uint64_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

std::optional<std::uint64_t> bytesFrom(std::string_view count, std::uint64_t unit) {
    const auto number = decimalFrom(count);
    if (!number || *number > std::numeric_limits<std::uint64_t>::max() / unit) return std::nullopt;
    return *number * unit;
}

std::string nodeOfSysfsName(std::string name) {
    std::replace(name.begin(), name.end(), '!', '/');
    return name;
}

std::string sysfsNameOfNode(std::string nodeBelowDev) {
    std::replace(nodeBelowDev.begin(), nodeBelowDev.end(), '/', '!');
    return nodeBelowDev;
}

std::string withoutOctalEscapes(std::string_view text) { return unescaped(text, "\\", 3, 8); }

std::string withoutHexEscapes(std::string_view text) { return unescaped(text, "\\x", 2, 16); }

}  // namespace diskmgt_machine
