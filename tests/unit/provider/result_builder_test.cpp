// ResultBuilder: texts become typed properties, and a refused one costs only itself.
#include "provider/result_builder.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "plugin/host/tal_exception.h"
#include "tests/support/host_session.h"
#include "tests/support/scripted_instance.h"
#include "tests/support/silent_failure.h"

namespace diskmgt_col {
namespace {

using diskmgt_test::callsByPlugin;
using diskmgt_test::Classes;
using diskmgt_test::crossingOf;
using diskmgt_test::HostSession;
using diskmgt_test::linesOf;
using diskmgt_test::ScriptedClass;
using diskmgt_test::ScriptedInstance;
using diskmgt_test::SilentHostFailure;
using diskmgt_test::textsOf;
using refhost::FaultKind;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

const char* const kClass = "VEXSG_DiskDrive";

/// Builds one instance of a class inside a separate request.
class ResultBuilding : public ::testing::Test {
protected:
    bool build(PropertyMap map, const std::string& className = kClass) {
        bool nothingCommitted = false;
        result = session.insideRequest(
            {className}, [&](auto, Classes& classes) { nothingCommitted = ResultBuilder()(classes[0], map); });
        return nothingCommitted;
    }

    std::vector<refhost::TraceEntry> cleanTrace(const PropertyMap& map) {
        session.host.startTrace();
        (void)build(map);
        return session.host.takeTrace();
    }

    /// Builds into an instance that the test supplies.
    bool buildInto(const boost::shared_ptr<ScriptedInstance>& instance, PropertyMap map) {
        bool nothingCommitted = false;
        result = session.insideRequest({kClass}, [&](auto, Classes& classes) {
            const auto cls = boost::make_shared<ScriptedClass>(classes[0], kClass, [&] { return instance; });
            nothingCommitted = ResultBuilder()(cls, map);
        });
        return nothingCommitted;
    }

    HostSession session;
    refhost::RequestResult result;
};

TEST_F(ResultBuilding, CommitsAnInstanceWithTypedValuesAndReturnsFalse) {
    EXPECT_FALSE(build({{"DeviceID", "/dev/sda"}, {"Size", "18446744073709551615"}, {"NoOfPartitions", "2"}}));
    ASSERT_THAT(session.host.instances(kClass), SizeIs(1));
    EXPECT_THAT(textsOf(session.host.instances(kClass)[0]),
                UnorderedElementsAre(Pair("DeviceID", "/dev/sda"), Pair("Size", "18446744073709551615"),
                                     Pair("NoOfPartitions", "2")));
    EXPECT_THAT(result.log, IsEmpty());
}

TEST_F(ResultBuilding, AnEmptyMapCreatesNoInstanceAndReturnsTrue) {
    EXPECT_TRUE(build({}));
    EXPECT_THAT(session.host.instances(kClass), IsEmpty());
    EXPECT_THAT(result.log, IsEmpty());
}

TEST_F(ResultBuilding, AnInstanceIsRequestedEvenForAnEmptyMap) {
    EXPECT_THAT(callsByPlugin(cleanTrace({})), ElementsAre("createInstance"));
}

TEST_F(ResultBuilding, ARefusedInstanceReturnsTrueWithoutAMessage) {
    session.host.setFaultPlan({1, false, FaultKind::kNullResult});
    EXPECT_TRUE(build({{"DeviceID", "/dev/sda"}}));
    session.host.clearFaultPlan();
    EXPECT_THAT(session.host.instances(kClass), IsEmpty());
    EXPECT_THAT(result.log, IsEmpty());
}

TEST_F(ResultBuilding, AnExceptionOfTheCreationReachesTheCaller) {
    session.host.setFaultPlan({1, false, FaultKind::kTalException});
    (void)build({{"DeviceID", "/dev/sda"}});
    session.host.clearFaultPlan();
    EXPECT_TRUE(result.failure.has_value());
    EXPECT_THAT(result.log, IsEmpty());
}

TEST_F(ResultBuilding, OneBadPropertyOfFourCostsOnlyItselfAndTwoLines) {
    EXPECT_FALSE(build({{"DeviceID", "/dev/sda"}, {"Size", "many"}, {"NoOfPartitions", "2"}, {"Name", "/dev/sda"}}));
    ASSERT_THAT(session.host.instances(kClass), SizeIs(1));
    EXPECT_THAT(
        textsOf(session.host.instances(kClass)[0]),
        UnorderedElementsAre(Pair("DeviceID", "/dev/sda"), Pair("NoOfPartitions", "2"), Pair("Name", "/dev/sda")));
    EXPECT_THAT(
        linesOf(result.log),
        ElementsAre("3 Error processing property Size. With value many from class VEXSG_DiskDrive", StartsWith("0 ")));
}

TEST_F(ResultBuilding, AnInstanceIsCommittedEvenWhenEveryPropertyIsRefused) {
    EXPECT_FALSE(build({{"Colour", "red"}, {"Size", "many"}}));
    ASSERT_THAT(session.host.instances(kClass), SizeIs(1));
    EXPECT_THAT(textsOf(session.host.instances(kClass)[0]), IsEmpty());
    EXPECT_THAT(result.log, SizeIs(4));
}

TEST_F(ResultBuilding, AnUndeclaredPropertyIsSkippedAndLogged) {
    EXPECT_FALSE(build({{"DeviceID", "/dev/sda"}, {"Colour", "red"}}));
    EXPECT_THAT(session.host.instances(kClass), SizeIs(1));
    EXPECT_THAT(
        linesOf(result.log),
        ElementsAre("3 Error processing property Colour. With value red from class VEXSG_DiskDrive", StartsWith("0 ")));
}

TEST_F(ResultBuilding, OfEqualNamesTheLastThatParsesStays) {
    EXPECT_FALSE(build({{"Size", "1"}, {"Size", "2"}, {"Size", "3"}}));
    EXPECT_EQ(textsOf(session.host.instances(kClass)[0])["Size"], "3");
    EXPECT_FALSE(build({{"Size", "1"}, {"Size", "2"}, {"Size", "x"}}));
    EXPECT_EQ(textsOf(session.host.instances(kClass)[0])["Size"], "2");
    EXPECT_THAT(result.log, SizeIs(2));
}

struct ArrayCase {
    const char* label;
    const char* text;
    std::vector<std::string> elements;
};

class ArrayBuilding : public ResultBuilding, public ::testing::WithParamInterface<ArrayCase> {};

TEST_P(ArrayBuilding, SplitsAtCommasAndDropsEmptyPieces) {
    EXPECT_FALSE(build({{"OtherIdentifyingInfo", GetParam().text}}, "VEXSG_LogicalDisk"));
    const auto instances = session.host.instances("VEXSG_LogicalDisk");
    ASSERT_THAT(instances, SizeIs(1));
    for (const refhost::PropertyValue& property : instances[0].properties) {
        if (property.declaration->name != "OtherIdentifyingInfo") continue;
        EXPECT_FALSE(property.isNull);
        EXPECT_EQ(property.elements, GetParam().elements);
    }
}

INSTANTIATE_TEST_SUITE_P(Texts, ArrayBuilding,
                         ::testing::Values(ArrayCase{"empty_pieces_vanish", "a,,b,", {"a", "b"}},
                                           ArrayCase{"blanks_are_kept", " a, b", {" a", " b"}},
                                           ArrayCase{"a_trailing_comma_adds_no_element", "/boot,", {"/boot"}},
                                           ArrayCase{
                                               "a_mount_point_with_a_comma_falls_apart", "/mnt/a,b,", {"/mnt/a", "b"}},
                                           ArrayCase{"no_piece_gives_an_empty_array", ",,", {}}),
                         [](const auto& row) { return row.param.label; });

TEST_F(ResultBuilding, MakesNoHostCallBeyondThoseOfOneProperty) {
    EXPECT_THAT(callsByPlugin(cleanTrace({{"Size", "1"}})),
                ElementsAre("createInstance", "getProperty", "propertyType", "isArray", "classNamespace", "parseValue",
                            "setProperty", "commit"));
}

TEST_F(ResultBuilding, QueriesTheNamespaceOncePerArrayElement) {
    session.host.startTrace();
    (void)build({{"OtherIdentifyingInfo", "a,b,"}}, "VEXSG_LogicalDisk");
    EXPECT_THAT(callsByPlugin(session.host.takeTrace()),
                ElementsAre("createInstance", "getProperty", "propertyType", "isArray", "makeType", "classNamespace",
                            "parseValue", "classNamespace", "parseValue", "setArray", "setProperty", "commit"));
}

TEST_F(ResultBuilding, AFailureInAnySubStepSkipsThePropertyAndCommitsTheRest) {
    const PropertyMap map = {{"Name", "first"}, {"Size", "1"}};
    const auto trace = cleanTrace(map);
    for (const char* const step :
         {"getProperty", "propertyType", "isArray", "classNamespace", "parseValue", "setProperty"}) {
        SCOPED_TRACE(step);
        session.host.setFaultPlan({crossingOf(trace, step, 2), false, FaultKind::kTalException});
        EXPECT_FALSE(build(map));
        session.host.clearFaultPlan();
        ASSERT_THAT(session.host.instances(kClass), SizeIs(1));
        EXPECT_THAT(textsOf(session.host.instances(kClass)[0]), UnorderedElementsAre(Pair("Name", "first")));
        EXPECT_THAT(
            linesOf(result.log),
            ElementsAre("3 Error processing property Size. With value 1 from class VEXSG_DiskDrive", StartsWith("0 ")));
    }
}

TEST_F(ResultBuilding, ANullPropertyOrNamespaceLeavesTheBuilderAsAStandardException) {
    const PropertyMap map = {{"Size", "1"}};
    const auto trace = cleanTrace(map);
    const std::pair<const char*, const char*> cases[] = {
        {"getProperty", "the host gave no property"},
        {"classNamespace", "the host gave no namespace for a class"},
    };
    for (const auto& [step, text] : cases) {
        SCOPED_TRACE(step);
        session.host.setFaultPlan({crossingOf(trace, step), false, FaultKind::kNullResult});
        (void)build(map);
        session.host.clearFaultPlan();
        EXPECT_EQ(result.failure, text);
        EXPECT_THAT(session.host.instances(kClass), IsEmpty());
    }
}

TEST_F(ResultBuilding, OtherExceptionsLeaveTheBuilder) {
    const PropertyMap map = {{"Size", "1"}};
    const auto trace = cleanTrace(map);
    session.host.setFaultPlan({crossingOf(trace, "setProperty"), false, FaultKind::kStandardException});
    (void)build(map);
    session.host.clearFaultPlan();
    EXPECT_TRUE(result.failure.has_value());
    EXPECT_THAT(result.log, IsEmpty());
}

TEST_F(ResultBuilding, AFailedCommitIsLoggedAndReturnsTrue) {
    const PropertyMap map = {{"Size", "1"}};
    const auto trace = cleanTrace(map);
    session.host.setFaultPlan({crossingOf(trace, "commit"), false, FaultKind::kTalException});
    EXPECT_TRUE(build(map));
    session.host.clearFaultPlan();
    EXPECT_THAT(session.host.instances(kClass), IsEmpty());
    EXPECT_THAT(linesOf(result.log),
                ElementsAre(StartsWith("3 Attempted creation of instance for VEXSG_DiskDrive threw exception ")));
}

TEST_F(ResultBuilding, AFailureWithoutATextCostsThePropertyAndLogsNoTextLine) {
    const auto instance = boost::make_shared<ScriptedInstance>();
    instance->onGetProperty = [](const std::string&) -> boost::shared_ptr<NVEXTAL20::ICIMProperty> {
        throw SilentHostFailure();
    };
    int commits = 0;
    instance->onCommit = [&] { ++commits; };
    EXPECT_FALSE(buildInto(instance, {{"Size", "1"}}));
    EXPECT_EQ(commits, 1);
    EXPECT_FALSE(result.failure.has_value());
    EXPECT_THAT(linesOf(result.log),
                ElementsAre("3 Error processing property Size. With value 1 from class VEXSG_DiskDrive"));
}

TEST_F(ResultBuilding, AFailedCommitWithoutATextIsLoggedWithoutIt) {
    const auto instance = boost::make_shared<ScriptedInstance>();
    instance->onGetProperty = [](const std::string&) -> boost::shared_ptr<NVEXTAL20::ICIMProperty> {
        throw NVEXTAL20::TTALException("no such property");
    };
    instance->onCommit = [] { throw SilentHostFailure(); };
    EXPECT_TRUE(buildInto(instance, {{"Size", "1"}}));
    EXPECT_FALSE(result.failure.has_value());
    EXPECT_THAT(
        linesOf(result.log),
        ElementsAre("3 Error processing property Size. With value 1 from class VEXSG_DiskDrive", "0 no such property",
                    "3 Attempted creation of instance for VEXSG_DiskDrive threw exception "));
}

TEST_F(ResultBuilding, AHostThatFailsWhileItsFailureIsLoggedLosesOnlyLines) {
    const PropertyMap map = {{"Size", "1"}};
    const auto trace = cleanTrace(map);
    for (const char* const step : {"setProperty", "commit"}) {
        SCOPED_TRACE(step);
        session.host.setFaultPlan({crossingOf(trace, step), true, FaultKind::kTalException});
        EXPECT_TRUE(build(map));
        session.host.clearFaultPlan();
        EXPECT_FALSE(result.failure.has_value());
        EXPECT_THAT(result.log, IsEmpty());
    }
}

}  // namespace
}  // namespace diskmgt_col
