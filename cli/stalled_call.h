// What a thread that does not come back is asking the kernel for.
#pragma once

#include <sys/types.h>

#include <string>

namespace diskmgt_cli {

/// In words with the path, such as `measuring the file system at "/media/dead"`; empty when the thread waits for
/// nothing that names a path, or the kernel does not tell. The thread must be one of this process.
std::string stalledCallOf(pid_t thread);

}  // namespace diskmgt_cli
