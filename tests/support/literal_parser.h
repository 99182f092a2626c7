// A second, slow and literal reading of the partition tables, to compare the real parser with. It shares no code
// with it: bytes of a small disk in, the expected maps out.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "base/property_map.h"

namespace diskmgt_test {

/// A disk that can be opened, and the other paths that exist.
struct LiteralDisk {
    std::string path;
    std::string bytes;
    bool isBlockDevice = true;            // a seek past its end fails and moves nothing
    std::set<std::string> existingPaths;  // paths that exist for access(2)
};

/// The maps of the disk in an enumeration. A walk along extended boot records ends where an earlier read began. Assumes
/// that any positive number of GPT entries can be allocated.
std::vector<diskmgt_col::PropertyMap> literalPartitions(const LiteralDisk& disk);

/// The "PartitionType" of a GPT entry by the sixteen bytes of its type.
std::string literalTypeNumber(const std::string& typeBytes);

}  // namespace diskmgt_test
