// Object paths as texts.
#include "serve/cimxml/instance_name.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include "refhost/value/object_path.h"

namespace diskmgt::serve {
namespace {

std::string shown(const std::optional<InstanceName>& name) {
    if (!name) return "(no path)";
    std::string text = name->nameSpace + "|" + name->className;
    for (const KeyBinding& key : name->keys)
        text += "|" + key.name + (key.kind == KeyBinding::Kind::kText ? "='" : "=") + key.text;
    return text;
}

struct PathCase {
    const char* label;
    const char* path;
    const char* read;
};
void PrintTo(const PathCase& row, std::ostream* out) { *out << row.label; }

class PathTexts : public ::testing::TestWithParam<PathCase> {};

TEST_P(PathTexts, AreReadOrRefused) { EXPECT_EQ(shown(instanceNameFromText(GetParam().path)), GetParam().read); }

INSTANTIATE_TEST_SUITE_P(
    Forms, PathTexts,
    ::testing::Values(PathCase{"class_alone", "A_B1", "|A_B1"}, PathCase{"key", "A.k=\"v\"", "|A|k='v"},
                      PathCase{"keys_in_any_order", "A.z=\"1\",b=\"2\"", "|A|z='1|b='2"},
                      PathCase{"escapes", R"(A.k="a\"b\\c")", "|A|k='a\"b\\c"},
                      PathCase{"comma_and_colon_in_a_value", "A.k=\"a,b:c.d=e\"", "|A|k='a,b:c.d=e"},
                      PathCase{"number_and_truth", "A.n=-5,t=TRUE", "|A|n=-5|t=TRUE"},
                      PathCase{"namespace", "root/cimv2:A.k=\"v\"", "root/cimv2|A|k='v"},
                      PathCase{"host", "//a.b:5988/root/cimv2:A.k=\"v\"", "root/cimv2|A|k='v"},
                      PathCase{"scheme", "https://a/root/cimv2:A", "root/cimv2|A"}, PathCase{"empty", "", "(no path)"},
                      PathCase{"host_without_end", "//a", "(no path)"},
                      PathCase{"namespace_without_class", "root/cimv2:", "(no path)"},
                      PathCase{"no_key_behind_the_point", "A.", "(no path)"}, PathCase{"no_value", "A.k=", "(no path)"},
                      PathCase{"open_quote", "A.k=\"v", "(no path)"}, PathCase{"open_escape", "A.k=\"v\\", "(no path)"},
                      PathCase{"odd_escape", R"(A.k="\n")", "(no path)"},
                      PathCase{"text_behind", "A.k=\"v\"x", "(no path)"},
                      PathCase{"comma_at_the_end", "A.k=\"v\",", "(no path)"},
                      PathCase{"slash_in_the_class", "A/B", "(no path)"}),
    [](const auto& row) { return row.param.label; });

RC_GTEST_PROP(PathTexts, WhatTheHostWritesIsRead, (const std::string& first, const std::string& second)) {
    const auto name =
        instanceNameFromText(refhost::objectPathText({"VEXSG_LogicalDisk", {{"A", first}, {"B", second}}}));
    RC_ASSERT(name.has_value());
    RC_ASSERT(name->className == "VEXSG_LogicalDisk");
    RC_ASSERT(name->keys.size() == 2U);
    RC_ASSERT(name->keys[0].text == first);
    RC_ASSERT(name->keys[1].text == second);
}

}  // namespace
}  // namespace diskmgt::serve
