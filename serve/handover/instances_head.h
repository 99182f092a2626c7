// What the collector sends before the instances of a collection.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "session/packed_classes.h"

namespace diskmgt::serve {

/// What goes before the records that `collectAccount` makes known.
struct InstancesHead {
    std::string systemName;
    /// Classes that were not asked for, and why, as a clause: "the file system mounted on /mnt (nfs) does not answer".
    std::map<std::string, std::string> leftOut;
    Beginning beginning;  // from those records
};

/// The head alone.
std::string packed(const InstancesHead& head);
/// Absent: it is not whole.
std::optional<InstancesHead> unpackedHead(const std::string& bytes);

}  // namespace diskmgt::serve
