// CIM names are compared without case; they are ASCII.
#pragma once

#include <string>
#include <string_view>

namespace diskmgt::serve {

bool sameName(std::string_view one, std::string_view other);
/// The same text for all spellings of a name.
std::string foldedName(std::string_view name);

}  // namespace diskmgt::serve
