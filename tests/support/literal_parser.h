// A second, slow and literal reading of the partition tables, to compare the real parser with. It shares no code
// with it: bytes of a small disk in, the expected maps out.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "base/property_map.h"

namespace diskmgt_test {

/// A disk that can be opened, and what else exists beside it.
struct LiteralDisk {
    std::string path;
    std::string bytes;
    bool isBlockDevice = true;            // a seek past its end fails and moves nothing
    std::set<std::string> existingPaths;  // what a question for existence finds
};

/// What the disk contributes to an enumeration. A walk through extended boot records ends where a read has begun
/// before. Takes any positive number of GPT entries as allocatable.
std::vector<diskmgt_col::PropertyMap> literalPartitions(const LiteralDisk& disk);

/// The "PartitionType" of a GPT entry by the sixteen bytes of its type.
std::string literalTypeNumber(const std::string& typeBytes);

}  // namespace diskmgt_test
