#include "session/own_files.h"

#include <limits.h>
#include <unistd.h>

#include <cstddef>

#include "text/command_error.h"

namespace diskmgt {

std::string ownLibraryFolder() {
    char self[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", self, sizeof self);
    if (length <= 0)
        throw CommandError(kPluginUnusable,
                           "cannot find out where this command is installed (is /proc mounted?); name the plug-in with "
                           "--plugin FILE");
    const std::string path(self, static_cast<std::size_t>(length));
    const std::string folder = path.substr(0, path.rfind('/'));
    const std::string own = "/lib/diskmgt";  // which has the endpoint's executables too
    const bool isThere =
        folder.size() >= own.size() && folder.compare(folder.size() - own.size(), own.size(), own) == 0;
    return isThere ? folder : folder.substr(0, folder.rfind('/')) + own;
}

}  // namespace diskmgt
