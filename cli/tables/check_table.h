// The verdict on a plug-in for people.
#pragma once

#include <string>

#include "check/check_report.h"
#include "cli/tables/table.h"

namespace diskmgt {

/// A table of the checks, one of the classes that were served, and the verdict in a sentence.
std::string checkTables(const CheckReport& report, const TableStyle& style);

}  // namespace diskmgt
