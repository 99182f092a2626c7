// What partitions are for: their types in words, and in the few groups that a picture can tell apart.
#pragma once

#include <optional>
#include <string>

#include "refhost/api/reference_host.h"

namespace diskmgt {

enum class Purpose { kData, kStart, kSwap, kPool, kContainer, kOther };

/// The meaning of a partition's PartitionType as its class declares it; for a primary or logical partition with a
/// well-known type byte that byte's meaning. A number without a meaning is "type N", none at all "unknown".
std::string partitionTypeName(const refhost::Instance& partition, std::optional<unsigned> typeByte);

/// By the type byte of an MBR entry, else by the PartitionType that the type of a GPT entry has.
Purpose partitionPurpose(std::optional<unsigned> typeByte, std::optional<unsigned> type);

/// The meaning of a partition's type as udev writes it: a GUID of a GPT entry or the type byte of an MBR entry, "0x83".
/// Empty when it is not known.
std::string partitionTypeNameOf(const std::string& type);

/// "0x83".
std::string typeByteText(unsigned typeByte);

}  // namespace diskmgt
