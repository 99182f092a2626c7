// Classes resolved from MOF: inheritance, qualifiers, and what is refused. Then the schema built into the host.
#include "refhost/schema/schema.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "plugin/host/tal_exception.h"
#include "refhost/schema/mof_parser.h"

namespace {

using refhost::ClassDeclaration;
using refhost::PropertyDeclaration;
using refhost::Schema;

const std::string kQualifiers =
    "Qualifier Key : boolean = false, Scope(any); Qualifier Abstract : boolean = false, Scope(any);"
    "Qualifier Association : boolean = false, Scope(any); Qualifier Override : string, Scope(any);"
    "Qualifier Description : string, Scope(any); Qualifier Version : string, Scope(any);"
    "Qualifier PUnit : string, Scope(any); Qualifier ValueMap : string[], Scope(any);"
    "Qualifier Values : string[], Scope(any);\n";

/// The classes of `text`, whose first line is line 2.
std::vector<ClassDeclaration> classesOf(const std::string& text) {
    return Schema({refhost::parseMof(kQualifiers + text, "t.mof")}).classes();
}

std::string refusalOf(const std::string& text) {
    try {
        (void)classesOf(text);
    } catch (const NVEXTAL20::TTALException& failure) {
        return failure.what();
    }
    return "accepted";
}

std::vector<std::string> namesOf(const ClassDeclaration& declared) {
    std::vector<std::string> names;
    for (const PropertyDeclaration& property : declared.properties) names.push_back(property.name);
    return names;
}

TEST(Schema, MostDerivedPropertiesComeFirst) {
    const auto classes =
        classesOf("class A { string a; string b; }; class B : A { string c; [Override(\"a\")] string a; };");
    EXPECT_EQ(namesOf(classes[1]), (std::vector<std::string>{"c", "a", "b"}));
    EXPECT_EQ(classes[1].properties[1].declaredIn, "B");
    EXPECT_EQ(classes[1].properties[2].declaredIn, "A");
}

TEST(Schema, OverrideInheritsWhatItDoesNotSay) {
    const auto classes = classesOf(
        "class A { [Key, PUnit(\"byte\"), Description(\"d\"), ValueMap{\"1\"}, Values{\"one\"}] uint8 a; };"
        "class B : A { [Override(\"a\"), Description(\"e\")] uint8 a; };");
    const PropertyDeclaration& property = classes[1].properties[0];
    EXPECT_TRUE(property.isKey);
    EXPECT_EQ(property.unit, "byte");
    EXPECT_EQ(property.description, "e");
    ASSERT_EQ(property.valueNames.size(), 1u);
    EXPECT_EQ(property.valueNames[0], (std::pair<std::string, std::string>{"1", "one"}));
}

TEST(Schema, AssociationIsInheritedAbstractAndVersionAreNot) {
    const auto classes = classesOf("[Association, Abstract, Version(\"2\")] class A { }; class B : A { };");
    EXPECT_TRUE(classes[1].isAssociation);
    EXPECT_FALSE(classes[1].isAbstract);
    EXPECT_EQ(classes[1].version, "");
}

TEST(Schema, NamesOfOtherClassesIgnoreCaseAndBecomeTheDeclaredOnes) {
    const auto classes = classesOf("class Target { }; class A { TARGET REF r; }; class B : a { };");
    EXPECT_EQ(classes[1].properties[0].referenceClass, "Target");
    EXPECT_EQ(classes[2].superclass, "A");
    EXPECT_EQ(classes[2].properties[0].referenceClass, "Target");
}

TEST(Schema, ReferenceMayNameAClassDeclaredLater) {
    EXPECT_EQ(refusalOf("class A { B REF r; }; class B { };"), "accepted");
}

TEST(Schema, LookupIsExact) {
    const Schema schema({refhost::parseMof("class Disk { string Name; };", "t.mof")});
    ASSERT_NE(schema.find("Disk"), nullptr);
    EXPECT_EQ(schema.find("disk"), nullptr);
    EXPECT_TRUE(schema.find("Disk")->findProperty("Name").has_value());
    EXPECT_FALSE(schema.find("Disk")->findProperty("name").has_value());
}

TEST(Schema, FamilyIsInDeclarationOrder) {
    const Schema schema(
        {refhost::parseMof("class A { }; class B : A { }; class C { }; class D : B { }; class E : A { };", "t.mof")});
    std::vector<std::string> names;
    for (const refhost::DeclaredClass* member : schema.find("A")->family()) names.push_back(member->name());
    EXPECT_EQ(names, (std::vector<std::string>{"A", "B", "D", "E"}));
    EXPECT_TRUE(schema.find("D")->isOrLiesBeneath(*schema.find("A")));
    EXPECT_FALSE(schema.find("A")->isOrLiesBeneath(*schema.find("D")));
    EXPECT_FALSE(schema.find("C")->isOrLiesBeneath(*schema.find("A")));
}

struct Bad {
    const char* label;
    const char* text;
    const char* complaint;
};
class BadSchema : public ::testing::TestWithParam<Bad> {};
TEST_P(BadSchema, IsRefusedWithItsLine) { EXPECT_EQ(refusalOf(GetParam().text), GetParam().complaint); }

INSTANTIATE_TEST_SUITE_P(
    Texts, BadSchema,
    ::testing::Values(
        Bad{"class_twice", "class A { };\nclass a { };", "t.mof, line 3: the class \"a\" is already declared"},
        Bad{"unknown_superclass", "class A : B { };", "t.mof, line 2: the superclass \"B\" is not declared"},
        Bad{"own_superclass", "class A : A { };", "t.mof, line 2: the superclass \"A\" is not declared"},
        Bad{"unknown_reference", "class A { B REF r; };", "t.mof, line 2: the class \"B\" is not declared"},
        Bad{"unknown_qualifier", "[Colour(\"red\")] class A { };",
            "t.mof, line 2: the qualifier \"Colour\" is not declared"},
        Bad{"unknown_property_qualifier", "class A {\n[Colour] string s; };",
            "t.mof, line 3: the qualifier \"Colour\" is not declared"},
        Bad{"qualifier_twice", "[Abstract, abstract] class A { };",
            "t.mof, line 2: the qualifier \"abstract\" is here twice"},
        Bad{"truth_as_text", "[Abstract(\"yes\")] class A { };",
            "t.mof, line 2: the qualifier \"Abstract\" takes true or false"},
        Bad{"text_as_number", "[Version(1)] class A { };", "t.mof, line 2: the qualifier \"Version\" takes one text"},
        Bad{"text_left_out", "[Version] class A { };", "t.mof, line 2: the qualifier \"Version\" takes one text"},
        Bad{"list_as_text", "class A { [Values(\"a\")] string s; };",
            "t.mof, line 2: the qualifier \"Values\" takes a list of texts"},
        Bad{"list_with_number", "class A { [Values{\"a\", 1}] string s; };",
            "t.mof, line 2: the qualifier \"Values\" takes a list of texts"},
        Bad{"uneven_value_names", "class A { [ValueMap{\"1\",\"2\"}, Values{\"one\"}] uint8 n; };",
            "t.mof, line 2: \"n\" has 2 values and 1 names for them"},
        Bad{"property_twice", "class A { string s; uint8 S; };", "t.mof, line 2: the property \"S\" is declared twice"},
        Bad{"hidden_property", "class A { string s; }; class B : A {\nstring s; };",
            "t.mof, line 3: \"s\" is already a property of \"A\"; to change it, say Override"},
        Bad{"override_of_nothing", "class A { [Override(\"s\")] string s; };",
            "t.mof, line 2: there is no property \"s\" to override"},
        Bad{"override_of_another", "class A { string s; string t; }; class B : A { [Override(\"t\")] string s; };",
            "t.mof, line 2: \"s\" cannot override \"t\", another name"},
        Bad{"override_with_another_type", "class A { string s; }; class B : A { [Override(\"s\")] uint8 s; };",
            "t.mof, line 2: \"s\" overrides a property of another type"},
        Bad{"override_with_an_array", "class A { string s; }; class B : A { [Override(\"s\")] string s[]; };",
            "t.mof, line 2: \"s\" overrides a property of another type"},
        Bad{"override_widens_a_reference",
            "class X { }; class Y : X { }; class A { Y REF r; }; class B : A { [Override(\"r\")] X REF r; };",
            "t.mof, line 2: \"X\" does not lie beneath \"Y\", which the overridden \"r\" names"}),
    [](const auto& row) { return row.param.label; });

TEST(Schema, TreeThatIsTooDeepIsRefused) {
    std::string text = "class C0 { };";
    for (int i = 1; i < 100; ++i) text += "class C" + std::to_string(i) + " : C" + std::to_string(i - 1) + " { };";
    EXPECT_EQ(refusalOf(text), "t.mof, line 2: the class tree is too deep");
}

// The schema built into the host.

class HostSchema : public ::testing::Test {
protected:
    refhost::ReferenceHost host;
    const PropertyDeclaration& property(const std::string& className, const std::string& name) {
        for (const PropertyDeclaration& one : host.findClass(className)->properties)
            if (one.name == name) return one;
        throw std::out_of_range(className + "." + name);
    }
};

TEST_F(HostSchema, DeclaresTheServedClasses) {
    for (const char* name :
         {"VEXSG_DiskDrive", "VEXSG_CDROMDrive", "VEXSG_DVDDrive", "VEXSG_DisketteDrive", "VEXSG_TapeDrive",
          "VEXSG_DiskPartition", "VEXSG_LogicalDisk", "VEXSG_DynamicExtent", "VEXSG_DynamicDiskGroup"}) {
        ASSERT_NE(host.findClass(name), nullptr) << name;
        EXPECT_FALSE(host.findClass(name)->isAssociation) << name;
        EXPECT_FALSE(host.findClass(name)->isAbstract) << name;
        EXPECT_EQ(host.findClass(name)->version, "1.0.0") << name;
    }
    for (const char* name :
         {"VEXSG_MediaPresent", "VEXSG_PartitionPresent", "VEXSG_LogicalDiskBasedOnPartition",
          "VEXSG_LogicalDiskBasedOnExtent", "VEXSG_DynamicVolumeBasedOnExtent", "VEXSG_DynamicExtentBasedOn",
          "VEXSG_DriveInDynamicDiskGroup", "VEXSG_DynamicExtentInDiskGroup"}) {
        ASSERT_NE(host.findClass(name), nullptr) << name;
        EXPECT_TRUE(host.findClass(name)->isAssociation) << name;
    }
    EXPECT_EQ(host.findClass("vexsg_diskdrive"), nullptr);
    EXPECT_EQ(host.classes().size(), 33u);
}

TEST_F(HostSchema, PutsDrivesBeneathTheMediaAccessDevice) {
    for (const char* name : {"VEXSG_DiskDrive", "VEXSG_CDROMDrive", "VEXSG_TapeDrive"})
        EXPECT_EQ(host.findClass(name)->superclass, "VEXSG_MediaAccessDevice") << name;
}

TEST_F(HostSchema, TypesTheDiskProperties) {
    EXPECT_EQ(property("VEXSG_DiskDrive", "Size").type, "uint64");
    EXPECT_EQ(property("VEXSG_DiskDrive", "Size").unit, "byte");
    EXPECT_EQ(property("VEXSG_DiskDrive", "NoOfPartitions").type, "uint32");
    EXPECT_EQ(property("VEXSG_DiskPartition", "Bootable").type, "boolean");
    EXPECT_EQ(property("VEXSG_DiskPartition", "Bootable").declaredIn, "VEXSG_DiskPartition");
    EXPECT_EQ(property("VEXSG_DiskPartition", "PartitionType").type, "uint16");
    EXPECT_EQ(property("VEXSG_DiskPartition", "PartitionType").valueNames.size(), 18u);
    EXPECT_EQ(property("VEXSG_DiskPartition", "StartingOffset").unit, "");
    EXPECT_TRUE(property("VEXSG_LogicalDisk", "OtherIdentifyingInfo").isArray);
    EXPECT_FALSE(property("VEXSG_LogicalDisk", "MountOptions").isArray);
}

TEST_F(HostSchema, DescribesEveryClassAndProperty) {
    for (const ClassDeclaration& declared : host.classes()) {
        EXPECT_NE(declared.description, "") << declared.name;
        for (const PropertyDeclaration& one : declared.properties)
            EXPECT_NE(one.description, "") << declared.name << "." << one.name;
    }
}

// Inherited ones too: the public classes do not know what misleads here.
TEST_F(HostSchema, DescribesInheritedPropertiesWhereThereAreInstances) {
    for (const char* name : {"VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"})
        for (const PropertyDeclaration& one : host.findClass(name)->properties)
            EXPECT_EQ(one.declaredIn, name) << one.name;
}

TEST_F(HostSchema, SaysWhatMisleads) {
    const auto says = [&](const char* className, const char* name, const char* text) {
        return property(className, name).description.find(text) != std::string::npos;
    };
    EXPECT_TRUE(says("VEXSG_DiskPartition", "Bootable", "GPT: always true"));
    EXPECT_TRUE(says("VEXSG_DiskPartition", "StartingOffset", "Not the first byte"));
    EXPECT_TRUE(says("VEXSG_DiskPartition", "FaultTolerant", "Always false"));
    EXPECT_TRUE(says("VEXSG_LogicalDisk", "FreeSpace", "including what is kept for root"));
    EXPECT_TRUE(says("VEXSG_LogicalDisk", "DeviceID", "does not prove"));
}

TEST_F(HostSchema, KeysAreThoseOfDevicesSystemsAndAssociations) {
    const auto keysOf = [&](const std::string& name) {
        std::set<std::string> keys;
        for (const PropertyDeclaration& one : host.findClass(name)->properties)
            if (one.isKey) keys.insert(one.name);
        return keys;
    };
    EXPECT_EQ(keysOf("VEXSG_DiskDrive"),
              (std::set<std::string>{"CreationClassName", "DeviceID", "SystemCreationClassName", "SystemName"}));
    EXPECT_EQ(keysOf("VEXSG_ComputerSystem"), (std::set<std::string>{"CreationClassName", "Name"}));
    EXPECT_EQ(keysOf("VEXSG_MediaPresent"), (std::set<std::string>{"Antecedent", "Dependent"}));
}

TEST_F(HostSchema, AssociationsNameTheirEnds) {
    EXPECT_EQ(property("VEXSG_PartitionPresent", "Antecedent").referenceClass, "VEXSG_MediaAccessDevice");
    EXPECT_EQ(property("VEXSG_PartitionPresent", "Dependent").referenceClass, "VEXSG_DiskPartition");
    EXPECT_EQ(property("VEXSG_LogicalDiskBasedOnPartition", "Antecedent").referenceClass, "VEXSG_DiskPartition");
}

TEST_F(HostSchema, PropertiesOfADriveBeginWithItsOwn) {
    EXPECT_EQ(
        namesOf(*host.findClass("VEXSG_DiskDrive")),
        (std::vector<std::string>{"Size", "NoOfPartitions", "SystemCreationClassName", "SystemName",
                                  "CreationClassName", "DeviceID", "OtherIdentifyingInfo", "Name", "ElementName"}));
}

}  // namespace
