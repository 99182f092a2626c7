// Descriptor: owns an open file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace refhost {

/// A negative descriptor owns nothing.
class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) noexcept : fd(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor() { close(); }

    bool valid() const noexcept { return fd >= 0; }
    int get() const noexcept { return fd; }
    void close() noexcept {
        if (fd >= 0) (void)::close(std::exchange(fd, -1));  // only read from: no data can be lost
    }

private:
    int fd;
};

}  // namespace refhost
