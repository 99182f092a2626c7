// What a collecting process made known, as the process that shows it has it.
#pragma once

#include <string>

#include "inventory/collected_facts.h"
#include "inventory/inventory.h"
#include "session/plugin_session.h"
#include "worker/early_end.h"

namespace diskmgt {

struct Collection {
    Inventory inventory;  // by the published pairs
    CollectedFacts facts;
    worker::EarlyEnd end;  // of the collecting process
};

/// The session needs no plug-in. It must outlive the collection.
Collection readCollection(PluginSession& session, const std::string& known, const worker::EarlyEnd& end);

/// Says in one sentence each what failed, unless that was said when the process ended; the exit status that follows.
ExitStatus reportFailures(const Collection& collection);

}  // namespace diskmgt
