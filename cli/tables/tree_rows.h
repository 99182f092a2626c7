// What is in which row of a tree; how it is laid out is left to tree.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "cli/tables/tree_columns.h"

namespace diskmgt {

struct TreeRow {
    enum class Kind { kHeading, kDrive, kOther };
    Kind kind = Kind::kOther;
    std::size_t depth = 0;  // 0: a root; the parent is the nearest row above that is one less deep
    std::array<std::string, kTreeColumns> cells;
    int usedPercent = -1;                // negative: has none; the cell of the column is the layout's
    TreeColumn doubtful = kTreeColumns;  // the column that says what is not as it should be
};

struct TreeChoices {
    bool all = false;    // nothing is folded or left out
    bool bytes = false;  // sizes in bytes
};

struct Tree {
    std::vector<TreeRow> rows;
    std::vector<std::string> notes;  // sentences that explain what is in the rows

    TreeRow& addRow(std::size_t depth, const std::string& name) {
        TreeRow& row = rows.emplace_back();
        row.depth = depth;
        row.cells[kNameColumn] = name;
        return row;
    }
};

}  // namespace diskmgt
