// tree: drives, partitions and mounted file systems for people. Past the time limit what is there is still shown.
#include <unistd.h>

#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/session_options.h"

#include "cli/commands/rights.h"
#include "cli/io/output.h"
#include "cli/tables/tree.h"
#include "inventory/collection.h"
#include "terminal/remarks.h"

namespace diskmgt {

namespace {

/// What is not shown at all, in words.
std::vector<std::string> whatIsMissing(const Inventory& inventory) {
    std::vector<std::string> missing;
    if (inventory.drives.empty()) missing.emplace_back("disks");
    if (inventory.partitions.empty()) missing.emplace_back("partitions");
    if (inventory.logicalDisks.empty()) missing.emplace_back("mounted file systems");
    return missing;
}

/// Says what to do about an inventory that shows less than it could.
void adviseOn(const Inventory& inventory) {
    mentionRights(whatIsMissing(inventory));
    if (inventory.drives.empty() && ::geteuid() == 0)
        writeRemark("no disks are reported; \"diskmgt explain\" tells why");
}

void deliver(const Inventory& inventory, const Options& options, Output& output) {
    const TableStyle style = chooseStyle(options.color, output.isTerminal());
    const TreeChoices choices{options.all, options.bytes};
    output.write(printedTree(arrangeTree(inventory, choices), style, output.terminalWidth()));
    output.finish();
}

}  // namespace

void deliverKnownTree(const Options& options, const std::string& known) {
    PluginSession session(sessionOptions(options));
    Output output(options.outputFile);
    deliver(knownInventory(session, known), options, output);
}

ExitStatus runTree(const Options& options) {
    PluginSession session(sessionOptions(options));
    Output output(options.outputFile);
    const Inventory inventory = collectInventory(session);
    deliver(inventory, options, output);
    adviseOn(inventory);
    return reportFailures(inventory);
}

}  // namespace diskmgt
