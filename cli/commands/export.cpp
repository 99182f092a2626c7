// export: the whole inventory for other programs. Past the time limit the classes served so far are still delivered.
#include <algorithm>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/inventory/collection.h"
#include "cli/output.h"
#include "cli/printers/inventory_html.h"
#include "cli/printers/inventory_json.h"
#include "cli/printers/inventory_mof.h"
#include "cli/printers/inventory_prometheus.h"
#include "cli/wording.h"

namespace diskmgt_cli {

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

}  // namespace

ExitStatus runExport(const Options& options) {
    const ExportForm& form = formNamed(options.operands.front());
    PluginSession session(options);
    Output output(options.outputFile);
    const auto deliver = [&form, &output](const Inventory& inventory) {
        output.write(form.write(inventory));
        output.finish();
        const std::string remark = form.remark == nullptr ? "" : form.remark(inventory);
        if (!remark.empty()) complain(remark);
    };
    const Inventory inventory = collectInventory(session, deliver);
    deliver(inventory);
    return reportFailures(inventory);
}

}  // namespace diskmgt_cli
