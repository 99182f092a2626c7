// check: one verdict on a plug-in, which is asked in a process that it may end.
#include "check/check_report.h"
#include "check/plugin_check.h"
#include "cli/commands/commands.h"
#include "cli/commands/session_options.h"
#include "cli/io/output.h"
#include "cli/tables/check_table.h"
#include "formats/check_json.h"
#include "formats/json.h"

namespace diskmgt {

ExitStatus runCheck(const Options& options) {
    checkPlugin(sessionOptions(options), options.thorough);
    return kDone;
}

ExitStatus deliverCheck(const Options& options, const std::string& known, const worker::EarlyEnd& end) {
    Output output(options.outputFile);
    const CheckReport report = reportOf(known, end, options.thorough, pluginFileOf(options.pluginFile));
    if (options.format == Format::kJson) {
        const std::string document = json::checkDocument(report);
        output.write(output.isTerminal() ? json::forTerminal(document) : document);
    } else {
        output.write(checkTables(report, chooseStyle(options.color, output.isTerminal())));
    }
    output.finish();
    return report.status();
}

}  // namespace diskmgt
