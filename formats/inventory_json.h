// The inventory as one JSON document, the form that other programs and `diff` read.
#pragma once

#include <string>

#include "inventory/inventory.h"

namespace diskmgt {

/// Described by share/inventory.schema.json and docs/INVENTORY-JSON.md: keys are never removed or renamed, sizes and
/// places are bytes, what is unknown is left out.
std::string inventoryJson(const Inventory& inventory);

}  // namespace diskmgt
