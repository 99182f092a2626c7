// A time limit for work that may never come back, such as a question to a dead network file system.
#pragma once

#include <functional>
#include <memory>

namespace diskmgt_cli {

/// Limits what the calling thread does while the object lives. The work stays on that thread, where it costs what it
/// would cost without a limit; a second thread only watches the clock.
class Deadline {
public:
    /// `giveUp` runs on the watching thread once the limit has passed, while the work is still stuck; it must end
    /// the process and must not touch what the work may be changing. 0 seconds: no limit, and no thread.
    Deadline(double limitSeconds, std::function<void()> giveUp);
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
    /// The work is done. Does not return when giving up has begun: the process ends meanwhile.
    ~Deadline();

private:
    struct Watch;
    std::shared_ptr<Watch> watch;  // shared with the watching thread, which may outlive this object; null: no limit
};

}  // namespace diskmgt_cli
