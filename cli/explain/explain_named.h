// Explains what was asked for by name.
#pragma once

#include <string>
#include <vector>

#include "cli/explain/explain_context.h"
#include "cli/explain/explanation.h"

namespace diskmgt {

/// Devices by any of their names, mounts, and paths. An operand that names nothing has a sentence in `unknownNames`.
Explanation explainNamed(const ExplainContext& context, const std::vector<std::string>& operands);

}  // namespace diskmgt
