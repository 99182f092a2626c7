// A drive as a bar: its partitions side by side, as wide as they are large.
#pragma once

#include "cli/inventory/drive_map.h"
#include "cli/printers/html_writer.h"

namespace diskmgt_cli {

/// The class in the page's style sheet that colours a partition.
const char* colourOf(const Partition& partition);

/// Part of a file system that is in use, 0 to 1; negative when it is not known.
double usedPart(const LogicalDisk& disk);

void drawDrive(HtmlWriter& out, const Inventory& inventory, const Drive& drive, const DriveMap& map);

}  // namespace diskmgt_cli
