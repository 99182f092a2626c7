// Loading plug-in libraries: a good one, and every kind of bad file.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/unit/refhost/in_process_plugin.h"

namespace {

using refhost::PluginError;
using refhost::PluginIdentity;
using refhost::ReferenceHost;

std::string pluginFile(const std::string& name) { return std::string(TEST_PLUGIN_DIR) + "/" + name + ".so"; }

std::string refusalOf(ReferenceHost& host, const std::string& file) {
    try {
        (void)host.loadPlugin(file);
    } catch (const PluginError& failure) {
        return failure.what();
    }
    return "loaded";
}

std::vector<std::string> logOf(const ReferenceHost& host) {
    std::vector<std::string> texts;
    for (const refhost::LogLine& line : host.log()) texts.push_back(line.text);
    return texts;
}

class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& content) {
        char name[] = "/tmp/refhost-loader-XXXXXX";
        const int descriptor = ::mkstemp(name);
        EXPECT_GE(descriptor, 0);
        path = name;
        std::ofstream(path) << content;
        (void)::close(descriptor);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { std::filesystem::remove(path); }
    std::string path;
};

TEST(Loader, GoodPluginIsIdentifiedInitialisedAndServes) {
    ReferenceHost host;
    const PluginIdentity identity = host.loadPlugin(pluginFile("good_plugin"));
    EXPECT_EQ(identity.file, pluginFile("good_plugin"));
    EXPECT_EQ(identity.name, "Test plug-in");
    EXPECT_EQ(identity.version, "2.5");
    EXPECT_EQ(identity.interfaceVersion, "1.0");
    EXPECT_EQ(identity.type, 7u);
    EXPECT_TRUE(identity.answersRequests);
    ASSERT_EQ(host.plugins().size(), 1u);
    EXPECT_EQ(logOf(host), std::vector<std::string>{"Test plug-in: init"});

    EXPECT_EQ(host.request({"VEXSG_DiskDrive"}).failure, std::nullopt);
    ASSERT_EQ(host.instances("VEXSG_DiskDrive").size(), 1u);
    EXPECT_EQ(host.instances("VEXSG_DiskDrive")[0].properties[0].elements, std::vector<std::string>{"1024"});
    const refhost::RequestResult unfit = host.request({"VEXSG_LogicalDisk"});
    EXPECT_EQ(unfit.failure, "the class VEXSG_LogicalDisk declares no property \"Size\"");
}

TEST(Loader, RefusalSaysHowFarThePluginCame) {
    using Step = PluginError::Step;
    const auto stepOf = [](const std::string& name) -> std::optional<Step> {
        ReferenceHost host;
        try {
            (void)host.loadPlugin(pluginFile("second_plugin"));
            (void)host.loadPlugin(pluginFile(name));
        } catch (const PluginError& failure) {
            return failure.step();
        }
        return std::nullopt;
    };
    EXPECT_EQ(stepOf("good_plugin"), std::nullopt);
    EXPECT_EQ(stepOf("not_there"), Step::kOpening);
    EXPECT_EQ(stepOf("second_plugin"), Step::kStillMapped);
    EXPECT_EQ(stepOf("registers_nothing"), Step::kRegistering);
    EXPECT_EQ(stepOf("fails_to_start"), Step::kStarting);
}

TEST(Loader, PluginsAreUnloadedInReverseOrder) {
    ReferenceHost host;
    (void)host.loadPlugin(pluginFile("good_plugin"));
    (void)host.loadPlugin(pluginFile("second_plugin"));
    EXPECT_EQ(host.plugins().size(), 2u);
    host.unloadPlugins();
    EXPECT_TRUE(host.plugins().empty());
    EXPECT_EQ(logOf(host), (std::vector<std::string>{"Test plug-in: init", "Second test plug-in: init",
                                                     "Second test plug-in: deinit", "Second test plug-in: unload",
                                                     "Test plug-in: deinit", "Test plug-in: unload"}));
    EXPECT_EQ(host.request({"VEXSG_DiskDrive"}).failure, std::nullopt);
    EXPECT_TRUE(host.instances("VEXSG_DiskDrive").empty());
}

TEST(Loader, UnloadedLibraryIsGoneAndCanBeLoadedAgain) {
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        ReferenceHost host;
        EXPECT_EQ(host.loadPlugin(pluginFile("good_plugin")).name, "Test plug-in");
        host.unloadPlugins();
        EXPECT_EQ(::dlopen(pluginFile("good_plugin").c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
        EXPECT_EQ(host.loadPlugin(pluginFile("good_plugin")).name, "Test plug-in");
    }
}

TEST(Loader, SameFileTwiceIsRefused) {
    ReferenceHost host;
    (void)host.loadPlugin(pluginFile("good_plugin"));
    EXPECT_NE(refusalOf(host, pluginFile("good_plugin")).find("already loaded"), std::string::npos);
    EXPECT_EQ(host.plugins().size(), 1u);
}

TEST(Loader, TraceShowsTheLoad) {
    ReferenceHost host;
    host.startTrace();
    (void)host.loadPlugin(pluginFile("good_plugin"));
    std::vector<std::string> calls;
    for (const refhost::TraceEntry& entry : host.takeTrace()) calls.push_back(entry.call);
    EXPECT_EQ(calls, (std::vector<std::string>{"dlopen", "getPluginManager", "registerPlugin", "getType", "getName",
                                               "getVersion", "getInterfaceVersion", "init", "getCoreLogger", "log"}));
}

TEST(Loader, MissingFileIsNamed) {
    ReferenceHost host;
    EXPECT_EQ(refusalOf(host, "/nowhere/libdisk.so"),
              "cannot load the plug-in \"/nowhere/libdisk.so\": No such file or directory; give the path of a plug-in "
              "library");
}

TEST(Loader, AdviceIsApartFromTheReason) {
    ReferenceHost host;
    try {
        (void)host.loadPlugin("/tmp");
        FAIL();
    } catch (const PluginError& failure) {
        EXPECT_EQ(failure.reason(), "cannot load the plug-in \"/tmp\": it is a folder");
        EXPECT_EQ(failure.advice(), "give the path of a library in it");
    }
    try {
        (void)host.loadPlugin("/dev/null");
        FAIL();
    } catch (const PluginError& failure) {
        EXPECT_EQ(failure.reason(), failure.what());
        EXPECT_EQ(failure.advice(), "");
    }
}

TEST(Loader, FolderIsRefused) {
    ReferenceHost host;
    EXPECT_EQ(refusalOf(host, "/tmp"),
              "cannot load the plug-in \"/tmp\": it is a folder; give the path of a library in it");
    EXPECT_EQ(refusalOf(host, "/dev/null"), "cannot load the plug-in \"/dev/null\": it is no regular file");
}

TEST(Loader, TextFileIsNotASharedLibrary) {
    ReferenceHost host;
    const TemporaryFile text("not a library, but long enough for the header of one, and then some more text to read\n");
    EXPECT_EQ(refusalOf(host, text.path),
              "cannot load the plug-in \"" + text.path +
                  "\": it is not a shared library (invalid ELF header); give the path of one");
    const TemporaryFile empty("");
    EXPECT_EQ(refusalOf(host, empty.path), "cannot load the plug-in \"" + empty.path +
                                               "\": it is not a shared library (file too short); give the path of one");
}

std::string contentOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

TEST(Loader, ATruncatedLibraryIsRefusedBeforeItIsMapped) {
    ReferenceHost host;
    const std::string whole = contentOf(pluginFile("good_plugin"));
    for (const std::size_t size : {std::size_t{64}, std::size_t{100}, std::size_t{4096}, std::size_t{8192}}) {
        const TemporaryFile cut(whole.substr(0, size));
        EXPECT_EQ(refusalOf(host, cut.path), "cannot load the plug-in \"" + cut.path + "\": it is cut short at " +
                                                 std::to_string(size) + " bytes; copy it again");
    }
}

TEST(Loader, ALibraryThatMayNotBeReadIsNamedAsSuch) {
    if (::geteuid() == 0) {
        ASSERT_EQ(::seteuid(65534), 0);  // root may read anything
    }
    ReferenceHost host;
    const TemporaryFile closed("anything");
    (void)::chmod(closed.path.c_str(), 0);
    const std::string refusal = refusalOf(host, closed.path);
    (void)::seteuid(::getuid());
    EXPECT_EQ(refusal,
              "cannot load the plug-in \"" + closed.path + "\": Permission denied; check your rights to the file");
}

TEST(Loader, MissingSymbolIsNamed) {
    ReferenceHost host;
    EXPECT_EQ(refusalOf(host, pluginFile("misses_a_symbol")),
              "cannot load the plug-in \"" + pluginFile("misses_a_symbol") +
                  "\": undefined symbol: aFunctionThatNobodyDefines; it was built for another host or another version "
                  "of this one");
}

TEST(Loader, LibraryThatRegistersNothingIsRefused) {
    ReferenceHost host;
    EXPECT_EQ(refusalOf(host, pluginFile("registers_nothing")),
              "\"" + pluginFile("registers_nothing") + "\" is a shared library but registers no disk plug-in");
    EXPECT_TRUE(host.plugins().empty());
    EXPECT_EQ(::dlopen(pluginFile("registers_nothing").c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST(Loader, PluginThatCannotStartIsGivenBackAndClosed) {
    ReferenceHost host;
    EXPECT_EQ(refusalOf(host, pluginFile("fails_to_start")),
              "the plug-in \"" + pluginFile("fails_to_start") + "\" failed while starting: no licence");
    EXPECT_EQ(logOf(host), std::vector<std::string>{"unfit one given back"});
    EXPECT_TRUE(host.plugins().empty());
    EXPECT_EQ(::dlopen(pluginFile("fails_to_start").c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

/// Loads in a separate process, because the dynamic linker is unreliable after an exception has passed through it. The
/// process reports the error, serves a request without the plug-in, destroys the host and exits normally.
[[noreturn]] void loadAndExit(const std::string& name) {
    {
        ReferenceHost host;
        (void)std::fputs(refusalOf(host, pluginFile(name)).c_str(), stderr);
        if (!host.plugins().empty() || host.request({"VEXSG_DiskDrive"}).failure) std::exit(1);
    }
    std::exit(7);
}

class LoaderDeathTest : public ::testing::TestWithParam<std::pair<const char*, const char*>> {};
TEST_P(LoaderDeathTest, ExceptionWhileLoadingIsReportedAndTheProcessExitsNormally) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(loadAndExit(GetParam().first), ::testing::ExitedWithCode(7),
                "failed while loading: " + std::string(GetParam().second));
}
INSTANTIATE_TEST_SUITE_P(Plugins, LoaderDeathTest,
                         ::testing::Values(std::pair("throws_an_exception", "the disks are on fire"),
                                           std::pair("throws_a_host_exception", "no host for me"),
                                           std::pair("throws_a_number",
                                                     "it threw something that is no std::exception")),
                         [](const auto& row) { return row.param.first; });

}  // namespace
