// Instances as comma-separated values for spreadsheets and scripts.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "refhost/api/reference_host.h"

namespace diskmgt {

struct CsvFields {
    bool areForTerminal = false;  // what could act on a terminal is escaped inside them
    bool areSafe = false;         // an apostrophe before what a spreadsheet would take for a formula
};

/// RFC 4180 in UTF-8: a header row with the properties at the positions `shown`, then a row per instance. Array
/// elements are joined by ",", null is an empty field and an empty text "".
std::string csvOfInstances(const refhost::ClassDeclaration& declaration,
                           const std::vector<refhost::Instance>& instances, const std::vector<std::size_t>& shown,
                           CsvFields fields);

}  // namespace diskmgt
