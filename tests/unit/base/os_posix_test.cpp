// The real kernel behind base/os.h, on files in a temporary directory. A separate program, because it is linked
// with os_posix.cpp.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "base/handles.h"

namespace {

using diskmgt_col::UniqueDirectory;
using diskmgt_col::UniqueFd;
using diskmgt_col::UniqueMountTable;
using ::testing::UnorderedElementsAre;

namespace os = diskmgt_col::os;

class PosixOs : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "os-posix-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        directory = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(directory); }

    std::string write(const std::string& name, const std::string& text) const {
        std::string path = directory + "/" + name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    std::string directory;
};

TEST_F(PosixOs, ReadsFromTheOffsetItSeekedTo) {
    const UniqueFd file(os::openFile(write("table", "0123456789"), O_RDONLY));
    ASSERT_TRUE(file.valid());
    char buffer[8] = {};
    EXPECT_EQ(os::seekTo(file.get(), 4), 4);
    EXPECT_EQ(os::readSome(file.get(), buffer, 3), 3);
    EXPECT_STREQ(buffer, "456");
    EXPECT_EQ(os::readSome(file.get(), buffer, 8), 3);
    EXPECT_EQ(os::readSome(file.get(), buffer, 8), 0);
}

TEST_F(PosixOs, OpensFilesRelativeToAnOpenDirectory) {
    (void)write("table", "0123");
    const UniqueDirectory folder(os::openDirectory(directory));
    const UniqueFd file(os::openBelow(folder.get(), "table", O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(file.valid());
    char buffer[8] = {};
    EXPECT_EQ(os::readSome(file.get(), buffer, sizeof buffer), 4);
    EXPECT_LT(os::openBelow(folder.get(), "missing", O_RDONLY), 0);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(PosixOs, SeeksBeyondFourGibibytes) {
    const UniqueFd file(os::openFile(write("table", ""), O_RDONLY));
    constexpr std::int64_t kFar = (std::int64_t{0xFFFFFFFF} * 2) * 512 + 446;
    EXPECT_EQ(os::seekTo(file.get(), kFar), kFar);
}

TEST_F(PosixOs, AnswersTheKernelsErrorsUnchanged) {
    errno = 0;
    EXPECT_LT(os::openFile(directory + "/missing", O_RDONLY), 0);
    EXPECT_EQ(errno, ENOENT);
    const UniqueFd file(os::openFile(write("plain", "x"), O_RDONLY));
    errno = 0;
    EXPECT_LT(os::seekTo(file.get(), -1), 0);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_LT(os::readSome(-1, nullptr, 0), 0);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(PosixOs, OpensWithTheGivenFlagsAndSetsCloseOnExecOnRequest) {
    const UniqueFd file(os::openFile(write("plain", "x"), O_RDONLY));
    EXPECT_EQ(::fcntl(file.get(), F_GETFD) & FD_CLOEXEC, 0);
    const UniqueFd witness(::open((directory + "/plain").c_str(), O_RDONLY));  // shows which flags the kernel adds
    EXPECT_EQ(::fcntl(file.get(), F_GETFL), ::fcntl(witness.get(), F_GETFL));
    EXPECT_GE(os::setCloseOnExec(file.get()), 0);
    EXPECT_NE(::fcntl(file.get(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(PosixOs, ClosesDescriptors) {
    const int file = os::openFile(write("plain", "x"), O_RDONLY);
    EXPECT_EQ(os::closeFile(file), 0);
    EXPECT_EQ(::fcntl(file, F_GETFD), -1);
}

TEST_F(PosixOs, NothingIsGivenBackAtACancellationPoint) {
    struct Taken {
        std::string directory;
        std::string file;
        bool isGivenBack = false;
    } taken{directory, write("mtab", "a /b c d 0 0\n")};
    const auto run = [](void* context) -> void* {
        Taken& own = *static_cast<Taken*>(context);
        const int fd = os::openFile(own.file, O_RDONLY);
        DIR* const folder = os::openDirectory(own.directory);
        std::FILE* const table = os::openMountTable(own.file.c_str(), "r+");
        (void)::pthread_cancel(::pthread_self());  // pending from here on
        (void)os::closeFile(fd);
        (void)os::closeDirectory(folder);
        os::closeMountTable(table);
        own.isGivenBack = true;
        ::pthread_testcancel();
        return nullptr;
    };
    pthread_t thread{};
    ASSERT_EQ(::pthread_create(&thread, nullptr, run, &taken), 0);
    void* result = nullptr;
    ASSERT_EQ(::pthread_join(thread, &result), 0);
    EXPECT_TRUE(taken.isGivenBack) << "a destructor that closes would have been left, which ends the process";
    EXPECT_EQ(result, PTHREAD_CANCELED) << "the cancellation was lost";
}

TEST_F(PosixOs, LeavesTheSizeAloneForFilesThatAreNotBlockDevices) {
    const UniqueFd file(os::openFile(write("plain", "x"), O_RDONLY));
    std::uint64_t bytes = 7;
    EXPECT_LT(os::blockDeviceSize(file.get(), bytes), 0);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_EQ(bytes, 7U);
}

TEST_F(PosixOs, ReportsWhetherAPathExists) {
    EXPECT_EQ(os::checkAccess(write("there", "")), 0);
    EXPECT_LT(os::checkAccess(directory + "/missing"), 0);
    std::filesystem::create_symlink("missing", directory + "/dangling");
    EXPECT_LT(os::checkAccess(directory + "/dangling"), 0);
    const std::string closed = write("closed", "");
    std::filesystem::permissions(closed, std::filesystem::perms::none);
    EXPECT_EQ(os::checkAccess(closed), 0);  // permissions do not matter
}

TEST_F(PosixOs, ReadsLinksWithoutATerminator) {
    std::filesystem::create_symlink("../../sda1", directory + "/link");
    char buffer[16];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(os::readLink(directory + "/link", buffer, sizeof buffer), 10);
    EXPECT_EQ(std::string(buffer, 11), "../../sda1#");
    EXPECT_EQ(os::readLink(directory + "/link", buffer, 4), 4);
    EXPECT_LT(os::readLink(write("plain", ""), buffer, sizeof buffer), 0);
}

TEST_F(PosixOs, MeasuresFileSystems) {
    struct statfs asked;
    struct statfs expected;
    ASSERT_EQ(os::fileSystemStatistics(directory.c_str(), asked), 0);
    ASSERT_EQ(::statfs(directory.c_str(), &expected), 0);
    EXPECT_EQ(asked.f_blocks, expected.f_blocks);
    EXPECT_EQ(asked.f_bsize, expected.f_bsize);
    EXPECT_LT(os::fileSystemStatistics((directory + "/missing").c_str(), asked), 0);
}

TEST_F(PosixOs, ListsEveryEntryOfADirectory) {
    write("sda", "");
    write("sdb", "");
    std::vector<std::string> names;
    {
        const UniqueDirectory opened(os::openDirectory(directory + "/"));
        ASSERT_NE(opened, nullptr);
        while (const char* const name = os::nextEntryName(opened.get())) names.emplace_back(name);
    }
    EXPECT_THAT(names, UnorderedElementsAre(".", "..", "sda", "sdb"));
    EXPECT_EQ(os::openDirectory(directory + "/missing"), nullptr);
}

TEST_F(PosixOs, ReadsMountTables) {
    const std::string table =
        write("mtab", "# note\n/dev/sda1 /mnt/a\\040b ext4 rw,relatime 0 0\nproc /proc proc rw 0 0\n");
    const UniqueMountTable opened(os::openMountTable(table.c_str(), "r+"));
    ASSERT_NE(opened, nullptr);
    mntent entry;
    char line[256];
    ASSERT_TRUE(os::nextMountEntry(opened.get(), entry, line, sizeof line));
    EXPECT_STREQ(entry.mnt_fsname, "/dev/sda1");
    EXPECT_STREQ(entry.mnt_dir, "/mnt/a b");
    EXPECT_STREQ(entry.mnt_type, "ext4");
    EXPECT_STREQ(entry.mnt_opts, "rw,relatime");
    ASSERT_TRUE(os::nextMountEntry(opened.get(), entry, line, sizeof line));
    EXPECT_STREQ(entry.mnt_fsname, "proc");
    EXPECT_FALSE(os::nextMountEntry(opened.get(), entry, line, sizeof line));
    EXPECT_EQ(os::openMountTable((directory + "/missing").c_str(), "r+"), nullptr);
}

TEST_F(PosixOs, AMountEntryUsesTheCallersBufferUpToItsSize) {
    const std::string longOptions(20000, 'o');
    const std::string table = write("mtab", "x /a ext4 " + longOptions + " 0 0\ny /b xfs rw 0 0\n");
    const UniqueMountTable opened(os::openMountTable(table.c_str(), "r+"));
    ASSERT_NE(opened, nullptr);
    mntent first;
    std::vector<char> firstLine(65536);
    ASSERT_TRUE(os::nextMountEntry(opened.get(), first, firstLine.data(), static_cast<int>(firstLine.size())));
    mntent second;
    std::vector<char> secondLine(65536);
    ASSERT_TRUE(os::nextMountEntry(opened.get(), second, secondLine.data(), static_cast<int>(secondLine.size())));
    EXPECT_EQ(first.mnt_opts, longOptions);  // not overwritten by the next entry
    EXPECT_STREQ(first.mnt_fsname, "x");
    EXPECT_STREQ(second.mnt_fsname, "y");
    for (const char* const field : {first.mnt_fsname, first.mnt_dir, first.mnt_type, first.mnt_opts})
        EXPECT_TRUE(field >= firstLine.data() && field < firstLine.data() + firstLine.size());
}

}  // namespace
