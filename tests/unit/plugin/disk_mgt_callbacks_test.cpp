// TDiskMgtCallbacks: identity, registration and the dispatch of a request.
#include "plugin/entry/disk_mgt_callbacks.h"

#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>
#include <stdexcept>

#include "plugin/host/tal_exception.h"
#include "plugin/log/log_message.h"
#include "tests/support/fake_os.h"
#include "tests/support/host_session.h"
#include "tests/support/renamed_class.h"

namespace diskmgt_col {
namespace {

using diskmgt_test::callsByPlugin;
using diskmgt_test::Classes;
using diskmgt_test::FakeOs;
using diskmgt_test::HostSession;
using diskmgt_test::HostWithPlugin;
using diskmgt_test::linesOf;
using diskmgt_test::quietHost;
using refhost::FaultKind;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST(TDiskMgtCallbacks, ReportsItsIdentity) {
    HostWithPlugin session;
    (void)session.host.request({});  // an entry that registered by itself is taken into service by the next request
    const auto plugins = session.host.plugins();
    ASSERT_EQ(plugins.size(), 1U);
    EXPECT_EQ(plugins[0].name, "Disk Management Information Collector");
    EXPECT_EQ(plugins[0].version, "1.0");
    EXPECT_EQ(plugins[0].interfaceVersion, "1.0");
    EXPECT_EQ(plugins[0].type, 0U);
}

TEST(TDiskMgtCallbacks, AnEmptyClassListPreparesBothProvidersAndCollectsNothing) {
    FakeOs machine;
    HostWithPlugin session;
    session.host.startTrace();
    const auto result = session.host.request({});
    EXPECT_THAT(callsByPlugin(session.host.takeTrace()), ElementsAre("getSystemCreationClassName", "getSystemName",
                                                                     "getSystemCreationClassName", "getSystemName"));
    EXPECT_EQ(machine.calls(), 0);
    EXPECT_THAT(result.log, IsEmpty());
    EXPECT_FALSE(result.failure.has_value());
}

TEST(TDiskMgtCallbacks, QueriesEachClassInOrderWhetherItIsAnAssociation) {
    FakeOs machine;
    HostWithPlugin session;
    session.host.startTrace();
    const auto result = session.host.request({"VEXSG_DriveInDynamicDiskGroup", "VEXSG_DynamicExtent"});
    EXPECT_THAT(callsByPlugin(session.host.takeTrace()),
                ElementsAre("getSystemCreationClassName", "getSystemName", "getSystemCreationClassName",
                            "getSystemName", "isAssociation", "className", "getCoreLogger", "log", "isAssociation",
                            "className", "getCoreLogger", "log"));
    EXPECT_THAT(linesOf(result.log),
                ElementsAre("3 DriveInDiskGroup associations... ", "3 Dynamic Extent information.."));
}

TEST(TDiskMgtCallbacks, AClassNamedTwiceIsServedTwice) {
    FakeOs machine;
    HostWithPlugin session;
    const auto result = session.host.request({"VEXSG_DynamicExtent", "VEXSG_DynamicExtent"});
    EXPECT_THAT(linesOf(result.log), ElementsAre("3 Dynamic Extent information..", "3 Dynamic Extent information.."));
}

TEST(TDiskMgtCallbacks, AFailingIdentityQueryOfTheHostEndsTheRequest) {
    FakeOs machine;
    HostWithPlugin session;
    for (const std::size_t crossing : {1U, 2U, 3U, 4U}) {  // each provider queries both names
        session.host.setFaultPlan({crossing, false, FaultKind::kTalException});
        const auto result = session.host.request({"VEXSG_DynamicExtent"});
        EXPECT_TRUE(result.failure.has_value()) << crossing;
        EXPECT_THAT(result.log, IsEmpty());
    }
    session.host.clearFaultPlan();
    EXPECT_FALSE(session.host.request({"VEXSG_DynamicExtent"}).failure.has_value());
}

TEST(TDiskMgtCallbacks, AFailingAssociationQueryEndsTheRequest) {
    FakeOs machine;
    HostWithPlugin session;
    session.host.setFaultPlan({5, false, FaultKind::kStandardException});
    const auto result = session.host.request({"VEXSG_DynamicExtent", "VEXSG_DynamicExtent"});
    session.host.clearFaultPlan();
    EXPECT_TRUE(result.failure.has_value());
    EXPECT_THAT(result.log, IsEmpty());
}

TEST(TDiskMgtCallbacks, ANullClassEndsTheRequestWithAnException) {
    HostSession session;
    (void)session.insideRequest({"VEXSG_DynamicExtent"}, [](auto nameSpace, Classes& classes) {
        auto* const entry = new TDiskMgtCallbacks;  // the host's from here on
        Classes requested = {classes[0], nullptr};
        EXPECT_THAT([&] { entry->GetData(nameSpace, requested); },
                    ::testing::ThrowsMessage<std::runtime_error>("the host requested a null class"));
    });
}

/// Also writes into the options of the association query; its name query checks whether that answer is still held.
class AnsweringClass final : public diskmgt_test::RenamedClass {
public:
    explicit AnsweringClass(boost::shared_ptr<NVEXTAL20::ICIMClass> original)
        : RenamedClass(std::move(original), "Unserved") {}
    bool IsAssociation(NVEXTAL20::TCIMOptions& options) override {
        const NVEXTAL20::TCIMValue value(std::string("an answer"));
        answer = value.content();
        options.emplace("answer", value);
        return RenamedClass::IsAssociation(options);
    }
    std::string GetName(NVEXTAL20::TCIMOptions& options) override {
        isHeldWhenServed.push_back(!answer.expired());
        return RenamedClass::GetName(options);
    }

    boost::weak_ptr<const NVEXTAL20::TCIMValue::Content> answer;
    std::vector<bool> isHeldWhenServed;
};

TEST(TDiskMgtCallbacks, WhatTheHostAnsweredToTheAssociationQueryIsDiscardedBeforeTheClassIsServed) {
    HostSession session;
    (void)session.insideRequest({"VEXSG_DynamicExtent", "VEXSG_PartitionPresent"},
                                [](auto nameSpace, Classes& classes) {
                                    auto* const entry = new TDiskMgtCallbacks;  // the host's from here on
                                    for (const auto& cls : classes) {
                                        const auto answering = boost::make_shared<AnsweringClass>(cls);
                                        Classes requested = {answering};
                                        entry->GetData(nameSpace, requested);
                                        EXPECT_THAT(answering->isHeldWhenServed, ElementsAre(false));
                                    }
                                });
}

TEST(TDiskMgtCallbacks, WithoutAPluginManagerItStaysUnregisteredAndSilent) {
    HostSession session;
    session.host.setFaultPlan({1, false, FaultKind::kNullResult});
    TDiskMgtCallbacks entry;
    session.host.clearFaultPlan();
    (void)session.insideRequest({}, [](auto, Classes&) {});
    EXPECT_EQ(session.host.plugins().size(), 1U);  // the session's
    LogMessage::getInstance()->writeError("unheard");
    EXPECT_THAT(session.host.log(), IsEmpty());
}

TEST(TDiskMgtCallbacks, ARefusedRegistrationSilencesTheLog) {
    HostSession session;
    session.host.setFaultPlan({2, false, FaultKind::kNullResult});
    TDiskMgtCallbacks entry;
    session.host.clearFaultPlan();
    LogMessage::getInstance()->writeError("unheard");
    EXPECT_THAT(session.host.log(), IsEmpty());
}

TEST(TDiskMgtCallbacks, AnExceptionOfTheRegistrationLeavesTheConstructor) {
    HostSession session;
    for (const std::size_t crossing : {1U, 2U}) {
        session.host.setFaultPlan({crossing, false, FaultKind::kTalException});
        EXPECT_THROW(TDiskMgtCallbacks(), NVEXTAL20::TTALException) << crossing;
    }
}

TEST(TDiskMgtCallbacks, TheLogKeepsItsHandleAfterTheObjectIsFreed) {
    HostSession session;
    LogMessage::setPluginInstance(nullptr);
    auto* const entry = new TDiskMgtCallbacks;  // registered: the log has the handle
    (void)session.insideRequest({}, [](auto, Classes&) {});
    LogMessage::getInstance()->writeStatus("while it is there");
    session.host.unloadPlugins();  // frees it through PrepareForUnload
    (void)entry;
    LogMessage::getInstance()->writeStatus("afterwards");
    EXPECT_THAT(linesOf(session.host.log()), ElementsAre("2 while it is there", "2 afterwards"));
}

TEST(TDiskMgtCallbacks, InitAndDeInitDoNothing) {
    FakeOs machine;
    HostWithPlugin session;
    session.host.startTrace();
    session.host.unloadPlugins();
    EXPECT_THAT(callsByPlugin(session.host.takeTrace()), IsEmpty());
    EXPECT_EQ(machine.calls(), 0);
}

}  // namespace
}  // namespace diskmgt_col
