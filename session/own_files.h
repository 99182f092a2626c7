// Where the files are that belong to this command.
#pragma once

#include <string>

namespace diskmgt {

/// The folder lib/diskmgt: the build tree and the install tree have the same shape. Throws `CommandError` when /proc
/// does not say where this command is.
std::string ownLibraryFolder();

}  // namespace diskmgt
