// The server as the process that runs it uses it: settings, descriptors, timers and its end.
#include "serve/http/server.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace diskmgt::serve;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class NoSite : public Site {
public:
    void answer(const SiteRequest& /*request*/, std::function<void(SiteAnswer)> done) override { done({}); }
};

class HttpServerTest : public ::testing::Test {
protected:
    NoSite site;
    std::vector<std::string> order;
};

TEST_F(HttpServerTest, IsNotMadeOfSettingsThatCannotBeUsed) {
    ServerSettings settings;
    settings.secrets.credentials = "";  // a file that is there and empty is not the same as none
    EXPECT_THROW(HttpServer(site, settings), SettingsError);
    settings.secrets.credentials.reset();
    settings.secrets.certificate = "";
    EXPECT_THROW(HttpServer(site, settings), SettingsError);
}

TEST_F(HttpServerTest, ListensOnNothingElseThanListeningSockets) {
    HttpServer server(site, {});
    const auto errorOf = [&](int descriptor) {
        try {
            server.listenOn(descriptor);
            return std::string("no error");
        } catch (const SettingsError& error) {
            return std::string(error.what());
        }
    };
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    EXPECT_THAT(errorOf(ends[0]), HasSubstr("is not a listening socket"));
    EXPECT_LT(::fcntl(ends[0], F_GETFD), 0) << "it is the server's, who closes it";
    (void)::close(ends[1]);
    const int file = ::open("/dev/null", O_RDONLY);
    EXPECT_THAT(errorOf(file), HasSubstr("is not a listening socket"));
    EXPECT_LT(::fcntl(file, F_GETFD), 0);
    EXPECT_THAT(errorOf(::socket(AF_INET, SOCK_STREAM, 0)), HasSubstr("is not a listening socket"));
    EXPECT_THAT(errorOf(::socket(AF_UNIX, SOCK_DGRAM, 0)), HasSubstr("is not a listening socket"));
}

TEST_F(HttpServerTest, CallsBackInOrderAndEnds) {
    HttpServer server(site, {});
    server.after(20ms, [&] {
        order.emplace_back("second");
        server.finish();
    });
    server.after(0ms, [&] { order.emplace_back("first"); });
    server.after(1h, [&] { order.emplace_back("never"); });
    server.run();
    EXPECT_THAT(order, ElementsAre("first", "second"));
}

TEST_F(HttpServerTest, WatchesADescriptorUntilItIsToldNotTo) {
    HttpServer server(site, {});
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    ASSERT_EQ(::write(ends[1], "ab", 2), 2);
    server.watch(ends[0], [&] {
        char byte = 0;
        if (::read(ends[0], &byte, 1) == 1) return order.emplace_back(1, byte), void();
        order.emplace_back("end");
        server.unwatch(ends[0]);  // within its own callback
        server.unwatch(ends[0]);  // and once more
        server.finish();
    });
    server.after(20ms, [&] { (void)::close(ends[1]); });
    server.run();
    EXPECT_THAT(order, ElementsAre("a", "b", "end"));
    EXPECT_GE(::fcntl(ends[0], F_GETFD), 0) << "it stays the caller's";
    (void)::close(ends[0]);
}

TEST_F(HttpServerTest, GoesOnWhenACallbackThrows) {
    ServerSettings settings;
    settings.log = [&](const std::string& line) { order.push_back(line); };
    HttpServer server(site, settings);
    server.after(0ms, [] { throw std::runtime_error("no luck"); });
    server.after(20ms, [&] { server.finish(); });
    server.run();
    EXPECT_THAT(order, ElementsAre("a request failed: no luck"));
}

TEST_F(HttpServerTest, KeepsItsSettingsWhenNewOnesCannotBeUsed) {
    HttpServer server(site, {});
    EXPECT_THROW(server.replaceSettings({{}, {}, {}, "nonsense"}), SettingsError);
    server.replaceSettings({});
    EXPECT_EQ(server.busyConnections(), 0U);
}

}  // namespace
