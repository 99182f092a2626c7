#include "refhost/boundary/boundary.h"

#include <unistd.h>

#include <mutex>

#include "plugin/host/tal_exception.h"

namespace refhost {

namespace {

struct Watch {
    std::mutex mutex;
    std::vector<TraceEntry> entries;
    std::uint64_t generation = 1;  // raised when entries are handed over; calls still running then leave theirs alone
    FaultPlan plan;
    bool planned = false;
};

Watch& watch() {
    static Watch& kept = *new Watch;  // never destroyed: plug-ins may log while the process ends
    return kept;
}

}  // namespace

std::atomic<unsigned int> Boundary::watched{0};
std::atomic<std::size_t> Boundary::numbered{0};
std::atomic<std::size_t> Boundary::unwatched{0};

void Boundary::reset() {
    clearFaultPlan();
    (void)takeTrace();
    numbered.store(0, std::memory_order_relaxed);
    unwatched.store(0, std::memory_order_relaxed);
}

void Boundary::startTrace() {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    watched.fetch_or(kTracing, std::memory_order_relaxed);
}

std::vector<TraceEntry> Boundary::takeTrace() {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    watched.fetch_and(~kTracing, std::memory_order_relaxed);
    ++watch().generation;
    return std::exchange(watch().entries, {});
}

void Boundary::setFaultPlan(const FaultPlan& plan) {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    watch().plan = plan;
    watch().planned = true;
    numbered.store(0, std::memory_order_relaxed);
    unwatched.store(0, std::memory_order_relaxed);
    watched.fetch_or(kFailing, std::memory_order_relaxed);
}

void Boundary::clearFaultPlan() {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    watch().planned = false;
    watched.fetch_and(~kFailing, std::memory_order_relaxed);
}

bool Boundary::failAsPlanned(std::size_t crossing, const char* call) {
    FaultKind kind{};
    {
        const std::lock_guard<std::mutex> guard(watch().mutex);
        const FaultPlan& plan = watch().plan;
        const bool isDue = plan.fromThenOn ? crossing >= plan.crossing : crossing == plan.crossing;
        if (!watch().planned || !isDue) return false;
        kind = plan.kind;
    }
    const std::string text = "planned failure of crossing " + std::to_string(crossing) + ", " + call;
    switch (kind) {
        case FaultKind::kTalException:
            throw NVEXTAL20::TTALException(text);
        case FaultKind::kStandardException:
            throw std::runtime_error(text);
        case FaultKind::kForeignException:
            throw static_cast<int>(crossing);
        case FaultKind::kNullResult:
            break;
    }
    return true;
}

void CallRecord::begin(bool byPlugin, const char* call, TraceArguments arguments) {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    if (!Boundary::isTracing()) return;  // another thread took the trace
    generation = watch().generation;
    position = watch().entries.size();
    TraceEntry entry;
    entry.byPlugin = byPlugin;
    entry.call = call;
    entry.arguments = std::move(arguments);
    entry.thread = ::gettid();
    watch().entries.push_back(std::move(entry));
}

void CallRecord::returned(TraceValue value) const {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    if (generation == watch().generation) watch().entries[position].returns = std::move(value);
}

void CallRecord::threw(const char* text) const {
    const std::lock_guard<std::mutex> guard(watch().mutex);
    if (generation == watch().generation) watch().entries[position].throws = text;
}

}  // namespace refhost
