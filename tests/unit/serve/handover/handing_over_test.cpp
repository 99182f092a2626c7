// What goes from one process to another arrives as it was.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

#include "serve/handover/control.h"
#include "serve/handover/front_settings.h"
#include "serve/handover/instances_head.h"
#include "text/command_error.h"

using namespace diskmgt::serve;

TEST(HandingOver, SettingsArriveAsTheyWere) {
    FrontSettings sent;
    sent.serverNames = {"disks.example", "other"};
    sent.certificate = std::string("pem\0text", 8);
    sent.key = "key";
    sent.credentials = std::string(300000, 'c');  // more than a message takes
    sent.maxAgeSeconds = 0.25;
    const Descriptor file = inMemory(sent);
    ASSERT_TRUE(file.isOpen());
    const FrontSettings got = readSettings(file.get());
    EXPECT_EQ(got.serverNames, sent.serverNames);
    EXPECT_EQ(got.certificate, sent.certificate);
    EXPECT_EQ(got.key, sent.key);
    EXPECT_EQ(got.clientCa, "");
    EXPECT_EQ(got.credentials, sent.credentials);
    EXPECT_EQ(got.maxAgeSeconds, 0.25);
    EXPECT_EQ(got.limitSeconds, 30);
}

TEST(HandingOver, AFileWithoutSettingsIsRefused) {
    const Descriptor file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_THROW(readSettings(file.get()), diskmgt::CommandError);
}

TEST(HandingOver, TheHeadOfTheInstancesArrivesAsItWasAndACutOneDoesNot) {
    InstancesHead sent;
    sent.systemName = "server";
    sent.leftOut = {{"VEXSG_LogicalDisk", "a mount does not answer"}, {"Other", ""}};
    diskmgt::Beginning beginning;
    beginning.time = 7;
    beginning.steadyNs = 8;
    const std::string bytes = packed(sent) + packed(beginning);
    const auto got = unpackedHead(bytes);
    ASSERT_TRUE(got);
    EXPECT_EQ(got->systemName, "server");
    EXPECT_EQ(got->leftOut, sent.leftOut);
    EXPECT_EQ(got->beginning.steadyNs, 8);
    for (std::size_t length = 0; length < packed(sent).size(); ++length)
        EXPECT_FALSE(unpackedHead(bytes.substr(0, length))) << length;
}

namespace {

struct Channel {
    Channel() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0); }
    ~Channel() {
        for (const int end : ends) (void)::close(end);
    }
    int ends[2] = {-1, -1};
};

}  // namespace

TEST(Control, CarriesATextAndADescriptor) {
    Channel channel;
    const Descriptor null(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(sendControl(channel.ends[0], ControlKind::kTrouble, "why", null.get()));
    ControlReading reading = receiveControl(channel.ends[1]);
    ASSERT_TRUE(reading.message);
    EXPECT_EQ(reading.message->kind, ControlKind::kTrouble);
    EXPECT_EQ(reading.message->text, "why");
    EXPECT_TRUE(reading.message->descriptor.isOpen());
    EXPECT_NE(::fcntl(reading.message->descriptor.get(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(Control, DoesNotWaitAndNoticesTheEnd) {
    Channel channel;
    const ControlReading nothing = receiveControl(channel.ends[1]);
    EXPECT_FALSE(nothing.message || nothing.hasEnded);
    (void)::shutdown(channel.ends[0], SHUT_RDWR);
    EXPECT_TRUE(receiveControl(channel.ends[1]).hasEnded);
}

TEST(Control, AMessageThatIsTooLongEndsTheChannel) {
    Channel channel;
    const std::string flood(100000, 'S');
    ASSERT_EQ(::send(channel.ends[0], flood.data(), flood.size(), 0), static_cast<ssize_t>(flood.size()));
    EXPECT_TRUE(receiveControl(channel.ends[1]).hasEnded);
}

TEST(HandingOver, OfTwoDescriptorsInOneMessageNoneStays) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    const Descriptor sender(ends[0]);
    const Descriptor receiver(ends[1]);
    const int two[2] = {sender.get(), receiver.get()};
    char kind = static_cast<char>(ControlKind::kIdle);
    iovec part{&kind, 1};
    alignas(cmsghdr) char room[CMSG_SPACE(sizeof two)] = {};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = room;
    message.msg_controllen = CMSG_LEN(sizeof two);
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof two);
    std::memcpy(CMSG_DATA(header), two, sizeof two);
    const int lowestFree = ::fcntl(sender.get(), F_DUPFD_CLOEXEC, 0);
    (void)::close(lowestFree);
    ASSERT_EQ(::sendmsg(sender.get(), &message, MSG_NOSIGNAL), 1);
    EXPECT_TRUE(receiveControl(receiver.get()).hasEnded);
    const Descriptor after(::fcntl(sender.get(), F_DUPFD_CLOEXEC, 0));
    EXPECT_EQ(after.get(), lowestFree);
}
