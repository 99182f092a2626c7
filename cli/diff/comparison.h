// Finds what changed between two documents.
#pragma once

#include <cstddef>
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
    std::string name;                 // the new one, unless it went
    const DocumentElement* before;    // null: it came. Belongs to the old document
    const DocumentElement* after;     // null: it went
    const DocumentElement* shown;     // the new one, or the old one of what went
    std::vector<ValueChange> values;  // of an element that stayed: those that differ
    bool isRenamed = false;
    /// The row that says it too: its device came, went or was renamed with all that lies on it. Position in the list.
    std::optional<std::size_t> saidBy;

    bool came() const { return before == nullptr; }
    bool went() const { return after == nullptr; }
    const DocumentElement& element() const { return *shown; }
};

/// By kind, then name, in the same order whichever document is the older. `withSpace`: also what moves while a server
/// works, such as free space. What a document that is not complete lacks counts as unknown.
std::vector<Change> compareInventories(const InventoryDocument& before, const InventoryDocument& after, bool withSpace);

/// What the comparison could not know, and the reader should: one sentence each.
std::vector<std::string> doubtsAbout(const InventoryDocument& before, const std::string& beforeName,
                                     const InventoryDocument& after, const std::string& afterName);

}  // namespace diskmgt
