// Finds what changed between two documents.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/diff/inventory_document.h"

namespace diskmgt {

struct ValueChange {
    std::string name;
    std::optional<DocumentValue> before, after;  // absent: not there, or not known
};

struct Change {
    ElementKind kind;
    std::string name;
    const DocumentElement* before;    // null: it came. Belongs to the old document
    const DocumentElement* after;     // null: it went
    std::vector<ValueChange> values;  // of an element that stayed: those that differ, at least one

    bool came() const { return before == nullptr; }
    bool went() const { return after == nullptr; }
};

/// By kind, then name, in the same order whichever document is the older. `withSpace`: also what moves while a server
/// works, such as free space. Elements and pairs of classes that a document lacks count as unknown. Elements of equal
/// names are matched with their equals first, then in the order in which they stand.
std::vector<Change> compareInventories(const InventoryDocument& before, const InventoryDocument& after, bool withSpace);

/// What the comparison could not know, and the reader should: one sentence each.
std::vector<std::string> doubtsAbout(const InventoryDocument& before, const std::string& beforeName,
                                     const InventoryDocument& after, const std::string& afterName);

}  // namespace diskmgt
