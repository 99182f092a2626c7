// Operations on classes, over the real schema.
#include <gmock/gmock.h>

#include "tests/unit/serve/cimxml/served_scene.h"

namespace {

using diskmgt_test::Answer;
using diskmgt_test::classValue;
using diskmgt_test::listValue;
using diskmgt_test::NamedValues;
using diskmgt_test::plainValue;
using diskmgt_test::ServedScene;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class CimClasses : public ::testing::Test {
protected:
    Answer getClass(const std::string& name, NamedValues more = {}) {
        more.insert(more.begin(), {"ClassName", classValue(name)});
        return scene.ask("GetClass", more);
    }

    ServedScene scene;
};

TEST_F(CimClasses, WithoutParametersOnlyTheRootsAreNamed) {
    EXPECT_THAT(scene.ask("EnumerateClassNames", {}).all("//IRETURNVALUE/CLASSNAME/@NAME"),
                ElementsAre("CIM_ManagedElement", "CIM_Dependency"));
}

TEST_F(CimClasses, DeepInheritanceNamesEveryClassOnce) {
    std::vector<std::string> declared;
    for (const auto& declaration : scene.classes()) declared.push_back(declaration.name);
    EXPECT_THAT(scene.ask("EnumerateClassNames", {{"DeepInheritance", plainValue("TRUE")}}).all("//CLASSNAME/@NAME"),
                ElementsAreArray(declared));
}

TEST_F(CimClasses, ANamedClassGivesThoseRightBeneathIt) {
    EXPECT_THAT(
        scene.ask("EnumerateClassNames", {{"ClassName", classValue("CIM_StorageExtent")}}).all("//CLASSNAME/@NAME"),
        ElementsAre("CIM_MediaPartition", "CIM_LogicalDisk", "VEXSG_DynamicExtent"));
}

TEST_F(CimClasses, ANamedClassWithDeepInheritanceGivesAllBeneathItWithoutItself) {
    EXPECT_THAT(scene
                    .ask("EnumerateClassNames",
                         {{"ClassName", classValue("CIM_MediaPartition")}, {"DeepInheritance", plainValue("true")}})
                    .all("//CLASSNAME/@NAME"),
                ElementsAre("CIM_GenericDiskPartition", "VEXSG_DiskPartition"));
}

TEST_F(CimClasses, AClassWithoutAnyBeneathItGivesAnEmptyAnswer) {
    const Answer answer = scene.ask("EnumerateClassNames", {{"ClassName", classValue("VEXSG_DiskDrive")}});
    EXPECT_EQ(answer.error(), "");
    EXPECT_NE(answer.reply.body.find("<IRETURNVALUE></IRETURNVALUE>"), std::string::npos);
}

TEST_F(CimClasses, EnumeratedClassesHaveByDefaultOnlyWhatIsTheirOwnAndQualifiers) {
    const Answer answer = scene.ask("EnumerateClasses", {{"ClassName", classValue("CIM_LogicalElement")}});
    EXPECT_THAT(answer.all("//CLASS/@NAME"), ElementsAre("CIM_System", "CIM_LogicalDevice"));
    EXPECT_THAT(answer.all("//CLASS[@NAME='CIM_System']/PROPERTY/@NAME"), ElementsAre("CreationClassName", "Name"));
    EXPECT_EQ(answer.only("//CLASS[@NAME='CIM_System']/QUALIFIER[@NAME='Abstract']/VALUE"), "TRUE");
    EXPECT_THAT(answer.all("//@CLASSORIGIN"), IsEmpty());
    EXPECT_THAT(answer.all("//@PROPAGATED"), IsEmpty());
}

TEST_F(CimClasses, WithoutLocalOnlyInheritedPropertiesAreThereAndMarked) {
    const Answer answer =
        getClass("VEXSG_LogicalDisk", {{"LocalOnly", plainValue("FALSE")}, {"IncludeClassOrigin", plainValue("TRUE")}});
    EXPECT_EQ(answer.only("//CLASS/@SUPERCLASS"), "CIM_LogicalDisk");
    EXPECT_EQ(answer.only("//PROPERTY[@NAME='FreeSpace']/@CLASSORIGIN"), "VEXSG_LogicalDisk");
    EXPECT_EQ(answer.only("//PROPERTY[@NAME='FreeSpace']/@TYPE"), "uint64");
    EXPECT_EQ(answer.count("//PROPERTY[@NAME='FreeSpace']/@PROPAGATED"), 0U);
    EXPECT_EQ(answer.only("//PROPERTY.ARRAY[@NAME='OtherIdentifyingInfo']/@TYPE"), "string");
    const Answer plain =
        getClass("CIM_LogicalDisk", {{"LocalOnly", plainValue("FALSE")}, {"IncludeClassOrigin", plainValue("TRUE")}});
    EXPECT_EQ(plain.only("//PROPERTY[@NAME='DeviceID']/@CLASSORIGIN"), "CIM_LogicalDevice");
    EXPECT_EQ(plain.only("//PROPERTY[@NAME='DeviceID']/@PROPAGATED"), "true");
}

TEST_F(CimClasses, LocalOnlyIsTheDefaultOfGetClass) {
    EXPECT_THAT(getClass("CIM_MediaPartition").all("//PROPERTY/@NAME"), ElementsAre("Bootable"));
    EXPECT_THAT(getClass("CIM_LogicalDisk").all("//PROPERTY/@NAME"), IsEmpty());
}

TEST_F(CimClasses, HaveTheQualifiersOfTheirDeclaration) {
    const Answer partition = getClass("VEXSG_DiskPartition");
    EXPECT_EQ(partition.only("//CLASS/QUALIFIER[@NAME='Version']/VALUE"), "1.0.0");
    EXPECT_EQ(partition.only("//PROPERTY[@NAME='Size']/QUALIFIER[@NAME='PUnit']/VALUE"), "byte");
    EXPECT_EQ(partition.only("//PROPERTY[@NAME='DeviceID']/QUALIFIER[@NAME='Key']/VALUE"), "TRUE");
    EXPECT_EQ(partition.only("//PROPERTY[@NAME='DeviceID']/QUALIFIER[@NAME='Override']/VALUE"), "DeviceID");
    EXPECT_EQ(partition.count("//PROPERTY[@NAME='Size']/QUALIFIER[@NAME='Override']"), 0U);
    EXPECT_EQ(partition.only("//PROPERTY[@NAME='FaultTolerant']/QUALIFIER[@NAME='Description']/VALUE"),
              "Always false, also on a RAID.");
    const auto numbers =
        partition.all("//PROPERTY[@NAME='PartitionType']/QUALIFIER[@NAME='ValueMap']/VALUE.ARRAY/VALUE");
    const auto names = partition.all("//PROPERTY[@NAME='PartitionType']/QUALIFIER[@NAME='Values']/VALUE.ARRAY/VALUE");
    ASSERT_EQ(numbers.size(), 18U);
    ASSERT_EQ(names.size(), 18U);
    EXPECT_EQ(numbers.back() + " " + names.back(), "19 VMFS");
    EXPECT_EQ(partition.count("//QUALIFIER[not(@TYPE)]"), 0U);
}

TEST_F(CimClasses, AnAssociationSaysSoAndWhereItsReferencesPoint) {
    const Answer answer = getClass("VEXSG_MediaPresent");
    EXPECT_EQ(answer.only("//CLASS/QUALIFIER[@NAME='Association']/VALUE"), "TRUE");
    EXPECT_THAT(answer.all("//PROPERTY.REFERENCE/@REFERENCECLASS"),
                ElementsAre("VEXSG_MediaAccessDevice", "VEXSG_LogicalDisk"));
    EXPECT_EQ(getClass("VEXSG_DiskDrive").count("//CLASS/QUALIFIER[@NAME='Association']"), 0U);
}

TEST_F(CimClasses, WithoutQualifiersHaveNone) {
    EXPECT_EQ(getClass("VEXSG_DiskPartition", {{"IncludeQualifiers", plainValue("FALSE")}}).count("//QUALIFIER"), 0U);
}

TEST_F(CimClasses, APropertyListKeepsItsPropertiesInAnyCase) {
    EXPECT_THAT(getClass("VEXSG_DiskPartition", {{"PropertyList", listValue({"SIZE", "NoSuchThing", "deviceid"})}})
                    .all("//PROPERTY/@NAME"),
                ElementsAre("Size", "DeviceID"));
    EXPECT_EQ(getClass("VEXSG_DiskPartition", {{"PropertyList", listValue({})}}).count("//PROPERTY"), 0U);
}

TEST_F(CimClasses, AreFoundWithoutCase) {
    EXPECT_EQ(getClass("vexsg_DISKDRIVE").only("//CLASS/@NAME"), "VEXSG_DiskDrive");
    EXPECT_THAT(
        scene.ask("enumerateclassnames", {{"CLASSNAME", classValue("cim_logicaldisk")}}).all("//CLASSNAME/@NAME"),
        ElementsAre("VEXSG_LogicalDisk"));
}

TEST_F(CimClasses, OneThatIsNotThereIsError5) {
    for (const char* const operation : {"EnumerateClassNames", "EnumerateClasses", "GetClass"})
        EXPECT_EQ(scene.ask(operation, {{"ClassName", classValue("VEXSG_Nothing")}}).error(), "5") << operation;
}

TEST_F(CimClasses, AreKnownBeforeAnythingIsCollected) {
    const Answer answer(
        diskmgt::serve::answerCim(diskmgt_test::requestText("GetClass", {{"ClassName", classValue("VEXSG_DiskDrive")}}),
                                  scene.classes(), nullptr, "server1", "Still collecting."));
    EXPECT_EQ(answer.only("//CLASS/@NAME"), "VEXSG_DiskDrive");
    const Answer associated(diskmgt::serve::answerCim(
        diskmgt_test::requestText("ReferenceNames", {{"ObjectName", classValue("VEXSG_DiskDrive")}}), scene.classes(),
        nullptr, "server1", "Still collecting."));
    EXPECT_GT(associated.count("//CLASSPATH"), 0U);
}

}  // namespace
