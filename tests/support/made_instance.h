// Instances made from a declaration, without a plug-in.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "refhost/api/reference_host.h"

namespace diskmgt_test {

/// Properties by name, scalar ones; those that are not named are null. The path is made of the keys.
refhost::Instance instanceOf(const refhost::ClassDeclaration& declaration,
                             const std::vector<std::pair<std::string, std::string>>& properties);

}  // namespace diskmgt_test
