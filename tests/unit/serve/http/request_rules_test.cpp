// Targets, Host and Origin.
#include "serve/http/request_rules.h"

#include <gmock/gmock.h>

namespace {

using namespace diskmgt::serve;

RequestHead headOf(const std::string& target, std::map<std::string, std::string> headers = {{"host", "localhost"}}) {
    RequestHead head;
    head.method = "GET";
    head.target = target;
    head.headers = std::move(headers);
    return head;
}

unsigned statusOf(const RequestHead& head, const Arrival& arrival = {},
                  const std::vector<std::string>& names = {"disks.example"}) {
    return headRefusal(head, requestTarget(head), names, arrival).status;
}

unsigned statusOfHost(const std::string& host) { return statusOf(headOf("/", {{"host", host}})); }

TEST(RequestTarget, IsAPathWithOrWithoutAQuery) {
    EXPECT_EQ(requestTarget(headOf("/metrics")).path, "/metrics");
    const RequestTarget target = requestTarget(headOf("/a/b?c=%41?d"));
    EXPECT_EQ(target.path, "/a/b");
    EXPECT_EQ(target.query, "c=%41?d");
    EXPECT_EQ(target.authority, "");
}

TEST(RequestTarget, IsDecodedOnce) {
    EXPECT_EQ(requestTarget(headOf("/%6detrics")).path, "/metrics");
    EXPECT_EQ(requestTarget(headOf("/%2525")).path, "/%25");
    EXPECT_EQ(requestTarget(headOf("/%2F%2e%2E/")).path, "//../");
    EXPECT_EQ(requestTarget(headOf("/%c3%A4")).path, "/\xC3\xA4");
}

TEST(RequestTarget, MayBeAbsolute) {
    for (const char* text : {"http://localhost:5988/metrics?a", "HTTPS://localhost:5988/metrics?a"}) {
        const RequestTarget target = requestTarget(headOf(text));
        EXPECT_EQ(target.authority, "localhost:5988");
        EXPECT_EQ(target.path, "/metrics");
        EXPECT_EQ(target.query, "a");
    }
    EXPECT_EQ(requestTarget(headOf("http://localhost")).path, "/");
    EXPECT_EQ(requestTarget(headOf("http://localhost?a")).query, "a");
}

TEST(RequestTarget, IsAStarForOptionsAlone) {
    RequestHead head = headOf("*");
    EXPECT_EQ(requestTarget(head).refusal.status, 400U);
    head.method = "OPTIONS";
    EXPECT_EQ(requestTarget(head).path, "*");
}

TEST(RequestTarget, IsRefusedWhenItIsNoPath) {
    for (const char* text : {"metrics", "", "/a#b", "/%", "/%4", "/%zz", "/%00", "/%0a", "/%7F", "http:///a", "http://",
                             "ftp://a/", "localhost:5988"})
        EXPECT_EQ(requestTarget(headOf(text)).refusal.status, 400U) << text;
}

TEST(HostHeader, MayNameALoopbackAddress) {
    for (const char* host : {"localhost", "LocalHost:5988", "localhost.", "127.0.0.1", "127.0.0.1:5988",
                             "127.255.3.4:1", "[::1]", "[::1]:5988", "[0:0:0:0:0:0:0:1]:5988", "localhost:"})
        EXPECT_EQ(statusOfHost(host), 0U) << host;
}

TEST(HostHeader, MayNameTheServer) {
    EXPECT_EQ(statusOfHost("disks.example"), 0U);
    EXPECT_EQ(statusOfHost("Disks.Example.:5989"), 0U);
    const std::vector<std::string> names{comparableHost("[2001:DB8:0::1]"), comparableHost("Server.")};
    EXPECT_EQ(statusOf(headOf("/", {{"host", "[2001:db8::1]:5989"}}), {}, names), 0U);
    EXPECT_EQ(statusOf(headOf("/", {{"host", "server"}}), {}, names), 0U);
}

TEST(HostHeader, MayNotNameAnotherServer) {
    for (const char* host : {"evil.example", "localhost.evil.example", "127.0.0.1.evil.example", "128.0.0.1", "0.0.0.0",
                             "[::2]", "disks.example.org", "2130706433", "127.1", "", "."})
        EXPECT_EQ(statusOfHost(host), 421U) << host;
}

TEST(HostHeader, MustBeReadable) {
    for (const char* host : {"[::1", "[::1]x", "::1", "[127.0.0.1]", "localhost:x", "localhost:123456", "[]", "a:b:c"})
        EXPECT_EQ(statusOfHost(host), 400U) << host;
}

TEST(HostHeader, IsNeededFromHttp11On) {
    RequestHead head = headOf("/", {});
    EXPECT_EQ(statusOf(head), 400U);
    head.minorVersion = 0;
    EXPECT_EQ(statusOf(head), 0U);
}

TEST(HostHeader, CannotBeReplacedByAnAbsoluteTarget) {
    EXPECT_EQ(statusOf(headOf("http://evil.example/", {{"host", "localhost"}})), 421U);
    EXPECT_EQ(statusOf(headOf("http://localhost/", {{"host", "evil.example"}})), 421U);
    EXPECT_EQ(statusOf(headOf("http://localhost/", {{"host", "localhost"}})), 0U);
    EXPECT_EQ(statusOf(headOf("http://user@localhost/", {{"host", "localhost"}})), 421U);
}

TEST(HostHeader, MayBeAnythingOverAUnixSocket) {
    Arrival arrival;
    arrival.isOverUnixSocket = true;
    EXPECT_EQ(statusOf(headOf("/", {{"host", "any thing"}}), arrival), 0U);
    EXPECT_EQ(statusOf(headOf("/", {}), arrival), 400U);
}

TEST(Origin, MustBeTheServersOwn) {
    const auto status = [](const std::string& origin, const std::string& host, bool isTls) {
        Arrival arrival;
        arrival.isOverTls = isTls;
        return statusOf(headOf("/", {{"host", host}, {"origin", origin}}), arrival);
    };
    EXPECT_EQ(status("http://localhost:5988", "localhost:5988", false), 0U);
    EXPECT_EQ(status("http://localhost", "localhost:80", false), 0U);
    EXPECT_EQ(status("https://disks.example:5989", "disks.example:5989", true), 0U);
    EXPECT_EQ(status("https://disks.example", "disks.example:443", true), 0U);
    EXPECT_EQ(status("https://localhost:5988", "localhost:5988", false), 403U);
    EXPECT_EQ(status("http://localhost:5988", "localhost:5988", true), 403U);
    EXPECT_EQ(status("http://localhost:8080", "localhost:5988", false), 403U);
    EXPECT_EQ(status("http://evil.example", "localhost:5988", false), 403U);
    EXPECT_EQ(status("null", "localhost:5988", false), 403U);
    EXPECT_EQ(status("", "localhost:5988", false), 403U);
    EXPECT_EQ(status("http://localhost:5988, http://evil.example", "localhost:5988", false), 403U);
}

TEST(Origin, OfARequestThatABrowserMakesForAnotherSiteIsRefused) {
    const auto status = [](const std::string& site, const std::string& mode) {
        return statusOf(headOf("/", {{"host", "localhost"}, {"sec-fetch-site", site}, {"sec-fetch-mode", mode}}));
    };
    EXPECT_EQ(status("cross-site", "no-cors"), 403U);
    EXPECT_EQ(status("same-site", "cors"), 403U);
    EXPECT_EQ(status("cross-site", "navigate"), 0U);  // a link that somebody follows
    EXPECT_EQ(status("same-origin", "cors"), 0U);
    EXPECT_EQ(status("none", "navigate"), 0U);
}

TEST(HeadRules, RefuseProxyingAndCompressedBodies) {
    RequestHead proxying = headOf("localhost:5988");
    proxying.method = "CONNECT";
    EXPECT_EQ(statusOf(proxying), 501U);
    EXPECT_EQ(statusOf(headOf("/", {{"host", "localhost"}, {"content-encoding", "GZIP"}})), 415U);
    EXPECT_EQ(statusOf(headOf("/", {{"host", "localhost"}, {"content-encoding", "Identity"}})), 0U);
}

}  // namespace
