// JsonWriter: a JSON document written as it grows. A server may have thousands of partitions, and a crowded disk
// millions of values, which nobody needs to hold as a tree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace diskmgt {

/// How the members of an object or the elements of an array lie. One that is empty stays on its line.
enum class JsonLayout {
    kIndented,  // one a line, two blanks a level
    kLines,     // one a line, at its beginning
    kSpaced,    // on one line, a blank after each comma
    kCompact    // on one line, no blanks
};

/// Texts are UTF-8; bytes that are not become U+FFFD. Control characters, DEL and those from U+0080 to U+009F, which
/// some terminals obey, are escaped. The caller opens and closes in order and gives every member of an object its key;
/// nothing checks that.
class JsonWriter {
public:
    using Sink = std::function<void(const std::string&)>;

    /// Keeps the document until `take`.
    explicit JsonWriter(JsonLayout outermost = JsonLayout::kIndented) : layout(outermost) {}
    /// The sink takes the document in pieces; the last one comes with `finish`.
    explicit JsonWriter(Sink pieces, JsonLayout outermost = JsonLayout::kIndented)
        : sink(std::move(pieces)), layout(outermost) {}

    JsonWriter& beginObject() { return begin('{', layout); }
    JsonWriter& endObject() { return end('}'); }
    JsonWriter& beginArray() { return begin('[', layout); }
    JsonWriter& endArray() { return end(']'); }
    /// Laid out otherwise than what it lies in, with all that lies in it.
    JsonWriter& beginObject(JsonLayout within) { return begin('{', within); }
    JsonWriter& beginArray(JsonLayout within) { return begin('[', within); }
    JsonWriter& key(std::string_view name);
    JsonWriter& text(std::string_view value);
    JsonWriter& number(std::uint64_t value) { return plain(std::to_string(value)); }
    JsonWriter& signedNumber(std::int64_t value) { return plain(std::to_string(value)); }
    JsonWriter& truth(bool value) { return plain(value ? "true" : "false"); }
    JsonWriter& null() { return plain("null"); }
    template <typename Texts>
    JsonWriter& texts(const Texts& values) {
        beginArray();
        for (const auto& value : values) text(value);
        return endArray();
    }
    /// A value that is JSON already, such as a number's decimal text.
    JsonWriter& plain(std::string_view value);

    JsonWriter& textField(std::string_view name, std::string_view value) { return key(name).text(value); }
    JsonWriter& textOrNullField(std::string_view name, std::string_view value) {
        return value.empty() ? key(name).null() : key(name).text(value);
    }
    JsonWriter& numberField(std::string_view name, std::uint64_t value) { return key(name).number(value); }
    JsonWriter& truthField(std::string_view name, bool value) { return key(name).truth(value); }
    /// Left out when absent.
    template <typename Number>
    JsonWriter& numberField(std::string_view name, const std::optional<Number>& value) {
        return value ? key(name).number(*value) : *this;
    }

    /// Hands what there is so far to the sink.
    void flush();
    /// The document is complete: ends its line and hands it, or the rest of it, to the sink or the caller.
    void finish() { sink(take()); }
    std::string take();

private:
    JsonWriter& begin(char bracket, JsonLayout within);
    JsonWriter& end(char bracket);
    void beginValue();
    void separate();
    void endLine();
    void appendQuoted(std::string_view value);

    Sink sink;
    std::string pending;
    JsonLayout layout;                // of the innermost object or array
    std::vector<JsonLayout> outside;  // of those around it, from the outermost
    bool isFirst = true;              // nothing was written yet in the innermost
    bool afterKey = false;            // the value belongs on the key's line
};

}  // namespace diskmgt
