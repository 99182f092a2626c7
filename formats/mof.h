// Published instances as MOF text that a CIM broker's compiler takes.
#pragma once

#include <string>
#include <vector>

#include "refhost/api/reference_host.h"

namespace diskmgt {

/// One "instance of CLASS { name = value; ... };" after the other, a blank line between two. In UTF-8: bytes that are
/// not become U+FFFD, and control characters are escaped. References begin with the namespace. Null is left out, and so
/// is an array without elements, which the language cannot write. `forTerminal` escapes marks of writing direction too.
std::string mofInstances(const std::vector<refhost::Instance>& instances, bool forTerminal = false);

}  // namespace diskmgt
