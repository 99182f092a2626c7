// The process that starts the other two and keeps them going. It reads nothing that comes from a client.
#pragma once

#include "serve/keeper/serve_options.h"

namespace diskmgt::serve {

/// Serves until a signal or idleness ends it. Returns the exit status. Throws `CommandError`.
int runKeeper(const ServeOptions& options);

}  // namespace diskmgt::serve
