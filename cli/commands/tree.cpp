// tree: drives, partitions and mounted file systems for people. Past the time limit what is there is still shown.
#include <unistd.h>

#include <string>

#include "cli/commands/commands.h"
#include "cli/inventory/collection.h"
#include "cli/output.h"
#include "cli/printers/tree.h"

namespace diskmgt_cli {

namespace {

/// Says what to do about an inventory that shows less than it could.
void adviseOn(const Inventory& inventory) {
    if (::geteuid() != 0 && (inventory.partitions.empty() || inventory.logicalDisks.empty())) {
        const char* const missing = !inventory.partitions.empty()     ? "mounted file systems"
                                    : !inventory.logicalDisks.empty() ? "partitions"
                                                                      : "partitions and mounted file systems";
        complain(std::string("not root, so ") + missing + " cannot be read; run as root to see them");
    }
    if (inventory.drives.empty()) complain("no disks are reported; \"diskmgt explain\" tells why");
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
