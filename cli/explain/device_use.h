// What the kernel's account says of the use of a device, for explanations.
#pragma once

#include "cli/explain/explanation.h"
#include "inventory/device_facts.h"
#include "inventory/machine_account.h"
#include "machine/uses.h"

namespace diskmgt {

class DeviceUse {
public:
    DeviceUse() : machine(machineAccount()), uses(machine) {}

    void addTo(DeviceExplanation& explanation) const;
    /// Notes what keeps the kernel from reading the device's table again.
    void addTo(DeviceFacts& facts) const;

private:
    const diskmgt_machine::Machine& machine;
    const diskmgt_machine::Uses uses;
};

}  // namespace diskmgt
