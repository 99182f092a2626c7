// One host with one plug-in in it, used under a time limit.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "refhost/api/reference_host.h"
#include "session/class_plan.h"
#include "text/command_error.h"
#include "worker/deadline.h"

namespace diskmgt {

/// The outcome of a plan. Both are empty-handed when nothing failed.
struct ServedPlan {
    refhost::RequestResult earlier;
    refhost::RequestResult request;
};

/// The file that is loaded where this one is named; empty: the one that belongs to this command. Throws `CommandError`.
std::string pluginFileOf(const std::string& named);

struct SessionOptions {
    std::string pluginFile;  // empty: the one that belongs to this command
    std::vector<std::string> virtualDevices;
    int logSeverity = -1;        // show the host's log from this severity on; negative: not at all
    double timeoutSeconds = 30;  // 0: none
    bool keepsLog = true;        // false: the host forgets each line, in a process that stays
    std::vector<std::string> schemaFiles = {};  // further classes for the host
    /// Instead of saying which class is served; see `HostOptions`.
    std::function<void(const std::string& className)> whenServing = {};
};

class PluginSession {
public:
    /// Makes the host; loads nothing yet. Throws `CommandError` when a schema file cannot be used.
    explicit PluginSession(const SessionOptions& options);
    PluginSession(const PluginSession&) = delete;
    PluginSession& operator=(const PluginSession&) = delete;
    /// Unloads the plug-in.
    ~PluginSession();

    refhost::ReferenceHost& host() { return referenceHost; }

    /// Limits what follows, which may load, request and unload, for as long as the answer lives. `deliversKnown`: past
    /// the limit what was made known by then is delivered; `consequence` continues the sentence about giving up.
    Deadline startTimeLimit(bool deliversKnown = false, const std::string& consequence = "");

    /// The same for work beside the plug-in's, which has a second more.
    Deadline startOtherLimit(const std::string& subject) const;

    /// Loads the plug-in. One that cannot be used ends the process with a sentence: it may have left the loader in
    /// a state in which nothing can be unwound safely.
    refhost::PluginIdentity load();
    /// The same, but throws `PluginError`. All that may follow one is to say so and to leave with _exit(2).
    refhost::PluginIdentity loadOrThrow();
    /// The file that is loaded.
    const std::string& file() const { return pluginFile; }
    /// The earlier request, when the plan has one.
    refhost::RequestResult requestEarlier(const ClassPlan& plan);
    refhost::RequestResult request(const std::vector<std::string>& classNames);
    refhost::RequestResult request(const ClassPlan& plan) { return request(plan.request); }

private:
    const std::string pluginFile;
    const double timeoutSeconds;
    const bool isLogForwarded;
    refhost::ReferenceHost& referenceHost;
};

/// Says in one sentence what failed while a plan was served, if anything did; the exit status that follows.
ExitStatus reportFailures(const ServedPlan& served);
/// Says what was reported; `kFailureReported`.
ExitStatus reportFailure(const std::string& failure);
/// The same of classes that were not asked for.
ExitStatus reportNotServed(const std::vector<std::string>& classNames, const std::string& reason);

}  // namespace diskmgt
