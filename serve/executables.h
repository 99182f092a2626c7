// Where the endpoint's own files are.
#pragma once

#include <string>

namespace diskmgt::serve {

/// The folder of the running executable, which has the other executable and the folder of the plug-in too. Throws
/// `CommandError` when /proc does not say it.
std::string ownFolder();

}  // namespace diskmgt::serve
