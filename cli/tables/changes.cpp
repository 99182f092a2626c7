#include "cli/tables/changes.h"

#include <map>
#include <type_traits>

#include "cli/tables/text_table.h"
#include "formats/json_writer.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

constexpr std::uint64_t kFormVersion = 1;

template <typename Held>
constexpr bool isList = std::is_same_v<std::decay_t<Held>, std::vector<std::string>>;

const char* wordFor(const Change& change) {
    return change.came() ? "came" : change.went() ? "went" : change.isRenamed ? "renamed" : "changed";
}

/// What is on a device and not mounted need not be a file system.
const char* shownKindOf(const Change& change) {
    constexpr const char* kKindNames[] = {"drive", "volume", "partition", "file system"};
    const bool isMounted =
        (!change.came() && change.before->isMounted()) || (!change.went() && change.after->isMounted());
    if (change.kind == ElementKind::kFileSystem && !isMounted) return "content";
    return kKindNames[static_cast<std::size_t>(change.kind)];
}

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

/// One side of a change. A type says little without its name.
std::string shown(const DocumentElement& element, const std::string& name, const std::optional<DocumentValue>& value) {
    if (!value) return "unknown";
    const std::string text = shown(*value);
    if (text.empty()) return name == kPlaces || name == kMountPoints ? "nothing" : "\"\"";
    const std::string typeName = name == "partition.type" ? shown(element, "partition.typeName") : "";
    return typeName.empty() ? text : text + " (" + typeName + ")";
}

/// What comes and goes with a device, in words.
struct WithIt {
    std::size_t partitions = 0;
    std::vector<std::string> volumes, mountPoints;
};

/// What an element that came or went is, in one line.
std::string summary(ElementKind kind, const DocumentElement& element, const WithIt& with) {
    std::string text;
    const auto add = [&text](const std::string& before, const std::string& fact, const std::string& behind) {
        if (!fact.empty()) text += (text.empty() ? "" : ", ") + before + fact + behind;
    };
    if (kind == ElementKind::kFileSystem) {
        add("", shown(element, "content"), "");
        if (element.isMounted()) add("at ", shown(element, kMountPoints), "");
        add("of ", shown(element, "source"), "");
    } else {
        add("", shown(element, "size"), " bytes");
    }
    add("", shown(element, "partition.typeName"), "");
    add("", shown(element, "model"), "");
    add("serial ", shown(element, "serial"), "");
    add("on ", shown(element, kPlaces), "");
    if (with.partitions != 0) add("with ", counted(with.partitions, "partition"), "");
    add("with ", joined(with.volumes, ", "), "");
    add("mounted on ", joined(with.mountPoints, ", "), "");
    return text;
}

/// The row that says the change too, through all layers.
std::size_t rowOf(const std::vector<Change>& changes, std::size_t position) {
    while (changes[position].saidBy) position = *changes[position].saidBy;
    return position;
}

std::map<std::size_t, WithIt> whatGoesWith(const std::vector<Change>& changes) {
    std::map<std::size_t, WithIt> byRow;
    for (std::size_t i = 0; i < changes.size(); ++i) {
        const Change& change = changes[i];
        if (!change.saidBy || change.isRenamed) continue;
        WithIt& with = byRow[rowOf(changes, i)];
        if (change.kind == ElementKind::kPartition) ++with.partitions;
        if (change.kind == ElementKind::kVolume) with.volumes.push_back(change.name);
        if (const auto* const points = change.element().find<std::vector<std::string>>(kMountPoints))
            with.mountPoints.insert(with.mountPoints.end(), points->begin(), points->end());
    }
    return byRow;
}

void write(JsonWriter& out, const DocumentValue& value) {
    std::visit(
        [&out](const auto& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::uint64_t>) out.number(held);
            if constexpr (std::is_same_v<Held, bool>) out.truth(held);
            if constexpr (std::is_same_v<Held, std::string>) out.text(held);
            if constexpr (isList<Held>) out.texts(held);
        },
        value);
}

void writeSide(JsonWriter& out, const char* side, const DocumentValue* value) {
    if (value != nullptr) write(out.key(side), *value);
}

/// Values that changed with both sides; of an element that came or went all of them, with the one side there is.
void writeValues(JsonWriter& out, const Change& change) {
    out.key("values").beginObject();
    if (change.isRenamed)
        out.key("path")
            .beginObject()
            .textField("old", change.before->name)
            .textField("new", change.after->name)
            .endObject();
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
    const std::map<std::size_t, WithIt> withRows = whatGoesWith(changes);
    for (std::size_t i = 0; i < changes.size(); ++i) {
        const Change& change = changes[i];
        const auto addRow = [&table, &change](const char* word, const std::string& details) {
            table.addRow({word, shownKindOf(change), change.name, details});
        };
        const auto with = withRows.find(i);
        if (change.saidBy) continue;
        if (change.came() || change.went())
            addRow(change.came() ? "added" : "removed",
                   summary(change.kind, change.element(), with == withRows.end() ? WithIt() : with->second));
        if (change.isRenamed) addRow("renamed", "was " + change.before->name);
        for (const ValueChange& value : change.values)
            addRow("changed", value.name + ": " + shown(*change.before, value.name, value.before) + " -> " +
                                  shown(*change.after, value.name, value.after));
    }
    return table.print();
}

void changesJson(const std::vector<Change>& changes, const InventoryDocument& before, const InventoryDocument& after,
                 const std::function<void(const std::string&)>& write) {
    constexpr const char* kKindNames[] = {"drive", "volume", "partition", "fileSystem"};
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
