// TOSSpecific's files and processes, through the interface that plug-ins use.
#include "plugin/host/os_specific.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "plugin/host/tal_exception.h"

namespace {

using NVEXTAL20::TOSSpecific;
using NVEXTAL20::TTALException;

class Files : public ::testing::Test {
protected:
    Files() {
        char name[] = "/tmp/refhost-files-XXXXXX";
        folder = ::mkdtemp(name);
    }
    ~Files() override { std::filesystem::remove_all(folder); }
    std::string write(const std::string& name, const std::string& content) const {
        const std::string path = (folder / name).string();
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
    std::filesystem::path folder;
};

TEST_F(Files, CaptureReturnsEveryByte) {
    std::string content;
    for (int i = 0; i < 200'000; ++i) content += static_cast<char>(i % 256);
    EXPECT_EQ(TOSSpecific::CaptureFile(write("bytes", content)), content);
    EXPECT_EQ(TOSSpecific::CaptureFile(write("empty", "")), "");
}

TEST_F(Files, CaptureReadsFilesThatTellNoSize) {
    EXPECT_NE(TOSSpecific::CaptureFile("/proc/self/status").find("Name:"), std::string::npos);
}

TEST_F(Files, CaptureSaysWhyItCannotRead) {
    try {
        (void)TOSSpecific::CaptureFile("/nowhere/file");
        FAIL() << "read";
    } catch (const TTALException& failure) {
        EXPECT_STREQ(failure.what(), "cannot read \"/nowhere/file\": No such file or directory");
    }
    EXPECT_THROW((void)TOSSpecific::CaptureFile(folder.string()), TTALException);
    EXPECT_THROW((void)TOSSpecific::CaptureFile(""), TTALException);
}

TEST_F(Files, ExistsIsTrueForAnythingThatIsThere) {
    EXPECT_TRUE(TOSSpecific::FileExists(write("file", "x")));
    EXPECT_TRUE(TOSSpecific::FileExists(folder.string()));
    EXPECT_TRUE(TOSSpecific::FileExists("/dev/null"));
    EXPECT_FALSE(TOSSpecific::FileExists((folder / "none").string()));
    EXPECT_FALSE(TOSSpecific::FileExists(""));
}

TEST_F(Files, ExistsFollowsLinks) {
    std::filesystem::create_symlink("nowhere", folder / "dangling");
    EXPECT_FALSE(TOSSpecific::FileExists((folder / "dangling").string()));
}

TEST(Spawn, RunsAProgram) { EXPECT_EQ(TOSSpecific::SpawnProcess("echo", {"x"}, 300), "x\n"); }

}  // namespace
