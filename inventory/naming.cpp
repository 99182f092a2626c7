#include "inventory/naming.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <optional>

#include "inventory/file_systems.h"
#include "machine/texts.h"

namespace diskmgt {

namespace {

using Kind = Named::Kind;

class Search {
public:
    Search(const ServerAccount& searched, const std::string& asked) : account(searched), operand(asked) {}

    Named run() {
        const bool isPath = operand.find('/') != std::string::npos;
        const std::string path = isPath ? operand : "/dev/" + operand;
        if (findDevice(path) || (!isPath && findVolume()) || findPublished(path)) return found;
        if (operand.compare(0, 1, "/") == 0 && findPath()) return found;
        (void)findSource();
        return found;
    }

private:
    bool answer(std::size_t device) {
        found.kind = Kind::kDevice;
        found.devices = {device};
        return true;
    }

    bool findDevice(const std::string& path) {
        const auto device = account.uses.deviceNamed(diskmgt_machine::nodeOfSysfsName(path));
        return device && answer(*device);
    }

    bool findVolume() {
        for (std::size_t i = 0; i < account.devices.size(); ++i)
            if (account.device(i).volume == operand) return answer(i);
        return false;
    }

    bool findPublished(const std::string& path) {
        for (std::size_t i = 0; i < account.devices.size(); ++i) {
            const DeviceAccount& device = account.devices[i];
            if ((device.partition && device.partition->as == path) || (device.drive && device.drive->as == path))
                return answer(i);
        }
        for (std::size_t i = 0; i < account.cimOnly.size(); ++i)
            if (account.cimOnly[i].name == path) {
                found.kind = Kind::kCimOnly;
                found.cimOnly = i;
                return true;
            }
        return false;
    }

    void answerMount(Kind kind, std::size_t mount) {
        found.kind = kind;
        found.mounts.push_back(mount);
        for (const std::size_t device : account.uses.devicesOf(mount))
            if (std::find(found.devices.begin(), found.devices.end(), device) == found.devices.end())
                found.devices.push_back(device);
    }

    /// The mount that does not answer and that the path lies on by its text.
    std::optional<std::size_t> silentMount() const {
        const std::string plain = plainPath(operand);
        for (std::size_t i = 0; i < account.mounts.size(); ++i) {
            if (!account.mounts[i].reason || account.mounts[i].reason->rule != "mount-does-not-answer") continue;
            UntouchablePlaces place;
            place.add(account.machine.mounts[i].mountPoint);
            if (place.cover(plain)) return i;
        }
        return std::nullopt;
    }

    bool findPath() {
        if (const auto silent = silentMount()) {
            answerMount(Kind::kNoAnswer, *silent);
            return true;
        }
        struct statx status {};
        if (::statx(AT_FDCWD, operand.c_str(), AT_NO_AUTOMOUNT, STATX_TYPE | STATX_MNT_ID, &status) != 0)
            return findMountPoint(plainPath(operand));
        if (S_ISBLK(status.stx_mode)) {
            const diskmgt_machine::DeviceNumber number{status.stx_rdev_major, status.stx_rdev_minor};
            for (std::size_t i = 0; i < account.devices.size(); ++i)
                if (account.device(i).number == number) return answer(i);
            return false;
        }
        const std::string plain = plainPath(operand);
        for (std::size_t i = account.mounts.size(); i-- > 0;) {
            if (account.machine.mounts[i].id != status.stx_mnt_id) continue;
            answerMount(plainPath(account.machine.mounts[i].mountPoint) == plain ? Kind::kMount : Kind::kPath, i);
            return true;
        }
        return findPathByText(plain);
    }

    /// By the text alone, the last of several: of another user's mount the kernel says nothing.
    bool findMountPoint(const std::string& plain) {
        for (std::size_t i = account.mounts.size(); i-- > 0;) {
            if (plainPath(account.machine.mounts[i].mountPoint) != plain) continue;
            answerMount(Kind::kMount, i);
            return true;
        }
        return false;
    }

    /// For a table that is not the one of this process: by the longest mount point, the last of several.
    bool findPathByText(const std::string& plain) {
        std::optional<std::size_t> best;
        std::size_t longest = 0;
        for (std::size_t i = 0; i < account.mounts.size(); ++i) {
            const std::string point = plainPath(account.machine.mounts[i].mountPoint);
            const bool isRoot = point == "/";
            UntouchablePlaces place;
            place.add(point);
            if ((!isRoot && !place.cover(plain)) || point.size() < longest) continue;
            longest = point.size();
            best = i;
        }
        if (!best) return false;
        answerMount(plainPath(account.machine.mounts[*best].mountPoint) == plain ? Kind::kMount : Kind::kPath, *best);
        return true;
    }

    bool findSource() {
        for (std::size_t i = 0; i < account.mounts.size(); ++i)
            if (account.machine.mounts[i].source == operand) answerMount(Kind::kMount, i);
        return found.kind != Kind::kNothing;
    }

    const ServerAccount& account;
    const std::string& operand;
    Named found;
};

}  // namespace

Named named(const ServerAccount& account, const std::string& operand) { return Search(account, operand).run(); }

}  // namespace diskmgt
