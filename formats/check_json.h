// The document of `check`.
#pragma once

#include <string>

#include "check/check_report.h"

namespace diskmgt::json {

std::string checkDocument(const CheckReport& report);

}  // namespace diskmgt::json
