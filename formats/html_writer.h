// Text and attribute values for a page, escaped: nothing from a disk or mount table can become markup.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace diskmgt {

class HtmlWriter {
public:
    /// Markup of this program's own.
    HtmlWriter& raw(std::string_view markup);
    /// Any bytes, fit for text and for a value in quotes of either kind. Control characters and bytes that are not
    /// UTF-8 show as \xNN.
    HtmlWriter& text(const std::string& value);
    /// The same, for text only: a line may break behind each part of a path.
    HtmlWriter& breakable(const std::string& value);
    HtmlWriter& number(std::uint64_t value) { return raw(std::to_string(value)); }
    /// A size for people; the exact bytes are its value and its tooltip.
    HtmlWriter& size(std::uint64_t bytes);

    const std::string& page() const { return written; }

private:
    std::string written;
};

}  // namespace diskmgt
