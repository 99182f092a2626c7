// Requests: what is dropped, who is asked, how failures come back.
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>

#include "plugin/host/logger.h"
#include "plugin/host/schema_helper.h"
#include "plugin/host/tal_exception.h"
#include "tests/unit/refhost/in_process_plugin.h"

namespace {

using namespace refhost_test;
using NVEXTAL20::TCIMOptions;
using refhost::ReferenceHost;
using refhost::RequestResult;

/// Publishes one empty instance of each class asked for.
void publishOneEach(const Namespace&, Classes& classes) {
    TCIMOptions options;
    for (const auto& one : classes) one->CreateInstance(options)->AddToClass(options);
}

TEST(Host, OnlyOneMayExist) {
    const ReferenceHost host;
    EXPECT_THROW(ReferenceHost(), std::logic_error);
}

TEST(Host, NextOneMayExistWhenTheFirstIsGone) {
    { const ReferenceHost host; }
    const ReferenceHost host;
    EXPECT_TRUE(host.plugins().empty());
}

TEST(Host, ManagerExistsOnlyAsLongAsTheHost) {
    EXPECT_EQ(NVEXTAL20::TRootObject::GetPluginManager(), nullptr);
    boost::shared_ptr<NVEXTAL20::ICIMNamespace> manager;
    {
        const ReferenceHost host;
        manager = NVEXTAL20::TRootObject::GetPluginManager();
        ASSERT_NE(dynamic_cast<NVEXTAL20::TPluginManagerNamespace*>(manager.get()), nullptr);
        TCIMOptions options;
        EXPECT_THROW((void)manager->GetClass("VEXSG_DiskDrive", options), NVEXTAL20::TTALException);
    }
    EXPECT_EQ(NVEXTAL20::TRootObject::GetPluginManager(), nullptr);
    EXPECT_EQ(dynamic_cast<NVEXTAL20::TPluginManagerNamespace&>(*manager).RegisterPlugin(nullptr), nullptr);
}

TEST(Host, SystemIsNamedAfterTheMachineUnlessToldOtherwise) {
    char name[HOST_NAME_MAX + 1] = {};
    ASSERT_EQ(::gethostname(name, sizeof name - 1), 0);
    const ReferenceHost host;
    EXPECT_EQ(host.instances("VEXSG_ComputerSystem").at(0).path,
              std::string("VEXSG_ComputerSystem.CreationClassName=\"VEXSG_ComputerSystem\",Name=\"") + name + "\"");
}

TEST(Host, AnInstanceWithoutAValueShowsNothingOfTheOneBeforeIt) {
    WithHost setup;
    ASSERT_EQ(setup.failureOf([](const Namespace& ns) {
        const auto named = newInstance(ns, "VEXSG_DiskDrive");
        assign(*named, "ElementName", parsed("string", "first", ns));
        named->AddToClass({});
        newInstance(ns, "VEXSG_DiskDrive")->AddToClass({});
    }),
              "");
    std::vector<std::vector<std::string>> captions;
    setup.host.forEachInstance("VEXSG_DiskDrive", [&captions](const refhost::Instance& instance) {
        for (const refhost::PropertyValue& property : instance.properties)
            if (property.declaration->name == "ElementName") captions.push_back(property.elements);
    });
    EXPECT_EQ(captions, (std::vector<std::vector<std::string>>{{"first"}, {}}));
}

TEST(Registration, NullAndSecondTimeAreRefused) {
    const ReferenceHost host;
    EXPECT_TRUE(InProcessPlugin::enter({}));
    auto& manager = dynamic_cast<NVEXTAL20::TPluginManagerNamespace&>(*NVEXTAL20::TRootObject::GetPluginManager());
    EXPECT_EQ(manager.RegisterPlugin(nullptr), nullptr);
}

TEST(Registration, ManagerOfSomebodyElseRefuses) {
    NVEXTAL20::TPluginManagerNamespace stranger;
    EXPECT_EQ(stranger.RegisterPlugin(nullptr), nullptr);
}

TEST(Registration, EntryOfTheProcessIsFreedWithTheHostWhetherOrNotItServed) {
    auto alive = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = alive;
    {
        const ReferenceHost host;
        InProcessPlugin::enter([alive](const Namespace&, Classes&) {});
        alive.reset();
        EXPECT_FALSE(watched.expired());
    }
    EXPECT_TRUE(watched.expired());
}

TEST(Request, UnknownClassIsAnInvalidArgument) {
    WithHost setup;
    EXPECT_THROW((void)setup.request({"VEXSG_DiskDrive", "vexsg_diskdrive"}, publishOneEach), std::invalid_argument);
    EXPECT_TRUE(setup.host.instances("VEXSG_DiskDrive").empty());
}

TEST(Request, HandsOverTheClassesInOrderEachAsOftenAsNamed) {
    WithHost setup;
    std::vector<std::string> names;
    (void)setup.request({"VEXSG_TapeDrive", "VEXSG_DiskDrive", "VEXSG_TapeDrive"}, [&](const Namespace&, Classes& all) {
        TCIMOptions options;
        for (const auto& one : all) names.push_back(one->GetName(options));
    });
    EXPECT_EQ(names, (std::vector<std::string>{"VEXSG_TapeDrive", "VEXSG_DiskDrive", "VEXSG_TapeDrive"}));
}

TEST(Request, DropsTheInstancesOfExactlyTheNamedClasses) {
    WithHost setup;
    (void)setup.request({"VEXSG_DiskDrive", "VEXSG_MediaAccessDevice"}, publishOneEach);
    (void)setup.request({"VEXSG_MediaAccessDevice"}, publishOneEach);
    EXPECT_EQ(setup.host.instances("VEXSG_DiskDrive").size(), 1u);
    EXPECT_EQ(setup.host.instances("VEXSG_MediaAccessDevice").size(), 1u);
    (void)setup.request({"VEXSG_MediaAccessDevice"}, {});
    EXPECT_EQ(setup.host.instances("VEXSG_DiskDrive").size(), 1u);
    EXPECT_TRUE(setup.host.instances("VEXSG_MediaAccessDevice").empty());
}

TEST(Request, NeverDropsTheHostingSystem) {
    WithHost setup;
    (void)setup.request({"VEXSG_ComputerSystem"}, {});
    setup.host.clear();
    EXPECT_EQ(setup.host.instances("VEXSG_ComputerSystem").size(), 1u);
}

TEST(Request, ClearDropsEverythingElse) {
    WithHost setup;
    (void)setup.request({"VEXSG_DiskDrive"}, publishOneEach);
    setup.host.clear();
    EXPECT_TRUE(setup.host.instances("VEXSG_DiskDrive").empty());
}

TEST(Request, WithoutPluginPublishesNothing) {
    ReferenceHost host;
    const RequestResult result = host.request({"VEXSG_DiskDrive"});
    EXPECT_FALSE(result.reportsFailure());
    EXPECT_TRUE(host.instances("VEXSG_DiskDrive").empty());
    EXPECT_TRUE(host.instances("no such class").empty());
}

TEST(Request, WhateverThePluginThrowsBecomesTheFailure) {
    WithHost setup;
    EXPECT_EQ(setup.request({}, [](const Namespace&, Classes&) { throw NVEXTAL20::TTALException("host"); }).failure,
              "host");
    EXPECT_EQ(setup.request({}, [](const Namespace&, Classes&) { throw std::runtime_error("std"); }).failure, "std");
    EXPECT_EQ(setup.request({}, [](const Namespace&, Classes&) { throw 5; }).failure,
              "the plug-in threw something that is no std::exception");
    EXPECT_EQ(setup.request({}, {}).failure, std::nullopt);
}

TEST(Request, FailureOfOnePluginLeavesTheOthersTheirTurn) {
    WithHost setup;
    int turns = 0;
    InProcessPlugin::enter([&](const Namespace&, Classes&) {
        ++turns;
        throw std::runtime_error("second");
    });
    const RequestResult result =
        setup.request({}, [](const Namespace&, Classes&) { throw std::runtime_error("first"); });
    EXPECT_EQ(turns, 1);
    EXPECT_EQ(result.failure, "first; second");
}

TEST(Request, PluginThatChangesItsListLeavesTheNextOneAFullList) {
    WithHost setup;
    std::size_t seen = 0;
    InProcessPlugin::enter([&](const Namespace&, Classes& classes) { seen = classes.size(); });
    (void)setup.request({"VEXSG_DiskDrive"}, [](const Namespace&, Classes& classes) { classes.clear(); });
    EXPECT_EQ(seen, 1u);
}

TEST(Request, FromWithinARequestIsALogicError) {
    WithHost setup;
    (void)setup.request({}, [&](const Namespace&, Classes&) {
        EXPECT_THROW((void)setup.host.request({"VEXSG_DiskDrive"}), std::logic_error);
    });
}

TEST(Request, ClassBeingServedIsTheOneLastAskedForItsNameOrKind) {
    WithHost setup;
    EXPECT_EQ(setup.host.classBeingServed(), "");
    (void)setup.request({"VEXSG_DiskDrive", "VEXSG_MediaPresent"}, [&](const Namespace&, Classes& classes) {
        TCIMOptions options;
        EXPECT_EQ(setup.host.classBeingServed(), "");
        (void)classes[1]->IsAssociation(options);
        EXPECT_EQ(setup.host.classBeingServed(), "VEXSG_MediaPresent");
        (void)classes[0]->GetName(options);
        EXPECT_EQ(setup.host.classBeingServed(), "VEXSG_DiskDrive");
    });
    EXPECT_EQ(setup.host.classBeingServed(), "");
}

TEST(Request, InstancesAreCopiesWithEveryDeclaredProperty) {
    WithHost setup;
    (void)setup.request({"VEXSG_LogicalDisk"}, [](const Namespace& ns, Classes&) {
        const auto disk = newInstance(ns, "VEXSG_LogicalDisk");
        assign(*disk, "TotalSpace", parsed("uint64", "18446744073709551615"));
        NVEXTAL20::TCIMValue array;
        array.Set(NVEXTAL20::TCIMValue::TCIMType("string"), 256, {});
        assign(*disk, "OtherIdentifyingInfo", array);
        disk->AddToClass({});
    });
    const std::vector<refhost::Instance> instances = setup.host.instances("VEXSG_LogicalDisk");
    ASSERT_EQ(instances.size(), 1u);
    const auto& declared = setup.host.findClass("VEXSG_LogicalDisk")->properties;
    ASSERT_EQ(instances[0].properties.size(), declared.size());
    for (std::size_t i = 0; i < declared.size(); ++i) {
        const refhost::PropertyValue& value = instances[0].properties[i];
        EXPECT_EQ(value.declaration, &declared[i]);
        EXPECT_EQ(value.isNull, declared[i].name != "TotalSpace" && declared[i].name != "OtherIdentifyingInfo");
        EXPECT_EQ(value.elements, declared[i].name == "TotalSpace" ? std::vector<std::string>{"18446744073709551615"}
                                                                   : std::vector<std::string>());
    }
}

TEST(Request, EqualTextsMakeTheValueOfTheirOwnType) {
    WithHost with;
    EXPECT_EQ(with.failureOf([](const Namespace& nameSpace) {
        // Twice, since a request remembers values that it made.
        for (int turn = 0; turn < 2; ++turn) {
            EXPECT_EQ(std::string(parsed("string", "007", nameSpace)), "007");
            EXPECT_EQ(std::string(parsed("uint16", "7", nameSpace)), "7");
            EXPECT_EQ(std::string(parsed("uint16", "007", nameSpace)), "7");
            for (int number = 0; number < 500; ++number)
                for (const char* const type : {"string", "uint16", "sint32", "real64"})
                    EXPECT_EQ(std::string(parsed(type, std::to_string(number), nameSpace)), std::to_string(number));
            EXPECT_EQ(std::string(parsed("string", "300", nameSpace)), "300");
            EXPECT_THROW((void)parsed("uint8", "300", nameSpace), NVEXTAL20::TTALException);
            EXPECT_THROW((void)parsed("uint8", "300", nameSpace), NVEXTAL20::TTALException);
        }
    }),
              "");
}

TEST(Request, ValuesOfOneTextHaveTheirOwnType) {
    WithHost with;
    const RequestResult result = with.request({"VEXSG_DiskDrive"}, [](const Namespace& nameSpace, Classes& classes) {
        TCIMOptions options;
        const auto instance = classes.front()->CreateInstance(options);
        for (const char* const type : {"string", "uint32", "uint64"}) (void)parsed(type, "1", nameSpace);
        NVEXTAL20::TCIMValue size = parsed("uint64", "1", nameSpace);
        instance->SetProperty("Size", size, options);
        NVEXTAL20::TCIMValue count = parsed("uint32", "1", nameSpace);
        instance->SetProperty("NoOfPartitions", count, options);
        EXPECT_THROW(instance->SetProperty("NoOfPartitions", size, options), NVEXTAL20::TTALException);
    });
    EXPECT_EQ(result.failure, std::nullopt);
}

TEST(RequestResult, ReportsFailureForExceptionsErrorsAndCaughtExceptions) {
    const auto reports = [](int severity, const std::string& text) {
        return RequestResult{{{severity, text}}, std::nullopt}.reportsFailure();
    };
    EXPECT_FALSE(RequestResult().reportsFailure());
    EXPECT_TRUE((RequestResult{{}, "broken"}).reportsFailure());
    EXPECT_TRUE(reports(0, "anything"));
    EXPECT_FALSE(reports(1, "anything"));
    EXPECT_TRUE(reports(3, "VEXSG_DiskDrivecollection encountered exception: x"));
    EXPECT_FALSE(reports(3, "VEXSG_DiskDrivecollection encountered exception"));
    EXPECT_TRUE(reports(3, "Attempted creation of instance for VEXSG_MediaPresent threw exception x"));
    EXPECT_FALSE(reports(3, "An Attempted creation of instance for VEXSG_MediaPresent"));
}

}  // namespace
