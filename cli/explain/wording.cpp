// Small texts that several sentences share.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "cli/explain/reasons.h"

namespace diskmgt_cli {

std::string errorText(int errorNumber) { return std::strerror(errorNumber); }

std::string failureText(int errorNumber) {
    const bool isRefusal = errorNumber == EACCES || errorNumber == EPERM;
    if (!isRefusal) return errorText(errorNumber);
    return errorText(errorNumber) +
           (::geteuid() == 0 ? " (even for root: a container or security policy forbids it)" : "; run as root");
}

std::string listed(const std::vector<std::string>& names) {
    constexpr std::size_t kMostNamed = 8;
    const std::size_t shown = std::min(names.size(), kMostNamed);
    std::string text;
    for (std::size_t i = 0; i < shown; ++i) {
        const bool isLast = i + 1 == names.size();
        text += (i == 0 ? "" : isLast ? " and " : ", ") + names[i];
    }
    if (shown < names.size()) text += " and " + std::to_string(names.size() - shown) + " more";
    return text;
}

std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace diskmgt_cli
