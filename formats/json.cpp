#include "formats/json.h"

#include <type_traits>
#include <variant>

#include "formats/json_writer.h"
#include "text/readable_text.h"
#include "text/wording.h"

namespace diskmgt::json {

namespace {

/// One value of a declared type. The host's canonical texts of numbers and truths are JSON already.
void writeTyped(JsonWriter& out, const std::string& type, const std::string& text) {
    if (type == "string" || type == "reference" || type == "datetime" || type == "char16")
        out.text(text);
    else
        out.plain(text);
}

void writeValue(JsonWriter& out, const refhost::PropertyValue& property) {
    const refhost::PropertyDeclaration& declaration = *property.declaration;
    if (!declaration.isArray) {
        writeTyped(out, declaration.type, property.elements.front());
        return;
    }
    out.beginArray();
    for (const std::string& element : property.elements) writeTyped(out, declaration.type, element);
    out.endArray();
}

void writeTraced(JsonWriter& out, const refhost::TraceValue& value) {
    std::visit(
        [&out](const auto& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::monostate>) out.null();
            if constexpr (std::is_same_v<Held, bool>) out.truth(held);
            if constexpr (std::is_same_v<Held, std::int64_t>) out.signedNumber(held);
            if constexpr (std::is_same_v<Held, std::uint64_t>) out.number(held);
            if constexpr (std::is_same_v<Held, std::string>) out.text(held);
            if constexpr (std::is_same_v<Held, std::vector<std::string>>) out.texts(held);
        },
        value);
}

void writeClassFields(JsonWriter& out, const refhost::ClassDeclaration& declaration, bool isServed) {
    out.textField("name", declaration.name).textOrNullField("superclass", declaration.superclass);
    out.truthField("abstract", declaration.isAbstract).truthField("association", declaration.isAssociation);
    out.truthField("served", isServed);
    out.textOrNullField("version", declaration.version).textOrNullField("description", declaration.description);
}

void writeProperty(JsonWriter& out, const refhost::PropertyDeclaration& declaration) {
    out.beginObject().textField("name", declaration.name).textField("type", declaration.type);
    out.truthField("array", declaration.isArray).truthField("key", declaration.isKey);
    out.textOrNullField("referenceClass", declaration.referenceClass).textOrNullField("unit", declaration.unit);
    out.textField("declaredIn", declaration.declaredIn).textOrNullField("description", declaration.description);
    out.key("values").beginObject();
    for (const auto& [value, meaning] : declaration.valueNames) out.textField(value, meaning);
    out.endObject().endObject();
}

}  // namespace

void publishedInstances(const refhost::ReferenceHost& host, const std::vector<AnsweredClass>& classes,
                        const std::vector<refhost::LogLine>& log,
                        const std::function<void(const std::string&)>& write) {
    JsonWriter out(write);
    out.beginObject().textField("namespace", refhost::ReferenceHost::kNamespace).key("classes").beginArray();
    for (const auto& [name, answering] : classes) {
        out.beginObject().textField("name", name);
        out.truthField("association", host.findClass(name)->isAssociation).key("instances").beginArray();
        for (const std::string& one : answering)
            host.forEachInstance(one, [&out](const refhost::Instance& instance) { writeInstance(out, instance); });
        out.endArray().endObject();
    }
    out.endArray().key("log").beginArray();
    for (const refhost::LogLine& line : log) {
        out.beginObject().key("severity").signedNumber(line.severity).textField("text", line.text).endObject();
    }
    out.endArray().endObject();
    out.finish();
}

void writeInstance(JsonWriter& out, const refhost::Instance& instance) {
    out.beginObject().textField("path", instance.path).key("properties").beginObject();
    for (const refhost::PropertyValue& property : instance.properties) {
        if (property.isNull) continue;
        out.key(property.declaration->name);
        writeValue(out, property);
    }
    out.endObject().endObject();
}

std::string traceLine(std::size_t number, const refhost::TraceEntry& entry) {
    JsonWriter out(JsonLayout::kCompact);
    out.beginObject().numberField("n", number);
    out.textField("by", entry.byPlugin ? "plugin" : "host").textField("call", entry.call);
    for (const auto& [name, value] : entry.arguments) writeTraced(out.key(name), value);
    if (entry.returns) writeTraced(out.key("returns"), *entry.returns);
    if (entry.throws) out.textField("throws", *entry.throws);
    out.endObject();
    return out.take();
}

std::string forTerminal(const std::string& document) { return withCodedDirectionMarks(document, "\\u"); }

std::string classList(const std::vector<refhost::ClassDeclaration>& classes, const std::vector<std::string>& served) {
    JsonWriter out;
    out.beginObject().textField("namespace", refhost::ReferenceHost::kNamespace).key("classes").beginArray();
    for (const refhost::ClassDeclaration& declaration : classes) {
        out.beginObject();
        writeClassFields(out, declaration, contains(served, declaration.name));
        out.endObject();
    }
    out.endArray().endObject();
    return out.take();
}

std::string classDetails(const refhost::ClassDeclaration& declaration, const std::vector<std::string>& served) {
    JsonWriter out;
    out.beginObject();
    writeClassFields(out, declaration, contains(served, declaration.name));
    out.key("properties").beginArray();
    for (const refhost::PropertyDeclaration& property : declaration.properties) writeProperty(out, property);
    out.endArray().endObject();
    return out.take();
}

std::string pluginIdentity(const refhost::PluginIdentity& identity) {
    JsonWriter out;
    out.beginObject().textField("name", identity.name).textField("version", identity.version);
    out.textField("interfaceVersion", identity.interfaceVersion).numberField("type", identity.type);
    out.textField("file", identity.file).endObject();
    return out.take();
}

}  // namespace diskmgt::json
