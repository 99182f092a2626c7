// Requests byte for byte as two real clients send them, and what both of them take and refuse in an answer.
#include <gmock/gmock.h>

#include <regex>
#include <set>

#include "serve/cimxml/xml_text.h"
#include "tests/unit/serve/cimxml/served_scene.h"

namespace {

using diskmgt_test::Answer;
using diskmgt_test::classValue;
using diskmgt_test::NamedValues;
using diskmgt_test::plainValue;
using diskmgt_test::requestText;
using diskmgt_test::ServedScene;
using ::testing::ElementsAre;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

class ClientTable : public ::testing::Test {
protected:
    /// Every operation with everything switched on, and some errors.
    std::vector<Answer> everyAnswer() const {
        const NamedValues all{{"IncludeClassOrigin", plainValue("TRUE")}, {"IncludeQualifiers", plainValue("TRUE")}};
        const auto with = [](NamedValues more, const NamedValues& rest) {
            more.insert(more.end(), rest.begin(), rest.end());
            return more;
        };
        std::vector<Answer> answers;
        const auto ask = [&](const std::string& operation, const NamedValues& parameters) {
            answers.push_back(scene.ask(operation, parameters));
        };
        const std::pair<std::string, std::string> deep{"DeepInheritance", plainValue("TRUE")};
        const std::pair<std::string, std::string> whole{"LocalOnly", plainValue("FALSE")};
        ask("EnumerateClassNames", {deep});
        ask("EnumerateClasses", with({deep, whole}, all));
        ask("GetClass", with({{"ClassName", classValue("VEXSG_DiskPartition")}, whole}, all));
        ask("EnumerateInstanceNames", {{"ClassName", classValue("CIM_ManagedElement")}});
        ask("EnumerateInstanceNames", {{"ClassName", classValue("CIM_Dependency")}});
        ask("EnumerateInstanceNames", {{"ClassName", classValue("VEXSG_TapeDrive")}});
        ask("EnumerateInstances", with({{"ClassName", classValue("CIM_ManagedElement")}}, all));
        ask("EnumerateInstances", with({{"ClassName", classValue("CIM_Dependency")}}, all));
        ask("GetInstance", with({{"InstanceName", ServedScene::logicalDisk()}}, all));
        for (const char* const operation : {"Associators", "References"}) {
            ask(operation, with({{"ObjectName", ServedScene::drive()}}, all));
            ask(operation, with({{"ObjectName", classValue("VEXSG_DiskDrive")}}, all));
            ask(operation, {{"ObjectName", "<INSTANCENAME CLASSNAME=\"VEXSG_DiskDrive\"/>"}});
        }
        for (const char* const operation : {"AssociatorNames", "ReferenceNames"}) {
            ask(operation, {{"ObjectName", ServedScene::drive()}});
            ask(operation, {{"ObjectName", classValue("VEXSG_DiskDrive")}});
        }
        ask("GetClass", {{"ClassName", classValue("VEXSG_Nothing")}});
        ask("OpenEnumerateInstances", {});
        return answers;
    }

    ServedScene scene;
};

TEST_F(ClientTable, AnAnswerBeginsWithTheXmlDeclaration) {
    for (const Answer& answer : everyAnswer())
        EXPECT_THAT(answer.reply.body, StartsWith("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<CIM CIMVERSION=\"2.0\" "
                                                  "DTDVERSION=\"2.0\"><MESSAGE ID=\"4711\" PROTOCOLVERSION=\"1.0\">"
                                                  "<SIMPLERSP><IMETHODRESPONSE NAME=\""));
}

TEST_F(ClientTable, OnlyNamesWithoutKeysAndErrorsHaveTheShortForm) {
    std::set<std::string> shortForms;
    const std::regex shortForm("<([A-Z.]+)[^<>]*/>");
    for (const Answer& answer : everyAnswer()) {
        const std::string& body = answer.reply.body;
        for (std::sregex_iterator at(body.begin(), body.end(), shortForm), end; at != end; ++at)
            shortForms.insert((*at)[1]);
    }
    EXPECT_THAT(shortForms, UnorderedElementsAre("CLASSNAME", "ERROR", "INSTANCENAME"));
}

TEST_F(ClientTable, ThereAreNoCommentsNoCdataAndNoNumericReferences) {
    for (const Answer& answer : everyAnswer()) {
        EXPECT_EQ(answer.reply.body.find("<!"), std::string::npos);
        EXPECT_EQ(answer.reply.body.find("&#"), std::string::npos);
        EXPECT_EQ(answer.reply.body.find("&apos;"), std::string::npos);
        EXPECT_TRUE(diskmgt::serve::isXmlText(answer.reply.body));
    }
}

TEST_F(ClientTable, PropertiesQualifiersAndKeysHaveTypesAndPathsHaveAHost) {
    for (const Answer& answer : everyAnswer()) {
        EXPECT_EQ(answer.count("//PROPERTY[not(@TYPE)] | //PROPERTY.ARRAY[not(@TYPE)] | //QUALIFIER[not(@TYPE)]"), 0U);
        EXPECT_EQ(answer.count("//PROPERTY.REFERENCE[not(@REFERENCECLASS)]"), 0U);
        EXPECT_EQ(answer.count("//KEYVALUE[not(@VALUETYPE) or not(@TYPE)]"), 0U);
        EXPECT_EQ(answer.count("//INSTANCEPATH[not(NAMESPACEPATH/HOST)] | //CLASSPATH[not(NAMESPACEPATH/HOST)]"), 0U);
    }
}

TEST_F(ClientTable, EachOperationReturnsTheElementsThatBothClientsExpect) {
    const auto children = [&](const std::string& operation, const NamedValues& parameters) {
        const Answer answer = scene.ask(operation, parameters);
        std::set<std::string> names;
        for (const std::string& name : answer.elementsIn("//IRETURNVALUE")) names.insert(name);
        return names;
    };
    const NamedValues cls{{"ClassName", classValue("VEXSG_DiskPartition")}};
    const NamedValues drive{{"ObjectName", ServedScene::drive()}};
    EXPECT_THAT(children("EnumerateClassNames", {}), ElementsAre("CLASSNAME"));
    EXPECT_THAT(children("EnumerateClasses", {}), ElementsAre("CLASS"));
    EXPECT_THAT(children("GetClass", cls), ElementsAre("CLASS"));
    EXPECT_THAT(children("EnumerateInstanceNames", cls), ElementsAre("INSTANCENAME"));
    EXPECT_THAT(children("EnumerateInstances", cls), ElementsAre("VALUE.NAMEDINSTANCE"));
    EXPECT_THAT(children("GetInstance", {{"InstanceName", ServedScene::drive()}}), ElementsAre("INSTANCE"));
    EXPECT_THAT(children("AssociatorNames", drive), ElementsAre("OBJECTPATH"));
    EXPECT_THAT(children("ReferenceNames", drive), ElementsAre("OBJECTPATH"));
    EXPECT_THAT(children("Associators", drive), ElementsAre("VALUE.OBJECTWITHPATH"));
    EXPECT_THAT(children("References", drive), ElementsAre("VALUE.OBJECTWITHPATH"));
}

TEST_F(ClientTable, OneClientsGetClassWithShortNamespacesAndLineEnds) {
    const Answer answer = scene.askText(
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n<MESSAGE "
        "ID=\"4711\" "
        "PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"GetClass\">\n<LOCALNAMESPACEPATH>\n<NAMESPACE "
        "NAME=\"root\"/>\n<NAMESPACE NAME=\"cimv2\"/>\n</LOCALNAMESPACEPATH>\n<IPARAMVALUE "
        "NAME=\"ClassName\"><CLASSNAME NAME=\"VEXSG_DiskDrive\"/></IPARAMVALUE>\n<IPARAMVALUE "
        "NAME=\"LocalOnly\"><VALUE>FALSE</VALUE></IPARAMVALUE>\n<IPARAMVALUE "
        "NAME=\"IncludeQualifiers\"><VALUE>TRUE</VALUE></IPARAMVALUE>\n<IPARAMVALUE "
        "NAME=\"IncludeClassOrigin\"><VALUE>TRUE</VALUE></IPARAMVALUE>\n</IMETHODCALL></SIMPLEREQ>\n</MESSAGE></CIM>");
    EXPECT_EQ(answer.only("//CLASS/@NAME"), "VEXSG_DiskDrive");
    EXPECT_EQ(answer.only("//PROPERTY[@NAME='Size']/@CLASSORIGIN"), "VEXSG_DiskDrive");
}

TEST_F(ClientTable, OneClientsGetInstanceWithValueTypesAloneAndTheNameLast) {
    const Answer answer = scene.askText(requestText("GetInstance", {{"LocalOnly", plainValue("FALSE")},
                                                                    {"IncludeQualifiers", plainValue("FALSE")},
                                                                    {"IncludeClassOrigin", plainValue("TRUE")},
                                                                    {"InstanceName", ServedScene::drive()}}));
    EXPECT_EQ(answer.only("//PROPERTY[@NAME='DeviceID']/VALUE"), "/dev/sda");
}

TEST_F(ClientTable, TheOtherClientsGetInstanceOnOneLineWithTypes) {
    const Answer answer = scene.askText(
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1001\" "
        "PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"GetInstance\"><LOCALNAMESPACEPATH><NAMESPACE "
        "NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/></LOCALNAMESPACEPATH><IPARAMVALUE "
        "NAME=\"InstanceName\"><INSTANCENAME "
        "CLASSNAME=\"VEXSG_DiskDrive\"><KEYBINDING NAME=\"CreationClassName\"><KEYVALUE VALUETYPE=\"string\" "
        "TYPE=\"string\">VEXSG_DiskDrive</KEYVALUE></KEYBINDING><KEYBINDING NAME=\"DeviceID\"><KEYVALUE "
        "VALUETYPE=\"string\" TYPE=\"string\">/dev/sdb</KEYVALUE></KEYBINDING><KEYBINDING "
        "NAME=\"SystemCreationClassName\"><KEYVALUE VALUETYPE=\"string\" "
        "TYPE=\"string\">VEXSG_ComputerSystem</KEYVALUE></KEYBINDING><KEYBINDING NAME=\"SystemName\"><KEYVALUE "
        "VALUETYPE=\"string\" "
        "TYPE=\"string\">server1</KEYVALUE></KEYBINDING></INSTANCENAME></IPARAMVALUE></IMETHODCALL>"
        "</SIMPLEREQ></MESSAGE></CIM>");
    EXPECT_EQ(answer.only("//MESSAGE/@ID"), "1001");
    EXPECT_EQ(answer.only("//PROPERTY[@NAME='DeviceID']/VALUE"), "/dev/sdb");
}

TEST_F(ClientTable, AClassAsSourceComesAsAClassNameOrAsAnInstanceNameWithoutKeysAndSoDoTheAnswers) {
    const std::string name = "<INSTANCENAME CLASSNAME=\"VEXSG_DiskPartition\"></INSTANCENAME>";
    for (const char* const operation : {"AssociatorNames", "ReferenceNames"}) {
        const Answer other = scene.ask(operation, {{"ObjectName", classValue("VEXSG_DiskPartition")}});
        const Answer one = scene.ask(operation, {{"ObjectName", name}});
        EXPECT_GT(one.count("//OBJECTPATH"), 1U);
        EXPECT_EQ(one.all("//OBJECTPATH/INSTANCEPATH/INSTANCENAME/@CLASSNAME"),
                  other.all("//OBJECTPATH/CLASSPATH/CLASSNAME/@NAME"));
    }
    for (const char* const operation : {"Associators", "References"}) {
        const Answer other = scene.ask(operation, {{"ObjectName", classValue("VEXSG_DiskPartition")}});
        const Answer one = scene.ask(operation, {{"ObjectName", name}});
        EXPECT_GT(one.count("//VALUE.OBJECTWITHPATH/INSTANCEPATH"), 1U);
        EXPECT_EQ(one.all("//VALUE.OBJECTWITHPATH/INSTANCE/@CLASSNAME"),
                  other.all("//VALUE.OBJECTWITHPATH/CLASS/@NAME"));
        EXPECT_EQ(one.all("//INSTANCE/*/@NAME"), other.all("//CLASS/*/@NAME"));
        EXPECT_EQ(one.count("//VALUE | //VALUE.REFERENCE"), 0U);
    }
}

TEST_F(ClientTable, AReferenceOfAnAssociationComesWithHostAndNamespace) {
    const std::string place =
        "<NAMESPACEPATH><HOST>localhost</HOST><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"></NAMESPACE><NAMESPACE "
        "NAME=\"cimv2\"></NAMESPACE></LOCALNAMESPACEPATH></NAMESPACEPATH>";
    const auto path = [&](const std::string& name) { return "<INSTANCEPATH>" + place + name + "</INSTANCEPATH>"; };
    EXPECT_EQ(scene
                  .ask("GetInstance",
                       {{"InstanceName", diskmgt_test::pairValue("VEXSG_PartitionPresent", path(ServedScene::drive()),
                                                                 path(ServedScene::partition()))}})
                  .error(),
              "");
}

TEST_F(ClientTable, EveryIntegerIsWithinItsDeclaredType) {
    const Answer answer = scene.ask("EnumerateInstances", {{"ClassName", classValue("CIM_ManagedElement")}});
    for (const std::string& text : answer.all("//PROPERTY[@TYPE='uint16']/VALUE")) EXPECT_LE(std::stoul(text), 65535U);
    EXPECT_GT(answer.count("//PROPERTY[@TYPE='uint64']/VALUE"), 0U);
}

}  // namespace
