// The account that answers clients when the endpoint is started as root.
#pragma once

#include <sys/types.h>

#include <string>

namespace diskmgt::serve {

struct Account {
    uid_t user = 0;
    gid_t group = 0;
};

/// Without root, the caller's. As root: the named one, else `diskmgt`, which the package makes, else `nobody`. Throws
/// `CommandError` when it does not exist or is root.
Account frontAccount(const std::string& name);

}  // namespace diskmgt::serve
