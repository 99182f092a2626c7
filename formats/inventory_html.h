// The account of a server as one page for a browser or for paper. It needs nothing from anywhere else, no scripts
// either.
#pragma once

#include <string>

#include "inventory/server_account.h"

namespace diskmgt {

std::string inventoryPage(const ServerAccount& account);

}  // namespace diskmgt
