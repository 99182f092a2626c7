// get: one request, and what it published.
#include <string>
#include <vector>

#include "cli/class_plan.h"
#include "cli/commands/commands.h"
#include "cli/output.h"
#include "cli/plugin_session.h"
#include "cli/printers/csv.h"
#include "cli/printers/json.h"
#include "cli/printers/mof.h"
#include "cli/printers/table.h"

namespace diskmgt_cli {

namespace {

std::string inFormat(Format format, const refhost::ClassDeclaration& declaration,
                     const std::vector<refhost::Instance>& instances, const TableStyle& style, bool forTerminal) {
    if (format == Format::kTable) return instanceTable(declaration, instances, style);
    if (format == Format::kMof) return mofInstances(instances);
    return csvOfInstances(declaration, instances, forTerminal);
}

void print(const Options& options, const refhost::ReferenceHost& host, const ServedPlan& served, Output& output) {
    if (options.format == Format::kJson) {
        output.write(json::publishedInstances(host, options.operands, served.request.log));
        return;
    }
    const bool isTable = options.format == Format::kTable;
    const TableStyle style = isTable ? chooseStyle(options.color, output.isTerminal()) : TableStyle();
    std::string separator;
    for (const std::string& name : options.operands) {
        const std::string text =
            inFormat(options.format, *host.findClass(name), host.instances(name), style, output.isTerminal());
        if (text.empty()) continue;  // MOF has nothing to say about a class without instances
        output.write(separator + text);
        separator = options.format == Format::kCsv ? "\r\n" : "\n";
    }
}

}  // namespace

ExitStatus runGet(const Options& options) {
    PluginSession session(options);
    requireKnownClasses(session.host(), options.operands);
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
    return reportFailures(served);
}

}  // namespace diskmgt_cli
