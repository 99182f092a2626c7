// tree: the machine's disks and what lies on them, beside it what CIM reports.
#include <unistd.h>

#include <algorithm>
#include <string>

#include "cli/commands/commands.h"
#include "cli/commands/session_options.h"
#include "cli/io/output.h"
#include "cli/tables/tree.h"
#include "cli/tables/tree_account.h"
#include "cli/tables/tree_published.h"
#include "cli/tables/tree_selection.h"
#include "formats/account_json.h"
#include "formats/json.h"
#include "inventory/collection.h"
#include "inventory/machine_account.h"
#include "inventory/naming.h"
#include "inventory/server_account.h"
#include "terminal/remarks.h"

namespace diskmgt {

namespace {

bool isForRoot(const std::optional<CimAnswer>& answer) {
    return answer && answer->isUnknown() && !answer->reasons.empty() && answer->reasons.front().rule == "not-root";
}

/// Without root every row says that CIM's part is unknown; the way out is said once.
void remarkOnMissingRights(const ServerAccount& account) {
    if (::geteuid() == 0) return;
    const bool isAnyForRoot = std::any_of(account.devices.begin(), account.devices.end(),
                                          [](const DeviceAccount& device) {
                                              return isForRoot(device.drive) || isForRoot(device.partition);
                                          }) ||
                              std::any_of(account.mounts.begin(), account.mounts.end(),
                                          [](const MountAccount& mount) { return isForRoot(mount.logicalDisk); });
    if (isAnyForRoot)
        writeRemark(
            "not root: the disks and the mount table cannot be opened, so what CIM reports is unknown; run as root to "
            "see it");
}

std::string document(const ServerAccount& account, const TreeSelection& selection, bool all) {
    JsonWriter out;
    const std::vector<bool> everything;
    out.beginObject().key("devices");
    json::writeDevices(out, account, selection.isEverything ? everything : selection.devices);
    out.key("fileSystems");
    json::writeFileSystems(out, account, all, selection.isEverything ? everything : selection.mounts);
    out.endObject();
    return out.take();
}

void writePublished(const Options& options, const Collection& collection, Output& output) {
    const TableStyle style = chooseStyle(options.color, output.isTerminal());
    const Tree tree = arrangeTree(collection.inventory, {options.all, options.bytes});
    output.write(printedTree(tree, style, output.terminalWidth(), chosenColumns(options.columns)));
    output.finish();
    if (collection.inventory.drives.empty() && collection.inventory.isComplete())
        writeRemark("no disks are reported; \"diskmgt explain\" says why");
}

void writeAccount(const Options& options, Collection& collection, Output& output) {
    const ServerAccount account = joinAccounts(machineAccount(), collection);
    const TreeSelection selection = selectRows(account, options.operands, options.all);
    if (options.format == Format::kJson) {
        const std::string text = document(account, selection, options.all);
        output.write(output.isTerminal() ? json::forTerminal(text) : text);
    } else {
        const TableStyle style = chooseStyle(options.color, output.isTerminal());
        const Tree tree = arrangeTree(account, selection, {options.all, options.bytes});
        output.write(printedTree(tree, style, output.terminalWidth(), chosenColumns(options.columns)));
    }
    output.finish();
    if (account.devices.empty()) writeRemark("the kernel lists no disks; \"diskmgt explain\" says more");
    remarkOnMissingRights(account);
}

}  // namespace

bool namesDevice(const std::string& word) {
    Collection nothing;
    return named(joinAccounts(machineAccount(), nothing), word).kind == Named::Kind::kDevice;
}

ExitStatus runTreeCollection(const Options& options) {
    (void)chosenColumns(options.columns);
    return runCollection(options);
}

ExitStatus deliverTree(const Options& options, const std::string& known, const worker::EarlyEnd& end) {
    PluginSession session(sessionOptions(options));
    Output output(options.outputFile);
    Collection collection = readCollection(session, known, end);
    if (options.cim)
        writePublished(options, collection, output);
    else
        writeAccount(options, collection, output);
    return reportFailures(collection);
}

}  // namespace diskmgt
