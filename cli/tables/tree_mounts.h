// Mounts of one file system that are one row of a tree.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "inventory/server_account.h"

namespace diskmgt {

/// Positions in Machine::mounts. The first is the one that the row is named after: "/" before others, the whole file
/// system before a part of it, a reported one before others; then the table's order.
using MountFold = std::vector<std::size_t>;

/// Mounts of one device or file system, those of one subvolume and source together, in the order of their first mount.
std::vector<MountFold> folded(const ServerAccount& account, const std::vector<std::size_t>& mounts);

/// The subvolume that is mounted, "/@home"; empty: none of its own, or no btrfs.
std::string subvolumeOf(const diskmgt_machine::Mount& mount);

/// For each swap file the mount it lies on, by the longest mount point; by position in Machine::swaps, and the number
/// of mounts for a device or a file on no mount.
std::vector<std::size_t> mountsOfSwapFiles(const diskmgt_machine::Machine& machine);

}  // namespace diskmgt
