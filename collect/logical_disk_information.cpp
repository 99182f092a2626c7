#include "collect/logical_disk_information.h"

#include <cstring>
#include <map>
#include <string>
#include <utility>

#include "base/handles.h"
#include "base/text.h"
#include "collect/mount_rules.h"
#include "schema/vocabulary.h"

namespace diskmgt_col {

namespace {

void addSpace(PropertyMap& properties, const struct statfs& statistics) {
    const auto blockSize = static_cast<unsigned long>(statistics.f_bsize);
    properties.emplace(kFreeSpace, dataToString<unsigned long>(blockSize * statistics.f_bfree));
    properties.emplace(kTotalSpace, dataToString<unsigned long>(blockSize * statistics.f_blocks));
    // Intended: the file-system identifier is appended to the options. Held by
    // LogicalDiskInformation.TheFileSystemIdentifierIsAppendedToTheOptions.
    unsigned int identifier[2];
    static_assert(sizeof identifier == sizeof statistics.f_fsid);
    std::memcpy(identifier, &statistics.f_fsid, sizeof identifier);
    properties.find(kMountOptions)->second +=
        ", " + dataToString<unsigned int>(identifier[0]) + " " + dataToString<unsigned int>(identifier[1]);
}

PropertyMap describe(const mntent& mount) {
    PropertyMap properties;
    properties.emplace(kDeviceId, mount.mnt_fsname);
    properties.emplace(kElementName, mount.mnt_fsname);
    // Intended: the trailing comma. Held by LogicalDiskInformation.TheMountPointCarriesATrailingComma.
    properties.emplace(kOtherIdentifyingInfo, dataToString<char*>(mount.mnt_dir) + ",");
    properties.emplace(kMountOptions, mount.mnt_opts);
    properties.emplace(kFileSystemName, mount.mnt_type);
    struct statfs statistics;
    if (measureMount(mount.mnt_dir, mount.mnt_fsname, statistics) != MeasuredPath::kNothing)
        addSpace(properties, statistics);
    return properties;
}

}  // namespace

std::vector<PropertyMap> LogicalDiskInformation::doEnumeration(LDMStore& /*store*/) const {
    std::vector<PropertyMap> disks;
    const UniqueMountTable table(os::openMountTable(kMountTable, kMountTableMode));
    if (table == nullptr) return disks;

    std::multimap<std::string, PropertyMap> mountsByDevice;
    std::vector<char> line(kMountLineSize);
    mntent mount;
    while (os::nextMountEntry(table.get(), mount, line.data(), kMountLineSize)) {
        if (isLaterMount(mountsByDevice, mount.mnt_fsname)) {
            // Measured for the side effect (the mount); the figures are dropped with the entry.
            struct statfs unused;
            if (isMeasuredThoughLater(mount.mnt_type)) (void)measureMount(mount.mnt_dir, mount.mnt_fsname, unused);
            continue;
        }
        mountsByDevice.emplace(mount.mnt_fsname, describe(mount));
    }
    disks.reserve(mountsByDevice.size());
    for (auto& [source, properties] : mountsByDevice) disks.push_back(std::move(properties));
    return disks;
}

}  // namespace diskmgt_col
