// What the store keeps, what it leaves out, and how clients find instances with odd names.
#include "serve/cimxml/object_store.h"

#include <gmock/gmock.h>

#include "tests/unit/serve/cimxml/served_scene.h"

namespace diskmgt::serve {
namespace {

using diskmgt_test::Answer;
using diskmgt_test::classValue;
using diskmgt_test::instanceOf;
using diskmgt_test::instanceValue;
using diskmgt_test::NamedValues;
using diskmgt_test::requestText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class ObjectStores : public ::testing::Test {
protected:
    ObjectStores() : host(diskmgt_test::quietHost()) {}

    refhost::Instance disk(const NamedValues& more) const {
        NamedValues keys{{"CreationClassName", "VEXSG_LogicalDisk"},
                         {"SystemCreationClassName", "VEXSG_ComputerSystem"},
                         {"SystemName", "server1"}};
        keys.insert(keys.end(), more.begin(), more.end());
        return instanceOf(*host.findClass("VEXSG_LogicalDisk"), keys);
    }
    refhost::Instance pair(const refhost::Instance& antecedent, const refhost::Instance& dependent) const {
        return instanceOf(*host.findClass("CIM_BasedOn"),
                          {{"Antecedent", antecedent.path}, {"Dependent", dependent.path}});
    }
    Answer ask(const ObjectStore& store, const std::string& operation, const NamedValues& parameters) const {
        return Answer(answerCim(requestText(operation, parameters), host.classes(), &store, "server1", ""));
    }
    std::string named(const std::string& deviceId) const {
        return instanceValue("VEXSG_LogicalDisk", {{"CreationClassName", "VEXSG_LogicalDisk"},
                                                   {"SystemCreationClassName", "VEXSG_ComputerSystem"},
                                                   {"SystemName", "server1"},
                                                   {"DeviceID", deviceId}});
    }

    refhost::ReferenceHost host;
};

TEST_F(ObjectStores, TheFirstOfTwoInstancesOfOnePathIsKept) {
    const ObjectStore store(host.classes(), {disk({{"DeviceID", "/dev/sda1"}, {"FileSystemName", "ext4"}}),
                                             disk({{"DeviceID", "/dev/sda1"}, {"FileSystemName", "xfs"}})});
    EXPECT_THAT(store.duplicates(), ElementsAre(disk({{"DeviceID", "/dev/sda1"}}).path));
    const Answer answer = ask(store, "EnumerateInstances", {{"ClassName", classValue("CIM_LogicalDisk")}});
    EXPECT_EQ(answer.only("//PROPERTY[@NAME='FileSystemName']/VALUE"), "ext4");
}

TEST_F(ObjectStores, NamesThatClientsReadAlikeAreOnePath) {
    const ObjectStore store(host.classes(), {disk({{"DeviceID", "bad\xFF"}}), disk({{"DeviceID", "bad\xFE"}}),
                                             disk({{"DeviceID", "bad\x01"}})});
    EXPECT_THAT(store.duplicates(), SizeIs(2));
}

TEST_F(ObjectStores, KeysThatRunTogetherAlikeAreTwoPaths) {
    const auto with = [&](const char* system, const char* name) {
        return instanceOf(*host.findClass("VEXSG_LogicalDisk"),
                          {{"SystemCreationClassName", system}, {"SystemName", name}});
    };
    const ObjectStore store(host.classes(),
                            {with("ab", "c"), with("a", "bc"), with("a b", "c"), with("a", "b c"), with("", "abc")});
    EXPECT_THAT(store.duplicates(), IsEmpty());
}

TEST_F(ObjectStores, OddNamesAreFoundAsTheyWereRead) {
    const std::vector<std::string> names{"\"/><script>x</script>",
                                         "a & b 'c'",
                                         "bad\xFF",
                                         "bell\x07\x1B[31m",
                                         "line\nend",
                                         "tab\tand\\",
                                         "carriage\rreturn",
                                         "both\r\nof them",
                                         " blanks around ",
                                         "  ",
                                         "",
                                         "\u00E4\u20AC\U0001F600",
                                         "not a character \uFFFE"};
    std::vector<refhost::Instance> disks;
    for (const std::string& name : names) disks.push_back(disk({{"DeviceID", name}}));
    const ObjectStore store(host.classes(), std::move(disks));
    EXPECT_THAT(store.duplicates(), IsEmpty());
    const Answer all = ask(store, "EnumerateInstanceNames", {{"ClassName", classValue("VEXSG_LogicalDisk")}});
    const auto read = all.devices();
    ASSERT_EQ(read.size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        const Answer answer = ask(store, "GetInstance", {{"InstanceName", named(read[i])}});
        EXPECT_EQ(answer.only("//PROPERTY[@NAME='DeviceID']/VALUE"), read[i]) << answer.description();
    }
}

TEST_F(ObjectStores, AKeyThatIsNullIsLeftOutOfTheNameAndFoundSo) {
    const ObjectStore store(host.classes(), {disk({}), disk({{"DeviceID", ""}})});
    EXPECT_THAT(store.duplicates(), IsEmpty());
    const Answer names = ask(store, "EnumerateInstanceNames", {{"ClassName", classValue("VEXSG_LogicalDisk")}});
    EXPECT_EQ(names.count("//INSTANCENAME[1]/KEYBINDING"), 3U);
    const std::string name = instanceValue("VEXSG_LogicalDisk", {{"CreationClassName", "VEXSG_LogicalDisk"},
                                                                 {"SystemCreationClassName", "VEXSG_ComputerSystem"},
                                                                 {"SystemName", "server1"}});
    EXPECT_EQ(ask(store, "GetInstance", {{"InstanceName", name}}).count("//PROPERTY[@NAME='DeviceID']/VALUE"), 0U);
}

TEST_F(ObjectStores, ANameWithoutAnyKeyHasTheShortForm) {
    const ObjectStore store(host.classes(), {instanceOf(*host.findClass("VEXSG_LogicalDisk"), {})});
    const Answer names = ask(store, "EnumerateInstanceNames", {{"ClassName", classValue("VEXSG_LogicalDisk")}});
    EXPECT_NE(names.reply.body.find("<IRETURNVALUE><INSTANCENAME CLASSNAME=\"VEXSG_LogicalDisk\"/></IRETURNVALUE>"),
              std::string::npos);
}

TEST_F(ObjectStores, AReferenceToWhatIsNotThereIsShownAndLeadsNowhere) {
    const auto here = disk({{"DeviceID", "here"}});
    const auto gone = disk({{"DeviceID", "gone \xFF"}});
    const ObjectStore store(host.classes(), {here, pair(here, gone)});
    EXPECT_EQ(ask(store, "ReferenceNames", {{"ObjectName", named("here")}}).count("//OBJECTPATH"), 1U);
    EXPECT_EQ(ask(store, "AssociatorNames", {{"ObjectName", named("here")}}).count("//OBJECTPATH"), 0U);
    EXPECT_EQ(ask(store, "References", {{"ObjectName", named("here")}})
                  .only("//PROPERTY.REFERENCE[@NAME='Dependent']//KEYBINDING[@NAME='DeviceID']/KEYVALUE"),
              "gone \uFFFD");
}

TEST_F(ObjectStores, AReferenceThatIsNoPathIsAsGoodAsNull) {
    const auto here = disk({{"DeviceID", "here"}});
    auto odd = pair(here, here);
    odd.properties.back().elements.front() = "no path";
    const ObjectStore store(host.classes(), {here, odd});
    const Answer answer = ask(store, "EnumerateInstances", {{"ClassName", classValue("CIM_BasedOn")}});
    EXPECT_EQ(answer.count("//INSTANCENAME/KEYBINDING[@NAME='Antecedent']"), 1U);
    EXPECT_EQ(answer.count("//INSTANCENAME/KEYBINDING[@NAME='Dependent']"), 0U);
    EXPECT_EQ(answer.only("//PROPERTY.REFERENCE[@NAME='Dependent']"), "");
}

TEST_F(ObjectStores, AReferenceWithoutKeysHasTheShortForm) {
    auto odd = pair(disk({}), disk({}));
    odd.properties.back().elements.front() = "VEXSG_LogicalDisk";
    const ObjectStore store(host.classes(), {odd});
    EXPECT_NE(ask(store, "EnumerateInstances", {{"ClassName", classValue("CIM_BasedOn")}})
                  .reply.body.find("</LOCALNAMESPACEPATH><INSTANCENAME CLASSNAME=\"VEXSG_LogicalDisk\"/>"),
              std::string::npos);
}

TEST_F(ObjectStores, TwoLinksToOneObjectGiveItOnce) {
    const auto one = disk({{"DeviceID", "one"}});
    const auto two = disk({{"DeviceID", "two"}});
    const ObjectStore store(host.classes(), {one, two, pair(one, two), pair(two, one)});
    EXPECT_THAT(ask(store, "AssociatorNames", {{"ObjectName", named("one")}}).devices(), ElementsAre("two"));
    EXPECT_EQ(ask(store, "ReferenceNames", {{"ObjectName", named("one")}}).count("//OBJECTPATH"), 2U);
}

TEST_F(ObjectStores, LinksComeInTheOrderOfTheirClassesWhateverTheOrderOfTheInstances) {
    const auto one = disk({{"DeviceID", "one"}});
    const auto two = disk({{"DeviceID", "two"}});
    const auto later = instanceOf(*host.findClass("VEXSG_LogicalDiskBasedOnExtent"),
                                  {{"Antecedent", one.path}, {"Dependent", two.path}});
    const ObjectStore store(host.classes(), {later, pair(two, one), pair(one, two), one, two});
    EXPECT_THAT(ask(store, "ReferenceNames", {{"ObjectName", named("one")}})
                    .all("//INSTANCEPATH/INSTANCENAME[not(ancestor::KEYBINDING)]/@CLASSNAME"),
                ElementsAre("CIM_BasedOn", "CIM_BasedOn", "VEXSG_LogicalDiskBasedOnExtent"));
    EXPECT_THAT(ask(store, "ReferenceNames", {{"ObjectName", named("one")}})
                    .all("//KEYBINDING[@NAME='Antecedent']//KEYBINDING[@NAME='DeviceID']/KEYVALUE"),
                ElementsAre("two", "one", "one"));
}

TEST_F(ObjectStores, AnObjectLinkedToItselfIsItsOwnAssociator) {
    const auto one = disk({{"DeviceID", "one"}});
    const ObjectStore store(host.classes(), {one, pair(one, one)});
    EXPECT_THAT(ask(store, "AssociatorNames", {{"ObjectName", named("one")}}).devices(), ElementsAre("one"));
    EXPECT_EQ(ask(store, "ReferenceNames", {{"ObjectName", named("one")}}).count("//OBJECTPATH"), 1U);
}

TEST_F(ObjectStores, AnAnswerOfMoreThan64MebibytesIsError1) {
    std::vector<refhost::Instance> disks;
    for (char letter = 'a'; letter <= 'r'; ++letter)
        disks.push_back(disk({{"DeviceID", std::string(4 << 20, letter)}}));
    const ObjectStore store(host.classes(), std::move(disks));
    const NamedValues parameters{{"ClassName", classValue("VEXSG_LogicalDisk")}};
    EXPECT_EQ(ask(store, "EnumerateInstanceNames", parameters).error(), "1");
    EXPECT_EQ(ask(store, "EnumerateInstances", parameters).description(),
              "The answer is larger than 64 MiB. Ask for less at a time.");
}

TEST_F(ObjectStores, AClassThatWasNotCollectedIsError1AndNoEmptyList) {
    const ObjectStore store(host.classes(), {}, {{"VEXSG_LogicalDisk", "a mount does not answer"}});
    for (const char* const name : {"VEXSG_LogicalDisk", "CIM_LogicalDisk", "CIM_ManagedElement"}) {
        for (const char* const operation : {"EnumerateInstances", "EnumerateInstanceNames"}) {
            const Answer refused = ask(store, operation, {{"ClassName", classValue(name)}});
            EXPECT_EQ(refused.error(), "1") << operation << ' ' << name;
            EXPECT_EQ(refused.description(),
                      "The instances of VEXSG_LogicalDisk are not known: a mount does not answer.");
        }
    }
    EXPECT_EQ(ask(store, "GetInstance", {{"InstanceName", named("here")}}).error(), "1");
    EXPECT_EQ(
        ask(store, "GetInstance", {{"InstanceName", instanceValue("CIM_LogicalDisk", {{"DeviceID", "x"}})}}).error(),
        "6");  // known without: no instance is of exactly this class
    EXPECT_EQ(ask(store, "EnumerateInstances", {{"ClassName", classValue("VEXSG_DiskDrive")}}).error(), "");
}

TEST_F(ObjectStores, AFilterByAClassThatWasNotCollectedIsError1) {
    const auto here = disk({{"DeviceID", "here"}});
    const ObjectStore store(host.classes(), {here}, {{"CIM_BasedOn", "a mount does not answer"}});
    const auto error = [&](const std::string& operation, const NamedValues& filter) {
        NamedValues parameters{{"ObjectName", named("here")}};
        parameters.insert(parameters.end(), filter.begin(), filter.end());
        return ask(store, operation, parameters).error();
    };
    EXPECT_EQ(error("AssociatorNames", {{"AssocClass", classValue("CIM_Dependency")}}), "1");
    EXPECT_EQ(error("References", {{"ResultClass", classValue("CIM_BasedOn")}}), "1");
    EXPECT_EQ(error("Associators", {{"AssocClass", classValue("CIM_MediaPresent")}}), "");
    EXPECT_EQ(error("Associators", {}), "");
}

TEST_F(ObjectStores, InstancesOfUndeclaredClassesAreLeftOut) {
    refhost::Instance stranger = disk({{"DeviceID", "x"}});
    stranger.className = "VEXSG_Stranger";
    const ObjectStore store(host.classes(), {stranger});
    EXPECT_EQ(
        ask(store, "EnumerateInstanceNames", {{"ClassName", classValue("CIM_ManagedElement")}}).count("//INSTANCENAME"),
        0U);
}

}  // namespace
}  // namespace diskmgt::serve
