// The document of `export json`. Its form is stable; docs/INVENTORY-JSON.md describes it.
#pragma once

#include <string>

#include "inventory/server_account.h"

namespace diskmgt {

struct DocumentChoices {
    bool compact = false;  // without the plain instances
    bool all = false;      // pseudo file systems listed, not only counted
};

std::string inventoryJson(const ServerAccount& account, const DocumentChoices& choices);

}  // namespace diskmgt
