// The trace: every crossing in order, with arguments by name, and how it ended.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

#include "plugin/host/os_specific.h"
#include "plugin/host/schema_helper.h"
#include "plugin/host/tal_exception.h"
#include "tests/unit/refhost/in_process_plugin.h"

namespace {

using namespace refhost_test;
using NVEXTAL20::ICIMInstance;
using NVEXTAL20::TCIMOptions;
using NVEXTAL20::TCIMValue;
using NVEXTAL20::TOSSpecific;
using NVEXTAL20::TRootObject;
using refhost::TraceEntry;
using refhost::TraceValue;

std::string shown(const TraceValue& value) {
    struct Show {
        std::string operator()(std::monostate) const { return "null"; }
        std::string operator()(bool truth) const { return truth ? "true" : "false"; }
        std::string operator()(std::int64_t number) const { return std::to_string(number); }
        std::string operator()(std::uint64_t number) const { return std::to_string(number) + "u"; }
        std::string operator()(const std::string& text) const { return "'" + text + "'"; }
        std::string operator()(const std::vector<std::string>& list) const {
            std::string all = "[";
            for (const std::string& text : list) all += "'" + text + "'";
            return all + "]";
        }
    };
    return std::visit(Show(), value);
}

std::string shown(const TraceEntry& entry) {
    std::string line = (entry.byPlugin ? "" : "host:") + entry.call + "(";
    for (const auto& [name, value] : entry.arguments) line += name + "=" + shown(value) + " ";
    if (line.back() == ' ') line.pop_back();
    line += ")";
    if (entry.returns) line += " -> " + shown(*entry.returns);
    if (entry.throws) line += " throws " + *entry.throws;
    return line;
}

class Trace : public ::testing::Test {
protected:
    /// The crossings of the work, without the host's call around it.
    std::vector<std::string> traceOf(const std::function<void(const Namespace&)>& work) {
        (void)setup.failureOf([](const Namespace&) {});  // takes the plug-in into service
        setup.host.startTrace();
        (void)setup.failureOf(work);
        std::vector<std::string> lines;
        for (const TraceEntry& entry : setup.host.takeTrace())
            if (entry.call != "getData") lines.push_back(shown(entry));
        return lines;
    }
    WithHost setup{refhost::HostOptions{"testhost", {"/dev/sdz: by hand"}, false}};
};

using Lines = std::vector<std::string>;

TEST_F(Trace, IsEmptyUnlessStarted) {
    TRootObject::GetCoreLogger()->Log(NVEXTAL20::ILogger::kDebug, "unheard");
    EXPECT_TRUE(setup.host.takeTrace().empty());
    setup.host.startTrace();
    (void)TRootObject::GetCoreLogger();
    EXPECT_EQ(setup.host.takeTrace().size(), 1u);
    (void)TRootObject::GetCoreLogger();
    EXPECT_TRUE(setup.host.takeTrace().empty());
}

TEST_F(Trace, ShowsTheServices) {
    EXPECT_EQ(traceOf([](const Namespace& ns) {
                  (void)TRootObject::GetPluginManager();
                  TRootObject::GetCoreLogger()->Log(NVEXTAL20::ILogger::kDebug, "text");
                  (void)NVEXTAL20::TCIMSchemaHelper::GetSystemName(ns);
                  (void)NVEXTAL20::TCIMSchemaHelper::GetSystemCreationClassName(ns);
                  std::vector<std::string> devices{"kept"};
                  EXPECT_EQ(TOSSpecific::getBmcVirtualDevices(0, devices, false), 1);
                  EXPECT_EQ(devices, (std::vector<std::string>{"kept", "/dev/sdz: by hand"}));
                  (void)TOSSpecific::FileExists("/");
                  (void)TOSSpecific::SpawnProcess("echo", {"a", "b"}, 300);
                  (void)TOSSpecific::CaptureFile("/dev/null");
              }),
              (Lines{"getPluginManager() -> 'plug-in manager'", "getCoreLogger() -> 'core logger'",
                     "log(severity=3 text='text')", "getSystemName() -> 'testhost'",
                     "getSystemCreationClassName() -> 'VEXSG_ComputerSystem'",
                     "getBmcVirtualDevices(controller=0 refresh=false) -> ['/dev/sdz: by hand']",
                     "fileExists(path='/') -> true",
                     "spawnProcess(program='echo' arguments=['a''b'] timeLimitSeconds=300) -> 'a b\n'",
                     "captureFile(path='/dev/null') -> ''"}));
}

TEST_F(Trace, ShowsHowAnInstanceIsMade) {
    EXPECT_EQ(
        traceOf([](const Namespace& ns) {
            TCIMOptions options;
            const auto disks = ns->GetClass("VEXSG_LogicalDisk", options);
            (void)disks->GetName(options);
            (void)disks->IsAssociation(options);
            const auto disk = disks->CreateInstance(options);
            const auto property = disk->GetProperty("TotalSpace", options);
            const TCIMValue::TCIMType type = property->GetType(options);
            (void)property->IsArray(options);
            std::string text = "5";
            TCIMValue value(type, text, disks->GetNamespace(options));
            disk->SetProperty("TotalSpace", value, options);
            (void)property->GetValue(options);
            std::string point = "/boot";
            TCIMValue points;
            points.Set(TCIMValue::TCIMType("string"), 256, {TCIMValue(point)});
            disk->SetProperty("OtherIdentifyingInfo", points, options);
            disk->AddToClass(options);
            (void)disk->GetReference(options);
            disks->EnumerateInstances([](boost::shared_ptr<ICIMInstance>) { return true; }, 1, options);
        }),
        (Lines{"getClass(name='VEXSG_LogicalDisk') -> 'VEXSG_LogicalDisk'",
               "className(class='VEXSG_LogicalDisk') -> 'VEXSG_LogicalDisk'",
               "isAssociation(class='VEXSG_LogicalDisk') -> false",
               "createInstance(class='VEXSG_LogicalDisk') -> 'VEXSG_LogicalDisk'",
               "getProperty(class='VEXSG_LogicalDisk' name='TotalSpace') -> 'TotalSpace'",
               "propertyType(class='VEXSG_LogicalDisk' name='TotalSpace') -> 'uint64'",
               "isArray(class='VEXSG_LogicalDisk' name='TotalSpace') -> false",
               "classNamespace(class='VEXSG_LogicalDisk') -> 'root/cimv2'", "parseValue(type='uint64' text='5')",
               "setProperty(class='VEXSG_LogicalDisk' name='TotalSpace' value='5')",
               "getValue(class='VEXSG_LogicalDisk' name='TotalSpace') -> '5'", "makeType(name='string')",
               "setArray(type='string' count=1u)",
               "setProperty(class='VEXSG_LogicalDisk' name='OtherIdentifyingInfo' value=['/boot'])",
               "commit(class='VEXSG_LogicalDisk')", "getReference(class='VEXSG_LogicalDisk') -> 'VEXSG_LogicalDisk'",
               "enumerateInstances(class='VEXSG_LogicalDisk' flag=1) -> 1u"}));
}

TEST_F(Trace, ShowsWhatACallThrew) {
    EXPECT_EQ(traceOf([](const Namespace& ns) {
                  EXPECT_THROW((void)classNamed(ns, "nothing"), NVEXTAL20::TTALException);
                  EXPECT_THROW((void)TCIMValue::TCIMType("thing"), NVEXTAL20::TTALException);
              }),
              (Lines{"getClass(name='nothing') throws the namespace root/cimv2 has no class \"nothing\"",
                     "makeType(name='thing') throws there is no CIM type named \"thing\""}));
}

TEST_F(Trace, PutsNestedCallsAfterTheOneTheyBeganIn) {
    EXPECT_EQ(traceOf([](const Namespace& ns) {
                  TCIMOptions options;
                  classNamed(ns, "VEXSG_ComputerSystem")
                      ->EnumerateInstances(
                          [&](const boost::shared_ptr<ICIMInstance>& system) {
                              (void)system->GetReference(options);
                              throw 7;
                              return true;
                          },
                          1, options);
              }),
              (Lines{"getClass(name='VEXSG_ComputerSystem') -> 'VEXSG_ComputerSystem'",
                     "enumerateInstances(class='VEXSG_ComputerSystem' flag=1) throws something that is no "
                     "std::exception",
                     "getReference(class='VEXSG_ComputerSystem') -> 'VEXSG_ComputerSystem.CreationClassName="
                     "\"VEXSG_ComputerSystem\",Name=\"testhost\"'"}));
}

TEST_F(Trace, ShowsTheHostsCallsButNotItsInternalWork) {
    setup.host.startTrace();
    (void)setup.request({"VEXSG_DiskDrive"}, [](const Namespace&, Classes&) {});
    (void)setup.host.instances("VEXSG_ComputerSystem");
    setup.host.unloadPlugins();
    Lines lines;
    for (const TraceEntry& entry : setup.host.takeTrace()) lines.push_back(shown(entry));
    EXPECT_EQ(lines, (Lines{"host:getType() -> 0u", "host:getName() -> 'in-process'", "host:getVersion() -> '1'",
                            "host:getInterfaceVersion() -> '1'", "host:init()",
                            "host:getData(classes=['VEXSG_DiskDrive'])", "host:deInit()", "host:prepareForUnload()"}));
}

TEST_F(Trace, CopiesAndPlainQueriesAreNotCrossings) {
    EXPECT_EQ(traceOf([](const Namespace&) {
                  const TCIMValue text(std::string("x"));
                  TCIMValue copy = text;
                  copy = TCIMValue();
                  (void)copy.IsNull();
                  (void)std::string(text);
              }),
              Lines());
}

TEST_F(Trace, NamesTheThreadOfEachCrossing) {
    int other = 0;
    setup.host.startTrace();
    (void)setup.failureOf([&](const Namespace&) {
        std::thread([&] {
            other = ::gettid();
            (void)TRootObject::GetCoreLogger();
        }).join();
        (void)TRootObject::GetPluginManager();
    });
    std::vector<int> threads;
    for (const TraceEntry& entry : setup.host.takeTrace())
        if (entry.byPlugin) threads.push_back(entry.thread);
    EXPECT_EQ(threads, (std::vector<int>{other, ::gettid()}));
    EXPECT_NE(other, ::gettid());
}

TEST_F(Trace, TakenWhileACallRunsForgetsThatCall) {
    std::vector<TraceEntry> inside;
    setup.host.startTrace();
    (void)setup.failureOf([&](const Namespace&) {
        inside = setup.host.takeTrace();
        setup.host.startTrace();
        (void)TRootObject::GetCoreLogger();
    });
    EXPECT_EQ(inside.back().call, "getData");
    EXPECT_EQ(inside.back().returns, std::nullopt);
    const std::vector<TraceEntry> later = setup.host.takeTrace();
    ASSERT_EQ(later.size(), 1u);
    EXPECT_EQ(shown(later[0]), "getCoreLogger() -> 'core logger'");
}

}  // namespace
