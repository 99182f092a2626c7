// tree: drives, partitions and mounted file systems for people. Past the time limit what is there is still shown.
#include <unistd.h>

#include <string>

#include "cli/commands/commands.h"
#include "cli/commands/rights.h"
#include "cli/inventory/collection.h"
#include "cli/output.h"
#include "cli/printers/tree.h"

namespace diskmgt_cli {

namespace {

/// What is not shown at all, in words; empty when there is something of everything.
std::string whatIsMissing(const Inventory& inventory) {
    std::string missing;
    const auto add = [&missing](bool isMissing, const char* what) {
        if (isMissing) missing += (missing.empty() ? "" : ", ") + std::string(what);
    };
    add(inventory.drives.empty(), "disks");
    add(inventory.partitions.empty(), "partitions");
    add(inventory.logicalDisks.empty(), "mounted file systems");
    return missing;
}

/// Says what to do about an inventory that shows less than it could.
void adviseOn(const Inventory& inventory) {
    const std::string missing = whatIsMissing(inventory);
    if (!missing.empty() && ::geteuid() != 0)
        mentionRights({missing});
    else if (inventory.drives.empty())
        complain("no disks are reported; \"diskmgt explain\" tells why");
}

}  // namespace

ExitStatus runTree(const Options& options) {
    PluginSession session(options);
    Output output(options.outputFile);
    const TableStyle style = chooseStyle(options.color, output.isTerminal());
    const TreeChoices choices{options.all, options.bytes};
    const auto deliver = [&](const Inventory& inventory) {
        output.write(printedTree(arrangeTree(inventory, choices), style, output.terminalWidth()));
        output.finish();
    };
    const Inventory inventory = collectInventory(session, deliver);
    deliver(inventory);
    adviseOn(inventory);
    return reportFailures(inventory);
}

}  // namespace diskmgt_cli
