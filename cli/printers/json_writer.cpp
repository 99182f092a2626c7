// Commas, line ends and indents; texts that need escapes are left to the JSON library.
#include "cli/printers/json_writer.h"

#include <charconv>
#include <utility>

#include "cli/printers/json.h"

namespace diskmgt_cli {

namespace {

/// Printable ASCII without quotes and backslashes stands in a document as it is.
bool isPlain(const std::string& text) {
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte < 0x20 || byte > 0x7E || byte == '"' || byte == '\\') return false;
    }
    return true;
}

}  // namespace

JsonWriter& JsonWriter::key(std::string_view name) {
    separate();
    document += '"';
    document += name;
    document += "\": ";
    followsKey = true;
    return *this;
}

JsonWriter& JsonWriter::text(const std::string& value) {
    separate();
    if (isPlain(value)) {
        document += '"';
        document += value;
        document += '"';
    } else {
        document += json::quoted(value);
    }
    return *this;
}

JsonWriter& JsonWriter::real(double value) {
    char digits[32];
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, value);
    return plain(error == std::errc() ? std::string_view(digits, static_cast<std::size_t>(end - digits)) : "null");
}

JsonWriter& JsonWriter::plain(std::string_view value) {
    separate();
    document += value;
    return *this;
}

std::string JsonWriter::take() {
    document += '\n';
    isFirst = true;
    return std::exchange(document, {});
}

JsonWriter& JsonWriter::begin(char bracket) {
    separate();
    document += bracket;
    ++depth;
    isFirst = true;
    return *this;
}

JsonWriter& JsonWriter::end(char bracket) {
    --depth;
    if (!isFirst) breakLine();  // empty ones stay on their line
    document += bracket;
    isFirst = false;
    return *this;
}

void JsonWriter::separate() {
    if (std::exchange(followsKey, false)) {
        isFirst = false;
        return;
    }
    if (!isFirst) document += ',';
    isFirst = false;
    if (depth > 0) breakLine();
}

void JsonWriter::breakLine() {
    document += '\n';
    document.append(2 * depth, ' ');
}

}  // namespace diskmgt_cli
