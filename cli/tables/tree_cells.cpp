#include "cli/tables/tree_cells.h"

#include <initializer_list>
#include <vector>

#include "inventory/device_texts.h"
#include "inventory/use_text.h"
#include "text/size_text.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using diskmgt_machine::BlockDevice;
using diskmgt_machine::Kind;

constexpr const char* kNoPurpose = "Unknown";      // is published of a type without a name
constexpr const char* kPoolMember = "zfs_member";  // its file systems say nothing of their devices

std::string purposeOf(const ServerAccount& account, std::size_t device) {
    std::string name = describePartition(account, device).typeName;
    return name == kNoPurpose ? "" : name;
}

std::string kindCell(const ServerAccount& account, std::size_t position) {
    const BlockDevice& device = account.device(position);
    switch (device.kind) {
        case Kind::kPartition:
            return "part";
        case Kind::kRaid:
            return device.level.empty() ? "raid" : device.level;
        case Kind::kCompressedMemory:
            return "zram";
        default:
            return nameOf(device.kind);
    }
}

std::string withWords(std::initializer_list<std::string> words) {
    std::string text;
    for (const std::string& word : words)
        if (!word.empty()) text += (text.empty() ? "" : " ") + word;
    return text;
}

/// A number that differs is no cause: it comes behind one.
std::vector<std::string> briefsOf(const CimAnswer& answer) {
    std::vector<std::string> causes, differences;
    for (const Reason& reason : answer.reasons) {
        const bool isDifference =
            reason.rule == "kernel-and-table-disagree" || reason.rule == "no-partition-directories";
        if (!reason.brief.empty()) (isDifference ? differences : causes).push_back(reason.brief);
    }
    causes.insert(causes.end(), differences.begin(), differences.end());
    return causes;
}

}  // namespace

std::string sizeCell(std::uint64_t bytes, const TreeChoices& choices) {
    return choices.bytes ? std::to_string(bytes) : compactSize(bytes);
}

std::string typeCell(const ServerAccount& account, std::size_t position) {
    const BlockDevice& device = account.device(position);
    const diskmgt_machine::UdevRecord& udev = account.devices[position].udev;
    const std::string purpose = device.kind == Kind::kPartition ? purposeOf(account, position) : "";
    std::string content = udev.content;
    if (content.empty()) content = udev.table == "dos" ? "mbr" : udev.table;
    return withWords({kindCell(account, position), device.volume, purpose, content});
}

std::string cimCell(const CimAnswer& answer, std::size_t partitions, const TreeChoices& choices) {
    std::vector<std::string> details;
    if (answer.isReported()) {
        if (answer.differsIn("size") && answer.size) details.push_back(sizeCell(*answer.size, choices));
        if (answer.differsIn("start") && answer.start) details.push_back("start " + sizeCell(*answer.start, choices));
        if (answer.differsIn("partitionCount") && answer.partitionCount)
            details.push_back(std::to_string(*answer.partitionCount) +
                              (*answer.partitionCount == 1 ? " partition, not " : " partitions, not ") +
                              std::to_string(partitions));
    }
    for (const std::string& brief : briefsOf(answer)) {
        details.push_back(brief);
        if (!answer.isReported()) break;
    }
    const std::string word = answer.isUnknown()         ? "?"
                             : !answer.isReported()     ? "no"
                             : answer.differsIn("name") ? "as " + answer.as
                                                        : "yes";
    return details.empty() ? word : word + ": " + joined(details, ", ");
}

std::string useCell(const ServerAccount& account, std::size_t device) {
    const DeviceAccount& more = account.devices[device];
    const auto& disk = account.device(device).disk;
    if (disk && more.use.any() && !account.uses.ofItself(device).any())
        return "in use as part of " + account.device(*disk).name;
    std::string use = useText(account.machine, more.use);
    if (!use.empty()) return use;
    const std::string& content = more.udev.content;
    if (content == kPoolMember) return "use by a pool is not seen: " + content;
    return content.empty() ? "not seen in use; content not known" : "not seen in use: " + content;
}

void fillIdentity(const ServerAccount& account, std::size_t position, TreeRow& row) {
    const BlockDevice& device = account.device(position);
    const diskmgt_machine::UdevRecord& udev = account.devices[position].udev;
    row.cells[kModelColumn] = device.identity.model;
    row.cells[kSerialColumn] = serialOf(account, position);
    row.cells[kWwidColumn] = wwidOf(account, position);
    row.cells[kTransportColumn] = device.transport;
    if (device.isRotational) row.cells[kRotationalColumn] = *device.isRotational ? "yes" : "no";
    row.cells[kContentColumn] = udev.content;
    row.cells[kLabelColumn] = udev.label;
    row.cells[kUuidColumn] = udev.uuid;
    row.cells[kPartUuidColumn] = udev.partitionUuid;
}

}  // namespace diskmgt
