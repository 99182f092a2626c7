// Printable ASCII is escaped here; the few texts with anything else are left to the JSON library.
#include "cli/printers/json_writer.h"

#include "cli/printers/json.h"

namespace diskmgt_cli {

namespace {

constexpr std::size_t kPieceSize = 32768;
constexpr std::size_t kIndent = 2;

bool isPrintable(char character) { return character >= ' ' && character < '\x7F'; }

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
    if (!isFirst) pending += ',';
    isFirst = false;
    pending += '\n';
    pending.append(kIndent * depth, ' ');
}

void JsonWriter::appendQuoted(std::string_view value) {
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

}  // namespace diskmgt_cli
