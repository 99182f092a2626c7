// Sentences laid out for a terminal.
#pragma once

#include <cstddef>
#include <string>

namespace diskmgt {

/// One paragraph behind `lead`, broken at blanks so that no line has more than `width` columns, and ended; a word that
/// is too long for that has a line of its own. Later lines stand under the text. What is not printable is escaped. 0:
/// one line.
std::string paragraph(const std::string& lead, const std::string& text, std::size_t width);

}  // namespace diskmgt
