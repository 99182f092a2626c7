#include "check/fault_sweep.h"

#include <algorithm>

#include "check/answer_difference.h"
#include "check/open_descriptors.h"
#include "session/request_failure.h"
#include "worker/deadline.h"

namespace diskmgt {

namespace {

/// Null is an answer of these only.
std::vector<refhost::FaultKind> waysToFail(const std::string& call) {
    std::vector<refhost::FaultKind> ways{refhost::FaultKind::kTalException, refhost::FaultKind::kStandardException};
    if (call == "createInstance" || call == "getCoreLogger") ways.push_back(refhost::FaultKind::kNullResult);
    return ways;
}

}  // namespace

void FaultSweep::run(const std::string& className, const std::vector<std::string>& calls) {
    takeBaseline(className);
    for (std::size_t i = 0; i < calls.size(); ++i) {
        nowAt("while crossing " + std::to_string(i + 1) + " of " + std::to_string(calls.size()) + " fails (" +
              calls[i] + ")");
        ++crossings;
        const std::string problem = problemAfter(className, i + 1, calls[i]);
        if (problem.empty()) continue;
        journal.add({Check::kFailures, true, className,
                     "after crossing " + std::to_string(i + 1) + " (" + calls[i] +
                         ") failed, the next request is not served as before: " + problem});
        return;
    }
}

void FaultSweep::takeBaseline(const std::string& className) {
    Deadline::renew();
    state = machineState();
    (void)session.request({className});  // a failure shows in the comparison with the next
    clean = session.host().instances(className);
}

std::string FaultSweep::problemAfter(const std::string& className, std::size_t crossing, const std::string& call) {
    constexpr int kAttempts = 5;  // for a machine that changes meanwhile
    refhost::ReferenceHost& host = session.host();
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const OpenDescriptors descriptors = openDescriptors();
        for (const refhost::FaultKind kind : waysToFail(call)) {
            Deadline::renew();
            host.setFaultPlan({crossing, false, kind});
            (void)session.request({className});  // whatever becomes of this one
            host.clearFaultPlan();
        }
        Deadline::renew();
        std::string problem = failureClause(session.request({className}));
        if (problem.empty()) problem = differenceBetween(clean, host.instances(className));
        for (const std::string& change : descriptorChanges(descriptors, openDescriptors()))
            if (problem.empty()) problem = "it " + change;
        if (problem.empty() || machineState() == state) return problem;
        takeBaseline(className);
    }
    journal.add({Check::kFailures, false, className, "not all crossings are judged: the machine kept changing"});
    return {};
}

}  // namespace diskmgt
