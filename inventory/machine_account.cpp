#include "inventory/machine_account.h"

namespace diskmgt {

const diskmgt_machine::Machine& machineAccount() {
    static const diskmgt_machine::Machine account = diskmgt_machine::readMachine();
    return account;
}

}  // namespace diskmgt
