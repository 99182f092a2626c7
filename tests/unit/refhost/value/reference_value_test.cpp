// Reference values: read within a namespace, and assigned where their class fits.
#include <gtest/gtest.h>

#include "tests/unit/refhost/in_process_plugin.h"

namespace {

using namespace refhost_test;
using NVEXTAL20::TCIMOptions;
using NVEXTAL20::TCIMReference;
using NVEXTAL20::TCIMValue;

TCIMValue referenceTo(NVEXTAL20::ICIMInstance& instance) {
    TCIMOptions options;
    TCIMReference reference = instance.GetReference(options);
    return TCIMValue(reference);
}

class ReferenceValue : public ::testing::Test {
protected:
    /// What reading `text` as a reference within the namespace says; empty when it is accepted.
    std::string refusalOf(const std::string& text) {
        return setup.failureOf([&](const Namespace& ns) { (void)parsed("reference", text, ns); });
    }
    WithHost setup;
};

TEST_F(ReferenceValue, TextOfAnInstancesPathIsAccepted) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        const auto drive = newInstance(ns, "VEXSG_DiskDrive");
        assign(*drive, "DeviceID", std::string("/dev/s\"d\\a"));
        EXPECT_EQ(std::string(parsed("reference", pathOf(*drive), ns)), pathOf(*drive));
    }),
              "");
}

TEST_F(ReferenceValue, AssociationsPathHoldsPathsAndIsAccepted) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        const auto drive = newInstance(ns, "VEXSG_DiskDrive");
        assign(*drive, "DeviceID", std::string("/dev/sda"));
        const auto present = newInstance(ns, "VEXSG_PartitionPresent");
        assign(*present, "Antecedent", referenceTo(*drive));
        const std::string path = pathOf(*present);
        EXPECT_EQ(path, "VEXSG_PartitionPresent.Antecedent=\"VEXSG_DiskDrive.DeviceID=\\\"/dev/sda\\\"\"");
        EXPECT_EQ(std::string(parsed("reference", path, ns)), path);
    }),
              "");
}

TEST_F(ReferenceValue, MalformedPathIsRefused) { EXPECT_NE(refusalOf("VEXSG_DiskDrive.DeviceID=x"), ""); }

TEST_F(ReferenceValue, UnknownClassIsRefused) {
    EXPECT_EQ(refusalOf("vexsg_diskdrive"),
              "the text \"vexsg_diskdrive\" is no reference: there is no class \"vexsg_diskdrive\"");
}

TEST_F(ReferenceValue, KeyThatTheClassLacksIsRefused) {
    EXPECT_NE(refusalOf("VEXSG_DiskDrive.Size=\"1\"").find("\"Size\" is no key of VEXSG_DiskDrive"), std::string::npos);
    EXPECT_NE(refusalOf("VEXSG_DiskDrive.Colour=\"1\"").find("\"Colour\" is no key"), std::string::npos);
}

TEST_F(ReferenceValue, MalformedPathWithinAPathIsRefused) {
    EXPECT_NE(refusalOf("VEXSG_PartitionPresent.Antecedent=\"Nowhere\"").find("there is no class \"Nowhere\""),
              std::string::npos);
    EXPECT_NE(refusalOf("VEXSG_PartitionPresent.Antecedent=\"\""), "");
}

TEST_F(ReferenceValue, NeedsANamespace) {
    EXPECT_EQ(setup.failureOf([](const Namespace&) { (void)parsed("reference", "VEXSG_DiskDrive"); }),
              "the text \"VEXSG_DiskDrive\" is no reference: no namespace was given to look up its class");
}

TEST_F(ReferenceValue, AnotherNamespaceIsAskedForTheClass) {
    const std::string refusal = setup.failureOf([](const Namespace&) {
        (void)parsed("reference", "VEXSG_DiskDrive", NVEXTAL20::TRootObject::GetPluginManager());
    });
    EXPECT_NE(refusal.find("holds no classes"), std::string::npos) << refusal;
}

TEST_F(ReferenceValue, ClassBeneathTheDeclaredOneFits) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        const auto medium = newInstance(ns, "VEXSG_MediaPresent");
        assign(*medium, "Antecedent", referenceTo(*newInstance(ns, "VEXSG_MediaAccessDevice")));
        assign(*medium, "Antecedent", referenceTo(*newInstance(ns, "VEXSG_DiskDrive")));
        EXPECT_EQ(std::string(valueOf(*medium, "Antecedent")), "VEXSG_DiskDrive");
    }),
              "");
}

TEST_F(ReferenceValue, OtherClassesDoNotFit) {
    EXPECT_EQ(setup.failureOf([](const Namespace& ns) {
        const auto medium = newInstance(ns, "VEXSG_MediaPresent");
        assign(*medium, "Antecedent", referenceTo(*newInstance(ns, "VEXSG_LogicalDisk")));
    }),
              "the property Antecedent of VEXSG_MediaPresent cannot take the reference \"VEXSG_LogicalDisk\": it must "
              "name an instance of VEXSG_MediaAccessDevice or of a class beneath it");
    EXPECT_NE(setup.failureOf([](const Namespace& ns) {
        const auto medium = newInstance(ns, "VEXSG_MediaPresent");
        assign(*medium, "Antecedent", referenceTo(*newInstance(ns, "CIM_MediaAccessDevice")));  // above, not beneath
    }),
              "");
}

}  // namespace
