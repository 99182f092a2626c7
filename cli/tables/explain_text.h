// The text of `explain` for people. What is not printable is escaped as \xNN.
#pragma once

#include <cstddef>
#include <string>

#include "cli/explain/explanation.h"
#include "cli/tables/table.h"

namespace diskmgt {

/// Tables and a diagnosis for a whole machine, else whole sentences about each device and mount. Sentences are
/// wrapped at `width` columns; 0: one line each.
std::string explanationText(const Explanation& explanation, const TableStyle& style, std::size_t width);

}  // namespace diskmgt
