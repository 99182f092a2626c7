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
    for (std::size_t i = 0; i < calls.size(); ++i) {
        nowAt("while crossing " + std::to_string(i + 1) + " of " + std::to_string(calls.size()) + " fails (" +
              calls[i] + ")");
        ++crossings;
        if (!survives(className, i + 1, calls[i])) return;
    }
}

bool FaultSweep::survives(const std::string& className, std::size_t crossing, const std::string& call) {
    constexpr int kAttempts = 3;  // for a machine that changes meanwhile
    refhost::ReferenceHost& host = session.host();
    const OpenDescriptors descriptors = openDescriptors();
    std::string problem;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const std::vector<refhost::Instance> clean = host.instances(className);
        const std::string state = machineState();
        for (const refhost::FaultKind kind : waysToFail(call)) {
            Deadline::renew();
            host.setFaultPlan({crossing, false, kind});
            (void)session.request({className});  // whatever becomes of this one
            host.clearFaultPlan();
        }
        Deadline::renew();
        const refhost::RequestResult next = session.request({className});
        problem = failureClause(next);
        if (problem.empty()) problem = differenceBetween(clean, host.instances(className));
        if (problem.empty() || machineState() == state) break;
    }
    for (const std::string& change : descriptorChanges(descriptors, openDescriptors()))
        if (problem.empty()) problem = "it " + change;
    if (!problem.empty())
        journal.add({Check::kFailures, true, className,
                     "after crossing " + std::to_string(crossing) + " (" + call +
                         ") failed, the next request is not served as before: " + problem});
    return problem.empty();
}

}  // namespace diskmgt
