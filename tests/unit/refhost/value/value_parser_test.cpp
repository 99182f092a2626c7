// Text to value: what each CIM type accepts, what it refuses, and the boundaries of every width.
#include "refhost/value/value_parser.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <limits>
#include <string>
#include <vector>

#include "plugin/host/tal_exception.h"
#include "refhost/value/cim_type.h"

namespace {

using refhost::CimType;
using refhost::parseScalar;

struct Row {
    const char* label;
    CimType type;
    std::string text;
    std::string canonical;  // empty with refused texts
};

std::string labelOf(const ::testing::TestParamInfo<Row>& row) { return row.param.label; }

class AcceptedText : public ::testing::TestWithParam<Row> {};
TEST_P(AcceptedText, BecomesItsCanonicalForm) {
    EXPECT_EQ(parseScalar(GetParam().type, GetParam().text), GetParam().canonical);
}

class RefusedText : public ::testing::TestWithParam<Row> {};
TEST_P(RefusedText, ThrowsNamingTypeAndText) {
    try {
        const std::string canonical = parseScalar(GetParam().type, GetParam().text);
        FAIL() << "accepted as " << canonical;
    } catch (const NVEXTAL20::TTALException& failure) {
        const std::string sentence = failure.what();
        EXPECT_NE(sentence.find(refhost::nameOf(GetParam().type)), std::string::npos) << sentence;
        EXPECT_NE(sentence.find("\"" + GetParam().text + "\""), std::string::npos) << sentence;
    }
}

constexpr const char* kTime = "20240229235959.123456+060";

INSTANTIATE_TEST_SUITE_P(
    Values, AcceptedText,
    ::testing::Values(
        Row{"string_as_it_stands", CimType::kString, " rw,\"x\"\\\n", " rw,\"x\"\\\n"},
        Row{"string_may_be_empty", CimType::kString, "", ""},
        Row{"string_keeps_bytes_that_are_no_utf8", CimType::kString, "\xFF\xFE", "\xFF\xFE"},
        Row{"string_keeps_nul", CimType::kString, std::string("a\0b", 3), std::string("a\0b", 3)},
        Row{"boolean_true", CimType::kBoolean, "true", "true"},
        Row{"boolean_any_case", CimType::kBoolean, "FaLsE", "false"},
        Row{"boolean_upper", CimType::kBoolean, "TRUE", "true"}, Row{"uint8_least", CimType::kUint8, "0", "0"},
        Row{"uint8_greatest", CimType::kUint8, "255", "255"},
        Row{"uint16_greatest", CimType::kUint16, "65535", "65535"},
        Row{"uint32_greatest", CimType::kUint32, "4294967295", "4294967295"},
        Row{"uint64_greatest", CimType::kUint64, "18446744073709551615", "18446744073709551615"},
        Row{"uint64_leading_zeros", CimType::kUint64, "0000000000000000000000000007", "7"},
        Row{"sint8_least", CimType::kSint8, "-128", "-128"}, Row{"sint8_greatest", CimType::kSint8, "127", "127"},
        Row{"sint16_least", CimType::kSint16, "-32768", "-32768"},
        Row{"sint16_greatest", CimType::kSint16, "32767", "32767"},
        Row{"sint32_least", CimType::kSint32, "-2147483648", "-2147483648"},
        Row{"sint32_greatest", CimType::kSint32, "2147483647", "2147483647"},
        Row{"sint64_least", CimType::kSint64, "-9223372036854775808", "-9223372036854775808"},
        Row{"sint64_greatest", CimType::kSint64, "9223372036854775807", "9223372036854775807"},
        Row{"sint32_minus_zero", CimType::kSint32, "-0", "0"}, Row{"real32_fraction", CimType::kReal32, "1.5", "1.5"},
        Row{"real64_exponent", CimType::kReal64, "-2.5e3", "-2500"}, Row{"real64_integer", CimType::kReal64, "7", "7"},
        Row{"real32_greatest", CimType::kReal32, "3.4028235e38", "3.4028235e+38"},
        Row{"char16_ascii", CimType::kChar16, "A", "A"},
        Row{"char16_two_bytes", CimType::kChar16, "\xC3\xA4", "\xC3\xA4"},
        Row{"char16_last_of_the_plane", CimType::kChar16, "\xEF\xBF\xBF", "\xEF\xBF\xBF"},
        Row{"datetime_point", CimType::kDatetime, kTime, kTime},
        Row{"datetime_point_west", CimType::kDatetime, "20231231000000.000000-720", "20231231000000.000000-720"},
        Row{"datetime_interval", CimType::kDatetime, "99999999235959.999999:000", "99999999235959.999999:000"},
        Row{"datetime_day_precision", CimType::kDatetime, "20240229******.******+000", "20240229******.******+000"},
        Row{"datetime_millisecond_precision", CimType::kDatetime, "20240229235959.123***+000",
            "20240229235959.123***+000"}),
    labelOf);

INSTANTIATE_TEST_SUITE_P(
    Values, RefusedText,
    ::testing::Values(
        Row{"boolean_one", CimType::kBoolean, "1", ""}, Row{"boolean_yes", CimType::kBoolean, "yes", ""},
        Row{"boolean_empty", CimType::kBoolean, "", ""}, Row{"boolean_blank_after", CimType::kBoolean, "true ", ""},
        Row{"uint8_past_the_end", CimType::kUint8, "256", ""},
        Row{"uint16_past_the_end", CimType::kUint16, "65536", ""},
        Row{"uint32_past_the_end", CimType::kUint32, "4294967296", ""},
        Row{"uint64_past_the_end", CimType::kUint64, "18446744073709551616", ""},
        Row{"uint64_minus", CimType::kUint64, "-1", ""}, Row{"uint64_plus", CimType::kUint64, "+1", ""},
        Row{"uint64_blank_before", CimType::kUint64, " 1", ""}, Row{"uint64_blank_after", CimType::kUint64, "1 ", ""},
        Row{"uint64_hexadecimal", CimType::kUint64, "0x10", ""}, Row{"uint64_fraction", CimType::kUint64, "1.0", ""},
        Row{"uint64_empty", CimType::kUint64, "", ""}, Row{"uint64_letters", CimType::kUint64, "12a", ""},
        Row{"sint8_below", CimType::kSint8, "-129", ""}, Row{"sint8_above", CimType::kSint8, "128", ""},
        Row{"sint16_below", CimType::kSint16, "-32769", ""}, Row{"sint16_above", CimType::kSint16, "32768", ""},
        Row{"sint32_below", CimType::kSint32, "-2147483649", ""},
        Row{"sint32_above", CimType::kSint32, "2147483648", ""},
        Row{"sint64_below", CimType::kSint64, "-9223372036854775809", ""},
        Row{"sint64_above", CimType::kSint64, "9223372036854775808", ""},
        Row{"sint32_plus", CimType::kSint32, "+1", ""}, Row{"sint32_minus_alone", CimType::kSint32, "-", ""},
        Row{"sint32_two_minuses", CimType::kSint32, "--1", ""}, Row{"sint32_blank", CimType::kSint32, "- 1", ""},
        Row{"sint32_empty", CimType::kSint32, "", ""}, Row{"real32_not_a_number", CimType::kReal32, "nan", ""},
        Row{"real64_infinity", CimType::kReal64, "inf", ""},
        Row{"real64_minus_infinity", CimType::kReal64, "-infinity", ""},
        Row{"real64_trailing_text", CimType::kReal64, "1.5x", ""},
        Row{"real64_blank_before", CimType::kReal64, " 1.5", ""}, Row{"real64_empty", CimType::kReal64, "", ""},
        Row{"real64_hexadecimal", CimType::kReal64, "0x1p3", ""}, Row{"real64_plus", CimType::kReal64, "+1.5", ""},
        Row{"real64_comma", CimType::kReal64, "1,5", ""}, Row{"real64_out_of_range", CimType::kReal64, "1e999", ""},
        Row{"real32_out_of_range", CimType::kReal32, "1e39", ""}, Row{"char16_empty", CimType::kChar16, "", ""},
        Row{"char16_two_characters", CimType::kChar16, "ab", ""},
        Row{"char16_beyond_the_plane", CimType::kChar16, "\xF0\x9F\x98\x80", ""},
        Row{"char16_surrogate", CimType::kChar16, "\xED\xA0\x80", ""},
        Row{"char16_overlong_two", CimType::kChar16, "\xC0\x80", ""},
        Row{"char16_overlong_three", CimType::kChar16, "\xE0\x80\x80", ""},
        Row{"char16_cut_short", CimType::kChar16, "\xC3", ""}, Row{"datetime_empty", CimType::kDatetime, "", ""},
        Row{"datetime_24_characters", CimType::kDatetime, "20240229235959.123456+06", ""},
        Row{"datetime_26_characters", CimType::kDatetime, "20240229235959.123456+0600", ""},
        Row{"datetime_no_leap_year", CimType::kDatetime, "20230229235959.123456+060", ""},
        Row{"datetime_century_is_no_leap_year", CimType::kDatetime, "19000229000000.000000+000", ""},
        Row{"datetime_month_13", CimType::kDatetime, "20241301000000.000000+000", ""},
        Row{"datetime_day_0", CimType::kDatetime, "20240100000000.000000+000", ""},
        Row{"datetime_april_31", CimType::kDatetime, "20240431000000.000000+000", ""},
        Row{"datetime_hour_24", CimType::kDatetime, "20240101240000.000000+000", ""},
        Row{"datetime_minute_60", CimType::kDatetime, "20240101006000.000000+000", ""},
        Row{"datetime_second_60", CimType::kDatetime, "20240101000060.000000+000", ""},
        Row{"datetime_without_dot", CimType::kDatetime, "20240229235959,123456+060", ""},
        Row{"datetime_other_sign", CimType::kDatetime, "20240229235959.123456=060", ""},
        Row{"datetime_letters_in_the_offset", CimType::kDatetime, "20240229235959.123456+0a0", ""},
        Row{"datetime_half_a_field_of_asterisks", CimType::kDatetime, "2024022923595*.******+000", ""},
        Row{"datetime_digits_after_asterisks", CimType::kDatetime, "2024****235959.123456+000", ""},
        Row{"datetime_interval_with_offset", CimType::kDatetime, "00000001000000.000000:060", ""},
        Row{"datetime_iso_form", CimType::kDatetime, "2024-02-29T23:59:59.1234Z", ""},
        Row{"reference_without_a_namespace", CimType::kReference, "A.B=\"c\"", ""}),
    labelOf);

TEST(RefusedTextWithNul, IsShownWhole) {
    try {
        (void)parseScalar(CimType::kUint64, std::string_view("1\0", 2));
        FAIL() << "accepted";
    } catch (const NVEXTAL20::TTALException& failure) {
        EXPECT_STREQ(failure.what(), "the text \"1\\0\" is no uint64: it is no decimal integer");
    }
}

template <typename Integer>
void everyIntegerRoundTrips(CimType type) {
    EXPECT_TRUE(rc::check("decimal text of every number comes back", [type](Integer number) {
        const std::string text = std::to_string(number);
        RC_ASSERT(parseScalar(type, text) == text);
    }));
}

TEST(Integers, RoundTripThroughDecimalText) {
    everyIntegerRoundTrips<std::uint8_t>(CimType::kUint8);
    everyIntegerRoundTrips<std::uint16_t>(CimType::kUint16);
    everyIntegerRoundTrips<std::uint32_t>(CimType::kUint32);
    everyIntegerRoundTrips<std::uint64_t>(CimType::kUint64);
    everyIntegerRoundTrips<std::int8_t>(CimType::kSint8);
    everyIntegerRoundTrips<std::int16_t>(CimType::kSint16);
    everyIntegerRoundTrips<std::int32_t>(CimType::kSint32);
    everyIntegerRoundTrips<std::int64_t>(CimType::kSint64);
}

TEST(Integers, NarrowTypesAcceptExactlyTheirRange) {
    for (int number = -400; number <= 400; ++number) {
        SCOPED_TRACE(number);
        const std::string text = std::to_string(number);
        if (number >= 0 && number <= 255)
            EXPECT_EQ(parseScalar(CimType::kUint8, text), text);
        else
            EXPECT_THROW((void)parseScalar(CimType::kUint8, text), NVEXTAL20::TTALException);
        if (number >= -128 && number <= 127)
            EXPECT_EQ(parseScalar(CimType::kSint8, text), text);
        else
            EXPECT_THROW((void)parseScalar(CimType::kSint8, text), NVEXTAL20::TTALException);
    }
}

TEST(Reals, CanonicalTextReadsBackAsTheSameNumber) {
    EXPECT_TRUE(rc::check("canonical form is stable", [](std::int32_t mantissa, std::int8_t exponent) {
        const std::string text = std::to_string(mantissa) + "e" + std::to_string(exponent);
        const std::string once = parseScalar(CimType::kReal64, text);
        RC_ASSERT(parseScalar(CimType::kReal64, once) == once);
    }));
}

TEST(AnyText, EitherParsesToAStableFormOrThrowsTheHostsException) {
    EXPECT_TRUE(rc::check("no other outcome", [](const std::string& text) {
        for (int type = 0; type <= static_cast<int>(CimType::kReference); ++type) {
            try {
                const std::string canonical = parseScalar(static_cast<CimType>(type), text);
                RC_ASSERT(parseScalar(static_cast<CimType>(type), canonical) == canonical);
            } catch (const NVEXTAL20::TTALException&) {
                RC_ASSERT(static_cast<CimType>(type) != CimType::kString);
            }
        }
    }));
}

TEST(TypeNames, AreTheLowerCaseMofWords) {
    const std::vector<std::string> words = {"string", "boolean", "uint8",  "uint16",   "uint32",
                                            "uint64", "sint8",   "sint16", "sint32",   "sint64",
                                            "real32", "real64",  "char16", "datetime", "reference"};
    for (std::size_t i = 0; i < words.size(); ++i) {
        EXPECT_EQ(refhost::nameOf(static_cast<CimType>(i)), words[i]);
        EXPECT_EQ(refhost::cimTypeNamed(words[i]), static_cast<CimType>(i));
    }
    EXPECT_EQ(refhost::cimTypeNamed("String"), std::nullopt);
    EXPECT_EQ(refhost::cimTypeNamed(""), std::nullopt);
    EXPECT_EQ(refhost::cimTypeNamed("uint128"), std::nullopt);
}

}  // namespace
