// trace: what crosses the plug-in boundary while the plug-in is loaded, serves a request and is unloaded.
#include <cstddef>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/session_options.h"
#include "cli/io/output.h"
#include "formats/json.h"
#include "session/class_plan.h"
#include "session/plugin_session.h"

namespace diskmgt {

ExitStatus runTrace(const Options& options) {
    PluginSession session(sessionOptions(options));
    refhost::ReferenceHost& host = session.host();
    requireKnownClasses(host, options.operands);
    Output output(options.outputFile);
    const ClassPlan plan = planRequest(options.operands, options.exact);
    ServedPlan served;
    std::vector<refhost::TraceEntry> loading;
    std::vector<refhost::TraceEntry> serving;
    {
        const Deadline limit = session.startTimeLimit();
        host.startTrace();
        (void)session.load();
        loading = host.takeTrace();
        served.earlier = session.requestEarlier(plan);
        host.startTrace();
        served.request = session.request(plan);
        host.unloadPlugins();
        serving = host.takeTrace();
    }
    const bool isTerminal = output.isTerminal();
    std::size_t number = 0;
    for (const std::vector<refhost::TraceEntry>* entries : {&loading, &serving})
        for (const refhost::TraceEntry& entry : *entries) {
            const std::string line = json::traceLine(++number, entry);
            output.write(isTerminal ? json::forTerminal(line) : line);
        }
    output.finish();
    return reportFailures(served);
}

}  // namespace diskmgt
