// Reads sysfs, devices and the mount table in the plainest way.
#include "tests/contract/machine_witness.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

namespace contract {

namespace {

constexpr const char* kMountTable = "/etc/mtab";

/// In the order of the directory, so without sorting.
std::vector<std::string> entriesOf(const std::string& directory) {
    std::vector<std::string> names;
    DIR* const open = opendir(directory.c_str());
    if (open == nullptr) return names;
    while (const dirent* const entry = readdir(open)) {
        if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
    }
    (void)closedir(open);
    return names;
}

std::uint64_t numberIn(const std::string& path) {
    std::uint64_t number = 0;
    std::ifstream(path) >> number;
    return number;
}

std::optional<std::uint64_t> sizeOf(const std::string& path) {
    const int device = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (device < 0) return std::nullopt;
    std::uint64_t sizeBytes = 0;
    const int result = ioctl(device, BLKGETSIZE64, &sizeBytes);
    (void)close(device);
    if (result != 0) return std::nullopt;
    return sizeBytes;
}

/// The directory of a partition contains a file of that name.
bool hasPartitions(const std::string& deviceName) {
    const std::string directory = "/sys/block/" + deviceName;
    for (const std::string& entry : entriesOf(directory)) {
        if (access((directory + "/" + entry + "/partition").c_str(), F_OK) == 0) return true;
    }
    return false;
}

/// A field of the mount table, where blank, tab, line end and backslash are octal escapes.
std::string unescaped(const std::string& field) {
    static const std::map<std::string, char> escapes = {
        {"\\040", ' '}, {"\\011", '\t'}, {"\\012", '\n'}, {"\\134", '\\'}};
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        const auto escape = escapes.find(field.substr(i, 4));
        text += escape == escapes.end() ? field[i] : escape->second;
        if (escape != escapes.end()) i += 3;
    }
    return text;
}

/// The C library skips automounter entries with this mark.
bool isHidden(const Mount& mount) {
    return mount.type == "autofs" && ("," + mount.options + ",").find(",ignore,") != std::string::npos;
}

std::optional<Space> measured(const Mount& mount) {
    struct statfs statistics = {};
    if (statfs(mount.mountPoint.c_str(), &statistics) != 0 && statfs(mount.source.c_str(), &statistics) != 0) {
        return std::nullopt;
    }
    std::uint32_t words[2];
    static_assert(sizeof words == sizeof statistics.f_fsid);
    std::memcpy(words, &statistics.f_fsid, sizeof words);
    const auto blockSize = static_cast<std::uint64_t>(statistics.f_bsize);
    return Space{blockSize * statistics.f_blocks, std::to_string(words[0]) + " " + std::to_string(words[1])};
}

}  // namespace

std::vector<std::string> listedDevices() {
    std::vector<std::string> paths;
    for (const std::string& name : entriesOf("/sys/block")) {
        const std::string directory = "/sys/block/" + name;
        const bool isMapped = name.compare(0, 3, "dm-") == 0;
        const bool isRamDisk = numberIn(directory + "/dev") == 1;  // "major:minor": the major number comes first
        if (!isMapped && !isRamDisk && numberIn(directory + "/size") != 0) paths.push_back("/dev/" + name);
    }
    return paths;
}

std::vector<Drive> readDrives() {
    std::vector<Drive> drives;
    for (const std::string& path : listedDevices()) {
        const auto sizeBytes = sizeOf(path);
        if (sizeBytes) drives.push_back({path, *sizeBytes, hasPartitions(path.substr(std::strlen("/dev/")))});
    }
    return drives;
}

bool mountTableIsOpenToUs() {
    const int table = open(kMountTable, O_RDWR | O_CLOEXEC);
    if (table < 0) return false;
    (void)close(table);
    return true;
}

std::vector<Mount> readMounts() {
    std::map<std::string, Mount> bySource;
    if (!mountTableIsOpenToUs()) return {};
    std::ifstream table(kMountTable);
    for (std::string line; std::getline(table, line);) {
        std::istringstream fields(line);
        std::string source, mountPoint, type, options;
        if (!(fields >> source >> mountPoint >> type >> options) || source[0] == '#') continue;
        Mount mount{unescaped(source), unescaped(mountPoint), unescaped(type), unescaped(options), std::nullopt};
        if (isHidden(mount) || bySource.count(mount.source) != 0) continue;
        mount.space = measured(mount);
        bySource.emplace(mount.source, mount);
    }
    std::vector<Mount> mounts;
    for (const auto& [source, mount] : bySource) mounts.push_back(mount);
    return mounts;
}

}  // namespace contract
