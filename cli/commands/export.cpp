// export: the whole inventory for other programs. Past the time limit the classes served so far are still delivered.
#include <cstddef>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/session_options.h"

#include "cli/commands/rights.h"
#include "cli/io/output.h"
#include "formats/inventory_html.h"
#include "formats/inventory_json.h"
#include "formats/inventory_mof.h"
#include "formats/inventory_prometheus.h"
#include "inventory/collection.h"
#include "schema/vocabulary.h"
#include "terminal/remarks.h"
#include "text/readable_text.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

struct ExportForm {
    const char* name;
    std::string (*write)(const Inventory& inventory);
    std::string (*remark)(const Inventory& inventory);  // what is said on standard error; null: never anything
};

constexpr ExportForm kForms[] = {
    {"json", &inventoryJson, nullptr},
    {"prometheus", &inventoryMetrics, nullptr},
    {"mof", &inventoryMof, &mofRemark},
    {"html", &inventoryPage, nullptr},
};

const ExportForm& formNamed(const std::string& name) {
    std::vector<std::string> names;
    for (const ExportForm& form : kForms) {
        if (name == form.name) return form;
        names.emplace_back(form.name);
    }
    throw CommandError(
        kWrongUsage, "export writes " + joinedWithOr(names) + ", not \"" + name + R"("; see "diskmgt export --help")");
}

std::vector<std::string> emptyClasses(const Inventory& inventory) {
    std::vector<std::string> empty;
    if (inventory.drives.empty()) empty.emplace_back(diskmgt_col::kDiskDrive);
    if (inventory.partitions.empty()) empty.emplace_back(diskmgt_col::kDiskPartition);
    if (inventory.logicalDisks.empty()) empty.emplace_back(diskmgt_col::kLogicalDisk);
    return empty;
}

/// Names are chosen by whoever mounts: on a terminal none of their control characters may act.
std::string harmless(const std::string& lines) {
    std::string text;
    std::size_t start = 0;
    for (std::size_t end = 0; (end = lines.find('\n', start)) != std::string::npos; start = end + 1)
        text += escapedControls(lines.substr(start, end - start)) + "\n";
    return text + escapedControls(lines.substr(start));
}

void deliver(const Inventory& inventory, const ExportForm& form, Output& output) {
    const std::string text = form.write(inventory);
    output.write(output.isTerminal() ? harmless(text) : text);
    output.finish();
    const std::string remark = form.remark == nullptr ? "" : form.remark(inventory);
    if (!remark.empty()) writeRemark(remark);
}

}  // namespace

void deliverKnownExport(const Options& options, const std::string& known) {
    PluginSession session(sessionOptions(options));
    Output output(options.outputFile);
    deliver(knownInventory(session, known), formNamed(options.operands.front()), output);
}

ExitStatus runExport(const Options& options) {
    const ExportForm& form = formNamed(options.operands.front());
    PluginSession session(sessionOptions(options));
    Output output(options.outputFile);
    const Inventory inventory = collectInventory(session);
    deliver(inventory, form, output);
    mentionRights(emptyClasses(inventory));
    return reportFailures(inventory);
}

}  // namespace diskmgt
