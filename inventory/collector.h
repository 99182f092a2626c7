// The work of the process that collects CIM's account. It may stall or crash at any step, so each is made known at once
// to the process that watches it.
#pragma once

#include "session/plugin_session.h"

namespace diskmgt {

/// Loads the plug-in, has it serve the classes of an inventory, and looks for itself where it looks: what becomes known
/// is read by `knownInventory` and `unpackedFacts`. VEXSG_LogicalDisk is not asked for while a mounted file system does
/// not answer.
void collectAccount(PluginSession& session);

}  // namespace diskmgt
