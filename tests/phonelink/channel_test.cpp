// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "fake_clock.h"
#include "phonelink/transport.h"
#include "script_transport.h"

namespace {

struct PollLog {
    FakeClock* clock = nullptr;
    std::vector<std::uint32_t> ticks;    // clock value at each call
    std::vector<TransferError> answers;  // answer of the n-th call; 0 once exhausted
};

TransferError LoggingPoll(PhoneChannel*, void* context) {
    auto* log = static_cast<PollLog*>(context);
    std::size_t call = log->ticks.size();
    log->ticks.push_back(log->clock->Now());
    return call < log->answers.size() ? log->answers[call] : 0;
}

TEST(PhoneChannel, CreateFillsDefaults) {
    ScriptPhone phone;
    PhoneChannel* channel = phone.Connect();
    ASSERT_NE(channel, nullptr);
    EXPECT_NE(channel->transport, nullptr);
    EXPECT_EQ(channel->stickyError, 0u);
    EXPECT_EQ(channel->pollInterval, 1000u);
    EXPECT_EQ(channel->pollContext, nullptr);
    ASSERT_NE(channel->pollCallback, nullptr);
    EXPECT_EQ(channel->pollCallback(channel, nullptr), 0u);  // the default never cancels
    EXPECT_EQ(ChannelClose(channel), 0u);
    EXPECT_TRUE(phone.Closed());
}

TEST(PhoneChannel, CreateRefusesNullArguments) {
    Transport transport{};
    PhoneChannel* channel = reinterpret_cast<PhoneChannel*>(1);
    EXPECT_EQ(CreateChannel(nullptr, &transport), kErrInvalidParameter);
    EXPECT_EQ(CreateChannel(&channel, nullptr), kErrInvalidParameter);
}

TEST(PhoneChannel, CloseOfNullChannelSucceeds) {
    EXPECT_EQ(ChannelClose(nullptr), 0u);
}

TEST(PhoneChannel, SetPollCallbackStartsAtTheCurrentTick) {
    FakeClock clock(5000);
    ScriptPhone phone;
    PhoneChannel* channel = phone.Connect();
    PollLog log;
    log.clock = &clock;
    SetPollCallback(channel, &LoggingPoll, 100, &log);
    EXPECT_EQ(channel->nextPollTick, 5000u);
    EXPECT_EQ(channel->pollInterval, 100u);
    EXPECT_EQ(channel->pollContext, &log);

    std::uint8_t byte;
    std::uint32_t length = 1;
    // Same tick: not later than nextPollTick, so no poll yet.
    EXPECT_EQ(ChannelRead(channel, &byte, &length), 0u);
    EXPECT_TRUE(log.ticks.empty());
    clock.Advance(1);
    length = 1;
    EXPECT_EQ(ChannelRead(channel, &byte, &length), 0u);
    ASSERT_EQ(log.ticks.size(), 1u);
    EXPECT_EQ(channel->nextPollTick, 5101u);
    ChannelClose(channel);
}

TEST(PhoneChannel, PollCallbackRunsAtMostOncePerInterval) {
    FakeClock clock(1000, 7);  // every clock reading moves time on by 7 ms
    ScriptPhone phone;
    PhoneChannel* channel = phone.Connect();
    PollLog log;
    log.clock = &clock;
    SetPollCallback(channel, &LoggingPoll, 100, &log);
    std::uint8_t buffer[8];
    for (int i = 0; i < 2000; ++i) {
        std::uint32_t length = sizeof buffer;
        ASSERT_EQ(ChannelRead(channel, buffer, &length), 0u);
        ASSERT_EQ(ChannelWrite(channel, buffer, 1), 0u);
    }
    // 4000 operations over about 28 s of clock time: roughly one call per 100 ms, never closer.
    ASSERT_GT(log.ticks.size(), 200u);
    EXPECT_LE(log.ticks.size(), 4000u * 7 / 100 + 2);
    for (std::size_t i = 1; i < log.ticks.size(); ++i) {
        EXPECT_GT(log.ticks[i] - log.ticks[i - 1], 100u) << "call " << i;
    }
    ChannelClose(channel);
}

TEST(PhoneChannel, PollComparisonSurvivesTheWrapOfTheCounter) {
    FakeClock clock(0xFFFFFFF0u);
    ScriptPhone phone;
    PhoneChannel* channel = phone.Connect();
    PollLog log;
    log.clock = &clock;
    SetPollCallback(channel, &LoggingPoll, 100, &log);
    clock.Advance(1);
    std::uint32_t length = 0;
    ChannelRead(channel, nullptr, &length);
    ASSERT_EQ(log.ticks.size(), 1u);
    EXPECT_EQ(channel->nextPollTick, 0xFFFFFFF1u + 100u);  // wrapped to 0x55
    clock.Set(0x50);  // wrapped, but not yet past the next poll
    ChannelRead(channel, nullptr, &length);
    EXPECT_EQ(log.ticks.size(), 1u);
    clock.Set(0x56);
    ChannelRead(channel, nullptr, &length);
    EXPECT_EQ(log.ticks.size(), 2u);
    ChannelClose(channel);
}

TEST(PhoneChannel, PollComparisonIsASignedDifference) {
    FakeClock clock(0xFFFFFFF0u);
    ScriptPhone phone;
    PhoneChannel* channel = phone.Connect();
    PollLog log;
    log.clock = &clock;
    SetPollCallback(channel, &LoggingPoll, 100, &log);  // next poll after 0xFFFFFFF0
    std::uint32_t length = 0;
    clock.Set(5);  // the counter wrapped: 5 is later than 0xFFFFFFF0
    ChannelRead(channel, nullptr, &length);
    ASSERT_EQ(log.ticks.size(), 1u);
    EXPECT_EQ(channel->nextPollTick, 105u);
    clock.Set(0xFFFFFFF8u);  // numerically larger than 105, but earlier: no poll
    ChannelRead(channel, nullptr, &length);
    EXPECT_EQ(log.ticks.size(), 1u);
    ChannelClose(channel);
}

TEST(PhoneChannel, CancelIsStickyAndStopsPolling) {
    FakeClock clock(1000, 50);
    ScriptPhone phone;
    phone.SetChatter("x");
    PhoneChannel* channel = phone.Connect();
    PollLog log;
    log.clock = &clock;
    log.answers = {0, kErrCancelled, 0, 0, 0};  // cancel once; it would "recover" later
    SetPollCallback(channel, &LoggingPoll, 100, &log);

    std::uint8_t buffer[4];
    TransferError result = 0;
    int guard = 0;
    while (result == 0 && guard++ < 100) {
        std::uint32_t length = sizeof buffer;
        result = ChannelRead(channel, buffer, &length);
    }
    ASSERT_EQ(result, kErrCancelled);
    EXPECT_EQ(log.ticks.size(), 2u);
    EXPECT_EQ(channel->stickyError, kErrCancelled);

    std::uint64_t readsBefore = phone.ReadCalls();
    for (int i = 0; i < 50; ++i) {
        clock.Advance(1000);
        std::uint32_t length = sizeof buffer;
        EXPECT_EQ(ChannelRead(channel, buffer, &length), kErrCancelled);
        EXPECT_EQ(ChannelWrite(channel, buffer, 1), kErrCancelled);
    }
    EXPECT_EQ(log.ticks.size(), 2u) << "the callback must not run once the channel is cancelled";
    EXPECT_EQ(phone.ReadCalls(), readsBefore) << "a cancelled channel must not touch the transport";
    EXPECT_TRUE(phone.Writes().empty());
    ChannelClose(channel);
}

TEST(PhoneChannel, NoCallbackMeansNoPolling) {
    FakeClock clock(1000, 500);
    ScriptPhone phone;
    phone.QueueNow("OK");
    PhoneChannel* channel = phone.Connect();
    SetPollCallback(channel, nullptr, 100, nullptr);
    std::uint8_t buffer[4];
    std::uint32_t length = sizeof buffer;
    EXPECT_EQ(ChannelRead(channel, buffer, &length), 0u);
    EXPECT_EQ(length, 2u);
    ChannelClose(channel);
}

TEST(PhoneChannel, OpenGoesStraightToTheTransportWithoutPolling) {
    FakeClock clock(1000, 500);
    ScriptPhone phone;
    PhoneChannel* channel = phone.Connect();
    PollLog log;
    log.clock = &clock;
    log.answers = {kErrCancelled};
    SetPollCallback(channel, &LoggingPoll, 1, &log);
    EXPECT_EQ(ChannelOpen(channel, kOpenModeConnect, "anything"), 0u);
    EXPECT_TRUE(log.ticks.empty());
    ChannelClose(channel);
}

TEST(PhoneChannel, ReadAndWriteReachTheTransport) {
    ScriptPhone phone;
    phone.QueueNow(std::string("A\0B", 3));
    PhoneChannel* channel = phone.Connect();
    std::uint8_t buffer[8] = {};
    std::uint32_t length = sizeof buffer;
    ASSERT_EQ(ChannelRead(channel, buffer, &length), 0u);
    ASSERT_EQ(length, 3u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 3), std::string("A\0B", 3));
    const std::uint8_t command[] = {'A', 'T', '\r'};
    ASSERT_EQ(ChannelWrite(channel, command, 3), 0u);
    ASSERT_EQ(phone.Writes().size(), 1u);
    EXPECT_EQ(phone.Writes()[0], "AT\r");
    phone.FailWrites(kErrConnection);
    EXPECT_EQ(ChannelWrite(channel, command, 3), kErrConnection);
    phone.FailReads(kErrConnection);
    length = sizeof buffer;
    EXPECT_EQ(ChannelRead(channel, buffer, &length), kErrConnection);
    ChannelClose(channel);
}

}  // namespace
