#include "inventory/mount_figures.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>

#include "inventory/file_system_groups.h"
#include "inventory/file_systems.h"
#include "worker/account.h"

namespace diskmgt {

namespace {

using diskmgt_machine::Mount;
using Outcome = MountFigure::Outcome;

constexpr std::int64_t kPatienceNs = 1000000000;  // for all together
constexpr std::size_t kMostAtOnce = 256;          // processes

/// Whether what is at the mount point is the mount itself. Where the kernel does not give mounts a number, the file
/// system's decides, except for btrfs, whose subvolumes have numbers of their own.
bool isItself(const Mount& mount, const struct statx& found) {
    if ((found.stx_mask & STATX_MNT_ID) != 0 && found.stx_mnt_id == mount.id) return true;
    const bool isSameNumber =
        found.stx_dev_major == mount.number.majorNumber && found.stx_dev_minor == mount.number.minorNumber;
    return isSameNumber || ((found.stx_mask & STATX_MNT_ID) == 0 && mount.type == "btrfs");
}

/// May never come back, unless the file system is local.
MountFigure measured(const Mount& mount) {
    MountFigure figure;
    figure.mountId = mount.id;
    figure.number = mount.number;
    figure.outcome = Outcome::kFailed;
    struct statx found {};
    // The mount point is the root of what is mounted there, so an automount that covers it by now is not mounted.
    if (::statx(AT_FDCWD, mount.mountPoint.c_str(), AT_NO_AUTOMOUNT, STATX_MNT_ID, &found) != 0) {
        figure.error = errno;
        return figure;
    }
    if (!isItself(mount, found)) {
        figure.outcome = Outcome::kHidden;
        return figure;
    }
    struct statvfs statistics {};
    if (::statvfs(mount.mountPoint.c_str(), &statistics) != 0) {
        figure.error = errno;
        return figure;
    }
    const auto bytes = [&statistics](fsblkcnt_t blocks) {
        return static_cast<std::uint64_t>(blocks) * statistics.f_frsize;
    };
    figure.outcome = Outcome::kMeasured;
    figure.space = {bytes(statistics.f_blocks), bytes(statistics.f_bfree), bytes(statistics.f_bavail), false};
    return figure;
}

/// Whether the kernel alone answers. A program may serve a block device too, such as by fuseblk, and a cluster share
/// one.
bool isLocal(const Mount& mount, FileSystemGroup group) {
    if (group == FileSystemGroup::kDevice) return kindOfFileSystem(mount.type) == FileSystemKind::kLocal;
    return group == FileSystemGroup::kMemory || mount.type == "btrfs";
}

[[noreturn]] void answerInChild(const Mount& mount, int answer) {
    (void)::prctl(PR_SET_PDEATHSIG,
                  SIGKILL);  // cannot fail; nobody else would end it when the asking process is killed
    (void)::close_range(0, static_cast<unsigned>(answer) - 1, 0);
    (void)::close_range(static_cast<unsigned>(answer) + 1, ~0U, 0);
    const MountFigure figure = measured(mount);
    (void)!::write(answer, &figure, sizeof figure);  // at once, because a pipe takes a page whole
    ::_exit(0);
}

}  // namespace

void LeftProcesses::reap() {
    left.erase(std::remove_if(left.begin(), left.end(),
                              [](const Left& one) { return ::waitpid(one.process, nullptr, WNOHANG) != 0; }),
               left.end());
}

bool LeftProcesses::isWaitingFor(const Mount& mount) const {
    return std::any_of(left.begin(), left.end(),
                       [&mount](const Left& one) { return one.mountId == mount.id && one.number == mount.number; });
}

MountMeasuring::MountMeasuring(const std::vector<Mount>& mounts, LeftProcesses* left) : leftOver(left) {
    if (leftOver != nullptr) leftOver->reap();
    UntouchablePlaces untouchable;
    for (const Mount& mount : mounts) {
        const FileSystemGroup group = groupOf(mount);
        const bool isAutomount = mount.type == "autofs";
        if (isAutomount || (group != FileSystemGroup::kPseudo && !isLocal(mount, group)))
            untouchable.add(mount.mountPoint);
    }
    for (const Mount& mount : mounts) {
        const FileSystemGroup group = groupOf(mount);
        if (group == FileSystemGroup::kPseudo) continue;
        if (isLocal(mount, group) && !untouchable.cover(mount.mountPoint)) {
            figures.push_back(measured(mount));
            continue;
        }
        figures.push_back({mount.id, mount.number, Outcome::kNoAnswer, 0, {}});
        start(mount, figures.size() - 1);
    }
}

MountMeasuring::~MountMeasuring() {
    for (const Outstanding& asked : outstanding) leave(asked);
    outstanding.clear();
    if (!ended.empty()) reap();
}

void MountMeasuring::start(const Mount& mount, std::size_t position) {
    if (leftOver != nullptr && leftOver->isWaitingFor(mount)) return;
    if (endNs == 0) endNs = worker::steadyNanoseconds() + kPatienceNs;
    gather(kMostAtOnce - 1, endNs);
    MountFigure& figure = figures[position];
    int ends[2];
    if (outstanding.size() >= kMostAtOnce) return;  // so many do not answer that no time is left for this one
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        figure = {mount.id, mount.number, Outcome::kFailed, errno, {}};
        return;
    }
    const pid_t process = ::fork();
    if (process == 0) answerInChild(mount, ends[1]);
    (void)::close(ends[1]);
    if (process > 0) {
        outstanding.push_back({position, process, ends[0]});
        return;
    }
    figure = {mount.id, mount.number, Outcome::kFailed, errno, {}};
    (void)::close(ends[0]);
}

void MountMeasuring::takeAnswer(const Outstanding& asked) {
    MountFigure answer;
    if (::read(asked.answer, &answer, sizeof answer) == static_cast<ssize_t>(sizeof answer))
        figures[asked.position] = answer;
    leave(asked);
}

void MountMeasuring::leave(const Outstanding& asked) {
    (void)::close(asked.answer);
    const MountFigure& figure = figures[asked.position];
    ended.push_back({asked.process, figure.mountId, figure.number});
    (void)::kill(asked.process, SIGKILL);
}

/// What the kernel does not hold is gone in a moment; for the rest nothing waits.
void MountMeasuring::reap() {
    constexpr std::int64_t kToVanishNs = 20000000;
    const std::int64_t end = worker::steadyNanoseconds() + kToVanishNs;
    while (!ended.empty() && worker::steadyNanoseconds() < end) {
        ended.erase(std::remove_if(ended.begin(), ended.end(),
                                   [](const auto& one) { return ::waitpid(one.process, nullptr, WNOHANG) != 0; }),
                    ended.end());
        const timespec moment{0, 200000};
        if (!ended.empty()) (void)::nanosleep(&moment, nullptr);
    }
    if (leftOver != nullptr) leftOver->left.insert(leftOver->left.end(), ended.begin(), ended.end());
    ended.clear();
}

void MountMeasuring::gather(std::size_t atMost, std::int64_t untilNs) {
    while (outstanding.size() > atMost) {
        const std::int64_t left = std::max<std::int64_t>(untilNs - worker::steadyNanoseconds(), 0);
        std::vector<pollfd> waited;
        waited.reserve(outstanding.size());
        for (const Outstanding& asked : outstanding) waited.push_back({asked.answer, POLLIN, 0});
        const int ready = ::poll(waited.data(), waited.size(), static_cast<int>((left + 999999) / 1000000));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return;
        for (std::size_t i = waited.size(); i-- > 0;) {
            if (waited[i].revents == 0) continue;
            takeAnswer(outstanding[i]);
            outstanding.erase(outstanding.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
}

std::vector<std::uint64_t> MountMeasuring::unansweredAfter(int milliseconds) {
    gather(0, std::min(endNs, worker::steadyNanoseconds() + std::int64_t{milliseconds} * 1000000));
    std::vector<std::uint64_t> silent;
    for (const MountFigure& figure : figures)
        if (figure.outcome == Outcome::kNoAnswer) silent.push_back(figure.mountId);
    return silent;
}

MountFigures MountMeasuring::finish() {
    gather(0, endNs);
    for (const Outstanding& asked : outstanding) leave(asked);
    outstanding.clear();
    reap();
    return std::move(figures);
}

}  // namespace diskmgt
