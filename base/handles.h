// Owners of what the kernel hands out: no close stands anywhere else, so no early way out can leak.
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

/// Opens a device for reading. The open carries O_RDONLY alone; the descriptor is kept from the host's child
/// processes right after. Check `valid()`.
inline UniqueFd openDevice(const std::string& path) {
    UniqueFd device(os::openFile(path, O_RDONLY));
    if (device.valid()) (void)os::setCloseOnExec(device.get());  // a refusal costs only this protection
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
