#include "inventory/collection.h"

#include <algorithm>
#include <utility>

#include "inventory/observation.h"
#include "schema/vocabulary.h"
#include "session/packed_classes.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

Published readPublished(PluginSession& session, const std::string& known, const CollectedFacts& facts) {
    Published published;
    published.systems = session.host().instances(kHostingSystem);
    published.missingClasses = inventoryClasses();
    const auto declarationOf = [&session](const std::string& name) { return session.host().findClass(name); };
    for (ServedClass& served : unpacked(known, declarationOf)) {
        const std::string& name = served.published.declaration->name;
        if (!contains(inventoryClasses(), name)) continue;  // the rest is for those who ask for classes
        std::vector<std::string>& missing = published.missingClasses;
        missing.erase(std::remove(missing.begin(), missing.end(), name), missing.end());
        if (!served.failure.empty()) published.failures.push_back({name, std::move(served.failure)});
        published.classes.push_back(std::move(served.published));
    }
    for (const std::string& className : published.missingClasses) {
        const auto leftOut = facts.leftOut.find(className);
        if (leftOut != facts.leftOut.end()) published.failures.push_back({className, leftOut->second.text, true});
    }
    return published;
}

}  // namespace

Collection readCollection(PluginSession& session, const std::string& known, const worker::EarlyEnd& end) {
    Collection collection;
    collection.end = end;
    collection.facts = unpackedFacts(known);
    const Beginning beginning = unpackedBeginning(known);
    Published published = readPublished(session, known, collection.facts);
    const Observations observations = observe(published, collection.facts.figures);
    collection.inventory = arrangeInventory(std::move(published), observations);
    collection.inventory.collectedAt = beginning.time;
    collection.inventory.durationSeconds = beginning.secondsAgo();
    return collection;
}

ExitStatus reportFailures(const Collection& collection) {
    const Published& published = collection.inventory.published;
    ExitStatus status = kDone;
    std::vector<std::string> leftOut;
    const ClassFailure* firstLeftOut = nullptr;
    for (const ClassFailure& failure : published.failures) {
        if (!failure.isLeftOut) {
            if (status == kDone) status = reportFailure(failure.text);
            continue;
        }
        if (firstLeftOut == nullptr) firstLeftOut = &failure;
        leftOut.push_back(failure.className);
    }
    if (firstLeftOut != nullptr) status = reportNotServed(leftOut, firstLeftOut->text);
    const bool isMountSilent =
        collection.facts.figures &&
        std::any_of(collection.facts.figures->begin(), collection.facts.figures->end(),
                    [](const MountFigure& figure) { return figure.outcome == MountFigure::Outcome::kNoAnswer; });
    if (isMountSilent) status = kTimedOut;
    return std::max(status, collection.end.status);
}

}  // namespace diskmgt
