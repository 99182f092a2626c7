// Where a server listens, and whether it may.
#include "serve/http/listen_address.h"

#include <gmock/gmock.h>

#include "serve/http/settings_error.h"

namespace {

using namespace diskmgt::serve;
using ::testing::HasSubstr;

std::string errorOf(const std::string& text) {
    try {
        return "no error: " + parseListenAddress(text).text();
    } catch (const SettingsError& error) {
        return error.what();
    }
}

TEST(ListenAddress, IsReadAndWrittenAlike) {
    for (const char* text : {"127.0.0.1:5988", "0.0.0.0:0", "192.0.2.7:65535", "[::1]:5988", "[::]:5989",
                             "[2001:db8::7]:1", "unix:/run/diskmgt/serve.sock", "unix:/a b"})
        EXPECT_EQ(parseListenAddress(text).text(), text);
}

TEST(ListenAddress, HasItsParts) {
    const ListenAddress four = parseListenAddress("127.0.0.1:5988");
    EXPECT_EQ(four.family, ListenAddress::Family::ipv4);
    EXPECT_EQ(four.host, "127.0.0.1");
    EXPECT_EQ(four.port, 5988);
    const ListenAddress six = parseListenAddress("[2001:DB8:0:0::7]:5989");
    EXPECT_EQ(six.family, ListenAddress::Family::ipv6);
    EXPECT_EQ(six.host, "2001:db8::7");
    EXPECT_EQ(six.port, 5989);
    const ListenAddress local = parseListenAddress("unix:/run/a:1");
    EXPECT_EQ(local.family, ListenAddress::Family::local);
    EXPECT_EQ(local.path, "/run/a:1");
}

TEST(ListenAddress, IsRefusedWithOneSentenceThatShowsTheForms) {
    EXPECT_EQ(errorOf("5988"),
              "cannot listen on \"5988\": write ADDRESS:PORT such as 127.0.0.1:5988 or [::1]:5988, or unix:PATH");
    for (const char* text : {"", "127.0.0.1", "server:5988", "*:5988", ":5988", "[]:5988", "[127.0.0.1]:5988",
                             "127.0.0.1.5:1", "0x7f.1:1", "[::1%lo]:5988", "[::g]:1"})
        EXPECT_THAT(errorOf(text), HasSubstr("write ADDRESS:PORT")) << text;
    EXPECT_THAT(errorOf("localhost:5988"), HasSubstr("names are not looked up"));
    EXPECT_THAT(errorOf("a\n:5988"), HasSubstr("\"a\\x0a:5988\""));
}

TEST(ListenAddress, NeedsAPort) {
    for (const char* text :
         {"127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1:http", "127.0.0.1:123456", "[::1]:", "[::1]"})
        EXPECT_THAT(errorOf(text), HasSubstr("port")) << text;
}

TEST(ListenAddress, OfIpv6NeedsBrackets) { EXPECT_THAT(errorOf("::1:5988"), HasSubstr("in brackets")); }

TEST(ListenAddress, OfAUnixSocketIsAWholePathThatFits) {
    for (const char* text : {"unix:", "unix:serve.sock", "unix:@name"})
        EXPECT_THAT(errorOf(text), HasSubstr("begins with /")) << text;
    EXPECT_EQ(parseListenAddress("unix:/" + std::string(106, 'a')).path.size(), 107U);
    EXPECT_THAT(errorOf("unix:/" + std::string(107, 'a')), HasSubstr("at most 107 bytes"));
    EXPECT_THAT(errorOf(std::string("unix:/a\0b", 9)), HasSubstr("at most 107 bytes"));
}

TEST(ListenAddress, IsLocalOnLoopbackAndOnAUnixSocket) {
    for (const char* text : {"127.0.0.1:1", "127.9.9.9:1", "[::1]:1", "[::ffff:127.0.0.1]:1", "unix:/a"})
        EXPECT_TRUE(parseListenAddress(text).isLocal()) << text;
    for (const char* text :
         {"0.0.0.0:1", "[::]:1", "192.0.2.1:1", "128.0.0.1:1", "[::2]:1", "[::ffff:192.0.2.1]:1", "[fe80::1]:1"})
        EXPECT_FALSE(parseListenAddress(text).isLocal()) << text;
}

TEST(ListeningRule, LetsLoopbackAndUnixSocketsBe) {
    for (const char* text : {"127.0.0.1:5988", "[::1]:5988", "unix:/a"}) {
        EXPECT_EQ(listeningRule(parseListenAddress(text), {}), "");
        EXPECT_EQ(listeningRule(parseListenAddress(text), {false, true, false}), "");
        EXPECT_EQ(listeningRule(parseListenAddress(text), {true, true, true}), "");
    }
}

TEST(ListeningRule, WantsTlsAndToKnowWhoItIsBeyondLoopback) {
    const ListenAddress wide = parseListenAddress("0.0.0.0:5989");
    EXPECT_EQ(listeningRule(wide, {true, true, false}), "");
    EXPECT_EQ(listeningRule(wide, {true, false, true}), "");
    EXPECT_EQ(listeningRule(wide, {true, true, true}), "");
    EXPECT_EQ(
        listeningRule(wide, {}),
        "cannot listen on 0.0.0.0:5989, which other machines reach, without TLS and passwords: give --tls-cert and "
        "--tls-key, and --credentials or --client-ca; or listen on 127.0.0.1");
    EXPECT_EQ(
        listeningRule(wide, {false, true, false}),
        "cannot listen on 0.0.0.0:5989, which other machines reach, without TLS: give --tls-cert and --tls-key; or "
        "listen on 127.0.0.1");
    EXPECT_EQ(
        listeningRule(wide, {true, false, false}),
        "cannot listen on 0.0.0.0:5989, which other machines reach, without asking who it is: give --credentials or "
        "--client-ca; or listen on 127.0.0.1");
}

TEST(ListeningRule, TakesNoClientCertificatesWithoutTls) {
    EXPECT_THAT(listeningRule(parseListenAddress("127.0.0.1:5988"), {false, true, true}), HasSubstr("need TLS"));
}

}  // namespace
