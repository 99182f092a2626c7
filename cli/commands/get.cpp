// get: one request, and what it published.
#include <string>
#include <vector>

#include "cli/commands/columns.h"
#include "cli/commands/commands.h"
#include "cli/commands/rights.h"
#include "cli/commands/session_options.h"
#include "cli/io/output.h"
#include "cli/tables/table.h"
#include "formats/csv.h"
#include "formats/json.h"
#include "formats/mof.h"
#include "session/class_plan.h"
#include "session/plugin_session.h"
#include "session/published.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

std::string inFormat(const Options& options, const refhost::ClassDeclaration& declaration,
                     const std::vector<refhost::Instance>& instances, const TableStyle& style, bool forTerminal) {
    if (options.format == Format::kMof) return mofInstances(instances, forTerminal);
    const std::vector<std::size_t> shown = columnPositions(declaration, options.columns);
    if (options.format == Format::kCsv)
        return csvOfInstances(declaration, instances, shown, {forTerminal, options.csvSafe});
    return instanceTable(declaration, instances, options.columns.empty() ? positionsWithValues(instances) : shown,
                         style);
}

void print(const Options& options, const refhost::ReferenceHost& host, const ServedPlan& served, Output& output) {
    if (options.format == Format::kJson) {
        json::publishedInstances(host, options.operands, served.request.log,
                                 [&output, isTerminal = output.isTerminal()](const std::string& piece) {
                                     output.write(isTerminal ? json::forTerminal(piece) : piece);
                                 });
        return;
    }
    const bool isTable = options.format == Format::kTable;
    const TableStyle style = isTable ? chooseStyle(options.color, output.isTerminal()) : TableStyle();
    std::string separator;
    for (const std::string& name : options.operands) {
        const std::string text =
            inFormat(options, *host.findClass(name), host.instances(name), style, output.isTerminal());
        if (text.empty()) continue;  // MOF has nothing to say about a class without instances
        output.write(separator + text);
        separator = options.format == Format::kCsv ? "\r\n" : "\n";
    }
}

/// The classes asked for that may have instances and have none.
std::vector<std::string> emptyClasses(const refhost::ReferenceHost& host, const std::vector<std::string>& asked) {
    std::vector<std::string> empty;
    for (const std::string& name : inventoryClasses())
        if (contains(asked, name) && host.instances(name).empty()) empty.push_back(name);
    return empty;
}

}  // namespace

ExitStatus runGet(const Options& options) {
    PluginSession session(sessionOptions(options));
    requireKnownClasses(session.host(), options.operands);
    requireKnownColumns(session.host(), options.operands, options.columns);
    Output output(options.outputFile);
    const ClassPlan plan = planRequest(options.operands, options.exact);
    ServedPlan served;
    {
        const Deadline limit = session.startTimeLimit();
        (void)session.load();
        served.earlier = session.requestEarlier(plan);
        served.request = session.request(plan);
    }
    print(options, session.host(), served, output);
    output.finish();
    mentionRights(emptyClasses(session.host(), options.operands));
    return reportFailures(served);
}

}  // namespace diskmgt
