// The inventory as MOF: the schema and every instance, for the compiler of a CIM broker.
#pragma once

#include <cstddef>
#include <string>

#include "inventory/inventory.h"

namespace diskmgt {

/// A broker refuses a second instance with the keys of another, so only the first of them is in the text.
std::string inventoryMof(const Inventory& inventory);

/// The first instance that the text leaves out and how many more, in one sentence for people; empty when none.
std::string mofRemark(const Inventory& inventory);

}  // namespace diskmgt
