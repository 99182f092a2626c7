// os.h on the running kernel.
#include <fcntl.h>
#include <linux/fs.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "base/os.h"

namespace diskmgt_col::os {

int openFile(const std::string& path, int flags) { return ::open(path.c_str(), flags); }

int setCloseOnExec(int fd) { return ::fcntl(fd, F_SETFD, FD_CLOEXEC); }

int closeFile(int fd) {
    // Owners close in their destructors. A cancellation that left one would end the process.
    int before = PTHREAD_CANCEL_ENABLE;
    (void)::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
    const int result = ::close(fd);
    (void)::pthread_setcancelstate(before, nullptr);
    return result;
}

std::int64_t seekTo(int fd, std::int64_t offset) { return ::lseek64(fd, offset, SEEK_SET); }

ssize_t readSome(int fd, void* buffer, std::size_t size) { return ::read(fd, buffer, size); }

int blockDeviceSize(int fd, std::uint64_t& bytes) {
    std::uint64_t answer = 0;
    const int result = ::ioctl(fd, BLKGETSIZE64, &answer);
    if (result >= 0) bytes = answer;
    return result;
}

int checkAccess(const std::string& path) { return ::access(path.c_str(), F_OK); }

ssize_t readLink(const std::string& path, char* buffer, std::size_t size) {
    return ::readlink(path.c_str(), buffer, size);
}

int fileSystemStatistics(const char* path, struct statfs& statistics) { return ::statfs(path, &statistics); }

DIR* openDirectory(const std::string& path) { return ::opendir(path.c_str()); }

const char* nextEntryName(DIR* directory) {
    const dirent* const entry = ::readdir(directory);
    return entry == nullptr ? nullptr : entry->d_name;
}

int closeDirectory(DIR* directory) { return ::closedir(directory); }

int openBelow(DIR* directory, const std::string& path, int flags) {
    return ::openat(::dirfd(directory), path.c_str(), flags);
}

std::FILE* openMountTable(const char* path, const char* mode) { return ::setmntent(path, mode); }

bool nextMountEntry(std::FILE* table, mntent& entry, char* buffer, int bufferSize) {
    return ::getmntent_r(table, &entry, buffer, bufferSize) != nullptr;
}

void closeMountTable(std::FILE* table) { (void)::endmntent(table); }  // always returns 1

}  // namespace diskmgt_col::os
