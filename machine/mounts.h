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
    std::uint64_t parent = 0;  // id of the mount it is mounted on, which may be missing from the table
    DeviceNumber number;
    std::string root;  // the part of the file system that is mounted
    std::string mountPoint;
    std::string options;  // of this mount
    std::string type;
    std::string source;        // any text
    std::string superOptions;  // of the file system
};

/// Reads one line; nothing when it does not have the kernel's form.
std::optional<Mount> mountFrom(std::string_view line);
/// Reads all lines in order; lines of another form are left out.
std::vector<Mount> mountsIn(std::string_view mountinfo);

/// For each mount whether a later one, at the same place or above it, hides it: its path then leads elsewhere.
std::vector<bool> hiddenByLaterMount(const std::vector<Mount>& mounts);

}  // namespace diskmgt_machine
