// Collects an inventory class by class, under the time limit.
#pragma once

#include <string>

#include "inventory/inventory.h"
#include "session/plugin_session.h"

namespace diskmgt {

/// Loads the plug-in and collects the inventory, which is valid as long as the session. What each class gives is made
/// known to the process that watches this worker.
Inventory collectInventory(PluginSession& session);

/// What the classes served before the time limit give, from what was made known. The session needs no plug-in.
Inventory knownInventory(PluginSession& session, const std::string& known);

/// Says in one sentence what failed while the inventory was collected, if anything did; the exit status that follows.
ExitStatus reportFailures(const Inventory& inventory);

}  // namespace diskmgt
