#include "session/plugin_session.h"

#include "terminal/remarks.h"

#include <unistd.h>

#include <cstddef>
#include <utility>

#include "session/log_lines.h"
#include "session/own_files.h"
#include "session/request_failure.h"
#include "session/schema_files.h"
#include "text/wording.h"
#include "worker/account.h"

namespace diskmgt {

namespace {

refhost::HostOptions hostOptions(const SessionOptions& options) {
    refhost::HostOptions wanted;
    wanted.virtualDevices = options.virtualDevices;
    wanted.schemaTexts = readSchemaFiles(options.schemaFiles, options.timeoutSeconds);
    wanted.keepsLog = options.keepsLog;
    wanted.whenServing = options.whenServing;
    if (!wanted.whenServing)
        wanted.whenServing = [](const std::string& className) { Deadline::nowAt("serving " + className); };
    return wanted;
}

/// The host of this process, which has one session only. Never destroyed: the process ends with the session, and giving
/// every instance back before that would only take time.
refhost::ReferenceHost& processHost(refhost::HostOptions options) try {
    static auto& host = *new refhost::ReferenceHost(std::move(options));
    return host;
} catch (const refhost::SchemaError& refusal) {
    refuseSchema(refusal);
}

}  // namespace

std::string pluginFileOf(const std::string& named) {
    if (named.empty()) return ownLibraryFolder() + "/plugins/libdiskmgt.pi.so";
    // Without a slash the loader would search its own directories and not the present one.
    return named.find('/') == std::string::npos ? "./" + named : named;
}

PluginSession::PluginSession(const SessionOptions& options)
    : pluginFile(pluginFileOf(options.pluginFile)),
      timeoutSeconds(options.timeoutSeconds),
      isLogForwarded(options.logSeverity >= 0),
      referenceHost(processHost(hostOptions(options))) {
    if (isLogForwarded) referenceHost.forwardLog(options.logSeverity, &showLogLine);
}

PluginSession::~PluginSession() { referenceHost.unloadPlugins(); }

Deadline PluginSession::startTimeLimit(bool deliversKnown, const std::string& consequence) {
    Deadline::Watched work;
    work.consequence = consequence;
    work.isShown = !isLogForwarded;
    work.ofPlugin = true;
    work.deliversKnown = deliversKnown;
    return {timeoutSeconds, work};
}

Deadline PluginSession::startOtherLimit(const std::string& subject) const {
    Deadline::Watched work;
    work.subject = subject;
    work.isShown = !isLogForwarded;
    work.deliversKnown = true;
    return {timeoutSeconds == 0 ? 0 : timeoutSeconds + 1, work};
}

refhost::PluginIdentity PluginSession::loadOrThrow() {
    Deadline::nowAt("loading " + pluginFile);
    refhost::PluginIdentity identity = referenceHost.loadPlugin(pluginFile);
    Deadline::nowAt("");
    return identity;
}

refhost::PluginIdentity PluginSession::load() {
    try {
        return loadOrThrow();
    } catch (const refhost::PluginError& error) {
        std::string reason = error.reason();
        while (!reason.empty() && (reason.back() == '.' || reason.back() == '\n')) reason.pop_back();
        const std::string advice = error.advice().empty() ? "name another plug-in" : error.advice();
        writeRemark(reason + "; " + advice + " with --plugin FILE or DISKMGT_PLUGIN");
        worker::account().note(kPluginUnusable);
        ::_exit(kPluginUnusable);
    }
}

refhost::RequestResult PluginSession::requestEarlier(const ClassPlan& plan) {
    return plan.earlier.empty() ? refhost::RequestResult() : request(plan.earlier);
}

refhost::RequestResult PluginSession::request(const std::vector<std::string>& classNames) {
    refhost::RequestResult result = referenceHost.request(classNames);
    Deadline::nowAt("");
    return result;
}

ExitStatus reportFailures(const ServedPlan& served) {
    std::string failure = failureClause(served.request);
    if (!failure.empty()) return reportFailure(failure);
    failure = failureClause(served.earlier);
    if (failure.empty()) return kDone;
    return reportFailure(failure + " (while publishing what an association relies on)");
}

ExitStatus reportFailure(const std::string& failure) {
    writeRemark("the plug-in or host reported a failure, so the data may be incomplete: " + failure +
                "; --log-level verbose shows the whole log");
    return kFailureReported;
}

ExitStatus reportNotServed(const std::vector<std::string>& classNames, const std::string& reason) {
    writeRemark("not served: " + joined(classNames, ", ") + ": " + reason);
    return kFailureReported;
}

}  // namespace diskmgt
