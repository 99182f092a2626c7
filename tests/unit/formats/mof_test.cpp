// Literals of every type.
#include "formats/mof.h"

#include <gtest/gtest.h>

#include "formats/inventory_mof.h"
#include "tests/unit/inventory/published_scene.h"

namespace diskmgt {
namespace {

struct LiteralCase {
    const char* label;
    const char* type;
    bool isArray;
    std::vector<std::string> elements;
    const char* literal;
};
void PrintTo(const LiteralCase& row, std::ostream* out) { *out << row.label; }

class MofLiterals : public ::testing::TestWithParam<LiteralCase> {};

TEST_P(MofLiterals, AreWhatACompilerTakes) {
    refhost::PropertyDeclaration declaration;
    declaration.name = "Value";
    declaration.type = GetParam().type;
    declaration.isArray = GetParam().isArray;
    refhost::PropertyDeclaration other = declaration;
    other.name = "Absent";
    refhost::Instance instance;
    instance.className = "VEXSG_Thing";
    instance.properties = {{&declaration, false, GetParam().elements}, {&other, true, {}}};
    EXPECT_EQ(mofInstances({instance}),
              "instance of VEXSG_Thing {\n    Value = " + std::string(GetParam().literal) + ";\n};\n");
}

INSTANTIATE_TEST_SUITE_P(
    Types, MofLiterals,
    ::testing::Values(
        LiteralCase{"string", "string", false, {"a \"b\" c\\d"}, R"("a \"b\" c\\d")"},
        LiteralCase{"empty_string", "string", false, {""}, R"("")"},
        LiteralCase{"controls", "string", false, {"\b\t\n\f\r\x01\x1B\x7F"}, R"("\b\t\n\f\r\x0001\x001B\x007F")"},
        LiteralCase{"two_byte_control", "string", false, {"\xC2\x9B\xC2\xA0"}, "\"\\x009B\xC2\xA0\""},
        LiteralCase{"escape_before_digits",
                    "string",
                    false,
                    {"\x1B"
                     "1234"},
                    R"("\x001B1234")"},
        LiteralCase{"not_utf8", "string", false, {"a\xFF"}, "\"a\xEF\xBF\xBD\""},
        LiteralCase{"number", "uint64", false, {"18446744073709551615"}, "18446744073709551615"},
        LiteralCase{"negative_number", "sint8", false, {"-128"}, "-128"},
        LiteralCase{"truth", "boolean", false, {"true"}, "true"}, LiteralCase{"real", "real64", false, {"1.5"}, "1.5"},
        LiteralCase{"real_without_point", "real32", false, {"2"}, "2.0"},
        LiteralCase{"real_with_exponent", "real64", false, {"1e+20"}, "1.0e+20"},
        LiteralCase{"character", "char16", false, {"'"}, R"('\'')"},
        LiteralCase{"quote_as_character", "char16", false, {"\""}, R"('"')"},
        LiteralCase{"datetime", "datetime", false, {"20260101120000.000000+000"}, R"("20260101120000.000000+000")"},
        LiteralCase{"reference", "reference", false, {R"(A.B="c\\d")"}, R"("root/cimv2:A.B=\"c\\\\d\"")"},
        LiteralCase{"array", "string", true, {"a", "b,c"}, R"({ "a", "b,c" })"},
        LiteralCase{"array_of_numbers", "uint16", true, {"1", "2"}, "{ 1, 2 }"}),
    [](const auto& row) { return row.param.label; });

TEST(MofInstances, AnArrayWithoutElementsIsLeftOut) {
    refhost::PropertyDeclaration declaration;
    declaration.name = "Value";
    declaration.type = "string";
    declaration.isArray = true;
    refhost::Instance instance;
    instance.className = "VEXSG_Thing";
    instance.properties = {{&declaration, false, {}}};
    EXPECT_EQ(mofInstances({instance}), "instance of VEXSG_Thing {\n};\n");
}

TEST(MofInstances, NoneGiveNoText) { EXPECT_EQ(mofInstances({}), ""); }

TEST(MofOfAnInventory, NamesWhatItLeavesOut) {
    PublishedScene scene;
    scene.mounted("/dev/sda1", {"/"});
    EXPECT_EQ(mofRemark(scene.arranged()), "");
    scene.mounted("/dev/sda1", {"/home"});
    EXPECT_EQ(mofRemark(scene.arranged()),
              "left out, because another instance has the same keys: VEXSG_LogicalDisk.DeviceID=\"/dev/sda1\"");
    scene.mounted("/dev/sda1", {"/srv"});
    EXPECT_EQ(mofRemark(scene.arranged()),
              "left out, because other instances have the same keys: VEXSG_LogicalDisk.DeviceID=\"/dev/sda1\" and 1 "
              "more");
}

}  // namespace
}  // namespace diskmgt
