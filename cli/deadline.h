// A time limit for work that may never come back, such as a question to a dead network file system. On a terminal it
// also shows what takes so long.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace diskmgt_cli {

/// Limits what the calling thread does while the object lives. The work stays on that thread, where it costs what it
/// would cost without a limit; a second thread only watches the clock.
class Deadline {
public:
    struct Watched {
        /// Continues the sentence "gave up after 30 s while ...": "serving VEXSG_LogicalDisk".
        std::function<std::string()> whatIsUnderWay;
        /// Once the sentence is said and before the process ends; may be empty. What it throws is said too.
        std::function<void()> beforeLeaving;
        std::string consequence = {};  // continues that sentence, such as ", so ..."
        bool isShown = true;           // false: something else writes to standard error meanwhile
    };

    /// Once the limit has passed, one sentence says so, and the process ends with `kTimedOut`. Both functions run on
    /// the watching thread while the work may still be stuck, and must not touch what it may be changing. 0 seconds: no
    /// limit.
    Deadline(double limitSeconds, Watched work);
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
    /// The work is done. Does not return when giving up has begun: the process ends meanwhile.
    ~Deadline();

private:
    struct Watch;
    std::shared_ptr<Watch> watch;  // shared with the watching thread, which may outlive this object; null: no thread
};

}  // namespace diskmgt_cli
