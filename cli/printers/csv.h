// Instances as comma-separated values for spreadsheets and scripts.
#pragma once

#include <string>
#include <vector>

#include "refhost/api/reference_host.h"

namespace diskmgt_cli {

/// RFC 4180 in UTF-8: a header row with every declared property, then a row per instance. Array elements are joined
/// by ",", null is an empty field and an empty text "". `forTerminal` escapes control characters inside the fields.
std::string csvOfInstances(const refhost::ClassDeclaration& declaration,
                           const std::vector<refhost::Instance>& instances, bool forTerminal);

}  // namespace diskmgt_cli
