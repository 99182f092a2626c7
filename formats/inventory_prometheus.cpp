// One metric after the other: a metric's samples must stand together.
#include "formats/inventory_prometheus.h"

#include <algorithm>

#include "formats/metric_writer.h"
#include "inventory/device_names.h"

namespace diskmgt {

namespace {

class Writing {
public:
    explicit Writing(const Inventory& shown) : inventory(shown) {}

    std::string text() {
        drives();
        partitions();
        fileSystems();
        collection();
        return out.text();
    }

private:
    void drives() {
        out.begin("diskmgt_drive_size_bytes", "Size of the drive.");
        for (const Drive& drive : inventory.drives) out.sample({{"device", drive.device}}, drive.size);
        out.begin("diskmgt_drive_partitions", "Number of partitions that the drive is published with.");
        for (const Drive& drive : inventory.drives) out.sample({{"device", drive.device}}, drive.partitionCount);
    }

    /// By the kernel's rule for names rather than by the pairs, which hold accidents; empty when it is not reported.
    std::string driveOf(const Partition& partition) const {
        const auto drive =
            std::find_if(inventory.drives.begin(), inventory.drives.end(),
                         [&partition](const Drive& any) { return isOnDrive(partition.device, any.device); });
        return drive == inventory.drives.end() ? "" : drive->device;
    }

    void partitions() {
        out.begin("diskmgt_partition_size_bytes", "Size of the partition.");
        for (const Partition& partition : inventory.partitions) {
            const std::string drive = driveOf(partition);
            out.sample({{"device", partition.device},
                        {"drive", drive},
                        {"table", partition.table == TableKind::kGpt ? "gpt" : "mbr"},
                        {"type", partition.typeName}},
                       partition.size);
        }
    }

    /// The labels are those of the node exporter's own file-system metrics, so that the two can be joined.
    static MetricWriter::Labels labelsOf(const LogicalDisk& disk) {
        return {{"device", disk.source}, {"fstype", disk.fileSystem}, {"mountpoint", disk.mountPoint}};
    }

    void fileSystems() {
        out.begin("diskmgt_filesystem_measured", "1 when the file system's space is known, 0 when it is not.");
        for (const LogicalDisk& disk : inventory.logicalDisks)
            out.sample(labelsOf(disk), std::uint64_t{disk.ownSpace() != nullptr});
        out.begin("diskmgt_filesystem_size_bytes", "Size of the file system.");
        for (const LogicalDisk& disk : inventory.logicalDisks)
            if (const Space* const space = disk.ownSpace()) out.sample(labelsOf(disk), space->total);
        out.begin("diskmgt_filesystem_free_bytes", "Free space, with what is kept for root.");
        for (const LogicalDisk& disk : inventory.logicalDisks)
            if (const Space* const space = disk.ownSpace()) out.sample(labelsOf(disk), space->free);
        out.begin("diskmgt_filesystem_avail_bytes", "Space that users may still fill.");
        for (const LogicalDisk& disk : inventory.logicalDisks)
            if (const Space* const space = disk.ownSpace(); space != nullptr && space->available)
                out.sample(labelsOf(disk), *space->available);
    }

    void collection() {
        const Published& published = inventory.published;
        out.begin("diskmgt_collection_success", "1 when everything was collected and nothing failed.");
        out.sample({}, std::uint64_t{inventory.isComplete() && published.failures.empty()});
        out.begin("diskmgt_collection_failures", "Number of classes for which a failure was reported.");
        out.sample({}, std::uint64_t{published.failures.size()});
        out.begin("diskmgt_collection_class_missing", "1 for each class that was not served within the time limit.");
        for (const std::string& className : published.missingClasses)
            out.sample({{"class", className}}, std::uint64_t{1});
        out.begin("diskmgt_collection_timestamp_seconds", "When the collection began, in seconds since the epoch.");
        out.sample({}, static_cast<std::uint64_t>(inventory.collectedAt));
        out.begin("diskmgt_collection_duration_seconds", "How long the collection took.");
        out.sample({}, inventory.durationSeconds);
        out.begin("diskmgt_build_info", "The version of diskmgt that wrote this.");
        out.sample({{"version", DISKMGT_VERSION}}, std::uint64_t{1});
    }

    const Inventory& inventory;
    MetricWriter out;
};

}  // namespace

std::string inventoryMetrics(const Inventory& inventory) { return Writing(inventory).text(); }

}  // namespace diskmgt
