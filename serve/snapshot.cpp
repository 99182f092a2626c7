#include "serve/snapshot.h"

#include <iterator>
#include <utility>
#include <vector>

namespace diskmgt::serve {

namespace {

std::vector<refhost::Instance> instancesOf(std::vector<ServedClass>& classes) {
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

Snapshot::Snapshot(const std::vector<refhost::ClassDeclaration>& declarations, CollectedDocuments documents)
    : systemName(std::move(documents.systemName)),
      stall(std::move(documents.stall)),
      tag(std::to_string(documents.beginning.time) + "-" + std::to_string(documents.beginning.steadyNs)),
      collectedNs(documents.beginning.steadyNs),
      json(shared(documents.json)),
      metrics(shared(documents.metrics)),
      page(shared(documents.page)),
      store(declarations, instancesOf(documents.classes)) {}

}  // namespace diskmgt::serve
