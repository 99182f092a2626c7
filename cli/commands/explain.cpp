// explain: why each device, mount and pair is or is not reported, and what uses a device.
#include <algorithm>
#include <cstddef>
#include <string>

#include "cli/commands/commands.h"
#include "cli/commands/session_options.h"
#include "cli/explain/explain_json.h"
#include "cli/explain/explain_machine.h"
#include "cli/explain/explain_named.h"
#include "cli/io/output.h"
#include "cli/tables/explain_text.h"
#include "cli/tables/table.h"
#include "formats/json.h"
#include "inventory/machine_account.h"
#include "terminal/remarks.h"

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

}  // namespace

ExitStatus runExplainCollection(const Options& options) {
    if (std::find(options.operands.begin(), options.operands.end(), "") != options.operands.end())
        throw CommandError(kWrongUsage, "explain takes the name of a DEVICE, not an empty text");
    return runCollection(options);
}

ExitStatus deliverExplanation(const Options& options, const std::string& known, const worker::EarlyEnd& end) {
    PluginSession session(sessionOptions(options));
    Output output(options.outputFile);
    Collection collection = readCollection(session, known, end);
    const ServerAccount account = joinAccounts(machineAccount(), collection);
    const ExplainContext context(account);
    const Explanation explanation =
        options.operands.empty() ? explainMachine(context) : explainNamed(context, options.operands);
    const bool isAnythingNamed = explanation.unknownNames.size() < options.operands.size() || options.operands.empty();
    if (isAnythingNamed) {
        output.write(documentOf(explanation, options, output));
        output.finish();
    }
    for (const std::string& sentence : explanation.unknownNames) writeRemark(sentence);
    const ExitStatus status = reportFailures(collection);
    return explanation.unknownNames.empty() ? status : std::max(status, kWrongUsage);
}

}  // namespace diskmgt
