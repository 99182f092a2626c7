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
struct Progress {
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

void serve(PluginSession& session, const std::string& className, Progress& progress) {
    const std::string failure = session.failureOf(session.host().request({className}));
    PublishedClass cls{session.host().findClass(className), session.host().instances(className)};
    const std::lock_guard<std::mutex> hold(progress.lock);
    progress.published.classes.push_back(std::move(cls));
    if (!failure.empty()) {
        progress.published.failures.push_back(failure);
        progress.published.failedClasses.push_back(className);
    }
    std::vector<std::string>& missing = progress.published.missingClasses;
    missing.erase(std::remove(missing.begin(), missing.end(), className), missing.end());
}

}  // namespace

const std::vector<std::string>& inventoryClasses() {
    static const std::vector<std::string> classes = {"VEXSG_DiskDrive",        "VEXSG_DiskPartition",
                                                     "VEXSG_PartitionPresent", "VEXSG_LogicalDisk",
                                                     "VEXSG_MediaPresent",     "VEXSG_LogicalDiskBasedOnPartition"};
    return classes;
}

Inventory collectInventory(PluginSession& session, const std::function<void(const Inventory&)>& deliverPart) {
    Progress progress;
    progress.published.systems = session.host().instances(kHostingSystem);
    progress.published.missingClasses = inventoryClasses();
    Observations observations;
    {
        const Deadline limit = session.startTimeLimit([&progress, &deliverPart] {
            const std::lock_guard<std::mutex> hold(progress.lock);
            deliverPart(progress.arranged(progress.published, {}));
        });
        (void)session.load();
        for (const std::string& className : inventoryClasses()) serve(session, className, progress);
        observations = observe(progress.published);
    }
    return progress.arranged(std::move(progress.published), observations);
}

ExitStatus reportFailures(const Inventory& inventory) {
    if (inventory.published.failures.empty()) return kDone;
    return reportFailure(inventory.published.failures.front());
}

}  // namespace diskmgt_cli
