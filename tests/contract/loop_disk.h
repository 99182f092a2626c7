// A small disk for the tests, so that any machine has one to report: an MBR with two partitions, held in memory and
// attached as a loop device while the object lives.
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
    /// Why it could not be attached.
    const std::string& failure() const { return reason; }

private:
    bool attach(int image);

    std::string devicePath;
    std::string reason;
    int device = -1;
};

}  // namespace contract
