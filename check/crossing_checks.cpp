#include "check/crossing_checks.h"

#include <set>
#include <variant>

#include "text/wording.h"

namespace diskmgt {

namespace {

const char* const kRequest = "getData";

/// The classes of a request; empty for other entries.
std::vector<std::string> requestedBy(const refhost::TraceEntry& entry) {
    if (entry.byPlugin || entry.call != kRequest || entry.arguments.empty()) return {};
    const auto* const names = std::get_if<std::vector<std::string>>(&entry.arguments.front().second);
    return names == nullptr ? std::vector<std::string>() : *names;
}

}  // namespace

CheckFindings checkRefusals(const std::vector<refhost::TraceEntry>& trace) {
    CheckFindings findings;
    std::string className;
    std::set<std::pair<std::string, std::string>> seen;
    for (const refhost::TraceEntry& entry : trace) {
        const std::vector<std::string> requested = requestedBy(entry);
        if (!requested.empty()) className = joined(requested, ", ");
        if (entry.byPlugin && entry.throws && seen.emplace(className, *entry.throws).second)
            findings.push_back(
                {Check::kValues, true, className, "the host refused " + entry.call + ": " + *entry.throws});
    }
    return findings;
}

CheckFindings checkThread(const std::vector<refhost::TraceEntry>& trace, int thread) {
    struct Foreign {
        std::uint64_t calls = 0;
        std::string first;
    };
    std::map<std::string, Foreign> byClass;
    std::string className;
    for (const refhost::TraceEntry& entry : trace) {
        const std::vector<std::string> requested = requestedBy(entry);
        if (!requested.empty()) className = joined(requested, ", ");
        if (!entry.byPlugin || entry.thread == thread) continue;
        Foreign& foreign = byClass[className];
        if (foreign.calls++ == 0) foreign.first = entry.call;
    }
    CheckFindings findings;
    for (const auto& [requested, foreign] : byClass)
        findings.push_back(
            {Check::kOwnThread, true, requested,
             counted(foreign.calls, "call") + " on a thread that is not the request's, the first is " + foreign.first});
    return findings;
}

std::map<std::string, std::vector<std::string>> callsByClass(const std::vector<refhost::TraceEntry>& trace) {
    std::map<std::string, std::vector<std::string>> calls;
    std::vector<std::string>* present = nullptr;
    for (const refhost::TraceEntry& entry : trace) {
        const std::vector<std::string> requested = requestedBy(entry);
        if (!requested.empty()) {
            present = requested.size() == 1 ? &calls[requested.front()] : nullptr;
            if (present != nullptr) present->clear();
        }
        if (entry.byPlugin && present != nullptr) present->push_back(entry.call);
    }
    return calls;
}

CheckFindings checkOperations(const std::vector<refhost::TraceEntry>& trace, Check check) {
    CheckFindings findings;
    for (const refhost::TraceEntry& entry : trace)
        if (!entry.byPlugin && entry.throws && entry.call != kRequest)
            findings.push_back({check, true, "", entry.call + " threw: " + *entry.throws});
    return findings;
}

}  // namespace diskmgt
