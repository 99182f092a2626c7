// The first half of the commands that show both accounts: it runs in a process of its own, and what it makes known is
// all that comes of it.
#include "cli/commands/commands.h"
#include "cli/commands/session_options.h"
#include "inventory/collector.h"

namespace diskmgt {

ExitStatus runCollection(const Options& options) {
    PluginSession session(sessionOptions(options));
    collectAccount(session);
    return kDone;
}

}  // namespace diskmgt
