// The JSON writer against the library that reads JSON.
#include "formats/json_writer.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

namespace diskmgt {
namespace {

using Json = nlohmann::ordered_json;

std::string inQuotes(std::string_view text) {
    JsonWriter out;
    std::string document = out.text(text).take();
    document.pop_back();  // the line end
    return document;
}

/// As the library quotes, which leaves DEL and the characters from U+0080 to U+009F as they are.
std::string inQuotesOfLibrary(const std::string& text) {
    const std::string quoted = Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
    std::string escaped;
    for (std::size_t at = 0; at < quoted.size(); ++at) {
        char code[8];
        const auto byte = static_cast<unsigned char>(quoted[at]);
        const bool isC1 = byte == 0xC2 && static_cast<unsigned char>(quoted[at + 1]) < 0xA0;
        if (byte != 0x7F && !isC1) {
            escaped += quoted[at];
            continue;
        }
        if (isC1) ++at;
        std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned char>(quoted[at]));
        escaped += code;
    }
    return escaped;
}

Json sample() {
    return {{"texts", {"a", "b"}}, {"none", Json::array()}, {"nothing", Json::object()},
            {"null", nullptr},     {"truth", true},         {"number", 18446744073709551615U},
            {"less", -5},          {"deep", {{"a", {1}}}}};
}

void writeSample(JsonWriter& out) {
    out.beginObject().key("texts").texts(std::vector<std::string>{"a", "b"}).key("none").beginArray().endArray();
    out.key("nothing").beginObject().endObject().key("null").null().truthField("truth", true);
    out.numberField("number", 18446744073709551615U).key("less").signedNumber(-5);
    out.key("deep").beginObject().key("a").beginArray().number(1).endArray().endObject().endObject();
}

TEST(JsonWriter, QuotesEveryPairOfBytesAsTheLibraryDoes) {
    for (unsigned first = 0; first < 256; ++first)
        for (unsigned second = 0; second < 256; ++second) {
            const std::string text = {static_cast<char>(first), static_cast<char>(second)};
            ASSERT_EQ(inQuotes(text), inQuotesOfLibrary(text)) << first << ", " << second;
        }
}

TEST(JsonWriter, QuotesEveryFourBytesThatMatterAsTheLibraryDoes) {
    const std::string bytes =
        "a\"\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5\xFF";
    for (const char first : bytes)
        for (const char second : bytes)
            for (const char third : bytes)
                for (const char fourth : bytes) {
                    const std::string text = {first, second, third, fourth};
                    ASSERT_EQ(inQuotes(text), inQuotesOfLibrary(text)) << text;
                }
}

TEST(JsonWriter, ReplacesTheBeginningOfACharacterAsOne) {
    EXPECT_EQ(inQuotes("\xE2\x82z"), "\"\uFFFDz\"");
    EXPECT_EQ(inQuotes("\xF0\x9F\x92"), "\"\uFFFD\"");
    EXPECT_EQ(inQuotes("\xFF\xFF"), "\"\uFFFD\uFFFD\"");
}

TEST(JsonWriter, EscapesWhatATerminalObeys) { EXPECT_EQ(inQuotes("\x1B[m\x7F\u009B"), R"("\u001b[m\u007f\u009b")"); }

TEST(JsonWriter, QuotesKeysAsItQuotesTexts) {
    JsonWriter out(JsonLayout::kCompact);
    EXPECT_EQ(out.beginObject().textField("\"\xFF\n", "").endObject().take(), "{\"\\\"\uFFFD\\n\":\"\"}\n");
}

TEST(JsonWriter, IndentsAsTheLibraryDoes) {
    JsonWriter out;
    writeSample(out);
    EXPECT_EQ(out.take(), sample().dump(2) + "\n");
}

TEST(JsonWriter, WritesOnOneLineAsTheLibraryDoes) {
    JsonWriter out(JsonLayout::kCompact);
    writeSample(out);
    EXPECT_EQ(out.take(), sample().dump() + "\n");
}

TEST(JsonWriter, ReturnsToTheOuterLayoutBehindAnInnerOne) {
    JsonWriter out(JsonLayout::kLines);
    out.beginArray().beginObject(JsonLayout::kSpaced).numberField("a", 1).key("b").beginArray(JsonLayout::kLines);
    out.beginArray(JsonLayout::kCompact).number(1).number(2).endArray().beginArray().endArray();
    out.endArray().numberField("c", 3).endObject().number(4).endArray();
    EXPECT_EQ(out.take(), "[\n{\"a\": 1, \"b\": [\n[1,2],\n[]\n], \"c\": 3},\n4\n]\n");
}

TEST(JsonWriter, HandsOverInPiecesWhatItWouldKeep) {
    std::string pieces;
    std::size_t count = 0;
    JsonWriter out([&](const std::string& piece) { ++count, pieces += piece; });
    JsonWriter kept;
    for (JsonWriter* writer : {&out, &kept}) {
        writer->beginArray();
        for (int i = 0; i < 10; ++i) writer->beginArray().text(std::string(10000, 'x')).endArray();
        writer->endArray();
    }
    out.finish();
    EXPECT_EQ(pieces, kept.take());
    EXPECT_GT(count, 2U);
}

TEST(JsonWriter, HandsOverWhatThereIsWhenFlushed) {
    std::string pieces;
    JsonWriter out([&pieces](const std::string& piece) { pieces += piece; });
    out.beginArray().number(1).flush();
    EXPECT_EQ(pieces, "[\n  1");
}

}  // namespace
}  // namespace diskmgt
