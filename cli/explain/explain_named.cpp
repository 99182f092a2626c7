#include "cli/explain/explain_named.h"

#include <cstdlib>
#include <memory>

#include "base/os.h"
#include "cli/explain/device_explanation.h"
#include "cli/explain/device_use.h"
#include "cli/explain/mount_explanation.h"
#include "inventory/device_facts.h"
#include "inventory/mount_facts.h"
#include "machine/texts.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

namespace os = diskmgt_col::os;

class Naming {
public:
    Naming(const std::vector<std::string>& virtualTexts, Progress& shownProgress)
        : virtualDevices(virtualTexts), progress(shownProgress), table(readMounts(progress)), list(readKernelList()) {
        explanation.isWholeMachine = false;
    }

    void explain(const std::string& operand) {
        const std::string path = operand.find('/') == std::string::npos ? "/dev/" + operand : operand;
        const bool isDevice = list.has(operand) || operand.rfind("/dev/", 0) == 0;
        if (!isDevice && explainMountsNamed(operand)) return;
        const std::string device = resolved(path);
        const std::string disk = diskOf(device);
        DeviceExplanation found = disk.empty() ? explainDisk(device) : explainPartOf(disk, device);
        if (found.path != operand) found.asked = operand;
        use.addTo(found);
        addMountsOn(found);
        explanation.devices.push_back(std::move(found));
    }

    Explanation take() { return std::move(explanation); }

private:
    bool isDiskName(const std::string& path) const {
        const std::string name = diskmgt_col::sysfsNameOf(path);
        return (path == "/dev/" + name && list.has(name)) || contains(diskmgt_col::candidateDisks(), path);
    }

    /// The path under which the device is tried. A name that is tried itself stays, whatever it links to.
    std::string resolved(const std::string& path) {
        if (isDiskName(path) || table.untouchable.cover(path)) return path;
        progress.nowAt("following " + path);
        const std::unique_ptr<char, decltype(&std::free)> target(::realpath(path.c_str(), nullptr), &std::free);
        std::string device = target ? target.get() : path;
        if (device.rfind("/dev/", 0) != 0) return device;
        const std::string sysfsName = diskmgt_machine::sysfsNameOfNode(device.substr(5));
        return list.has(sysfsName) ? "/dev/" + sysfsName : device;
    }

    /// The disk of a partition, by the kernel's word or by name; empty when the device is none.
    std::string diskOf(const std::string& device) const {
        const std::string name = diskmgt_col::sysfsNameOf(device);
        if (isDiskName(device) || device != "/dev/" + name) return {};
        for (const std::string& disk : list.names) {
            const std::string entry = std::string(disk).append("/").append(name);
            if (diskmgt_col::isPartitionEntry(name.c_str(), disk) &&
                os::checkAccess(diskmgt_col::kBlockDirectory + entry) == 0)
                return "/dev/" + disk;
        }
        std::vector<std::string> disks = list.names;
        for (const std::string& candidate : diskmgt_col::candidateDisks())
            if (os::checkAccess(candidate) == 0) disks.push_back(diskmgt_col::sysfsNameOf(candidate));
        const std::string disk = diskOfPartition(name, disks);
        return disk.empty() ? "" : "/dev/" + disk;
    }

    DeviceExplanation explainDisk(const std::string& path) {
        return explainDevice(examineDevice(path, list, virtualDevices, progress), table.mounts, table.updateError == 0);
    }

    DeviceExplanation explainPartOf(const std::string& diskPath, const std::string& path) {
        const DeviceFacts disk = examineDevice(diskPath, list, virtualDevices, progress);
        const bool isReadable = disk.isCandidate && disk.isTried && disk.openError == 0;
        DeviceExplanation part = explainPartition(
            path, disk, isReadable ? partitionNamesInTable(diskPath) : std::vector<std::string>(), table);
        if (os::checkAccess(path) != 0)
            part.partitions.reasons.push_back({"no-node", "no node in /dev", "There is no node " + path + "."});
        return part;
    }

    void addMount(MountFacts& mount) {
        for (const MountExplanation& told : explanation.mounts)
            if (told.source == mount.source && told.mountPoint == mount.mountPoint) return;
        measureIfLocal(mount, table, progress);
        explanation.mounts.push_back(explainMount(mount, table.updateError));
    }

    bool explainMountsNamed(const std::string& name) {
        bool isFound = false;
        for (MountFacts& mount : table.mounts) {
            const bool isHere = !name.empty() && name.front() == '/' && plainPath(mount.mountPoint) == plainPath(name);
            if (!isHere && mount.source != name) continue;
            addMount(mount);
            isFound = true;
        }
        return isFound;
    }

    void addMountsOn(const DeviceExplanation& device) {
        for (const MountedOn& on : device.mounts)
            for (MountFacts& mount : table.mounts)
                if (mount.source == on.source && mount.mountPoint == on.mountPoint) {
                    addMount(mount);
                    break;
                }
    }

    const std::vector<std::string>& virtualDevices;
    Progress& progress;
    MountTableFacts table;
    const KernelList list;
    const DeviceUse use;
    Explanation explanation;
};

}  // namespace

Explanation explainNamed(const std::vector<std::string>& operands, const std::vector<std::string>& virtualDevices,
                         Progress& progress) {
    Naming naming(virtualDevices, progress);
    for (const std::string& operand : operands) naming.explain(operand);
    return naming.take();
}

}  // namespace diskmgt
