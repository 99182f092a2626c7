// Collects an inventory class by class, under the time limit.
#pragma once

#include <functional>

#include "cli/inventory/inventory.h"
#include "cli/plugin_session.h"

namespace diskmgt_cli {

/// Loads the plug-in and collects the inventory, which is valid as long as the session. When the time limit passes,
/// `deliverPart` gets what the classes served so far give, on another thread while the work is still stuck, and the
/// process ends with `kTimedOut`.
Inventory collectInventory(PluginSession& session, const std::function<void(const Inventory&)>& deliverPart);

/// Says in one sentence what failed while the inventory was collected, if anything did; the exit status that follows.
ExitStatus reportFailures(const Inventory& inventory);

}  // namespace diskmgt_cli
