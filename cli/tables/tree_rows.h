// What stands in which row of the tree; how it is laid out is left to tree.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "inventory/inventory.h"

namespace diskmgt {

enum TreeColumn : std::size_t {
    kNameColumn,
    kSizeColumn,
    kStartColumn,
    kTypeColumn,
    kUsedColumn,
    kUseColumn,
    kFreeColumn,
    kAvailableColumn,
    kRemarkColumn,
    kTreeColumns
};

struct TreeRow {
    enum class Kind { kHeading, kDrive, kOther };
    Kind kind = Kind::kOther;
    std::size_t depth = 0;  // 0: a root; the parent is the nearest row above that is one less deep
    std::array<std::string, kTreeColumns> cells;
    int usedPercent = -1;  // negative: has none; the cell of the column is the layout's
    bool isDoubtful = false;
};

struct TreeChoices {
    bool all = false;    // what is on no drive too
    bool bytes = false;  // sizes in bytes
};

struct Tree {
    std::vector<TreeRow> rows;
    std::vector<std::string> notes;  // sentences that explain what stands in the rows
};

Tree arrangeTree(const Inventory& inventory, const TreeChoices& choices);

}  // namespace diskmgt
