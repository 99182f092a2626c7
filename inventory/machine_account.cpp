#include "inventory/machine_account.h"

namespace diskmgt {

const diskmgt_machine::KernelMounts& kernelMounts() {
    static const diskmgt_machine::KernelMounts mounts = diskmgt_machine::readKernelMounts();
    return mounts;
}

const diskmgt_machine::Machine& machineAccount() {
    static const diskmgt_machine::Machine account = diskmgt_machine::readMachine(kernelMounts());
    return account;
}

}  // namespace diskmgt
