#include "serve/snapshot.h"

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

std::map<std::string, std::string> reasonsOf(const CollectedDocuments& documents) {
    std::map<std::string, std::string> reasons;
    for (const MissingClass& one : documents.missing) reasons[one.className] = one.why;
    for (const ServedClass& served : documents.classes)
        if (!served.failure.empty()) reasons[served.published.declaration->name] = served.failure;
    return reasons;
}

std::shared_ptr<const std::string> shared(std::string& text) {
    return std::make_shared<const std::string>(std::move(text));
}

}  // namespace

Snapshot::Snapshot(const std::vector<refhost::ClassDeclaration>& declarations, CollectedDocuments documents)
    : systemName(std::move(documents.systemName)),
      stall(std::move(documents.stall)),
      tag(std::to_string(documents.beginning.time) + "-" + std::to_string(documents.beginning.steadyNs)),
      collectedNs(documents.beginning.steadyNs),
      json(shared(documents.json)),
      metrics(shared(documents.metrics)),
      page(shared(documents.page)),
      store(declarations, instancesOf(documents.classes), reasonsOf(documents)) {}

}  // namespace diskmgt::serve
