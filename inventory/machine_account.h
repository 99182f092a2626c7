// The kernel's account of this server, as the whole command uses it.
#pragma once

#include "machine/machine.h"

namespace diskmgt {

/// Read once, at the first call. Nothing that is read can stall, so the process that does work which may reads it
/// before it forks, and both have the same.
const diskmgt_machine::Machine& machineAccount();
/// For a process that stays: what was answered before is read again in its place.
void readMachineAccountAnew();

}  // namespace diskmgt
