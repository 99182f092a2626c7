#include "inventory/partition_join.h"

#include <utility>

#include "inventory/cim_placement.h"
#include "inventory/device_reasons.h"
#include "inventory/instance_values.h"
#include "schema/vocabulary.h"

namespace diskmgt {

namespace {

using namespace diskmgt_col;  // the names of classes and properties
using diskmgt_machine::BlockDevice;
using diskmgt_machine::Kind;
using State = CimAnswer::State;

constexpr std::uint64_t kLowHalf = 0xffffffff;

class PartitionJoin {
public:
    PartitionJoin(ServerAccount& joined, const DevicesByPath& places)
        : account(joined), unasked(joined), placeOfPath(places) {}

    void run() {
        std::optional<Reason> unknown = unasked.why(kDiskPartition);
        std::size_t expected = 0;
        if (!unknown && !collection().facts.devices) unknown = unasked.notLookedAt();
        if (!unknown) {
            for (const DeviceFacts& facts : collection().facts.devices->devices)
                if (facts.isCandidate) expected += facts.tableCount;
            if (expected != collection().inventory.partitions.size()) unknown = noteChange();
        }
        for (std::size_t i = 0; i < blocks().size(); ++i)
            if (account.devices[i].partition) answerForPartition(i, unknown);
        if (unknown) return;
        std::size_t first = 0;  // of the disk, in the list as published: disk by disk in the order of candidates
        for (const std::string& path : candidateDisks()) {
            const DeviceFacts* const facts = factsOf(path);
            if (facts == nullptr || facts->tableCount == 0) continue;
            joinPartitionsOf(*facts, first);
            first += facts->tableCount;
        }
    }

private:
    /// What is published belongs to no row then.
    Reason noteChange() {
        Reason reason{"changed-meanwhile", "changed meanwhile",
                      "The partition tables changed while they were read; run the command again."};
        account.gaps.push_back({reason.rule, kDiskPartition, reason.text});
        for (const Partition& partition : collection().inventory.partitions)
            account.cimOnly.push_back({partition.instance, partition.device, {reason}, nullptr});
        return reason;
    }

    const std::vector<BlockDevice>& blocks() const { return account.machine.blocks.devices; }
    const Collection& collection() const { return account.collection; }

    const DeviceFacts* factsOf(const std::string& path) {
        if (factsByPath.empty())
            for (const DeviceFacts& facts : collection().facts.devices->devices)
                if (facts.isCandidate) factsByPath[facts.path] = &facts;
        const auto found = factsByPath.find(path);
        return found == factsByPath.end() ? nullptr : found->second;
    }

    /// Before anything published was found for it.
    void answerForPartition(std::size_t position, const std::optional<Reason>& unknown) {
        CimAnswer& answer = *account.devices[position].partition;
        const DeviceFacts* const disk = account.devices[*blocks()[position].disk].facts;
        if (unknown || disk == nullptr) {
            answer.reasons.push_back(unknown.value_or(unasked.notLookedAt()));
            return;
        }
        Verdict verdict = judgePartitions(*disk);
        answer.state = disk->isCandidate && disk->isRefused() ? State::kUnknown : State::kNotReported;
        if (answer.isUnknown()) answer.reasons.push_back(unasked.refused(*disk));
        if (verdict.reasons.empty())
            verdict.reasons.push_back({"not-in-table", "not in its disk's table",
                                       "The table of " + disk->path + " has no partition that begins there."});
        for (const Reason& reason : verdict.reasons)
            answer.reasons.push_back({reason.rule, reason.brief, "About " + disk->path + ": " + reason.text});
    }

    static PublishedPlace placeOf(const Partition& partition) {
        PublishedPlace place;
        place.name = partition.device;
        place.size = partition.size;
        if (partition.table == TableKind::kGpt) {
            place.start = partition.start;
            return place;
        }
        constexpr unsigned kExtended = 2;
        constexpr unsigned kLogical = 3;
        constexpr std::uint64_t kAdded = 446;  // to the start by the plug-in
        place.kind = partition.type == kExtended  ? PublishedPlace::Kind::kExtended
                     : partition.type == kLogical ? PublishedPlace::Kind::kLogical
                                                  : PublishedPlace::Kind::kPrimary;
        if (const auto offset = numberOf<std::uint64_t>(*partition.instance, kStartingOffset))
            place.start = (*offset - kAdded) & kLowHalf;
        return place;
    }

    void joinPartitionsOf(const DeviceFacts& facts, std::size_t first) {
        const std::vector<Partition>& all = collection().inventory.partitions;
        std::vector<PublishedPlace> places;
        for (std::size_t i = 0; i < facts.tableCount; ++i) places.push_back(placeOf(all[first + i]));
        const auto disk = placeOfPath.find(facts.path);
        std::vector<std::size_t> positions;
        std::vector<KernelPlace> kernels;
        if (disk != placeOfPath.end() && disk->second)
            for (const std::size_t upper : blocks()[*disk->second].carries) {
                const BlockDevice& device = blocks()[upper];
                if (device.disk != disk->second || device.kind != Kind::kPartition) continue;
                positions.push_back(upper);
                kernels.push_back({device.path(), device.partitionNumber.value_or(0), device.sizeBytes.value_or(0),
                                   device.startBytes.value_or(0)});
            }
        const std::vector<std::optional<std::size_t>> placed = placePartitions(places, kernels);
        for (std::size_t i = 0; i < placed.size(); ++i) {
            if (placed[i])
                report(first + i, places[i], positions[*placed[i]], facts);
            else
                account.cimOnly.push_back({all[first + i].instance, all[first + i].device,
                                           reasonsOfCimOnly(all[first + i], places[i], facts), &facts});
        }
    }

    void report(std::size_t partition, const PublishedPlace& place, std::size_t position, const DeviceFacts& disk) {
        const Partition& found = collection().inventory.partitions[partition];
        DeviceAccount& device = account.devices[position];
        device.published = partition;
        CimAnswer& answer = *device.partition;
        answer = CimAnswer();
        answer.state = State::kReported;
        answer.instance = found.instance;
        answer.as = found.device;
        answer.size = found.size;
        const BlockDevice& kernel = blocks()[position];
        if (place.kind == PublishedPlace::Kind::kGpt) {
            answer.start = place.start;
            if (place.start != kernel.startBytes) answer.differs.emplace_back("start");
        } else if (place.kind != PublishedPlace::Kind::kLogical && place.start && kernel.startBytes) {
            const bool isSame = *place.start == (*kernel.startBytes & kLowHalf);
            answer.start = isSame ? *kernel.startBytes : *place.start;  // what was cut off is not another start
            if (!isSame) answer.differs.emplace_back("start");
        }
        if (kernel.path() != found.device) answer.differs.insert(answer.differs.begin(), "name");
        if (place.kind != PublishedPlace::Kind::kExtended && kernel.sizeBytes && *kernel.sizeBytes != found.size)
            answer.differs.emplace_back("size");
        if (!disk.isDrive())
            answer.reasons.push_back(
                {"no-drive", "its drive is not reported",
                 "It is reported although " + disk.path + " is not reported as a drive, so it is linked to none."});
    }

    static std::vector<Reason> reasonsOfCimOnly(const Partition& partition, const PublishedPlace& place,
                                                const DeviceFacts& disk) {
        std::vector<Reason> reasons;
        const std::uint64_t start = place.kind == PublishedPlace::Kind::kGpt ? place.start.value_or(0) : 0;
        if (disk.sizeBytes && (partition.size > *disk.sizeBytes || start > *disk.sizeBytes - partition.size))
            reasons.push_back({"larger-than-drive", "reaches past the end of its drive",
                               "It reaches past the end of " + disk.path + "."});
        if (!disk.hasBootSignature)
            reasons.push_back({"no-boot-signature", "no partition table",
                               "The first sector of " + disk.path +
                                   " has no boot signature, so it holds no partition table; no signature is checked "
                                   "when it is read."});
        if (disk.hasLargeSectors())
            reasons.push_back({"large-sectors", std::to_string(disk.logicalSectorSize) + "-byte sectors",
                               "The sectors of " + disk.path + " have " + std::to_string(disk.logicalSectorSize) +
                                   " bytes, but its table is read as if they had 512."});
        reasons.push_back({"no-such-device", "unknown to the kernel", "The kernel has no such partition."});
        return reasons;
    }

    ServerAccount& account;
    const UnaskedReasons unasked;
    const DevicesByPath& placeOfPath;
    std::map<std::string, const DeviceFacts*> factsByPath;
};

}  // namespace

void joinPartitions(ServerAccount& account, const DevicesByPath& places) { PartitionJoin(account, places).run(); }

}  // namespace diskmgt
