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
        throw CimFailure(CimStatus::kInvalidParameter, std::string(name) + " names the class " +
                                                           quotedForClient(*given) + ", which is not declared.");
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
            if (passes(association, filters.result) && passes(*near, filters.role) && mayPointAt(tree, *near, source))
                found.add(&association);
    return found;
}

Classes classesAssociatedWith(const ClassTree& tree, const CimClass& source, const Filters& filters) {
    Classes found;
    for (const CimClass& association : tree.classes()) {
        if (!passes(association, filters.association)) continue;
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

struct Source {
    const InstanceName& name;
    bool isClassName;  // written so, and not as an instance name without keys

    bool isClass() const { return name.keys.empty(); }
};

Source sourceOf(const Parameters& parameters) {
    return {parameters.neededObject("ObjectName"), parameters.isClass("ObjectName")};
}

const CimClass& sourceClass(const OperationContext& context, const Source& source) {
    checkNamespace(source.name.nameSpace);
    return classOf(context.tree, source.name.className);
}

/// Without a class in the filters the answer is of what is known.
const StoredObject& sourceObject(const OperationContext& context, const Source& source, const Filters& filters) {
    (void)sourceClass(context, source);  // known without a store
    const ObjectStore& store = context.neededStore();
    for (const CimClass* const wanted : {filters.association, filters.result})
        if (wanted != nullptr) store.requireAll(*wanted);
    return store.find(source.name);
}

/// Classes are answered in the form that the source had: a client that gives an instance name reads nothing else.
void writePath(XmlWriter& xml, const CimClass& cls, const Source& source, const std::string& hostName) {
    if (source.isClassName)
        writeClassPath(xml, cls, hostName);
    else
        writeClassAsInstancePath(xml, cls, hostName);
}

void writeNames(const OperationContext& context, const std::vector<const StoredObject*>& objects, XmlWriter& xml) {
    for (const StoredObject* const object : objects) {
        xml.begin("OBJECTPATH");
        writeInstancePath(xml, *object, context.hostName);
        xml.end("OBJECTPATH");
    }
}

void writeNames(const OperationContext& context, const std::vector<const CimClass*>& classes, const Source& source,
                XmlWriter& xml) {
    for (const CimClass* const cls : classes) {
        xml.begin("OBJECTPATH");
        writePath(xml, *cls, source, context.hostName);
        xml.end("OBJECTPATH");
    }
}

void writeWhole(const OperationContext& context, const std::vector<const StoredObject*>& objects,
                const Parameters& parameters, XmlWriter& xml) {
    const InstanceView view{parameters.propertyList(), nullptr, parameters.truth("IncludeClassOrigin", false)};
    for (const StoredObject* const object : objects) {
        xml.begin("VALUE.OBJECTWITHPATH");
        writeInstancePath(xml, *object, context.hostName);
        writeInstance(xml, *object, view);
        xml.end("VALUE.OBJECTWITHPATH");
    }
}

void writeWhole(const OperationContext& context, const std::vector<const CimClass*>& classes, const Source& source,
                const Parameters& parameters, XmlWriter& xml) {
    ClassView view;
    view.properties = parameters.propertyList();
    view.isLocalOnly = false;
    view.hasQualifiers = parameters.truth("IncludeQualifiers", false);
    view.hasClassOrigin = parameters.truth("IncludeClassOrigin", false);
    for (const CimClass* const cls : classes) {
        xml.begin("VALUE.OBJECTWITHPATH");
        writePath(xml, *cls, source, context.hostName);
        if (source.isClassName)
            writeClass(xml, *cls, view);
        else
            writeClassAsInstance(xml, *cls, view);
        xml.end("VALUE.OBJECTWITHPATH");
    }
}

}  // namespace

void associators(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(call, {"ObjectName", "AssocClass", "ResultClass", "Role", "ResultRole",
                                       "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"});
    const Source source = sourceOf(parameters);
    const Filters filters = filtersOf(context.tree, parameters);
    (void)parameters.truth("IncludeQualifiers", false);  // refused when it is wrong, also where it has no effect
    if (source.isClass())
        writeWhole(context, classesAssociatedWith(context.tree, sourceClass(context, source), filters).found(), source,
                   parameters, xml);
    else
        writeWhole(context, objectsAssociatedWith(sourceObject(context, source, filters), filters).found(), parameters,
                   xml);
}

void associatorNames(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(call, {"ObjectName", "AssocClass", "ResultClass", "Role", "ResultRole"});
    const Source source = sourceOf(parameters);
    const Filters filters = filtersOf(context.tree, parameters);
    if (source.isClass())
        writeNames(context, classesAssociatedWith(context.tree, sourceClass(context, source), filters).found(), source,
                   xml);
    else
        writeNames(context, objectsAssociatedWith(sourceObject(context, source, filters), filters).found(), xml);
}

void references(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(
        call, {"ObjectName", "ResultClass", "Role", "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"});
    const Source source = sourceOf(parameters);
    const Filters filters = filtersOf(context.tree, parameters);
    (void)parameters.truth("IncludeQualifiers", false);
    if (source.isClass())
        writeWhole(context, classesReferringTo(context.tree, sourceClass(context, source), filters).found(), source,
                   parameters, xml);
    else
        writeWhole(context, objectsReferringTo(sourceObject(context, source, filters), filters).found(), parameters,
                   xml);
}

void referenceNames(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(call, {"ObjectName", "ResultClass", "Role"});
    const Source source = sourceOf(parameters);
    const Filters filters = filtersOf(context.tree, parameters);
    if (source.isClass())
        writeNames(context, classesReferringTo(context.tree, sourceClass(context, source), filters).found(), source,
                   xml);
    else
        writeNames(context, objectsReferringTo(sourceObject(context, source, filters), filters).found(), xml);
}

}  // namespace diskmgt::serve
