// When the front collects, and which collection a request is answered from. It knows neither sockets nor HTTP.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace diskmgt::serve {

class InstanceSnapshot;
struct Snapshot;

/// What a request is answered from. Of one collection, the instances come first.
enum class Wanted { kInstances, kDocuments };

class Freshness {
public:
    /// What this asks of what is around it.
    struct Surroundings {
        std::function<std::int64_t()> nowNs;  // of the steady clock
        /// Calls `due` then; this cannot be taken back.
        std::function<void(std::chrono::milliseconds delay, std::function<void()> due)> after;
        std::function<bool()> askCollector;  // false: there is none
        /// What the collector that was asked is at, as a clause; empty: unknown.
        std::function<std::string()> collectorIsAt;
        std::function<void()> endCollector;  // it is past the limit
    };

    static constexpr std::chrono::milliseconds kPatience{900};  // of a request, so that it is answered within a second

    /// `limitSeconds` of a collection; 0: none.
    Freshness(Surroundings around, double maxAgeSeconds, double limitSeconds);

    /// Calls `done` at once when what it wants of the last collection is young enough, else when the next one has come,
    /// or when patience ends. `isFresh`: it came in time.
    void whenFresh(Wanted wanted, std::function<void(bool isFresh)> done);

    /// Null: nothing was collected yet.
    const std::shared_ptr<const InstanceSnapshot>& instances() const { return latestInstances; }
    const std::shared_ptr<const Snapshot>& snapshot() const { return latest; }
    /// Absent: nothing was collected yet.
    std::optional<std::int64_t> ageSeconds(Wanted wanted) const;
    /// Why there is nothing newer, as a sentence without its end.
    std::string whyNotFresh() const;

    // What comes from outside.
    void collectorCame();
    /// Call it while `collectorIsAt` still answers.
    void collectorWent();
    void instancesCame(std::shared_ptr<const InstanceSnapshot> instances);
    void collected(std::shared_ptr<const Snapshot> snapshot);
    /// Why there will be no collector for a while; empty: one is started.
    void noCollectorBecause(const std::string& sentence) { trouble = sentence; }

private:
    struct Waiting {
        Wanted wanted;
        std::int64_t untilNs;
        std::function<void(bool isFresh)> done;
    };

    std::optional<std::int64_t> collectedNs(Wanted wanted) const;
    void collect();
    /// Takes those out of the list first: an answer may bring the next request.
    template <typename IsServed>
    void answerAll(IsServed isServed, bool isFresh);
    static void answer(const Waiting& one, bool isFresh) noexcept;
    /// Looks at the clock then, unless that is done before.
    void lookBy(std::int64_t dueNs);
    void lookAtClock(std::int64_t dueNs);
    void giveUp();
    /// " while serving VEXSG_DiskDrive", or nothing.
    std::string whileAt() const;

    const Surroundings around;
    const std::int64_t maxAgeNs;
    const std::int64_t limitNs;
    std::shared_ptr<const InstanceSnapshot> latestInstances;
    std::shared_ptr<const Snapshot> latest;
    std::vector<Waiting> waiting;
    bool hasCollector = false;
    bool isCollecting = false;
    std::int64_t beganNs = 0;
    std::set<std::int64_t> looks;  // when timers ring, of the steady clock
    std::string trouble;           // why there is no collector
    std::string lastEnd;           // how the last collection ended when it did not succeed
};

}  // namespace diskmgt::serve
