// What partitions are for, in words.
#pragma once

#include <optional>
#include <string>

#include "refhost/api/reference_host.h"

namespace diskmgt_cli {

/// The meaning of a partition's PartitionType as its class declares it; for a primary or logical partition with a
/// well-known type byte that byte's meaning. A number without a meaning is "type N", none at all "unknown".
std::string partitionTypeName(const refhost::Instance& partition, std::optional<unsigned> typeByte);

/// The usual name of an MBR type byte; null when it has none here.
const char* typeByteName(unsigned typeByte);

}  // namespace diskmgt_cli
