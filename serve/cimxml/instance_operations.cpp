// Operations on instances. LocalOnly and IncludeQualifiers are taken and change nothing, as both may: instances come
// whole and have no qualifiers of their own.
#include "serve/cimxml/key_identity.h"
#include "serve/cimxml/object_writer.h"
#include "serve/cimxml/offered_operations.h"

namespace diskmgt::serve {

namespace {

/// Reads what is taken without effect, so that it is refused when it is wrong.
void readWithoutEffect(const Parameters& parameters) {
    (void)parameters.truth("LocalOnly", true);
    (void)parameters.truth("IncludeQualifiers", false);
}

}  // namespace

void enumerateInstanceNames(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(call, {"ClassName"});
    const CimClass& cls = classOf(context.tree, parameters.neededClassName("ClassName"));
    const ObjectStore& store = context.neededStore();
    store.requireAll(cls);
    for (const CimClass* const one : cls.family)
        for (const StoredObject* const object : store.objectsOf(*one)) writeInstanceName(xml, *object);
}

void enumerateInstances(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(
        call, {"ClassName", "LocalOnly", "DeepInheritance", "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"});
    readWithoutEffect(parameters);
    const CimClass& cls = classOf(context.tree, parameters.neededClassName("ClassName"));
    const bool isDeep = parameters.truth("DeepInheritance", true);
    const InstanceView view{parameters.propertyList(), isDeep ? nullptr : &cls,
                            parameters.truth("IncludeClassOrigin", false)};
    const ObjectStore& store = context.neededStore();
    store.requireAll(cls);
    for (const CimClass* const one : cls.family) {
        for (const StoredObject* const object : store.objectsOf(*one)) {
            xml.begin("VALUE.NAMEDINSTANCE");
            writeInstanceName(xml, *object);
            writeInstance(xml, *object, view);
            xml.end("VALUE.NAMEDINSTANCE");
        }
    }
}

void getInstance(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(
        call, {"InstanceName", "LocalOnly", "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"});
    readWithoutEffect(parameters);
    const InstanceName& name = parameters.neededInstance("InstanceName");
    const InstanceView view{parameters.propertyList(), nullptr, parameters.truth("IncludeClassOrigin", false)};
    checkNamespace(name.nameSpace);
    (void)classOf(context.tree, name.className);  // known without a store
    writeInstance(xml, context.neededStore().find(name), view);
}

}  // namespace diskmgt::serve
