// Files with further classes for the host, and what is said of those that cannot be used.
#pragma once

#include <string>
#include <vector>

#include "refhost/api/reference_host.h"

namespace diskmgt {

/// Reads the files within the time limit; 0: none. Throws `CommandError` for one that cannot be read or is too long.
std::vector<refhost::SchemaText> readSchemaFiles(const std::vector<std::string>& files, double limitSeconds);

/// Throws the `CommandError` for what the host found wrong with one.
[[noreturn]] void refuseSchema(const refhost::SchemaError& refusal);

}  // namespace diskmgt
