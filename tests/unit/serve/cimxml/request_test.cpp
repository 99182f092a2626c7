// What is not a request in CIM-XML, what is wrong in one, and which operations there are.
#include <gmock/gmock.h>

#include "serve/cimxml/xml_text.h"
#include "tests/unit/serve/cimxml/served_scene.h"

namespace {

using diskmgt::serve::CimReply;
using diskmgt_test::Answer;
using diskmgt_test::classValue;
using diskmgt_test::plainValue;
using diskmgt_test::requestText;
using diskmgt_test::ServedScene;
using ::testing::EndsWith;
using ::testing::HasSubstr;

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

std::string good() { return requestText("EnumerateClassNames", {}); }

struct RefusalCase {
    const char* label;
    std::string request;
    const char* cimError;
};
void PrintTo(const RefusalCase& row, std::ostream* out) { *out << row.label; }

class CimRefusals : public ::testing::TestWithParam<RefusalCase> {};

TEST_P(CimRefusals, AreHttp400WithAWordAndASentence) {
    const CimReply reply = diskmgt::serve::answerCim(GetParam().request, {}, nullptr, "server1", "");
    EXPECT_EQ(reply.httpStatus, 400U) << reply.body;
    EXPECT_EQ(reply.cimError, GetParam().cimError) << reply.body;
    EXPECT_EQ(reply.method, "");
    EXPECT_THAT(reply.body, EndsWith(".\n"));
}

std::string nested(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += "<A>";
    for (int i = 0; i < depth; ++i) text += "</A>";
    return text;
}

const char* const kMessage = "<MESSAGE ID=\"4711\" PROTOCOLVERSION=\"1.0\">";

INSTANTIATE_TEST_SUITE_P(
    Requests, CimRefusals,
    ::testing::Values(
        RefusalCase{"empty", "", "request-not-well-formed"}, RefusalCase{"no_xml", "hello", "request-not-well-formed"},
        RefusalCase{"cut_short", good().substr(0, 150), "request-not-well-formed"},
        RefusalCase{"wrong_end_tag", replaced(good(), "</SIMPLEREQ>", "</SIMPLE>"), "request-not-well-formed"},
        RefusalCase{"two_roots", good() + "<CIM/>", "request-not-well-formed"},
        RefusalCase{"not_utf8", replaced(good(), "4711", "47\xFF"), "request-not-well-formed"},
        RefusalCase{"control_character", replaced(good(), "4711", "47\x01"), "request-not-well-formed"},
        RefusalCase{"zero_byte", good() + std::string(1, '\0'), "request-not-well-formed"},
        RefusalCase{"dtd", replaced(good(), "<CIM ", "<!DOCTYPE CIM><CIM "), "request-not-valid"},
        RefusalCase{
            "entity_bomb",
            replaced(good(), "<CIM ",
                     "<!DOCTYPE CIM [<!ENTITY a \"xxxxxxxxxx\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">]><CIM "),
            "request-not-valid"},
        RefusalCase{"deep", replaced(good(), kMessage, kMessage + nested(40)), "request-not-valid"},
        RefusalCase{"very_deep", nested(5000), "request-not-valid"},
        RefusalCase{"another_document", "<html><body/></html>", "request-not-valid"},
        RefusalCase{"a_response",
                    "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" "
                    "PROTOCOLVERSION=\"1.0\"><SIMPLERSP/></MESSAGE></CIM>",
                    "request-not-valid"},
        RefusalCase{"an_indication",
                    "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" "
                    "PROTOCOLVERSION=\"1.0\"><SIMPLEEXPREQ/></MESSAGE></CIM>",
                    "request-not-valid"},
        RefusalCase{"no_message_id", replaced(good(), " ID=\"4711\"", ""), "request-not-valid"},
        RefusalCase{"no_operation_name", replaced(good(), " NAME=\"EnumerateClassNames\"", ""), "request-not-valid"},
        RefusalCase{"no_namespace_path",
                    "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ>"
                    "<IMETHODCALL NAME=\"GetClass\"></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>",
                    "request-not-valid"},
        RefusalCase{"a_parameter_of_another_kind", replaced(good(), "</IMETHODCALL>", "<PARAMVALUE/></IMETHODCALL>"),
                    "request-not-valid"},
        RefusalCase{"a_parameter_without_a_name", requestText("GetClass", {{"", classValue("A")}}),
                    "request-not-valid"},
        RefusalCase{"a_parameter_with_two_values",
                    requestText("GetClass", {{"ClassName", classValue("A") + classValue("B")}}), "request-not-valid"},
        RefusalCase{"markup_in_a_value", requestText("GetClass", {{"LocalOnly", "<VALUE><B/></VALUE>"}}),
                    "request-not-valid"},
        RefusalCase{"unknown_value_type",
                    requestText("GetInstance", {{"InstanceName",
                                                 "<INSTANCENAME CLASSNAME=\"A\"><KEYBINDING NAME=\"k\"><KEYVALUE "
                                                 "VALUETYPE=\"colour\">red</KEYVALUE></KEYBINDING></INSTANCENAME>"}}),
                    "request-not-valid"},
        RefusalCase{"several_requests",
                    "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><MULTIREQ/>"
                    "</MESSAGE></CIM>",
                    "multiple-requests-unsupported"},
        RefusalCase{"cim_version", replaced(good(), "CIMVERSION=\"2.0\"", "CIMVERSION=\"3.0\""),
                    "unsupported-cim-version"},
        RefusalCase{"dtd_version", replaced(good(), "DTDVERSION=\"2.0\"", "DTDVERSION=\"1.1\""),
                    "unsupported-dtd-version"},
        RefusalCase{"protocol_version", replaced(good(), "PROTOCOLVERSION=\"1.0\"", "PROTOCOLVERSION=\"2.0\""),
                    "unsupported-protocol-version"}),
    [](const auto& row) { return row.param.label; });

class CimRequests : public ::testing::Test {
protected:
    ServedScene scene;
};

TEST_F(CimRequests, MayBe32ElementsDeep) {
    const std::string open = "<INSTANCENAME CLASSNAME=\"VEXSG_MediaPresent\"><KEYBINDING NAME=\"Antecedent\">";
    const std::string close = "</KEYBINDING></INSTANCENAME>";
    const auto nestedAt = [&](int depth, std::string name) {
        for (; depth > 6; depth -= 3) name = open + "<VALUE.REFERENCE>" + name + "</VALUE.REFERENCE>" + close;
        EXPECT_EQ(depth, 6);  // the name's own
        return scene.ask("GetInstance", {{"InstanceName", name}});
    };
    EXPECT_EQ(nestedAt(30, open + "<KEYVALUE>x</KEYVALUE>" + close).error(), "6");
    const Answer deeper = nestedAt(33, "<INSTANCENAME CLASSNAME=\"VEXSG_MediaPresent\"/>");
    EXPECT_EQ(deeper.reply.httpStatus, 400U);
    EXPECT_EQ(deeper.reply.body, "The request has elements deeper than 32.\n");
}

TEST_F(CimRequests, LaterMinorVersionsAreTaken) {
    std::string request = replaced(good(), "CIMVERSION=\"2.0\"", "CIMVERSION=\"2.1\"");
    request = replaced(request, "DTDVERSION=\"2.0\"", "DTDVERSION=\"2.4\"");
    request = replaced(request, "PROTOCOLVERSION=\"1.0\"", "PROTOCOLVERSION=\"1.4\"");
    EXPECT_EQ(scene.askText(request).error(), "");
}

TEST_F(CimRequests, MayHaveAMarkCommentsAndCdata) {
    const std::string request =
        "\xEF\xBB\xBF" + requestText("EnumerateClassNames",
                                     {{"ClassName", classValue("VEXSG_MediaAccessDevice")},
                                      {"DeepInheritance", "<!-- why? --><VALUE><![CDATA[TR]]><!-- b -->UE</VALUE>"}});
    EXPECT_EQ(scene.askText(request).count("//CLASSNAME"), 5U);
}

TEST_F(CimRequests, AreAnsweredWithTheirMessageIdAndOperation) {
    const Answer answer = scene.askText(replaced(good(), "4711", "a&amp;b"));
    EXPECT_EQ(answer.only("//MESSAGE/@ID"), "a&b");
    EXPECT_EQ(answer.only("//MESSAGE/@PROTOCOLVERSION"), "1.0");
    EXPECT_EQ(answer.only("//IMETHODRESPONSE/@NAME"), "EnumerateClassNames");
    EXPECT_EQ(answer.reply.method, "EnumerateClassNames");
    EXPECT_EQ(answer.reply.cimError, "");
}

TEST_F(CimRequests, TheNamespaceIsFoundWithoutCaseAndAnotherIsError3) {
    const auto ask = [&](const std::string& nameSpace) {
        return scene.askText(requestText("EnumerateClassNames", {}, nameSpace));
    };
    EXPECT_EQ(ask("Root/CIMv2").error(), "");
    for (const char* const other : {"interop", "root", "root/cimv2/x", "root/interop", ""})
        EXPECT_EQ(ask(other).error(), "3") << other;
    EXPECT_THAT(ask("interop").description(), HasSubstr("\"interop\""));
}

TEST_F(CimRequests, ObjectsOfAnotherNamespaceAreError3) {
    const std::string place = "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"interop\"/></LOCALNAMESPACEPATH>";
    const std::string drive = "<LOCALINSTANCEPATH>" + place + ServedScene::drive() + "</LOCALINSTANCEPATH>";
    EXPECT_EQ(scene.ask("GetInstance", {{"InstanceName", drive}}).error(), "3");
    EXPECT_EQ(scene.ask("AssociatorNames", {{"ObjectName", drive}}).error(), "3");
    const std::string cls = "<LOCALCLASSPATH>" + place + classValue("VEXSG_DiskDrive") + "</LOCALCLASSPATH>";
    EXPECT_EQ(scene.ask("GetClass", {{"ClassName", cls}}).error(), "3");
}

TEST_F(CimRequests, ObjectsMayHaveHostAndNamespace) {
    const std::string place =
        "<NAMESPACEPATH><HOST>anything</HOST><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE "
        "NAME=\"cimv2\"/></LOCALNAMESPACEPATH></NAMESPACEPATH>";
    const std::string drive = "<INSTANCEPATH>" + place + ServedScene::drive() + "</INSTANCEPATH>";
    EXPECT_EQ(scene.ask("GetInstance", {{"InstanceName", drive}}).error(), "");
    EXPECT_EQ(
        scene.ask("AssociatorNames", {{"ObjectName", "<VALUE.REFERENCE>" + drive + "</VALUE.REFERENCE>"}}).error(), "");
    const std::string cls = "<CLASSPATH>" + place + classValue("VEXSG_DiskDrive") + "</CLASSPATH>";
    EXPECT_EQ(scene.ask("GetClass", {{"ClassName", cls}}).error(), "");
}

TEST_F(CimRequests, OperationsThatAreNotOfferedAreError7) {
    for (const char* const operation :
         {"OpenEnumerateInstances", "OpenEnumerateInstancePaths", "OpenAssociatorInstances", "PullInstancesWithPath",
          "CloseEnumeration", "CreateInstance", "ModifyInstance", "DeleteInstance", "GetProperty",
          "EnumerateQualifiers", "ExecQuery"}) {
        const Answer answer = scene.ask(operation, {{"ClassName", classValue("VEXSG_DiskDrive")}});
        EXPECT_EQ(answer.error(), "7");
        EXPECT_EQ(answer.description(), std::string("\"") + operation + "\" is not offered here.");
        EXPECT_EQ(answer.only("//IMETHODRESPONSE/@NAME"), operation);
    }
    const Answer unknown = scene.ask("MakeCoffee", {});
    EXPECT_EQ(unknown.error(), "7");
    EXPECT_EQ(unknown.description(), "\"MakeCoffee\" is not an operation of CIM.");
}

TEST_F(CimRequests, AnOperationThatIsNotOfferedMayCarryAnything) {
    EXPECT_EQ(
        scene.ask("CreateInstance", {{"NewInstance", "<INSTANCE CLASSNAME=\"A\"><PROPERTY/></INSTANCE>"}}).error(),
        "7");
}

TEST_F(CimRequests, AMethodOfAClassIsError7WhateverItsName) {
    for (const std::string name : {"Reset", "GetClass"}) {
        const Answer answer = scene.askText(
            "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" "
            "PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><METHODCALL "
            "NAME=\"" +
            name + "\"><LOCALCLASSPATH/></METHODCALL></SIMPLEREQ></MESSAGE></CIM>");
        EXPECT_EQ(answer.error(), "7");
        EXPECT_EQ(answer.only("//METHODRESPONSE/@NAME"), name);
    }
}

TEST_F(CimRequests, WrongParametersAreError4) {
    const auto get = [&](const diskmgt_test::NamedValues& parameters) {
        return scene.ask("GetClass", parameters).error();
    };
    const auto cls = std::pair<std::string, std::string>("ClassName", classValue("VEXSG_DiskDrive"));
    EXPECT_EQ(get({}), "4");
    EXPECT_EQ(get({{"ClassName", ""}}), "4");
    EXPECT_EQ(get({{"ClassName", classValue("")}}), "4");
    EXPECT_EQ(get({{"ClassName", plainValue("VEXSG_DiskDrive")}}), "4");
    EXPECT_EQ(get({{"ClassName", ServedScene::drive()}}), "4");
    EXPECT_EQ(get({cls, {"Colour", plainValue("red")}}), "4");
    EXPECT_EQ(get({cls, {"classname", classValue("VEXSG_DiskDrive")}}), "4");
    EXPECT_EQ(get({cls, {"LocalOnly", plainValue("perhaps")}}), "4");
    EXPECT_EQ(get({cls, {"LocalOnly", diskmgt_test::listValue({"TRUE"})}}), "4");
    EXPECT_EQ(get({cls, {"PropertyList", plainValue("Size")}}), "4");
    EXPECT_EQ(get({cls, {"LocalOnly", "<QUALIFIER.DECLARATION/>"}}), "4");
    EXPECT_EQ(scene.ask("GetInstance", {{"InstanceName", classValue("VEXSG_DiskDrive")}}).error(), "4");
    EXPECT_EQ(scene.ask("GetInstance", {}).error(), "4");
    EXPECT_EQ(scene.ask("EnumerateInstances", {cls, {"LocalOnly", plainValue("1")}}).error(), "4");
    EXPECT_EQ(scene.ask("Associators", {{"ObjectName", ServedScene::drive()}, {"Role", classValue("A")}}).error(), "4");
}

TEST_F(CimRequests, NullParametersCountAsAbsent) {
    EXPECT_EQ(scene.ask("EnumerateClassNames", {{"ClassName", ""}, {"DeepInheritance", ""}}).count("//CLASSNAME"), 2U);
    EXPECT_EQ(scene.ask("EnumerateClassNames", {{"ClassName", classValue("")}}).count("//CLASSNAME"), 2U);
}

TEST_F(CimRequests, TextOfAClientInADescriptionIsHarmless) {
    const Answer answer = scene.ask("GetClass", {{"ClassName", "<CLASSNAME NAME=\"a&quot;&lt;b&gt;&#7;&#x202e;\"/>"}});
    EXPECT_EQ(answer.error(), "5");
    EXPECT_TRUE(diskmgt::serve::isXmlText(answer.reply.body));
    EXPECT_EQ(answer.description(), "There is no class \"a\"<b>\\x07\\xe2\\x80\\xae\".");
    EXPECT_LT(scene.ask("GetClass", {{"ClassName", classValue(std::string(5000, 'x'))}}).reply.body.size(), 1000U);
}

TEST_F(CimRequests, AreCutAtEveryLengthWithoutHarm) {
    const std::string request = requestText("GetInstance", {{"InstanceName", ServedScene::drive()}});
    for (std::size_t length = 0; length < request.size(); ++length)
        EXPECT_EQ(scene.askText(request.substr(0, length)).reply.httpStatus, 400U) << length;
}

}  // namespace
