// Checks a library's ELF headers (elf(5)) before it is loaded: the dynamic linker trusts them, and mapping a truncated
// file would end the process.
#pragma once

#include <string>

namespace refhost {

/// Why the file cannot be loaded, as a clause for people; empty when no reason is found. A file that is not a library
/// passes: the dynamic linker reports it.
std::string obstacleTo(const std::string& libraryPath);

}  // namespace refhost
