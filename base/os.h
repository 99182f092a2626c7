// Every system call of the plug-in, one function each. Result and errno are exactly the call's; decisions are made
// elsewhere. Tests link another implementation of this header.
#pragma once

#include <dirent.h>
#include <mntent.h>
#include <sys/statfs.h>
#include <sys/types.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace diskmgt_col::os {

/// open(2) with these flags and no others; the descriptor, or negative.
int openFile(const std::string& path, int flags);
/// fcntl(2) FD_CLOEXEC; negative on failure.
int setCloseOnExec(int fd);
/// close(2). No cancellation point: a thread that is to be cancelled ends at the next one.
int closeFile(int fd);
/// lseek64(2) from the start; the new offset, or negative.
std::int64_t seekTo(int fd, std::int64_t offset);
/// One read(2); the bytes read, 0 at the end, negative on failure.
ssize_t readSome(int fd, void* buffer, std::size_t size);
/// ioctl(2) BLKGETSIZE64; negative on failure, which leaves `bytes` alone.
int blockDeviceSize(int fd, std::uint64_t& bytes);
/// access(2) with F_OK; 0 when the path exists.
int checkAccess(const std::string& path);
/// readlink(2); the number of bytes put into the buffer, without a terminating zero, or negative.
ssize_t readLink(const std::string& path, char* buffer, std::size_t size);
/// statfs(2); 0, or negative.
int fileSystemStatistics(const char* path, struct statfs& statistics);

/// opendir(3); null on failure.
DIR* openDirectory(const std::string& path);
/// The next entry's name, "." and ".." included, valid until the next call; null at the end.
const char* nextEntryName(DIR* directory);
int closeDirectory(DIR* directory);
/// openat(2) relative to an open directory, with these flags and no others; the descriptor, or negative.
int openBelow(DIR* directory, const std::string& path, int flags);

/// setmntent(3); null on failure.
std::FILE* openMountTable(const char* path, const char* mode);
/// getmntent_r(3); false at the end. The entry's fields point into the buffer.
bool nextMountEntry(std::FILE* table, mntent& entry, char* buffer, int bufferSize);
void closeMountTable(std::FILE* table);

}  // namespace diskmgt_col::os
