// One collection on its way from the collector to the front: the instances, then the texts that are made of them.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "session/packed_classes.h"

namespace diskmgt::serve {

struct CollectedDocuments {
    std::string stall;  // a sentence about a mount that does not answer; empty: all answer
    std::string json, metrics, page;
};

std::string packed(const CollectedDocuments& documents);
/// Absent: it is not whole.
std::optional<CollectedDocuments> unpackedDocuments(const std::string& bytes);

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
