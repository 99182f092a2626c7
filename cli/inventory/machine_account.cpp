// One account a process.
#include "cli/inventory/machine_account.h"

namespace diskmgt_cli {

const diskmgt_machine::Machine& machineAccount() {
    static const diskmgt_machine::Machine account = diskmgt_machine::readMachine();
    return account;
}

}  // namespace diskmgt_cli
