// What uses a device, in words.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "machine/uses.h"

namespace diskmgt {

/// "in use by dm-0 (vg-root), mounted on /"; empty: nothing is seen to use it.
std::string useText(const diskmgt_machine::Machine& machine, const diskmgt_machine::InUse& use);

/// "dm-0 (vg-root)"; a device that is no volume has its name alone.
std::string nameWithVolume(const diskmgt_machine::BlockDevice& device);

/// The device of a path as the plug-in writes it, with sysfs's "!" in the name.
std::optional<std::size_t> deviceOf(const diskmgt_machine::Uses& uses, const std::string& path);

/// Each mount point once, in the table's order.
std::vector<std::string> mountPointsOf(const diskmgt_machine::Machine& machine, const diskmgt_machine::InUse& use);

}  // namespace diskmgt
