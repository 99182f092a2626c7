// The descriptors that this process has open.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace diskmgt {

/// What each leads to, by number.
using OpenDescriptors = std::map<int, std::string>;

/// Empty when /proc cannot be read.
OpenDescriptors openDescriptors();

/// A clause for each that is open after, but was not before, or was closed.
std::vector<std::string> descriptorChanges(const OpenDescriptors& before, const OpenDescriptors& after);

}  // namespace diskmgt
