// Unloading the plug-in.
#include <gtest/gtest.h>

#include <optional>

#include "tests/contract/opened_plugin.h"

namespace contract {
namespace {

constexpr const char* kPluginName = "/libdiskmgt.pi.so";

TEST(Unload, NoHostCallFollows) {
    Loaded loaded;
    loaded.request(servedClasses());
    loaded.host.clearRecords();
    loaded.plugin.unload();
    EXPECT_TRUE(loaded.host.calls().empty());
    EXPECT_TRUE(loaded.host.log().empty());
}

TEST(Unload, TheLibraryLeavesTheProcess) {
    Loaded loaded;
    loaded.request(servedClasses());
    ASSERT_EQ(mappedLibraries(kPluginName).size(), 1U);
    loaded.plugin.unload();
    EXPECT_TRUE(mappedLibraries(kPluginName).empty());
}

TEST(Unload, WhatWasPublishedOutlivesThePlugin) {
    Loaded loaded;
    loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sdq"}});
    loaded.nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", "/dev/sdq1"}});
    loaded.request({"VEXSG_PartitionPresent"});
    loaded.plugin.unload();
    const auto pairs = loaded.nameSpace->instances("VEXSG_PartitionPresent");
    ASSERT_EQ(pairs.size(), 1U);
    const auto* const drive = dynamic_cast<const second_host::Instance*>(pairs[0]->referenced("Antecedent"));
    ASSERT_NE(drive, nullptr);
    EXPECT_EQ(drive->text("Name"), "/dev/sdq");
}

TEST(Unload, ALibraryLoadedAgainRegistersAndServesAgain) {
    second_host::SecondHost host;
    const auto nameSpace = second_host::Namespace::create();
    for (int round = 1; round <= 3; ++round) {
        SCOPED_TRACE(round);
        host.clearRecords();
        const OpenedPlugin session;
        ASSERT_NE(host.plugin(), nullptr);
        session.request(nameSpace, {"VEXSG_DynamicExtent"});
        EXPECT_EQ(host.log(), (std::vector<second_host::LogLine>{{3, "Dynamic Extent information.."}}));
    }
}

}  // namespace
}  // namespace contract
