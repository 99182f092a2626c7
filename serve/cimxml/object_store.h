// ObjectStore: what was collected, indexed by names and by references. Never changes once made.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "refhost/api/reference_host.h"
#include "serve/cimxml/class_tree.h"
#include "serve/cimxml/instance_name.h"

namespace diskmgt::serve {

struct StoredObject;

/// A reference of an association.
struct StoredReference {
    const refhost::PropertyValue* property = nullptr;
    const StoredObject* target = nullptr;  // null: the instance that it names is not in the store
};

/// An association instance that refers to an object, and by which of its references.
struct IncomingReference {
    const StoredObject* association = nullptr;
    const refhost::PropertyValue* property = nullptr;
};

struct StoredObject {
    refhost::Instance instance;
    const CimClass* cls = nullptr;
    std::vector<StoredReference> references;  // those that are object paths; others are as good as null
    std::vector<IncomingReference> incoming;  // classes as declared, then in the order given
};

class ObjectStore {
public:
    /// The declarations must outlive the store. Two instances of one path, as clients read it: the first is kept.
    /// Instances of classes that are not declared are left out. `whyMissing`: classes whose instances are not
    /// known, and why, as a clause.
    ObjectStore(const std::vector<refhost::ClassDeclaration>& classes, std::vector<refhost::Instance> instances,
                std::map<std::string, std::string> whyMissing = {});
    ObjectStore(const ObjectStore&) = delete;
    ObjectStore& operator=(const ObjectStore&) = delete;

    /// The paths of the instances that were left out, because an earlier one has the same.
    const std::vector<std::string>& duplicates() const { return leftOut; }

    const ClassTree& tree() const { return classTree; }
    /// The instances of exactly this class, in the order given.
    const std::vector<const StoredObject*>& objectsOf(const CimClass& cls) const { return byClass[cls.index]; }
    /// Throws `CimFailure` when instances of the class or of one beneath it are not known.
    void requireAll(const CimClass& cls) const;
    /// Throws `CimFailure` when there is no such class or instance, or the name is wrong.
    const StoredObject& find(const InstanceName& name) const;

private:
    /// Of exactly this class.
    void requireKnown(const CimClass& cls) const;
    /// Null when there is none.
    StoredObject* named(const InstanceName& name) const;
    void resolveReferences(StoredObject& object);

    ClassTree classTree;
    std::vector<StoredObject> objects;  // they point at each other, so they do not move
    std::vector<std::vector<const StoredObject*>> byClass;
    std::unordered_map<std::string, StoredObject*> byIdentity;
    std::vector<std::string> leftOut;
    const std::map<std::string, std::string> missing;  // class to why
};

}  // namespace diskmgt::serve
