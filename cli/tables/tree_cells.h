// The texts in the cells of a tree: what a device is, and what CIM reports of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "cli/tables/tree_rows.h"
#include "inventory/server_account.h"

namespace diskmgt {

/// "64M", or "67108864".
std::string sizeCell(std::uint64_t bytes, const TreeChoices& choices);

/// Kind and content: "part EFI system vfat", "lvm vg0-root", "raid1".
std::string typeCell(const ServerAccount& account, std::size_t device);

/// "yes", "as /dev/md01", "no: name not searched", "?: not root"; behind "yes" and "as" what CIM has otherwise.
/// `partitions` are the kernel's.
std::string cimCell(const CimAnswer& answer, std::size_t partitions, const TreeChoices& choices);

/// What uses a device that has no row beneath it, or that nothing is seen to use it, and its content.
std::string useCell(const ServerAccount& account, std::size_t device);

/// Model, serial number and the other columns that are shown on demand.
void fillIdentity(const ServerAccount& account, std::size_t device, TreeRow& row);

}  // namespace diskmgt
