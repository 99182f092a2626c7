// A tree for people.
#pragma once

#include <cstddef>
#include <string>

#include "cli/tables/table.h"
#include "cli/tables/tree_columns.h"
#include "cli/tables/tree_rows.h"

namespace diskmgt {

/// Every row on one line, the notes below. `width` is that of the terminal: columns that do not fit are left out, and
/// a note says which; long names are shortened. 0: nothing is left out or shortened.
std::string printedTree(const Tree& tree, const TableStyle& style, std::size_t width,
                        const ColumnChoice& choice = chosenColumns({}));

}  // namespace diskmgt
