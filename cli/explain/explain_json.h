// The document of `explain`. Its form is stable; other programs rely on it.
#pragma once

#include <string>

#include "cli/explain/explanation.h"

namespace diskmgt::json {

std::string explanationDocument(const Explanation& explanation);

}  // namespace diskmgt::json
