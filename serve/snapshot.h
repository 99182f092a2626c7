// One collection as the front answers from it. It never changes; answers share its texts.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "serve/cimxml/object_store.h"
#include "serve/collected_documents.h"

namespace diskmgt::serve {

struct Snapshot {
    Snapshot(const std::vector<refhost::ClassDeclaration>& declarations, CollectedDocuments documents);

    std::string systemName;
    std::string stall;         // see `CollectedDocuments`
    std::string tag;           // differs from that of every other snapshot
    std::int64_t collectedNs;  // of the steady clock, when collecting began
    std::shared_ptr<const std::string> json, metrics, page;
    ObjectStore store;
};

}  // namespace diskmgt::serve
