#include "refhost/model/instance_store.h"

#include <utility>

#include "refhost/model/instance_object.h"

namespace refhost {

using Instances = std::vector<boost::shared_ptr<InstanceObject>>;

void InstanceStore::beginRequest(std::uint64_t request, const std::vector<const DeclaredClass*>& classes) {
    std::vector<Instances> dropped(classes.size());
    const std::lock_guard<std::mutex> guard(mutex);
    for (std::size_t i = 0; i < classes.size(); ++i) {
        Shelf& shelf = shelves[classes[i]->index()];
        if (shelf.owner > request) continue;
        shelf.owner = request;
        dropped[i].swap(shelf.published);
    }
}

void InstanceStore::publish(const boost::shared_ptr<InstanceObject>& instance, std::uint64_t request) {
    const std::lock_guard<std::mutex> guard(mutex);
    Shelf& shelf = shelves[instance->declaredClass().index()];
    if (request != 0 && shelf.owner > request) return;
    shelf.published.push_back(instance);
}

void InstanceStore::publishForGood(const boost::shared_ptr<InstanceObject>& instance) {
    const std::lock_guard<std::mutex> guard(mutex);
    shelves[instance->declaredClass().index()].permanent.push_back(instance);
}

void InstanceStore::clear() {
    std::vector<Instances> dropped(shelves.size());
    const std::lock_guard<std::mutex> guard(mutex);
    for (std::size_t i = 0; i < shelves.size(); ++i) dropped[i].swap(shelves[i].published);
}

void InstanceStore::append(const Shelf& shelf, Instances& all) {
    all.insert(all.end(), shelf.permanent.begin(), shelf.permanent.end());
    all.insert(all.end(), shelf.published.begin(), shelf.published.end());
}

Instances InstanceStore::instancesOf(const DeclaredClass& declared) const {
    Instances all;
    const std::lock_guard<std::mutex> guard(mutex);
    append(shelves[declared.index()], all);
    return all;
}

Instances InstanceStore::familyOf(const DeclaredClass& declared) const {
    Instances all;
    const std::lock_guard<std::mutex> guard(mutex);
    for (const DeclaredClass* member : declared.family()) append(shelves[member->index()], all);
    return all;
}

}  // namespace refhost
