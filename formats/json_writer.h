// JsonWriter: a JSON document written as it grows, two blanks a level, one member or element a line. A server may have
// thousands of partitions, which nobody needs to hold as a tree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace diskmgt {

/// Texts: see json.h. The caller opens and closes in order and gives every member of an object its key; nothing checks
/// that.
class JsonWriter {
public:
    using Sink = std::function<void(const std::string&)>;

    /// Keeps the document until `take`.
    JsonWriter() = default;
    /// The sink takes the document in pieces; the last one comes with `finish`.
    explicit JsonWriter(Sink pieces) : sink(std::move(pieces)) {}

    JsonWriter& beginObject() { return begin('{'); }
    JsonWriter& endObject() { return end('}'); }
    JsonWriter& beginArray() { return begin('['); }
    JsonWriter& endArray() { return end(']'); }
    JsonWriter& key(std::string_view name);
    JsonWriter& text(std::string_view value);
    JsonWriter& number(std::uint64_t value) { return plain(std::to_string(value)); }
    JsonWriter& truth(bool value) { return plain(value ? "true" : "false"); }
    /// A value that is JSON already, such as a number's decimal text.
    JsonWriter& plain(std::string_view value);

    JsonWriter& textField(std::string_view name, std::string_view value) { return key(name).text(value); }
    JsonWriter& numberField(std::string_view name, std::uint64_t value) { return key(name).number(value); }
    JsonWriter& truthField(std::string_view name, bool value) { return key(name).truth(value); }
    /// Left out when absent.
    template <typename Number>
    JsonWriter& numberField(std::string_view name, const std::optional<Number>& value) {
        return value ? key(name).number(*value) : *this;
    }

    /// The document is complete: ends its line and hands it, or the rest of it, to the sink or the caller.
    void finish() { sink(take()); }
    std::string take();

private:
    JsonWriter& begin(char bracket);
    JsonWriter& end(char bracket);
    void beginValue();
    void beginLine();
    void appendQuoted(std::string_view value);

    Sink sink;
    std::string pending;
    std::size_t depth = 0;
    bool isFirst = true;    // nothing was written yet in the innermost object or array
    bool afterKey = false;  // the value belongs on the key's line
};

}  // namespace diskmgt
