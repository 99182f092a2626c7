// Plain texts are copied as they are; the few that need care are quoted by whoever knows how.
#include "cli/printers/json_writer.h"

#include <algorithm>

namespace diskmgt_cli {

namespace {

constexpr std::size_t kPieceSize = 32768;
constexpr std::size_t kIndent = 2;

bool isPlain(char character) { return character >= ' ' && character < '\x7F' && character != '"' && character != '\\'; }

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
    if (!std::all_of(value.begin(), value.end(), isPlain)) {
        pending += quote(std::string(value));
        return;
    }
    pending += '"';
    pending += value;
    pending += '"';
}

}  // namespace diskmgt_cli
