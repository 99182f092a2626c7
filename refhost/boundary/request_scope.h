// RequestScope: what the host keeps about a request while it runs, found again by the thread that runs it.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "refhost/api/reference_host.h"
#include "refhost/schema/schema.h"
#include "refhost/value/recent_values.h"

namespace refhost {

class RequestScope;

/// The requests that run now.
class RunningRequests {
public:
    explicit RunningRequests(std::function<void(const std::string&)> whenServing) : announce(std::move(whenServing)) {}

    /// The class that a running request last asked for; empty when none runs.
    std::string lastServed() const;

private:
    friend class RequestScope;

    const std::function<void(const std::string&)> announce;  // may be empty
    mutable std::mutex mutex;
    std::vector<const RequestScope*> scopes;
    std::uint64_t clock = 0;  // orders the questions
    std::uint64_t latest = 0;
};

/// Lives on the stack of the thread that runs the request; at most one on a thread.
class RequestScope {
public:
    explicit RequestScope(RunningRequests& all);
    RequestScope(const RequestScope&) = delete;
    RequestScope& operator=(const RequestScope&) = delete;
    ~RequestScope();

    /// Greater for later requests; the first is 1.
    std::uint64_t number() const { return ownNumber; }
    std::vector<LogLine> takeLog() { return std::move(lines); }

    /// True inside a request of this thread.
    static bool isRunning();
    /// The number of this thread's request; 0 outside.
    static std::uint64_t currentNumber();
    /// The values that this thread's request made last; null outside.
    static RecentValues* recentValues();
    /// Adds to the log of this thread's request, if there is one.
    static void collect(const LogLine& line);
    /// Notes that this thread's request now serves the class.
    static void noteServed(const DeclaredClass& declared);

private:
    friend class RunningRequests;

    RunningRequests& running;
    std::uint64_t ownNumber = 0;
    std::vector<LogLine> lines;
    RecentValues recent;
    const DeclaredClass* served = nullptr;  // under the lock of `running`, as is the next
    std::uint64_t servedAt = 0;
};

}  // namespace refhost
