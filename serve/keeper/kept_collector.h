// The collector as its keeper sees it: started or connected to, handed to the front, ended, and started again.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "serve/handover/collector_options.h"
#include "serve/handover/descriptor.h"
#include "serve/keeper/child_process.h"

namespace diskmgt::serve {

class KeptCollector {
public:
    /// `socketPath`: where a service manager starts one for each connection; empty: this process starts it.
    KeptCollector(const CollectorOptions& asked, std::string socketPath);

    /// Starts one when it is time to, none is there, and fewer than two processes of earlier ones are still held by the
    /// kernel. `others`: children of this process that are no collectors. Throws `CommandError` when it cannot be done.
    void startWhenDue(std::int64_t nowNs, std::size_t others);
    /// The connection on which the collector says that it is ready; negative: nothing is awaited.
    int awaited() const { return isReady ? -1 : connection.get(); }
    /// Looks at that connection. True: it is ready, so `takeConnection` has something.
    bool look(std::int64_t nowNs);
    Descriptor takeConnection() { return std::move(connection); }

    /// Ends one that takes longer than a collection may to become ready.
    void endWhenLate(std::int64_t nowNs);
    /// Ends it, if there is one, and starts another in a while.
    void end(std::int64_t nowNs);
    /// The process has ended. False: it is none of these.
    bool reaped(pid_t process, std::int64_t nowNs);

    bool wasEverReady() const { return hasBeenReady; }
    /// Nothing was ever ready, and what was started has ended.
    bool isUseless() const { return !hasBeenReady && hasFailed; }
    /// When one of the above has something to do; negative: neither has.
    std::int64_t nextNs() const;
    /// Why none is started; empty: one is, or will be in a moment.
    std::string trouble() const;
    /// For the end of the keeper: those that may still run.
    std::vector<pid_t> processes() const;

private:
    static constexpr std::size_t kMostHeld = 2;  // killed and not ended: the kernel holds them

    void connectToOne();
    void startOne();
    std::int64_t lateNs() const { return startedNs + limitNs; }
    bool isHeldUp() const { return held.size() + orphans >= kMostHeld; }
    bool isThere() const { return process > 0 || connection.isOpen() || isReady; }

    const CollectorOptions options;
    const std::string path;
    const std::int64_t limitNs;  // 0: none
    std::int64_t startedNs = 0;
    RestartPause pause;
    pid_t process = -1;
    Descriptor connection;
    bool isReady = false;
    bool hasBeenReady = false;
    bool hasFailed = false;
    std::vector<pid_t> held;  // collectors that were killed and have not ended
    std::size_t orphans = 0;  // processes that collectors left, when it was last time to start one
};

}  // namespace diskmgt::serve
