// Loading the library, and its identity.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <filesystem>

#include "plugin/host/tal_exception.h"
#include "tests/contract/opened_plugin.h"

namespace contract {
namespace {

using second_host::PluginManager;
using second_host::SecondHost;
using second_host::Services;

struct Identity {
    std::string name, version, interfaceVersion;
    unsigned int type = 99;
};

Identity identityOf(NVEXTAL20::IPluginCallbacks& entry) {
    return {entry.GetName(), entry.GetVersion(), entry.GetInterfaceVersion(), entry.GetType()};
}

void expectIsTheDiskCollector(const Identity& identity) {
    EXPECT_EQ(identity.name, "Disk Management Information Collector");
    EXPECT_EQ(identity.version, "1.0");
    EXPECT_EQ(identity.interfaceVersion, "1.0");
    EXPECT_EQ(identity.type, 0U);
}

TEST(Registration, TheLibrariesOfThisHostServeThePluginAndNoOthers) {
    const Loaded loaded;
    const auto just = [](const char* file) { return std::vector<std::string>{std::filesystem::canonical(file)}; };
    EXPECT_EQ(mappedLibraries("/libtalcore.so"), just(SECOND_HOST_CORE_FILE));
    EXPECT_EQ(mappedLibraries("/libtalbase.so"), just(SECOND_HOST_BASE_FILE));
    EXPECT_EQ(mappedLibraries("/libdiskmgt.pi.so"), just(DISKMGT_PLUGIN_FILE));
}

TEST(Registration, LoadingRegistersOneEntryObjectAndMakesNoOtherCall) {
    int registrations = 0;
    Services services;
    services.onRegistration = [&](NVEXTAL20::IPluginCallbacks&) { ++registrations; };
    const Loaded loaded(services);
    EXPECT_EQ(registrations, 1);
    EXPECT_TRUE(loaded.host.calls().empty());
    EXPECT_TRUE(loaded.host.log().empty());
}

TEST(Registration, TheEntryObjectAnswersBeforeTheLibraryHasLoaded) {
    Identity identity;
    Services services;
    services.onRegistration = [&](NVEXTAL20::IPluginCallbacks& entry) {
        EXPECT_NE(dynamic_cast<NVEXTAL20::IPluginBasicQueryCallbacks*>(&entry), nullptr);
        identity = identityOf(entry);
    };
    const Loaded loaded(services);
    expectIsTheDiskCollector(identity);
}

TEST(Registration, TheEntryObjectAnswersAfterwards) {
    const Loaded loaded;
    expectIsTheDiskCollector(identityOf(loaded.plugin.entry()));
}

TEST(Registration, InitAndDeInitDoNothing) {
    const Loaded loaded;
    loaded.plugin.entry().Init();
    loaded.plugin.entry().DeInit();
    EXPECT_TRUE(loaded.host.calls().empty());
    EXPECT_TRUE(loaded.host.log().empty());
    expectIsTheDiskCollector(identityOf(loaded.plugin.entry()));
}

TEST(Registration, WithoutAManagerTheLoadedLibraryMakesNoCall) {
    Services services;
    services.pluginManager = PluginManager::kNone;
    const Loaded loaded(services);
    EXPECT_EQ(loaded.host.plugin(), nullptr);
    EXPECT_TRUE(loaded.host.calls().empty());
}

TEST(Registration, WithAForeignManagerTheLoadedLibraryMakesNoCall) {
    Services services;
    services.pluginManager = PluginManager::kForeign;
    const Loaded loaded(services);
    EXPECT_EQ(loaded.host.plugin(), nullptr);
    EXPECT_TRUE(loaded.host.calls().empty());
}

/// In a separate process: the load leaves the dynamic loader in an unfinished state.
[[noreturn]] void loadAndTellWhatLeaves(Services services) {
    constexpr int kLeft = 7;
    constexpr int kLoaded = 8;
    try {
        const SecondHost host(std::move(services));
        const OpenedPlugin session;
    } catch (const NVEXTAL20::TTALException& failure) {
        (void)fprintf(stderr, "TTALException: %s\n", failure.what());
        _exit(kLeft);
    } catch (const std::exception& failure) {
        (void)fprintf(stderr, "std::exception: %s\n", failure.what());
        _exit(kLeft);
    }
    _exit(kLoaded);
}

TEST(Registration, AnExceptionOfTheHostLeavesTheLoad) {
    Services services;
    services.onRegistration = [](NVEXTAL20::IPluginCallbacks&) { throw NVEXTAL20::TTALException("not today"); };
    EXPECT_EXIT(loadAndTellWhatLeaves(services), ::testing::ExitedWithCode(7), "TTALException: not today");
}

TEST(Registration, AStandardExceptionPassesOutOfTheLoadToo) {
    Services services;
    services.onRegistration = [](NVEXTAL20::IPluginCallbacks&) { throw std::runtime_error("nor tomorrow"); };
    EXPECT_EXIT(loadAndTellWhatLeaves(services), ::testing::ExitedWithCode(7), "std::exception: nor tomorrow");
}

}  // namespace
}  // namespace contract
