// get: one request, and what it published.
#include <string>
#include <vector>

#include "cli/class_plan.h"
#include "cli/commands/commands.h"
#include "cli/output.h"
#include "cli/plugin_session.h"
#include "cli/printers/csv.h"
#include "cli/printers/json.h"
#include "cli/printers/table.h"

namespace diskmgt_cli {

namespace {

void print(const Options& options, const refhost::ReferenceHost& host, const ServedPlan& served, Output& output) {
    if (options.format == Format::kJson) {
        json::publishedInstances(host, options.operands, served.request.log,
                                 [&output](const std::string& piece) { output.write(piece); });
        return;
    }
    const bool isTable = options.format == Format::kTable;
    const TableStyle style = isTable ? chooseStyle(options.color, output.isTerminal()) : TableStyle();
    bool isFirst = true;
    for (const std::string& name : options.operands) {
        if (!isFirst) output.write(isTable ? "\n" : "\r\n");
        isFirst = false;
        const refhost::ClassDeclaration& declaration = *host.findClass(name);
        const std::vector<refhost::Instance> instances = host.instances(name);
        output.write(isTable ? instanceTable(declaration, instances, style)
                             : csvOfInstances(declaration, instances, output.isTerminal()));
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
