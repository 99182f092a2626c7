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

class MountMeasuring {
public:
    /// Measures what is on a local block device or in memory, and starts a process for each of the others. Pseudo file
    /// systems are left out.
    explicit MountMeasuring(const std::vector<diskmgt_machine::Mount>& mounts);
    MountMeasuring(const MountMeasuring&) = delete;
    MountMeasuring& operator=(const MountMeasuring&) = delete;
    ~MountMeasuring();

    /// Waits for what is outstanding, a second at most for all together. What has not answered by then is killed and
    /// left: the kernel may hold it whatever is sent to it.
    MountFigures finish();

private:
    struct Outstanding {
        std::size_t position = 0;  // in `figures`
        pid_t process = -1;
        int answer = -1;  // reading end of its pipe
    };

    void start(const diskmgt_machine::Mount& mount, std::size_t position);
    /// Takes answers until so many are outstanding or time is up.
    void gather(std::size_t atMost);
    void takeAnswer(const Outstanding& asked);
    void leave(const Outstanding& asked);
    void reap();

    MountFigures figures;
    std::vector<Outstanding> outstanding;
    std::vector<pid_t> ended;  // or killed, and not waited for yet
    std::int64_t endNs = 0;    // of the steady clock; 0: nothing was started yet
};

}  // namespace diskmgt
