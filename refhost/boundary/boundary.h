// The boundary between host and plug-in: counts what crosses it, records it when asked, and makes crossings fail
// when a plan says so. There is one boundary in a process.
//
// While nothing is recorded and no plan is set, a crossing costs a few plain loads and stores; its arguments are not
// even described.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "plugin/host/tal_api.h"
#include "refhost/api/reference_host.h"

namespace refhost {

using TraceArguments = std::vector<std::pair<std::string, TraceValue>>;

class TAL_API Boundary {
public:
    /// Forgets counts, entries and the plan.
    static void reset();
    static void startTrace();
    static std::vector<TraceEntry> takeTrace();
    /// Counts crossings from 0 again.
    static void setFaultPlan(const FaultPlan& plan);
    static void clearFaultPlan();

    /// While a plan is set: just those since then that were watched, so that a thread that found nobody watching and
    /// counts late disturbs no number.
    static std::size_t crossings() noexcept {
        const std::size_t exact = numbered.load(std::memory_order_relaxed);
        return isFailing() ? exact : exact + unwatched.load(std::memory_order_relaxed);
    }
    /// Counts one crossing by the plug-in and returns its number, the first being 1.
    static std::size_t numberCrossing() noexcept { return numbered.fetch_add(1, std::memory_order_relaxed) + 1; }
    /// Counts one that nobody watches. Two threads at it may lose one: an increment that cannot would be half of what
    /// the crossing costs.
    static void countCrossing() noexcept {
        unwatched.store(unwatched.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
    static bool isWatched() noexcept { return watched.load(std::memory_order_relaxed) != 0; }
    static bool isTracing() noexcept { return (watched.load(std::memory_order_relaxed) & kTracing) != 0; }

    /// Throws when the plan says so; true when the crossing is to answer null, if it can.
    static bool failAsPlanned(std::size_t crossing, const char* call);

private:
    friend class CallRecord;
    static constexpr unsigned int kTracing = 1;
    static constexpr unsigned int kFailing = 2;

    static bool isFailing() noexcept { return (watched.load(std::memory_order_relaxed) & kFailing) != 0; }

    static std::atomic<unsigned int> watched;
    static std::atomic<std::size_t> numbered;
    static std::atomic<std::size_t> unwatched;
};

/// One call while it runs: puts its entry into the trace, and completes it when the call ends.
class TAL_API CallRecord {
public:
    /// Records nothing unless a trace is being recorded.
    template <typename Describe>
    CallRecord(bool byPlugin, const char* call, const Describe& describe) {
        if (Boundary::isTracing()) begin(byPlugin, call, describe());
    }
    CallRecord(const CallRecord&) = delete;
    CallRecord& operator=(const CallRecord&) = delete;

    /// Runs the call; its result goes into the entry as `show` tells it, its exception as text and then onward.
    template <typename Work, typename Show>
    auto run(const Work& work, const Show& show) -> decltype(work()) {
        try {
            if constexpr (std::is_void_v<decltype(work())>) {
                work();
            } else if constexpr (std::is_same_v<Show, std::nullptr_t>) {
                return work();
            } else {
                auto result = work();
                if (isRecorded()) returned(show(result));
                return result;
            }
        } catch (const std::exception& failure) {
            threw(failure.what());
            throw;
        } catch (...) {
            threw("something that is no std::exception");
            throw;
        }
    }

private:
    bool isRecorded() const { return generation != 0; }
    void begin(bool byPlugin, const char* call, TraceArguments arguments);
    void returned(TraceValue value) const;
    void threw(const char* text) const;

    std::uint64_t generation = 0;  // of the trace that holds the entry; 0: none
    std::size_t position = 0;
};

/// How a plain result shows in the trace.
struct AsItIs {
    template <typename Value>
    TraceValue operator()(const Value& value) const {
        return value;
    }
};

/// A crossing by the plug-in. `describe` makes the arguments, `work` is the operation, `show` turns its result into a
/// traced value; null leaves the result out of the trace.
template <typename Describe, typename Work, typename Show = std::nullptr_t>
auto cross(const char* call, const Describe& describe, const Work& work, const Show& show = nullptr)
    -> decltype(work()) {
    if (!Boundary::isWatched()) {
        Boundary::countCrossing();
        return work();
    }
    const std::size_t number = Boundary::numberCrossing();
    return CallRecord(true, call, describe)
        .run(
            [&] {
                (void)Boundary::failAsPlanned(number, call);  // an answer that cannot be null stays as it is
                return work();
            },
            show);
}

/// A crossing that answers with a pointer, which a plan can make null. `show` is not asked about null.
template <typename Describe, typename Work, typename Show>
auto crossToPointer(const char* call, const Describe& describe, const Work& work, const Show& show)
    -> decltype(work()) {
    using Pointer = decltype(work());
    if (!Boundary::isWatched()) {
        Boundary::countCrossing();
        return work();
    }
    const std::size_t number = Boundary::numberCrossing();
    return CallRecord(true, call, describe)
        .run([&]() -> Pointer { return Boundary::failAsPlanned(number, call) ? Pointer() : work(); },
             [&](const Pointer& answer) { return answer ? TraceValue(show(answer)) : TraceValue(); });
}

/// A call by the host into the plug-in: recorded, never counted, never made to fail.
template <typename Describe, typename Work, typename Show = std::nullptr_t>
auto callPlugin(const char* call, const Describe& describe, const Work& work, const Show& show = nullptr)
    -> decltype(work()) {
    if (!Boundary::isTracing()) return work();
    return CallRecord(false, call, describe).run(work, show);
}

/// For a call without arguments.
inline TraceArguments noArguments() { return {}; }

}  // namespace refhost
