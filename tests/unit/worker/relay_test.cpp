// Bytes pass whole and in order, and never wait for a reader.
#include "worker/relay.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <limits.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

namespace diskmgt::worker {
namespace {

struct Pipe {
    Pipe() { (void)::pipe2(ends, O_NONBLOCK); }
    ~Pipe() {
        closeReader();
        closeWriter();
    }
    void closeReader() { close(ends[0]); }
    void closeWriter() { close(ends[1]); }
    int reader() const { return ends[0]; }
    int writer() const { return ends[1]; }
    void put(const std::string& bytes) const {
        ASSERT_EQ(::write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    std::string take(std::size_t most = 1 << 20) const {
        std::string bytes(most, '\0');
        const ssize_t count = ::read(ends[0], &bytes[0], most);
        bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return bytes;
    }

private:
    static void close(int& which) {
        if (which >= 0) (void)::close(which);
        which = -1;
    }
    int ends[2] = {-1, -1};
};

std::string text(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 31 + i / 251);
    return bytes;
}

struct Relays : ::testing::Test {
    Pipe from, to;
    Relay relay{to.writer()};
};

TEST_F(Relays, PassWhatThereIs) {
    from.put("bytes");
    EXPECT_EQ(relay.readFrom(from.reader()), Relay::Read::kSome);
    EXPECT_TRUE(relay.isHolding());
    EXPECT_EQ(relay.writeSome(), 0);
    EXPECT_FALSE(relay.isHolding());
    EXPECT_EQ(to.take(), "bytes");
}

TEST_F(Relays, TellNothingYetFromTheEnd) {
    EXPECT_EQ(relay.readFrom(from.reader()), Relay::Read::kNothingYet);
    from.closeWriter();
    EXPECT_EQ(relay.readFrom(from.reader()), Relay::Read::kEnd);
    EXPECT_FALSE(relay.isHolding());
}

TEST_F(Relays, HoldWhatAFullPipeDoesNotTake) {
    const std::string all = text(60000);
    const std::string filling(65536, 'f');
    to.put(filling);
    from.put(all);
    ASSERT_EQ(relay.readFrom(from.reader()), Relay::Read::kSome);
    EXPECT_EQ(relay.writeSome(), 0);  // comes back although nobody reads
    EXPECT_TRUE(relay.isHolding());
    EXPECT_EQ(to.take(), filling);
    std::string passed;
    for (int turn = 0; relay.isHolding() && turn < 1000; ++turn) {
        EXPECT_EQ(relay.writeSome(), 0);
        passed += to.take();
    }
    EXPECT_EQ(passed, all);
}

TEST_F(Relays, WriteToABlockingPipeOnlyWhatFitsAtOnce) {
    ASSERT_EQ(::fcntl(to.writer(), F_SETFL, 0), 0);
    const std::string all = text(30000);
    from.put(all);
    ASSERT_EQ(relay.readFrom(from.reader()), Relay::Read::kSome);
    to.put(std::string(65536 - PIPE_BUF, 'f'));
    EXPECT_EQ(relay.writeSome(), 0);  // would wait here for ever
    EXPECT_EQ(relay.writeSome(), 0);
    EXPECT_TRUE(relay.isHolding());
    EXPECT_EQ(to.take().substr(65536 - PIPE_BUF), all.substr(0, PIPE_BUF));
}

TEST_F(Relays, DropWhatCannotBeWrittenAndSayWhy) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    from.put("bytes");
    to.closeReader();
    ASSERT_EQ(relay.readFrom(from.reader()), Relay::Read::kSome);
    EXPECT_EQ(relay.writeSome(), EPIPE);
    EXPECT_FALSE(relay.isHolding());
    (void)std::signal(SIGPIPE, before);
}

TEST_F(Relays, SayThatTheDeviceIsFull) {
    const int full = ::open("/dev/full", O_WRONLY);
    ASSERT_GE(full, 0);
    Relay failing(full);
    from.put("bytes");
    ASSERT_EQ(failing.readFrom(from.reader()), Relay::Read::kSome);
    EXPECT_EQ(failing.writeSome(), ENOSPC);
    (void)::close(full);
}

TEST_F(Relays, PassManyPiecesInOrder) {
    std::string sent, passed;
    for (std::size_t round = 1; round <= 50; ++round) {
        const std::string piece = text(round * 97);
        sent += piece;
        from.put(piece);
        ASSERT_EQ(relay.readFrom(from.reader()), Relay::Read::kSome);
        while (relay.isHolding()) ASSERT_EQ(relay.writeSome(), 0);
        passed += to.take();
    }
    EXPECT_EQ(passed, sent);
}

}  // namespace
}  // namespace diskmgt::worker
