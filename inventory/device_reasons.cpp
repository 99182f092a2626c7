#include "inventory/device_reasons.h"

#include <cctype>
#include <cerrno>

#include "inventory/failure_text.h"
#include "machine/texts.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using diskmgt_col::EntryName;

/// The reason why opening failed; the node may be missing.
Reason openFailure(const DeviceFacts& facts) {
    if (facts.isHiddenPath)
        return {"hidden-path", "hidden path",
                "It is a path to a multipath disk. The kernel hides it, so it has no node and is never opened."};
    if (facts.hasNoMedium())
        return {"no-medium", "no medium",
                "Opening " + facts.path + " failed: " + failureText(facts.openError) +
                    ". It has no medium, or nothing is behind its node."};
    if (facts.openError != ENOENT)
        return {"open-failed", "cannot be opened",
                "Opening " + facts.path + " failed: " + failureText(facts.openError) + "."};
    const std::string node = diskmgt_machine::nodeOfSysfsName(facts.name);
    if (facts.isListed && node != facts.name)
        return {"no-node", "no node: \"!\" in its name",
                facts.path + R"( is what is tried, but sysfs writes "!" for "/": the node is /dev/)" + node +
                    ", which is never tried."};
    return {"no-node", "no node in /dev", "There is no node " + facts.path + "."};
}

Reason notABlockDevice(const DeviceFacts& facts) {
    return {"not-a-block-device", facts.stalling.kind, facts.stalling.sentence() + "."};
}

std::string whyKernelHasNone(const DeviceFacts& facts) {
    const std::string noSignature = ": no signature is checked when it is read.";
    if (!facts.content.empty())
        return "The disk holds " + facts.content + " and no table; its first sector only looks like one" + noSignature;
    if (!facts.hasBootSignature) return "Its first sector has no boot signature, so it holds no table" + noSignature;
    return "Either the kernel has not read the table again, or the disk has no table and its first sector only looks "
           "like one" +
           noSignature;
}

/// The word of the entry that the path was found in: "/dev/sdbc" for /dev/sdb.
std::string wordAround(const std::string& path, const std::string& entry) {
    const std::size_t begin = entry.find(path);
    std::size_t end = begin + path.size();
    while (end < entry.size() && (std::isalnum(static_cast<unsigned char>(entry[end])) != 0 || entry[end] == '!' ||
                                  entry[end] == '/' || entry[end] == '-' || entry[end] == '_'))
        ++end;
    return entry.substr(begin, end - begin);
}

Reason virtualReason(const DeviceFacts& facts) {
    const std::string word = wordAround(facts.path, facts.virtualEntry);
    const std::string quoted = "\"" + facts.virtualEntry + "\"";
    if (!isVirtualByAccident(facts))
        return {"virtual-device", "virtual device",
                "The management controller presents it: the list of virtual devices has the entry " + quoted + "."};
    return {"virtual-device-substring", "name of a virtual device",
            "The list of virtual devices has the entry " + quoted + ". It names " + word + ", but the text contains " +
                facts.path + " too, so this drive is left out only because of its name."};
}

Reason sizeReason(const DeviceFacts& facts) {
    const std::string file = diskmgt_col::kBlockDirectory + facts.name + "/size";
    if (!facts.sysfs.sizeLine)
        return {"no-size-file", "no size in sysfs",
                file + " is missing, empty or unreadable, so the device counts as having no size."};
    const std::string& line = *facts.sysfs.sizeLine;
    const bool isZero = !line.empty() && line.find_first_not_of("0 \t") == std::string::npos;
    if (isZero)
        return {"zero-size", "size 0",
                "Its size in sysfs is 0: a drive without a medium, a loop device without a file, an array that is not "
                "running."};
    return {
        "bad-size-text", "size is not a number",
        file + " holds \"" + line + "\", which is not a number of sectors, so the device counts as having no size."};
}

void addSysfsReasons(const DeviceFacts& facts, std::vector<Reason>& reasons) {
    if (!facts.isListed) {
        reasons.push_back({"not-in-sysfs", "not in /sys/block",
                           "The kernel lists no disk " + facts.name +
                               " in /sys/block, and only what it lists becomes "
                               "a drive."});
        if (!facts.hasNode) reasons.push_back({"no-node", "no node in /dev", "There is no node " + facts.path + "."});
        return;
    }
    if (facts.nameVerdict == EntryName::kDeviceMapper) {
        reasons.push_back({"dm-prefix", "device-mapper volume",
                           "Its name begins with \"dm-\": device-mapper volumes (LVM, multipath, encryption) are never "
                           "drives."});
        return;
    }
    if (!facts.sysfs.hasSize()) reasons.push_back(sizeReason(facts));
    if (facts.sysfs.isRamDisk())
        reasons.push_back({"ram-disk", "RAM disk", "Its major number is 1, that of RAM disks, which are left out."});
}

}  // namespace

bool isVirtualByAccident(const DeviceFacts& facts) {
    return !facts.virtualEntry.empty() && wordAround(facts.path, facts.virtualEntry) != facts.path;
}

Verdict judgeDrive(const DeviceFacts& facts) {
    Verdict verdict;
    verdict.isReported = facts.isDrive();
    std::vector<Reason>& reasons = verdict.reasons;
    if (!facts.isOffered()) {
        addSysfsReasons(facts, reasons);
    } else if (!facts.virtualEntry.empty()) {
        reasons.push_back(virtualReason(facts));
    } else if (facts.stalling) {
        reasons.push_back(notABlockDevice(facts));
    } else if (facts.openError != 0) {
        reasons.push_back(openFailure(facts));
    } else if (!facts.sizeBytes) {
        reasons.push_back({"size-failed", "size cannot be read",
                           "It opened, but its size cannot be read: " + failureText(facts.sizeError) +
                               ". It may not be a block device."});
    } else if (!facts.hasSysfsDirectory) {
        reasons.push_back({"sysfs-directory-failed", "",
                           diskmgt_col::kBlockDirectory + facts.name +
                               " cannot be opened, so the number of partitions is reported as 0."});
    }
    return verdict;
}

Verdict judgePartitions(const DeviceFacts& facts) {
    Verdict verdict;
    verdict.isReported = facts.hasPartitions();
    std::vector<Reason>& reasons = verdict.reasons;
    if (!facts.isCandidate) {
        reasons.push_back(
            {"not-a-candidate", facts.hasUnaskedPartitions() ? "name not searched" : "",
             "The name " + facts.name + " is not searched for partitions, only " + kCandidateNames + "."});
    } else if (facts.stalling) {
        reasons.push_back(notABlockDevice(facts));
    } else if (facts.openError != 0) {
        reasons.push_back(openFailure(facts));
    } else if (facts.readError != 0) {
        reasons.push_back({"read-failed", "cannot be read",
                           "Reading its first sector failed: " + failureText(facts.readError) + "."});
    } else if (facts.table.error != 0) {
        const std::string sector = std::to_string(facts.table.errorOffset / diskmgt_col::kSectorSize);
        reasons.push_back({"read-failed", "tables end unreadable",
                           "Reading sector " + sector + " of its tables failed: " + failureText(facts.table.error) +
                               ". Partitions behind it are missing."});
    } else if (facts.table.refusedCount) {
        reasons.push_back(
            {"table-refused", "GPT refused", "Its GPT is refused: " + refusalOfCount(*facts.table.refusedCount) + "."});
    } else if (facts.tableCount == 0 && !facts.hasLargeSectors()) {  // those may have one that is not found
        reasons.push_back({"no-partition-found", "", "Its first sectors hold no partition table with partitions."});
    }
    const std::string inTable = counted(facts.tableCount, "partition");
    if (facts.differsFromKernel()) {
        if (facts.kernelPartitions.empty())
            reasons.push_back({"no-partition-directories", "kernel shows none",
                               "The table holds " + inTable +
                                   ", but the kernel shows none, so the drive's number of partitions is 0. " +
                                   whyKernelHasNone(facts)});
        else
            reasons.push_back(
                {"kernel-and-table-disagree", "kernel shows " + std::to_string(facts.kernelPartitions.size()),
                 "The table holds " + inTable + ", the kernel shows " + std::to_string(facts.kernelPartitions.size()) +
                     " (" + listed(facts.kernelPartitions) + ")."});
    }
    if (facts.hasLargeSectors())
        reasons.push_back({"large-sectors", std::to_string(facts.logicalSectorSize) + "-byte sectors",
                           "Its logical sectors have " + std::to_string(facts.logicalSectorSize) +
                               " bytes, but tables are read as if they had 512: partitions are wrong or missing."});
    if (verdict.isReported && !facts.isDrive())
        reasons.push_back({"no-drive", "drive not reported",
                           "The partitions are reported although the drive is not, so they are linked to no drive."});
    return verdict;
}

}  // namespace diskmgt
