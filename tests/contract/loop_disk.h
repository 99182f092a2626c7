// A small disk of the tests' own, so that there is one to report whatever the machine has: two partitions in an MBR,
// held in memory, attached as a loop device for as long as the object lives.
#pragma once

#include <cstdint>
#include <string>

namespace contract {

class LoopDisk {
public:
    static constexpr std::uint64_t kSizeBytes = 1 << 20;
    static constexpr unsigned int kPartitions = 2;

    /// Attaches the disk. Needs root and the loop driver; without them, `path` stays empty.
    LoopDisk();
    LoopDisk(const LoopDisk&) = delete;
    LoopDisk& operator=(const LoopDisk&) = delete;
    /// Detaches it. The kernel does so too when the process dies.
    ~LoopDisk();

    const std::string& path() const { return devicePath; }
    /// What kept it from being attached.
    const std::string& failure() const { return reason; }

private:
    bool attach(int image);

    std::string devicePath;
    std::string reason;
    int device = -1;
};

}  // namespace contract
