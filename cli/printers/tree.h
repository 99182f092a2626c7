// The inventory as a tree for people.
#pragma once

#include <cstddef>
#include <string>

#include "cli/printers/table.h"
#include "cli/printers/tree_rows.h"

namespace diskmgt_cli {

/// Every row on one line, the notes below. `width` is that of the terminal: columns that do not fit are left out, and
/// a note says which; long names are shortened. 0: nothing is left out or shortened.
std::string printedTree(const Tree& tree, const TableStyle& style, std::size_t width);

}  // namespace diskmgt_cli
