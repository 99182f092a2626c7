// What a user without root's rights is told.
#pragma once

#include <string>
#include <vector>

namespace diskmgt {

/// Says on standard error that what is missing may be out of reach. Silent when nothing is missing, and to root.
void mentionRights(const std::vector<std::string>& missing);

}  // namespace diskmgt
