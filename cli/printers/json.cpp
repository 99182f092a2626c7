// Builds documents with the JSON library, which is heavy to compile and therefore kept to this file. The one document
// that grows with the machine is written as it goes; the library only quotes what is hard to quote.
#include "cli/printers/json.h"

#include <charconv>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <type_traits>
#include <utility>
#include <variant>

#include "cli/printers/json_writer.h"

namespace diskmgt_cli::json {

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

/// The host's texts of numbers are canonical, which is how integers stand in a document.
template <typename Number>
void writeNumber(JsonWriter& writer, const std::string& text) {
    Number value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end)
        writer.text(text);  // cannot happen: the host made the text from a number
    else if constexpr (std::is_floating_point_v<Number>)
        writer.literal(written(value, kOneLine));
    else
        writer.literal(text);
}

/// One value of a declared type from the host's canonical text.
void writeValue(JsonWriter& writer, const std::string& type, const std::string& text) {
    if (type.rfind("uint", 0) == 0)
        writeNumber<std::uint64_t>(writer, text);
    else if (type.rfind("sint", 0) == 0)
        writeNumber<std::int64_t>(writer, text);
    else if (type.rfind("real", 0) == 0)
        writeNumber<double>(writer, text);
    else if (type == "boolean")
        writer.literal(text == "true" ? "true" : "false");
    else
        writer.text(text);
}

void writeProperty(JsonWriter& writer, const refhost::PropertyValue& property) {
    const refhost::PropertyDeclaration& declaration = *property.declaration;
    writer.key(declaration.name);
    if (!declaration.isArray) {
        writeValue(writer, declaration.type, property.elements.front());
        return;
    }
    writer.openArray();
    for (const std::string& element : property.elements) writeValue(writer, declaration.type, element);
    writer.closeArray();
}

void writeInstance(JsonWriter& writer, const refhost::Instance& instance) {
    writer.openObject();
    writer.key("path");
    writer.text(instance.path);
    writer.key("properties");
    writer.openObject();
    for (const refhost::PropertyValue& property : instance.properties)
        if (!property.isNull) writeProperty(writer, property);
    writer.closeObject();
    writer.closeObject();
}

void writeClass(JsonWriter& writer, const refhost::ReferenceHost& host, const std::string& name) {
    writer.openObject();
    writer.key("name");
    writer.text(name);
    writer.key("association");
    writer.literal(host.findClass(name)->isAssociation ? "true" : "false");
    writer.key("instances");
    writer.openArray();
    host.forEachInstance(name, [&writer](const refhost::Instance& instance) { writeInstance(writer, instance); });
    writer.closeArray();
    writer.closeObject();
}

void writeLogLine(JsonWriter& writer, const refhost::LogLine& line) {
    writer.openObject();
    writer.key("severity");
    writer.literal(std::to_string(line.severity));
    writer.key("text");
    writer.text(line.text);
    writer.closeObject();
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
    JsonWriter writer(write, quoted);
    writer.openObject();
    writer.key("namespace");
    writer.text(refhost::ReferenceHost::kNamespace);
    writer.key("classes");
    writer.openArray();
    for (const std::string& name : classNames) writeClass(writer, host, name);
    writer.closeArray();
    writer.key("log");
    writer.openArray();
    for (const refhost::LogLine& line : log) writeLogLine(writer, line);
    writer.closeArray();
    writer.closeObject();
    writer.finish();
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

}  // namespace diskmgt_cli::json
