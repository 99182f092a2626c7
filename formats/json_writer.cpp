#include "formats/json_writer.h"

#include <algorithm>

#include "text/utf8.h"

namespace diskmgt {

namespace {

constexpr std::size_t kPieceSize = 32768;
constexpr std::size_t kIndent = 2;

constexpr char kLineAndBlanks[] = ",\n                                ";  // for sixteen levels
constexpr std::size_t kMostBlanks = sizeof kLineAndBlanks - 3;

bool isPrintable(char character) { return character >= ' ' && character < '\x7F'; }
bool standsAsItIs(char character) { return isPrintable(character) && character != '"' && character != '\\'; }
/// Whether the text can stand between quotes as it is. Looks at every character, which lets it look at many at once.
bool isPlain(std::string_view text) {
    unsigned char isOdd = 0;
    for (const char character : text) isOdd |= static_cast<unsigned char>(!standsAsItIs(character));
    return isOdd == 0;
}

void appendCode(std::string& out, unsigned char code) {
    constexpr char kDigits[] = "0123456789abcdef";
    out += "\\u00";
    out += kDigits[code >> 4U];
    out += kDigits[code & 0xFU];
}

void appendAscii(std::string& out, char character) {
    switch (character) {
        case '"':
        case '\\':
            out += '\\';
            out += character;
            return;
        case '\b':
            out += "\\b";
            return;
        case '\t':
            out += "\\t";
            return;
        case '\n':
            out += "\\n";
            return;
        case '\f':
            out += "\\f";
            return;
        case '\r':
            out += "\\r";
            return;
        default:
            if (isPrintable(character))
                out += character;
            else
                appendCode(out, static_cast<unsigned char>(character));
    }
}

}  // namespace

JsonWriter& JsonWriter::key(std::string_view name) {
    separate();
    appendQuoted(name);
    pending += ':';
    if (layout != JsonLayout::kCompact) pending += ' ';
    afterKey = true;
    return *this;
}

JsonWriter& JsonWriter::text(std::string_view value) {
    beginValue();
    appendQuoted(value);
    return *this;
}

JsonWriter& JsonWriter::plain(std::string_view value) {
    beginValue();
    pending += value;
    return *this;
}

void JsonWriter::flush() {
    sink(pending);
    pending.clear();
}

std::string JsonWriter::take() {
    pending += '\n';
    isFirst = true;
    return std::exchange(pending, {});
}

JsonWriter& JsonWriter::begin(char bracket, JsonLayout within) {
    beginValue();
    pending += bracket;
    outside.push_back(layout);
    layout = within;
    isFirst = true;
    return *this;
}

JsonWriter& JsonWriter::end(char bracket) {
    if (!isFirst) endLine();
    layout = outside.back();
    outside.pop_back();
    pending += bracket;
    isFirst = false;
    if (sink && pending.size() >= kPieceSize) flush();
    return *this;
}

void JsonWriter::beginValue() {
    if (!afterKey && !outside.empty()) separate();
    afterKey = false;
}

/// Begins a member or element.
void JsonWriter::separate() {
    const std::size_t begin = isFirst ? 1 : 0;
    isFirst = false;
    if (layout == JsonLayout::kIndented) {
        const std::size_t blanks = kIndent * outside.size();
        pending.append(kLineAndBlanks + begin, 2 - begin + std::min(blanks, kMostBlanks));
        if (blanks > kMostBlanks) pending.append(blanks - kMostBlanks, ' ');
    } else if (layout == JsonLayout::kLines) {
        pending.append(kLineAndBlanks + begin, 2 - begin);
    } else if (begin == 0) {
        pending += layout == JsonLayout::kSpaced ? ", " : ",";
    }
}

/// Behind the last member or element.
void JsonWriter::endLine() {
    if (layout != JsonLayout::kIndented && layout != JsonLayout::kLines) return;
    pending += '\n';
    if (layout == JsonLayout::kIndented) pending.append(kIndent * (outside.size() - 1), ' ');
}

void JsonWriter::appendQuoted(std::string_view value) {
    pending += '"';
    if (isPlain(value)) {  // as nearly all are
        pending += value;
    } else {
        for (std::size_t at = 0; at < value.size();) {
            std::size_t end = at;
            while (end < value.size() && standsAsItIs(value[end])) ++end;
            pending.append(value, at, end - at);
            at = end;
            if (at == value.size()) break;
            const Utf8Character character = utf8CharacterAt(value, at);
            if (!character.isWellFormed)
                pending += "\uFFFD";
            else if (character.length == 1)
                appendAscii(pending, value[at]);
            else if (value[at] == '\xC2' && static_cast<unsigned char>(value[at + 1]) < 0xA0)  // U+0080 to U+009F
                appendCode(pending, static_cast<unsigned char>(value[at + 1]));
            else
                pending.append(value, at, character.length);
            at += character.length;
        }
    }
    pending += '"';
}

}  // namespace diskmgt
