// SPDX-License-Identifier: GPL-3.0-or-later
#include "phonelink/tcp_transport.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <future>
#include <string>

#include "fake_clock.h"
#include "tcp_test_listener.h"
#include "unanswered_tcp.h"

namespace {

volatile sig_atomic_t g_sigpipes = 0;
void CountSigpipe(int) {
    g_sigpipes = g_sigpipes + 1;
}

int OpenDescriptors() {
    int count = 0;
    DIR* dir = ::opendir("/proc/self/fd");
    if (dir == nullptr) return -1;
    while (::readdir(dir) != nullptr) ++count;
    ::closedir(dir);
    return count;
}

std::string Address(const char* host, unsigned port) {
    return std::string(host) + ":" + std::to_string(port);
}

TransferError WriteText(PhoneChannel* channel, const std::string& text) {
    return ChannelWrite(channel, reinterpret_cast<const std::uint8_t*>(text.data()),
                        static_cast<std::uint32_t>(text.size()));
}

class TcpTransportTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(listener_.Ok());
        ASSERT_EQ(CreateTcpTransport(&channel_), 0u);
        ASSERT_NE(channel_, nullptr);
    }
    void TearDown() override { EXPECT_EQ(ChannelClose(channel_), 0u); }
    TcpTestListener listener_;
    PhoneChannel* channel_ = nullptr;
};

TEST_F(TcpTransportTest, DottedAddressConnects) {
    std::string address = Address("127.0.0.1", listener_.Port());
    ASSERT_EQ(ChannelOpen(channel_, kOpenModeConnect, address.c_str()), 0u);
    int peer = listener_.Accept();
    ASSERT_GE(peer, 0);
    EXPECT_EQ(listener_.Accepted(), 1);
    // The caller's text is left as it was (the ':' is not cut into it).
    EXPECT_EQ(address, Address("127.0.0.1", listener_.Port()));
    // After the connect the socket no longer blocks.
    EXPECT_NE(::fcntl(channel_->transport->handle, F_GETFL, 0) & O_NONBLOCK, 0);
    ::close(peer);
}

TEST_F(TcpTransportTest, HostNameIsResolved) {
    std::string address = Address("localhost", listener_.Port());
    ASSERT_EQ(ChannelOpen(channel_, kOpenModeConnect, address.c_str()), 0u);
    int peer = listener_.Accept();
    EXPECT_GE(peer, 0);
    if (peer >= 0) ::close(peer);
}

TEST_F(TcpTransportTest, AddressWithoutColonFailsBeforeAnyNetworkActivity) {
    EXPECT_EQ(ChannelOpen(channel_, kOpenModeConnect, "127.0.0.1"), kErrInvalidParameter);
    EXPECT_EQ(ChannelOpen(channel_, kOpenModeConnect, "localhost"), kErrInvalidParameter);
    EXPECT_EQ(ChannelOpen(channel_, kOpenModeConnect, ""), kErrInvalidParameter);
    EXPECT_EQ(listener_.Accept(0), -1);
    EXPECT_EQ(listener_.Accepted(), 0);
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    EXPECT_NE(::getpeername(channel_->transport->handle, reinterpret_cast<sockaddr*>(&peer), &size),
              0);
    EXPECT_EQ(errno, ENOTCONN);
}

TEST_F(TcpTransportTest, PortIsTakenModulo65536) {
    std::string address = Address("127.0.0.1", listener_.Port() + 65536u);
    ASSERT_EQ(ChannelOpen(channel_, kOpenModeConnect, address.c_str()), 0u);
    int peer = listener_.Accept();
    EXPECT_GE(peer, 0);
    if (peer >= 0) ::close(peer);
}

TEST_F(TcpTransportTest, RefusedConnectionAndUnknownHostFail) {
    unsigned port = listener_.Port();
    listener_.Stop();  // nobody listens on the port any more
    EXPECT_EQ(ChannelOpen(channel_, kOpenModeConnect, Address("127.0.0.1", port).c_str()),
              kErrConnection);
    PhoneChannel* other = nullptr;
    ASSERT_EQ(CreateTcpTransport(&other), 0u);
    EXPECT_EQ(ChannelOpen(other, kOpenModeConnect, ":4000"), kErrConnection);  // empty host
    EXPECT_EQ(ChannelClose(other), 0u);
}

TEST_F(TcpTransportTest, OpenWithAnotherModeDoesNothing) {
    EXPECT_EQ(ChannelOpen(channel_, 0, Address("127.0.0.1", listener_.Port()).c_str()), 0u);
    EXPECT_EQ(ChannelOpen(channel_, 7, "no colon"), 0u);
    EXPECT_EQ(listener_.Accept(0), -1);
}

TEST_F(TcpTransportTest, ReadsReturnWhatArrivedAndNothingWithoutWaiting) {
    ASSERT_EQ(
        ChannelOpen(channel_, kOpenModeConnect, Address("127.0.0.1", listener_.Port()).c_str()),
        0u);
    int peer = listener_.Accept();
    ASSERT_GE(peer, 0);
    std::uint8_t buffer[64];
    std::uint32_t length = sizeof buffer;
    ASSERT_EQ(ChannelRead(channel_, buffer, &length), 0u);
    EXPECT_EQ(length, 0u);

    ASSERT_EQ(::send(peer, "\r\nOK\r\n", 6, 0), 6);
    std::string got;
    for (int i = 0; i < 100000 && got.size() < 6; ++i) {
        length = sizeof buffer;
        ASSERT_EQ(ChannelRead(channel_, buffer, &length), 0u);
        got.append(reinterpret_cast<char*>(buffer), length);
    }
    EXPECT_EQ(got, "\r\nOK\r\n");

    ASSERT_EQ(WriteText(channel_, "AT\r"), 0u);
    char answer[8] = {};
    pollfd ready{peer, POLLIN, 0};
    ASSERT_EQ(::poll(&ready, 1, 5000), 1);
    EXPECT_EQ(::recv(peer, answer, sizeof answer, 0), 3);
    EXPECT_STREQ(answer, "AT\r");
    ::close(peer);
}

TEST_F(TcpTransportTest, PeerCloseMakesReadsReturnNothing) {
    ASSERT_EQ(
        ChannelOpen(channel_, kOpenModeConnect, Address("127.0.0.1", listener_.Port()).c_str()),
        0u);
    int peer = listener_.Accept();
    ASSERT_GE(peer, 0);
    ::close(peer);
    for (int i = 0; i < 20; ++i) {
        std::uint8_t buffer[16];
        std::uint32_t length = sizeof buffer;
        ASSERT_EQ(ChannelRead(channel_, buffer, &length), 0u);
        EXPECT_EQ(length, 0u);
    }
}

TEST_F(TcpTransportTest, WriteToAClosedPeerFailsWithoutSigpipe) {
    ASSERT_EQ(
        ChannelOpen(channel_, kOpenModeConnect, Address("127.0.0.1", listener_.Port()).c_str()),
        0u);
    int peer = listener_.Accept();
    ASSERT_GE(peer, 0);
    ::close(peer);
    // The first write after the close still goes into the socket; the peer answers it with a
    // reset. Wait for that reset (no sleeping: poll reports the error condition).
    EXPECT_EQ(WriteText(channel_, "AT\r"), 0u);
    pollfd reset{channel_->transport->handle, 0, 0};
    ASSERT_EQ(::poll(&reset, 1, 5000), 1);
    // Count SIGPIPE instead of relying on its default action (the test may have been started
    // with it ignored): a send without MSG_NOSIGNAL would raise it here.
    g_sigpipes = 0;
    struct sigaction counting {};
    counting.sa_handler = &CountSigpipe;
    sigemptyset(&counting.sa_mask);
    struct sigaction previous {};
    ASSERT_EQ(::sigaction(SIGPIPE, &counting, &previous), 0);
    TransferError first = WriteText(channel_, "AT\r");
    TransferError second = WriteText(channel_, "AT\r");
    ::sigaction(SIGPIPE, &previous, nullptr);
    EXPECT_EQ(first, kErrConnection);
    EXPECT_EQ(second, kErrConnection);
    EXPECT_EQ(g_sigpipes, 0);
}

TEST(TcpTransport, CloseReleasesTheSocketExactlyOnce) {
    TcpTestListener listener;
    ASSERT_TRUE(listener.Ok());
    int before = OpenDescriptors();
    PhoneChannel* channel = nullptr;
    ASSERT_EQ(CreateTcpTransport(&channel), 0u);
    EXPECT_EQ(OpenDescriptors(), before + 1);
    int socketFd = channel->transport->handle;
    ASSERT_EQ(ChannelOpen(channel, kOpenModeConnect, Address("127.0.0.1", listener.Port()).c_str()),
              0u);
    EXPECT_EQ(ChannelClose(channel), 0u);
    EXPECT_EQ(OpenDescriptors(), before);
    // The descriptor number is free again: closing it a second time would fail with EBADF.
    EXPECT_EQ(::fcntl(socketFd, F_GETFD), -1);
    EXPECT_EQ(errno, EBADF);

    // A transport that was never opened is released the same way.
    ASSERT_EQ(CreateTcpTransport(&channel), 0u);
    EXPECT_EQ(ChannelClose(channel), 0u);
    EXPECT_EQ(OpenDescriptors(), before);
}

// A gateway that never completes the connection: the connect waits in slices, runs the poll
// step between them, and gives up after 20 s on the tick clock (here a fake one that moves
// 2.5 s at every reading, so the 20 s pass in a few real slices).
TEST(TcpTransport, AConnectThatNeverCompletesGivesUpWithTwelveAfterTwentySeconds) {
    UnansweredTcpAddress gateway;
    ASSERT_TRUE(gateway.Ok());
    PhoneChannel* channel = nullptr;
    ASSERT_EQ(CreateTcpTransport(&channel), 0u);
    FakeClock clock(1000, 2500);
    int polls = 0;
    SetPollCallback(
        channel,
        [](PhoneChannel*, void* context) -> TransferError {
            ++*static_cast<int*>(context);
            return kErrNone;
        },
        100, &polls);
    const std::uint32_t startTick = clock.Now();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ChannelOpen(channel, kOpenModeConnect, gateway.Address().c_str()), kErrConnection);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_GE(clock.Now() - startTick, 20000u);
    EXPECT_LT(clock.Now() - startTick, 40000u);
    EXPECT_GE(polls, 3) << "the poll step runs between the waits";
    EXPECT_EQ(ChannelClose(channel), 0u);
}

// The user's Cancel, seen by the poll step, ends the connect with the step's 5 within a slice.
TEST(TcpTransport, ACancelDuringTheConnectEndsItWithFivePromptly) {
    UnansweredTcpAddress gateway;
    ASSERT_TRUE(gateway.Ok());
    PhoneChannel* channel = nullptr;
    ASSERT_EQ(CreateTcpTransport(&channel), 0u);
    std::atomic<bool> cancelled{false};
    SetPollCallback(
        channel,
        [](PhoneChannel*, void* context) -> TransferError {
            return static_cast<std::atomic<bool>*>(context)->load() ? kErrCancelled : kErrNone;
        },
        100, &cancelled);
    auto open = std::async(std::launch::async, [&] {
        return ChannelOpen(channel, kOpenModeConnect, gateway.Address().c_str());
    });
    ASSERT_TRUE(gateway.WaitForConnectAttempt());
    EXPECT_EQ(open.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout)
        << "the connect was still under way";
    cancelled = true;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(open.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_EQ(open.get(), kErrCancelled);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    // The channel keeps its 5: nothing more goes to the transport.
    std::uint8_t byte = 0;
    std::uint32_t length = 1;
    EXPECT_EQ(ChannelRead(channel, &byte, &length), kErrCancelled);
    EXPECT_EQ(ChannelClose(channel), 0u);
}

TEST(TcpTransport, CreateRefusesANullOutParameter) {
    EXPECT_EQ(CreateTcpTransport(nullptr), kErrInvalidParameter);
}

}  // namespace
