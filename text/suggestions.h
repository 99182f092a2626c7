// Which known names somebody may have meant.
#pragma once

#include <string>
#include <vector>

namespace diskmgt {

/// The known names nearest to `name`, nearest first, three at most: the one that differs in letter case alone, else
/// those a few slips away. A name may be given without its prefix ("DiskDrive"). Empty when none is near.
std::vector<std::string> nearestNames(const std::string& name, const std::vector<std::string>& known);

}  // namespace diskmgt
