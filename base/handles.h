// Owners of descriptors, directories and mount tables. Only these close them, so no early return leaks.
#pragma once

#include <fcntl.h>

#include <memory>
#include <utility>

#include "base/os.h"

namespace diskmgt_col {

/// Owns a descriptor; a negative one owns nothing.
class UniqueFd {
public:
    explicit UniqueFd(int descriptor) noexcept : fd(descriptor) {}
    UniqueFd(UniqueFd&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
    UniqueFd& operator=(UniqueFd&&) = delete;
    ~UniqueFd() {
        if (valid()) (void)os::closeFile(fd);  // read-only: nothing to lose
    }
    bool valid() const noexcept { return fd >= 0; }
    int get() const noexcept { return fd; }

private:
    int fd;
};

/// Opens a device for reading, with O_RDONLY alone. Right after, the descriptor becomes close-on-exec, so the host's
/// child processes do not inherit it. Check `valid()`.
inline UniqueFd openDevice(const std::string& path) {
    UniqueFd device(os::openFile(path, O_RDONLY));
    if (device.valid()) (void)os::setCloseOnExec(device.get());  // a failure costs only this protection
    return device;
}

struct DirectoryCloser {
    void operator()(DIR* directory) const noexcept { (void)os::closeDirectory(directory); }
};
/// Owns an open directory; null when it could not be opened.
using UniqueDirectory = std::unique_ptr<DIR, DirectoryCloser>;

struct MountTableCloser {
    void operator()(std::FILE* table) const noexcept { os::closeMountTable(table); }
};
/// Owns an open mount table; null when it could not be opened.
using UniqueMountTable = std::unique_ptr<std::FILE, MountTableCloser>;

}  // namespace diskmgt_col
