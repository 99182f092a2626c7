// The entry object of the loaded library, through its own virtual tables.
#include <gtest/gtest.h>

#include "tests/contract/opened_plugin.h"
#include "tests/contract/slots.h"

namespace contract {
namespace {

using NVEXTAL20::ICIMNamespace;
using NVEXTAL20::IPluginBasicQueryCallbacks;
using NVEXTAL20::IPluginCallbacks;

// The signatures of the operations; the tests choose the slot.
using Number = unsigned int (IPluginCallbacks::*)();
using Text = std::string (IPluginCallbacks::*)();
using Action = void (IPluginCallbacks::*)();
using Data = void (IPluginCallbacks::*)(boost::shared_ptr<ICIMNamespace>, ClassList&);
using SecondBaseData = void (IPluginBasicQueryCallbacks::*)(boost::shared_ptr<ICIMNamespace>, ClassList&);

constexpr std::size_t kGetType = 2;
constexpr std::size_t kGetName = 3;
constexpr std::size_t kGetVersion = 4;
constexpr std::size_t kGetInterfaceVersion = 5;
constexpr std::size_t kPrepareForUnload = 6;
constexpr std::size_t kInit = 7;
constexpr std::size_t kDeInit = 8;
constexpr std::size_t kGetData = 9;
constexpr std::size_t kSecondBaseGetData = 2;

const std::vector<second_host::LogLine> kExtentLine = {{3, "Dynamic Extent information.."}};

class EntrySlots : public ::testing::Test {
protected:
    IPluginCallbacks& entry() { return loaded.plugin.entry(); }
    IPluginBasicQueryCallbacks& secondBase() { return dynamic_cast<IPluginBasicQueryCallbacks&>(entry()); }

    Loaded loaded;
};

TEST_F(EntrySlots, TheIdentityIsInSlots2To5) {
    EXPECT_EQ(callSlot(entry(), kGetType, Number()), 0U);
    EXPECT_EQ(callSlot(entry(), kGetName, Text()), "Disk Management Information Collector");
    EXPECT_EQ(callSlot(entry(), kGetVersion, Text()), "1.0");
    EXPECT_EQ(callSlot(entry(), kGetInterfaceVersion, Text()), "1.0");
}

TEST_F(EntrySlots, InitAndDeInitAreInSlots7And8) {
    callSlot(entry(), kInit, Action());
    callSlot(entry(), kDeInit, Action());
    EXPECT_EQ(entry().GetType(), 0U) << "the object must live on";
    const std::uintptr_t* const table = tableOf(&entry());
    EXPECT_NE(table[kInit], table[kPrepareForUnload]);
    EXPECT_NE(table[kDeInit], table[kPrepareForUnload]);
}

TEST_F(EntrySlots, GetDataFollowsInTheObjectsOwnTable) {
    ClassList classes = {loaded.nameSpace->find("VEXSG_DynamicExtent")};
    callSlot(entry(), kGetData, Data(), loaded.nameSpace, classes);
    EXPECT_EQ(loaded.host.log(), kExtentLine);
}

TEST_F(EntrySlots, TheSecondBaseReachesGetDataByAnAdjustment) {
    ClassList classes = {loaded.nameSpace->find("VEXSG_DynamicExtent")};
    callSlot(secondBase(), kSecondBaseGetData, SecondBaseData(), loaded.nameSpace, classes);
    EXPECT_EQ(loaded.host.log(), kExtentLine);
    EXPECT_NE(tableOf(&secondBase())[kSecondBaseGetData], tableOf(&entry())[kGetData]);
}

TEST_F(EntrySlots, TheFirstBaseIsTheObjectAndTheSecondFollowsIt) {
    const auto* const whole = static_cast<const char*>(dynamic_cast<void*>(&entry()));
    EXPECT_EQ(static_cast<const void*>(&entry()), whole);
    EXPECT_EQ(static_cast<const void*>(&secondBase()), whole + sizeof(void*));
    EXPECT_EQ(offsetToWhole(&entry()), 0);
    EXPECT_EQ(offsetToWhole(&secondBase()), -static_cast<std::ptrdiff_t>(sizeof(void*)));
}

TEST_F(EntrySlots, BothTablesDescribeTheSameType) {
    constexpr int kTypeInformation = -1;
    EXPECT_EQ(tableOf(&entry())[kTypeInformation], tableOf(&secondBase())[kTypeInformation]);
}

TEST_F(EntrySlots, TheHandleThenTheLogFollowTheBases) {
    const void* words[4];
    std::memcpy(words, static_cast<const void*>(&entry()), sizeof words);
    EXPECT_EQ(words[2], static_cast<const void*>(loaded.host.handle()));
    ASSERT_NE(words[3], nullptr);
    EXPECT_NE(tableOf(words[3])[kDestroySlot], 0U) << "the log is an object with a virtual destructor";
}

}  // namespace
}  // namespace contract
