#include "formats/inventory_json.h"

#include <cstdint>

#include "formats/account_json.h"
#include "formats/json.h"
#include "text/utc_text.h"

namespace diskmgt {

namespace {

constexpr std::uint64_t kSchemaVersion = 1;

void writeDoubtfulPairs(JsonWriter& out, const std::vector<DoubtfulPair>& pairs) {
    out.beginArray();
    for (const DoubtfulPair& pair : pairs) {
        out.beginObject(JsonLayout::kSpaced).textField("association", pair.association);
        out.textField("from", pair.pairedWith).textField("to", pair.device).textField("rule", "name-contained");
        if (!pair.likely.empty()) out.textField("likely", pair.likely);
        out.endObject();
    }
    out.endArray();
}

void writeInstances(JsonWriter& out, const Published& published) {
    out.beginObject();
    for (const PublishedClass& cls : published.classes) {
        out.key(cls.declaration->name).beginArray();
        for (const refhost::Instance& instance : cls.instances) json::writeInstance(out, instance);
        out.endArray();
    }
    out.endObject();
}

}  // namespace

std::string inventoryJson(const ServerAccount& account, const DocumentChoices& choices) {
    const Inventory& inventory = account.inventory();
    JsonWriter out;
    // One name around everything: top-level names become facts of their own where facter reads the document.
    out.beginObject().key("diskmgt").beginObject();
    out.numberField("schema", kSchemaVersion);
    out.key("generator").beginObject(JsonLayout::kSpaced);
    out.textField("name", "diskmgt").textField("version", DISKMGT_VERSION).endObject();
    out.textField("hostName", inventory.hostName);
    out.textField("collectedAt", utcText(inventory.collectedAt));
    out.truthField("complete", account.isComplete()).key("incomplete");
    json::writeGaps(out, account);
    out.key("devices");
    json::writeDevices(out, account);
    out.key("fileSystems");
    json::writeFileSystems(out, account, choices.all);
    out.numberField("pseudoFileSystems", account.countOf(FileSystemGroup::kPseudo));
    out.key("cimOnly");
    json::writeCimOnly(out, account);
    out.key("doubtfulPairs");
    writeDoubtfulPairs(out, inventory.doubtfulPairs);
    if (!choices.compact) {
        out.key("instances");
        writeInstances(out, inventory.published);
    }
    out.endObject().endObject();
    return out.take();
}

}  // namespace diskmgt
