// Which addresses sent wrong passwords lately, and how long each waits before another is looked at. Pure: the caller
// has the clock.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>

namespace diskmgt::serve {

class FailedAttempts {
public:
    using Moment = std::chrono::steady_clock::time_point;

    struct Rules {
        std::size_t addresses = 0;  // most that are remembered; the one that failed least makes room
        unsigned unpunished = 0;    // failures without a pause; then each doubles it
        std::chrono::milliseconds firstPause{};
        std::chrono::milliseconds longestPause{};  // ten of them without a failure, and it is forgotten
    };

    explicit FailedAttempts(const Rules& theRules) : rules(theRules) {}

    /// How long the address must wait; zero: not at all.
    std::chrono::milliseconds pause(const std::string& address, Moment now) const;
    void failed(const std::string& address, Moment now);
    void succeeded(const std::string& address) { known.erase(address); }
    std::size_t size() const { return known.size(); }

private:
    struct Record {
        unsigned failures = 0;
        Moment latest{};
        Moment until{};
    };
    bool isForgotten(const Record& record, Moment now) const { return now - record.latest > 10 * rules.longestPause; }
    void makeRoom(Moment now);

    Rules rules;
    std::unordered_map<std::string, Record> known;
};

}  // namespace diskmgt::serve
