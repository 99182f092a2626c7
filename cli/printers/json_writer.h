// JsonWriter: a JSON document written as it grows, two blanks a level, one member or element a line.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace diskmgt_cli {

/// The caller opens and closes in order and gives every member of an object its key.
class JsonWriter {
public:
    using Sink = std::function<void(const std::string&)>;
    /// Makes the JSON form of a text with controls or bytes beyond ASCII.
    using Quote = std::string (*)(const std::string& text);

    /// The sink takes the document in pieces; the last one comes with `finish`.
    JsonWriter(Sink pieces, Quote carefulQuote) : sink(std::move(pieces)), quote(carefulQuote) {}

    void key(std::string_view name);
    void openObject() { open('{'); }
    void closeObject() { close('}'); }
    void openArray() { open('['); }
    void closeArray() { close(']'); }
    void text(std::string_view value);
    /// Something that is JSON already: a number, a truth.
    void literal(std::string_view json);
    /// The document is complete: ends its line and hands over the rest.
    void finish();

private:
    void open(char bracket);
    void close(char bracket);
    void beginValue();
    void beginLine();
    void appendQuoted(std::string_view value);

    Sink sink;
    Quote quote;
    std::string pending;
    std::size_t depth = 0;
    bool isFirst = true;    // nothing was written yet in the innermost object or array
    bool afterKey = false;  // the value belongs on the key's line
};

}  // namespace diskmgt_cli
