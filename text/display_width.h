// How much room a text takes on a terminal, and how it is shortened without hiding that it was.
#pragma once

#include <cstddef>
#include <string>

namespace diskmgt {

/// Columns that a text takes in the present locale once what is not printable is escaped as \xNN, as tables do.
std::size_t displayWidth(const std::string& text);

enum class Keep { kBeginning, kBothEnds };

/// The text itself when it fits, else as much of it as does with "..." in place of what is left out.
std::string shortened(const std::string& text, std::size_t width, Keep keep);

}  // namespace diskmgt
