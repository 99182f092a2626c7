#include "serve/cimxml/object_writer.h"

#include <optional>
#include <string_view>

#include "serve/cimxml/cim_failure.h"

namespace diskmgt::serve {

namespace {

/// A disk that was made to show a hundred thousand partitions must not fill the memory with one answer.
constexpr std::size_t kLargestAnswer = std::size_t{64} << 20U;

const char* valueTypeOf(const std::string& type) {
    if (type == "boolean") return "boolean";
    const std::string_view stem = std::string_view(type).substr(0, 4);
    return stem == "uint" || stem == "sint" || stem == "real" ? "numeric" : "string";
}

std::string_view textOf(const std::string& type, const std::string& element) {
    if (type != "boolean") return element;
    return element == "true" ? "TRUE" : "FALSE";
}

void writeLocalNamespacePath(XmlWriter& xml) {
    xml.begin("LOCALNAMESPACEPATH");
    std::string_view rest = refhost::ReferenceHost::kNamespace;
    while (!rest.empty()) {
        const std::string_view part = rest.substr(0, rest.find('/'));
        xml.begin("NAMESPACE", {{"NAME", part}}).end("NAMESPACE");
        rest.remove_prefix(part.size() == rest.size() ? part.size() : part.size() + 1);
    }
    xml.end("LOCALNAMESPACEPATH");
}

/// The name of an instance that is not here, from the text of its path.
void writeForeignName(XmlWriter& xml, const InstanceName& name) {
    if (name.keys.empty()) return writeKeylessName(xml, name.className);
    xml.begin("INSTANCENAME", {{"CLASSNAME", name.className}});
    for (const KeyBinding& key : name.keys)
        xml.begin("KEYBINDING", {{"NAME", key.name}})
            .leaf("KEYVALUE", key.text, {{"VALUETYPE", "string"}})
            .end("KEYBINDING");
    xml.end("INSTANCENAME");
}

/// Null when the property is no reference that can be followed.
const StoredReference* referenceOf(const StoredObject& object, const refhost::PropertyValue& property) {
    for (const StoredReference& reference : object.references)
        if (reference.property == &property) return &reference;
    return nullptr;
}

/// With its namespace: clients use the path of a reference as it is.
void writeReference(XmlWriter& xml, const StoredReference& reference) {
    xml.begin("VALUE.REFERENCE").begin("LOCALINSTANCEPATH");
    writeLocalNamespacePath(xml);
    if (reference.target != nullptr)
        writeInstanceName(xml, *reference.target);
    else
        writeForeignName(xml, *instanceNameFromText(reference.property->elements.front()));
    xml.end("LOCALINSTANCEPATH").end("VALUE.REFERENCE");
}

const refhost::PropertyValue* valueOf(const StoredObject& object, const refhost::PropertyDeclaration& declaration) {
    for (const refhost::PropertyValue& value : object.instance.properties)
        if (value.declaration == &declaration) return &value;
    return nullptr;
}

void writeProperty(XmlWriter& xml, const StoredObject& object, const refhost::PropertyValue& value,
                   const std::string& classOrigin) {
    const refhost::PropertyDeclaration& declared = *value.declaration;
    if (declared.type == "reference") {
        xml.begin("PROPERTY.REFERENCE",
                  {{"NAME", declared.name}, {"REFERENCECLASS", declared.referenceClass}, {"CLASSORIGIN", classOrigin}});
        if (const StoredReference* const reference = referenceOf(object, value)) writeReference(xml, *reference);
        xml.end("PROPERTY.REFERENCE");
        return;
    }
    const char* const element = declared.isArray ? "PROPERTY.ARRAY" : "PROPERTY";
    xml.begin(element, {{"NAME", declared.name}, {"CLASSORIGIN", classOrigin}, {"TYPE", declared.type}});
    if (!value.isNull) {
        if (declared.isArray) xml.begin("VALUE.ARRAY");
        for (const std::string& text : value.elements) xml.leaf("VALUE", textOf(declared.type, text));
        if (declared.isArray) xml.end("VALUE.ARRAY");
    }
    xml.end(element);
}

}  // namespace

void writeInstanceName(XmlWriter& xml, const StoredObject& object) {
    if (xml.written().size() > kLargestAnswer)
        throw CimFailure(CimStatus::kFailed, "The answer is larger than 64 MiB. Ask for less at a time.");
    bool isBegun = false;
    for (const refhost::PropertyDeclaration* const key : object.cls->keys) {
        const refhost::PropertyValue* const value = valueOf(object, *key);
        if (value == nullptr || value->isNull) continue;
        const StoredReference* const reference = referenceOf(object, *value);
        if (key->type == "reference" && reference == nullptr) continue;
        if (!isBegun) xml.begin("INSTANCENAME", {{"CLASSNAME", object.cls->name()}});
        isBegun = true;
        xml.begin("KEYBINDING", {{"NAME", key->name}});
        if (reference != nullptr)
            writeReference(xml, *reference);
        else
            xml.leaf("KEYVALUE", textOf(key->type, value->elements.front()),
                     {{"VALUETYPE", valueTypeOf(key->type)}, {"TYPE", key->type}});
        xml.end("KEYBINDING");
    }
    if (isBegun)
        xml.end("INSTANCENAME");
    else
        writeKeylessName(xml, object.cls->name());
}

void writeInstance(XmlWriter& xml, const StoredObject& object, const InstanceView& view) {
    static const std::string kNoOrigin;
    xml.begin("INSTANCE", {{"CLASSNAME", object.cls->name()}});
    for (const refhost::PropertyValue& value : object.instance.properties) {
        const refhost::PropertyDeclaration& declared = *value.declaration;
        if (!view.properties.wants(declared.name)) continue;
        if (view.upTo != nullptr && view.upTo->findProperty(declared.name) == nullptr) continue;
        writeProperty(xml, object, value, view.hasClassOrigin ? declared.declaredIn : kNoOrigin);
    }
    xml.end("INSTANCE");
}

void writeKeylessName(XmlWriter& xml, const std::string& className) {
    xml.shortForm("INSTANCENAME", {{"CLASSNAME", className}});
}

void writeNamespacePath(XmlWriter& xml, const std::string& hostName) {
    xml.begin("NAMESPACEPATH").leaf("HOST", hostName);
    writeLocalNamespacePath(xml);
    xml.end("NAMESPACEPATH");
}

void writeInstancePath(XmlWriter& xml, const StoredObject& object, const std::string& hostName) {
    xml.begin("INSTANCEPATH");
    writeNamespacePath(xml, hostName);
    writeInstanceName(xml, object);
    xml.end("INSTANCEPATH");
}

}  // namespace diskmgt::serve
