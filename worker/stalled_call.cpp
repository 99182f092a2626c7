// Reads the process's file `syscall` in /proc: the call's number and arguments while it is blocked in it.
#include "worker/stalled_call.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "base/handles.h"

namespace diskmgt::worker {

namespace {

struct CallInWords {
    long number;
    const char* words;
    int pathArgument;        // which argument points to the path; negative: none does
    int descriptorArgument;  // which argument is a descriptor instead
};

constexpr CallInWords kCalls[] = {
    {SYS_statfs, "measuring the file system at", 0, -1},
    {SYS_openat, "opening", 1, -1},
    {SYS_readlinkat, "reading the link", 1, -1},
    {SYS_read, "reading from", -1, 0},
    {SYS_getdents64, "listing", -1, 0},
    {SYS_ioctl, "asking for the size of", -1, 0},
    {SYS_lseek, "positioning in", -1, 0},
    {SYS_write, "writing to", -1, 0},
    {SYS_fsync, "storing", -1, 0},
    {SYS_close, "closing", -1, 0},
    {SYS_newfstatat, "looking for", 1, -1},
    {SYS_faccessat2, "looking for", 1, -1},
#ifdef SYS_open  // the older forms, which not every architecture has
    {SYS_open, "opening", 0, -1},
    {SYS_access, "looking for", 0, -1},
    {SYS_readlink, "reading the link", 0, -1},
    {SYS_stat, "looking for", 0, -1},
#endif
};

/// Where /proc has the process; empty when it is not to be known. /proc may count processes otherwise than this process
/// does: it may be that of another process name space.
std::string folderOf(pid_t process) {
    const diskmgt_col::UniqueFd handle(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    const std::string path = "/proc/self/fdinfo/" + std::to_string(handle.get());
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "re"), &std::fclose);
    char line[128];
    int number = 0;
    while (file != nullptr && number == 0 && std::fgets(line, sizeof line, file.get()) != nullptr)
        (void)std::sscanf(line, "Pid: %d", &number);
    return number <= 0 ? "" : "/proc/" + std::to_string(number);
}

/// The text at an address of the process; empty when there is none to be read.
std::string textAt(pid_t process, void* address) {
    char text[PATH_MAX] = "";
    std::size_t length = 0;
    // Piece by piece up to page ends: what lies behind the text may not be readable.
    while (length < sizeof text - 1) {
        constexpr std::size_t kPage = 4096;
        char* const from = static_cast<char*>(address) + length;
        std::size_t piece = kPage - reinterpret_cast<std::uintptr_t>(from) % kPage;
        if (piece > sizeof text - 1 - length) piece = sizeof text - 1 - length;
        iovec here{text + length, piece};
        iovec there{from, piece};
        if (::process_vm_readv(process, &here, 1, &there, 1, 0) != static_cast<ssize_t>(piece)) return {};
        for (std::size_t i = length; i < length + piece; ++i)
            if (text[i] == '\0') return text;
        length += piece;
    }
    return {};
}

std::string nameOfDescriptor(const std::string& folder, std::uintptr_t descriptor) {
    char name[PATH_MAX];
    const std::string link = folder + "/fd/" + std::to_string(descriptor);
    const ssize_t length = ::readlink(link.c_str(), name, sizeof name);
    return length <= 0 ? "" : std::string(name, static_cast<std::size_t>(length));
}

}  // namespace

std::string stalledCallOf(pid_t child) {
    const std::string folder = folderOf(child);
    if (folder.empty()) return {};
    const std::string path = folder + "/syscall";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "re"), &std::fclose);
    long number = -1;
    void* arguments[2] = {nullptr, nullptr};
    if (file == nullptr || std::fscanf(file.get(), "%ld %p %p", &number, &arguments[0], &arguments[1]) != 3)
        return {};  // running, or not to be known
    for (const CallInWords& call : kCalls) {
        if (call.number != number) continue;
        const std::string name =
            call.pathArgument >= 0
                ? textAt(child, arguments[call.pathArgument])
                : nameOfDescriptor(folder, reinterpret_cast<std::uintptr_t>(arguments[call.descriptorArgument]));
        return name.empty() ? "" : std::string(call.words) + " \"" + name + "\"";
    }
    return {};
}

}  // namespace diskmgt::worker
