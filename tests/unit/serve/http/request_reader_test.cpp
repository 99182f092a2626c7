// Requests out of bytes, and what is none.
#include "serve/http/request_reader.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace {

using diskmgt::serve::RequestReader;
using State = RequestReader::State;

constexpr std::size_t kHead = 8192;
constexpr std::size_t kBody = 65536;

/// Gives the bytes in pieces of this size, as far as they are wanted.
State feed(RequestReader& reader, const std::string& bytes, std::size_t piece = std::string::npos) {
    for (std::size_t at = 0; at < bytes.size();) {
        if (reader.state() == State::complete || reader.state() == State::refused) break;
        const auto [place, size] = reader.room();
        const std::size_t count = std::min({size, piece, bytes.size() - at});
        std::memcpy(place, &bytes[at], count);
        (void)reader.received(count);
        at += count;
    }
    return reader.state();
}

std::string request(const std::string& headers, const std::string& body = "") {
    return "POST /cimom HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n" + body;
}

TEST(RequestReader, ReadsARequestAtOnceOrByteByByte) {
    const std::string bytes =
        "GET /metrics?a=b HTTP/1.1\r\nHost: localhost:5988\r\nAccept: a\r\nACCEPT:\tb \r\naccept:\r\n\r\n";
    for (const std::size_t piece : {bytes.size(), std::size_t{1}}) {
        RequestReader reader(kHead, kBody);
        ASSERT_EQ(feed(reader, bytes, piece), State::complete);
        EXPECT_EQ(reader.head().method, "GET");
        EXPECT_EQ(reader.head().target, "/metrics?a=b");
        EXPECT_EQ(reader.head().minorVersion, 1U);
        EXPECT_EQ(reader.head().header("host"), "localhost:5988");
        EXPECT_EQ(reader.head().header("accept"), "a, b");
        EXPECT_TRUE(reader.head().keepsAlive);
        EXPECT_EQ(reader.takeBody(), "");
    }
}

TEST(RequestReader, KnowsHowFarARequestHasCome) {
    RequestReader reader(kHead, kBody);
    EXPECT_EQ(reader.state(), State::waiting);
    EXPECT_EQ(feed(reader, "P"), State::head);
    EXPECT_EQ(feed(reader, "OST / HTTP/1.1\r\nHost: a\r\nContent-Length: 3\r\n\r\n"), State::body);
    EXPECT_EQ(reader.head().method, "POST");
    EXPECT_EQ(feed(reader, "abc"), State::complete);
    EXPECT_EQ(reader.takeBody(), "abc");
    EXPECT_EQ(reader.next(), State::waiting);
}

TEST(RequestReader, SkipsEmptyLinesBeforeARequest) {
    for (const std::size_t piece : {std::size_t{100}, std::size_t{1}}) {
        RequestReader reader(kHead, kBody);
        EXPECT_EQ(feed(reader, "\r\n\r\nGET / HTTP/1.1\r\nHost: a\r\n\r\n", piece), State::complete);
        EXPECT_EQ(reader.head().method, "GET");
    }
}

TEST(RequestReader, ReadsRequestsThatComeTogetherOneAfterTheOther) {
    RequestReader reader(kHead, kBody);
    const std::string bytes = request("Content-Length: 2\r\n", "ab") + request("Content-Length: 3\r\n", "cde") +
                              "GET /last HTTP/1.1\r\nHost: a\r\n\r\nGET /un";
    const auto [place, size] = reader.room();
    ASSERT_GT(size, bytes.size());
    std::memcpy(place, bytes.data(), bytes.size());
    ASSERT_EQ(reader.received(bytes.size()), State::complete);
    EXPECT_EQ(reader.takeBody(), "ab");
    ASSERT_EQ(reader.next(), State::complete);
    EXPECT_EQ(reader.takeBody(), "cde");
    ASSERT_EQ(reader.next(), State::complete);
    EXPECT_EQ(reader.head().target, "/last");
    EXPECT_EQ(reader.next(), State::head);
}

TEST(RequestReader, JoinsChunksAndIgnoresTrailers) {
    const std::string bytes =
        request("Transfer-Encoding: chunked\r\n",
                "3\r\nabc\r\n0A;name=\"value\"\r\n0123456789\r\n0\r\nHost: other\r\nX: y\r\n\r\n");
    for (const std::size_t piece : {bytes.size(), std::size_t{1}, std::size_t{7}}) {
        RequestReader reader(kHead, kBody);
        ASSERT_EQ(feed(reader, bytes, piece), State::complete);
        EXPECT_EQ(reader.takeBody(), "abc0123456789");
        EXPECT_EQ(reader.head().header("host"), "localhost");
        EXPECT_FALSE(reader.head().has("x"));
    }
}

TEST(RequestReader, TakesABodyUpToTheLimit) {
    const std::string longest(kBody, 'x');
    RequestReader byLength(kHead, kBody);
    EXPECT_EQ(feed(byLength, request("Content-Length: 65536\r\n", longest)), State::complete);
    EXPECT_EQ(byLength.takeBody(), longest);
    RequestReader inChunks(kHead, kBody);
    EXPECT_EQ(feed(inChunks, request("Transfer-Encoding: chunked\r\n", "10000\r\n" + longest + "\r\n0\r\n\r\n")),
              State::complete);
    EXPECT_EQ(inChunks.takeBody(), longest);
}

TEST(RequestReader, TakesABodyOfChunksOfOneByte) {
    std::string chunks;
    for (std::size_t at = 0; at < kBody; ++at) chunks += "1\r\nx\r\n";
    RequestReader reader(kHead, kBody);
    EXPECT_EQ(feed(reader, request("Transfer-Encoding: chunked\r\n", chunks + "0\r\n\r\n")), State::complete);
    EXPECT_EQ(reader.takeBody(), std::string(kBody, 'x'));
}

TEST(RequestReader, TakesAHeadUpToTheLimit) {
    const std::string start = "GET / HTTP/1.1\r\nHost: a\r\nX: ";
    const std::string head = start + std::string(kHead - start.size() - 4, 'x') + "\r\n\r\n";
    ASSERT_EQ(head.size(), kHead);
    for (const std::size_t piece : {std::size_t{100000}, std::size_t{1}}) {
        RequestReader reader(kHead, kBody);
        EXPECT_EQ(feed(reader, head, piece), State::complete);
        RequestReader longer(kHead, kBody);
        EXPECT_EQ(feed(longer, start + "x" + head.substr(start.size()), piece), State::refused);
        EXPECT_EQ(longer.refusal().status, 431U);
    }
}

TEST(RequestReader, KeepsAConnectionAsItsVersionSays) {
    const auto keeps = [](const std::string& version, const std::string& headers) {
        RequestReader reader(kHead, kBody);
        EXPECT_EQ(feed(reader, "GET / HTTP/" + version + "\r\nHost: a\r\n" + headers + "\r\n"), State::complete);
        return reader.head().keepsAlive;
    };
    EXPECT_TRUE(keeps("1.1", ""));
    EXPECT_TRUE(keeps("1.1", "Connection: Keep-Alive, TE\r\n"));
    EXPECT_FALSE(keeps("1.1", "Connection: close\r\n"));
    EXPECT_FALSE(keeps("1.0", ""));
    EXPECT_TRUE(keeps("1.0", "Connection: keep-alive\r\n"));
    EXPECT_FALSE(keeps("1.0", "Connection: keep-alive, close\r\n"));
}

TEST(RequestReader, KnowsWhoWaitsForPermissionToSendABody) {
    RequestReader reader(kHead, kBody);
    EXPECT_EQ(feed(reader, request("Expect: 100-Continue\r\nContent-Length: 1\r\n")), State::body);
    EXPECT_TRUE(reader.head().expectsContinue);
    RequestReader older(kHead, kBody);  // HTTP/1.0 cannot be told to go on
    EXPECT_EQ(feed(older, "POST / HTTP/1.0\r\nExpect: 100-continue\r\nContent-Length: 1\r\n\r\n"), State::body);
    EXPECT_FALSE(older.head().expectsContinue);
}

struct Refused {
    const char* label;
    std::string bytes;
    unsigned status;
};
class RefusedRequest : public ::testing::TestWithParam<Refused> {};

TEST_P(RefusedRequest, HasAStatusAndASentenceHoweverItIsCut) {
    for (const std::size_t piece : {std::size_t{1} << 30U, std::size_t{1}, std::size_t{13}}) {
        RequestReader reader(kHead, kBody);
        ASSERT_EQ(feed(reader, GetParam().bytes, piece), State::refused) << "in pieces of " << piece;
        EXPECT_EQ(reader.refusal().status, GetParam().status);
        EXPECT_THAT(reader.refusal().reason, ::testing::EndsWith("."));
    }
}

const std::string kLine = "GET / HTTP/1.1\r\n";
const std::string kChunked = "Transfer-Encoding: chunked\r\n";

INSTANTIATE_TEST_SUITE_P(
    Bytes, RefusedRequest,
    ::testing::Values(Refused{"two_lengths", request("Content-Length: 3\r\nContent-Length: 4\r\n"), 400},
                      Refused{"the_same_length_twice", request("Content-Length: 3\r\nContent-Length: 3\r\n"), 400},
                      Refused{"a_list_of_lengths", request("Content-Length: 3, 3\r\n"), 400},
                      Refused{"length_and_chunks", request("Content-Length: 3\r\n" + kChunked), 400},
                      Refused{"chunks_and_length", request(kChunked + "Content-Length: 3\r\n"), 400},
                      Refused{"two_transfer_encodings", request("Transfer-Encoding: gzip\r\n" + kChunked), 400},
                      Refused{"chunked_twice", request(kChunked + kChunked), 400},
                      Refused{"another_transfer_encoding", request("Transfer-Encoding: gzip, chunked\r\n"), 501},
                      Refused{"chunked_not_last", request("Transfer-Encoding: chunked, gzip\r\n"), 501},
                      Refused{"nearly_chunked", request("Transfer-Encoding: xchunked\r\n"), 501},
                      Refused{"chunked_with_a_parameter", request("Transfer-Encoding: chunked;a=b\r\n"), 501},
                      Refused{"chunks_in_1_0", "POST / HTTP/1.0\r\n" + kChunked + "\r\n", 400},
                      Refused{"a_length_with_a_sign", request("Content-Length: +3\r\n"), 400},
                      Refused{"a_negative_length", request("Content-Length: -1\r\n"), 400},
                      Refused{"a_hexadecimal_length", request("Content-Length: 0x3\r\n"), 400},
                      Refused{"no_length_at_all", request("Content-Length:\r\n"), 400},
                      Refused{"a_length_past_64_bits", request("Content-Length: 18446744073709551616\r\n"), 400},
                      Refused{"a_length_past_the_limit", request("Content-Length: 65537\r\n"), 413},
                      Refused{"a_length_of_a_gigabyte", request("Content-Length: 1073741824\r\n"), 413},
                      Refused{"a_chunk_past_the_limit", request(kChunked, "10001\r\n"), 413},
                      Refused{"chunks_past_the_limit",
                              request(kChunked, "10000\r\n" + std::string(kBody, 'x') + "\r\n1\r\n"), 413},
                      Refused{"a_chunk_size_past_64_bits", request(kChunked, "10000000000000000\r\n"), 400},
                      Refused{"a_chunk_size_that_is_no_number", request(kChunked, "g\r\n\r\n"), 400},
                      Refused{"a_chunk_longer_than_its_size", request(kChunked, "3\r\nabcd\r\n0\r\n\r\n"), 400},
                      Refused{"a_chunk_line_with_a_bare_return", request(kChunked, "3\rxyz"), 400},
                      Refused{"an_endless_chunk_line", request(kChunked, "3;" + std::string(20000, 'a')), 431},
                      Refused{"endless_trailers", request(kChunked, "0\r\nX: " + std::string(20000, 'a')), 431},
                      Refused{"a_folded_header", kLine + "Host: a\r\nX: b\r\n c\r\n\r\n", 400},
                      Refused{"a_header_folded_with_a_tab", kLine + "Host: a\r\n\tb\r\n\r\n", 400},
                      Refused{"a_blank_before_the_first_header", kLine + " Host: a\r\n\r\n", 400},
                      Refused{"a_blank_before_the_colon", kLine + "Host : a\r\n\r\n", 400},
                      Refused{"a_header_without_a_name", kLine + ": a\r\n\r\n", 400},
                      Refused{"a_header_without_a_colon", kLine + "Host\r\n\r\n", 400},
                      Refused{"two_hosts", kLine + "Host: a\r\nHost: b\r\n\r\n", 400},
                      Refused{"two_authorizations",
                              kLine + "Host: a\r\nAuthorization: Basic a\r\nAuthorization: Basic b\r\n\r\n", 400},
                      Refused{"a_bare_line_feed", "GET / HTTP/1.1\nHost: a\n\n", 400},
                      Refused{"a_bare_line_feed_between_headers", kLine + "Host: a\nX: b\r\n\r\n", 400},
                      Refused{"a_bare_return", kLine + "Host: a\rX: b\r\n\r\n", 400},
                      Refused{"a_zero_byte", kLine + std::string("Host: a\0b\r\n\r\n", 12), 400},
                      Refused{"a_zero_byte_in_the_target", std::string("GET /\0 HTTP/1.1\r\n", 17), 400},
                      Refused{"an_escape_character", kLine + "X: \033[1m\r\n\r\n", 400},
                      Refused{"a_deleted_character", kLine + "X: \177\r\n\r\n", 400},
                      Refused{"a_tls_greeting", std::string("\x16\x03\x01\x02\x00\x01", 6), 400},
                      Refused{"no_version", "GET /\r\n", 400}, Refused{"another_protocol", "SSH-2.0-client\r\n", 400},
                      Refused{"version_2", "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", 505},
                      Refused{"version_1_2", "GET / HTTP/1.2\r\n", 505},
                      Refused{"version_0_9", "GET / HTTP/0.9\r\n", 505},
                      Refused{"a_lower_case_version", "GET / http/1.1\r\n", 400},
                      Refused{"no_target", "GET  HTTP/1.1\r\nHost: a\r\n\r\n", 400},
                      Refused{"a_blank_in_the_target", "GET /a b HTTP/1.1\r\nHost: a\r\n\r\n", 400},
                      Refused{"a_tab_in_the_request_line", "GET\t/ HTTP/1.1\r\nHost: a\r\n\r\n", 400},
                      Refused{"a_byte_that_is_not_ascii", "GET /\xC3\xA4 HTTP/1.1\r\n", 400},
                      Refused{"a_method_that_is_no_word", "G(T / HTTP/1.1\r\nHost: a\r\n\r\n", 400},
                      Refused{"a_blank_before_the_method", " GET / HTTP/1.1\r\nHost: a\r\n\r\n", 400},
                      Refused{"a_broken_connection_header", kLine + "Host: a\r\nConnection: close, \"\r\n\r\n", 400},
                      Refused{"another_expectation", request("Expect: a-miracle\r\n"), 417},
                      Refused{"a_long_request_line", "GET /" + std::string(kHead, 'a'), 414},
                      Refused{"many_headers",
                              kLine + std::string(1, 'X') +
                                  [] {
                                      std::string headers;
                                      for (int number = 0; number < 2000; ++number) headers += "X: y\r\n";
                                      return headers;
                                  }(),
                              431}),
    [](const auto& row) { return row.param.label; });

TEST(RequestReader, StillKnowsWhatWasAskedForWhenTheBodyIsTooLong) {
    RequestReader reader(kHead, kBody);
    ASSERT_EQ(feed(reader, request("Content-Length: 99999999\r\n")), State::refused);
    EXPECT_EQ(reader.head().method, "POST");
    EXPECT_EQ(reader.head().target, "/cimom");
}

}  // namespace
