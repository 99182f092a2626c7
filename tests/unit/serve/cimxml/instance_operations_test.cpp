// Operations on instances, over what the plug-in publishes.
#include <gmock/gmock.h>

#include "tests/unit/serve/cimxml/served_scene.h"

namespace {

using diskmgt_test::Answer;
using diskmgt_test::classValue;
using diskmgt_test::instanceValue;
using diskmgt_test::listValue;
using diskmgt_test::NamedValues;
using diskmgt_test::plainValue;
using diskmgt_test::requestText;
using diskmgt_test::ServedScene;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CimInstances : public ::testing::Test {
protected:
    Answer enumerate(const std::string& className, NamedValues more = {}) {
        more.insert(more.begin(), {"ClassName", classValue(className)});
        return scene.ask("EnumerateInstances", more);
    }
    Answer get(const std::string& name, NamedValues more = {}) {
        more.insert(more.begin(), {"InstanceName", name});
        return scene.ask("GetInstance", more);
    }

    ServedScene scene;
};

TEST_F(CimInstances, AreNamedByAllTheirKeysWithTypes) {
    const Answer answer = scene.ask("EnumerateInstanceNames", {{"ClassName", classValue("VEXSG_DiskPartition")}});
    EXPECT_THAT(answer.devices(), ElementsAre("/dev/sda1", "/dev/sda2"));
    EXPECT_THAT(answer.all("//INSTANCENAME[1]/KEYBINDING/@NAME"),
                ElementsAre("CreationClassName", "DeviceID", "SystemCreationClassName", "SystemName"));
    EXPECT_EQ(answer.count("//KEYVALUE[@VALUETYPE='string' and @TYPE='string']"), 8U);
    EXPECT_EQ(answer.count("//KEYVALUE"), 8U);
}

TEST_F(CimInstances, ASuperclassGivesThoseOfItsSubclassesUnderTheirOwnNames) {
    const Answer devices = scene.ask("EnumerateInstanceNames", {{"ClassName", classValue("CIM_LogicalDevice")}});
    EXPECT_THAT(devices.all("//IRETURNVALUE/INSTANCENAME/@CLASSNAME"),
                ElementsAre("VEXSG_DiskDrive", "VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_DiskPartition",
                            "VEXSG_LogicalDisk", "VEXSG_LogicalDisk"));
    EXPECT_THAT(enumerate("CIM_StorageExtent").devices(),
                ElementsAre("/dev/sda1", "/dev/sda2", "/dev/sda1", "nas:/home"));
}

TEST_F(CimInstances, TheSystemThatHasTheDevicesIsOne) {
    EXPECT_EQ(enumerate("CIM_ComputerSystem").only("//INSTANCE/PROPERTY[@NAME='Name']/VALUE"), "server1");
}

TEST_F(CimInstances, AClassWithoutAnyGivesAnEmptyAnswer) {
    const Answer answer = enumerate("VEXSG_TapeDrive");
    EXPECT_EQ(answer.error(), "");
    EXPECT_NE(answer.reply.body.find("<IRETURNVALUE></IRETURNVALUE>"), std::string::npos);
}

TEST_F(CimInstances, EnumeratedOnesAreWholeByDefault) {
    const Answer answer = enumerate("CIM_GenericDiskPartition");
    const std::string first = "//VALUE.NAMEDINSTANCE[1]/INSTANCE";
    EXPECT_EQ(answer.only(first + "/@CLASSNAME"), "VEXSG_DiskPartition");
    EXPECT_EQ(answer.only(first + "/PROPERTY[@NAME='Size' and @TYPE='uint64']/VALUE"), "51200");
    EXPECT_EQ(answer.only(first + "/PROPERTY[@NAME='Bootable' and @TYPE='boolean']/VALUE"), "TRUE");
    EXPECT_EQ(answer.only(first + "/PROPERTY[@NAME='FaultTolerant']/VALUE"), "FALSE");
    EXPECT_EQ(answer.only(first + "/PROPERTY[@NAME='SystemName']/VALUE"), "server1");
    EXPECT_EQ(answer.count(first + "/PROPERTY[@NAME='Name']"), 1U);
    EXPECT_EQ(answer.count(first + "/PROPERTY[@NAME='Name']/VALUE"), 0U);
    EXPECT_EQ(answer.count(first + "/PROPERTY.ARRAY[@NAME='OtherIdentifyingInfo']"), 1U);
    EXPECT_THAT(answer.all("//@CLASSORIGIN"), IsEmpty());
    EXPECT_EQ(answer.count("//QUALIFIER"), 0U);
}

TEST_F(CimInstances, WithoutDeepInheritanceHaveWhatTheNamedClassDeclares) {
    const Answer answer = enumerate("CIM_MediaPartition", {{"DeepInheritance", plainValue("FALSE")}});
    EXPECT_EQ(answer.count("//INSTANCE"), 2U);
    EXPECT_EQ(answer.count("//INSTANCE[1]/PROPERTY[@NAME='Bootable']"), 2U);
    EXPECT_EQ(answer.count("//INSTANCE/PROPERTY[@NAME='Size']"), 0U);
}

TEST_F(CimInstances, LocalOnlyAndQualifiersChangeNothing) {
    const std::string whole = get(ServedScene::partition()).reply.body;
    for (const char* const truth : {"TRUE", "FALSE"}) {
        EXPECT_EQ(get(ServedScene::partition(), {{"LocalOnly", plainValue(truth)}}).reply.body, whole);
        EXPECT_EQ(get(ServedScene::partition(), {{"IncludeQualifiers", plainValue(truth)}}).reply.body, whole);
    }
}

TEST_F(CimInstances, AnArrayHasItsElements) {
    const Answer answer = get(ServedScene::logicalDisk());
    EXPECT_THAT(answer.all("//PROPERTY.ARRAY[@NAME='OtherIdentifyingInfo' and @TYPE='string']/VALUE.ARRAY/VALUE"),
                ElementsAre("/boot"));
}

TEST_F(CimInstances, OneIsReturnedAsAnInstanceWithoutItsName) {
    const Answer answer = get(ServedScene::drive());
    EXPECT_EQ(answer.only("//IRETURNVALUE/INSTANCE/@CLASSNAME"), "VEXSG_DiskDrive");
    EXPECT_EQ(answer.count("//INSTANCENAME"), 0U);
}

TEST_F(CimInstances, OneIsFoundByKeysInAnyOrderAndNamesInAnyCase) {
    const std::string name = instanceValue("vexsg_diskdrive", {{"SYSTEMNAME", "server1"},
                                                               {"deviceid", "/dev/sdb"},
                                                               {"creationclassname", "VEXSG_DiskDrive"},
                                                               {"SystemCreationClassName", "VEXSG_ComputerSystem"}});
    EXPECT_EQ(get(name).only("//PROPERTY[@NAME='DeviceID']/VALUE"), "/dev/sdb");
}

TEST_F(CimInstances, AKeyValueIsComparedWithCase) {
    EXPECT_EQ(get(ServedScene::device("VEXSG_DiskDrive", "/dev/SDA")).error(), "6");
}

TEST_F(CimInstances, OneIsNotFoundUnderTheNameOfItsSuperclass) {
    EXPECT_EQ(get(ServedScene::device("VEXSG_MediaAccessDevice", "/dev/sda")).error(), "6");
}

TEST_F(CimInstances, APropertyListKeepsItsPropertiesButNotTheKeysOfTheName) {
    const Answer answer = enumerate("VEXSG_DiskDrive", {{"PropertyList", listValue({"size", "Nonsense"})}});
    EXPECT_THAT(answer.all("//INSTANCE[1]/*/@NAME"), ElementsAre("Size", "Size"));
    EXPECT_EQ(answer.count("//VALUE.NAMEDINSTANCE[1]/INSTANCENAME/KEYBINDING"), 4U);
    EXPECT_EQ(get(ServedScene::drive(), {{"PropertyList", listValue({})}}).count("//INSTANCE/*"), 0U);
    EXPECT_GT(get(ServedScene::drive(), {{"PropertyList", ""}}).count("//INSTANCE/*"), 5U);
}

TEST_F(CimInstances, ClassOriginIsTheClassThatDeclaresThePropertyLast) {
    const Answer answer = get(ServedScene::partition(), {{"IncludeClassOrigin", plainValue("TRUE")}});
    EXPECT_EQ(answer.only("//PROPERTY[@NAME='Size']/@CLASSORIGIN"), "VEXSG_DiskPartition");
    EXPECT_EQ(answer.count("//PROPERTY[not(@CLASSORIGIN)]"), 0U);
}

TEST_F(CimInstances, UnknownClassesInstancesAndKeysAreErrors5And6And4) {
    EXPECT_EQ(enumerate("VEXSG_Nothing").error(), "5");
    EXPECT_EQ(scene.ask("EnumerateInstanceNames", {{"ClassName", classValue("VEXSG_Nothing")}}).error(), "5");
    EXPECT_EQ(get(instanceValue("VEXSG_Nothing", {{"DeviceID", "/dev/sda"}})).error(), "5");
    EXPECT_EQ(get(ServedScene::device("VEXSG_DiskDrive", "/dev/sdz")).error(), "6");
    EXPECT_EQ(get(instanceValue("VEXSG_DiskDrive", {{"DeviceID", "/dev/sda"}})).error(), "6");
    EXPECT_EQ(get(instanceValue("VEXSG_DiskDrive", {})).error(), "6");
    EXPECT_EQ(get(instanceValue("VEXSG_DiskDrive", {{"Size", "2097152"}})).error(), "4");
    EXPECT_EQ(get(instanceValue("VEXSG_DiskDrive", {{"DeviceID", "/dev/sda"}, {"DEVICEID", "/dev/sda"}})).error(), "4");
}

TEST_F(CimInstances, BeforeAnythingIsCollectedAreError1WithTheReason) {
    const auto early = [&](const std::string& request) {
        return Answer(diskmgt::serve::answerCim(request, scene.classes(), nullptr, "server1",
                                                "The mount /srv/nas does not answer."));
    };
    for (const std::string& request :
         {requestText("EnumerateInstances", {{"ClassName", classValue("VEXSG_DiskDrive")}}),
          requestText("EnumerateInstanceNames", {{"ClassName", classValue("VEXSG_DiskDrive")}}),
          requestText("GetInstance", {{"InstanceName", ServedScene::drive()}}),
          requestText("Associators", {{"ObjectName", ServedScene::drive()}}),
          requestText("AssociatorNames", {{"ObjectName", ServedScene::drive()}}),
          requestText("References", {{"ObjectName", ServedScene::drive()}}),
          requestText("ReferenceNames", {{"ObjectName", ServedScene::drive()}})}) {
        EXPECT_EQ(early(request).error(), "1") << request;
        EXPECT_EQ(early(request).description(), "The mount /srv/nas does not answer.");
    }
    EXPECT_EQ(early(requestText("EnumerateInstances", {{"ClassName", classValue("VEXSG_Nothing")}})).error(), "5");
    EXPECT_EQ(early(requestText("GetInstance", {{"InstanceName", instanceValue("VEXSG_Nothing", {})}})).error(), "5");
}

}  // namespace
