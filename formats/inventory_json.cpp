// Drives with everything on them nested, then what is on no drive, then the plain instances.
#include "formats/inventory_json.h"

#include <cstddef>

#include "formats/json.h"
#include "formats/json_writer.h"
#include "text/utc_text.h"

namespace diskmgt {

namespace {

constexpr std::uint64_t kSchemaVersion = 1;

class Writing {
public:
    explicit Writing(const Inventory& shown) : inventory(shown) {}

    std::string document() {
        // One name around everything: top-level names become facts of their own where facter reads the document.
        out.beginObject().key("diskmgt").beginObject();
        out.numberField("schema", kSchemaVersion);
        out.key("generator").beginObject();
        out.textField("name", "diskmgt").textField("version", DISKMGT_VERSION).endObject();
        out.textField("hostName", inventory.hostName);
        out.textField("collectedAt", utcText(inventory.collectedAt));
        out.truthField("complete", inventory.isComplete());
        texts("missingClasses", inventory.published.missingClasses);
        failures();
        out.key("drives").beginArray();
        for (const Drive& drive : inventory.drives) write(drive);
        out.endArray();
        partitions("loosePartitions", inventory.loosePartitions);
        logicalDisks("looseLogicalDisks", inventory.looseLogicalDisks);
        doubtfulPairs();
        instances();
        out.endObject().endObject();
        return out.take();
    }

private:
    void texts(const char* name, const std::vector<std::string>& values) {
        out.key(name).beginArray();
        for (const std::string& value : values) out.text(value);
        out.endArray();
    }

    void knownText(const char* name, const std::string& value) {
        if (!value.empty()) out.textField(name, value);
    }

    void failures() {
        out.key("failures").beginArray();
        for (const ClassFailure& failure : inventory.published.failures)
            out.beginObject().textField("class", failure.className).textField("text", failure.text).endObject();
        out.endArray();
    }

    void write(const Drive& drive) {
        out.beginObject().textField("device", drive.device).numberField("size", drive.size);
        knownText("model", drive.identity.model);
        knownText("serial", drive.identity.serial);
        knownText("wwid", drive.identity.wwid);
        out.numberField("partitionCount", drive.partitionCount);
        partitions("partitions", drive.partitions);
        logicalDisks("logicalDisks", drive.logicalDisks);
        out.endObject();
    }

    void partitions(const char* name, const std::vector<std::size_t>& positions) {
        out.key(name).beginArray();
        for (const std::size_t position : positions) write(inventory.partitions[position]);
        out.endArray();
    }

    void write(const Partition& partition) {
        out.beginObject().textField("device", partition.device).numberField("size", partition.size);
        out.textField("table", partition.table == TableKind::kGpt ? "gpt" : "mbr");
        out.textField("typeName", partition.typeName).numberField("type", partition.type);
        out.numberField("typeByte", partition.typeByte).truthField("bootable", partition.isBootable);
        if (partition.start) {
            out.numberField("start", *partition.start);
            out.textField("startFrom", partition.startOrigin == StartOrigin::kComputed ? "table" : "kernel");
        }
        partitions("logicals", partition.logicals);
        logicalDisks("logicalDisks", partition.logicalDisks);
        out.endObject();
    }

    void logicalDisks(const char* name, const std::vector<std::size_t>& positions) {
        out.key(name).beginArray();
        for (const std::size_t position : positions) write(inventory.logicalDisks[position]);
        out.endArray();
    }

    void write(const LogicalDisk& disk) {
        out.beginObject().textField("source", disk.source).key("mountPoints").beginArray().text(disk.mountPoint);
        for (const std::string& mountPoint : disk.furtherMountPoints) out.text(mountPoint);
        out.endArray().textField("fileSystem", disk.fileSystem);
        if (disk.space)
            measured(disk);
        else
            out.textField("options", disk.options);
        out.endObject();
    }

    void measured(const LogicalDisk& disk) {
        const SplitOptions split = splitMountOptions(disk.options);
        out.textField("options", split.options);
        if (!split.fileSystemId.empty()) out.textField("fileSystemId", split.fileSystemId);
        out.numberField("total", disk.space->total).numberField("free", disk.space->free);
        out.numberField("available", disk.space->available);
        if (disk.space->available || disk.space->isOfSourcePath)  // else nobody looked
            out.truthField("measuredAtSource", disk.space->isOfSourcePath);
    }

    void doubtfulPairs() {
        out.key("doubtfulPairs").beginArray();
        for (const DoubtfulPair& pair : inventory.doubtfulPairs) {
            out.beginObject().textField("association", pair.association).textField("device", pair.device);
            out.textField("pairedWith", pair.pairedWith);
            if (!pair.likely.empty()) out.textField("likely", pair.likely);
            out.endObject();
        }
        out.endArray();
    }

    void instances() {
        out.key("instances").beginObject();
        for (const PublishedClass& cls : inventory.published.classes) {
            out.key(cls.declaration->name).beginArray();
            for (const refhost::Instance& instance : cls.instances) json::writeInstance(out, instance);
            out.endArray();
        }
        out.endObject();
    }

    const Inventory& inventory;
    JsonWriter out;
};

}  // namespace

std::string inventoryJson(const Inventory& inventory) { return Writing(inventory).document(); }

}  // namespace diskmgt
