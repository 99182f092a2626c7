// One request per class, so that what one class cannot answer does not cost the others.
#include "cli/inventory/collection.h"

#include <algorithm>
#include <chrono>
#include <mutex>

#include "cli/inventory/observation.h"

namespace diskmgt_cli {

namespace {

using Clock = std::chrono::steady_clock;

const char* const kHostingSystem = "VEXSG_ComputerSystem";

/// What is there already, for whoever asks on another thread.
struct Collected {
    std::mutex lock;
    Published published;
    const std::time_t startTime = std::time(nullptr);
    const Clock::time_point start = Clock::now();

    Inventory arranged(Published from, const Observations& observations) const {
        Inventory inventory = arrangeInventory(std::move(from), observations);
        inventory.collectedAt = startTime;
        inventory.durationSeconds = std::chrono::duration<double>(Clock::now() - start).count();
        return inventory;
    }
};

void serve(PluginSession& session, const std::string& className, Collected& collected) {
    const std::string failure = session.failureOf(session.host().request({className}));
    PublishedClass cls{session.host().findClass(className), session.host().instances(className)};
    const std::lock_guard<std::mutex> hold(collected.lock);
    collected.published.classes.push_back(std::move(cls));
    if (!failure.empty()) collected.published.failures.push_back({className, failure});
    std::vector<std::string>& missing = collected.published.missingClasses;
    missing.erase(std::remove(missing.begin(), missing.end(), className), missing.end());
}

}  // namespace

Inventory collectInventory(PluginSession& session, const std::function<void(const Inventory&)>& deliverPart) {
    Collected collected;
    collected.published.systems = session.host().instances(kHostingSystem);
    collected.published.missingClasses = inventoryClasses();
    Observations observations;
    {
        const Deadline limit = session.startTimeLimit([&collected, &deliverPart] {
            const std::lock_guard<std::mutex> hold(collected.lock);
            deliverPart(collected.arranged(collected.published, {}));
        });
        (void)session.load();
        for (const std::string& className : inventoryClasses()) serve(session, className, collected);
        observations = observe(collected.published);
    }
    return collected.arranged(std::move(collected.published), observations);
}

ExitStatus reportFailures(const Inventory& inventory) {
    if (inventory.published.failures.empty()) return kDone;
    return reportFailure(inventory.published.failures.front().text);
}

}  // namespace diskmgt_cli
