// Writes a JSON document piece by piece, without holding it as a tree: a server may have thousands of partitions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace diskmgt_cli {

/// Two blanks a level, one value a line. Texts: see json.h. The calls must make a document; nothing checks that.
class JsonWriter {
public:
    JsonWriter& beginObject() { return begin('{'); }
    JsonWriter& endObject() { return end('}'); }
    JsonWriter& beginArray() { return begin('['); }
    JsonWriter& endArray() { return end(']'); }
    /// Names are this program's own: they need no escapes.
    JsonWriter& key(std::string_view name);
    JsonWriter& text(const std::string& value);
    JsonWriter& number(std::uint64_t value) { return plain(std::to_string(value)); }
    JsonWriter& real(double value);
    JsonWriter& truth(bool value) { return plain(value ? "true" : "false"); }
    /// A value as it stands in JSON already, such as a number's decimal text.
    JsonWriter& plain(std::string_view value);

    JsonWriter& textField(std::string_view name, const std::string& value) { return key(name).text(value); }
    JsonWriter& numberField(std::string_view name, std::uint64_t value) { return key(name).number(value); }
    JsonWriter& truthField(std::string_view name, bool value) { return key(name).truth(value); }
    /// Left out when absent.
    template <typename Number>
    JsonWriter& numberField(std::string_view name, const std::optional<Number>& value) {
        return value ? key(name).number(*value) : *this;
    }

    /// The document with a line end; the writer is empty afterwards.
    std::string take();

private:
    JsonWriter& begin(char bracket);
    JsonWriter& end(char bracket);
    void separate();
    void breakLine();

    std::string document;
    std::size_t depth = 0;
    bool isFirst = true;  // of the values at this depth
    bool followsKey = false;
};

}  // namespace diskmgt_cli
