// Reading of ELF headers: see elf(5).
#include "refhost/loader/library_file.h"

#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "refhost/services/descriptor.h"

namespace refhost {

namespace {

template <typename Record>
bool readAt(int fd, std::uint64_t offset, Record& record) {
    return ::pread(fd, &record, sizeof record, static_cast<off_t>(offset)) == static_cast<ssize_t>(sizeof record);
}

bool isNativeLibrary(const ElfW(Ehdr) & header) {
    return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 && header.e_phentsize == sizeof(ElfW(Phdr));
}

}  // namespace

std::string obstacleTo(const std::string& libraryPath) {
    const Descriptor file(::open(libraryPath.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0)
        return std::string(std::strerror(errno)) + "; check your rights to the file";
    ElfW(Ehdr) header{};
    if (!readAt(file.get(), 0, header) || !isNativeLibrary(header)) return {};

    const auto fileSize = static_cast<std::uint64_t>(status.st_size);
    std::string cutShort = "it is cut short at " + std::to_string(fileSize) + " bytes; copy it again";
    for (unsigned i = 0; i < header.e_phnum; ++i) {
        ElfW(Phdr) segment{};
        if (!readAt(file.get(), header.e_phoff + std::uint64_t{i} * sizeof segment, segment)) return cutShort;
        if (segment.p_type != PT_LOAD) continue;
        if (segment.p_offset > fileSize || segment.p_filesz > fileSize - segment.p_offset) return cutShort;
    }
    return {};
}

}  // namespace refhost
