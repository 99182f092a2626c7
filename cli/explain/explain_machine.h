// Explains a whole machine.
#pragma once

#include "cli/explain/explain_context.h"
#include "cli/explain/explanation.h"

namespace diskmgt {

/// Every disk and volume of the kernel's, every candidate disk that has a node, every mount, what only CIM has, and a
/// diagnosis.
Explanation explainMachine(const ExplainContext& context);

}  // namespace diskmgt
