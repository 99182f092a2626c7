#include "serve/cimxml/class_writer.h"

#include <string_view>

#include "serve/cimxml/names.h"
#include "serve/cimxml/object_writer.h"

namespace diskmgt::serve {

namespace {

/// The flavors that differ from what a reader takes for granted: may be overridden, passed on to subclasses, not
/// translated.
using Flavors = XmlWriter::Attributes;

constexpr std::string_view kFalse = "false";
constexpr std::string_view kTrue = "true";

void writeTruth(XmlWriter& xml, const char* name, std::string_view overridable, std::string_view toSubclass) {
    xml.begin("QUALIFIER",
              {{"NAME", name}, {"TYPE", "boolean"}, {"OVERRIDABLE", overridable}, {"TOSUBCLASS", toSubclass}});
    xml.leaf("VALUE", "TRUE").end("QUALIFIER");
}

void writeText(XmlWriter& xml, const char* name, const std::string& text, std::string_view toSubclass,
               std::string_view translatable) {
    if (text.empty()) return;
    xml.begin("QUALIFIER",
              {{"NAME", name}, {"TYPE", "string"}, {"TOSUBCLASS", toSubclass}, {"TRANSLATABLE", translatable}});
    xml.leaf("VALUE", text).end("QUALIFIER");
}

void writeValueNames(XmlWriter& xml, const refhost::PropertyDeclaration& property) {
    if (property.valueNames.empty()) return;
    xml.begin("QUALIFIER", {{"NAME", "ValueMap"}, {"TYPE", "string"}}).begin("VALUE.ARRAY");
    for (const auto& value : property.valueNames) xml.leaf("VALUE", value.first);
    xml.end("VALUE.ARRAY").end("QUALIFIER");
    xml.begin("QUALIFIER", {{"NAME", "Values"}, {"TYPE", "string"}, {"TRANSLATABLE", kTrue}}).begin("VALUE.ARRAY");
    for (const auto& value : property.valueNames) xml.leaf("VALUE", value.second);
    xml.end("VALUE.ARRAY").end("QUALIFIER");
}

bool isOwn(const CimClass& cls, const refhost::PropertyDeclaration& property) {
    return sameName(property.declaredIn, cls.name());
}

void writePropertyQualifiers(XmlWriter& xml, const CimClass& cls, const refhost::PropertyDeclaration& property) {
    if (property.isKey) writeTruth(xml, "Key", kFalse, {});
    const bool overrides =
        isOwn(cls, property) && cls.superclass != nullptr && cls.superclass->findProperty(property.name) != nullptr;
    if (overrides) writeText(xml, "Override", property.name, kFalse, {});
    writeText(xml, "Description", property.description, {}, kTrue);
    writeText(xml, "PUnit", property.unit, {}, {});
    writeValueNames(xml, property);
}

void writeProperty(XmlWriter& xml, const CimClass& cls, const refhost::PropertyDeclaration& property,
                   const ClassView& view) {
    const bool isReference = property.type == "reference";
    const char* const element = isReference ? "PROPERTY.REFERENCE" : property.isArray ? "PROPERTY.ARRAY" : "PROPERTY";
    xml.begin(element,
              {{"NAME", property.name},
               {"CLASSORIGIN", view.hasClassOrigin ? std::string_view(property.declaredIn) : ""},
               {"PROPAGATED", isOwn(cls, property) ? "" : kTrue},
               {isReference ? "REFERENCECLASS" : "TYPE", isReference ? property.referenceClass : property.type}});
    if (view.hasQualifiers) writePropertyQualifiers(xml, cls, property);
    xml.end(element);
}

void writeProperties(XmlWriter& xml, const CimClass& cls, const ClassView& view) {
    for (const refhost::PropertyDeclaration& property : cls.declaration->properties)
        if (view.properties.wants(property.name) && (!view.isLocalOnly || isOwn(cls, property)))
            writeProperty(xml, cls, property, view);
}

}  // namespace

void writeClass(XmlWriter& xml, const CimClass& cls, const ClassView& view) {
    const refhost::ClassDeclaration& declared = *cls.declaration;
    xml.begin("CLASS", {{"NAME", declared.name}, {"SUPERCLASS", declared.superclass}});
    if (view.hasQualifiers) {
        if (declared.isAssociation) writeTruth(xml, "Association", kFalse, {});
        if (declared.isAbstract) writeTruth(xml, "Abstract", {}, kFalse);
        writeText(xml, "Version", declared.version, kFalse, kTrue);
        writeText(xml, "Description", declared.description, {}, kTrue);
    }
    writeProperties(xml, cls, view);
    xml.end("CLASS");
}

void writeClassPath(XmlWriter& xml, const CimClass& cls, const std::string& hostName) {
    xml.begin("CLASSPATH");
    writeNamespacePath(xml, hostName);
    xml.shortForm("CLASSNAME", {{"NAME", cls.name()}}).end("CLASSPATH");
}

void writeClassAsInstance(XmlWriter& xml, const CimClass& cls, const ClassView& view) {
    xml.begin("INSTANCE", {{"CLASSNAME", cls.name()}});
    writeProperties(xml, cls, view);
    xml.end("INSTANCE");
}

void writeClassAsInstancePath(XmlWriter& xml, const CimClass& cls, const std::string& hostName) {
    xml.begin("INSTANCEPATH");
    writeNamespacePath(xml, hostName);
    writeKeylessName(xml, cls.name());
    xml.end("INSTANCEPATH");
}

}  // namespace diskmgt::serve
