#include "cli/tables/tree_mounts.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace diskmgt {

namespace {

using diskmgt_machine::Mount;

constexpr const char* kBtrfs = "btrfs";

/// Whether the mounted part is all that the row stands for.
bool isWhole(const Mount& mount) {
    return mount.root == "/" || (mount.type == kBtrfs && mount.root == subvolumeOf(mount));
}

auto rankOf(const ServerAccount& account, std::size_t position) {
    const Mount& mount = account.machine.mounts[position];
    const MountAccount& more = account.mounts[position];
    return std::make_tuple(mount.mountPoint != "/", more.reason.has_value(), !isWhole(mount),
                           !more.logicalDisk.isReported(), position);
}

}  // namespace

std::string subvolumeOf(const Mount& mount) {
    if (mount.type != kBtrfs) return {};
    const std::string mark = ",subvol=";
    const std::string options = "," + mount.superOptions;
    const std::size_t found = options.rfind(mark);  // the last of the kernel's options, whatever a path contains
    const std::string name = found == std::string::npos ? mount.root : options.substr(found + mark.size());
    return name == "/" ? "" : name;
}

std::vector<MountFold> folded(const ServerAccount& account, const std::vector<std::size_t>& mounts) {
    std::vector<MountFold> folds;
    std::map<std::pair<std::string, std::string>, std::size_t> known;
    for (const std::size_t position : mounts) {
        const Mount& mount = account.machine.mounts[position];
        const bool isOnDevice = account.mounts[position].group == FileSystemGroup::kDevice;
        const auto [place, isNew] =
            known.try_emplace({subvolumeOf(mount), isOnDevice ? "" : mount.source}, folds.size());
        if (isNew) folds.emplace_back();
        folds[place->second].push_back(position);
    }
    for (MountFold& fold : folds) {
        const auto first = std::min_element(fold.begin(), fold.end(), [&account](std::size_t one, std::size_t other) {
            return rankOf(account, one) < rankOf(account, other);
        });
        std::rotate(fold.begin(), first, first + 1);
    }
    return folds;
}

std::vector<std::size_t> mountsOfSwapFiles(const diskmgt_machine::Machine& machine) {
    std::vector<std::size_t> found(machine.swaps.size(), machine.mounts.size());
    for (std::size_t i = 0; i < machine.swaps.size(); ++i) {
        if (!machine.swaps[i].isFile) continue;
        std::size_t longest = 0;
        for (std::size_t mount = 0; mount < machine.mounts.size(); ++mount) {
            const std::string& point = machine.mounts[mount].mountPoint;
            const std::string folder = point == "/" ? point : point + "/";
            if (machine.swaps[i].path.compare(0, folder.size(), folder) != 0 || folder.size() < longest) continue;
            longest = folder.size();
            found[i] = mount;
        }
    }
    return found;
}

}  // namespace diskmgt
