// The kernel's mount table, as /proc/self/mountinfo shows it to this process.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "machine/device_number.h"

namespace diskmgt_machine {

struct Mount {
    std::uint64_t id = 0;
    std::uint64_t parent = 0;  // the id of the mount it is mounted on, which need not be in the table
    DeviceNumber number;
    std::string root;  // the part of the file system that is shown
    std::string mountPoint;
    std::string options;  // of this mount
    std::string type;
    std::string source;        // anybody's text
    std::string superOptions;  // of the file system
};

/// One line; nothing when it is not one of the kernel's.
std::optional<Mount> mountFrom(std::string_view line);
/// All lines in order; those that are not the kernel's are left out.
std::vector<Mount> mountsIn(std::string_view mountinfo);

/// For each mount whether a later one hides it: one at the same place or above it, so that its path leads elsewhere.
std::vector<bool> hiddenByLaterMount(const std::vector<Mount>& mounts);

}  // namespace diskmgt_machine
