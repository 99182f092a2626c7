#include "serve/front/freshness.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <iterator>
#include <utility>

#include "serve/front/snapshot.h"
#include "terminal/remarks.h"
#include "text/wording.h"

namespace diskmgt::serve {

namespace {

std::int64_t nanoseconds(double seconds) { return static_cast<std::int64_t>(std::llround(seconds * 1e9)); }

std::chrono::milliseconds wholeMilliseconds(std::int64_t ns) {
    return std::chrono::milliseconds((std::max<std::int64_t>(ns, 0) + 999999) / 1000000);
}

}  // namespace

Freshness::Freshness(Surroundings surroundings, double maxAgeSeconds, double limitSeconds)
    : around(std::move(surroundings)), maxAgeNs(nanoseconds(maxAgeSeconds)), limitNs(nanoseconds(limitSeconds)) {}

std::optional<std::int64_t> Freshness::collectedNs(Wanted wanted) const {
    if (wanted == Wanted::kDocuments) return latest ? std::optional(latest->collectedNs) : std::nullopt;
    return latestInstances ? std::optional(latestInstances->head().beginning.steadyNs) : std::nullopt;
}

void Freshness::whenFresh(Wanted wanted, std::function<void(bool isFresh)> done) {
    const std::int64_t now = around.nowNs();
    if (const auto began = collectedNs(wanted); began && now - *began <= maxAgeNs) return done(true);
    const std::int64_t patienceNs = std::chrono::nanoseconds(kPatience).count();
    waiting.push_back({wanted, now + patienceNs, std::move(done)});
    lookBy(waiting.back().untilNs);
    collect();
}

void Freshness::collect() {
    if (isCollecting || !hasCollector || waiting.empty()) return;
    if (!around.askCollector()) return;
    isCollecting = true;
    beganNs = around.nowNs();
    if (limitNs > 0) lookBy(beganNs + limitNs);
}

void Freshness::lookBy(std::int64_t dueNs) {
    if (!looks.empty() && *looks.begin() <= dueNs) return;
    looks.insert(dueNs);
    around.after(wholeMilliseconds(dueNs - around.nowNs()), [this, dueNs] { lookAtClock(dueNs); });
}

void Freshness::lookAtClock(std::int64_t dueNs) {
    looks.erase(dueNs);  // a timer may ring early by a hair: then it is set again
    const std::int64_t now = around.nowNs();
    answerAll([now](const Waiting& one) { return one.untilNs <= now; }, false);
    if (isCollecting && limitNs > 0 && beganNs + limitNs <= now) giveUp();
    if (!waiting.empty()) lookBy(waiting.front().untilNs);
    if (isCollecting && limitNs > 0) lookBy(beganNs + limitNs);
}

std::string Freshness::whileAt() const {
    const std::string isAt = around.collectorIsAt();
    return isAt.empty() ? "" : " while " + isAt;
}

void Freshness::giveUp() {
    lastEnd =
        "the last collection was given up after " + decimalText(static_cast<double>(limitNs) / 1e9) + " s" + whileAt();
    around.endCollector();
}

/// One that cannot be answered, for lack of memory perhaps, costs no other its answer.
void Freshness::answer(const Waiting& one, bool isFresh) noexcept {
    try {
        one.done(isFresh);
    } catch (const std::exception& failure) {
        writeRemark(std::string("a request could not be answered: ") + failure.what());
    }
}

template <typename IsServed>
void Freshness::answerAll(IsServed isServed, bool isFresh) {
    const auto first = std::stable_partition(waiting.begin(), waiting.end(),
                                             [&isServed](const Waiting& one) { return !isServed(one); });
    const std::vector<Waiting> served(std::make_move_iterator(first), std::make_move_iterator(waiting.end()));
    waiting.erase(first, waiting.end());
    for (const Waiting& one : served) answer(one, isFresh);
}

std::optional<std::int64_t> Freshness::ageSeconds(Wanted wanted) const {
    const auto began = collectedNs(wanted);
    if (!began) return std::nullopt;
    return std::max<std::int64_t>((around.nowNs() - *began) / 1000000000, 0);
}

std::string Freshness::whyNotFresh() const {
    if (!hasCollector && !trouble.empty()) return trouble;
    if (isCollecting) {
        const std::int64_t seconds = (around.nowNs() - beganNs) / 1000000000;
        const std::string isAt = around.collectorIsAt();
        return "collecting for " + (seconds == 0 ? "less than 1" : std::to_string(seconds)) + " s, " +
               (isAt.empty() ? "reading the machine" : isAt);
    }
    if (latest && !latest->stall.empty()) return latest->stall;
    if (!lastEnd.empty()) return lastEnd;
    return hasCollector ? "nothing was collected yet" : "the collector is being started";
}

void Freshness::collectorCame() {
    hasCollector = true;
    trouble.clear();
    collect();
}

void Freshness::collectorWent() {
    if (isCollecting && lastEnd.empty()) lastEnd = "the collector ended" + whileAt() + " and is started again";
    hasCollector = isCollecting = false;
}

void Freshness::instancesCame(std::shared_ptr<const InstanceSnapshot> instances) {
    latestInstances = std::move(instances);
    answerAll([](const Waiting& one) { return one.wanted == Wanted::kInstances; }, true);
}

void Freshness::collected(std::shared_ptr<const Snapshot> snapshot) {
    isCollecting = false;
    lastEnd.clear();
    latest = std::move(snapshot);
    answerAll([](const Waiting& one) { return one.wanted == Wanted::kDocuments; }, true);
    collect();  // for who came since: an answer may have brought the next request
}

}  // namespace diskmgt::serve
