// ReferenceMap: the two ends of one association, from which an instance is made.
#pragma once

#include <map>
#include <string>

#include "plugin/host/cim_value.h"

namespace diskmgt_col {

/// Role name ("Antecedent", "Dependent") to a reference value.
using ReferenceMap = std::multimap<std::string, NVEXTAL20::TCIMValue>;

}  // namespace diskmgt_col
