// The process with root's rights: it keeps the plug-in loaded, and knows two words.
#pragma once

#include "serve/handover/collector_options.h"

namespace diskmgt::serve {

/// Loads the plug-in, says that it is ready, and answers each "collect" on the connection with the frames of a
/// collection, until "stop" or the end of the connection. Anything else ends it with 1. Returns the exit status.
int runCollector(const CollectorOptions& options, int connection);

}  // namespace diskmgt::serve
