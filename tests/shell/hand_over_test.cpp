// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/hand_over.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(HandOverPayload, TextWithItsTerminatorInUtf16) {
    const std::vector<std::uint8_t> payload = CommandLinePayload(TextBuffer(u"/s\u00e9"));
    ASSERT_EQ(payload.size(), 8u);  // (3 characters + 1) * 2
    const std::vector<std::uint8_t> expected = {'/', 0, 's', 0, 0xE9, 0, 0, 0};
    EXPECT_EQ(payload, expected);
    EXPECT_EQ(CommandLinePayload(TextBuffer()).size(), 2u);
}

TEST(HandOverPayload, TakenBackWithoutTheTerminator) {
    TextBuffer commandLine(u"old");
    const auto payload = CommandLinePayload(TextBuffer(u"/smsto:0123?Anna"));
    EXPECT_TRUE(
        TakeCommandLine(payload.data(), static_cast<std::uint32_t>(payload.size()), commandLine));
    EXPECT_EQ(commandLine.ToU16(), u"/smsto:0123?Anna");
}

TEST(HandOverPayload, FewerThanFiveBytesAreIgnored) {
    TextBuffer commandLine(u"old");
    const auto one = CommandLinePayload(TextBuffer(u"A"));  // 4 bytes
    EXPECT_FALSE(TakeCommandLine(one.data(), 4, commandLine));
    EXPECT_FALSE(TakeCommandLine(one.data(), 0, commandLine));
    EXPECT_FALSE(TakeCommandLine(nullptr, 100, commandLine));
    EXPECT_EQ(commandLine.ToU16(), u"old");
}

TEST(HandOverPayload, SizeMinusOneHalvedCharactersAreCopied) {
    const std::uint8_t bytes[] = {'a', 0, 'b', 0, 'c', 0, 0, 0};
    TextBuffer commandLine;
    EXPECT_TRUE(TakeCommandLine(bytes, 5, commandLine));  // (5 - 1) / 2 = 2
    EXPECT_EQ(commandLine.ToU16(), u"ab");
    EXPECT_TRUE(TakeCommandLine(bytes, 6, commandLine));  // (6 - 1) / 2 = 2
    EXPECT_EQ(commandLine.ToU16(), u"ab");
    EXPECT_TRUE(TakeCommandLine(bytes, 7, commandLine));  // 3
    EXPECT_EQ(commandLine.ToU16(), u"abc");
    // A sender that leaves out the terminator loses its last character, as the rule says.
    EXPECT_TRUE(TakeCommandLine(bytes, 6, commandLine));
    EXPECT_EQ(commandLine.ToU16(), u"ab");
}

std::vector<std::uint8_t> Activate() {
    return EncodeHandOverRequest(kHandOverActivate, 0, nullptr, 0);
}

TEST(HandOverReader, RequestsArriveInPiecesOfAnySize) {
    const auto payload = CommandLinePayload(TextBuffer(u"/smsto:1"));
    std::vector<std::uint8_t> wire = Activate();
    const auto copy = EncodeHandOverRequest(kHandOverCopyData, 0, payload.data(),
                                            static_cast<std::uint32_t>(payload.size()));
    wire.insert(wire.end(), copy.begin(), copy.end());

    HandOverReader reader;
    std::vector<HandOverRequest> got;
    for (std::uint8_t byte : wire) {
        reader.Feed(&byte, 1);
        HandOverRequest request;
        while (reader.Next(request) == HandOverReader::Status::kRequest) got.push_back(request);
    }
    ASSERT_EQ(got.size(), 2u);
    EXPECT_EQ(got[0].message, kHandOverActivate);
    EXPECT_TRUE(got[0].data.empty());
    EXPECT_EQ(got[1].message, kHandOverCopyData);
    EXPECT_EQ(got[1].wParam, 0u);
    EXPECT_EQ(got[1].data, payload);
}

TEST(HandOverReader, TwoRequestsInOneRead) {
    std::vector<std::uint8_t> wire = Activate();
    const auto again = Activate();
    wire.insert(wire.end(), again.begin(), again.end());
    HandOverReader reader;
    reader.Feed(wire.data(), wire.size());
    HandOverRequest request;
    EXPECT_EQ(reader.Next(request), HandOverReader::Status::kRequest);
    EXPECT_EQ(reader.Next(request), HandOverReader::Status::kRequest);
    EXPECT_EQ(reader.Next(request), HandOverReader::Status::kNeedMore);
}

TEST(HandOverReader, UnknownMessageIsBadForGood) {
    const auto wire = EncodeHandOverRequest(0x8009, 0, nullptr, 0);
    HandOverReader reader;
    reader.Feed(wire.data(), wire.size());
    HandOverRequest request;
    EXPECT_EQ(reader.Next(request), HandOverReader::Status::kBad);
    const auto good = Activate();
    reader.Feed(good.data(), good.size());
    EXPECT_EQ(reader.Next(request), HandOverReader::Status::kBad);
}

TEST(HandOverReader, OversizedRequestIsBadBeforeItsDataArrives) {
    std::vector<std::uint8_t> header;
    PutU32(header, kHandOverCopyData);
    PutU32(header, 0);
    PutU32(header, kMaxHandOverData + 1);
    HandOverReader reader;
    reader.Feed(header.data(), header.size());
    HandOverRequest request;
    EXPECT_EQ(reader.Next(request), HandOverReader::Status::kBad);
}

TEST(HandOverReader, LargestAllowedRequestIsRead) {
    std::vector<std::uint8_t> data(kMaxHandOverData, 'x');
    const auto wire = EncodeHandOverRequest(kHandOverCopyData, 0, data.data(), kMaxHandOverData);
    HandOverReader reader;
    reader.Feed(wire.data(), wire.size() - 1);
    HandOverRequest request;
    EXPECT_EQ(reader.Next(request), HandOverReader::Status::kNeedMore);
    reader.Feed(&wire.back(), 1);
    EXPECT_EQ(reader.Next(request), HandOverReader::Status::kRequest);
    EXPECT_EQ(request.data.size(), kMaxHandOverData);
}

// A flood of requests in one arrival (a misbehaving client of the same user) is read in one
// pass over the bytes: 1,000,000 requests, 12 MB, take milliseconds. Dropping each request from
// the front of the buffer as it is read would move the rest every time: about 6 TB of
// copying for these 1,000,000 requests, hours rather than the test's time-out.
TEST(HandOverReader, AFloodOfRequestsInOneArrivalIsReadInOnePass) {
    const auto one = EncodeHandOverRequest(kHandOverActivate, 7, nullptr, 0);
    constexpr int kCount = 1000000;
    std::vector<std::uint8_t> flood;
    flood.reserve(one.size() * kCount + 3);
    for (int i = 0; i < kCount; ++i) flood.insert(flood.end(), one.begin(), one.end());
    flood.insert(flood.end(), one.begin(), one.begin() + 3);  // the next one has begun
    HandOverReader reader;
    reader.Feed(flood.data(), flood.size());
    HandOverRequest request;
    int read = 0;
    while (reader.Next(request) == HandOverReader::Status::kRequest) {
        ASSERT_EQ(request.message, kHandOverActivate);
        ASSERT_EQ(request.wParam, 7u);
        ++read;
    }
    EXPECT_EQ(read, kCount);
    EXPECT_EQ(reader.Next(request), HandOverReader::Status::kNeedMore);
    // The rest of the begun request completes it.
    reader.Feed(one.data() + 3, one.size() - 3);
    EXPECT_EQ(reader.Next(request), HandOverReader::Status::kRequest);
    EXPECT_EQ(reader.Next(request), HandOverReader::Status::kNeedMore);
}

TEST(HandOverWire, NumbersAreLittleEndian) {
    std::vector<std::uint8_t> out;
    PutU32(out, 0x01020304);
    EXPECT_EQ(out, (std::vector<std::uint8_t>{4, 3, 2, 1}));
    EXPECT_EQ(GetU32(out.data()), 0x01020304u);
}

}  // namespace
