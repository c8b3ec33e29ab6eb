// SPDX-License-Identifier: GPL-3.0-or-later
// The exchange over a real TCP connection whose far end has gone away.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "at/at_exchange.h"
#include "fake_clock.h"
#include "phonelink/tcp_transport.h"
#include "tcp_test_listener.h"

namespace {

TEST(TcpExchange, ClosedPeerRunsTheCommandIntoItsTimeout) {
    TcpTestListener listener;
    ASSERT_TRUE(listener.Ok());
    PhoneChannel* channel = nullptr;
    ASSERT_EQ(CreateTcpTransport(&channel), 0u);
    std::string address = "127.0.0.1:" + std::to_string(listener.Port());
    ASSERT_EQ(ChannelOpen(channel, kOpenModeConnect, address.c_str()), 0u);
    int peer = listener.Accept();
    ASSERT_GE(peer, 0);
    ::close(peer);

    FakeClock clock(1000, 1);
    PhoneSession* session = nullptr;
    ASSERT_EQ(CreatePhoneSession(channel, &session), 0u);
    std::uint32_t start = clock.Now();
    EXPECT_EQ(AtSendCommand(session, "AT\r"), kErrTimeout);
    // A read failure (the reset that answers the write) ends it early; silence lasts 3 s.
    EXPECT_LE(clock.Now() - start, kDrainQuietMs + kAtDefaultTimeoutMs + 20);
    FreePhoneSession(session);
    EXPECT_EQ(ChannelClose(channel), 0u);
}

TEST(TcpExchange, AnsweringPeerCompletesTheCommand) {
    TcpTestListener listener;
    ASSERT_TRUE(listener.Ok());
    PhoneChannel* channel = nullptr;
    ASSERT_EQ(CreateTcpTransport(&channel), 0u);
    std::string address = "localhost:" + std::to_string(listener.Port());
    ASSERT_EQ(ChannelOpen(channel, kOpenModeConnect, address.c_str()), 0u);
    int peer = listener.Accept();
    ASSERT_GE(peer, 0);
    // The peer answers as soon as the command has arrived (an answer sent earlier would be
    // drained as stale input). The channel's poll callback, which runs before every read, plays
    // the peer, so no second thread is needed.
    PhoneSession* session = nullptr;
    ASSERT_EQ(CreatePhoneSession(channel, &session), 0u);
    AtRequest request;
    InitAtRequest(&request, session, "AT\r", 0);
    struct Peer {
        int fd;
        bool answered;
    } state{peer, false};
    SetPollCallback(
        channel,
        [](PhoneChannel*, void* context) -> TransferError {
            auto* p = static_cast<Peer*>(context);
            if (p->answered) return 0;
            pollfd ready{p->fd, POLLIN, 0};
            if (::poll(&ready, 1, 0) == 1) {
                char command[8];
                if (::recv(p->fd, command, sizeof command, 0) > 0) {
                    ::send(p->fd, "\r\nOK\r\n", 6, MSG_NOSIGNAL);
                    p->answered = true;
                }
            }
            return 0;
        },
        0, &state);
    EXPECT_EQ(AtSimple(&request), 0u);
    EXPECT_TRUE(state.answered);
    FreePhoneSession(session);
    EXPECT_EQ(ChannelClose(channel), 0u);
    ::close(peer);
}

}  // namespace
