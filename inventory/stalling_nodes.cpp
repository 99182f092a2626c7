// A node is a FIFO, or a character device such as a terminal. Files, directories and sockets answer at once.
#include "inventory/stalling_nodes.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "collect/device_rules.h"
#include "inventory/device_facts.h"
#include "schema/vocabulary.h"

namespace diskmgt {

namespace {

StallingNode stallingCandidate() {
    for (const std::string& path : presentCandidates())
        if (StallingNode found = stallingNodeAt(path)) return found;
    return {};
}

StallingNode stallingDrive(const std::vector<std::string>& virtualDevices) {
    for (const std::string& name : readKernelList().names) {
        StallingNode found = stallingNodeAt("/dev/" + name);
        if (!found || diskmgt_col::judgeEntryName(name.c_str()) != diskmgt_col::EntryName::kDisk) continue;
        if (!diskmgt_col::readSysfsDisk(name).isOffered()) continue;
        if (diskmgt_col::virtualEntryFor(found.path, virtualDevices) == nullptr) return found;
    }
    return {};
}

}  // namespace

std::string StallingNode::sentence() const {
    return path + " is " + kind + " and no block device, so a request of the plug-in may wait there for ever; remove " +
           path;
}

StallingNode stallingNodeAt(const std::string& path) {
    constexpr unsigned kMemoryDevices = 1;  // /dev/null and its like answer at once
    struct stat node {};
    if (::stat(path.c_str(), &node) != 0) return {};
    const bool isFifo = S_ISFIFO(node.st_mode);
    if (!isFifo && (!S_ISCHR(node.st_mode) || major(node.st_rdev) == kMemoryDevices)) return {};
    if (::access(path.c_str(), R_OK) != 0) return {};  // the open is refused at once
    return {path, isFifo ? "a FIFO" : "a character device"};
}

StallingNode stallingNodeOf(const std::string& className, const std::vector<std::string>& virtualDevices) {
    if (className == diskmgt_col::kDiskPartition) return stallingCandidate();
    if (className == diskmgt_col::kDiskDrive) return stallingDrive(virtualDevices);
    return {};
}

}  // namespace diskmgt
