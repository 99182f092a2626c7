// A disk as a bar: its partitions side by side, as wide as they are large, and the volumes on them beneath.
#pragma once

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

/// The class in the page's style sheet that colours what has this purpose.
const char* cssClassOf(Purpose purpose);

void drawDrive(HtmlWriter& out, const ServerAccount& account, const DeviceGroup& group, const DriveMap& map);

}  // namespace diskmgt
