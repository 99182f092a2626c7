// The space of the mounted file systems. One that may not answer is asked by a process of its own.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "inventory/space.h"
#include "machine/mounts.h"

namespace diskmgt {

struct MountFigure {
    enum class Outcome : std::uint8_t {
        kMeasured,
        kHidden,    // something else is at the mount point, or reached by its path
        kNoAnswer,  // in time
        kFailed,    // see `error`
        kNotAsked   // an automount, which asking would mount
    };

    std::uint64_t mountId = 0;
    diskmgt_machine::DeviceNumber number;  // of the mount: the kernel gives the id of a mount that is gone to another
    Outcome outcome = Outcome::kNotAsked;
    int error = 0;
    Space space;  // when measured
};
using MountFigures = std::vector<MountFigure>;

/// The processes that had no answer and were killed, over all measurements of one that stays. The kernel may hold them
/// for as long as it likes: a mount that one of them waits for is not asked again, so they stay few.
class LeftProcesses {
public:
    /// Gives up those that have ended.
    void reap();
    std::size_t count() const { return left.size(); }

private:
    friend class MountMeasuring;
    struct Left {
        pid_t process = -1;
        std::uint64_t mountId = 0;
        diskmgt_machine::DeviceNumber number;
    };

    bool isWaitingFor(const diskmgt_machine::Mount& mount) const;

    std::vector<Left> left;
};

class MountMeasuring {
public:
    /// Measures what is on a local block device or in memory, and starts a process for each of the others. Pseudo file
    /// systems are left out. `left` takes the processes that do not end, and outlives this; null: nobody counts them.
    explicit MountMeasuring(const std::vector<diskmgt_machine::Mount>& mounts, LeftProcesses* left = nullptr);
    MountMeasuring(const MountMeasuring&) = delete;
    MountMeasuring& operator=(const MountMeasuring&) = delete;
    ~MountMeasuring();

    /// Waits for what is outstanding, a second at most for all together. What has not answered by then is killed and
    /// left: the kernel may hold it whatever is sent to it.
    MountFigures finish();
    /// Waits no longer than that; the ids of the mounts whose answer is outstanding then.
    std::vector<std::uint64_t> unansweredAfter(int milliseconds);

private:
    struct Outstanding {
        std::size_t position = 0;  // in `figures`
        pid_t process = -1;
        int answer = -1;  // reading end of its pipe
    };

    void start(const diskmgt_machine::Mount& mount, std::size_t position);
    /// Takes answers until so many are outstanding or that time of the steady clock has come.
    void gather(std::size_t atMost, std::int64_t untilNs);
    void takeAnswer(const Outstanding& asked);
    void leave(const Outstanding& asked);
    void reap();

    MountFigures figures;
    LeftProcesses* const leftOver;
    std::vector<Outstanding> outstanding;
    std::vector<LeftProcesses::Left> ended;  // or killed, and not waited for yet
    std::int64_t endNs = 0;                  // of the steady clock; 0: nothing was started yet
};

}  // namespace diskmgt
