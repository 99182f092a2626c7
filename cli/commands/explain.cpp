// explain: why each device is or is not reported, beside what the plug-in answers.
#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/explain/explain.h"
#include "cli/output.h"
#include "cli/plugin_session.h"
#include "cli/printers/explain_json.h"
#include "cli/printers/explain_text.h"
#include "cli/printers/table.h"
#include "schema/vocabulary.h"

namespace diskmgt_cli {

namespace {

constexpr const char* kMoreTime = "; allow more with --timeout SECONDS (0: no limit)";

/// The columns to write for; 0: no terminal, or one so narrow that it breaks lines better itself.
std::size_t widthOf(const Output& output) {
    constexpr std::size_t kNarrowest = 40;  // below, little more than a word would stand on a line
    const std::size_t width = output.terminalWidth();
    return width < kNarrowest ? 0 : width;
}

std::string documentOf(const Explanation& explanation, const Options& options, const Output& output) {
    if (options.format == Format::kJson) return json::explanationDocument(explanation);
    return explanationText(explanation, chooseStyle(options.color, output.isTerminal()), widthOf(output));
}

Explanation explain(const Options& options, const std::vector<std::string>& virtualDevices) {
    Progress progress;
    const Deadline limit(options.timeoutSeconds, [&progress] {
        complain("gave up after the time limit while " + progress.step() + kMoreTime);
        leaveNow(kTimedOut);
    });
    return options.operands.empty() ? explainMachine(virtualDevices, progress)
                                    : explainNamed(options.operands, virtualDevices, progress);
}

std::vector<std::string> identifiersOf(const refhost::ReferenceHost& host, const std::string& className) {
    std::vector<std::string> identifiers;
    for (const refhost::Instance& instance : host.instances(className))
        for (const refhost::PropertyValue& property : instance.properties)
            if (property.declaration->name == diskmgt_col::kDeviceId && !property.isNull)
                identifiers.push_back(property.elements.front());
    return identifiers;
}

/// Logical disks are left out: serving them would measure mounts that may never answer.
ServedPlan request(PluginSession& session, const std::string& document, Output& output, double timeoutSeconds) {
    const Deadline limit(timeoutSeconds, [&] {
        try {
            output.write(document);  // known by now, and the work does not touch it
            output.finish();
        } catch (const CommandError& error) {
            if (*error.what() != '\0') complain(error.what());
        }
        complain("the plug-in did not answer within the time limit, so this was not compared with its answer" +
                 std::string(kMoreTime));
        leaveNow(kTimedOut);
    });
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
    PluginSession session(options);
    Output output(options.outputFile);
    {
        const Deadline limit = session.startTimeLimit();
        (void)session.load();
    }
    Explanation explanation = explain(options, session.host().virtualDevices());
    const ServedPlan served =
        request(session, documentOf(explanation, options, output), output, options.timeoutSeconds);
    compareWithAnswer({identifiersOf(session.host(), diskmgt_col::kDiskDrive),
                       identifiersOf(session.host(), diskmgt_col::kDiskPartition)},
                      explanation);
    output.write(documentOf(explanation, options, output));
    output.finish();
    return reportFailures(served);
}

}  // namespace diskmgt_cli
