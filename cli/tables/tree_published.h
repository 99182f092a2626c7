// The tree of what is published alone: nested by the published pairs.
#pragma once

#include "cli/tables/tree_rows.h"
#include "inventory/inventory.h"

namespace diskmgt {

/// With `all` also what is on no drive.
Tree arrangeTree(const Inventory& inventory, const TreeChoices& choices);

}  // namespace diskmgt
