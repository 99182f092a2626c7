// What a library's own headers tell before it is loaded: the dynamic linker trusts them, and a file that was cut short
// would end the process while it is mapped.
#pragma once

#include <string>

namespace refhost {

/// Why the file cannot be loaded, as a clause for people; empty when nothing speaks against it. Files that are no
/// libraries at all are left to the dynamic linker, which says so itself.
std::string obstacleTo(const std::string& libraryPath);

}  // namespace refhost
