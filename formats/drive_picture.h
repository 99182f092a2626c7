// A drive as a bar: its partitions side by side, as wide as they are large.
#pragma once

#include <optional>

#include "formats/html_writer.h"
#include "inventory/drive_map.h"

namespace diskmgt {

struct PurposeStyle {
    Purpose purpose;
    const char* cssClass;  // in the page's style sheet
    const char* words;
};

/// In the order a key to the picture lists them.
constexpr PurposeStyle kPurposes[] = {
    {Purpose::kData, "data", "File systems"}, {Purpose::kStart, "start", "Starting the system"},
    {Purpose::kPool, "pool", "LVM, RAID"},    {Purpose::kSwap, "swap", "Swap"},
    {Purpose::kOther, "other", "Other"},      {Purpose::kContainer, "container", "Extended"},
};

/// The class in the page's style sheet that colours a partition.
const char* cssClassOf(const Partition& partition);

/// Part of a file system that is in use, 0 to 1; absent when it has no figures of its own.
std::optional<long double> usedShareOf(const LogicalDisk& disk);

void drawDrive(HtmlWriter& out, const Inventory& inventory, const Drive& drive, const DriveMap& map);

}  // namespace diskmgt
