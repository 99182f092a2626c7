// Writes metrics in the text format that Prometheus and its exporters read.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace diskmgt {

/// Gauges only. Label values may hold any bytes: those that are not UTF-8 become U+FFFD.
class MetricWriter {
public:
    using Labels = std::vector<std::pair<std::string_view, std::string_view>>;

    /// Begins a metric; its head is written with its first sample. Name and help are this program's own: no escapes.
    void begin(std::string_view name, std::string_view help);
    /// One sample of the metric begun last. Of equal series only the first is kept: a reader refuses the whole text
    /// otherwise.
    void sample(const Labels& labels, std::uint64_t value) { append(labels, std::to_string(value)); }
    void sample(const Labels& labels, double value);

    const std::string& text() const { return written; }

private:
    void append(const Labels& labels, std::string_view value);

    std::string metric;
    std::string head;  // of the metric, until a sample has come
    std::unordered_set<std::string> seen;
    std::string written;
};

}  // namespace diskmgt
