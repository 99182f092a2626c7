// The properties that --columns picks.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "refhost/api/reference_host.h"

namespace diskmgt {

/// Throws `CommandError` when a name is a property of none of the classes, or a class has none of the properties.
/// Says on standard error which class goes without a column that others have. The classes must be declared.
void requireKnownColumns(const refhost::ReferenceHost& host, const std::vector<std::string>& classNames,
                         const std::vector<std::string>& columns);

/// The positions of the named properties that the class has, in the order named; of all when none is named.
std::vector<std::size_t> columnPositions(const refhost::ClassDeclaration& declaration,
                                         const std::vector<std::string>& columns);

/// The positions of the properties that are not null in all of the instances of one class.
std::vector<std::size_t> positionsWithValues(const std::vector<refhost::Instance>& instances);

}  // namespace diskmgt
