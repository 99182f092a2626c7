// What a process that does not come back is asking the kernel for.
#pragma once

#include <sys/types.h>

#include <string>

namespace diskmgt::worker {

/// In words with the path, such as `measuring the file system at "/media/dead"`; empty when the main thread of the
/// child waits for nothing that names a path, or the kernel does not tell.
std::string stalledCallOf(pid_t child);

}  // namespace diskmgt::worker
