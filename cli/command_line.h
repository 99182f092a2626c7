// Reads the command line.
#pragma once

#include "cli/io/options.h"

namespace diskmgt {

/// Reads the command line and DISKMGT_PLUGIN. Throws `CommandError` for wrong usage.
Options readOptions(int argumentCount, const char* const* arguments);

}  // namespace diskmgt
