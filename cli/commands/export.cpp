// export: the whole inventory for other programs. What is known by the time limit is still delivered.
#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/session_options.h"

#include "cli/io/output.h"
#include "formats/inventory_html.h"
#include "formats/inventory_json.h"
#include "formats/inventory_mof.h"
#include "formats/inventory_prometheus.h"
#include "inventory/collection.h"
#include "inventory/completeness.h"
#include "inventory/machine_account.h"
#include "inventory/server_account.h"
#include "terminal/remarks.h"
#include "text/readable_text.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

struct ExportForm {
    const char* name;
    std::string (*write)(const ServerAccount& account, const Options& options);
    std::string (*remark)(const Inventory& inventory);  // what is said on standard error; null: never anything
};

std::string document(const ServerAccount& account, const Options& options) {
    return inventoryJson(account, {options.compact, options.all});
}

std::string metrics(const ServerAccount& account, const Options& /*options*/) { return inventoryMetrics(account); }
std::string page(const ServerAccount& account, const Options& /*options*/) { return inventoryPage(account); }

template <std::string (*write)(const Inventory&)>
std::string ofPairs(const ServerAccount& account, const Options& /*options*/) {
    return write(account.inventory());
}

constexpr ExportForm kForms[] = {
    {"json", &document, nullptr},
    {"prometheus", &metrics, nullptr},
    {"mof", &ofPairs<&inventoryMof>, &mofRemark},
    {"html", &page, nullptr},
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

/// Users who mount choose names: on a terminal none of their control characters may act.
std::string escapedLines(const std::string& lines) {
    std::string text;
    std::size_t start = 0;
    for (std::size_t end = 0; (end = lines.find('\n', start)) != std::string::npos; start = end + 1)
        text += escapedControls(lines.substr(start, end - start)) + "\n";
    return text + escapedControls(lines.substr(start));
}

}  // namespace

ExitStatus runExportCollection(const Options& options) {
    const bool isJson = formNamed(options.operands.front()).write == &document;
    if (!isJson && (options.all || options.compact))
        throw CommandError(kWrongUsage, std::string(options.all ? "--all" : "--compact") +
                                            R"( is for "export json"; see "diskmgt export --help")");
    return runCollection(options);
}

ExitStatus deliverExport(const Options& options, const std::string& known, const worker::EarlyEnd& end) {
    const ExportForm& form = formNamed(options.operands.front());
    PluginSession session(sessionOptions(options));
    Output output(options.outputFile);
    Collection collection = readCollection(session, known, end);
    const ServerAccount account = joinAccounts(machineAccount(), collection);
    const std::string text = form.write(account, options);
    output.write(output.isTerminal() ? escapedLines(text) : text);
    output.finish();
    const std::string remark = form.remark == nullptr ? "" : form.remark(collection.inventory);
    if (!remark.empty()) writeRemark(remark);
    const ExitStatus status = reportFailures(collection);
    if (account.isComplete()) return status;
    if (status == kDone) writeRemark(incompleteSentence(account));
    return std::max(status, kFailureReported);
}

}  // namespace diskmgt
