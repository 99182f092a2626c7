// The worker's outcome in words, and what is delivered of work that was given up.
#include "cli/supervise.h"

#include "terminal/remarks.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/commands/session_options.h"
#include "inventory/machine_account.h"
#include "worker/early_end.h"
#include "worker/standard_output.h"
#include "worker/watch.h"

namespace diskmgt {

namespace {

using worker::EarlyEnd;
using worker::Outcome;
using worker::Stage;
using worker::Worker;

constexpr const char* kNameAnother = "; name another plug-in with --plugin FILE or DISKMGT_PLUGIN";
constexpr double kDeliverySeconds = 5;  // to write what is known by the limit, which is there already

int endedInWords(const std::function<ExitStatus()>& work) {
    try {
        return work();
    } catch (const CommandError& error) {
        if (*error.what() != '\0') writeRemark(error.what());
        return error.status();
    } catch (const std::bad_alloc&) {
        writeRemark("out of memory; ask for fewer classes or files at once");
    } catch (const std::exception& error) {
        writeRemark(std::string("stopped by an unexpected failure: ") + error.what() + "; the output is incomplete");
    }
    return kFailureReported;
}

/// The descriptor of this process that the path means.
std::optional<int> descriptorNamed(std::string_view path) {
    if (path == "/dev/stdin" || path == "-") return STDIN_FILENO;
    if (path == "/dev/stdout") return STDOUT_FILENO;
    if (path == "/dev/stderr") return STDERR_FILENO;
    for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
        if (path.substr(0, folder.size()) != folder) continue;
        int number = -1;
        (void)std::from_chars(path.data() + folder.size(), path.data() + path.size(), number);
        if (number >= 0) return number;
    }
    return std::nullopt;
}

std::vector<int> descriptorsNamed(const Options& options) {
    std::vector<int> kept;
    const auto keep = [&kept](const std::string& path) {
        const auto descriptor = descriptorNamed(path);
        if (!descriptor) return;
        // Those of this process's own are closed on exec, what the caller passed on is not.
        const int flags = ::fcntl(*descriptor, F_GETFD);
        if (flags >= 0 && (flags & FD_CLOEXEC) == 0) kept.push_back(*descriptor);
    };
    for (const std::string& operand : options.operands) keep(operand);
    keep(options.outputFile);
    keep(options.pluginFile);
    for (const std::string& file : options.schemaFiles) keep(file);
    std::sort(kept.begin(), kept.end());
    return kept;
}

/// A reader of standard output has all the time it wants; a file is written within the limit.
Stage writing(const Options& options, double limitSeconds) {
    const auto descriptor = descriptorNamed(options.outputFile);
    Stage stage;
    stage.namesCall = true;
    const bool isStandard = descriptor && (*descriptor == STDOUT_FILENO || *descriptor == STDERR_FILENO);
    if (!options.outputFile.empty() && !isStandard) stage.limitSeconds = limitSeconds;
    return stage;
}

class Supervision {
public:
    explicit Supervision(const Options& asked) : options(asked) {}

    int run() { return options.deliver == nullptr ? runWhole() : runInTwo(); }

private:
    int runWhole() {
        const Outcome outcome = watched([this] { return runHere(options); }, options.timeoutSeconds, false);
        return endOf(outcome).status;
    }

    /// Whether how the work ended is itself the answer, and so not a failure to speak of.
    bool isVerdict(const Outcome& outcome) const {
        return options.judgesPlugin && outcome.isInStage && outcome.stage.ofPlugin;
    }

    /// One process collects CIM's account while this one reads the machine's; another one then writes both. Neither can
    /// cost more than its own part.
    int runInTwo() {
        const Outcome collected = watched([this] { return runHere(options); }, options.timeoutSeconds, true);
        const EarlyEnd end = endOf(collected);
        if (end.status == kWrongUsage) return kWrongUsage;
        const auto deliver = [this, &collected, &end] {
            Options delivering = options;
            delivering.schemaFiles.clear();  // a pipe can be read once, and no class of theirs is shown
            return endedInWords([&] { return options.deliver(delivering, collected.known, end); });
        };
        const Outcome delivered =
            watched(deliver, end.status == kTimedOut ? kDeliverySeconds : options.timeoutSeconds, false);
        return std::max(endOf(delivered).status, end.status);
    }

    Outcome watched(const std::function<int()>& work, double limitSeconds, bool collects) {
        Worker::Wants wants;
        wants.makesKnown = collects;
        wants.keptDescriptors = descriptorsNamed(options);
        wants.prepare = [this] { signals.restore(); };
        worker::account().reset(writing(options, limitSeconds), "writing " + options.outputFile);
        Worker started(work, wants);
        if (collects && !options.judgesPlugin) prepareDelivery();
        // Not on the stack, whose every page a large frame touches.
        return std::make_unique<worker::Watch>(started, signals)->run();
    }

    /// What does not need CIM's account is done while it is collected, and the process that delivers inherits it.
    void prepareDelivery() const {
        (void)machineAccount();
        try {
            const PluginSession host(sessionOptions(options));
        } catch (const std::exception&) {
            // The process that delivers meets it again, and says so.
        }
    }

    /// Says in one sentence why the work ended before it was done, if it did.
    EarlyEnd endOf(const Outcome& outcome) {
        switch (outcome.how) {
            case Outcome::How::kInterrupted:
                signals.dieBy(outcome.signalNumber);
            case Outcome::How::kGivenUp: {
                const std::string what = gaveUp(outcome);
                if (!isVerdict(outcome))
                    writeRemark(what + outcome.stage.consequence + "; allow more with --timeout SECONDS (0: no limit)");
                return {"timed-out", "time ran out", "It " + what + ".", kTimedOut, what};
            }
            case Outcome::How::kEnded:
                break;
        }
        const auto status = static_cast<ExitStatus>(statusOf(outcome));
        if (WIFSIGNALED(outcome.waitStatus) && WTERMSIG(outcome.waitStatus) == SIGKILL)
            return {"killed", "killed", "The process that collected it was killed.", status};
        if (WIFSIGNALED(outcome.waitStatus)) {
            const bool isOfPlugin = outcome.isInStage && outcome.stage.ofPlugin;
            return {"crashed", isOfPlugin ? "the plug-in crashed" : "crashed", "The process that collected it crashed.",
                    status, isOfPlugin ? crashOfPlugin(outcome) : ""};
        }
        if (!worker::account().isNoted())
            return {"ended", "ended early", "The process that collected it ended.", status,
                    outcome.isInStage && outcome.stage.ofPlugin ? endByPlugin(outcome) : ""};
        if (status == kPluginUnusable) return {"plugin-unusable", "no plug-in", "The plug-in cannot be used.", status};
        if (status == kFailureReported) return {"failed", "failed", "The process that collected it failed.", status};
        return {"", "", "", status};
    }

    static std::string gaveUp(const Outcome& outcome) {
        char seconds[32];
        (void)std::snprintf(seconds, sizeof seconds, "%g s", outcome.stage.limitSeconds);
        return "gave up after " + std::string(seconds) + " while " + outcome.whatWasDone;
    }

    static std::string during(const Outcome& outcome) {
        return outcome.whatWasDone.empty() ? "" : " while " + outcome.whatWasDone;
    }
    static std::string crashOfPlugin(const Outcome& outcome) {
        return "the plug-in crashed" + during(outcome) + ": " + ::strsignal(WTERMSIG(outcome.waitStatus));
    }
    static std::string endByPlugin(const Outcome& outcome) { return "the plug-in ended the process" + during(outcome); }

    int statusOf(const Outcome& outcome) {
        if (WIFSIGNALED(outcome.waitStatus)) return sayCrash(outcome, WTERMSIG(outcome.waitStatus));
        if (!worker::account().isNoted()) return sayLeft(outcome);
        const int status = WEXITSTATUS(outcome.waitStatus);
        const int error = worker::account().outputError;
        if (status != kDone || error == 0 || error == EPIPE) return status;
        writeRemark(std::string("cannot write to standard output: ") + std::strerror(error) +
                    "; send it elsewhere with --output FILE");
        return kFailureReported;
    }

    /// Code that was called, most likely the plug-in's, has ended the process with exit(3) or the like: whatever
    /// status it chose, the work is not done.
    int sayLeft(const Outcome& outcome) const {
        if (isVerdict(outcome)) return kPluginUnusable;
        if (outcome.isInStage && outcome.stage.ofPlugin) {
            writeRemark(endByPlugin(outcome) + kNameAnother);
            return kPluginUnusable;
        }
        writeRemark("the process that did the work ended" + during(outcome) +
                    " before it was done; what was written is not complete, please report it");
        return kFailureReported;
    }

    int sayCrash(const Outcome& outcome, int signalNumber) {
        if (worker::SignalInbox::asksToEnd(signalNumber)) signals.dieBy(signalNumber);
        if (signalNumber == SIGKILL) {
            writeRemark(
                "the process that did the work was killed, possibly because memory ran out; the output is "
                "incomplete, ask for fewer classes or files at once");
            return kFailureReported;
        }
        if (isVerdict(outcome)) return kPluginUnusable;
        if (outcome.isInStage && outcome.stage.ofPlugin) {
            writeRemark(crashOfPlugin(outcome) + kNameAnother);
            return kPluginUnusable;
        }
        writeRemark("crashed" + during(outcome) + ": " + ::strsignal(signalNumber) +
                    "; the output is incomplete, please report it");
        return kFailureReported;
    }

    const Options& options;
    const worker::SignalInbox signals;
};

}  // namespace

int runHere(const Options& options) {
    return endedInWords([&options] { return options.run(options); });
}

int runSupervised(const Options& options) {
    return endedInWords([&options] {
        worker::shareAccount();
        standard_output::learn();
        return static_cast<ExitStatus>(Supervision(options).run());
    });
}

}  // namespace diskmgt
