// What keeps an account from being complete, and why CIM's part of it is unknown.
#pragma once

#include <optional>
#include <string>

#include "inventory/server_account.h"

namespace diskmgt {

/// Why nothing is known of what CIM reports.
class UnaskedReasons {
public:
    explicit UnaskedReasons(const ServerAccount& accounts) : account(accounts) {}

    /// Of a class that was not served; absent: it was.
    std::optional<Reason> why(const std::string& className) const;
    /// Of a device that the plug-in may not open.
    static Reason refused(const DeviceFacts& facts);
    /// Of a device that the collecting process had not come to.
    Reason notLookedAt() const;

private:
    const ServerAccount& account;
};

/// What is missing and why, in one sentence for people: the first gap, and how many more.
std::string incompleteSentence(const ServerAccount& account);

/// Notes every device that was refused, class that is missing or failed, and table that could not be read.
void addGaps(ServerAccount& account);

}  // namespace diskmgt
