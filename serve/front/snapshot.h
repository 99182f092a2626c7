// One collection as the front answers from it. It never changes; answers share its texts.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "refhost/api/reference_host.h"
#include "serve/cimxml/object_store.h"
#include "serve/handover/instances_head.h"

namespace diskmgt::serve {

/// What CIM clients ask. It comes first.
class InstanceSnapshot {
public:
    /// `collected`: the records behind the head. The host must outlive the snapshot.
    InstanceSnapshot(const refhost::ReferenceHost& schemaHost, InstancesHead instancesHead, std::string collected);

    const InstancesHead& head() const { return itsHead; }
    /// Made when it is first asked for: most collections serve no CIM client.
    const ObjectStore& store() const;

private:
    const refhost::ReferenceHost& schema;
    const InstancesHead itsHead;
    mutable std::string records;  // empty once the store is made
    mutable std::unique_ptr<const ObjectStore> made;
};

struct CollectedDocuments {
    std::string json, metrics, page;
    std::string stall;  // a sentence about a mount that does not answer; empty: all answer
};

/// The texts that are served as they are.
struct Snapshot {
    Snapshot(const Beginning& beginning, CollectedDocuments documents);

    std::string stall;         // see `CollectedDocuments`
    std::string tag;           // differs from that of every other snapshot
    std::int64_t collectedNs;  // of the steady clock, when collecting began
    std::shared_ptr<const std::string> json, metrics, page;
};

}  // namespace diskmgt::serve
