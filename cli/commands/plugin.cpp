// plugin: who the loaded plug-in says it is.
#include "cli/commands/commands.h"
#include "cli/output.h"
#include "cli/plugin_session.h"
#include "cli/printers/json.h"
#include "cli/printers/table.h"

namespace diskmgt_cli {

ExitStatus runPlugin(const Options& options) {
    PluginSession session(options);
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

}  // namespace diskmgt_cli
