// get: one request, and what it published.
#include <string>
#include <utility>
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
#include "session/served_classes.h"
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

std::vector<json::AnsweredClass> answersTo(const refhost::ReferenceHost& host, const std::vector<std::string>& named,
                                           bool exact) {
    std::vector<json::AnsweredClass> answers;
    for (const std::string& name : named)
        answers.emplace_back(name, exact ? std::vector<std::string>{name} : answeringClasses(host, name));
    return answers;
}

/// For formats whose rows are of one class: the answering classes with instances; without any the class itself.
std::vector<std::string> shownClasses(const refhost::ReferenceHost& host, const json::AnsweredClass& answer) {
    std::vector<std::string> shown;
    for (const std::string& name : answer.second)
        if (!host.instances(name).empty()) shown.push_back(name);
    return shown.empty() ? std::vector<std::string>{answer.first} : shown;
}

void print(const Options& options, const refhost::ReferenceHost& host, const std::vector<json::AnsweredClass>& answers,
           const ServedPlan& served, Output& output) {
    if (options.format == Format::kJson) {
        json::publishedInstances(host, answers, served.request.log,
                                 [&output, isTerminal = output.isTerminal()](const std::string& piece) {
                                     output.write(isTerminal ? json::forTerminal(piece) : piece);
                                 });
        return;
    }
    const bool isTable = options.format == Format::kTable;
    const TableStyle style = isTable ? chooseStyle(options.color, output.isTerminal()) : TableStyle();
    std::string separator;
    for (const json::AnsweredClass& answer : answers) {
        for (const std::string& name : shownClasses(host, answer)) {
            const std::string text =
                inFormat(options, *host.findClass(name), host.instances(name), style, output.isTerminal());
            if (text.empty()) continue;  // MOF has nothing to say about a class without instances
            output.write(separator + text);
            separator = options.format == Format::kCsv ? "\r\n" : "\n";
        }
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
    const std::vector<std::string> named = options.operands.empty() ? servedClasses() : options.operands;
    requireKnownClasses(session.host(), named);
    const std::vector<std::string> requested = options.exact ? named : requestedClasses(session.host(), named);
    requireKnownColumns(session.host(), requested, options.columns);
    Output output(options.outputFile);
    const ClassPlan plan = planRequest(requested, options.exact);
    ServedPlan served;
    {
        const Deadline limit = session.startTimeLimit();
        (void)session.load();
        served.earlier = session.requestEarlier(plan);
        served.request = session.request(plan);
    }
    print(options, session.host(), answersTo(session.host(), named, options.exact), served, output);
    output.finish();
    remarkOnMissingRights(emptyClasses(session.host(), requested));
    return reportFailures(served);
}

}  // namespace diskmgt
