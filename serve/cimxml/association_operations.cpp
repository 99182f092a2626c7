// Operations that follow associations, from an instance or between classes.
#include <algorithm>
#include <optional>
#include <unordered_set>

#include "serve/cimxml/cim_failure.h"
#include "serve/cimxml/class_writer.h"
#include "serve/cimxml/key_identity.h"
#include "serve/cimxml/names.h"
#include "serve/cimxml/object_writer.h"
#include "serve/cimxml/offered_operations.h"

namespace diskmgt::serve {

namespace {

/// A filter by class: null lets every class pass.
const CimClass* filterClass(const ClassTree& tree, const Parameters& parameters, const char* name) {
    const auto given = parameters.className(name);
    if (!given) return nullptr;
    const CimClass* const found = tree.find(*given);
    if (found == nullptr)
        throw CimFailure(CimStatus::kInvalidParameter,
                         std::string(name) + " names the class " + quotedForClient(*given) + ", which there is not.");
    return found;
}

bool passes(const CimClass& cls, const CimClass* filter) { return filter == nullptr || cls.isOrLiesBeneath(*filter); }

bool passes(const refhost::PropertyDeclaration& role, const std::optional<std::string>& filter) {
    return !filter || sameName(role.name, *filter);
}

struct Filters {
    const CimClass* association = nullptr;
    const CimClass* result = nullptr;  // for references: another filter of the association
    std::optional<std::string> role;
    std::optional<std::string> resultRole;
};

Filters filtersOf(const ClassTree& tree, const Parameters& parameters) {
    return {filterClass(tree, parameters, "AssocClass"), filterClass(tree, parameters, "ResultClass"),
            parameters.text("Role"), parameters.text("ResultRole")};
}

/// Both ends are of one kind: objects or classes.
template <typename Thing>
class DistinctThings {
public:
    void add(const Thing* thing) {
        if (seen.insert(thing).second) inOrder.push_back(thing);
    }
    const std::vector<const Thing*>& found() const { return inOrder; }

private:
    std::vector<const Thing*> inOrder;
    std::unordered_set<const Thing*> seen;
};

using Objects = DistinctThings<StoredObject>;
using Classes = DistinctThings<CimClass>;

Objects objectsReferringTo(const StoredObject& source, const Filters& filters) {
    Objects found;
    for (const IncomingReference& incoming : source.incoming)
        if (passes(*incoming.association->cls, filters.result) && passes(*incoming.property->declaration, filters.role))
            found.add(incoming.association);
    return found;
}

Objects objectsAssociatedWith(const StoredObject& source, const Filters& filters) {
    Objects found;
    for (const IncomingReference& incoming : source.incoming) {
        if (!passes(*incoming.association->cls, filters.association)) continue;
        if (!passes(*incoming.property->declaration, filters.role)) continue;
        for (const StoredReference& far : incoming.association->references)
            if (far.property != incoming.property && far.target != nullptr &&
                passes(*far.target->cls, filters.result) && passes(*far.property->declaration, filters.resultRole))
                found.add(far.target);
    }
    return found;
}

/// Whether an instance of the class may be where the reference points.
bool mayPointAt(const ClassTree& tree, const refhost::PropertyDeclaration& reference, const CimClass& cls) {
    const CimClass* const declared = tree.find(reference.referenceClass);
    return declared != nullptr && cls.isOrLiesBeneath(*declared);
}

Classes classesReferringTo(const ClassTree& tree, const CimClass& source, const Filters& filters) {
    Classes found;
    for (const CimClass& association : tree.classes())
        for (const refhost::PropertyDeclaration* const near : association.references)
            if (association.declaration->isAssociation && passes(association, filters.result) &&
                passes(*near, filters.role) && mayPointAt(tree, *near, source))
                found.add(&association);
    return found;
}

Classes classesAssociatedWith(const ClassTree& tree, const CimClass& source, const Filters& filters) {
    Classes found;
    for (const CimClass& association : tree.classes()) {
        if (!association.declaration->isAssociation || !passes(association, filters.association)) continue;
        for (const refhost::PropertyDeclaration* const near : association.references) {
            if (!passes(*near, filters.role) || !mayPointAt(tree, *near, source)) continue;
            for (const refhost::PropertyDeclaration* const far : association.references) {
                const CimClass* const other = tree.find(far->referenceClass);
                if (far != near && other != nullptr && passes(*far, filters.resultRole) &&
                    passes(*other, filters.result))
                    found.add(other);
            }
        }
    }
    return found;
}

/// Clients write a class as a name without keys.
bool isClass(const InstanceName& name) { return name.keys.empty(); }

const CimClass& sourceClass(const OperationContext& context, const InstanceName& name) {
    checkNamespace(name.nameSpace);
    return classOf(context.tree, name.className);
}

const StoredObject& sourceObject(const OperationContext& context, const InstanceName& name) {
    (void)sourceClass(context, name);  // known without a store
    return context.neededStore().find(name);
}

void writePaths(XmlWriter& xml, const std::vector<const StoredObject*>& objects, const std::string& hostName) {
    for (const StoredObject* const object : objects) {
        xml.begin("OBJECTPATH");
        writeInstancePath(xml, *object, hostName);
        xml.end("OBJECTPATH");
    }
}

void writePaths(XmlWriter& xml, const std::vector<const CimClass*>& classes, const std::string& hostName) {
    for (const CimClass* const cls : classes) {
        xml.begin("OBJECTPATH");
        writeClassPath(xml, *cls, hostName);
        xml.end("OBJECTPATH");
    }
}

void writeWhole(XmlWriter& xml, const std::vector<const StoredObject*>& objects, const Parameters& parameters,
                const std::string& hostName) {
    const InstanceView view{parameters.propertyList(), nullptr, parameters.truth("IncludeClassOrigin", false)};
    for (const StoredObject* const object : objects) {
        xml.begin("VALUE.OBJECTWITHPATH");
        writeInstancePath(xml, *object, hostName);
        writeInstance(xml, *object, view);
        xml.end("VALUE.OBJECTWITHPATH");
    }
}

void writeWhole(XmlWriter& xml, const std::vector<const CimClass*>& classes, const Parameters& parameters,
                const std::string& hostName) {
    ClassView view;
    view.properties = parameters.propertyList();
    view.isLocalOnly = false;
    view.hasQualifiers = parameters.truth("IncludeQualifiers", false);
    view.hasClassOrigin = parameters.truth("IncludeClassOrigin", false);
    for (const CimClass* const cls : classes) {
        xml.begin("VALUE.OBJECTWITHPATH");
        writeClassPath(xml, *cls, hostName);
        writeClass(xml, *cls, view);
        xml.end("VALUE.OBJECTWITHPATH");
    }
}

}  // namespace

void associators(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(call, {"ObjectName", "AssocClass", "ResultClass", "Role", "ResultRole",
                                       "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"});
    const InstanceName& name = parameters.neededObject("ObjectName");
    const Filters filters = filtersOf(context.tree, parameters);
    (void)parameters.truth("IncludeQualifiers", false);
    if (isClass(name))
        writeWhole(xml, classesAssociatedWith(context.tree, sourceClass(context, name), filters).found(), parameters,
                   context.hostName);
    else
        writeWhole(xml, objectsAssociatedWith(sourceObject(context, name), filters).found(), parameters,
                   context.hostName);
}

void associatorNames(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(call, {"ObjectName", "AssocClass", "ResultClass", "Role", "ResultRole"});
    const InstanceName& name = parameters.neededObject("ObjectName");
    const Filters filters = filtersOf(context.tree, parameters);
    if (isClass(name))
        writePaths(xml, classesAssociatedWith(context.tree, sourceClass(context, name), filters).found(),
                   context.hostName);
    else
        writePaths(xml, objectsAssociatedWith(sourceObject(context, name), filters).found(), context.hostName);
}

void references(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(
        call, {"ObjectName", "ResultClass", "Role", "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"});
    const InstanceName& name = parameters.neededObject("ObjectName");
    const Filters filters = filtersOf(context.tree, parameters);
    (void)parameters.truth("IncludeQualifiers", false);
    if (isClass(name))
        writeWhole(xml, classesReferringTo(context.tree, sourceClass(context, name), filters).found(), parameters,
                   context.hostName);
    else
        writeWhole(xml, objectsReferringTo(sourceObject(context, name), filters).found(), parameters, context.hostName);
}

void referenceNames(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(call, {"ObjectName", "ResultClass", "Role"});
    const InstanceName& name = parameters.neededObject("ObjectName");
    const Filters filters = filtersOf(context.tree, parameters);
    if (isClass(name))
        writePaths(xml, classesReferringTo(context.tree, sourceClass(context, name), filters).found(),
                   context.hostName);
    else
        writePaths(xml, objectsReferringTo(sourceObject(context, name), filters).found(), context.hostName);
}

}  // namespace diskmgt::serve
