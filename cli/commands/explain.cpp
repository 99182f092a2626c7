// explain: why each device is or is not reported, beside what the plug-in answers.
#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/session_options.h"
#include "cli/explain/explain_json.h"
#include "cli/explain/explain_machine.h"
#include "cli/explain/explain_named.h"
#include "cli/explain/plugin_answer.h"
#include "cli/io/output.h"
#include "cli/tables/explain_text.h"
#include "cli/tables/table.h"
#include "formats/json.h"
#include "inventory/instance_values.h"
#include "inventory/stalling_nodes.h"
#include "schema/vocabulary.h"
#include "session/plugin_session.h"
#include "text/wording.h"
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

using Identifiers = std::vector<std::string>;

std::optional<Identifiers> identifiersOf(const refhost::ReferenceHost& host, const ClassPlan& plan,
                                         const std::string& className) {
    if (!contains(plan.request, className)) return std::nullopt;
    Identifiers identifiers;
    for (const refhost::Instance& instance : host.instances(className))
        identifiers.push_back(textOf(instance, diskmgt_col::kDeviceId));
    return identifiers;
}

struct Answered {
    ClassPlan plan;
    ServedPlan served;
};

/// Asks for what can be compared: serving logical disks would measure mounts that may never answer, and a class whose
/// request would wait at a node is left out too. The document is delivered as it is when time is up.
Answered request(PluginSession& session, const std::string& document) {
    worker::makeKnown(document);
    const Deadline limit = session.startTimeLimit(true, ", so this was not compared with its answer");
    Answered answered;
    std::vector<std::string>& classes = answered.plan.request;
    for (const std::string& className : {diskmgt_col::kDiskDrive, diskmgt_col::kDiskPartition})
        if (!stallingNodeOf(className, session.host().virtualDevices())) classes.push_back(className);
    if (!classes.empty()) answered.served.request = session.request(answered.plan);
    return answered;
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
    const Answered answered = request(session, documentOf(explanation, options, output));
    compareWithAnswer({identifiersOf(session.host(), answered.plan, diskmgt_col::kDiskDrive),
                       identifiersOf(session.host(), answered.plan, diskmgt_col::kDiskPartition)},
                      explanation);
    output.write(documentOf(explanation, options, output));
    output.finish();
    return reportFailures(answered.served);
}

}  // namespace diskmgt
