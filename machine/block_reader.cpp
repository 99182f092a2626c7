#include "machine/block_reader.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <numeric>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "machine/files.h"
#include "machine/texts.h"

namespace diskmgt_machine {

namespace {

constexpr const char* kBlockFolder = "/sys/block";

bool isDriverNumbered(std::string_view name, std::string_view driver) {
    return startsWith(name, driver) && decimalFrom(name.substr(driver.size())).has_value();
}

/// A folder of /sys/block with the names in it.
class Entry {
public:
    explicit Entry(const std::string& path) : folder(path), place(path), listed(folder.readNames()) {
        std::sort(listed.begin(), listed.end());
    }

    bool has(std::string_view name) const {
        return std::binary_search(listed.begin(), listed.end(), name, std::less<>());
    }
    std::string lineIf(const std::string& name) const { return has(name) ? folder.line(name) : std::string(); }
    std::string lineBelow(const std::string& parent, const std::string& name) const {
        return has(parent) ? folder.line(parent + "/" + name) : std::string();
    }
    std::string line(const std::string& name) const { return folder.line(name); }
    std::vector<std::string> namesIf(const std::string& name) const {
        return has(name) ? readNamesIn(place + "/" + name) : std::vector<std::string>();
    }
    DriveIdentity identity() const {
        return has("device") || has("serial") || has("wwid") ? readDriveIdentity(folder, place) : DriveIdentity();
    }
    const std::vector<std::string>& names() const { return listed; }
    const std::string& path() const { return place; }

private:
    Folder folder;
    std::string place;
    std::vector<std::string> listed;
};

/// Decided by the attributes in sysfs and by the drivers' names, which are fixed; device numbers are not.
Kind kindOf(const BlockDevice& device, const Entry& entry) {
    if (device.isHidden) return Kind::kPath;
    if (entry.has("dm") || isDriverNumbered(device.name, "dm-")) return volumeKindFrom(device.volumeUuid).kind;
    if (entry.has("loop") || isDriverNumbered(device.name, "loop")) return Kind::kLoop;
    if (entry.has("md") || isDriverNumbered(device.name, "md")) return Kind::kRaid;
    if (isDriverNumbered(device.name, "zram")) return Kind::kCompressedMemory;
    if (isDriverNumbered(device.name, "ram")) return Kind::kMemory;
    if (isDriverNumbered(device.name, "sr")) return Kind::kOptical;
    if (isDriverNumbered(device.name, "fd")) return Kind::kFloppy;
    return Kind::kDisk;
}

class Reader {
public:
    BlockDevices read() {
        BlockDevices all;
        Folder list(kBlockFolder);
        if (!list.isOpen()) {
            all.error = errno;
            return all;
        }
        const std::vector<std::string> names = list.readNames();
        for (const std::string& name : names) taken.insert(name);
        for (const std::string& name : names) readDisk(name);
        if (isAnyStacked) readHoldersOfPartitions();
        all.devices = inNaturalOrder();
        join(all.devices);
        return all;
    }

private:
    struct Edge {
        std::string upper;
        std::string lower;
        bool isFromLower;  // read from "holders" of the lower device
    };

    void readDisk(const std::string& name) {
        const Entry entry(std::string(kBlockFolder) + "/" + name);
        BlockDevice device;
        device.name = nodeOfSysfsName(name);
        device.number = deviceNumberFrom(entry.lineIf("dev"));
        device.sizeBytes = bytesFrom(entry.lineIf("size"), kSectorUnit);
        device.sectorSize = decimalFrom(entry.lineBelow("queue", "logical_block_size"));
        const std::string rotational = entry.lineBelow("queue", "rotational");
        if (!rotational.empty()) device.isRotational = rotational != "0";
        device.isReadOnly = entry.lineIf("ro") == "1";
        device.isRemovable = entry.lineIf("removable") == "1";
        device.isHidden = entry.lineIf("hidden") == "1" || !diskOfPath(name).empty();
        device.volume = entry.lineBelow("dm", "name");
        device.volumeUuid = entry.lineBelow("dm", "uuid");
        device.level = entry.lineBelow("md", "level");
        device.backingFile = entry.lineBelow("loop", "backing_file");
        device.identity = entry.identity();
        char target[PATH_MAX];
        const ssize_t length = diskmgt_col::os::readLink(std::string(kBlockFolder) + "/" + name, target, sizeof target);
        if (length > 0) device.transport = transportIn({target, static_cast<std::size_t>(length)});
        device.kind = kindOf(device, entry);
        if (device.kind == Kind::kPartition) device.partitionNumber = volumeKindFrom(device.volumeUuid).partitionNumber;
        if (device.kind == Kind::kPath) paths.emplace_back(device.name, nodeOfSysfsName(diskOfPath(name)));
        const std::vector<std::string> slaves = entry.namesIf("slaves");
        isAnyStacked = isAnyStacked || !slaves.empty();
        addEdges(device.name, entry.namesIf("holders"), slaves);
        for (const std::string& below : entry.names()) {
            const auto number = partitionNumberIn(below, name);
            if (number && taken.insert(below).second) readPartition(entry, device, below, *number);
        }
        found.push_back(std::move(device));
    }

    void readPartition(const Entry& entry, const BlockDevice& disk, const std::string& name, std::uint64_t number) {
        BlockDevice device;
        device.name = nodeOfSysfsName(name);
        device.kind = Kind::kPartition;
        device.number = deviceNumberFrom(entry.line(name + "/dev"));
        device.sizeBytes = bytesFrom(entry.line(name + "/size"), kSectorUnit);
        device.startBytes = bytesFrom(entry.line(name + "/start"), kSectorUnit);
        device.isReadOnly = entry.line(name + "/ro") == "1";
        device.partitionNumber = number;
        device.sectorSize = disk.sectorSize;
        device.isRemovable = disk.isRemovable;
        device.isHidden = disk.isHidden;
        device.isRotational = disk.isRotational;
        partitions.emplace_back(device.name, disk.name);
        folders.push_back(entry.path() + "/" + name);
        found.push_back(std::move(device));
    }

    /// Only what has slaves holds a partition: on most machines with many partitions nothing has.
    void readHoldersOfPartitions() {
        for (std::size_t i = 0; i < partitions.size(); ++i)
            addEdges(partitions[i].first, readNamesIn(folders[i] + "/holders"), {});
    }

    /// A device is far larger than its position, so positions are sorted.
    std::vector<BlockDevice> inNaturalOrder() {
        std::vector<std::size_t> order(found.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::sort(order.begin(), order.end(), [this](std::size_t one, std::size_t other) {
            return comesBeforeNaturally(found[one].name, found[other].name);
        });
        std::vector<BlockDevice> ordered;
        ordered.reserve(found.size());
        for (const std::size_t position : order) ordered.push_back(std::move(found[position]));
        return ordered;
    }

    void addEdges(const std::string& name, const std::vector<std::string>& holders,
                  const std::vector<std::string>& slaves) {
        for (const std::string& holder : holders) edges.push_back({nodeOfSysfsName(holder), name, true});
        for (const std::string& slave : slaves) edges.push_back({name, nodeOfSysfsName(slave), false});
    }

    /// Turns names into positions. The kernel lists each edge at both ends; one end is enough.
    void join(std::vector<BlockDevice>& devices) const {
        std::unordered_map<std::string_view, std::size_t> positions;
        for (std::size_t i = 0; i < devices.size(); ++i) positions.emplace(devices[i].name, i);
        const auto link = [&devices](std::size_t upper, std::size_t lower) {
            devices[upper].on.push_back(lower);
            devices[lower].carries.push_back(upper);
        };
        for (const Edge& edge : edges) {
            const auto upper = positions.find(edge.upper);
            const auto lower = positions.find(edge.lower);
            if (upper != positions.end() && lower != positions.end())
                link(upper->second, lower->second);
            else if (edge.isFromLower)
                devices[lower->second].unlistedHolders.push_back(edge.upper);
            else
                devices[upper->second].unlistedSlaves.push_back(edge.lower);
        }
        for (const auto& [name, disk] : partitions) {
            link(positions.at(name), positions.at(disk));
            devices[positions.at(name)].disk = positions.at(disk);
        }
        for (const auto& [name, disk] : paths) {
            const auto position = positions.find(disk);
            if (position != positions.end()) devices[positions.at(name)].disk = position->second;
        }
        for (BlockDevice& device : devices) {
            for (std::vector<std::size_t>* const links : {&device.on, &device.carries}) {
                std::sort(links->begin(), links->end());
                links->erase(std::unique(links->begin(), links->end()), links->end());
            }
        }
    }

    std::vector<BlockDevice> found;
    std::unordered_set<std::string> taken;  // names as sysfs writes them
    std::vector<Edge> edges;
    std::vector<std::pair<std::string, std::string>> partitions;  // and their disks
    std::vector<std::string> folders;                             // of those partitions
    bool isAnyStacked = false;                                    // a device lies on others
    std::vector<std::pair<std::string, std::string>> paths;       // and the disks they lead to
};

}  // namespace

BlockDevices readBlockDevices() { return Reader().read(); }

}  // namespace diskmgt_machine
