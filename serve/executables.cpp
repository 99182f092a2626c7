#include "serve/executables.h"

#include <limits.h>
#include <unistd.h>

#include "text/command_error.h"

namespace diskmgt::serve {

std::string ownFolder() {
    char self[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", self, sizeof self);
    if (length <= 0)
        throw CommandError(kPluginUnusable,
                           "cannot find out where this executable is installed; mount /proc and start it again");
    const std::string path(self, static_cast<std::size_t>(length));
    return path.substr(0, path.rfind('/'));
}

}  // namespace diskmgt::serve
