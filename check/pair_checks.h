// Whether the published pairs are pairs of something.
#pragma once

#include <unordered_set>
#include <vector>

#include "check/finding.h"
#include "session/published.h"

namespace diskmgt {

/// Both ends of every pair are published, `others` included, which the host published itself. Pairs that exist only
/// because two names are alike are remarks.
CheckFindings checkPairs(const std::vector<PublishedClass>& published, const std::vector<refhost::Instance>& others);

}  // namespace diskmgt
