// The calls of base/os.h, answered by the described machine instead of the kernel.
#include <fcntl.h>

#include <algorithm>
#include <cstring>

#include "base/os.h"
#include "tests/support/fake_os_state.h"

using diskmgt_test::Descriptor;
using diskmgt_test::FakeOs;
using diskmgt_test::Node;
using diskmgt_test::OpenDirectory;
using diskmgt_test::OpenTable;

namespace {

thread_local bool answering = false;

/// Held during one call.
class Lock {
public:
    explicit Lock(std::mutex& mutex) : held(mutex) { answering = true; }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() { answering = false; }

private:
    std::lock_guard<std::mutex> held;
};

bool failed(const std::optional<diskmgt_test::Effect>& effect) { return effect && !effect->readAtMost; }

/// Sets errno and returns -1, like a failed system call.
int refuse(int error) {
    errno = error;
    return -1;
}

int openNode(FakeOs::State& machine, const std::string& name, int flags) {
    if (failed(machine.note("open", name, flags == O_RDONLY ? "O_RDONLY" : "flags " + std::to_string(flags))))
        return -1;
    const Node* const node = machine.find(name);
    if (node == nullptr) return refuse(ENOENT);
    if (node->kind == Node::Kind::bare) return refuse(ENXIO);
    const int fd = machine.nextDescriptor++;
    machine.descriptors[fd] = Descriptor{name, *node, 0, (flags & O_CLOEXEC) != 0};
    machine.mostDescriptors = std::max(machine.mostDescriptors, static_cast<int>(machine.descriptors.size()));
    return fd;
}

}  // namespace

bool FakeOs::isAnswering() { return answering; }

namespace diskmgt_col::os {

int openFile(const std::string& path, int flags) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    return openNode(machine, path.c_str(), flags);  // the kernel stops at the first zero byte
}

int openBelow(DIR* directory, const std::string& path, int flags) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    const auto found = machine.directories.find(directory);
    if (found == machine.directories.end()) {
        ++machine.stale;
        return refuse(EBADF);
    }
    return openNode(machine, found->second->path + "/" + path.c_str(), flags);
}

int setCloseOnExec(int fd) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    Descriptor* const open = machine.descriptor(fd);
    if (open == nullptr || failed(machine.note("fcntl", open->path, "FD_CLOEXEC"))) return -1;
    open->closeOnExec = true;
    return 0;
}

int closeFile(int fd) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    const Descriptor* const open = machine.descriptor(fd);
    if (open == nullptr) return -1;
    const bool fails = failed(machine.note("close", open->path));
    if (!open->closeOnExec) machine.inheritable.push_back(open->path);
    machine.descriptors.erase(fd);  // even a failing close(2) releases the descriptor
    return fails ? -1 : 0;
}

std::int64_t seekTo(int fd, std::int64_t offset) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    Descriptor* const open = machine.descriptor(fd);
    if (open == nullptr || failed(machine.note("lseek", open->path, std::to_string(offset)))) return -1;
    if (offset < 0) return refuse(EINVAL);
    const auto target = static_cast<std::uint64_t>(offset);
    if (open->node.kind == Node::Kind::device && target > open->node.sizeBytes) return refuse(EINVAL);
    open->position = target;
    return offset;
}

ssize_t readSome(int fd, void* buffer, std::size_t size) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    Descriptor* const open = machine.descriptor(fd);
    if (open == nullptr) return -1;
    const auto effect = machine.note("read", open->path, std::to_string(size));
    if (failed(effect)) return -1;
    if (!open->node.content) return refuse(EISDIR);
    if (open->position >= open->node.sizeBytes) return 0;
    std::uint64_t count = std::min<std::uint64_t>(size, open->node.sizeBytes - open->position);
    if (effect) count = std::min<std::uint64_t>(count, *effect->readAtMost);
    if (count > 0) open->node.content(open->position, static_cast<char*>(buffer), static_cast<std::size_t>(count));
    open->position += count;
    return static_cast<ssize_t>(count);
}

int blockDeviceSize(int fd, std::uint64_t& bytes) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    const Descriptor* const open = machine.descriptor(fd);
    if (open == nullptr || failed(machine.note("ioctl", open->path, "BLKGETSIZE64"))) return -1;
    if (open->node.kind != Node::Kind::device) return refuse(ENOTTY);
    bytes = open->node.sizeBytes;
    return 0;
}

int checkAccess(const std::string& path) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    const std::string name = path.c_str();
    if (failed(machine.note("access", name))) return -1;
    return machine.find(name) == nullptr ? refuse(ENOENT) : 0;
}

ssize_t readLink(const std::string& path, char* buffer, std::size_t size) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    const std::string name = path.c_str();
    if (failed(machine.note("readlink", name, std::to_string(size)))) return -1;
    const auto found = machine.nodes.find(name);
    if (found == machine.nodes.end()) return refuse(ENOENT);
    if (found->second.kind != Node::Kind::link) return refuse(EINVAL);
    const std::size_t count = std::min(size, found->second.text.size());
    std::memcpy(buffer, found->second.text.data(), count);
    return static_cast<ssize_t>(count);
}

int fileSystemStatistics(const char* path, struct statfs& statistics) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    if (failed(machine.note("statfs", path))) return -1;
    const auto found = machine.fileSystems.find(path);
    if (found == machine.fileSystems.end()) return refuse(ENOENT);
    const diskmgt_test::SpaceFigures& figures = found->second;
    std::memset(&statistics, 0, sizeof statistics);
    statistics.f_bsize = static_cast<decltype(statistics.f_bsize)>(figures.blockBytes);
    statistics.f_blocks = figures.blocks;
    statistics.f_bfree = figures.freeBlocks;
    statistics.f_bavail = figures.availableBlocks;
    static_assert(sizeof statistics.f_fsid == 2 * sizeof(std::uint32_t));
    const std::uint32_t words[2] = {figures.idFirst, figures.idSecond};
    std::memcpy(&statistics.f_fsid, words, sizeof words);
    return 0;
}

DIR* openDirectory(const std::string& path) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    const std::string name = path.c_str();
    if (failed(machine.note("opendir", name))) return nullptr;
    const Node* const node = machine.find(name);
    if (node == nullptr || node->kind != Node::Kind::directory) {
        errno = node == nullptr ? ENOENT : ENOTDIR;
        return nullptr;
    }
    auto directory = std::make_unique<OpenDirectory>(OpenDirectory{name, node->entries, 0});
    void* const handle = directory.get();
    machine.directories[handle] = std::move(directory);
    return static_cast<DIR*>(handle);  // opaque outside this file
}

const char* nextEntryName(DIR* directory) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    const auto found = machine.directories.find(directory);
    if (found == machine.directories.end()) {
        ++machine.stale;
        return nullptr;
    }
    OpenDirectory& open = *found->second;
    if (failed(machine.note("readdir", open.path)) || open.next == open.entries.size()) return nullptr;
    return open.entries[open.next++].c_str();
}

int closeDirectory(DIR* directory) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    const auto found = machine.directories.find(directory);
    if (found == machine.directories.end()) {
        ++machine.stale;
        return refuse(EBADF);
    }
    const bool fails = failed(machine.note("closedir", found->second->path));
    machine.directories.erase(found);
    return fails ? -1 : 0;
}

std::FILE* openMountTable(const char* path, const char* mode) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    if (failed(machine.note("setmntent", path, mode))) return nullptr;
    const Node* const node = machine.find(path);
    if (node == nullptr || node->kind != Node::Kind::file) {
        errno = ENOENT;
        return nullptr;
    }
    if (!node->updatable && std::strchr(mode, '+') != nullptr) {
        errno = EACCES;
        return nullptr;
    }
    auto table = std::make_unique<OpenTable>(OpenTable{path, node->text});
    std::FILE* const stream = ::fmemopen(table->text.data(), table->text.size(), mode);
    if (stream != nullptr) machine.tables[stream] = std::move(table);
    return stream;
}

bool nextMountEntry(std::FILE* table, mntent& entry, char* buffer, int bufferSize) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    const auto found = machine.tables.find(table);
    if (found == machine.tables.end()) {
        ++machine.stale;
        return false;
    }
    if (failed(machine.note("getmntent", found->second->path))) return false;
    return ::getmntent_r(table, &entry, buffer, bufferSize) != nullptr;
}

void closeMountTable(std::FILE* table) {
    FakeOs::State& machine = FakeOs::State::current();
    const Lock lock(machine.mutex);
    const auto found = machine.tables.find(table);
    if (found == machine.tables.end()) {
        ++machine.stale;
        return;
    }
    (void)machine.note("endmntent", found->second->path);  // cannot fail
    (void)::endmntent(table);
    machine.tables.erase(found);
}

}  // namespace diskmgt_col::os
