// Printable ASCII is escaped here; the few texts with anything else are left to the JSON library.
#include "formats/json_writer.h"

#include <algorithm>

#include "formats/json.h"

namespace diskmgt {

namespace {

constexpr std::size_t kPieceSize = 32768;
constexpr std::size_t kIndent = 2;

constexpr char kLineAndBlanks[] = ",\n                                ";  // for sixteen levels
constexpr std::size_t kMostBlanks = sizeof kLineAndBlanks - 3;

bool isPrintable(char character) { return character >= ' ' && character < '\x7F'; }
/// Whether the text can stand between quotes as it is. Looks at every character, which lets it look at many at once.
bool isPlain(std::string_view text) {
    unsigned char isOdd = 0;
    for (const char character : text)
        isOdd |= static_cast<unsigned char>(!isPrintable(character) || character == '"' || character == '\\');
    return isOdd == 0;
}

}  // namespace

JsonWriter& JsonWriter::key(std::string_view name) {
    beginLine();
    appendQuoted(name);
    pending += ": ";
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

std::string JsonWriter::take() {
    pending += '\n';
    isFirst = true;
    return std::exchange(pending, {});
}

JsonWriter& JsonWriter::begin(char bracket) {
    beginValue();
    pending += bracket;
    ++depth;
    isFirst = true;
    return *this;
}

JsonWriter& JsonWriter::end(char bracket) {
    --depth;
    if (!isFirst) {  // an empty one stays on its line
        pending += '\n';
        pending.append(kIndent * depth, ' ');
    }
    pending += bracket;
    isFirst = false;
    if (sink && pending.size() >= kPieceSize) {
        sink(pending);
        pending.clear();
    }
    return *this;
}

void JsonWriter::beginValue() {
    if (!afterKey && depth > 0) beginLine();
    afterKey = false;
}

void JsonWriter::beginLine() {
    const std::size_t begin = isFirst ? 1 : 0;
    const std::size_t blanks = kIndent * depth;
    isFirst = false;
    pending.append(kLineAndBlanks + begin, 2 - begin + std::min(blanks, kMostBlanks));
    if (blanks > kMostBlanks) pending.append(blanks - kMostBlanks, ' ');
}

void JsonWriter::appendQuoted(std::string_view value) {
    if (isPlain(value)) {  // as nearly all are
        pending += '"';
        pending += value;
        pending += '"';
        return;
    }
    const std::size_t begin = pending.size();
    pending += '"';
    std::size_t copied = 0;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (!isPrintable(value[i])) {
            pending.resize(begin);
            pending += json::quoted(std::string(value));
            return;
        }
        if (value[i] != '"' && value[i] != '\\') continue;
        pending.append(value, copied, i - copied);
        pending += '\\';
        copied = i;
    }
    pending.append(value, copied);
    pending += '"';
}

}  // namespace diskmgt
