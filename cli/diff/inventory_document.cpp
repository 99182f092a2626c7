// Reads a document with the JSON library, which is heavy and therefore kept to this file.
#include "cli/diff/inventory_document.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

namespace diskmgt_cli {

namespace {

using Json = nlohmann::json;

constexpr std::uint64_t kReadableSchema = 1;
const char* const kNoInventory = "is no inventory of \"diskmgt export json\"";

[[noreturn]] void refuse(const std::string& why) { throw std::runtime_error(why); }

std::string position(const std::string& text, std::size_t byte) {
    const std::size_t before = std::min(byte == 0 ? 0 : byte - 1, text.size());
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(before);
    const std::size_t lineStart = before == 0 ? std::string::npos : text.rfind('\n', before - 1);
    const std::size_t column = lineStart == std::string::npos ? before + 1 : before - lineStart;
    return "line " + std::to_string(std::count(text.begin(), end, '\n') + 1) + ", column " + std::to_string(column);
}

/// The document without its plain instances, which may be large. A name that stands twice in one object leaves open
/// what is meant.
Json parsed(const std::string& text) {
    std::vector<std::set<std::string>> names;  // of the open objects, by depth
    bool isInInventory = false;
    const auto visit = [&](int openBrackets, Json::parse_event_t event, Json& value) {
        const auto depth = static_cast<std::size_t>(openBrackets);
        if (event == Json::parse_event_t::object_start) {
            names.resize(depth);  // what is left out here does not report its end
            names.emplace_back();
        } else if (event == Json::parse_event_t::key) {
            const auto& name = value.get_ref<const std::string&>();
            if (!names[depth - 1].insert(name).second)
                refuse("names \"" + name + "\" twice in one object; export it anew");
            if (depth == 1) isInInventory = name == "diskmgt";
            return depth != 2 || !isInInventory || name != "instances";
        }
        return true;
    };
    try {
        return Json::parse(text, visit);
    } catch (const Json::parse_error& error) {
        if (error.byte > text.size()) refuse("ends in the middle, or is no JSON; export it anew");
        refuse("is no JSON: it cannot be read from " + position(text, error.byte) + " on; export it anew");
    } catch (const Json::exception&) {  // a number that no type holds
        refuse("holds a number that cannot be read; export it anew");
    }
}

/// One object of the document and where it stands, for the sentence about what is wrong in it.
class Reading {
public:
    Reading(const Json& readObject, std::string where) : object(readObject), path(std::move(where)) {
        if (!object.is_object()) refuse("has no object as " + path + "; export it anew");
    }

    bool has(const char* name) const { return object.contains(name); }
    std::string text(const char* name) const { return textOf(at(name), name); }
    bool truth(const char* name) const {
        const Json& value = at(name);
        if (!value.is_boolean()) wrong("true or false", name);
        return value.get<bool>();
    }
    std::uint64_t number(const char* name) const {
        const Json& value = at(name);
        if (!value.is_number_unsigned()) wrong("whole number", name);
        return value.get<std::uint64_t>();
    }
    std::vector<std::string> texts(const char* name) const {
        std::vector<std::string> list;
        for (const Json& item : array(name)) list.push_back(textOf(item, name));
        return list;
    }
    template <typename Visit>
    void each(const char* name, const Visit& visit) const {
        std::size_t position = 0;
        for (const Json& item : array(name))
            visit(Reading(item, path + "." + name + "[" + std::to_string(position++) + "]"));
    }

private:
    const Json& at(const char* name) const {
        const auto found = object.find(name);
        if (found == object.end()) refuse("lacks " + path + "." + name + "; export it anew");
        return *found;
    }
    const Json& array(const char* name) const {
        const Json& value = at(name);
        if (!value.is_array()) wrong("list", name);
        return value;
    }
    std::string textOf(const Json& value, const char* name) const {
        if (!value.is_string()) wrong("text", name);
        return value.get<std::string>();
    }
    [[noreturn]] void wrong(const char* kind, const char* name) const {
        refuse("has no " + std::string(kind) + " as " + path + "." + name + "; export it anew");
    }

    const Json& object;
    std::string path;
};

enum class ValueKind { kNumber, kTruth, kText, kTexts };

struct KeyDescription {
    const char* name;
    ValueKind kind;
    bool isAlwaysThere;
};

constexpr KeyDescription kDriveKeys[] = {
    {"size", ValueKind::kNumber, true}, {"partitionCount", ValueKind::kNumber, true},
    {"model", ValueKind::kText, false}, {"serial", ValueKind::kText, false},
    {"wwid", ValueKind::kText, false},
};
constexpr KeyDescription kPartitionKeys[] = {
    {"size", ValueKind::kNumber, true},      {"table", ValueKind::kText, true},
    {"typeName", ValueKind::kText, true},    {"type", ValueKind::kNumber, false},
    {"typeByte", ValueKind::kNumber, false}, {"bootable", ValueKind::kTruth, true},
    {"start", ValueKind::kNumber, false},
};
constexpr KeyDescription kLogicalDiskKeys[] = {
    {"mountPoints", ValueKind::kTexts, true}, {"fileSystem", ValueKind::kText, true},
    {"options", ValueKind::kText, true},      {"fileSystemId", ValueKind::kText, false},
    {"total", ValueKind::kNumber, false},     {"free", ValueKind::kNumber, false},
    {"available", ValueKind::kNumber, false}, {"measuredAtSource", ValueKind::kTruth, false},
};

template <std::size_t count>
DocumentElement readElement(const Reading& from, const char* nameKey, const KeyDescription (&keys)[count]) {
    DocumentElement element;
    element.name = from.text(nameKey);
    for (const KeyDescription& key : keys) {
        if (!key.isAlwaysThere && !from.has(key.name)) continue;
        DocumentValue& value = element.values[key.name];
        if (key.kind == ValueKind::kNumber) value = from.number(key.name);
        if (key.kind == ValueKind::kTruth) value = from.truth(key.name);
        if (key.kind == ValueKind::kText) value = from.text(key.name);
        if (key.kind == ValueKind::kTexts) value = from.texts(key.name);
    }
    return element;
}

/// Gathers elements into a flat list. One that is paired twice stands in the document in two places and is one here:
/// the n-th of its name within one scope is the n-th within another.
class Gathering {
public:
    void beginScope() { seenInScope.clear(); }

    void add(DocumentElement element, const std::string& place) {
        const auto key = std::make_pair(element.name, seenInScope[element.name]++);
        const auto [found, isNew] = positions.try_emplace(key, elements.size());
        if (isNew) {
            elements.push_back(std::move(element));
            placesOf.emplace_back();
        }
        if (!place.empty()) placesOf[found->second].insert(place);
    }

    std::vector<DocumentElement> take() {
        for (std::size_t i = 0; i < elements.size(); ++i)
            elements[i].values[kPlaces] = std::vector<std::string>(placesOf[i].begin(), placesOf[i].end());
        return std::move(elements);
    }

private:
    std::vector<DocumentElement> elements;
    std::vector<std::set<std::string>> placesOf;  // beside the elements
    std::map<std::pair<std::string, std::size_t>, std::size_t> positions;
    std::map<std::string, std::size_t> seenInScope;
};

class DocumentReading {
public:
    InventoryDocument read(const Reading& inventory) {
        document.hostName = inventory.text("hostName");
        document.collectedAt = inventory.text("collectedAt");
        document.isComplete = inventory.truth("complete");
        for (std::string& name : inventory.texts("missingClasses")) document.missingClasses.insert(std::move(name));
        inventory.each("failures", [&](const Reading& failure) {
            document.failures.push_back(failure.text("class") + ": " + failure.text("text"));
        });
        inventory.each("drives", [&](const Reading& drive) {
            document.drives.push_back(readElement(drive, "device", kDriveKeys));
            const std::string device = document.drives.back().name;
            partitions.beginScope();
            readPartitions(drive, "partitions", device);
            readLogicalDisks(drive, "logicalDisks", device);
        });
        partitions.beginScope();
        readPartitions(inventory, "loosePartitions", "");
        readLogicalDisks(inventory, "looseLogicalDisks", "");
        document.partitions = partitions.take();
        document.logicalDisks = logicalDisks.take();
        return std::move(document);
    }

private:
    void readPartitions(const Reading& from, const char* name, const std::string& place) {
        from.each(name, [&](const Reading& partition) {
            DocumentElement element = readElement(partition, "device", kPartitionKeys);
            const std::string device = element.name;
            partitions.add(std::move(element), place);
            readLogicalDisks(partition, "logicalDisks", device);
            if (std::string("logicals") != name) readPartitions(partition, "logicals", device);  // those hold none
        });
    }

    void readLogicalDisks(const Reading& from, const char* name, const std::string& place) {
        logicalDisks.beginScope();
        from.each(name,
                  [&](const Reading& disk) { logicalDisks.add(readElement(disk, "source", kLogicalDiskKeys), place); });
    }

    InventoryDocument document;
    Gathering partitions, logicalDisks;
};

}  // namespace

InventoryDocument readInventoryDocument(const std::string& text) {
    const Json json = parsed(text);
    if (!json.is_object() || !json.contains("diskmgt") || !json["diskmgt"].is_object()) refuse(kNoInventory);
    const Json& inventory = json["diskmgt"];
    const auto schema = inventory.find("schema");
    if (schema == inventory.end() || !schema->is_number_unsigned()) refuse(kNoInventory);
    if (*schema > kReadableSchema)
        refuse("has the newer form " + schema->dump() + "; this diskmgt reads form " + std::to_string(kReadableSchema) +
               ", use a newer one");
    if (*schema == 0U) refuse(kNoInventory);
    return DocumentReading().read(Reading(inventory, "diskmgt"));
}

}  // namespace diskmgt_cli
