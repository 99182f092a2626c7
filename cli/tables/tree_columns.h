// The columns of a tree, by the names that --columns takes.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

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
    kCimColumn,
    kRemarkColumn,
    kModelColumn,
    kSerialColumn,
    kWwidColumn,
    kTransportColumn,
    kRotationalColumn,
    kContentColumn,
    kLabelColumn,
    kUuidColumn,
    kPartUuidColumn,
    kTreeColumns
};

/// "name", "size", ..., in the order of the columns.
const std::vector<std::string>& treeColumnNames();

struct ColumnChoice {
    std::vector<TreeColumn> columns;  // to show, the name first
    bool isChosen = false;            // shown even where they are empty throughout
};

/// Names beginning with "+" are added to the columns that are shown without a choice; else just the named ones are
/// shown, and the name. Throws `CommandError` for an unknown name.
ColumnChoice chosenColumns(const std::vector<std::string>& names);

}  // namespace diskmgt
