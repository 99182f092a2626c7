#include "formats/page_words.h"

#include <vector>

#include "inventory/device_texts.h"
#include "inventory/use_text.h"
#include "text/size_text.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using diskmgt_machine::BlockDevice;
using diskmgt_machine::Kind;

std::string briefOf(const Reason& reason) { return reason.brief.empty() ? reason.rule : reason.brief; }

std::string textsOf(const std::vector<Reason>& reasons) {
    std::vector<std::string> texts;
    for (const Reason& reason : reasons) texts.push_back(reason.text);
    return joined(texts, " ");
}

std::string differencesIn(const CimAnswer& answer, std::size_t partitions) {
    std::string text;
    if (answer.differsIn("name")) text += ", as " + answer.as;
    if (answer.differsIn("size") && answer.size) text += ", with " + sizeText(*answer.size);
    if (answer.differsIn("start") && answer.start) text += ", from " + sizeText(*answer.start);
    if (answer.differsIn("partitionCount") && answer.partitionCount)
        text +=
            ", with " + counted(*answer.partitionCount, "partition") + ", the kernel has " + std::to_string(partitions);
    return text;
}

/// Of the partition table on the device; empty: not known.
std::string tableOf(const ServerAccount& account, std::size_t device) {
    const std::string& table = account.devices[device].udev.table;
    if (!table.empty()) return table == "dos" ? "mbr" : table;
    for (const std::size_t upper : account.device(device).carries)
        if (account.device(upper).disk == device && account.devices[upper].partition)
            return describePartition(account, upper).table;
    return {};
}

std::string tableWords(const std::string& table) {
    if (table.empty()) return {};
    return (table == "gpt" ? "GPT" : table == "mbr" ? "MBR" : table) + " partition table";
}

std::string capitalised(std::string text) {
    if (!text.empty() && text.front() >= 'a' && text.front() <= 'z')
        text.front() = static_cast<char>(text.front() - 32);
    return text;
}

}  // namespace

Words cimWords(const CimAnswer& answer, std::size_t partitions) {
    Words words;
    words.full = textsOf(answer.reasons);
    if (answer.isReported()) {
        words.brief = "yes" + differencesIn(answer, partitions);
        for (const Reason& reason : answer.reasons)
            if (!reason.brief.empty() && answer.differs.empty()) words.brief += ", " + reason.brief;
        return words;
    }
    words.brief = answer.isUnknown() ? "not known" : "no";
    if (!answer.reasons.empty()) words.brief += ": " + briefOf(answer.reasons.front());
    return words;
}

std::string useWords(const ServerAccount& account, std::size_t device) {
    const DeviceAccount& more = account.devices[device];
    const auto& disk = account.device(device).disk;
    if (disk && more.use.any() && !account.uses.ofItself(device).any())
        return "In use as part of " + account.device(*disk).name;
    std::string use = useText(account.machine, more.use);
    if (use.empty()) use = holdsText(account, device);
    return use.empty() ? "Not seen in use" : capitalised(use);
}

std::string contentWords(const ServerAccount& account, std::size_t device) {
    const diskmgt_machine::UdevRecord& udev = account.devices[device].udev;
    if (isExtended(account, device)) return "extended partition";
    std::string text = udev.content;
    if (text.empty()) text = tableWords(tableOf(account, device));
    if (text.empty()) text = "content not known";
    if (!udev.label.empty()) text += ", label " + udev.label;
    return text;
}

std::string kindWords(const ServerAccount& account, std::size_t device) {
    const BlockDevice& shown = account.device(device);
    std::string words = nameOf(shown.kind);
    if (shown.kind == Kind::kRaid && !shown.level.empty()) words = shown.level;
    if (shown.kind == Kind::kPartition) {
        const PartitionDescription partition = describePartition(account, device);
        if (!partition.typeName.empty()) words = partition.typeName;
    }
    if (!shown.volume.empty()) words += " " + shown.volume;
    if (!shown.backingFile.empty()) words += " of " + shown.backingFile;
    return words;
}

std::string identityWords(const ServerAccount& account, std::size_t device) {
    std::vector<std::string> parts;
    const std::string& model = account.device(device).identity.model;
    const std::string serial = serialOf(account, device);
    const std::string wwid = wwidOf(account, device);
    if (!model.empty()) parts.push_back(model);
    if (!serial.empty()) parts.push_back("serial " + serial);
    if (!wwid.empty()) parts.push_back("wwid " + wwid);
    return joined(parts, ", ");
}

}  // namespace diskmgt
