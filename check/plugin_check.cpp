#include "check/plugin_check.h"

#include <unistd.h>

#include <atomic>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "check/answer_difference.h"
#include "check/check_journal.h"
#include "check/checked_classes.h"
#include "check/crossing_checks.h"
#include "check/fault_sweep.h"
#include "check/instance_checks.h"
#include "check/open_descriptors.h"
#include "check/pair_checks.h"
#include "session/class_plan.h"
#include "session/request_failure.h"
#include "text/wording.h"
#include "worker/account.h"
#include "worker/worker.h"

namespace diskmgt {

namespace {

constexpr int kAttempts = 5;  // for a machine that changes meanwhile

/// Says what is served, and under which circumstances.
class Circumstances {
public:
    void set(const std::string& now) { text = now.empty() ? "" : " " + now; }
    /// While several threads ask, none of them says what it is at.
    void setQuiet(bool isWanted) { isQuiet = isWanted; }
    void sayServing(const std::string& className) const {
        if (!isQuiet) Deadline::nowAt("serving " + className + text);
    }

private:
    std::string text;
    std::atomic<bool> isQuiet{false};
};

class PluginCheck {
public:
    PluginCheck(const SessionOptions& options, bool allCrossings)
        : session(withCircumstances(options)), isThorough(allCrossings) {}

    void run() {
        const Deadline limit = session.startTimeLimit(true);
        atStart = openDescriptors();
        load();
        chooseClasses();
        serve();
        judgeInstances();
        repeat();
        judgeCrossings();
        askOnTwoThreads();
        if (isThorough) failCrossings();
        unload();
    }

private:
    SessionOptions withCircumstances(SessionOptions options) {
        options.whenServing = [this](const std::string& className) { circumstances.sayServing(className); };
        return options;
    }

    /// One that cannot be loaded ends the process: nothing can be unwound safely then.
    void load() {
        using Step = refhost::PluginError::Step;
        journal.begin(Check::kLoads);
        try {
            identity = session.loadOrThrow();
        } catch (const refhost::PluginError& error) {
            if (error.step() != Step::kOpening) journal.end(Check::kLoads);
            if (error.step() == Step::kStarting) journal.end(Check::kRegisters);
            journal.add({error.step() == Step::kRegistering ? Check::kRegisters
                         : error.step() == Step::kStarting  ? Check::kOperations
                                                            : Check::kLoads,
                         true, "", error.reason()});
            worker::account().note(kDone);
            ::_exit(kDone);
        }
        worker::makeKnown(packedIdentity(identity));
        journal.end(Check::kLoads, identity.file);
        journal.end(Check::kRegisters);
        judgeIdentity();
    }

    void judgeIdentity() {
        if (!identity.answersRequests)
            journal.add(
                {Check::kOperations, true, "", "the entry object offers no data request (IPluginBasicQueryCallbacks)"});
        journal.end(Check::kOperations, "identity, Init and the data request are answered");
        const std::pair<const char*, const std::string*> texts[] = {
            {"GetName", &identity.name},
            {"GetVersion", &identity.version},
            {"GetInterfaceVersion", &identity.interfaceVersion}};
        for (const auto& [operation, answer] : texts)
            if (answer->empty())
                journal.add({Check::kIdentity, true, "", std::string(operation) + " answers an empty text"});
        if (!identity.interfaceVersion.empty() && identity.interfaceVersion != "1.0")
            journal.add({Check::kIdentity, false, "",
                         "the interface version is " + identity.interfaceVersion + ", and this host's is 1.0"});
        journal.end(Check::kIdentity, identity.name + " " + identity.version + ", interface " +
                                          identity.interfaceVersion + ", type " + std::to_string(identity.type));
    }

    void chooseClasses() {
        journal.begin(Check::kServes);
        Deadline::nowAt("measuring the mounted file systems");
        const CheckedClasses chosen = classesToCheck(session.host());
        classes = chosen.names;
        journal.add(chosen.remarks);
    }

    PublishedClass published(const std::string& className) {
        return {session.host().findClass(className), session.host().instances(className)};
    }

    refhost::RequestResult ask(const std::string& className) {
        Deadline::renew();
        Deadline::nowAt("asking for " + className);
        return session.request({className});
    }

    void serve() {
        std::uint64_t total = 0;
        std::size_t withInstances = 0;
        state = machineState();
        for (const std::string& className : classes) {
            ServedFacts facts;
            facts.className = className;
            const std::size_t crossings = session.host().crossings();
            const std::int64_t start = worker::steadyNanoseconds();
            refhost::RequestResult result = ask(className);
            facts.seconds = static_cast<double>(worker::steadyNanoseconds() - start) / 1e9;
            facts.crossings = session.host().crossings() - crossings;
            answers.push_back(published(className));
            facts.isAssociation = answers.back().declaration->isAssociation;
            facts.instances = answers.back().instances.size();
            const std::string failure = failureClause(result);
            if (!failure.empty()) {
                unsound.insert(className);
                journal.add({Check::kServes, true, className, failure});
            }
            facts.log = std::move(result.log);
            total += facts.instances;
            if (facts.instances > 0) ++withInstances;
            worker::makeKnown(packedFacts(facts));
        }
        const std::string all = std::to_string(classes.size()) + " classes";
        if (total == 0)
            journal.add({Check::kServes, false, "", "no class has an instance on this machine that this user can see"});
        journal.end(Check::kServes,
                    total == 0 ? all + " were asked for"
                               : counted(total, "instance") + " in " + std::to_string(withInstances) + " of " + all);
    }

    void judgeInstances() {
        journal.begin(Check::kKeys);
        journal.add(checkKeys(answers));
        journal.end(Check::kKeys);
        journal.begin(Check::kPairs);
        std::size_t pairs = 0;
        for (const PublishedClass& cls : answers)
            if (cls.declaration->isAssociation) pairs += cls.instances.size();
        journal.add(checkPairs(answers, hostsOwnInstances(session.host())));
        journal.end(Check::kPairs, counted(pairs, "pair"));
    }

    /// Takes the first answers anew where the machine has changed since. False: it does not stop changing.
    bool refreshAnswers() {
        for (int attempt = 0; attempt < kAttempts; ++attempt) {
            if (machineState() == state) return true;
            state = machineState();
            for (PublishedClass& answer : answers) {
                (void)ask(answer.declaration->name);  // a failure shows in the comparison with the next
                answer = published(answer.declaration->name);
            }
        }
        return false;
    }

    /// Runs `compare`, which compares the present answers with the first, until the machine has stayed the same.
    void judge(Check check, const std::function<CheckFindings()>& compare) {
        for (int attempt = 0; attempt < kAttempts && refreshAnswers(); ++attempt) {
            const CheckFindings findings = compare();
            if (!findings.empty() && machineState() != state) continue;
            journal.add(findings);
            for (const CheckFinding& finding : findings) unsound.insert(finding.className);
            return;
        }
        journal.add({check, false, "", "not judged: the machine's disks or mounts kept changing"});
    }

    /// Asks again, and records what crosses and which descriptors are open.
    void repeat() {
        journal.begin(Check::kRepeats);
        circumstances.set("again");
        session.host().startTrace();
        judge(Check::kRepeats, [this] {
            CheckFindings findings;
            for (const PublishedClass& first : answers) {
                const std::string& className = first.declaration->name;
                const OpenDescriptors before = openDescriptors();
                const std::string failure = failureClause(ask(className));
                for (const std::string& change : descriptorChanges(before, openDescriptors()))
                    descriptorFindings.push_back({Check::kDescriptors, true, className, change});
                if (unsound.count(className) != 0) continue;
                const std::string difference = differenceBetween(first.instances, session.host().instances(className));
                if (!failure.empty())
                    findings.push_back({Check::kRepeats, true, className, "the second request failed: " + failure});
                else if (!difference.empty())
                    findings.push_back({Check::kRepeats, true, className, "the second answer differs: " + difference});
            }
            return findings;
        });
        trace = session.host().takeTrace();
        circumstances.set("");
        journal.end(Check::kRepeats, "asked twice for each class");
    }

    void judgeCrossings() {
        journal.begin(Check::kValues);
        journal.add(checkRefusals(trace));
        journal.end(Check::kValues);
        journal.begin(Check::kOwnThread);
        const CheckFindings ofThreads = checkThread(trace, ::gettid());
        for (const CheckFinding& finding : ofThreads) unsound.insert(finding.className);
        journal.add(ofThreads);
        journal.end(Check::kOwnThread);
        journal.begin(Check::kDescriptors);
        journal.add(descriptorFindings);
        journal.end(Check::kDescriptors);
        calls = callsByClass(trace);
        trace.clear();
    }

    /// Sound classes all at once on each of two threads; the instances of the later request remain.
    void askOnTwoThreads() {
        const int rounds = isThorough ? 16 : 4;
        journal.begin(Check::kTwoThreads);
        const std::set<std::string> unsoundBefore = unsound;
        for (int round = 0; round < rounds && unsound == unsoundBefore; ++round)
            judge(Check::kTwoThreads, [this] { return differencesOfTwoThreads(); });
        journal.end(Check::kTwoThreads, counted(static_cast<std::uint64_t>(rounds), "time") + " two requests at once");
    }

    CheckFindings differencesOfTwoThreads() {
        const std::vector<std::string> asked = soundClasses();
        if (asked.empty()) return {};
        Deadline::renew();
        Deadline::nowAt("serving two requests at once");
        circumstances.setQuiet(true);
        std::string failures[2];
        std::atomic<int> ready{0};
        const auto work = [&](std::string& failure) {
            for (++ready; ready < 2;) std::this_thread::yield();
            failure = failureClause(session.host().request(asked));
        };
        std::thread second([&] { work(failures[1]); });
        work(failures[0]);
        second.join();
        circumstances.setQuiet(false);
        for (const std::string& failure : failures)
            if (!failure.empty()) return {{Check::kTwoThreads, true, "", failure}};
        CheckFindings findings;
        for (const PublishedClass& first : answers) {
            const std::string& className = first.declaration->name;
            if (unsound.count(className) != 0) continue;
            const std::string difference = differenceBetween(first.instances, session.host().instances(className));
            if (!difference.empty())
                findings.push_back({Check::kTwoThreads, true, className, "the answer differs: " + difference});
        }
        return findings;
    }

    std::vector<std::string> soundClasses() const {
        std::vector<std::string> sound;
        for (const std::string& className : classes)
            if (unsound.count(className) == 0) sound.push_back(className);
        return sound;
    }

    void failCrossings() {
        journal.begin(Check::kFailures);
        FaultSweep sweep(session, journal, [this](const std::string& what) { circumstances.set(what); });
        for (const std::string& className : soundClasses()) sweep.run(className, calls[className]);
        circumstances.set("");
        journal.end(Check::kFailures, counted(sweep.crossingsFailed(), "crossing") + " failed in turn");
    }

    void unload() {
        journal.begin(Check::kUnloads);
        Deadline::nowAt("unloading " + session.file());
        session.host().startTrace();
        session.host().unloadPlugins();
        journal.add(checkOperations(session.host().takeTrace(), Check::kUnloads));
        const std::vector<std::string> changes = descriptorChanges(atStart, openDescriptors());
        if (!changes.empty() && descriptorFindings.empty())
            journal.add({Check::kUnloads, true, "", "once unloaded, it " + listed(changes)});
        loadAgain();
        journal.end(Check::kUnloads);
    }

    void loadAgain() {
        Deadline::renew();
        Deadline::nowAt("loading " + session.file() + " a second time");
        try {
            (void)session.host().loadPlugin(session.file());
            Deadline::nowAt("unloading " + session.file() + " a second time");
            session.host().unloadPlugins();
        } catch (const refhost::PluginError& error) {
            const bool isMapped = error.step() == refhost::PluginError::Step::kStillMapped;
            journal.add({Check::kUnloads, !isMapped, "",
                         isMapped ? "the library stays mapped after it was closed, so it cannot be loaded again in one "
                                    "process"
                                  : "it cannot be loaded a second time: " + error.reason()});
            if (isMapped) return;
            journal.end(Check::kUnloads);
            worker::account().note(kDone);
            ::_exit(kDone);
        }
    }

    Circumstances circumstances;
    PluginSession session;
    const bool isThorough;
    CheckJournal journal;
    OpenDescriptors atStart;
    refhost::PluginIdentity identity;
    std::vector<std::string> classes;
    std::vector<PublishedClass> answers;  // to the first request for each class
    std::string state;                    // of the machine when they were given
    std::set<std::string> unsound;        // classes that further checks leave out
    std::vector<refhost::TraceEntry> trace;
    std::map<std::string, std::vector<std::string>> calls;  // of the plug-in, by class
    CheckFindings descriptorFindings;
};

}  // namespace

void checkPlugin(const SessionOptions& options, bool thorough) { PluginCheck(options, thorough).run(); }

}  // namespace diskmgt
