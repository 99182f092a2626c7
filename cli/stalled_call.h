// What a thread that does not come back is asking the kernel for.
#pragma once

#include <string>

namespace diskmgt_cli {

/// Where /proc tells about the calling thread. /proc may count processes otherwise than this process does: it may be
/// that of another process name space.
std::string ownThreadFolder();

/// In words with the path, such as `measuring the file system at "/media/dead"`; empty when the thread waits for
/// nothing that names a path, or the kernel does not tell. The thread must be one of this process.
std::string stalledCallOf(const std::string& threadFolder);

}  // namespace diskmgt_cli
