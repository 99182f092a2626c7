// The tables of the page.
#pragma once

#include <cstddef>
#include <vector>

#include "formats/html_writer.h"
#include "inventory/drive_map.h"

namespace diskmgt {

/// The rows of one group, or of several one after the other.
void deviceTable(HtmlWriter& out, const ServerAccount& account, const std::vector<const DeviceGroup*>& groups);

/// File systems by their mounts, positions in Machine::mounts; nothing when there are none.
using MountsOfOne = std::vector<std::size_t>;
void fileSystemTable(HtmlWriter& out, const ServerAccount& account, const std::vector<MountsOfOne>& fileSystems);

/// What CIM reports and the machine does not have.
void cimOnlyTable(HtmlWriter& out, const ServerAccount& account);

}  // namespace diskmgt
