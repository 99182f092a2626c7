// The calls read as phases, and what no failure in them may touch.
#include "tests/faults/kernel_model.h"

#include <gtest/gtest.h>

#include <algorithm>

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

const std::string kVirtualDisk = "/dev/sdd";
const std::string kVirtualLine = "3 LinuxDiskInfo::enumDiskInfo : Ignoring Virtual Device /dev/sdd";

/// What is published of the disk itself and, when `className` is that of partitions, what lies on it.
bool isOf(const std::string& disk, const char* className, const Texts& texts) {
    return std::string(className) == "VEXSG_DiskPartition" ? isOn(disk, texts) : texts.at("DeviceID") == disk;
}

std::vector<Texts> select(const Outcome& outcome, const char* className, const std::string& disk, bool ofTheDisk) {
    std::vector<Texts> chosen;
    for (const Texts& texts : outcome.of(className))
        if (isOf(disk, className, texts) == ofTheDisk) chosen.push_back(texts);
    return chosen;
}

bool isOneOf(const Texts& texts, const std::vector<Texts>& all) {
    return std::find(all.begin(), all.end(), texts) != all.end();
}

}  // namespace

KernelModel::KernelModel(const std::vector<std::string>& callTexts, Outcome cleanOutcome)
    : clean(std::move(cleanOutcome)) {
    Phase phase = Phase::drives;
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
        if (call.name == "open")
            isInTables = phase == Phase::partitions || (phase == Phase::drives && call.path == sized);
        call.isInTables = isInTables;
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

void KernelModel::expectOnlyItsOwnLoss(int number, const Outcome& actual) const {
    const Call& call = at(number);
    const bool changesNothing = call.name == "fcntl" || call.name == "close" || call.name == "closedir" ||
                                call.name == "endmntent" || (call.phase == Phase::partitions && call.disk.empty());
    if (changesNothing) {
        EXPECT_EQ(differences(actual, clean), "");
        return;
    }
    EXPECT_FALSE(actual.failure);
    expectLog(call, actual);
    expectDrives(call, actual);
    expectPartitions(call, actual);
    expectLogicalDisks(call, number, actual);
    for (const auto& [className, instances] : actual.published) {
        if (!isAssociationClass(className)) continue;
        const auto target = [&](const std::string& path) {
            const auto link = serverLinks().find(path);
            const bool isRead = link != serverLinks().end() && (call.phase != Phase::links || path != call.path);
            return isRead ? link->second : std::string();
        };
        EXPECT_EQ(instances, pairsOf(className, actual, target)) << className;
    }
}

/// The usual lines; one more when a directory cannot be listed, none about a virtual disk that is not come to.
void KernelModel::expectLog(const Call& call, const Outcome& actual) const {
    std::vector<std::string> lines = actual.log;
    if (call.name == "opendir") {
        const std::string end = " : fail to open the dir " + call.path;
        const auto isIt = [&](const std::string& line) {
            return line.size() > end.size() && line.compare(line.size() - end.size(), end.size(), end) == 0;
        };
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(), isIt), 1);
        lines.erase(std::remove_if(lines.begin(), lines.end(), isIt), lines.end());
    }
    std::vector<std::string> usual = clean.log;
    const bool mayHideVirtual = call.path == "/sys/block/" || call.disk == kVirtualDisk;
    if (mayHideVirtual && std::count(lines.begin(), lines.end(), kVirtualLine) == 0)
        usual.erase(std::remove(usual.begin(), usual.end(), kVirtualLine), usual.end());
    EXPECT_EQ(lines, usual);
}

/// The list of disks may end early; else one drive may be missing or have a smaller count. A RAM disk whose number
/// cannot be read is taken for a drive.
void KernelModel::expectDrives(const Call& call, const Outcome& actual) const {
    const char* const className = "VEXSG_DiskDrive";
    const std::vector<Texts>& drives = actual.of(className);
    if (call.phase != Phase::drives) {
        EXPECT_EQ(drives, clean.of(className));
    } else if (call.path == "/sys/block/") {
        EXPECT_TRUE(isBeginningOf(drives, clean.of(className)));
    } else {
        EXPECT_EQ(select(actual, className, call.disk, false), select(clean, className, call.disk, false));
        const std::vector<Texts> own = select(actual, className, call.disk, true);
        const std::vector<Texts> before = select(clean, className, call.disk, true);
        EXPECT_LE(own.size(), call.path == "/sys/block/ram0/dev" ? 1U : before.size());
        if (own.empty() || before.empty()) return;
        EXPECT_LE(std::stoi(own[0].at("NoOfPartitions")), std::stoi(before[0].at("NoOfPartitions")));
        Texts others = own[0];
        others["NoOfPartitions"] = before[0].at("NoOfPartitions");
        EXPECT_EQ(others, before[0]);
    }
}

/// Only those on the disk that is read may be fewer. What cannot be read is not made up; only a seek that fails lets
/// another place be read, and a node that cannot be found lets a partition have another name.
void KernelModel::expectPartitions(const Call& call, const Outcome& actual) const {
    const char* const className = "VEXSG_DiskPartition";
    if (call.phase != Phase::partitions) {
        EXPECT_EQ(actual.of(className), clean.of(className));
        return;
    }
    EXPECT_EQ(select(actual, className, call.disk, false), select(clean, className, call.disk, false));
    const std::vector<Texts> own = select(actual, className, call.disk, true);
    const std::vector<Texts> before = partitionsOf(call.disk);
    EXPECT_LE(own.size(), before.size());
    if (call.name == "access") {
        EXPECT_EQ(own.size(), before.size());
    } else if (call.name == "open") {
        EXPECT_TRUE(own.empty());
    } else if (call.name != "lseek") {
        for (const Texts& partition : own) EXPECT_TRUE(isOneOf(partition, before)) << partition.at("DeviceID");
    }
}

/// What was measured before stays, and what is there is one of the usual ones, with or without its space.
void KernelModel::expectLogicalDisks(const Call& call, int number, const Outcome& actual) const {
    const char* const className = "VEXSG_LogicalDisk";
    const std::vector<Texts>& found = actual.of(className);
    if (call.phase != Phase::mounts) {
        EXPECT_EQ(found, clean.of(className));
        return;
    }
    std::vector<Texts> known;
    for (Texts logicalDisk : clean.of(className)) {
        const std::string& place = logicalDisk.at("OtherIdentifyingInfo");
        const bool isHit = place == call.path || logicalDisk.at("DeviceID") == call.path;
        if (call.name == "statfs" ? !isHit : isAskedBefore(number, "statfs", place)) {
            EXPECT_EQ(std::count(found.begin(), found.end(), logicalDisk), 1) << place;
        }
        known.push_back(logicalDisk);
        if (isHit) {
            loseSpace(logicalDisk);
            known.push_back(logicalDisk);
        }
    }
    for (const Texts& logicalDisk : found)
        EXPECT_TRUE(isOneOf(logicalDisk, known)) << logicalDisk.at("OtherIdentifyingInfo");
    EXPECT_LE(found.size(), clean.of(className).size());
    if (call.name == "statfs") {
        EXPECT_EQ(found.size(), clean.of(className).size());
    }
}

/// With every call from `number` on failing: measured before, as usual; asked about since, without its space; later,
/// not there.
void KernelModel::expectMountsReadBefore(int number, const Outcome& actual) const {
    std::vector<Texts> due;
    for (Texts logicalDisk : clean.of("VEXSG_LogicalDisk")) {
        int first = 0;
        int last = 0;
        for (int call = 1; call <= calls(); ++call) {
            const bool isPlace = at(call).path == logicalDisk.at("OtherIdentifyingInfo");
            if (at(call).name != "statfs" || (!isPlace && at(call).path != logicalDisk.at("DeviceID"))) continue;
            if (first == 0) first = call;
            last = call;
        }
        if (last >= number) loseSpace(logicalDisk);
        if (first <= number) due.push_back(logicalDisk);
    }
    EXPECT_EQ(actual.of("VEXSG_LogicalDisk"), due);
}

bool KernelModel::isAskedBefore(int number, const std::string& name, const std::string& path) const {
    for (int before = 1; before < number; ++before)
        if (at(before).name == name && at(before).path == path) return true;
    return false;
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
    expectMountsReadBefore(number, actual);
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
