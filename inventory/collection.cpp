// One request per class, so that what one class cannot answer does not cost the others.
#include "inventory/collection.h"

#include <algorithm>
#include <utility>

#include "inventory/observation.h"
#include "session/packed_classes.h"
#include "worker/worker.h"

namespace diskmgt {

namespace {

const char* const kHostingSystem = "VEXSG_ComputerSystem";

/// What is known by and by.
struct Collected {
    Published published;
    Beginning beginning;

    Inventory arranged(const Observations& observations) {
        Inventory inventory = arrangeInventory(std::move(published), observations);
        inventory.collectedAt = beginning.time;
        inventory.durationSeconds = beginning.secondsAgo();
        return inventory;
    }
};

Collected nothingYet(PluginSession& session) {
    Collected collected;
    collected.published.systems = session.host().instances(kHostingSystem);
    collected.published.missingClasses = inventoryClasses();
    return collected;
}

void add(ServedClass served, Published& published) {
    const std::string& name = served.published.declaration->name;
    std::vector<std::string>& missing = published.missingClasses;
    missing.erase(std::remove(missing.begin(), missing.end(), name), missing.end());
    if (!served.failure.empty()) published.failures.push_back({name, std::move(served.failure)});
    published.classes.push_back(std::move(served.published));
}

ServedClass serve(PluginSession& session, const std::string& className) {
    ServedClass served;
    served.failure = PluginSession::failureOf(session.request({className}));
    served.published = {session.host().findClass(className), session.host().instances(className)};
    return served;
}

}  // namespace

Inventory collectInventory(PluginSession& session) {
    Collected collected = nothingYet(session);
    worker::makeKnown(packed(collected.beginning));
    Observations observations;
    {
        const Deadline limit = session.startTimeLimit(true);
        (void)session.load();
        for (const std::string& className : inventoryClasses()) {
            ServedClass served = serve(session, className);
            worker::makeKnown(packed(served));
            add(std::move(served), collected.published);
        }
        observations = observe(collected.published);
    }
    return collected.arranged(observations);
}

Inventory knownInventory(PluginSession& session, const std::string& known) {
    Collected collected = nothingYet(session);
    const auto declarationOf = [&session](const std::string& name) { return session.host().findClass(name); };
    for (ServedClass& served : unpacked(known, collected.beginning, declarationOf))
        add(std::move(served), collected.published);
    return collected.arranged({});
}

ExitStatus reportFailures(const Inventory& inventory) {
    if (inventory.published.failures.empty()) return kDone;
    return reportFailure(inventory.published.failures.front().text);
}

}  // namespace diskmgt
