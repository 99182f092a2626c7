// Questions about block devices. What decides is asked through the plug-in's own rules.
#include "inventory/device_facts.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <iterator>
#include <unordered_set>

#include "base/handles.h"
#include "collect/sysfs_text.h"
#include "inventory/device_names.h"
#include "schema/vocabulary.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using diskmgt_col::EntryName;
namespace os = diskmgt_col::os;

bool isCandidate(const std::string& path) {
    static const std::unordered_set<std::string> paths = [] {
        const std::vector<std::string> all = diskmgt_col::candidateDisks();
        return std::unordered_set<std::string>(all.begin(), all.end());
    }();
    return paths.count(path) != 0;
}

void readSysfs(DeviceFacts& facts) {
    const std::string directoryPath = diskmgt_col::kBlockDirectory + facts.name;
    if (facts.isListed && facts.nameVerdict == EntryName::kDisk) facts.sysfs = diskmgt_col::readSysfsDisk(facts.name);
    const diskmgt_col::UniqueDirectory directory(os::openDirectory(directoryPath));
    facts.hasSysfsDirectory = directory != nullptr;
    while (const char* const entry = directory == nullptr ? nullptr : os::nextEntryName(directory.get()))
        if (diskmgt_col::isPartitionEntry(entry, facts.name)) facts.kernelPartitions.emplace_back(entry);
    std::sort(facts.kernelPartitions.begin(), facts.kernelPartitions.end());
    const std::string sectorSize = diskmgt_col::firstLineOf(directoryPath + "/queue/logical_block_size").value_or("");
    (void)std::from_chars(sectorSize.data(), sectorSize.data() + sectorSize.size(), facts.logicalSectorSize);
}

/// Reads the place of the slots: the parser skips a device that gives nothing there without a word.
void readSlots(int fd, DeviceFacts& facts) {
    constexpr std::size_t kSignature = diskmgt_col::kSectorSize - diskmgt_col::kSlotsOffset - 2;
    unsigned char slots[kSignature + 2] = {};
    if (os::seekTo(fd, diskmgt_col::kSlotsOffset) < 0) return;
    if (os::readSome(fd, slots, sizeof slots) < 0) facts.readError = errno;
    facts.hasBootSignature = slots[kSignature] == 0x55 && slots[kSignature + 1] == 0xaa;
}

void openAndMeasure(DeviceFacts& facts) {
    const diskmgt_col::MeasuredDevice measured = diskmgt_col::measureDevice(facts.path);
    facts.isTried = true;
    if (!measured.device.valid()) {
        facts.openError = measured.error;
        return;
    }
    facts.sizeBytes = measured.sizeBytes;
    if (!measured.sizeBytes) facts.sizeError = measured.error;
    readSlots(measured.device.get(), facts);
    facts.tableCount = diskmgt_col::partitionCountOf(facts.path, &facts.table);
}

}  // namespace

bool DeviceFacts::hasNoMedium() const {
    return isTried && (openError == ENOMEDIUM || openError == ENXIO || openError == ENODEV);
}

bool DeviceFacts::isRefused() const { return isTried && openError != 0 && !hasNoMedium() && !isHiddenPath; }

bool DeviceFacts::canBeReadAgain() const {
    const bool holdsTable = hasBootSignature && content.empty();  // a file system has the same signature
    const bool wasReadWhole = sizeBytes && table.error == 0 && !table.refusedCount;
    return holdsTable && wasReadWhole && !isHeld && !isHiddenPath && logicalSectorSize <= 512;
}

bool KernelList::has(const std::string& name) const { return contains(names, name); }

KernelList readKernelList() {
    KernelList list;
    const diskmgt_col::UniqueDirectory directory(os::openDirectory(diskmgt_col::kBlockDirectory));
    if (directory == nullptr) {
        list.error = errno;
        return list;
    }
    while (const char* const entry = os::nextEntryName(directory.get()))
        if (diskmgt_col::judgeEntryName(entry) != EntryName::kDotEntry) list.names.emplace_back(entry);
    return list;
}

DeviceFacts examineDevice(const std::string& path, const KernelList& list,
                          const std::vector<std::string>& virtualDevices, Progress& progress) {
    progress.nowAt("asking about " + path);
    DeviceFacts facts;
    facts.path = path;
    facts.name = diskmgt_col::sysfsNameOf(path);
    const bool isPlain = path == "/dev/" + facts.name;  // the only form under which the kernel's entries are tried
    facts.isListed = isPlain && list.has(facts.name);
    facts.nameVerdict = diskmgt_col::judgeEntryName(facts.name.c_str());
    const std::string* const virtualEntry = diskmgt_col::virtualEntryFor(path, virtualDevices);
    if (virtualEntry != nullptr) facts.virtualEntry = *virtualEntry;
    facts.isCandidate = isCandidate(path);
    struct stat node {};
    facts.hasNode = ::stat(path.c_str(), &node) == 0;
    if (facts.hasNode && S_ISBLK(node.st_mode))
        facts.nodeNumber = {static_cast<std::uint32_t>(major(node.st_rdev)),
                            static_cast<std::uint32_t>(minor(node.st_rdev))};
    if (facts.isListed) readSysfs(facts);
    if (!facts.isMeasuredAsDrive() && !facts.isCandidate) return facts;
    if (facts.hasNode && !facts.nodeNumber) facts.stalling = stallingNodeAt(path);
    if (!facts.stalling) openAndMeasure(facts);
    return facts;
}

std::vector<std::string> presentCandidates() {
    const diskmgt_col::UniqueDirectory directory(os::openDirectory("/dev"));
    if (directory == nullptr) return diskmgt_col::candidateDisks();
    std::unordered_set<std::string> names;  // listing them once is cheaper than asking for each candidate
    while (const char* const name = os::nextEntryName(directory.get())) names.insert(name);
    std::vector<std::string> present;
    for (const std::string& path : diskmgt_col::candidateDisks())
        if (names.count(diskmgt_col::sysfsNameOf(path)) != 0) present.push_back(path);
    return present;
}

std::vector<DeviceFacts> examineAllDevices(const KernelList& list, const std::vector<std::string>& virtualDevices,
                                           Progress& progress) {
    std::vector<DeviceFacts> devices;
    devices.reserve(list.names.size());
    for (const std::string& name : list.names)
        devices.push_back(examineDevice("/dev/" + name, list, virtualDevices, progress));
    for (const std::string& path : presentCandidates())
        if (!list.has(diskmgt_col::sysfsNameOf(path)))
            devices.push_back(examineDevice(path, list, virtualDevices, progress));
    return devices;
}

std::vector<std::string> partitionNamesInTable(const std::string& diskPath) {
    std::vector<std::string> names;
    for (const diskmgt_col::PropertyMap& partition : diskmgt_col::PartitionTableParser().enumPartitions({diskPath})) {
        const auto [first, end] = partition.equal_range(diskmgt_col::kDeviceId);
        if (first != end) names.push_back(std::prev(end)->second);  // earlier ones are those of earlier partitions
    }
    return names;
}

std::string diskOfPartition(const std::string& partition, const std::vector<std::string>& disks) {
    for (const std::string& disk : disks)
        if (partition != disk && isOnDrive(partition, disk)) return disk;
    return {};
}

}  // namespace diskmgt
