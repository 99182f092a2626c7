// Which rows of the machine a tree shows: all but what is of no interest, or what the operands name.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "inventory/server_account.h"

namespace diskmgt {

struct TreeSelection {
    bool isEverything = true;  // no operands
    // By position.
    std::vector<bool> devices;   // shown
    std::vector<bool> contents;  // shown with the mounts and swap areas on it
    std::vector<bool> mounts;    // shown
    std::vector<bool> cimOnly;   // shown
    // What was left out because it is of no interest.
    std::size_t emptyLoops = 0;
    std::size_t ramDisks = 0;
    std::size_t hiddenPaths = 0;
    std::vector<std::string> notes;  // sentences about the operands
};

/// A device brings what it lies on and all that lies on it; a mount or a path just what it lies on. With `all` nothing
/// is of no interest. Throws `CommandError` for an operand that names nothing.
TreeSelection selectRows(const ServerAccount& account, const std::vector<std::string>& operands, bool all);

}  // namespace diskmgt
