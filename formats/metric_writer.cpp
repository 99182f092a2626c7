// Heads, labels and values.
#include "formats/metric_writer.h"

#include <charconv>
#include <cstddef>

#include "text/readable_text.h"

namespace diskmgt {

namespace {

void appendEscaped(std::string& out, const std::string& text) {
    for (const char letter : text) {
        if (letter == '\n') {
            out += "\\n";
            continue;
        }
        if (letter == '\\' || letter == '"') out += '\\';
        out += letter;
    }
}

}  // namespace

void MetricWriter::begin(std::string_view name, std::string_view help) {
    metric = name;
    head = "# HELP " + metric + " ";
    head += help;
    head += "\n# TYPE " + metric + " gauge\n";
    seen.clear();
}

void MetricWriter::sample(const Labels& labels, double value) {
    char digits[32];
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, value);
    append(labels, error == std::errc() ? std::string_view(digits, static_cast<std::size_t>(end - digits)) : "NaN");
}

void MetricWriter::append(const Labels& labels, std::string_view value) {
    std::string series = metric;
    char separator = '{';
    for (const auto& [name, text] : labels) {
        series += separator;
        series += name;
        series += "=\"";
        appendEscaped(series, asUtf8(std::string(text)));
        series += '"';
        separator = ',';
    }
    if (!labels.empty()) series += '}';
    if (!seen.insert(series).second) return;
    written += std::exchange(head, {});
    written += series;
    written += ' ';
    written += value;
    written += '\n';
}

}  // namespace diskmgt
