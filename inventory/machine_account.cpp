#include "inventory/machine_account.h"

namespace diskmgt {

namespace {

diskmgt_machine::Machine& account() {
    static diskmgt_machine::Machine read = diskmgt_machine::readMachine();
    return read;
}

}  // namespace

const diskmgt_machine::Machine& machineAccount() { return account(); }

void readMachineAccountAnew() { account() = diskmgt_machine::readMachine(); }

}  // namespace diskmgt
