// The inventory as one page for a browser or for paper. It needs nothing from anywhere else, no scripts either.
#pragma once

#include <string>

#include "inventory/inventory.h"

namespace diskmgt {

std::string inventoryPage(const Inventory& inventory);

}  // namespace diskmgt
