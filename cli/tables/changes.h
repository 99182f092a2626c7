// What changed between two inventories, as a table for people or as JSON for programs.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cli/diff/comparison.h"
#include "cli/tables/table.h"

namespace diskmgt {

/// A row for each element that came or went and for each value that changed; empty without changes.
std::string changesTable(const std::vector<Change>& changes, const TableStyle& style);

/// Stable; docs/INVENTORY-JSON.md describes it. Handed over in pieces as it grows.
void changesJson(const std::vector<Change>& changes, const InventoryDocument& before, const InventoryDocument& after,
                 const std::function<void(const std::string&)>& write);

}  // namespace diskmgt
