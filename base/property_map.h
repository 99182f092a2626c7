// PropertyMap: the properties of one object, from which a CIM instance is made.
#pragma once

#include <map>
#include <string>

namespace diskmgt_col {

/// Property name to value text. Numbers are plain decimal, sizes bytes, arrays one text with "," between the
/// elements. Equal names are allowed and stay in the order of insertion; the last one wins.
using PropertyMap = std::multimap<std::string, std::string>;

}  // namespace diskmgt_col
