// The tree of the machine as the kernel has it, with what CIM reports beside each row.
#pragma once

#include "cli/tables/tree_rows.h"
#include "cli/tables/tree_selection.h"
#include "inventory/server_account.h"

namespace diskmgt {

/// Disks with all that lies on them, then file systems on no disk, then what only CIM has. What lies on several devices
/// is whole beneath the first and a reference beneath the others.
Tree arrangeTree(const ServerAccount& account, const TreeSelection& selection, const TreeChoices& choices);

}  // namespace diskmgt
