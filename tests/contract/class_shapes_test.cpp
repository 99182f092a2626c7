// The shapes of the plug-in's classes: which are polymorphic, how long their tables are, what they hold.
#include <gtest/gtest.h>

#include <type_traits>

#include "collect/cmd_sink.h"
#include "collect/ldm_data_base.h"
#include "collect/linux_disk_info.h"
#include "collect/logical_disk_information.h"
#include "collect/partition_information.h"
#include "collect/partition_table_parser.h"
#include "collect/phys_disk_information.h"
#include "plugin/entry/disk_mgt_callbacks.h"
#include "plugin/log/log_message.h"
#include "provider/disk_info_associator.h"
#include "provider/hardware_associations.h"
#include "provider/hardware_information.h"
#include "tests/contract/slots.h"

namespace contract {
namespace {

using namespace diskmgt_col;

/// Its operation takes the first free slot of the class. Never instantiated.
template <typename Class>
class Extended : public Class {
public:
    virtual void afterLast() = 0;
};

template <typename Class>
class DestructorOnly : public ::testing::Test {};

using Classes = ::testing::Types<LogMessage, LDMDataBase, CmdSink, LinuxDiskInfo, PhysDiskInformation,
                                 PartitionInformation, PartitionTableParser, LogicalDiskInformation, DiskInfoAssociator,
                                 HardwareInformation, HardwareAssociations>;
TYPED_TEST_SUITE(DestructorOnly, Classes, );

TYPED_TEST(DestructorOnly, IsTheVirtualTableOfTheClass) {
    EXPECT_TRUE(std::has_virtual_destructor_v<TypeParam>);
    EXPECT_EQ(slotOf(&Extended<TypeParam>::afterLast), 2U);
}

template <typename Class>
class WithoutMembers : public ::testing::Test {};

using MemberlessClasses = ::testing::Types<LogMessage, PhysDiskInformation, PartitionInformation, PartitionTableParser,
                                           LogicalDiskInformation>;
TYPED_TEST_SUITE(WithoutMembers, MemberlessClasses, );

TYPED_TEST(WithoutMembers, AnObjectIsItsTablePointer) { EXPECT_EQ(sizeof(TypeParam), sizeof(void*)); }

template <typename Result>
class ExtendedSpec : public ParseSpec<Result> {
public:
    virtual void afterLast() = 0;
};

TEST(ClassShapes, AParseSpecHasTheParsingAfterItsDestructor) {
    EXPECT_EQ(slotOf(&ParseSpec<int>::parseSink), 2U);
    EXPECT_EQ(slotOf(&ExtendedSpec<int>::afterLast), 3U);
}

TEST(ClassShapes, TheEntryObjectListsItsFirstBaseThenGetData) {
    EXPECT_EQ(slotOf(&TDiskMgtCallbacks::GetData), 9U);
    EXPECT_EQ(slotOf(&Extended<TDiskMgtCallbacks>::afterLast), 10U);
    EXPECT_EQ(sizeof(TDiskMgtCallbacks), 4 * sizeof(void*));
}

TEST(ClassShapes, TheCollectedDataHasFiveTablesThenTwoTexts) {
    using Table = std::map<std::string, std::map<std::string, std::string>>;
    using Texts = std::map<std::string, std::string>;
    const LDMDataBase data;
    static_assert(std::is_same_v<decltype(data.tables), Table[5]>);
    static_assert(std::is_same_v<decltype(data.texts), Texts[2]>);
    const auto offsetOf = [&](const void* member) {
        return static_cast<std::size_t>(static_cast<const char*>(member) -
                                        static_cast<const char*>(static_cast<const void*>(&data)));
    };
    EXPECT_EQ(offsetOf(&data.tables), sizeof(void*));
    EXPECT_EQ(offsetOf(&data.texts), sizeof(void*) + 5 * sizeof(Table));
    EXPECT_EQ(sizeof data, sizeof(void*) + 5 * sizeof(Table) + 2 * sizeof(Texts));
}

TEST(ClassShapes, TheStoreBeginsEmptyAndCopiesEmpty) {
    const LDMStore store;
    const LDMStore copy = store;
    EXPECT_TRUE(copy.empty());
}

}  // namespace
}  // namespace contract
