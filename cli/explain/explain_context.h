// The joined account as explanations ask it: what is unknown as a whole, and what is not in its rows.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cli/explain/published_pairs.h"
#include "inventory/completeness.h"
#include "inventory/server_account.h"

namespace diskmgt {

class ExplainContext {
public:
    /// The account must outlive it.
    explicit ExplainContext(const ServerAccount& joined);

    const ServerAccount& account;
    const PublishedPairs pairs;
    const UnaskedReasons unasked;
    std::optional<Reason> drivesUnknown;          // absent: CIM's drives are known
    std::optional<Reason> partitionsUnknown;      // the same of partitions
    std::vector<const DeviceFacts*> beside;       // of devices that the kernel's account does not list
    std::vector<const MountFacts*> besideMounts;  // lines of the mount table that the kernel does not have

    std::map<std::size_t, std::vector<std::size_t>> named;  // device to mounts whose source names it, by position

    /// The partitions that the rules expect.
    std::size_t expectedPartitions() const;
    /// Whether the command looked at the devices, so that the rules can be asked.
    bool hasFacts() const { return account.collection.facts.devices.has_value(); }
};

}  // namespace diskmgt
