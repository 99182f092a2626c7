// What partitions are for, in the few groups that a picture can tell apart.
#pragma once

#include "cli/inventory/inventory.h"

namespace diskmgt_cli {

enum class Purpose { kData, kStart, kSwap, kPool, kContainer, kOther };

struct PurposeName {
    Purpose purpose;
    const char* cssClass;
    const char* words;
};

/// In the order a key to the picture lists them.
constexpr PurposeName kPurposes[] = {
    {Purpose::kData, "data", "File systems"}, {Purpose::kStart, "start", "Starting the system"},
    {Purpose::kPool, "pool", "LVM, RAID"},    {Purpose::kSwap, "swap", "Swap"},
    {Purpose::kOther, "other", "Other"},      {Purpose::kContainer, "container", "Extended"},
};

Purpose purposeOf(const Partition& partition);

}  // namespace diskmgt_cli
