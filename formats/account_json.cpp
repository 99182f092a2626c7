// What is unknown is left out, nothing is null.
#include "formats/account_json.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <utility>

namespace diskmgt::json {

namespace {

using diskmgt_machine::BlockDevice;
using diskmgt_machine::Kind;

void knownText(JsonWriter& out, const char* name, const std::string& value) {
    if (!value.empty()) out.textField(name, value);
}

void setTruth(JsonWriter& out, const char* name, bool value) {
    if (value) out.truthField(name, true);
}

void writeAnswer(JsonWriter& out, const CimAnswer& answer) {
    out.beginObject(JsonLayout::kSpaced).truthField("known", !answer.isUnknown());
    if (answer.isUnknown()) {
        if (!answer.reasons.empty()) out.textField("rule", answer.reasons.front().rule);
        out.endObject();
        return;
    }
    out.truthField("reported", answer.isReported());
    if (answer.isReported()) {
        out.textField("instance", answer.instance->path).textField("as", answer.as);
        out.numberField("size", answer.size).numberField("start", answer.start);
        out.numberField("partitionCount", answer.partitionCount);
        out.key("differs").texts(answer.differs);
    }
    if (!answer.reasons.empty()) {
        out.key("rules").beginArray();
        for (const Reason& reason : answer.reasons) out.text(reason.rule);
        out.endArray();
    }
    out.endObject();
}

/// udev's word where there is one.
std::string tableOf(const std::string& scheme, const Partition* published) {
    if (!scheme.empty()) return scheme == "dos" ? "mbr" : scheme;
    if (published == nullptr) return {};
    return published->table == TableKind::kGpt ? "gpt" : "mbr";
}

class AccountWriter {
public:
    AccountWriter(JsonWriter& writer, const ServerAccount& shown) : out(writer), account(shown) {}

    void device(std::size_t position) {
        const BlockDevice& device = account.device(position);
        const DeviceAccount& more = account.devices[position];
        out.beginObject().textField("name", device.name).textField("path", device.path());
        if (device.number) out.textField("number", textOf(*device.number));
        out.textField("kind", nameOf(device.kind));
        out.numberField("size", device.sizeBytes).numberField("sectorSize", device.sectorSize);
        out.key("on").beginArray(JsonLayout::kSpaced);
        for (const std::size_t below : device.on) out.text(account.device(below).name);
        out.endArray();
        for (const auto& [name, value] : std::initializer_list<std::pair<const char*, const std::string&>>{
                 {"model", device.identity.model},
                 {"serial", device.identity.serial.empty() ? more.udev.serial : device.identity.serial},
                 {"wwid", device.identity.wwid},
                 {"transport", device.transport},
                 {"volume", device.volume},
                 {"level", device.level},
                 {"backing", device.backingFile},
                 {"content", more.udev.content},
                 {"label", more.udev.label},
                 {"uuid", more.udev.uuid}})
            knownText(out, name, value);
        setTruth(out, "readOnly", device.isReadOnly);
        setTruth(out, "removable", device.isRemovable);
        if (device.isRotational) out.truthField("rotational", *device.isRotational);
        setTruth(out, "hidden", device.isHidden);
        if (device.kind == Kind::kPartition) partition(device, more);
        for (const std::size_t swap : more.swaps) {
            const diskmgt_machine::Swap& area = account.machine.swaps[swap];
            out.key("swap").beginObject(JsonLayout::kSpaced).numberField("size", area.sizeBytes);
            out.numberField("used", area.usedBytes).endObject();
        }
        if (!more.mounts.empty()) mounts(more.mounts);
        if (more.mountsAt) out.textField("mountsAt", account.device(*more.mountsAt).name);
        cim({{"drive", more.drive}, {"partition", more.partition}, {"logicalDisk", more.logicalDisk}});
        out.endObject();
    }

    void fileSystem(const FileSystemAccount& shown) {
        out.beginObject().textField("source", account.machine.mounts[shown.mounts.front()].source);
        out.textField("kind", nameOf(shown.group));
        mounts(shown.mounts);
        std::size_t reported = shown.mounts.front();
        for (const std::size_t mount : shown.mounts)
            if (account.mounts[mount].logicalDisk.isReported()) {
                reported = mount;
                break;
            }
        cim({{"logicalDisk", account.mounts[reported].logicalDisk}});
        out.endObject();
    }

private:
    void partition(const BlockDevice& device, const DeviceAccount& more) {
        out.key("partition").beginObject(JsonLayout::kSpaced);
        out.numberField("number", device.partitionNumber).numberField("start", device.startBytes);
        const Partition* const published = more.published ? &account.inventory().partitions[*more.published] : nullptr;
        knownText(out, "table", tableOf(more.udev.partitionTable, published));
        std::string type = more.udev.partitionType;
        std::string typeName = partitionTypeNameOf(type);
        if (published != nullptr) {
            if (type.empty() && published->typeByte) type = typeByteText(*published->typeByte);
            if (typeName.empty()) typeName = published->typeName;
            if (published->table == TableKind::kMbr) setTruth(out, "bootable", published->isBootable);
        }
        knownText(out, "type", type);
        knownText(out, "typeName", typeName);
        knownText(out, "label", more.udev.partitionName);
        knownText(out, "uuid", more.udev.partitionUuid);
        out.endObject();
    }

    void mounts(const std::vector<std::size_t>& positions) {
        out.key("mounts").beginArray();
        for (const std::size_t position : positions) {
            const diskmgt_machine::Mount& mount = account.machine.mounts[position];
            const MountAccount& more = account.mounts[position];
            out.beginObject(JsonLayout::kSpaced).textField("mountPoint", mount.mountPoint);
            out.textField("root", mount.root).textField("fileSystem", mount.type);
            out.textField("options", mount.options);
            if (more.space) {
                out.numberField("total", more.space->total).numberField("free", more.space->free);
                out.numberField("available", more.space->available);
            }
            if (more.reason) out.textField("rule", more.reason->rule);
            out.endObject();
        }
        out.endArray();
    }

    void cim(std::initializer_list<std::pair<const char*, const std::optional<CimAnswer>&>> answers) {
        out.key("cim").beginObject();
        for (const auto& [name, answer] : answers)
            if (answer) {
                out.key(name);
                writeAnswer(out, *answer);
            }
        out.endObject();
    }

    JsonWriter& out;
    const ServerAccount& account;
};

}  // namespace

void writeDevices(JsonWriter& out, const ServerAccount& account, const std::vector<bool>& chosen) {
    out.beginArray();
    AccountWriter writer(out, account);
    for (std::size_t i = 0; i < account.devices.size(); ++i)
        if (chosen.empty() || chosen[i]) writer.device(i);
    out.endArray();
}

void writeFileSystems(JsonWriter& out, const ServerAccount& account, bool all, const std::vector<bool>& chosen) {
    out.beginArray();
    AccountWriter writer(out, account);
    for (const FileSystemAccount& fileSystem : account.fileSystems) {
        const bool isWanted = chosen.empty() ? all || fileSystem.group != FileSystemGroup::kPseudo
                                             : std::any_of(fileSystem.mounts.begin(), fileSystem.mounts.end(),
                                                           [&chosen](std::size_t mount) { return chosen[mount]; });
        if (isWanted) writer.fileSystem(fileSystem);
    }
    out.endArray();
}

void writeGaps(JsonWriter& out, const ServerAccount& account) {
    out.beginArray();
    for (const Gap& gap : account.gaps)
        out.beginObject(JsonLayout::kSpaced)
            .textField("rule", gap.rule)
            .textField("of", gap.of)
            .textField("text", gap.text)
            .endObject();
    out.endArray();
}

void writeCimOnly(JsonWriter& out, const ServerAccount& account) {
    out.beginArray();
    for (const CimOnly& only : account.cimOnly) {
        out.beginObject(JsonLayout::kSpaced).textField("instance", only.instance->path).key("rules").beginArray();
        for (const Reason& reason : only.reasons) out.text(reason.rule);
        out.endArray().endObject();
    }
    out.endArray();
}

}  // namespace diskmgt::json
