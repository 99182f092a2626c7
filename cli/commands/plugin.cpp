// plugin: who the loaded plug-in says it is.
#include "cli/commands/commands.h"
#include "cli/commands/session_options.h"
#include "cli/io/output.h"
#include "cli/tables/table.h"
#include "formats/json.h"
#include "session/plugin_session.h"

namespace diskmgt {

ExitStatus runPlugin(const Options& options) {
    PluginSession session(sessionOptions(options));
    Output output(options.outputFile);
    refhost::PluginIdentity identity;
    {
        const Deadline limit = session.startTimeLimit();
        identity = session.load();
    }
    output.write(options.format == Format::kJson
                     ? json::pluginIdentity(identity)
                     : pluginTable(identity, chooseStyle(options.color, output.isTerminal())));
    output.finish();
    return kDone;
}

}  // namespace diskmgt
