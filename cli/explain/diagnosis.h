// What is unusual about the machine.
#pragma once

#include <string>
#include <vector>

#include "cli/explain/explain_context.h"
#include "cli/explain/explanation.h"

namespace diskmgt {

/// Whole sentences, the most far-reaching first.
std::vector<std::string> diagnose(const ExplainContext& context, const Explanation& explanation);

/// Adds a sentence where CIM's answer contradicts the rules.
void addContradictions(const ExplainContext& context, Explanation& explanation);

}  // namespace diskmgt
