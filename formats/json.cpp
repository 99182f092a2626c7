// Builds documents with the JSON library, which is heavy to compile and therefore kept to this file. The one document
// that grows with the machine is written as it goes; the library only quotes what is hard to quote.
#include "formats/json.h"

#include <nlohmann/json.hpp>
#include <type_traits>
#include <utility>
#include <variant>

#include "formats/json_writer.h"
#include "text/readable_text.h"

namespace diskmgt::json {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kOneLine = -1;
constexpr int kIndent = 2;

/// Escapes DEL and U+0080 to U+009F, which the library leaves raw and which some terminals obey. In a document both
/// can only stand inside texts.
std::string withoutRawControls(std::string document) {
    if (document.find_first_of("\x7F\xC2") == std::string::npos) return document;
    std::string escaped;
    escaped.reserve(document.size());
    for (std::size_t i = 0; i < document.size(); ++i) {
        const auto byte = static_cast<unsigned char>(document[i]);
        const auto next = i + 1 < document.size() ? static_cast<unsigned char>(document[i + 1]) : 0U;
        if (byte == 0x7F) {
            escaped += "\\u007f";
        } else if (byte == 0xC2 && next < 0xA0) {
            constexpr char kDigits[] = "0123456789abcdef";
            escaped += "\\u00";
            escaped += kDigits[next >> 4U];
            escaped += kDigits[next & 0xFU];
            ++i;
        } else {
            escaped += document[i];
        }
    }
    return escaped;
}

std::string written(const Json& document, int indent) {
    return withoutRawControls(document.dump(indent, ' ', false, Json::error_handler_t::replace));
}

std::string page(const Json& document) { return written(document, kIndent) + "\n"; }

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

Json tracedValue(const refhost::TraceValue& value) {
    return std::visit(
        [](const auto& held) -> Json {
            if constexpr (std::is_same_v<std::decay_t<decltype(held)>, std::monostate>)
                return nullptr;
            else
                return held;
        },
        value);
}

Json textOrNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

Json classObject(const refhost::ClassDeclaration& declaration) {
    return {{"name", declaration.name},
            {"superclass", textOrNull(declaration.superclass)},
            {"abstract", declaration.isAbstract},
            {"association", declaration.isAssociation},
            {"version", textOrNull(declaration.version)},
            {"description", textOrNull(declaration.description)}};
}

Json propertyObject(const refhost::PropertyDeclaration& declaration) {
    Json object = {{"name", declaration.name},
                   {"type", declaration.type},
                   {"array", declaration.isArray},
                   {"key", declaration.isKey},
                   {"referenceClass", textOrNull(declaration.referenceClass)},
                   {"unit", textOrNull(declaration.unit)},
                   {"declaredIn", declaration.declaredIn},
                   {"description", textOrNull(declaration.description)}};
    Json values = Json::object();
    for (const auto& [value, meaning] : declaration.valueNames) values[value] = meaning;
    object["values"] = std::move(values);
    return object;
}

}  // namespace

void publishedInstances(const refhost::ReferenceHost& host, const std::vector<std::string>& classNames,
                        const std::vector<refhost::LogLine>& log,
                        const std::function<void(const std::string&)>& write) {
    JsonWriter out(write);
    out.beginObject().textField("namespace", refhost::ReferenceHost::kNamespace).key("classes").beginArray();
    for (const std::string& name : classNames) {
        out.beginObject().textField("name", name);
        out.truthField("association", host.findClass(name)->isAssociation).key("instances").beginArray();
        host.forEachInstance(name, [&out](const refhost::Instance& instance) { writeInstance(out, instance); });
        out.endArray().endObject();
    }
    out.endArray().key("log").beginArray();
    for (const refhost::LogLine& line : log) {
        out.beginObject().key("severity").plain(std::to_string(line.severity));
        out.textField("text", line.text).endObject();
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
    Json line = {{"n", number}, {"by", entry.byPlugin ? "plugin" : "host"}, {"call", entry.call}};
    for (const auto& [name, value] : entry.arguments) line[name] = tracedValue(value);
    if (entry.returns) line["returns"] = tracedValue(*entry.returns);
    if (entry.throws) line["throws"] = *entry.throws;
    return written(line, kOneLine) + "\n";
}

std::string pairs(const diskmgt_col::PropertyMap& partition) {
    Json list = Json::array();
    for (const auto& [name, value] : partition) list.push_back(Json::array({name, value}));
    return written(list, kOneLine);
}

std::string quoted(const std::string& text) { return written(text, kOneLine); }

std::string forTerminal(const std::string& document) { return withCodedDirectionMarks(document, "\\u"); }

std::string classList(const std::vector<refhost::ClassDeclaration>& classes) {
    Json list = Json::array();
    for (const refhost::ClassDeclaration& declaration : classes) list.push_back(classObject(declaration));
    return page({{"namespace", refhost::ReferenceHost::kNamespace}, {"classes", std::move(list)}});
}

std::string classDetails(const refhost::ClassDeclaration& declaration) {
    Json object = classObject(declaration);
    Json properties = Json::array();
    for (const refhost::PropertyDeclaration& property : declaration.properties)
        properties.push_back(propertyObject(property));
    object["properties"] = std::move(properties);
    return page(object);
}

std::string pluginIdentity(const refhost::PluginIdentity& identity) {
    return page({{"name", identity.name},
                 {"version", identity.version},
                 {"interfaceVersion", identity.interfaceVersion},
                 {"type", identity.type},
                 {"file", identity.file}});
}

}  // namespace diskmgt::json
