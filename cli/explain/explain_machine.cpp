#include "cli/explain/explain_machine.h"

#include "cli/explain/device_explanation.h"
#include "cli/explain/device_use.h"
#include "cli/explain/diagnosis.h"
#include "cli/explain/mount_explanation.h"

namespace diskmgt {

Explanation explainMachine(const std::vector<std::string>& virtualDevices, Progress& progress) {
    const KernelList list = readKernelList();
    MountTableFacts table = readMounts(progress);
    for (MountFacts& mount : table.mounts) measureIfLocal(mount, table, progress);
    std::vector<DeviceFacts> devices = examineAllDevices(list, virtualDevices, progress);
    const DeviceUse use;

    Explanation explanation;
    for (DeviceFacts& device : devices) {
        use.addTo(device);
        explanation.devices.push_back(explainDevice(device, table.mounts, table.updateError == 0));
        use.addTo(explanation.devices.back());
    }
    for (const MountFacts& mount : table.mounts) explanation.mounts.push_back(explainMount(mount, table.updateError));
    explanation.diagnosis = diagnose(list, devices, table);
    return explanation;
}

}  // namespace diskmgt
