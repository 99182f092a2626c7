// Printable ASCII is escaped here; the few texts with anything else are quoted by whoever knows how.
#include "cli/printers/json_writer.h"

namespace diskmgt_cli {

namespace {

constexpr std::size_t kPieceSize = 32768;
constexpr std::size_t kIndent = 2;

bool isPrintable(char character) { return character >= ' ' && character < '\x7F'; }

}  // namespace

void JsonWriter::key(std::string_view name) {
    beginLine();
    appendQuoted(name);
    pending += ": ";
    afterKey = true;
}

void JsonWriter::text(std::string_view value) {
    beginValue();
    appendQuoted(value);
}

void JsonWriter::literal(std::string_view json) {
    beginValue();
    pending += json;
}

void JsonWriter::finish() {
    pending += '\n';
    sink(pending);
    pending.clear();
}

void JsonWriter::open(char bracket) {
    beginValue();
    pending += bracket;
    ++depth;
    isFirst = true;
}

void JsonWriter::close(char bracket) {
    --depth;
    if (!isFirst) {  // an empty one stays on its line
        pending += '\n';
        pending.append(kIndent * depth, ' ');
    }
    pending += bracket;
    isFirst = false;
    if (pending.size() < kPieceSize) return;
    sink(pending);
    pending.clear();
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
            pending += quote(std::string(value));
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
