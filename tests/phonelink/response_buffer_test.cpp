// SPDX-License-Identifier: GPL-3.0-or-later
#include "phonelink/response_buffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "fake_clock.h"
#include "script_transport.h"

namespace {

using Lines = std::vector<std::string>;

std::string S(const char* text, std::size_t length) {
    return std::string(text, length);
}

class ResponseBufferTest : public ::testing::Test {
  protected:
    Lines Cut(const std::vector<std::string>& chunks) {
        return CutAllLines(chunks, buffer_, kResponseBufferSize);
    }
    std::uint8_t buffer_[kResponseBufferSize];
};

TEST_F(ResponseBufferTest, OkWithLeadingCrLfIsExactlyOneLine) {
    EXPECT_EQ(Cut({"\r\nOK\r\n"}), (Lines{"OK"}));
}

TEST_F(ResponseBufferTest, OnlyTheFirstLineLosesItsLeadingCrLf) {
    EXPECT_EQ(Cut({"\r\n+CPMS: 1,2\r\n\r\nOK\r\n"}), (Lines{"+CPMS: 1,2", "", "OK"}));
    EXPECT_EQ(Cut({"\r\n\r\nOK\r\n"}), (Lines{"", "OK"}));
    // Without a leading CR LF nothing is skipped.
    EXPECT_EQ(Cut({"AT\r\nOK\r\n"}), (Lines{"AT", "OK"}));
}

TEST_F(ResponseBufferTest, OneByteAtATimeGivesTheSameLinesAsAllAtOnce) {
    const char raw[] =
        "\r\n+CMGL: 1,0,,23\r\n0004\0"
        "0A91\r\n\r\nRING\r\n\r\r\n+CMS ERROR: 500\r\n\r\nOK\r\n";
    const std::string response(raw, sizeof raw - 1);
    Lines whole = Cut({response});
    ASSERT_EQ(whole, (Lines{"+CMGL: 1,0,,23",
                            S("0004\0"
                              "0A91",
                              9),
                            "", "RING", "\r", "+CMS ERROR: 500", "", "OK"}));
    std::vector<std::string> bytes;
    for (char c : response) bytes.emplace_back(1, c);
    EXPECT_EQ(Cut(bytes), whole);
    for (unsigned variant = 1; variant <= 50; ++variant) {
        EXPECT_EQ(Cut(RandomSplit(response, variant, 7)), whole) << "split " << variant;
    }
}

TEST_F(ResponseBufferTest, LineSplitAcrossReadsSurvivesCompaction) {
    ResponseCursor cursor;
    ResetCursor(&cursor, buffer_, kResponseBufferSize);
    auto feed = [&](const std::string& bytes) {
        std::memcpy(cursor.writePos, bytes.data(), bytes.size());
        CursorCommit(&cursor, static_cast<std::uint32_t>(bytes.size()));
    };
    const std::uint8_t* line;
    std::uint32_t length;

    feed("\r\nFIRST\r\n+CPMS: 3,");
    ASSERT_TRUE(CutLine(&cursor, &line, &length));
    EXPECT_EQ(S(reinterpret_cast<const char*>(line), length), "FIRST");
    EXPECT_FALSE(CutLine(&cursor, &line, &length));
    CompactCursor(&cursor);
    // Only the incomplete line is left, moved to the buffer start.
    EXPECT_EQ(cursor.filled, 9u);
    EXPECT_EQ(cursor.unparsed, 9u);
    EXPECT_EQ(cursor.parsePos, buffer_);
    EXPECT_EQ(cursor.writePos, buffer_ + 9);
    EXPECT_EQ(std::memcmp(buffer_, "+CPMS: 3,", 9), 0);

    feed("20\r");  // the CR alone does not end it
    EXPECT_FALSE(CutLine(&cursor, &line, &length));
    CompactCursor(&cursor);
    feed("\nOK");
    ASSERT_TRUE(CutLine(&cursor, &line, &length));
    EXPECT_EQ(S(reinterpret_cast<const char*>(line), length), "+CPMS: 3,20");
    // Bytes after the last CR LF stay for the next read of the same command.
    EXPECT_FALSE(CutLine(&cursor, &line, &length));
    CompactCursor(&cursor);
    EXPECT_EQ(cursor.unparsed, 2u);
    EXPECT_EQ(std::memcmp(buffer_, "OK", 2), 0);
    feed("\r\n");
    ASSERT_TRUE(CutLine(&cursor, &line, &length));
    EXPECT_EQ(S(reinterpret_cast<const char*>(line), length), "OK");
}

TEST_F(ResponseBufferTest, NulBytesDoNotEndTheSearchForCrLf) {
    EXPECT_EQ(Cut({S("A\0\0B\r\n\0\r\n", 9)}), (Lines{S("A\0\0B", 4), S("\0", 1)}));
}

TEST_F(ResponseBufferTest, FullBufferHasNoFreeByte) {
    ResponseCursor cursor;
    ResetCursor(&cursor, buffer_, kResponseBufferSize);
    std::memset(buffer_, 'x', sizeof buffer_);
    CursorCommit(&cursor, 1999);
    EXPECT_EQ(CursorFreeSpace(&cursor), 1u);
    CursorCommit(&cursor, 1);
    EXPECT_EQ(CursorFreeSpace(&cursor), 0u);
    const std::uint8_t* line;
    std::uint32_t length;
    EXPECT_FALSE(CutLine(&cursor, &line, &length));
    CompactCursor(&cursor);
    EXPECT_EQ(CursorFreeSpace(&cursor), 0u);  // one incomplete line fills it: nothing to move
    // Committing more than there is room for is clamped, never past the end.
    CursorCommit(&cursor, 10);
    EXPECT_EQ(cursor.filled, kResponseBufferSize);
}

// Bytes into the cursor as the exchange puts them there.
void Put(ResponseCursor* cursor, const std::string& bytes) {
    ASSERT_LE(bytes.size(), CursorFreeSpace(cursor));
    std::memcpy(cursor->writePos, bytes.data(), bytes.size());
    CursorCommit(cursor, static_cast<std::uint32_t>(bytes.size()));
}

TEST_F(ResponseBufferTest, AnOverlongLineIsDroppedUpToItsLineEnd) {
    ResponseCursor cursor;
    ResetCursor(&cursor, buffer_, kResponseBufferSize);
    Put(&cursor, std::string(kResponseBufferSize, 'x'));
    CursorStartDiscard(&cursor);
    EXPECT_TRUE(cursor.discarding);
    EXPECT_EQ(CursorFreeSpace(&cursor), kResponseBufferSize);
    Put(&cursor, std::string(700, 'y'));
    EXPECT_FALSE(CursorEndDiscard(&cursor));  // still the same line
    EXPECT_EQ(cursor.filled, 0u);
    Put(&cursor, "yy\r\nnext\r\npart");
    ASSERT_TRUE(CursorEndDiscard(&cursor));
    EXPECT_FALSE(cursor.discarding);
    const std::uint8_t* line;
    std::uint32_t length;
    ASSERT_TRUE(CutLine(&cursor, &line, &length));
    EXPECT_EQ(S(reinterpret_cast<const char*>(line), length), "next");
    EXPECT_FALSE(CutLine(&cursor, &line, &length));
    CompactCursor(&cursor);
    EXPECT_EQ(cursor.filled, 4u);  // "part" waits for its line end
}

TEST_F(ResponseBufferTest, ACrAtTheEndOfADroppedPieceIsKeptForItsLf) {
    ResponseCursor cursor;
    ResetCursor(&cursor, buffer_, kResponseBufferSize);
    // 1999 bytes and the CR fill the buffer; the LF comes with the next read.
    Put(&cursor, std::string(kResponseBufferSize - 1, 'x') + "\r");
    CursorStartDiscard(&cursor);
    EXPECT_EQ(cursor.filled, 1u);
    Put(&cursor, "\nOK\r\n");
    ASSERT_TRUE(CursorEndDiscard(&cursor));
    const std::uint8_t* line;
    std::uint32_t length;
    ASSERT_TRUE(CutLine(&cursor, &line, &length));
    EXPECT_EQ(S(reinterpret_cast<const char*>(line), length), "OK");

    // Likewise while dropping: a CR at the end of a read waits for the next byte.
    ResetCursor(&cursor, buffer_, kResponseBufferSize);
    Put(&cursor, std::string(kResponseBufferSize, 'x'));
    CursorStartDiscard(&cursor);
    Put(&cursor, "yyy\r");
    EXPECT_FALSE(CursorEndDiscard(&cursor));
    Put(&cursor, "\nB\r\n");
    ASSERT_TRUE(CursorEndDiscard(&cursor));
    ASSERT_TRUE(CutLine(&cursor, &line, &length));
    EXPECT_EQ(S(reinterpret_cast<const char*>(line), length), "B");
}

TEST_F(ResponseBufferTest, ResetStartsANewResponse) {
    ResponseCursor cursor;
    ResetCursor(&cursor, buffer_, kResponseBufferSize);
    std::memcpy(buffer_, "X\r\n", 3);
    CursorCommit(&cursor, 3);
    const std::uint8_t* line;
    std::uint32_t length;
    ASSERT_TRUE(CutLine(&cursor, &line, &length));
    ResetCursor(&cursor, buffer_, kResponseBufferSize);
    EXPECT_EQ(cursor.lineStart, nullptr);
    EXPECT_EQ(cursor.filled, 0u);
    std::memcpy(buffer_, "\r\nOK\r\n", 6);
    CursorCommit(&cursor, 6);
    ASSERT_TRUE(CutLine(&cursor, &line, &length));
    EXPECT_EQ(S(reinterpret_cast<const char*>(line), length), "OK");
}

// ---- drain ----

TEST(Drain, ReturnsAfterFiftyMillisecondsOnASilentLine) {
    FakeClock clock(1000, 1);
    ScriptPhone phone;
    PhoneChannel* channel = phone.Connect();
    std::uint8_t buffer[kResponseBufferSize];
    std::uint32_t start = clock.Now();
    ASSERT_EQ(DrainInput(channel, buffer, sizeof buffer), 0u);
    std::uint32_t elapsed = clock.Now() - start;
    EXPECT_GE(elapsed, kDrainQuietMs);
    EXPECT_LE(elapsed, kDrainQuietMs + 3);
    ChannelClose(channel);
}

TEST(Drain, DiscardsStaleInput) {
    FakeClock clock(1000, 1);
    ScriptPhone phone;
    phone.QueueNow("\r\nRING\r\n");
    phone.QueueNow("AT\r");
    PhoneChannel* channel = phone.Connect();
    std::uint8_t buffer[kResponseBufferSize];
    ASSERT_EQ(DrainInput(channel, buffer, sizeof buffer), 0u);
    EXPECT_EQ(phone.BytesWaiting(), 0u);
    EXPECT_EQ(phone.BytesHandedOut(), 11u);
    ChannelClose(channel);
}

TEST(Drain, GivesUpAfterThreeSecondsOnAChatteringLine) {
    FakeClock clock(1000, 1);
    ScriptPhone phone;
    phone.SetChatter("RING\r\n");
    PhoneChannel* channel = phone.Connect();
    std::uint8_t buffer[kResponseBufferSize];
    std::uint32_t start = clock.Now();
    ASSERT_EQ(DrainInput(channel, buffer, sizeof buffer), 0u);
    std::uint32_t elapsed = clock.Now() - start;
    EXPECT_GE(elapsed, kDrainLimitMs);
    EXPECT_LE(elapsed, kDrainLimitMs + 3);
    ChannelClose(channel);
}

TEST(Drain, KeepsGoingPastFiftyMillisecondsWhileBytesArrive) {
    FakeClock clock(1000, 1);
    ScriptPhone phone;
    PhoneChannel* channel = phone.Connect();
    phone.AttachClock(&clock);
    phone.SetChatter("x");
    // Stop the chatter once 500 ms have passed, from inside the read path.
    std::uint8_t buffer[16];
    std::uint32_t start = clock.Now();
    std::pair<ScriptPhone*, std::uint32_t> context{&phone, start};
    SetPollCallback(
        channel,
        [](PhoneChannel*, void* c) -> TransferError {
            auto* p = static_cast<std::pair<ScriptPhone*, std::uint32_t>*>(c);
            if (GetTickCount() - p->second >= 500) p->first->SetChatter("");
            return 0;
        },
        0, &context);
    ASSERT_EQ(DrainInput(channel, buffer, sizeof buffer), 0u);
    std::uint32_t elapsed = clock.Now() - start;
    EXPECT_GE(elapsed, 500u);
    EXPECT_LT(elapsed, 600u);
    ChannelClose(channel);
}

TEST(Drain, ReturnsAReadErrorAsItIs) {
    FakeClock clock(1000, 1);
    ScriptPhone phone;
    PhoneChannel* channel = phone.Connect();
    phone.FailReads(kErrConnection);
    std::uint8_t buffer[16];
    EXPECT_EQ(DrainInput(channel, buffer, sizeof buffer), kErrConnection);
    SetPollCallback(
        channel, [](PhoneChannel*, void*) -> TransferError { return kErrCancelled; }, 100, nullptr);
    EXPECT_EQ(DrainInput(channel, buffer, sizeof buffer), kErrCancelled);
    ChannelClose(channel);
}

// ---- tokenisers ----

TokenCursor Tokens(const std::string& text) {
    return TokenCursor{reinterpret_cast<const std::uint8_t*>(text.data()),
                       static_cast<std::uint32_t>(text.size())};
}

TEST(Tokenisers, OnlyNineToThirteenAndSpaceAreBlanks) {
    for (int b = 0; b < 256; ++b) {
        std::string text{static_cast<char>(b), '7'};
        TokenCursor tokens = Tokens(text);
        std::int32_t value = -1;
        bool blank = (b >= 9 && b <= 13) || b == 32;
        int result = ReadNumber(&tokens, &value);
        if (b == '7' || (b >= '0' && b <= '9')) continue;  // a digit is part of the number
        EXPECT_EQ(result, blank ? kTokenOk : kTokenFailed) << "byte " << b;
        if (blank) {
            EXPECT_EQ(value, 7);
        }
        TokenCursor again = Tokens(text);
        EXPECT_EQ(SkipBlanks(&again), blank) << "byte " << b;
    }
}

TEST(Tokenisers, ExpectLiteralSkipsBlanksEvenAfterAMismatch) {
    std::string text = " \t+CPMS: 3";
    TokenCursor tokens = Tokens(text);
    EXPECT_EQ(ExpectLiteral(&tokens, "+CMGL:"), kTokenFailed);
    EXPECT_EQ(tokens.remaining, 8u);  // the leading blanks are gone, the text is not
    EXPECT_EQ(ExpectLiteral(&tokens, "+CPMS:"), kTokenOk);
    EXPECT_EQ(tokens.remaining, 1u);  // the blank after the literal is skipped too
    EXPECT_EQ(*tokens.pos, '3');
    std::string shortText = "+CP";
    TokenCursor shortTokens = Tokens(shortText);
    EXPECT_EQ(ExpectLiteral(&shortTokens, "+CPMS:"), kTokenFailed);
    EXPECT_EQ(shortTokens.remaining, 3u);
}

TEST(Tokenisers, ReadNumber) {
    std::string text = "  123 ,45";
    TokenCursor tokens = Tokens(text);
    std::int32_t value = 0;
    ASSERT_EQ(ReadNumber(&tokens, &value), kTokenOk);
    EXPECT_EQ(value, 123);
    EXPECT_EQ(*tokens.pos, ',');
    EXPECT_EQ(ReadNumber(&tokens, &value), kTokenFailed);  // ',' is no digit
    EXPECT_EQ(ExpectLiteral(&tokens, ","), kTokenOk);
    ASSERT_EQ(ReadNumber(&tokens, &value), kTokenOk);
    EXPECT_EQ(value, 45);
    EXPECT_EQ(tokens.remaining, 0u);
    EXPECT_EQ(ReadNumber(&tokens, &value), kTokenFailed);  // nothing left
    std::string sign = "-5";
    TokenCursor signTokens = Tokens(sign);
    EXPECT_EQ(ReadNumber(&signTokens, &value), kTokenFailed);  // no sign accepted
    std::string huge = "99999999999";                          // wraps silently, no crash
    TokenCursor hugeTokens = Tokens(huge);
    EXPECT_EQ(ReadNumber(&hugeTokens, &value), kTokenOk);
    EXPECT_EQ(hugeTokens.remaining, 0u);
}

TEST(Tokenisers, SkipQuotedString) {
    std::string text = " \"Bob, Jr\" ,23";
    TokenCursor tokens = Tokens(text);
    ASSERT_EQ(SkipQuotedString(&tokens), kTokenOk);
    EXPECT_EQ(*tokens.pos, ',');
    std::string empty = "\"\",1";
    TokenCursor emptyTokens = Tokens(empty);
    ASSERT_EQ(SkipQuotedString(&emptyTokens), kTokenOk);
    EXPECT_EQ(emptyTokens.remaining, 2u);
    std::string open = "\"no end";
    TokenCursor openTokens = Tokens(open);
    EXPECT_EQ(SkipQuotedString(&openTokens), kTokenFailed);
    std::string bare = "abc";
    TokenCursor bareTokens = Tokens(bare);
    EXPECT_EQ(SkipQuotedString(&bareTokens), kTokenFailed);
    std::string lone = "\"";
    TokenCursor loneTokens = Tokens(lone);
    EXPECT_EQ(SkipQuotedString(&loneTokens), kTokenFailed);
}

TEST(Tokenisers, ReadHexBytes) {
    std::uint8_t out[4] = {};
    std::uint32_t count = 0;
    std::string text = "  0a1B  x";
    TokenCursor tokens = Tokens(text);
    ASSERT_EQ(ReadHexBytes(&tokens, out, sizeof out, &count), 0u);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(out[0], 0x0A);
    EXPECT_EQ(out[1], 0x1B);
    EXPECT_EQ(*tokens.pos, 'x');

    std::string odd = "0A1";
    TokenCursor oddTokens = Tokens(odd);
    EXPECT_EQ(ReadHexBytes(&oddTokens, out, sizeof out, &count), kErrInvalidParameter);
    std::string tooMany = "0011223344";
    TokenCursor manyTokens = Tokens(tooMany);
    EXPECT_EQ(ReadHexBytes(&manyTokens, out, sizeof out, &count), kErrInvalidParameter);
    std::string none = ",";
    TokenCursor noneTokens = Tokens(none);
    ASSERT_EQ(ReadHexBytes(&noneTokens, out, sizeof out, &count), 0u);
    EXPECT_EQ(count, 0u);
}

TEST(ResponseBufferAllocation, CreateAndFree) {
    ResponseBuffer buffer{};
    ASSERT_EQ(CreateResponseBuffer(&buffer, kResponseBufferSize), 0u);
    EXPECT_NE(buffer.data, nullptr);
    EXPECT_EQ(buffer.size, kResponseBufferSize);
    FreeResponseBuffer(&buffer);
    EXPECT_EQ(buffer.data, nullptr);
    EXPECT_EQ(CreateResponseBuffer(&buffer, 0), kErrInvalidParameter);
}

}  // namespace
