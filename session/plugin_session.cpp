// Finds the plug-in and drives the host.
#include "session/plugin_session.h"

#include "terminal/remarks.h"

#include <limits.h>
#include <unistd.h>

#include <cstddef>
#include <utility>

#include "session/log_lines.h"

namespace diskmgt {

namespace {

/// The plug-in that belongs to this command: the build tree and the install tree have the same shape.
std::string ownPluginFile() {
    char self[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", self, sizeof self);
    if (length <= 0)
        throw CommandError(kPluginUnusable,
                           "cannot tell where this command is installed (/proc is not mounted?); name the plug-in with "
                           "--plugin FILE");
    const std::string path(self, static_cast<std::size_t>(length));
    const std::string folder = path.substr(0, path.rfind('/'));
    return folder.substr(0, folder.rfind('/')) + "/lib/diskmgt/plugins/libdiskmgt.pi.so";
}

std::string choosePluginFile(const std::string& named) {
    if (named.empty()) return ownPluginFile();
    // Without a slash the loader would search its own directories and not the present one.
    return named.find('/') == std::string::npos ? "./" + named : named;
}

refhost::HostOptions hostOptions(const SessionOptions& options) {
    refhost::HostOptions wanted;
    wanted.virtualDevices = options.virtualDevices;
    wanted.whenServing = [](const std::string& className) { Deadline::nowAt("serving " + className); };
    return wanted;
}

/// The host of this process, which has one session only. Never destroyed: the process ends with the session, and giving
/// every instance back before that would only take time.
refhost::ReferenceHost& processHost(refhost::HostOptions options) {
    static auto& host = *new refhost::ReferenceHost(std::move(options));
    return host;
}

}  // namespace

PluginSession::PluginSession(const SessionOptions& options)
    : pluginFile(choosePluginFile(options.pluginFile)),
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

refhost::PluginIdentity PluginSession::load() {
    Deadline::nowAt("loading " + pluginFile);
    try {
        refhost::PluginIdentity identity = referenceHost.loadPlugin(pluginFile);
        Deadline::nowAt("");
        return identity;
    } catch (const refhost::PluginError& error) {
        std::string reason = error.what();
        while (!reason.empty() && (reason.back() == '.' || reason.back() == '\n')) reason.pop_back();
        const bool saysWhatToDo = reason.find("; give the path of ") != std::string::npos;
        writeRemark(reason + (saysWhatToDo ? "" : "; name another plug-in") + " with --plugin FILE or DISKMGT_PLUGIN");
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

std::string PluginSession::failureOf(const refhost::RequestResult& result) {
    if (!result.reportsFailure()) return {};
    if (result.failure) return "the request ended early: " + *result.failure;
    for (const refhost::LogLine& line : result.log)
        if (line.severity == 0) return "an error was logged: " + line.text;
    for (const refhost::LogLine& line : result.log)
        if (line.text.find("exception") != std::string::npos) return "an exception was logged: " + line.text;
    return "the log tells more";
}

ExitStatus reportFailures(const ServedPlan& served) {
    std::string failure = PluginSession::failureOf(served.request);
    if (!failure.empty()) return reportFailure(failure);
    failure = PluginSession::failureOf(served.earlier);
    if (failure.empty()) return kDone;
    return reportFailure(failure + " (while publishing what an association relies on)");
}

ExitStatus reportFailure(const std::string& failure) {
    writeRemark("the plug-in or host reported a failure, so the data may be incomplete: " + failure +
                "; --log-level verbose shows the whole log");
    return kFailureReported;
}

}  // namespace diskmgt
