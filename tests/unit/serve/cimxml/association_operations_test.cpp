// Following associations, from an instance and between classes.
#include <gmock/gmock.h>

#include "tests/unit/serve/cimxml/served_scene.h"

namespace {

using diskmgt_test::Answer;
using diskmgt_test::classValue;
using diskmgt_test::instanceValue;
using diskmgt_test::listValue;
using diskmgt_test::NamedValues;
using diskmgt_test::pairValue;
using diskmgt_test::plainValue;
using diskmgt_test::ServedScene;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CimAssociations : public ::testing::Test {
protected:
    Answer ask(const std::string& operation, const std::string& source, NamedValues more = {}) {
        more.insert(more.begin(), {"ObjectName", source});
        return scene.ask(operation, more);
    }
    /// Class and device of what is associated: "VEXSG_DiskPartition /dev/sda1".
    std::vector<std::string> associated(const std::string& source, const NamedValues& filters = {}) {
        const Answer answer = ask("AssociatorNames", source, filters);
        EXPECT_EQ(answer.error(), "") << answer.description();
        std::vector<std::string> names = answer.all("//INSTANCEPATH/INSTANCENAME/@CLASSNAME");
        const auto devices = answer.devices();
        for (std::size_t i = 0; i < names.size(); ++i) names[i] += " " + devices.at(i);
        return names;
    }
    std::vector<std::string> referring(const std::string& source, const NamedValues& filters = {}) {
        return ask("ReferenceNames", source, filters).all("//OBJECTPATH/INSTANCEPATH/INSTANCENAME/@CLASSNAME");
    }
    std::vector<std::string> classNames(const std::string& operation, const std::string& source,
                                        const NamedValues& filters = {}) {
        const Answer answer = ask(operation, source, filters);
        EXPECT_EQ(answer.count("//OBJECTPATH/CLASSPATH/NAMESPACEPATH/HOST"), answer.count("//CLASSNAME"));
        return answer.all("//OBJECTPATH/CLASSPATH/CLASSNAME/@NAME");
    }

    ServedScene scene;
    const std::string drive = ServedScene::drive();
    const std::string partition = ServedScene::partition();
    const std::string logicalDisk = ServedScene::logicalDisk();
};

TEST_F(CimAssociations, ADriveWithTwoPartitionsAndAFileSystemHasThree) {
    EXPECT_THAT(associated(drive), ElementsAre("VEXSG_LogicalDisk /dev/sda1", "VEXSG_DiskPartition /dev/sda1",
                                               "VEXSG_DiskPartition /dev/sda2"));
    EXPECT_THAT(associated(ServedScene::device("VEXSG_DiskDrive", "/dev/sdb")), IsEmpty());
}

TEST_F(CimAssociations, ArePathsWithHostAndNamespace) {
    const Answer answer = ask("AssociatorNames", ServedScene::device("VEXSG_DiskPartition", "/dev/sda2"));
    EXPECT_EQ(answer.only("//IRETURNVALUE/OBJECTPATH/INSTANCEPATH/NAMESPACEPATH/HOST"), "server1");
    EXPECT_THAT(answer.all("//NAMESPACEPATH/LOCALNAMESPACEPATH/NAMESPACE/@NAME"), ElementsAre("root", "cimv2"));
    EXPECT_THAT(answer.devices(), ElementsAre("/dev/sda"));
}

TEST_F(CimAssociations, AreFilteredByTheClassOfTheAssociationAndItsSuperclasses) {
    EXPECT_THAT(associated(drive, {{"AssocClass", classValue("vexsg_mediapresent")}}),
                ElementsAre("VEXSG_LogicalDisk /dev/sda1"));
    EXPECT_EQ(associated(drive, {{"AssocClass", classValue("CIM_MediaPresent")}}).size(), 3U);
    EXPECT_THAT(associated(drive, {{"AssocClass", classValue("CIM_BasedOn")}}), IsEmpty());
    EXPECT_THAT(associated(partition, {{"AssocClass", classValue("CIM_BasedOn")}}),
                ElementsAre("VEXSG_LogicalDisk /dev/sda1"));
}

TEST_F(CimAssociations, AreFilteredByTheClassAtTheFarEndAndItsSuperclasses) {
    EXPECT_THAT(associated(drive, {{"ResultClass", classValue("VEXSG_LogicalDisk")}}),
                ElementsAre("VEXSG_LogicalDisk /dev/sda1"));
    EXPECT_EQ(associated(drive, {{"ResultClass", classValue("CIM_StorageExtent")}}).size(), 3U);
    EXPECT_THAT(associated(drive, {{"ResultClass", classValue("VEXSG_DiskDrive")}}), IsEmpty());
}

TEST_F(CimAssociations, AreFilteredByRolesInAnyCase) {
    EXPECT_EQ(associated(drive, {{"Role", plainValue("antecedent")}}).size(), 3U);
    EXPECT_THAT(associated(drive, {{"Role", plainValue("Dependent")}}), IsEmpty());
    EXPECT_THAT(associated(partition, {{"Role", plainValue("Dependent")}}), ElementsAre("VEXSG_DiskDrive /dev/sda"));
    EXPECT_THAT(associated(partition, {{"ResultRole", plainValue("DEPENDENT")}}),
                ElementsAre("VEXSG_LogicalDisk /dev/sda1"));
    EXPECT_THAT(associated(partition, {{"Role", plainValue("NoSuchRole")}}), IsEmpty());
}

TEST_F(CimAssociations, FiltersCombine) {
    EXPECT_THAT(associated(partition, {{"AssocClass", classValue("VEXSG_PartitionPresent")},
                                       {"ResultClass", classValue("CIM_MediaAccessDevice")},
                                       {"Role", plainValue("Dependent")},
                                       {"ResultRole", plainValue("Antecedent")}}),
                ElementsAre("VEXSG_DiskDrive /dev/sda"));
}

TEST_F(CimAssociations, WholeInstancesComeWithTheirPaths) {
    const Answer answer = ask("Associators", logicalDisk,
                              {{"PropertyList", listValue({"Size"})}, {"IncludeClassOrigin", plainValue("TRUE")}});
    EXPECT_THAT(answer.all("//VALUE.OBJECTWITHPATH/INSTANCEPATH/INSTANCENAME/@CLASSNAME"),
                ElementsAre("VEXSG_DiskDrive", "VEXSG_DiskPartition"));
    EXPECT_THAT(answer.all("//VALUE.OBJECTWITHPATH/INSTANCE/PROPERTY/@NAME"), ElementsAre("Size", "Size"));
    EXPECT_THAT(answer.all("//PROPERTY/@CLASSORIGIN"), ElementsAre("VEXSG_DiskDrive", "VEXSG_DiskPartition"));
}

TEST_F(CimAssociations, ReferencesAreTheAssociationInstances) {
    EXPECT_THAT(referring(drive),
                ElementsAre("VEXSG_MediaPresent", "VEXSG_PartitionPresent", "VEXSG_PartitionPresent"));
    EXPECT_THAT(referring(drive, {{"ResultClass", classValue("VEXSG_MediaPresent")}}),
                ElementsAre("VEXSG_MediaPresent"));
    EXPECT_EQ(referring(drive, {{"ResultClass", classValue("CIM_Dependency")}}).size(), 3U);
    EXPECT_THAT(referring(drive, {{"Role", plainValue("Dependent")}}), IsEmpty());
    const Answer answer = ask("References", ServedScene::device("VEXSG_DiskPartition", "/dev/sda2"));
    EXPECT_THAT(answer.all("//VALUE.OBJECTWITHPATH/INSTANCE/PROPERTY.REFERENCE/@REFERENCECLASS"),
                ElementsAre("VEXSG_MediaAccessDevice", "VEXSG_DiskPartition"));
    EXPECT_EQ(answer.only("//INSTANCE/PROPERTY.REFERENCE[@NAME='Antecedent']/VALUE.REFERENCE/LOCALINSTANCEPATH/"
                          "INSTANCENAME/KEYBINDING[@NAME='DeviceID']/KEYVALUE"),
              "/dev/sda");
}

TEST_F(CimAssociations, AnAssociationInstanceIsFoundByItsReferences) {
    const Answer answer =
        scene.ask("GetInstance", {{"InstanceName", pairValue("VEXSG_PartitionPresent", drive, partition)}});
    EXPECT_EQ(answer.only("//INSTANCE/@CLASSNAME"), "VEXSG_PartitionPresent") << answer.description();
    EXPECT_EQ(
        scene.ask("GetInstance", {{"InstanceName", pairValue("VEXSG_PartitionPresent", partition, drive)}}).error(),
        "6");
}

TEST_F(CimAssociations, ClassesAreThoseThatReferencesMayPointAt) {
    const std::vector<std::string> beneathDrive{"CIM_ManagedElement", "CIM_StorageExtent", "VEXSG_LogicalDisk",
                                                "VEXSG_DiskPartition", "VEXSG_DynamicDiskGroup"};
    EXPECT_THAT(classNames("AssociatorNames", classValue("VEXSG_DiskDrive")),
                ::testing::ElementsAreArray(beneathDrive));
    EXPECT_THAT(classNames("AssociatorNames", classValue("VEXSG_DiskDrive"),
                           {{"AssocClass", classValue("VEXSG_MediaPresent")}}),
                ElementsAre("VEXSG_LogicalDisk"));
    EXPECT_THAT(classNames("AssociatorNames", classValue("VEXSG_DiskDrive"), {{"Role", plainValue("Dependent")}}),
                ElementsAre("CIM_ManagedElement"));
    EXPECT_THAT(
        classNames("AssociatorNames", classValue("VEXSG_DiskDrive"), {{"ResultClass", classValue("CIM_LogicalDisk")}}),
        ElementsAre("VEXSG_LogicalDisk"));
}

TEST_F(CimAssociations, ClassesThatReferToAClass) {
    EXPECT_THAT(
        classNames("ReferenceNames", classValue("VEXSG_DiskDrive"), {{"ResultClass", classValue("CIM_MediaPresent")}}),
        ElementsAre("CIM_MediaPresent", "VEXSG_MediaPresent", "VEXSG_PartitionPresent"));
    EXPECT_THAT(classNames("ReferenceNames", classValue("CIM_ManagedElement")), ElementsAre("CIM_Dependency"));
}

TEST_F(CimAssociations, WholeClassesHaveQualifiersOnlyWhenAskedFor) {
    for (const char* const operation : {"Associators", "References"}) {
        const Answer answer = ask(operation, classValue("VEXSG_DiskPartition"));
        EXPECT_GT(answer.count("//VALUE.OBJECTWITHPATH/CLASS/*"), 2U);
        EXPECT_EQ(answer.count("//QUALIFIER"), 0U);
        EXPECT_GT(ask(operation, classValue("VEXSG_DiskPartition"), {{"IncludeQualifiers", plainValue("TRUE")}})
                      .count("//QUALIFIER"),
                  2U);
    }
}

TEST_F(CimAssociations, WholeClassesHaveInheritedPropertiesToo) {
    EXPECT_GT(ask("Associators", classValue("VEXSG_DiskPartition")).count("//CLASS/*[@PROPAGATED]"), 0U);
}

TEST_F(CimAssociations, UnknownSourcesAreErrors5And6AndUnknownFiltersError4) {
    for (const char* const operation : {"Associators", "AssociatorNames", "References", "ReferenceNames"}) {
        EXPECT_EQ(ask(operation, classValue("VEXSG_Nothing")).error(), "5");
        EXPECT_EQ(ask(operation, instanceValue("VEXSG_Nothing", {{"DeviceID", "x"}})).error(), "5");
        EXPECT_EQ(ask(operation, ServedScene::device("VEXSG_DiskDrive", "/dev/sdz")).error(), "6");
        EXPECT_EQ(ask(operation, drive, {{"ResultClass", classValue("VEXSG_Nothing")}}).error(), "4");
        EXPECT_EQ(scene.ask(operation, {}).error(), "4");
        EXPECT_EQ(ask(operation, plainValue("VEXSG_DiskDrive")).error(), "4");
    }
    EXPECT_EQ(ask("AssociatorNames", drive, {{"AssocClass", classValue("VEXSG_Nothing")}}).error(), "4");
    EXPECT_EQ(ask("ReferenceNames", drive, {{"AssocClass", classValue("CIM_Dependency")}}).error(), "4");
}

}  // namespace
