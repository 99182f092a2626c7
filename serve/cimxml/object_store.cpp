#include "serve/cimxml/object_store.h"

#include <algorithm>
#include <utility>

#include "serve/cimxml/cim_failure.h"
#include "serve/cimxml/key_identity.h"

namespace diskmgt::serve {

namespace {

/// Empty when a key is a reference that names nothing: no client can ask for such an instance.
std::string identityOrNone(const ClassTree& tree, const CimClass& cls, const refhost::Instance& instance) {
    try {
        return identityOf(tree, cls, instance);
    } catch (const CimFailure&) {
        return {};
    }
}

}  // namespace

ObjectStore::ObjectStore(const std::vector<refhost::ClassDeclaration>& classes,
                         std::vector<refhost::Instance> instances, std::map<std::string, std::string> whyMissing)
    : classTree(classes), byClass(classes.size()), missing(std::move(whyMissing)) {
    objects.reserve(instances.size());
    byIdentity.reserve(instances.size());
    for (refhost::Instance& instance : instances) {
        const CimClass* const cls = classTree.find(instance.className);
        if (cls == nullptr) continue;
        std::string identity = identityOrNone(classTree, *cls, instance);
        if (!identity.empty() && byIdentity.count(identity) != 0) {
            leftOut.push_back(std::move(instance.path));
            continue;
        }
        objects.push_back({std::move(instance), cls, {}, {}});
        byClass[cls->index].push_back(&objects.back());
        if (!identity.empty()) byIdentity.emplace(std::move(identity), &objects.back());
    }
    std::vector<StoredObject*> associations;
    for (StoredObject& object : objects)
        if (!object.cls->references.empty()) associations.push_back(&object);
    std::stable_sort(associations.begin(), associations.end(), [](const StoredObject* left, const StoredObject* right) {
        return left->cls->index < right->cls->index;
    });
    for (StoredObject* const association : associations) resolveReferences(*association);
}

StoredObject* ObjectStore::named(const InstanceName& name) const {
    try {
        const auto found = byIdentity.find(identityOf(classTree, name));
        return found == byIdentity.end() ? nullptr : found->second;
    } catch (const CimFailure&) {
        return nullptr;  // it names nothing that can be here
    }
}

void ObjectStore::resolveReferences(StoredObject& object) {
    for (const refhost::PropertyValue& property : object.instance.properties) {
        if (property.isNull || property.declaration->type != "reference") continue;
        const auto name = instanceNameFromText(property.elements.front());
        if (!name) continue;
        StoredObject* const target = named(*name);
        object.references.push_back({&property, target});
        if (target != nullptr) target->incoming.push_back({&object, &property});
    }
}

void ObjectStore::requireKnown(const CimClass& cls) const {
    const auto found = missing.find(cls.name());
    if (found == missing.end()) return;
    throw CimFailure(CimStatus::kFailed, "The instances of " + cls.name() + " are not known: " + found->second + ".");
}

void ObjectStore::requireAll(const CimClass& cls) const {
    for (const CimClass* const one : cls.family) requireKnown(*one);
}

const StoredObject& ObjectStore::find(const InstanceName& name) const {
    const auto found = byIdentity.find(identityOf(classTree, name));
    if (found != byIdentity.end()) return *found->second;
    requireKnown(*classTree.find(name.className));  // there may be one
    throw CimFailure(CimStatus::kNotFound, "There is no such instance.");
}

}  // namespace diskmgt::serve
