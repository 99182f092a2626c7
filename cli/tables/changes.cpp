// One line for people where programs get all values.
#include "cli/tables/changes.h"

#include <type_traits>

#include "cli/tables/text_table.h"
#include "formats/json_writer.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

constexpr std::uint64_t kFormVersion = 1;

template <typename Held>
constexpr bool isList = std::is_same_v<std::decay_t<Held>, std::vector<std::string>>;

const char* wordFor(const Change& change) { return change.came() ? "came" : change.went() ? "went" : "changed"; }

std::string shown(const DocumentValue& value) {
    return std::visit(
        [](const auto& held) -> std::string {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::uint64_t>) return std::to_string(held);
            if constexpr (std::is_same_v<Held, bool>) return held ? "true" : "false";
            if constexpr (std::is_same_v<Held, std::string>) return held;
            if constexpr (isList<Held>) return joined(held, ", ");
        },
        value);
}

std::string shown(const DocumentElement& element, const char* name) {
    const auto found = element.values.find(name);
    return found == element.values.end() ? std::string() : shown(found->second);
}

/// One side of a change. The number of a type says little without its name.
std::string shown(const DocumentElement& element, const std::string& name, const std::optional<DocumentValue>& value) {
    if (!value) return "unknown";
    const std::string text = shown(*value);
    if (text.empty()) return name == kPlaces ? "nothing" : "\"\"";
    return name == "type" || name == "typeByte" ? text + " (" + shown(element, "typeName") + ")" : text;
}

/// What an element that came or went is, in one line.
std::string summary(ElementKind kind, const DocumentElement& element) {
    std::string text;
    const auto add = [&text](const std::string& before, const std::string& fact, const std::string& behind) {
        if (!fact.empty()) text += (text.empty() ? "" : ", ") + before + fact + behind;
    };
    if (kind == ElementKind::kLogicalDisk) {
        add("", shown(element, "fileSystem"), "");
        add("at ", shown(element, "mountPoints"), "");
    } else {
        add("", shown(element, "size"), " bytes");
    }
    add("", shown(element, "typeName"), "");
    add("", shown(element, "model"), "");
    add("serial ", shown(element, "serial"), "");
    add("on ", shown(element, kPlaces), "");
    return text;
}

void write(JsonWriter& out, const DocumentValue& value) {
    std::visit(
        [&out](const auto& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::uint64_t>) out.number(held);
            if constexpr (std::is_same_v<Held, bool>) out.truth(held);
            if constexpr (std::is_same_v<Held, std::string>) out.text(held);
            if constexpr (isList<Held>) {
                out.beginArray();
                for (const std::string& text : held) out.text(text);
                out.endArray();
            }
        },
        value);
}

void writeSide(JsonWriter& out, const char* side, const DocumentValue* value) {
    if (value != nullptr) write(out.key(side), *value);
}

/// Values that changed with both sides; of an element that came or went all of them, with the one side there is.
void writeValues(JsonWriter& out, const Change& change) {
    out.key("values").beginObject();
    for (const ValueChange& value : change.values) {
        out.key(value.name).beginObject();
        writeSide(out, "old", value.before ? &*value.before : nullptr);
        writeSide(out, "new", value.after ? &*value.after : nullptr);
        out.endObject();
    }
    if (change.came() || change.went())
        for (const auto& [name, value] : (change.came() ? change.after : change.before)->values) {
            out.key(name).beginObject();
            writeSide(out, change.came() ? "new" : "old", &value);
            out.endObject();
        }
    out.endObject();
}

void writeDocument(JsonWriter& out, const char* side, const InventoryDocument& document) {
    out.key(side).beginObject().textField("hostName", document.hostName);
    out.textField("collectedAt", document.collectedAt).truthField("complete", document.isComplete).endObject();
}

}  // namespace

std::string changesTable(const std::vector<Change>& changes, const TableStyle& style) {
    if (changes.empty()) return {};
    TextTable table(style);
    table.addColumns({"Change", "Kind", "Name", "Details"});
    const auto addRow = [&table](const Change& change, const std::string& details) {
        constexpr const char* kKindNames[] = {"drive", "partition", "logical disk"};
        table.addRow({wordFor(change), kKindNames[static_cast<std::size_t>(change.kind)], change.name, details});
    };
    for (const Change& change : changes) {
        if (change.came() || change.went())
            addRow(change, summary(change.kind, change.came() ? *change.after : *change.before));
        for (const ValueChange& value : change.values)
            addRow(change, value.name + ": " + shown(*change.before, value.name, value.before) + " -> " +
                               shown(*change.after, value.name, value.after));
    }
    return table.print();
}

void changesJson(const std::vector<Change>& changes, const InventoryDocument& before, const InventoryDocument& after,
                 const std::function<void(const std::string&)>& write) {
    constexpr const char* kKindNames[] = {"drive", "partition", "logicalDisk"};
    JsonWriter out(write);
    out.beginObject().numberField("schema", kFormVersion);
    writeDocument(out, "old", before);
    writeDocument(out, "new", after);
    out.key("changes").beginArray();
    for (const Change& change : changes) {
        out.beginObject().textField("change", wordFor(change));
        out.textField("kind", kKindNames[static_cast<std::size_t>(change.kind)]).textField("name", change.name);
        writeValues(out, change);
        out.endObject();
    }
    out.endArray().endObject();
    out.finish();
}

}  // namespace diskmgt
