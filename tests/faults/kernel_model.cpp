// The calls read as phases, and what a failure costs in each.
#include "tests/faults/kernel_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace diskmgt_test {

namespace {

bool beginsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

/// "open(/dev/sda, O_RDONLY)" taken apart.
KernelModel::Call readCall(const std::string& text) {
    KernelModel::Call call;
    const std::size_t opening = text.find('(');
    const std::size_t comma = text.rfind(", ");
    const std::size_t pathEnd = comma == std::string::npos ? text.size() - 1 : comma;
    call.name = text.substr(0, opening);
    call.path = text.substr(opening + 1, pathEnd - opening - 1);
    if (comma != std::string::npos) call.detail = text.substr(comma + 2, text.size() - comma - 3);
    return call;
}

const std::vector<std::string>& disks() {
    static const std::vector<std::string> all{"/dev/ram0", "/dev/loop0", "/dev/sda", "/dev/nvme0n1",
                                              "/dev/sdb",  "/dev/sdc",   "/dev/sdd", "/dev/sde"};
    return all;
}

std::string diskOf(const std::string& path) {
    for (const std::string& disk : disks()) {
        const std::string name = disk.substr(5);
        if (beginsWith(path, disk) || beginsWith(path, "/sys/block/" + name)) return disk;
    }
    return std::string();
}

void removeDrive(std::vector<Texts>& drives, const std::string& disk) {
    drives.erase(
        std::remove_if(drives.begin(), drives.end(), [&](const Texts& drive) { return drive.at("DeviceID") == disk; }),
        drives.end());
}

void setCount(std::vector<Texts>& drives, const std::string& disk, std::size_t count) {
    for (Texts& drive : drives)
        if (drive.at("DeviceID") == disk) drive["NoOfPartitions"] = std::to_string(count);
}

/// The partitions of the NVMe disk are named by nodes and, without one, by their number alone.
bool isOn(const std::string& disk, const Texts& partition) {
    const std::string& name = partition.at("DeviceID");
    return beginsWith(name, disk) || (disk == "/dev/nvme0n1" && name.find('/') == std::string::npos);
}

void loseSpace(Texts& logicalDisk) {
    if (logicalDisk.erase("TotalSpace") == 0) return;
    logicalDisk.erase("FreeSpace");
    std::string& options = logicalDisk["MountOptions"];
    options.erase(options.rfind(", "));  // the file system's identifier
}

// Of a disk's directory: ".", "..", five attributes and the first partition, in the order of FakeOs::sysfsDisk.
constexpr int kEntriesToTheFirstPartition = 8;

const std::string kVirtualDisk = "/dev/sdd";
const std::string kVirtualLine = "3 LinuxDiskInfo::enumDiskInfo : Ignoring Virtual Device /dev/sdd";
const std::string kDriveLine = "3 Physical disk information.. VEXSG_DiskDrive";

void insertBehind(std::vector<std::string>& log, const std::string& line, const std::string& added) {
    log.insert(std::find(log.begin(), log.end(), line) + 1, added);
}

}  // namespace

KernelModel::KernelModel(const std::vector<std::string>& callTexts, Outcome cleanOutcome)
    : clean(std::move(cleanOutcome)) {
    Phase phase = Phase::drives;
    std::map<std::string, int> seen;  // since the reading of tables began or, outside, at all
    bool isInTables = false;
    std::string sized;  // the drive whose size was told last
    for (const std::string& text : callTexts) {
        Call call = readCall(text);
        if (call.path == "/dev/hda") phase = Phase::partitions;
        if (call.name == "setmntent") phase = Phase::mounts;
        if (phase == Phase::mounts && call.name == "readlink") phase = Phase::links;
        call.phase = phase;
        if (phase == Phase::drives || phase == Phase::partitions) call.disk = diskOf(call.path);
        if (call.name == "ioctl") sized = call.path;
        if (call.name == "open") {
            isInTables = phase == Phase::partitions || (phase == Phase::drives && call.path == sized);
            if (isInTables) seen.clear();
        }
        call.isInTables = isInTables;
        call.nth = ++seen[call.name + call.detail];
        if (call.name == "close") isInTables = false;
        made.push_back(std::move(call));
    }
}

std::string KernelModel::describe(int number) const {
    const Call& call = at(number);
    return "call " + std::to_string(number) + " of " + std::to_string(made.size()) + ", " + call.name + '(' +
           call.path + (call.detail.empty() ? "" : ", " + call.detail) + ')';
}

bool KernelModel::leadsSomewhere(int number) const {
    const Call& call = at(number);
    return call.phase != Phase::partitions || !call.disk.empty();
}

Outcome KernelModel::whenFails(int number) const {
    const Call& call = at(number);
    Outcome outcome = clean;
    std::string unreadableLink;
    const bool changesNothing = call.name == "fcntl" || call.name == "close" || call.name == "closedir";
    if (!changesNothing && call.phase == Phase::drives) failInDrives(call, number, outcome);
    if (!changesNothing && call.phase == Phase::partitions && !call.disk.empty()) {
        std::vector<Texts> onDisk = partitionsOf(call.disk);
        failInTables(call, onDisk);
        std::vector<Texts>& all = outcome.published["VEXSG_DiskPartition"];
        const auto isHit = [&](const Texts& partition) { return isOn(call.disk, partition); };
        const auto place = std::find_if(all.begin(), all.end(), isHit) - all.begin();
        all.erase(std::remove_if(all.begin(), all.end(), isHit), all.end());
        all.insert(all.begin() + place, onDisk.begin(), onDisk.end());
    }
    if (call.phase == Phase::mounts) failInMounts(call, number, outcome);
    if (call.phase == Phase::links) unreadableLink = call.path;
    derivePairs(outcome, unreadableLink);
    return outcome;
}

int KernelModel::readsBefore(int number) const {
    int count = 0;
    for (int before = 1; before < number; ++before)
        if (at(before).name == at(number).name && at(before).path == at(number).path) ++count;
    return count;
}

void KernelModel::failInDrives(const Call& call, int number, Outcome& outcome) const {
    std::vector<Texts>& drives = outcome.published["VEXSG_DiskDrive"];
    const auto loseVirtualLine = [&] {
        outcome.log.erase(std::remove(outcome.log.begin(), outcome.log.end(), kVirtualLine), outcome.log.end());
    };
    if (call.path == "/sys/block/") {  // the list of disks ends here
        for (const std::string& disk : disks()) {
            if (firstCallAbout(disk, Phase::drives) < number) continue;
            removeDrive(drives, disk);
            if (disk == kVirtualDisk) loseVirtualLine();
        }
        if (call.name == "opendir")
            insertBehind(outcome.log, kDriveLine,
                         "3 PhysDiskInformation::doEnumeration : fail to open the dir /sys/block/");
    } else if (call.path == "/sys/block/ram0/dev") {  // taken for a disk: nothing says that it is none
        Texts ram = drives.front();
        for (const char* const name : {"DeviceID", "ElementName", "Name"}) ram[name] = "/dev/ram0";
        ram["NoOfPartitions"] = "0";
        ram["Size"] = std::to_string(DiskImage::kDefaultBytes);
        drives.insert(drives.begin(), ram);
    } else if (call.path == "/sys/block/" + call.disk.substr(5) + "/size") {
        removeDrive(drives, call.disk);
        if (call.disk == kVirtualDisk) loseVirtualLine();
    } else if (call.isInTables) {
        std::vector<Texts> counted = partitionsOf(call.disk);
        failInTables(call, counted);
        setCount(drives, call.disk, counted.size());
    } else if (call.path == call.disk) {  // its size cannot be asked for
        removeDrive(drives, call.disk);
    } else if (call.name == "opendir" || call.name == "readdir") {
        if (call.name == "readdir" && readsBefore(number) >= kEntriesToTheFirstPartition) return;  // it was seen
        setCount(drives, call.disk, 0);
        if (call.name == "opendir")
            insertBehind(outcome.log, kDriveLine, "3 LinuxDiskInfo::HasPartitions : fail to open the dir " + call.path);
    }
}

/// What is left of the disk's partitions. On this server everything that is no table is zero, so a table that is read
/// from the wrong place is an empty one.
void KernelModel::failInTables(const Call& call, std::vector<Texts>& partitions) const {
    const bool isProbe = call.detail == "16" || (call.detail == "446" && call.nth == 1);
    if (call.name == "lseek" && call.detail == "0") return;  // where it ends changes nothing
    if (call.name == "access") {
        for (Texts& partition : partitions)
            if (partition["DeviceID"] == call.path)
                partition["DeviceID"] = partition["ElementName"] = call.path.substr(call.path.size() - 1);
        return;
    }
    if (call.name == "lseek" && isProbe) {  // the disk is taken for one with an MBR
        if (call.disk != "/dev/sdb") return;
        Texts protective = partitions.front();
        protective["PartitionType"] = "1";
        protective["PartitionSubType"] = "238";
        protective["Size"] = std::to_string(std::uint64_t{0xFFFFFFFF} * 512);
        protective["StartingOffset"] = "958";  // sector 1, and 446
        protective["Bootable"] = "false";
        partitions = {protective};
        return;
    }
    // Tables of the chain: the MBR, then one logical partition in each record.
    const bool isLink = call.detail != "446" && call.detail != "512" && call.name == "lseek";
    const int table = isLink                ? (call.detail == std::to_string(2048 * 512 + 446) ? 2 : 3)
                      : call.detail == "66" ? call.nth
                                            : 1;
    int record = 1;
    std::vector<Texts> left;
    for (const Texts& partition : partitions) {
        const bool isLogical = partition.at("PartitionType") == "3";
        if (isLogical) ++record;
        if (table > (isLogical ? record : 1)) left.push_back(partition);
    }
    partitions = left;
}

void KernelModel::failInMounts(const Call& call, int number, Outcome& outcome) const {
    std::vector<Texts>& logicalDisks = outcome.published["VEXSG_LogicalDisk"];
    const Call& next = at(std::min(number + 1, calls()));
    const bool failsAnyway = next.name == "statfs";  // which is why the source is asked about next
    if (call.name == "statfs" && !failsAnyway) {
        for (Texts& logicalDisk : logicalDisks)
            if (logicalDisk["DeviceID"] == call.path || logicalDisk["OtherIdentifyingInfo"] == call.path)
                loseSpace(logicalDisk);
    } else if (call.name == "setmntent" || call.name == "getmntent") {  // what was not measured before is not there
        logicalDisks.erase(std::remove_if(logicalDisks.begin(), logicalDisks.end(),
                                          [&](const Texts& logicalDisk) {
                                              const std::string& place = logicalDisk.at("OtherIdentifyingInfo");
                                              for (int before = 1; before < number; ++before)
                                                  if (at(before).name == "statfs" && at(before).path == place)
                                                      return false;
                                              return true;
                                          }),
                           logicalDisks.end());
    }
}

void KernelModel::derivePairs(Outcome& outcome, const std::string& unreadableLink) const {
    for (auto& [className, instances] : outcome.published) {
        if (!isAssociationClass(className)) continue;
        instances = pairsOf(className, outcome, [&](const std::string& path) {
            const auto link = serverLinks().find(path);
            return link == serverLinks().end() || path == unreadableLink ? std::string() : link->second;
        });
    }
}

void KernelModel::expectNothingFrom(int number, const Outcome& actual) const {
    EXPECT_FALSE(actual.failure);
    const std::vector<Texts>& drives = actual.of("VEXSG_DiskDrive");
    for (const Texts& drive : clean.of("VEXSG_DiskDrive")) {
        const std::string& disk = drive.at("DeviceID");
        if (lastCallAbout(disk, Phase::drives) < number) {
            EXPECT_EQ(std::count(drives.begin(), drives.end(), drive), 1) << disk;
        }
        int opened = 1;  // the drive itself, after all of sysfs was listed
        while (at(opened).name != "open" || at(opened).path != disk) ++opened;
        if (opened >= number) {
            const auto isIt = [&](const Texts& other) { return other.at("DeviceID") == disk; };
            EXPECT_EQ(std::count_if(drives.begin(), drives.end(), isIt), 0) << disk;
        }
    }
    for (const std::string& disk : disks()) {
        std::vector<Texts> found;
        for (const Texts& partition : actual.of("VEXSG_DiskPartition"))
            if (isOn(disk, partition)) found.push_back(partition);
        if (lastCallAbout(disk, Phase::partitions) < number) {
            EXPECT_EQ(found, partitionsOf(disk)) << disk;
        }
        if (firstCallAbout(disk, Phase::partitions) >= number) {
            EXPECT_TRUE(found.empty()) << disk;
        }
    }
    Outcome mounts = clean;
    for (int later = number; later <= calls(); ++later)
        if (at(later).phase == Phase::mounts) failInMounts(at(later), later, mounts);
    EXPECT_EQ(actual.of("VEXSG_LogicalDisk"), mounts.of("VEXSG_LogicalDisk"));
    for (const auto& [className, instances] : actual.published) {
        if (!isAssociationClass(className)) continue;
        EXPECT_EQ(instances, pairsOf(className, actual,
                                     [&](const std::string& path) {
                                         for (int before = 1; before < number; ++before)
                                             if (at(before).name == "readlink" && at(before).path == path &&
                                                 serverLinks().count(path) == 1)
                                                 return serverLinks().at(path);
                                         return std::string();
                                     }))
            << className;
    }
}

void KernelModel::expectOnlyDiskOf(int number, const Outcome& actual) const {
    const Call& call = at(number);
    const auto without = [&](const Outcome& outcome, const char* className) {
        std::vector<Texts> others;
        for (Texts texts : outcome.of(className)) {
            if (std::string(className) == "VEXSG_DiskPartition" && isOn(call.disk, texts)) continue;
            if (texts.at("DeviceID") == call.disk) texts.erase("NoOfPartitions");
            others.push_back(texts);
        }
        return others;
    };
    EXPECT_FALSE(actual.failure);
    EXPECT_EQ(actual.log, clean.log);
    for (const char* const className : {"VEXSG_DiskDrive", "VEXSG_DiskPartition"})
        EXPECT_EQ(without(actual, className), without(clean, className));
    EXPECT_EQ(actual.of("VEXSG_LogicalDisk"), clean.of("VEXSG_LogicalDisk"));
    expectAssociationsFollow(actual);
}

std::vector<Texts> KernelModel::partitionsOf(const std::string& disk) const {
    std::vector<Texts> found;
    for (const Texts& partition : clean.of("VEXSG_DiskPartition"))
        if (isOn(disk, partition)) found.push_back(partition);
    return found;
}

int KernelModel::firstCallAbout(const std::string& disk, Phase phase) const {
    for (int number = 1; number <= calls(); ++number)
        if (at(number).disk == disk && at(number).phase == phase) return number;
    return calls() + 1;
}

int KernelModel::lastCallAbout(const std::string& disk, Phase phase) const {
    for (int number = calls(); number > 0; --number)
        if (at(number).disk == disk && at(number).phase == phase) return number;
    return 0;
}

}  // namespace diskmgt_test
