// A descriptor that its owner hands on.
#pragma once

#include <unistd.h>

#include <utility>

namespace diskmgt::serve {

/// Owns a descriptor; a negative one owns nothing.
class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) noexcept : fd(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : fd(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(fd, other.fd);
        other.close();
        return *this;
    }
    ~Descriptor() { close(); }

    int get() const noexcept { return fd; }
    bool isOpen() const noexcept { return fd >= 0; }
    int release() noexcept { return std::exchange(fd, -1); }
    void close() noexcept {
        if (fd >= 0) (void)::close(std::exchange(fd, -1));  // a socket, or read-only: nothing to lose
    }

private:
    int fd;
};

}  // namespace diskmgt::serve
