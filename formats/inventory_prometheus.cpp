// One metric after the other: a metric's samples must stand together.
#include "formats/inventory_prometheus.h"

#include <algorithm>
#include <vector>

#include "formats/metric_writer.h"
#include "inventory/device_texts.h"

namespace diskmgt {

namespace {

using diskmgt_machine::BlockDevice;

class MetricsWriter {
public:
    explicit MetricsWriter(const ServerAccount& shown) : account(shown) {
        for (std::size_t i = 0; i < account.devices.size(); ++i)
            if (!isLeftOut(account, i)) devices.push_back(i);
        for (const DeviceAccount& device : account.devices) addFileSystem(device.mounts);
        for (const FileSystemAccount& fileSystem : account.fileSystems)
            if (isShown(fileSystem) || isAnySilent(fileSystem)) addFileSystem(fileSystem.mounts);
        keepMeasuredOnes();
    }

    std::string text() {
        identities();
        cimAnswers();
        sizes();
        writeFileSystems();
        collection();
        return out.text();
    }

private:
    bool isShown(const FileSystemAccount& fileSystem) const {
        switch (fileSystem.group) {
            case FileSystemGroup::kNetwork:
            case FileSystemGroup::kPool:
            case FileSystemGroup::kMemory:
                return true;
            case FileSystemGroup::kOther:  // on a device that the kernel's list lacks
                return account.machine.mounts[fileSystem.mounts.front()].number.majorNumber != 0;
            default:
                return false;
        }
    }

    bool isPartition(std::size_t device) const { return account.devices[device].partition.has_value(); }

    const CimAnswer* answerOf(std::size_t device) const {
        const DeviceAccount& more = account.devices[device];
        if (more.partition) return &*more.partition;
        return more.drive ? &*more.drive : nullptr;
    }

    static std::string classOf(const refhost::Instance& instance) {
        return instance.path.substr(0, instance.path.find('.'));
    }

    // --- devices ---

    void identities() {
        out.begin("diskmgt_device_info", "What the device is; serial and wwid stay when its name changes.");
        for (const std::size_t i : devices) {
            const BlockDevice& device = account.device(i);
            out.sample({{"device", device.path()},
                        {"kind", nameOf(device.kind)},
                        {"model", device.identity.model},
                        {"serial", serialOf(account, i)},
                        {"wwid", wwidOf(account, i)},
                        {"transport", device.transport},
                        {"removable", device.isRemovable ? "yes" : "no"},
                        {"volume", device.volume},
                        {"partuuid", account.devices[i].udev.partitionUuid}},
                       std::uint64_t{1});
        }
        out.begin("diskmgt_device_in_use", "1 when the device is in use, 0 when no use of it is seen.");
        for (const std::size_t i : devices)
            if (account.devices[i].use.any() || !isExtended(account, i))  // its logical partitions have their own
                out.sample({{"device", account.device(i).path()}}, std::uint64_t{account.devices[i].use.any()});
    }

    void cimAnswers() {
        out.begin("diskmgt_device_reported", "1 when CIM reports the device, 0 when it does not, by which rule.");
        for (const std::size_t i : devices) {
            const CimAnswer* const answer = answerOf(i);
            if (answer == nullptr || answer->isUnknown()) continue;
            const bool hasRule = !answer->isReported() && !answer->reasons.empty();
            out.sample({{"device", account.device(i).path()}, {"rule", hasRule ? answer->reasons.front().rule : ""}},
                       std::uint64_t{answer->isReported()});
        }
        out.begin("diskmgt_device_differs", "1 for each thing that CIM reports otherwise than the kernel has it.");
        for (const std::size_t i : devices)
            if (const CimAnswer* const answer = answerOf(i); answer != nullptr)
                for (const std::string& what : answer->differs)
                    out.sample({{"device", account.device(i).path()}, {"what", what}}, std::uint64_t{1});
        out.begin("diskmgt_cim_only", "1 for each thing that CIM reports and the kernel does not have.");
        for (const CimOnly& only : account.cimOnly)
            out.sample({{"class", classOf(*only.instance)},
                        {"device", only.name},
                        {"rule", only.reasons.empty() ? "" : only.reasons.front().rule}},
                       std::uint64_t{1});
    }

    void sizes() {
        out.begin("diskmgt_drive_size_bytes", "Size of the disk or volume.");
        for (const std::size_t i : devices)
            if (const auto size = account.device(i).sizeBytes; size && !isPartition(i))
                out.sample({{"device", account.device(i).path()}}, *size);
        out.begin("diskmgt_drive_partitions", "Number of partitions that the kernel has of the disk or volume.");
        for (const std::size_t i : devices)
            if (!isPartition(i))
                out.sample({{"device", account.device(i).path()}},
                           std::uint64_t{account.devices[i].partitionsByKernel});
        out.begin("diskmgt_partition_size_bytes", "Size of the partition.");
        for (const std::size_t i : devices) {
            const BlockDevice& device = account.device(i);
            if (!isPartition(i) || !device.sizeBytes) continue;
            const PartitionDescription partition = describePartition(account, i);
            out.sample({{"device", device.path()},
                        {"drive", account.device(*device.disk).path()},
                        {"table", partition.table},
                        {"type", partition.typeName},
                        {"type_code", partition.type}},
                       *device.sizeBytes);
        }
    }

    // --- file systems ---

    /// Once for all its mounts.
    void addFileSystem(const std::vector<std::size_t>& mounts) {
        if (!mounts.empty()) fileSystems.push_back(mainMountOf(account, mounts));
    }

    bool isAnySilent(const FileSystemAccount& fileSystem) const {
        return std::any_of(fileSystem.mounts.begin(), fileSystem.mounts.end(),
                           [this](std::size_t mount) { return isSilent(mount); });
    }

    /// One that is hidden by another of the same labels gives way to it.
    void keepMeasuredOnes() {
        const auto isHidden = [this](std::size_t mount) { return !account.mounts[mount].space && !isSilent(mount); };
        std::stable_partition(fileSystems.begin(), fileSystems.end(),
                              [&](std::size_t mount) { return !isHidden(mount); });
    }

    bool hasRule(std::size_t mount, const char* rule) const {
        const std::optional<Reason>& reason = account.mounts[mount].reason;
        return reason && reason->rule == rule;
    }
    bool isSilent(std::size_t mount) const { return doesNotAnswer(account.mounts[mount]); }
    bool hasAnswered(std::size_t mount) const {
        return account.mounts[mount].space || hasRule(mount, "not-measurable");
    }
    bool isReadOnly(std::size_t mount) const {
        const diskmgt_machine::Mount& shown = account.machine.mounts[mount];
        return hasWord(shown.options, "ro") || hasWord(shown.superOptions, "ro");
    }
    static bool hasWord(const std::string& options, const char* word) {
        return ("," + options + ",").find(std::string(",") + word + ",") != std::string::npos;
    }

    /// The labels are those of the node exporter's own file-system metrics, so that the two can be joined.
    MetricWriter::Labels labelsOf(std::size_t mount) const {
        const diskmgt_machine::Mount& shown = account.machine.mounts[mount];
        return {{"device", shown.source}, {"fstype", shown.type}, {"mountpoint", shown.mountPoint}};
    }

    template <typename Figure>
    void spaceMetric(const char* name, const char* help, const Figure& figure) {
        out.begin(name, help);
        for (const std::size_t mount : fileSystems)
            if (const std::optional<Space>& space = account.mounts[mount].space)
                if (const std::optional<std::uint64_t> value = figure(*space)) out.sample(labelsOf(mount), *value);
    }

    void writeFileSystems() {
        out.begin("diskmgt_filesystem_answers", "1 when the file system answers, 0 when it does not.");
        for (const std::size_t mount : fileSystems)
            if (hasAnswered(mount) || isSilent(mount)) out.sample(labelsOf(mount), std::uint64_t{!isSilent(mount)});
        out.begin("diskmgt_filesystem_readonly", "1 when the file system is mounted read-only.");
        for (const std::size_t mount : fileSystems) out.sample(labelsOf(mount), std::uint64_t{isReadOnly(mount)});
        out.begin("diskmgt_filesystem_measured", "1 when the file system's space is known, 0 when it is not.");
        for (const std::size_t mount : fileSystems)
            out.sample(labelsOf(mount), std::uint64_t{account.mounts[mount].space.has_value()});
        using Figure = std::optional<std::uint64_t>;
        spaceMetric("diskmgt_filesystem_size_bytes", "Size of the file system.",
                    [](const Space& space) -> Figure { return space.total; });
        spaceMetric("diskmgt_filesystem_free_bytes", "Free space, with what is kept for root.",
                    [](const Space& space) -> Figure { return space.free; });
        spaceMetric("diskmgt_filesystem_avail_bytes", "Space that users may still fill.",
                    [](const Space& space) -> Figure { return space.available; });
    }

    // --- the collection ---

    void collection() {
        const Inventory& inventory = account.inventory();
        const Published& published = inventory.published;
        out.begin("diskmgt_collection_success", "1 when the account is complete and nothing failed.");
        out.sample({}, std::uint64_t{account.isComplete() && published.failures.empty()});
        out.begin("diskmgt_collection_gap", "1 for each thing that keeps the account from being complete.");
        for (const Gap& gap : account.gaps) out.sample({{"rule", gap.rule}, {"of", nodeOfGap(gap)}}, std::uint64_t{1});
        out.begin("diskmgt_collection_failures", "Number of classes for which a failure was reported.");
        out.sample({}, std::uint64_t{published.failures.size()});
        out.begin("diskmgt_collection_class_missing", "1 for each class that was not served.");
        for (const std::string& className : published.missingClasses)
            out.sample({{"class", className}}, std::uint64_t{1});
        out.begin("diskmgt_collection_timestamp_seconds", "When the collection began, in seconds since the epoch.");
        out.sample({}, static_cast<std::uint64_t>(inventory.collectedAt));
        out.begin("diskmgt_collection_duration_seconds", "How long the collection took.");
        out.sample({}, inventory.durationSeconds);
        out.begin("diskmgt_build_info", "The version of diskmgt that wrote this.");
        out.sample({{"version", DISKMGT_VERSION}}, std::uint64_t{1});
    }

    const ServerAccount& account;
    std::vector<std::size_t> devices;      // positions, in natural order
    std::vector<std::size_t> fileSystems;  // of each one mount: positions in Machine::mounts
    MetricWriter out;
};

}  // namespace

std::string inventoryMetrics(const ServerAccount& account) { return MetricsWriter(account).text(); }

}  // namespace diskmgt
