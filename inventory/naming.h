// What an operand of the command line names: a device by any of its names, a mount, or a path on one.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "inventory/server_account.h"

namespace diskmgt {

struct Named {
    enum class Kind {
        kNothing,
        kDevice,    // by the kernel's name, a volume's, a link's or the name that CIM gives it
        kCimOnly,   // a name that only CIM has
        kMount,     // by its mount point or its source
        kPath,      // something that lies on a mount
        kNoAnswer,  // a path on a mount that does not answer
    };

    Kind kind = Kind::kNothing;
    std::vector<std::size_t> devices;  // positions; those that the mounts or the path lie on, the nearest ones
    std::vector<std::size_t> mounts;   // positions in Machine::mounts: all of a source, or the one that a path lies on
    std::size_t cimOnly = 0;           // position in ServerAccount::cimOnly
};

/// A name without a slash is one below /dev, a volume's name or a mount's source. Asks the kernel about a path, which
/// may never come back where it leads over a dead mount by a link.
Named named(const ServerAccount& account, const std::string& operand);

}  // namespace diskmgt
