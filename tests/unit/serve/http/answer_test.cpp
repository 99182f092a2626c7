// Heads of answers, conditions, compression and the line in the log.
#include <gmock/gmock.h>
#include <zlib.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "serve/http/access_log.h"
#include "serve/http/answer_head.h"
#include "serve/http/compression.h"
#include "serve/http/conditions.h"

namespace {

using namespace diskmgt::serve;
using ::testing::HasSubstr;
using ::testing::Not;

std::string textOf(const AnswerHead& head) { return answerHeadText(head, "diskmgt", "Sun, 06 Nov 1994 08:49:37 GMT"); }

std::string inflated(const std::string& compressed) {
    z_stream stream{};
    EXPECT_EQ(::inflateInit2(&stream, 15 + 16), Z_OK);
    std::string plain(1U << 20U, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
    stream.avail_in = static_cast<uInt>(compressed.size());
    stream.next_out = reinterpret_cast<Bytef*>(plain.data());
    stream.avail_out = static_cast<uInt>(plain.size());
    EXPECT_EQ(::inflate(&stream, Z_FINISH), Z_STREAM_END);
    plain.resize(stream.total_out);
    (void)::inflateEnd(&stream);
    return plain;
}

TEST(AnswerHead, HasWhatAClientNeeds) {
    AnswerHead head;
    head.contentType = "text/plain";
    head.bodyBytes = 7;
    EXPECT_EQ(
        textOf(head),
        "HTTP/1.1 200 OK\r\nDate: Sun, 06 Nov 1994 08:49:37 GMT\r\nServer: diskmgt\r\nContent-Type: text/plain\r\n"
        "Content-Length: 7\r\nAccept-Ranges: none\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n"
        "Cross-Origin-Resource-Policy: same-origin\r\n\r\n");
}

TEST(AnswerHead, SaysHowTheConnectionGoesOn) {
    AnswerHead head;
    EXPECT_THAT(textOf(head), Not(HasSubstr("Connection:")));
    head.minorVersion = 0;
    EXPECT_THAT(textOf(head), HasSubstr("Connection: keep-alive\r\n"));
    head.keepsAlive = false;
    EXPECT_THAT(textOf(head), HasSubstr("Connection: close\r\n"));
}

TEST(AnswerHead, TellsTagsOfPlainAndCompressedTextsApart) {
    AnswerHead head;
    head.etag = "v1";
    head.varies = true;
    EXPECT_THAT(textOf(head), HasSubstr("ETag: \"v1\"\r\nVary: Accept-Encoding\r\nCache-Control: no-cache\r\n"));
    EXPECT_THAT(textOf(head), Not(HasSubstr("Content-Encoding")));
    head.isCompressed = true;
    EXPECT_THAT(textOf(head), HasSubstr("Content-Encoding: gzip\r\n"));
    EXPECT_THAT(textOf(head), HasSubstr("ETag: \"v1-gzip\"\r\n"));
}

TEST(AnswerHead, OfSomethingUnchangedDescribesNoBody) {
    AnswerHead head;
    head.status = 304;
    head.etag = "v1";
    head.contentType = "text/plain";
    EXPECT_THAT(textOf(head), HasSubstr("HTTP/1.1 304 Not Modified\r\n"));
    EXPECT_THAT(textOf(head), HasSubstr("ETag: \"v1\"\r\n"));
    EXPECT_THAT(textOf(head), Not(HasSubstr("Content-Length")));
    EXPECT_THAT(textOf(head), Not(HasSubstr("Content-Type: ")));
}

TEST(AnswerHead, OfAPageKeepsABrowserFromDoingMore) {
    AnswerHead head;
    head.contentType = "text/html; charset=utf-8";
    EXPECT_THAT(textOf(head), HasSubstr("Content-Security-Policy: default-src 'none'; style-src 'unsafe-inline'; "));
    EXPECT_THAT(textOf(head), HasSubstr("frame-ancestors 'none'\r\n"));
    EXPECT_THAT(textOf(head), HasSubstr("X-Frame-Options: DENY\r\n"));
    head.headers = {{"content-security-policy", "sandbox"}};
    EXPECT_THAT(textOf(head), Not(HasSubstr("default-src")));
    head.contentType = "text/plain";
    EXPECT_THAT(textOf(head), Not(HasSubstr("X-Frame-Options")));
}

TEST(AnswerHead, LeavesCachingToTheSiteThatSaysSo) {
    AnswerHead head;
    head.headers = {{"Cache-Control", "max-age=5"}, {"Age", "3"}};
    EXPECT_THAT(textOf(head), HasSubstr("Cache-Control: max-age=5\r\nAge: 3\r\n"));
    EXPECT_THAT(textOf(head), Not(HasSubstr("no-store")));
}

TEST(AnswerHead, CannotBeSplitByAValue) {
    AnswerHead head;
    head.headers = {{"CIMError", std::string("a\r\nSet-Cookie: b\0c", 18)}};
    EXPECT_THAT(textOf(head), HasSubstr("CIMError: a  Set-Cookie: b c\r\n"));
}

TEST(AnswerHead, KnowsTheWordsOfItsStatus) {
    AnswerHead head;
    for (const auto& [status, line] :
         std::vector<std::pair<unsigned, const char*>>{{408, "408 Request Timeout"},
                                                       {413, "413 Payload Too Large"},
                                                       {421, "421 Misdirected Request"},
                                                       {429, "429 Too Many Requests"},
                                                       {431, "431 Request Header Fields Too Large"},
                                                       {503, "503 Service Unavailable"}}) {
        head.status = status;
        EXPECT_THAT(textOf(head), HasSubstr(line));
    }
}

TEST(HttpDate, IsTheFixedFormOfTheProtocol) {
    EXPECT_EQ(httpDate(784111777), "Sun, 06 Nov 1994 08:49:37 GMT");
    EXPECT_EQ(httpDate(0), "Thu, 01 Jan 1970 00:00:00 GMT");
}

TEST(IfNoneMatch, MatchesAnyOfItsTags) {
    for (const char* header :
         {"\"v1\"", "W/\"v1\"", "*", " \"a\" , \"v1\"", "\"v1-gzip\"", "W/\"v1-gzip\",\"b\"", "\"a\",\"v1\","})
        EXPECT_TRUE(matchesEtag(header, "v1")) << header;
    for (const char* header :
         {"", "v1", "\"v2\"", "\"v1", "\"V1\"", "w/\"v1\"", "\"v1-gzip2\"", "\"a\" \"v1\"", ", \"v1\"", "\"v\", v1"})
        EXPECT_FALSE(matchesEtag(header, "v1")) << header;
}

TEST(AcceptEncoding, AllowsGzipWhenItIsNamed) {
    for (const char* header :
         {"gzip", "GZIP", "deflate, gzip", "x-gzip", "gzip;q=0.001", "br;q=1.0, gzip;q=0.8, *;q=0.1", "*", "*;q=0.5"})
        EXPECT_TRUE(acceptsGzip(header)) << header;
    for (const char* header :
         {"", "identity", "deflate", "gzip;q=0", "gzip; q=0.000", "*;q=0", "gzip;q=0, *", "gzipped"})
        EXPECT_FALSE(acceptsGzip(header)) << header;
}

TEST(CompressedTexts, GiveTheTextBack) {
    std::string text;
    for (int line = 0; line < 2000; ++line) text += "line " + std::to_string(line) + "\n";
    EXPECT_LT(gzipped(text).size(), text.size() / 2);
    EXPECT_EQ(inflated(gzipped(text)), text);
    EXPECT_EQ(inflated(gzipped("")), "");
}

TEST(CompressedTexts, CompressATextOnceAsLongAsItLives) {
    CompressedTexts texts;
    auto text = std::make_shared<const std::string>(5000, 'x');
    const auto first = texts.of(text);
    ASSERT_TRUE(first);
    EXPECT_EQ(texts.of(text), first);
    const std::weak_ptr<const std::string> kept = first;
    text = std::make_shared<const std::string>(6000, 'x');
    EXPECT_NE(texts.of(text), first);
    EXPECT_EQ(kept.use_count(), 1) << "what a text left behind is kept by the test alone";
}

TEST(CompressedTexts, AreBounded) {
    CompressedTexts texts;
    std::vector<std::shared_ptr<const std::string>> alive;
    std::vector<std::weak_ptr<const std::string>> compressed;
    for (int number = 0; number < 50; ++number) {
        alive.push_back(std::make_shared<const std::string>(5000, static_cast<char>('0' + number)));
        compressed.push_back(texts.of(alive.back()));
    }
    EXPECT_LE(std::count_if(compressed.begin(), compressed.end(), [](const auto& one) { return !one.expired(); }), 8);
}

TEST(CompressedTexts, LeaveATextThatDoesNotShrink) {
    std::string noise;
    std::uint64_t state = 1;
    for (int byte = 0; byte < 5000; ++byte) {
        state = state * 6364136223846793005U + 1442695040888963407U;
        noise += static_cast<char>(state >> 56U);
    }
    CompressedTexts texts;
    EXPECT_EQ(texts.of(std::make_shared<const std::string>(noise)), nullptr);
}

TEST(AccessLine, HoldsEveryPartOnce) {
    AccessRecord record;
    record.moment = 784111777;
    record.address = "127.0.0.1";
    record.user = "monitor";
    record.method = "GET";
    record.target = "/metrics?a=b";
    record.status = 200;
    record.bodyBytes = 30720;
    record.took = std::chrono::milliseconds(12);
    EXPECT_EQ(accessLine(record),
              "1994-11-06T08:49:37Z 127.0.0.1 monitor \"GET /metrics?a=b HTTP/1.1\" 200 30720 12ms");
}

TEST(AccessLine, EscapesWhatAClientSent) {
    AccessRecord record;
    record.user = "a b\"\n\x1b[2J\xff";
    record.method = "GET";
    record.target = "/\xe2\x80\xae\\";
    const std::string line = accessLine(record);
    EXPECT_THAT(line, HasSubstr(" a\\x20b\\x22\\x0a\\x1b[2J\\xff \"GET "));
    EXPECT_THAT(line, Not(HasSubstr("\xe2\x80\xae")));
    EXPECT_EQ(line.find('\n'), std::string::npos);
}

TEST(AccessLine, ShortensALongTarget) {
    AccessRecord record;
    record.method = "GET";
    record.target = std::string(8000, 'a');
    EXPECT_LT(accessLine(record).size(), 700U);
    EXPECT_THAT(accessLine(record), HasSubstr("aaa... HTTP/1.1\""));
}

TEST(AccessLine, SaysWhyThereWasNoRequest) {
    AccessRecord record;
    record.address = "unix";
    record.note = "TLS: no shared cipher\n";
    EXPECT_EQ(accessLine(record), "1970-01-01T00:00:00Z unix - \"-\" 0 0 0ms TLS: no shared cipher\\x0a");
}

}  // namespace
