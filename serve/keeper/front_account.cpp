#include "serve/keeper/front_account.h"

#include <pwd.h>
#include <unistd.h>

#include "text/command_error.h"

namespace diskmgt::serve {

Account frontAccount(const std::string& name) {
    const Account callers{::geteuid(), ::getegid()};
    const bool isRoot = callers.user == 0;
    if (!isRoot && name.empty()) return callers;
    const passwd* entry = nullptr;
    if (!name.empty()) {
        entry = ::getpwnam(name.c_str());
        if (entry == nullptr)
            throw CommandError(kWrongUsage,
                               "there is no account \"" + name + "\"; make it, or name another with --user");
    } else {
        entry = ::getpwnam("diskmgt");
        if (entry == nullptr) entry = ::getpwnam("nobody");
        if (entry == nullptr)
            throw CommandError(kWrongUsage,
                               "there is neither an account diskmgt nor nobody; name one with --user NAME");
    }
    if (entry->pw_uid == 0 || entry->pw_gid == 0)
        throw CommandError(kWrongUsage, "what answers clients does not run as root; name another account with --user");
    if (!isRoot && entry->pw_uid != callers.user)
        throw CommandError(kWrongUsage, "only root can run what answers clients as another account; leave --user out");
    return {entry->pw_uid, entry->pw_gid};
}

}  // namespace diskmgt::serve
