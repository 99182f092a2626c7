// Reads the thread's file `syscall` in /proc: the call's number and arguments while the thread is blocked in it.
#include "cli/stalled_call.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

namespace diskmgt_cli {

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
#ifdef SYS_open  // the older forms, which not every architecture has
    {SYS_open, "opening", 0, -1},
    {SYS_access, "looking for", 0, -1},
    {SYS_readlink, "reading the link", 0, -1},
    {SYS_stat, "looking for", 0, -1},
#endif
};

/// The text at an address of this process; empty when there is none to be read.
std::string textAt(void* address) {
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
        if (::process_vm_readv(::getpid(), &here, 1, &there, 1, 0) != static_cast<ssize_t>(piece)) return {};
        for (std::size_t i = length; i < length + piece; ++i)
            if (text[i] == '\0') return text;
        length += piece;
    }
    return {};
}

std::string nameOfDescriptor(std::uintptr_t descriptor) {
    char name[PATH_MAX];
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = ::readlink(link.c_str(), name, sizeof name);
    return length <= 0 ? "" : std::string(name, static_cast<std::size_t>(length));
}

}  // namespace

std::string ownThreadFolder() {
    char name[64];  // PROCESS/task/THREAD
    const ssize_t length = ::readlink("/proc/thread-self", name, sizeof name);
    return length <= 0 ? "" : "/proc/" + std::string(name, static_cast<std::size_t>(length));
}

std::string stalledCallOf(const std::string& threadFolder) {
    const std::string path = threadFolder + "/syscall";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "re"), &std::fclose);
    long number = -1;
    void* arguments[2] = {nullptr, nullptr};
    if (file == nullptr || std::fscanf(file.get(), "%ld %p %p", &number, &arguments[0], &arguments[1]) != 3)
        return {};  // running, or not to be known
    for (const CallInWords& call : kCalls) {
        if (call.number != number) continue;
        const std::string name =
            call.pathArgument >= 0
                ? textAt(arguments[call.pathArgument])
                : nameOfDescriptor(reinterpret_cast<std::uintptr_t>(arguments[call.descriptorArgument]));
        return name.empty() ? "" : std::string(call.words) + " \"" + name + "\"";
    }
    return {};
}

}  // namespace diskmgt_cli
