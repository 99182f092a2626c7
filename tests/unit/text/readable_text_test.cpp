// What a name may do to the reader of a table.
#include "text/readable_text.h"

#include <gtest/gtest.h>

namespace diskmgt {
namespace {

TEST(ReadableText, EveryMarkOfWritingDirectionIsMadeVisible) {
    for (const char* const mark : {"\u061C", "\u200E", "\u200F", "\u202A", "\u202B", "\u202C", "\u202D", "\u202E",
                                   "\u2066", "\u2067", "\u2068", "\u2069"}) {
        const std::string text = std::string("a") + mark + mark + "b";
        EXPECT_EQ(withoutDirectionMarks(text), "a\uFFFD\uFFFDb");
        EXPECT_EQ(directionMarkLength(text), 0U);
        EXPECT_EQ(directionMarkLength(mark), std::string(mark).size());
    }
}

TEST(ReadableText, EveryInvisibleCharacterIsMadeVisible) {
    for (const char* const mark :
         {"\u00AD", "\u180E", "\u200B", "\u200C", "\u200D", "\u2028", "\u2029", "\u2060", "\u2061", "\u2062", "\u2063",
          "\u2064", "\uFEFF", "\U000E0000", "\U000E0001", "\U000E0020", "\U000E007F"}) {
        const std::string text = std::string("a") + mark + mark + "b";
        EXPECT_EQ(withoutDirectionMarks(text), "a\uFFFD\uFFFDb") << text;
        EXPECT_EQ(escapedControls(text).find(mark), std::string::npos) << text;
        EXPECT_EQ(directionMarkLength(mark), std::string(mark).size()) << text;
    }
    EXPECT_EQ(escapedControls("\u200Bb"), "\\xe2\\x80\\x8bb");
}

TEST(ReadableText, WhatOnlyBeginsLikeAMarkStays) {
    for (const char* const text :
         {"",           "a",          "\u0628",       "\u2014 \u20AC", "\u2065", "\xE2",   "\xD8",
          "\xE2\x80",   "\u00AC",     "\u00AE",       "\u180D",        "\u180F", "\u200A", "\u2010",
          "\u2027",     "\u202F",     "\u205F",       "\u206A",        "\uFEFE", "\uFE0F", "\U000E0080",
          "\U000E0100", "\U000DFFFF", "\xF3\xA0\x80", "\xEF\xBB"})
        EXPECT_EQ(withoutDirectionMarks(text), text);
}

TEST(ReadableText, AMarkHasItsCodeInFourDigits) {
    EXPECT_EQ(withCodedDirectionMarks("a\u061Cb\u202E\u2069\u00E4\u20AC", "\\u"),
              "a\\u061cb\\u202e\\u2069\u00E4\u20AC");
    EXPECT_EQ(withCodedDirectionMarks("\u00AD\uFEFF", "\\u"), "\\u00ad\\ufeff");
    EXPECT_EQ(withCodedDirectionMarks("", "\\u"), "");
}

TEST(ReadableText, AMarkPastFourDigitsHasTwoCodes) {
    EXPECT_EQ(withCodedDirectionMarks("\U000E0000\U000E007F", "\\u"), "\\udb40\\udc00\\udb40\\udc7f");
}

TEST(ReadableText, EscapesControlsMarksAndBytesThatAreNoText) {
    EXPECT_EQ(escapedControls("a\n\x7F\xC2\x9B"), "a\\x0a\\x7f\\xc2\\x9b");
    EXPECT_EQ(escapedControls("\u202Eb"), "\\xe2\\x80\\xaeb");
    EXPECT_EQ(escapedControls("\xFF\xE2\x80"), "\\xff\\xe2\\x80");
    EXPECT_EQ(escapedControls("\u00E4 \u20AC \U0001F4BE"), "\u00E4 \u20AC \U0001F4BE");
}

TEST(ReadableText, ReplacesBytesThatAreNotWellFormedUtf8) {
    EXPECT_EQ(asUtf8("\xC0\xAF"), "\uFFFD\uFFFD");            // overlong
    EXPECT_EQ(asUtf8("\xE0\x9F\xBF"), "\uFFFD\uFFFD\uFFFD");  // overlong
    EXPECT_EQ(asUtf8("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD");  // a surrogate
    EXPECT_EQ(asUtf8("\xF0\x8F\xBF\xBF").size(), 4U * 3);     // overlong
    EXPECT_EQ(asUtf8("\xF4\x90\x80\x80").size(), 4U * 3);     // past the last one
    for (const char* const text :
         {"\u0080", "\u07FF", "\u0800", "\uD7FF", "\uE000", "\uFFFF", "\U00010000", "\U0010FFFF"})
        EXPECT_EQ(asUtf8(text), text);
}

}  // namespace
}  // namespace diskmgt
