// explain: why each device is or is not reported, beside what the plug-in answers.
#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/session_options.h"
#include "cli/explain/explain.h"
#include "cli/explain/explain_json.h"
#include "cli/io/output.h"
#include "cli/tables/explain_text.h"
#include "cli/tables/table.h"
#include "formats/json.h"
#include "inventory/instance_values.h"
#include "schema/vocabulary.h"
#include "session/plugin_session.h"
#include "worker/worker.h"

namespace diskmgt {

namespace {

/// The columns to write for; 0: no terminal, or one so narrow that it breaks lines better itself.
std::size_t widthOf(const Output& output) {
    constexpr std::size_t kNarrowest = 40;  // below, little more than a word would stand on a line
    const std::size_t width = output.terminalWidth();
    return width < kNarrowest ? 0 : width;
}

std::string documentOf(const Explanation& explanation, const Options& options, const Output& output) {
    if (options.format == Format::kJson) {
        const std::string document = json::explanationDocument(explanation);
        return output.isTerminal() ? json::forTerminal(document) : document;
    }
    return explanationText(explanation, chooseStyle(options.color, output.isTerminal()), widthOf(output));
}

Explanation explain(const Options& options, const std::vector<std::string>& virtualDevices) {
    Progress progress;
    const Deadline limit(options.timeoutSeconds, {});
    return options.operands.empty() ? explainMachine(virtualDevices, progress)
                                    : explainNamed(options.operands, virtualDevices, progress);
}

std::vector<std::string> identifiersOf(const refhost::ReferenceHost& host, const std::string& className) {
    std::vector<std::string> identifiers;
    for (const refhost::Instance& instance : host.instances(className))
        identifiers.push_back(textOf(instance, diskmgt_col::kDeviceId));
    return identifiers;
}

/// Logical disks are left out: serving them would measure mounts that may never answer. The document is delivered as it
/// is when time is up.
ServedPlan request(PluginSession& session, const std::string& document) {
    worker::makeKnown(document);
    const Deadline limit = session.startTimeLimit(true, ", so this was not compared with its answer");
    ServedPlan served;
    ClassPlan plan;
    plan.request = {diskmgt_col::kDiskDrive, diskmgt_col::kDiskPartition};
    served.request = session.request(plan);
    return served;
}

}  // namespace

ExitStatus runExplain(const Options& options) {
    if (std::find(options.operands.begin(), options.operands.end(), "") != options.operands.end())
        throw CommandError(kWrongUsage, "explain takes the name of a DEVICE, not an empty text");
    PluginSession session(sessionOptions(options));
    Output output(options.outputFile);
    {
        const Deadline limit = session.startTimeLimit();
        (void)session.load();
    }
    Explanation explanation = explain(options, session.host().virtualDevices());
    const ServedPlan served = request(session, documentOf(explanation, options, output));
    compareWithAnswer({identifiersOf(session.host(), diskmgt_col::kDiskDrive),
                       identifiersOf(session.host(), diskmgt_col::kDiskPartition)},
                      explanation);
    output.write(documentOf(explanation, options, output));
    output.finish();
    return reportFailures(served);
}

void deliverKnownExplanation(const Options& options, const std::string& known) {
    Output output(options.outputFile);
    output.write(known);
    output.finish();
}

}  // namespace diskmgt
