// tree: the machine's disks and what lies on them, beside it what CIM reports.
#include <string>

#include "cli/commands/commands.h"
#include "cli/commands/session_options.h"
#include "cli/io/output.h"
#include "cli/tables/tree.h"
#include "inventory/collection.h"
#include "inventory/machine_account.h"
#include "inventory/server_account.h"

namespace diskmgt {

ExitStatus deliverTree(const Options& options, const std::string& known, const worker::EarlyEnd& end) {
    PluginSession session(sessionOptions(options));
    Output output(options.outputFile);
    Collection collection = readCollection(session, known, end);
    const TableStyle style = chooseStyle(options.color, output.isTerminal());
    const TreeChoices choices{options.all, options.bytes};
    output.write(printedTree(arrangeTree(collection.inventory, choices), style, output.terminalWidth()));
    output.finish();
    return reportFailures(collection);
}

}  // namespace diskmgt
