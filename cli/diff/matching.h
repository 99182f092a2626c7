// Finds out which element of one document is which of the other. Names change; identities stay.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "cli/diff/inventory_document.h"

namespace diskmgt {

class Matching {
public:
    using Pair = std::pair<const DocumentElement*, const DocumentElement*>;  // null: on the other side alone

    /// Both documents must outlive it.
    Matching(const InventoryDocument& before, const InventoryDocument& after);

    const std::vector<Pair>& pairs(ElementKind kind) const { return found[static_cast<std::size_t>(kind)]; }
    /// Whether both lie on the same devices, whatever these are called.
    bool isOnTheSame(const DocumentElement& old, const DocumentElement& now) const;

private:
    std::vector<std::string> placesNow(const DocumentElement& old) const;

    std::vector<Pair> found[kElementKinds];
    std::unordered_map<std::string_view, std::string_view> newNames;  // of old devices; empty: not there any more
};

}  // namespace diskmgt
