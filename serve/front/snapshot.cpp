#include "serve/front/snapshot.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>
#include <vector>

namespace diskmgt::serve {

namespace {

/// In the order of the declarations, which clients see in what an instance is associated with.
std::vector<refhost::Instance> instancesOf(std::vector<ServedClass>& classes) {
    std::sort(classes.begin(), classes.end(), [](const ServedClass& one, const ServedClass& other) {
        return one.published.declaration < other.published.declaration;  // elements of one array
    });
    std::vector<refhost::Instance> all;
    for (ServedClass& served : classes)
        all.insert(all.end(), std::make_move_iterator(served.published.instances.begin()),
                   std::make_move_iterator(served.published.instances.end()));
    return all;
}

std::shared_ptr<const std::string> shared(std::string& text) {
    return std::make_shared<const std::string>(std::move(text));
}

}  // namespace

InstanceSnapshot::InstanceSnapshot(const refhost::ReferenceHost& schemaHost, InstancesHead instancesHead,
                                   std::string collected)
    : schema(schemaHost), itsHead(std::move(instancesHead)), records(std::move(collected)) {}

const ObjectStore& InstanceSnapshot::store() const {
    if (made) return *made;
    std::vector<ServedClass> classes =
        unpacked(records, [this](const std::string& name) { return schema.findClass(name); });
    std::map<std::string, std::string> whyMissing = itsHead.leftOut;
    for (const ServedClass& served : classes)
        if (!served.failure.empty() && served.published.instances.empty())
            whyMissing[served.published.declaration->name] = served.failure;
    made = std::make_unique<const ObjectStore>(schema.classes(), instancesOf(classes), std::move(whyMissing));
    records = std::string();
    return *made;
}

Snapshot::Snapshot(const Beginning& beginning, CollectedDocuments documents)
    : stall(std::move(documents.stall)),
      tag(std::to_string(beginning.time) + "-" + std::to_string(beginning.steadyNs)),
      collectedNs(beginning.steadyNs),
      json(shared(documents.json)),
      metrics(shared(documents.metrics)),
      page(shared(documents.page)) {}

}  // namespace diskmgt::serve
