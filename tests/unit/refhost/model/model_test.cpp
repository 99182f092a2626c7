// The CIM model as plug-ins use it: classes, instances, properties, enumeration.
#include <gtest/gtest.h>

#include "plugin/host/add_to_vector_callback.h"
#include "plugin/host/schema_helper.h"
#include "plugin/host/tal_exception.h"
#include "tests/unit/refhost/in_process_plugin.h"

namespace {

using namespace refhost_test;
using NVEXTAL20::ICIMInstance;
using NVEXTAL20::TCIMOptions;
using NVEXTAL20::TCIMValue;
using Instances = std::vector<boost::shared_ptr<ICIMInstance>>;

Instances enumerated(const Namespace& ns, const std::string& className, int flag = 1) {
    TCIMOptions options;
    Instances found;
    classNamed(ns, className)->EnumerateInstances(NVEXTAL20::TAddToVectorCallback<ICIMInstance>(found), flag, options);
    return found;
}

void publish(const Namespace& ns, const std::string& className, const std::string& name) {
    const auto instance = newInstance(ns, className);
    assign(*instance, "Name", name);
    instance->AddToClass({});
}

std::vector<std::string> namesOf(const Instances& instances) {
    std::vector<std::string> names;
    for (const auto& instance : instances) names.push_back(valueOf(*instance, "Name"));
    return names;
}

class Model : public ::testing::Test {
protected:
    WithHost setup;
};

TEST_F(Model, ClassLookupIsExact) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        TCIMOptions options;
        const auto found = classNamed(ns, "VEXSG_DiskDrive");
        EXPECT_EQ(found->GetName(options), "VEXSG_DiskDrive");
        EXPECT_FALSE(found->IsAssociation(options));
        EXPECT_EQ(found->GetNamespace(options), ns);
        EXPECT_TRUE(classNamed(ns, "VEXSG_MediaPresent")->IsAssociation(options));
    }),
              "");
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) { (void)classNamed(ns, "vexsg_diskdrive"); }),
              "the namespace root/cimv2 has no class \"vexsg_diskdrive\"");
}

TEST_F(Model, AbstractClassHasNoInstances) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) { (void)newInstance(ns, "CIM_LogicalDevice"); }),
              "the class CIM_LogicalDevice is abstract: it has no instances");
}

TEST_F(Model, NewInstanceIsEmptyAndNotYetThere) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        const auto drive = newInstance(ns, "VEXSG_DiskDrive");
        EXPECT_TRUE(valueOf(*drive, "Size").IsNull());
        EXPECT_EQ(pathOf(*drive), "VEXSG_DiskDrive");
        EXPECT_TRUE(enumerated(ns, "VEXSG_DiskDrive").empty());
    }),
              "");
}

TEST_F(Model, PropertyTellsItsDeclaration) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        TCIMOptions options;
        const auto disk = newInstance(ns, "VEXSG_LogicalDisk");
        EXPECT_EQ(disk->GetProperty("TotalSpace", options)->GetType(options).ToString(), "uint64");
        EXPECT_FALSE(disk->GetProperty("TotalSpace", options)->IsArray(options));
        EXPECT_EQ(disk->GetProperty("OtherIdentifyingInfo", options)->GetType(options).ToString(), "string");
        EXPECT_TRUE(disk->GetProperty("OtherIdentifyingInfo", options)->IsArray(options));
    }),
              "");
}

TEST_F(Model, PropertyOutlivesThePointerToItsInstance) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        TCIMOptions options;
        auto drive = newInstance(ns, "VEXSG_DiskDrive");
        assign(*drive, "Size", parsed("uint64", "5"));
        const auto property = drive->GetProperty("Size", options);
        drive.reset();
        EXPECT_EQ(std::string(property->GetValue(options)), "5");
    }),
              "");
}

TEST_F(Model, UndeclaredPropertyThrows) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        TCIMOptions options;
        (void)newInstance(ns, "VEXSG_DiskDrive")->GetProperty("size", options);
    }),
              "the class VEXSG_DiskDrive declares no property \"size\"");
    EXPECT_EQ(setup.failureOf(
                  [](const Namespace& ns) { assign(*newInstance(ns, "VEXSG_DiskDrive"), "Colour", TCIMValue()); }),
              "the class VEXSG_DiskDrive declares no property \"Colour\"");
}

TEST_F(Model, AssignmentReplaces) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        const auto drive = newInstance(ns, "VEXSG_DiskDrive");
        assign(*drive, "Size", parsed("uint64", "1"));
        assign(*drive, "Size", parsed("uint64", "2"));
        EXPECT_EQ(std::string(valueOf(*drive, "Size")), "2");
        assign(*drive, "Size", TCIMValue());
        EXPECT_TRUE(valueOf(*drive, "Size").IsNull());
    }),
              "");
}

TEST_F(Model, ValueOfAnotherTypeIsRefusedAndTheOldOneStays) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        const auto drive = newInstance(ns, "VEXSG_DiskDrive");
        assign(*drive, "Size", parsed("uint64", "1"));
        EXPECT_THROW(assign(*drive, "Size", parsed("uint32", "2")), NVEXTAL20::TTALException);
        EXPECT_EQ(std::string(valueOf(*drive, "Size")), "1");
        assign(*drive, "Size", std::string("2"));
    }),
              "the property Size of VEXSG_DiskDrive cannot take the string \"2\": it is declared as uint64");
}

TEST_F(Model, ArrayAndScalarDoNotMix) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        assign(*newInstance(ns, "VEXSG_LogicalDisk"), "OtherIdentifyingInfo", std::string("/boot"));
    }),
              "the property OtherIdentifyingInfo of VEXSG_LogicalDisk cannot take the string \"/boot\": it is declared "
              "as array of string");
    EXPECT_EQ(
        setup.failureOf([](const Namespace& ns) {
            TCIMValue array;
            array.Set(TCIMValue::TCIMType("string"), 256, {parsed("string", "a"), parsed("string", "b")});
            const auto disk = newInstance(ns, "VEXSG_LogicalDisk");
            assign(*disk, "OtherIdentifyingInfo", array);
            EXPECT_EQ(std::string(valueOf(*disk, "OtherIdentifyingInfo")), "a,b");
            assign(*disk, "MountOptions", array);
        }),
        "the property MountOptions of VEXSG_LogicalDisk cannot take the array of string \"a,b\": it is declared as "
        "string");
}

TEST_F(Model, PathHasKeysInByteOrderWithoutNullOnes) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        const auto drive = newInstance(ns, "VEXSG_DiskDrive");
        assign(*drive, "SystemName", std::string("h"));
        assign(*drive, "DeviceID", std::string("/dev/sda"));
        assign(*drive, "CreationClassName", std::string("VEXSG_DiskDrive"));
        assign(*drive, "Name", std::string("not a key"));
        EXPECT_EQ(pathOf(*drive),
                  "VEXSG_DiskDrive.CreationClassName=\"VEXSG_DiskDrive\",DeviceID=\"/dev/sda\",SystemName=\"h\"");
    }),
              "");
}

TEST_F(Model, CommitMakesTheInstanceVisibleAtOnce) {
    const auto result = setup.request({"VEXSG_DiskDrive"}, [](const Namespace& ns, Classes&) {
        publish(ns, "VEXSG_DiskDrive", "a");
        EXPECT_EQ(namesOf(enumerated(ns, "VEXSG_DiskDrive")), std::vector<std::string>{"a"});
    });
    EXPECT_EQ(result.failure, std::nullopt);
    EXPECT_EQ(setup.host.instances("VEXSG_DiskDrive").size(), 1u);
}

TEST_F(Model, CommittingTwiceThrows) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        const auto drive = newInstance(ns, "VEXSG_DiskDrive");
        drive->AddToClass({});
        drive->AddToClass({});
    }),
              "the instance of VEXSG_DiskDrive is committed already");
    EXPECT_EQ(setup.host.instances("VEXSG_DiskDrive").size(), 1u);
}

TEST_F(Model, InstanceCanBeCommittedAfterItsRequest) {
    boost::shared_ptr<ICIMInstance> kept;
    EXPECT_EQ(setup.failureOf([&](const Namespace& ns) { kept = newInstance(ns, "VEXSG_DiskDrive"); }), "");
    kept->AddToClass({});
    EXPECT_EQ(setup.host.instances("VEXSG_DiskDrive").size(), 1u);
}

TEST(ModelWithoutHost, InstanceCannotBeCommittedButIsStillReadable) {
    boost::shared_ptr<ICIMInstance> kept;
    {
        WithHost setup;
        EXPECT_EQ(setup.failureOf([&](const Namespace& ns) { kept = newInstance(ns, "VEXSG_DiskDrive"); }), "");
    }
    assign(*kept, "DeviceID", std::string("x"));
    EXPECT_EQ(pathOf(*kept), "VEXSG_DiskDrive.DeviceID=\"x\"");
    EXPECT_THROW(kept->AddToClass({}), NVEXTAL20::TTALException);
}

TEST_F(Model, EnumerationIncludesSubclassesInDeclarationOrder) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        publish(ns, "VEXSG_CDROMDrive", "cd");
        publish(ns, "VEXSG_DiskDrive", "b");
        publish(ns, "VEXSG_MediaAccessDevice", "plain");
        publish(ns, "VEXSG_DiskDrive", "a");
        EXPECT_EQ(namesOf(enumerated(ns, "VEXSG_MediaAccessDevice")),
                  (std::vector<std::string>{"plain", "b", "a", "cd"}));
        EXPECT_EQ(namesOf(enumerated(ns, "VEXSG_MediaAccessDevice", 0)), std::vector<std::string>{"plain"});
        EXPECT_EQ(namesOf(enumerated(ns, "CIM_LogicalElement")).size(), 5u);  // the computer system too
    }),
              "");
}

TEST_F(Model, EnumerationStopsWhenTheCallbackSaysSo) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        for (const char* name : {"a", "b", "c"}) publish(ns, "VEXSG_DiskDrive", name);
        TCIMOptions options;
        int calls = 0;
        classNamed(ns, "VEXSG_DiskDrive")
            ->EnumerateInstances([&](boost::shared_ptr<ICIMInstance>) { return ++calls < 2; }, 1, options);
        EXPECT_EQ(calls, 2);
    }),
              "");
}

TEST_F(Model, PublishingFromTheCallbackIsPossible) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        publish(ns, "VEXSG_DiskDrive", "a");
        TCIMOptions options;
        classNamed(ns, "VEXSG_DiskDrive")
            ->EnumerateInstances(
                [&](boost::shared_ptr<ICIMInstance>) {
                    publish(ns, "VEXSG_DiskDrive", "b");
                    return true;
                },
                1, options);
        EXPECT_EQ(namesOf(enumerated(ns, "VEXSG_DiskDrive")), (std::vector<std::string>{"a", "b"}));
    }),
              "");
}

TEST_F(Model, InstancesWithEqualKeysAreAllKept) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        for (int i = 0; i < 3; ++i) publish(ns, "VEXSG_DiskPartition", "same");
        EXPECT_EQ(enumerated(ns, "VEXSG_DiskPartition").size(), 3u);
    }),
              "");
}

TEST_F(Model, HostingSystemIsThere) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        EXPECT_EQ(NVEXTAL20::TCIMSchemaHelper::GetSystemName(ns), "testhost");
        EXPECT_EQ(NVEXTAL20::TCIMSchemaHelper::GetSystemCreationClassName(ns), "VEXSG_ComputerSystem");
        EXPECT_EQ(namesOf(enumerated(ns, "VEXSG_ComputerSystem")), std::vector<std::string>{"testhost"});
    }),
              "");
    ASSERT_EQ(setup.host.instances("VEXSG_ComputerSystem").size(), 1u);
    EXPECT_EQ(setup.host.instances("VEXSG_ComputerSystem")[0].path,
              "VEXSG_ComputerSystem.CreationClassName=\"VEXSG_ComputerSystem\",Name=\"testhost\"");
}

TEST_F(Model, NamespaceWithoutSystemThrows) {
    EXPECT_EQ(setup.failureOf([](const Namespace&) {
        (void)NVEXTAL20::TCIMSchemaHelper::GetSystemName(NVEXTAL20::TRootObject::GetPluginManager());
    }),
              "the namespace has no hosting computer system");
    EXPECT_THROW((void)NVEXTAL20::TCIMSchemaHelper::GetSystemCreationClassName({}), NVEXTAL20::TTALException);
}

}  // namespace
