// The tables of the page.
#pragma once

#include <cstddef>
#include <vector>

#include "formats/html_writer.h"
#include "inventory/inventory.h"

namespace diskmgt {

/// Of positions in Inventory::partitions, logicals beneath their extended partition; nothing when there are none.
void partitionTable(HtmlWriter& out, const Inventory& inventory, const std::vector<std::size_t>& positions);
/// Of positions in Inventory::logicalDisks; nothing when there are none.
void fileSystemTable(HtmlWriter& out, const Inventory& inventory, const std::vector<std::size_t>& positions);

}  // namespace diskmgt
