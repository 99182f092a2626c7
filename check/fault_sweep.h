// Makes each call of the plug-in to its host fail once.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "check/check_journal.h"
#include "session/plugin_session.h"

namespace diskmgt {

class FaultSweep {
public:
    /// `at` is told what the request for a class is asked for under, such as "while crossing 3 of 40 fails (commit)".
    FaultSweep(PluginSession& loaded, CheckJournal& findings, std::function<void(const std::string& what)> at)
        : session(loaded), journal(findings), nowAt(std::move(at)) {}

    /// A request for the class with each of these calls failing: with the host's exception, a standard exception, and
    /// null where an operation may return it. The next request must be served as if nothing had been. Ends at the first
    /// crossing after which it is not.
    void run(const std::string& className, const std::vector<std::string>& calls);

    std::size_t crossingsFailed() const { return crossings; }

private:
    void takeBaseline(const std::string& className);
    /// A clause; empty: the plug-in survives.
    std::string problemAfter(const std::string& className, std::size_t crossing, const std::string& call);

    PluginSession& session;
    CheckJournal& journal;
    const std::function<void(const std::string& what)> nowAt;
    std::string state;                     // of the machine, when the next was taken
    std::vector<refhost::Instance> clean;  // what a request without failures gives
    std::size_t crossings = 0;
};

}  // namespace diskmgt
