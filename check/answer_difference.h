// Whether two answers to one question are the same.
#pragma once

#include <string>
#include <vector>

#include "refhost/api/reference_host.h"

namespace diskmgt {

/// The first difference as a clause; empty when both are the same. Free space does not count: it changes all the time.
std::string differenceBetween(const std::vector<refhost::Instance>& first,
                              const std::vector<refhost::Instance>& second);

/// What the kernel says of disks and mounts: while this text stays the same, so must the answers.
std::string machineState();

}  // namespace diskmgt
