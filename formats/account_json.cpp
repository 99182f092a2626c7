// What is unknown is left out, nothing is null.
#include "formats/account_json.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "inventory/completeness.h"
#include "inventory/device_texts.h"

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

void writeRules(JsonWriter& out, const std::vector<Reason>& reasons) {
    out.key("rules").beginArray();
    for (const Reason& reason : reasons) out.text(reason.rule);
    out.endArray();
}

/// `published`: of a reported partition.
void writeAnswer(JsonWriter& out, const CimAnswer& answer, const Partition* published) {
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
        if (published != nullptr) out.numberField("type", published->type).textField("typeName", published->typeName);
        out.key("differs").texts(answer.differs);
    }
    if (!answer.isReported() || !answer.reasons.empty()) writeRules(out, answer.reasons);
    out.endObject();
}

/// As in /proc/mounts: read-only if the mount or its file system is, then the other options of both.
std::string optionsOf(const diskmgt_machine::Mount& mount) {
    bool isReadOnly = false;
    std::string others;
    for (std::string_view list : {std::string_view(mount.options), std::string_view(mount.superOptions)}) {
        const std::string_view access = list.substr(0, list.find(','));
        if (access == "ro") isReadOnly = true;
        if (access == "ro" || access == "rw") list.remove_prefix(std::min(list.size(), access.size() + 1));
        if (!list.empty()) others.append(",").append(list);
    }
    return (isReadOnly ? "ro" : "rw") + others;
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
        const std::string serial = serialOf(account, position), wwid = wwidOf(account, position);
        for (const auto& [name, value] :
             std::initializer_list<std::pair<const char*, const std::string&>>{{"model", device.identity.model},
                                                                               {"serial", serial},
                                                                               {"wwid", wwid},
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
        if (device.kind == Kind::kPartition) partition(position);
        if (!more.swaps.empty()) {
            const diskmgt_machine::Swap& area = account.machine.swaps[more.swaps.front()];
            out.key("swap").beginObject(JsonLayout::kSpaced).numberField("size", area.sizeBytes);
            out.numberField("used", area.usedBytes).endObject();
        }
        if (!more.mounts.empty()) mounts(more.mounts);
        if (more.mountsAt) out.textField("mountsAt", account.device(*more.mountsAt).name);
        out.key("cim").beginObject();
        if (more.drive) answer("drive", *more.drive);
        if (more.partition) answer("partition", *more.partition, publishedOf(more));
        if (!more.mounts.empty()) answer("logicalDisk", account.mounts[chiefOf(more.mounts)].logicalDisk);
        out.endObject().endObject();
    }

    void fileSystem(const FileSystemAccount& shown) {
        out.beginObject().textField("source", account.machine.mounts[shown.mounts.front()].source);
        out.textField("kind", nameOf(shown.group));
        mounts(shown.mounts);
        out.key("cim").beginObject();
        answer("logicalDisk", account.mounts[chiefOf(shown.mounts)].logicalDisk);
        out.endObject().endObject();
    }

private:
    /// The mount whose answer is that of the whole file system.
    std::size_t chiefOf(const std::vector<std::size_t>& positions) const {
        const auto reported = std::find_if(positions.begin(), positions.end(), [this](std::size_t mount) {
            return account.mounts[mount].logicalDisk.isReported();
        });
        return reported == positions.end() ? positions.front() : *reported;
    }

    const Partition* publishedOf(const DeviceAccount& device) const {
        return device.published ? &account.inventory().partitions[*device.published] : nullptr;
    }

    void answer(const char* name, const CimAnswer& said, const Partition* published = nullptr) {
        out.key(name);
        writeAnswer(out, said, published);
    }

    void partition(std::size_t position) {
        const BlockDevice& device = account.device(position);
        const DeviceAccount& more = account.devices[position];
        out.key("partition").beginObject(JsonLayout::kSpaced);
        out.numberField("number", device.partitionNumber).numberField("start", device.startBytes);
        const PartitionDescription described = describePartition(account, position);
        knownText(out, "table", described.table);
        const Partition* const published = publishedOf(more);
        if (published != nullptr && published->table == TableKind::kMbr)
            setTruth(out, "bootable", published->isBootable);
        knownText(out, "type", described.type);
        knownText(out, "typeName", described.typeName);
        knownText(out, "name", more.udev.partitionName);
        knownText(out, "uuid", more.udev.partitionUuid);
        out.endObject();
    }

    void mounts(const std::vector<std::size_t>& positions) {
        const std::size_t chief = chiefOf(positions);
        out.key("mounts").beginArray();
        for (const std::size_t position : positions) {
            const diskmgt_machine::Mount& mount = account.machine.mounts[position];
            const MountAccount& more = account.mounts[position];
            out.beginObject(JsonLayout::kSpaced).textField("mountPoint", mount.mountPoint);
            out.textField("root", mount.root).textField("fileSystem", mount.type);
            out.textField("options", optionsOf(mount));
            if (more.space) {
                out.numberField("total", more.space->total).numberField("free", more.space->free);
                out.numberField("available", more.space->available);
            } else {
                out.textField("rule", whyWithoutFigures(mount, more));
            }
            if (position != chief && more.logicalDisk.isReported()) {
                out.key("cim").beginObject();
                answer("logicalDisk", more.logicalDisk);  // mounted from another source, so published beside the chief
                out.endObject();
            }
            out.endObject();
        }
        out.endArray();
    }

    std::string whyWithoutFigures(const diskmgt_machine::Mount& mount, const MountAccount& more) const {
        if (more.reason) return more.reason->rule;
        if (mount.type == "autofs") return "automount";
        if (more.group == FileSystemGroup::kPseudo) return "pseudo";
        return UnaskedReasons(account).notLookedAt().rule;
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
