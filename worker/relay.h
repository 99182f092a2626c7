// Bytes on their way from a worker's pipe to the real standard output or standard error.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace diskmgt::worker {

/// Never waits: reads from a pipe that does not block, and writes what poll(2) says there is room for.
class Relay {
public:
    explicit Relay(int realDescriptor);

    bool isHolding() const { return next < end; }
    enum class Read { kSome, kNothingYet, kEnd };
    /// Takes what the pipe has, up to a buffer's size. Only while nothing is held.
    Read readFrom(int pipe);
    /// Writes a piece of what is held, if there is room. 0, or why it failed; then nothing is held any more.
    int writeSome();
    int target() const { return real; }
    /// How many bytes it has read so far.
    std::uint64_t taken() const { return total; }

private:
    int real;
    std::size_t largestPiece = 0;                  // that is written at once without waiting; 0: not asked yet
    static constexpr std::size_t kBuffer = 65536;  // what a pipe holds where pages have 4 KiB
    std::array<char, kBuffer> held;                // never cleared: pages that no byte came to are not touched
    std::size_t next = 0;
    std::size_t end = 0;
    std::uint64_t total = 0;
};

}  // namespace diskmgt::worker
