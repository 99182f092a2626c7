// A host that refuses: one property, one instance, one class or the whole request is lost, never the process.
#include <gtest/gtest.h>

#include <stdexcept>

#include "plugin/host/tal_exception.h"
#include "tests/contract/loop_disk.h"
#include "tests/contract/machine_witness.h"
#include "tests/contract/opened_plugin.h"

namespace contract {
namespace {

using second_host::Call;
using second_host::kRefusalText;
using second_host::LogLine;
using second_host::Refusal;
using second_host::Services;
using Log = std::vector<LogLine>;

std::function<Refusal(const Call&)> refusing(const std::string& operation, Refusal refusal,
                                             const std::string& argument = {}) {
    return [=](const Call& call) {
        const bool isMeant = call.operation == operation && (argument.empty() || call.argument == argument);
        return isMeant ? refusal : Refusal::kNone;
    };
}

/// Uses the logical disks: a running machine always has some.
class Building : public ::testing::Test {
protected:
    void SetUp() override {
        if (!mountTableIsOpenToUs()) GTEST_SKIP() << "the mount table cannot be opened for update";
        mounts = readMounts();
        ASSERT_FALSE(mounts.empty());
    }

    /// The logical disks, then a class that shows that the request continued.
    void request() { loaded.request({"VEXSG_LogicalDisk", "VEXSG_DynamicExtent"}); }
    std::vector<boost::shared_ptr<second_host::Instance>> published() const {
        return loaded.nameSpace->instances("VEXSG_LogicalDisk");
    }
    /// The lines of the two classes, with these between them.
    static Log withClassLines(const Log& between) {
        Log log = {{3, "Logical disk information.."}};
        log.insert(log.end(), between.begin(), between.end());
        log.push_back({3, "Dynamic Extent information.."});
        return log;
    }
    void expectOneLineAndNothingPublished() const {
        EXPECT_TRUE(published().empty());
        const Log log = loaded.host.log();
        ASSERT_EQ(log.size(), 3U);
        const std::string start = "VEXSG_LogicalDiskcollection encountered exception: ";
        EXPECT_EQ(log[1].severity, 3);
        EXPECT_EQ(log[1].text.substr(0, start.size()), start);
        EXPECT_GT(log[1].text.size(), start.size());
        EXPECT_EQ(log[2].text, "Dynamic Extent information..");
    }

    std::vector<Mount> mounts;
    Loaded loaded;
};

class PropertyRefusal : public Building, public ::testing::WithParamInterface<const char*> {};

TEST_P(PropertyRefusal, CostsOnlyThatPropertyAndTwoLinesEach) {
    loaded.host.refuse(refusing(GetParam(), Refusal::kTalException, "FileSystemName"));
    request();
    const auto instances = published();
    ASSERT_EQ(instances.size(), mounts.size());
    Log lines;
    for (std::size_t i = 0; i < mounts.size(); ++i) {
        EXPECT_FALSE(instances[i]->text("FileSystemName").has_value());
        EXPECT_EQ(instances[i]->text("DeviceID"), mounts[i].source);
        lines.push_back({3, "Error processing property FileSystemName. With value " + mounts[i].type +
                                " from class VEXSG_LogicalDisk"});
        lines.push_back({0, kRefusalText});
    }
    EXPECT_EQ(loaded.host.log(), withClassLines(lines));
}

INSTANTIATE_TEST_SUITE_P(Operations, PropertyRefusal,
                         ::testing::Values("GetProperty", "GetType", "IsArray", "SetProperty"),
                         [](const auto& row) { return row.param; });

TEST_F(Building, AnArrayThatCannotBeSetCostsOnlyThatProperty) {
    loaded.host.refuse(refusing("Set", Refusal::kTalException));
    request();
    const auto instances = published();
    ASSERT_EQ(instances.size(), mounts.size());
    Log lines;
    for (std::size_t i = 0; i < mounts.size(); ++i) {
        EXPECT_FALSE(instances[i]->elements("OtherIdentifyingInfo").has_value());
        lines.push_back({3, "Error processing property OtherIdentifyingInfo. With value " + mounts[i].mountPoint +
                                ", from class VEXSG_LogicalDisk"});
        lines.push_back({0, kRefusalText});
    }
    EXPECT_EQ(loaded.host.log(), withClassLines(lines));
}

TEST_F(Building, ARefusedCommitIsLoggedAndTheNextInstanceTried) {
    loaded.host.refuse(refusing("CommitToClass", Refusal::kTalException));
    request();
    EXPECT_TRUE(published().empty());
    EXPECT_EQ(loaded.calls("CommitToClass").size(), mounts.size());
    const LogLine line = {
        3, std::string("Attempted creation of instance for VEXSG_LogicalDisk threw exception ") + kRefusalText};
    EXPECT_EQ(loaded.host.log(), withClassLines(Log(mounts.size(), line)));
}

TEST_F(Building, AStandardExceptionFromACommitEndsTheClass) {
    loaded.host.refuse(refusing("CommitToClass", Refusal::kStandardException));
    request();
    EXPECT_TRUE(published().empty());
    EXPECT_EQ(loaded.calls("CommitToClass").size(), 1U);
    EXPECT_EQ(loaded.host.log(),
              withClassLines({{3, std::string("VEXSG_LogicalDiskcollection encountered exception: ") + kRefusalText}}));
}

TEST_F(Building, AForeignExceptionPassesToTheHost) {
    loaded.host.refuse(refusing("CommitToClass", Refusal::kForeignException));
    EXPECT_THROW(request(), int);
    EXPECT_EQ(loaded.host.log(), (Log{{3, "Logical disk information.."}}));
}

TEST_F(Building, ARefusedInstanceEndsTheClass) {
    loaded.host.refuse(refusing("CreateInstance", Refusal::kTalException));
    request();
    EXPECT_TRUE(published().empty());
    EXPECT_EQ(loaded.calls("CreateInstance").size(), 1U);
    EXPECT_EQ(loaded.host.log(),
              withClassLines({{3, std::string("VEXSG_LogicalDiskcollection encountered exception: ") + kRefusalText}}));
}

TEST_F(Building, ANullInstanceIsPassedOverInSilence) {
    loaded.host.refuse(refusing("CreateInstance", Refusal::kNull));
    request();
    EXPECT_TRUE(published().empty());
    EXPECT_EQ(loaded.calls("CreateInstance").size(), mounts.size());
    EXPECT_EQ(loaded.host.log(), withClassLines({}));
}

TEST_F(Building, ANullPropertyEndsTheClass) {
    loaded.host.refuse(refusing("GetProperty", Refusal::kNull));
    request();
    expectOneLineAndNothingPublished();
}

TEST_F(Building, ANullNamespaceOfTheClassEndsTheClass) {
    loaded.host.refuse(refusing("GetNamespace", Refusal::kNull));
    request();
    expectOneLineAndNothingPublished();
}

bool isLineThatBegins(const Call& call, const std::string& start) {
    return call.operation == "Log" && call.argument.rfind(start, 0) == 0;
}

TEST_F(Building, AStandardExceptionWhileAPropertysFailureIsLoggedEndsTheClass) {
    loaded.host.refuse([](const Call& call) {
        if (call.operation == "SetProperty") return Refusal::kTalException;
        return isLineThatBegins(call, "Error processing property") ? Refusal::kStandardException : Refusal::kNone;
    });
    request();
    expectOneLineAndNothingPublished();
}

class Pairs : public ::testing::Test {
protected:
    void SetUp() override {
        loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sdq"}});
        for (const char* id : {"/dev/sdq1", "/dev/sdq2", "/dev/sdq3"}) {
            loaded.nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", id}});
        }
    }
    void request() { loaded.request({"VEXSG_PartitionPresent", "VEXSG_DynamicExtentBasedOn"}); }
    std::size_t published() const { return loaded.nameSpace->instances("VEXSG_PartitionPresent").size(); }
    void expectOnlyTheClassLines() const {
        EXPECT_EQ(loaded.host.log(),
                  (Log{{3, "PartitionPresent associations..."}, {3, "DynamicExtentBasedOn associations... "}}));
    }

    Loaded loaded;
};

struct SilentCase {
    const char* label;
    const char* operation;
    Refusal refusal;
};

class SilentRefusal : public Pairs, public ::testing::WithParamInterface<SilentCase> {};

TEST_P(SilentRefusal, LeavesTheAssociationEmptyWithoutALine) {
    loaded.host.refuse(refusing(GetParam().operation, GetParam().refusal));
    EXPECT_NO_THROW(request());
    EXPECT_EQ(published(), 0U);
    expectOnlyTheClassLines();
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SilentRefusal,
    ::testing::Values(SilentCase{"null_class", "GetClass", Refusal::kNull},
                      SilentCase{"class_lookup_throws", "GetClass", Refusal::kTalException},
                      SilentCase{"null_instances", "EnumerateInstances", Refusal::kNull},
                      SilentCase{"enumeration_throws", "EnumerateInstances", Refusal::kStandardException},
                      SilentCase{"null_key_property", "GetProperty", Refusal::kNull},
                      SilentCase{"key_value_throws", "GetValue", Refusal::kTalException},
                      SilentCase{"key_value_throws_an_int", "GetValue", Refusal::kForeignException},
                      SilentCase{"reference_throws", "GetReference", Refusal::kTalException},
                      SilentCase{"null_association_instances", "CreateInstance", Refusal::kNull},
                      SilentCase{"association_creation_throws", "CreateInstance", Refusal::kStandardException}),
    [](const auto& row) { return row.param.label; });

TEST_F(Pairs, AHostExceptionCostsOneAssociationAndIsLogged) {
    int commits = 0;
    loaded.host.refuse([&](const Call& call) {
        return call.operation == "CommitToClass" && ++commits == 2 ? Refusal::kTalException : Refusal::kNone;
    });
    request();
    EXPECT_EQ(published(), 2U);
    EXPECT_EQ(loaded.host.log(),
              (Log{{3, "PartitionPresent associations..."},
                   {3, std::string("Attempted creation of instance for VEXSG_PartitionPresent threw exception ") +
                           kRefusalText},
                   {3, "DynamicExtentBasedOn associations... "}}));
}

TEST_F(Pairs, AStandardExceptionOnTheSecondKeepsTheFirstAndNeverBuildsTheThird) {
    int commits = 0;
    loaded.host.refuse([&](const Call& call) {
        return call.operation == "CommitToClass" && ++commits == 2 ? Refusal::kStandardException : Refusal::kNone;
    });
    request();
    EXPECT_EQ(published(), 1U);
    EXPECT_EQ(commits, 2);
    expectOnlyTheClassLines();
}

TEST_F(Pairs, AStandardExceptionWhileAFailureIsLoggedEndsTheClassSilently) {
    loaded.host.refuse([](const Call& call) {
        if (call.operation == "CommitToClass") return Refusal::kTalException;
        return isLineThatBegins(call, "Attempted creation") ? Refusal::kStandardException : Refusal::kNone;
    });
    EXPECT_NO_THROW(request());
    EXPECT_EQ(loaded.calls("CommitToClass").size(), 1U);
    expectOnlyTheClassLines();
}

const Log kExtentLine = {{3, "Dynamic Extent information.."}};

TEST(RequestRefusal, ANullClassInTheListEndsTheRequestThere) {
    Loaded loaded;
    const auto extent = loaded.nameSpace->find("VEXSG_DynamicExtent");
    EXPECT_THROW(loaded.plugin.getData(loaded.nameSpace, {extent, nullptr, extent}), std::runtime_error);
    EXPECT_EQ(loaded.host.log(), kExtentLine);
    EXPECT_NO_THROW(loaded.request({"VEXSG_DynamicExtent"}));
}

TEST(RequestRefusal, ANullNamespaceCostsOnlyTheAssociations) {
    Loaded loaded;
    loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sdq"}});
    loaded.nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", "/dev/sdq1"}});
    const auto present = loaded.nameSpace->find("VEXSG_PartitionPresent");
    const auto extent = loaded.nameSpace->find("VEXSG_DynamicExtent");
    EXPECT_NO_THROW(loaded.plugin.getData(nullptr, {present, extent}));
    EXPECT_TRUE(present->committed().empty());
    EXPECT_EQ(loaded.host.log(), (Log{{3, "PartitionPresent associations..."}, kExtentLine[0]}));
}

TEST(RequestRefusal, AnUnknownSystemEndsTheRequestBeforeAnyClassIsQueried) {
    Services services;
    services.knowsItsSystem = false;
    Loaded loaded(services);
    EXPECT_THROW(loaded.request(servedClasses()), NVEXTAL20::TTALException);
    EXPECT_EQ(loaded.host.calls().size(), 1U);
    EXPECT_TRUE(loaded.host.log().empty());
}

TEST(RequestRefusal, ARefusedNameOrAssociationQueryPassesToTheHost) {
    for (const char* operation : {"GetName", "IsAssociation"}) {
        for (const char* className : {"VEXSG_DynamicExtent", "VEXSG_DynamicExtentBasedOn"}) {
            SCOPED_TRACE(std::string(operation) + " " + className);
            Loaded loaded;
            loaded.host.refuse(refusing(operation, Refusal::kTalException));
            EXPECT_THROW(loaded.request({className}), NVEXTAL20::TTALException);
            EXPECT_TRUE(loaded.host.log().empty());
        }
    }
}

/// Two classes that only log a line; the host refuses the first line, and the line about that failure too.
void requestWithAFailureWhileAFailureIsLogged(Loaded& loaded, Refusal refusal) {
    int lines = 0;
    loaded.host.refuse(
        [=](const Call& call) mutable { return call.operation == "Log" && ++lines <= 2 ? refusal : Refusal::kNone; });
    loaded.request({"VEXSG_DynamicExtent", "VEXSG_DynamicExtent"});
}

TEST(RequestRefusal, AStandardExceptionWhileAFailureIsLoggedEndsTheRequest) {
    Loaded loaded;
    EXPECT_THROW(requestWithAFailureWhileAFailureIsLogged(loaded, Refusal::kStandardException), std::runtime_error);
    EXPECT_EQ(loaded.calls("Log").size(), 2U);
    EXPECT_EQ(loaded.calls("IsAssociation").size(), 1U);
}

TEST(RequestRefusal, AHostExceptionWhileAFailureIsLoggedCostsOnlyTheLine) {
    Loaded loaded;
    EXPECT_NO_THROW(requestWithAFailureWhileAFailureIsLogged(loaded, Refusal::kTalException));
    EXPECT_EQ(loaded.host.log(), kExtentLine);  // of the second class
}

TEST(Silence, WithoutALoggerEveryLineIsDroppedAndTheRestServed) {
    Services services;
    services.hasLogger = false;
    services.virtualDevices = listedDevices();
    Loaded loaded(services);
    const auto mounts = whileStill(readMounts, [&] {
        loaded.nameSpace = second_host::Namespace::create();
        loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sdq"}});
        loaded.nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", "/dev/sdq1"}});
        EXPECT_NO_THROW(loaded.request({"VEXSG_DiskDrive", "VEXSG_LogicalDisk", "VEXSG_PartitionPresent"}));
    });
    EXPECT_TRUE(loaded.host.log().empty());
    EXPECT_GE(loaded.nameSpace->instances("VEXSG_PartitionPresent").size(), 1U);
    EXPECT_EQ(loaded.nameSpace->instances("VEXSG_LogicalDisk").size(), mounts.size());
}

/// The plug-in's log in a host that refuses the registration and names every device of the machine as virtual.
Log logOfAnUnregisteredPlugin() {
    Services services;
    services.acceptsPlugins = false;
    for (const std::string& path : listedDevices()) {
        services.virtualDevices.push_back("Virtual Media at " + path + " (USB)");
    }
    Loaded loaded(services);
    EXPECT_NE(loaded.host.plugin(), nullptr);
    EXPECT_EQ(loaded.host.handle(), nullptr);
    loaded.host.refuse(
        refusing("CommitToClass", Refusal::kTalException));  // would be logged if the plug-in were registered
    loaded.request(servedClasses());
    EXPECT_TRUE(loaded.nameSpace->instances("VEXSG_DiskDrive").empty());
    return loaded.host.log();
}

TEST(Silence, AnUnregisteredPluginStillSaysWhichVirtualDevicesItIgnores) {
    const LoopDisk disk;
    Log logged;
    const auto devices = whileStill(listedDevices, [&] { logged = logOfAnUnregisteredPlugin(); });
    if (devices.empty()) GTEST_SKIP() << "no disk is listed, and none can be attached: " << disk.failure();
    Log expected;
    for (const std::string& path : devices) {
        expected.push_back({3, "LinuxDiskInfo::enumDiskInfo : Ignoring Virtual Device " + path});
    }
    EXPECT_EQ(logged, expected);
}

}  // namespace
}  // namespace contract
