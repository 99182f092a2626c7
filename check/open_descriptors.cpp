#include "check/open_descriptors.h"

#include <dirent.h>
#include <limits.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

namespace diskmgt {

namespace {

std::string named(const std::pair<const int, std::string>& open) {
    return "descriptor " + std::to_string(open.first) + " (" + open.second + ")";
}

}  // namespace

OpenDescriptors openDescriptors() {
    OpenDescriptors found;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc/self/fd"), &::closedir);
    while (const dirent* const entry = folder ? ::readdir(folder.get()) : nullptr) {
        const int number = std::atoi(entry->d_name);
        if (entry->d_name[0] == '.' || number == ::dirfd(folder.get())) continue;
        char target[PATH_MAX];
        const ssize_t length = ::readlinkat(::dirfd(folder.get()), entry->d_name, target, sizeof target);
        if (length >= 0) found.emplace(number, std::string(target, static_cast<std::size_t>(length)));
    }
    return found;
}

std::vector<std::string> descriptorChanges(const OpenDescriptors& before, const OpenDescriptors& after) {
    std::vector<std::string> changes;
    for (const auto& open : after)
        if (before.count(open.first) == 0) changes.push_back("leaves " + named(open) + " open");
    for (const auto& open : before) {
        const auto now = after.find(open.first);
        if (now == after.end())
            changes.push_back("closes " + named(open) + ", which is not its own");
        else if (now->second != open.second)
            changes.push_back("leaves " + named(*now) + " open in the place of " + open.second);
    }
    return changes;
}

}  // namespace diskmgt
