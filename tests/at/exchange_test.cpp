// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "at/at_exchange.h"
#include "at_test_fixture.h"

namespace {

TransferError Classify(const std::string& line, TransferError* code) {
    return ClassifyResultLine(reinterpret_cast<const std::uint8_t*>(line.data()),
                              static_cast<std::uint32_t>(line.size()), code);
}

TEST(ClassifyResultLine, FinalCodesByLengthThenContent) {
    struct Case {
        std::string line;
        bool final;
        TransferError code;
    };
    const std::vector<Case> cases = {
        {"OK", true, 0},
        {"ERROR", true, kErrPhoneError},
        {"ERxyz", true, kErrPhoneError},  // only the first two bytes are compared
        {"+CMS ERROR: 500", true, kErrCmsError},
        {"+CMS ERROR:", true, kErrCmsError},  // exactly 11 bytes
        {"+CME ERROR: 10", true, kErrCmeError},
        {"+CME ERROR:x", true, kErrCmeError},
        {"+CMS ERROR", false, 0},      // no colon, 10 bytes
        {"+CMS ERROR 500", false, 0},  // long enough, but no colon
        {"+CME ERROR", false, 0},
        {"AT", false, 0},  // an echo is 2 bytes but not "OK"
        {"ok", false, 0},
        {"OK ", false, 0},
        {" OK", false, 0},
        {"O", false, 0},
        {"", false, 0},
        {"ERROR ", false, 0},  // 6 bytes
        {"ERRO", false, 0},
        {"xRROR", false, 0},
        {"RING", false, 0},
        {"+CPMS: 1,2", false, 0},
        {"NO CARRIER", false, 0},
    };
    for (const Case& c : cases) {
        TransferError code = 0xDEAD;
        TransferError result = Classify(c.line, &code);
        if (c.final) {
            EXPECT_EQ(result, 0u) << AtTest::Printable(c.line);
            EXPECT_EQ(code, c.code) << AtTest::Printable(c.line);
        } else {
            EXPECT_EQ(result, kErrNotFinal) << AtTest::Printable(c.line);
            EXPECT_EQ(code, 0xDEADu) << "code must be left alone for " << c.line;
        }
    }
    // The bytes after "ER" are not looked at, NULs included.
    TransferError code = 0;
    EXPECT_EQ(ClassifyResultLine(reinterpret_cast<const std::uint8_t*>("ER\0\0\0"), 5, &code), 0u);
    EXPECT_EQ(code, kErrPhoneError);
}

struct LineLog {
    std::vector<std::string> lines;
    TransferError answer = 0;
    std::string answerOn;  // the handler returns `answer` for this line
};

// A line too long for the buffer is logged as this.
const std::string kOverlong = "<overlong>";

TransferError LogLine(AtRequest*, const std::uint8_t* line, std::uint32_t length, void* arg) {
    auto* log = static_cast<LineLog*>(arg);
    if (line == nullptr) {
        log->lines.push_back(kOverlong);
        return 0;
    }
    log->lines.emplace_back(reinterpret_cast<const char*>(line), length);
    if (!log->answerOn.empty() && log->lines.back() == log->answerOn) return log->answer;
    return 0;
}

class ExchangeTest : public AtTest {
  protected:
    TransferError Run(const char* command, LineLog* log = nullptr, std::uint32_t timeout = 0) {
        AtRequest request;
        InitAtRequest(&request, session_, command, timeout);
        return AtExchange(&request, log != nullptr ? &LogLine : nullptr, log);
    }
    // An exchange that passes over lines too long for the buffer, as the listing does.
    TransferError Skipping(const char* command, LineLog* log, std::uint32_t timeout = 0) {
        AtRequest request;
        InitAtRequest(&request, session_, command, timeout);
        request.skipOverlongLines = true;
        return AtExchange(&request, &LogLine, log);
    }
    // An exchange that runs into its deadline, then AtAwaitFinal on the same request.
    TransferError CutThenAwait(const char* command, std::uint32_t timeout, std::uint32_t quietMs,
                               std::uint32_t byteLimit, TransferError* exchange) {
        AtRequest request;
        InitAtRequest(&request, session_, command, timeout);
        request.skipOverlongLines = true;
        *exchange = AtExchange(&request, nullptr, nullptr);
        return AtAwaitFinal(&request, quietMs, byteLimit);
    }
    TransferError Expecting(const char* command, const char* text, std::uint32_t timeout = 0) {
        AtRequest request;
        InitAtRequest(&request, session_, command, timeout);
        return AtExpect(&request, text);
    }
};

TEST_F(ExchangeTest, OkEndsTheExchange) {
    phone_.Expect("AT\r", kOk);
    EXPECT_EQ(AtSendCommand(session_, "AT\r"), 0u);
    ASSERT_EQ(phone_.Writes().size(), 1u);
    EXPECT_EQ(phone_.Writes()[0], "AT\r");
}

TEST_F(ExchangeTest, EchoedCommandIsSkipped) {
    LineLog log;
    phone_.Expect("AT\r", "AT\r\nOK\r\n");  // echo on, terse line ends
    EXPECT_EQ(Run("AT\r", &log), 0u);
    EXPECT_EQ(log.lines, (std::vector<std::string>{"AT"}));
    log.lines.clear();
    phone_.Expect("AT\r", "AT\r\r\nOK\r\n");  // echo with its CR, then a verbose answer
    EXPECT_EQ(Run("AT\r", &log), 0u);
    EXPECT_EQ(log.lines, (std::vector<std::string>{"AT\r"}));
}

TEST_F(ExchangeTest, ErrorSplitAcrossReadsIsRecognised) {
    phone_.SetSplit(ScriptPhone::Split::kOneByte);
    phone_.Expect("AT+CMGF=0\r", kError);
    EXPECT_EQ(AtSendCommand(session_, "AT+CMGF=0\r"), kErrPhoneError);
    phone_.SetSplit(ScriptPhone::Split::kRandom, 7);
    phone_.Expect("AT+CMGF=0\r", "\r\nRING\r\n" + kError);
    EXPECT_EQ(AtSendCommand(session_, "AT+CMGF=0\r"), kErrPhoneError);
}

TEST_F(ExchangeTest, AnyFiveByteLineStartingErIsAnError) {
    phone_.Expect("AT\r", "\r\nERxyz\r\n");
    EXPECT_EQ(AtSendCommand(session_, "AT\r"), kErrPhoneError);
}

TEST_F(ExchangeTest, ServiceAndEquipmentErrorsAreTheirOwnCodes) {
    phone_.Expect("AT+CMGS=17\r", "\r\n+CMS ERROR: 304\r\n");
    EXPECT_EQ(AtSendCommand(session_, "AT+CMGS=17\r"), kErrCmsError);
    phone_.Expect("AT+CPMS=\"ME\"\r", "\r\n+CME ERROR: 3\r\n");
    EXPECT_EQ(AtSendCommand(session_, "AT+CPMS=\"ME\"\r"), kErrCmeError);
}

TEST_F(ExchangeTest, CmsErrorWithoutColonIsNotFinalAndTimesOut) {
    LineLog log;
    phone_.Expect("AT\r", "\r\n+CMS ERROR\r\n");
    EXPECT_EQ(Run("AT\r", &log), kErrTimeout);
    EXPECT_EQ(log.lines, (std::vector<std::string>{"+CMS ERROR"}));
    EXPECT_GE(SinceWrite(0), kAtDefaultTimeoutMs);
    phone_.Expect("AT\r", "\r\n+CME ERR\r\n");  // shorter than 11 bytes
    EXPECT_EQ(Run("AT\r"), kErrTimeout);
}

TEST_F(ExchangeTest, DataHookBeatsAnErrorInTheSameRead) {
    phone_.Expect("AT+CMGS=17\r", "\r\nERROR\r\n> ");
    EXPECT_EQ(Expecting("AT+CMGS=17\r", "> "), 0u);
    // The same ERROR in a read of its own, before the prompt, ends the exchange with 14.
    phone_.SetSplit(ScriptPhone::Split::kOneByte);
    phone_.Expect("AT+CMGS=17\r", "\r\nERROR\r\n> ");
    EXPECT_EQ(Expecting("AT+CMGS=17\r", "> "), kErrPhoneError);
}

TEST_F(ExchangeTest, PromptHookFindsItsTextAcrossReads) {
    phone_.SetSplit(ScriptPhone::Split::kOneByte);
    phone_.Expect("AT+CMGS=17\r", "\r\n> ");
    EXPECT_EQ(Expecting("AT+CMGS=17\r", "> "), 0u);
    EXPECT_LT(SinceWrite(0), 100u);
}

TEST_F(ExchangeTest, TimeoutCountsFromTheWriteNotFromTheDrain) {
    // The drain before the write takes at least 50 ms of clock time. An answer 2990 ms after
    // the write is in time; if the deadline were set before the drain it would be late.
    phone_.Expect("AT\r", kOk, 2990);
    EXPECT_EQ(AtSendCommand(session_, "AT\r"), 0u);
    EXPECT_GE(SinceWrite(0), 2990u);
    phone_.Expect("AT\r", kOk, 3010);
    EXPECT_EQ(AtSendCommand(session_, "AT\r"), kErrTimeout);
    EXPECT_GE(SinceWrite(1), kAtDefaultTimeoutMs);
    EXPECT_LE(SinceWrite(1), kAtDefaultTimeoutMs + 5);
}

TEST_F(ExchangeTest, ArrivingDataDoesNotExtendTheDeadline) {
    LineLog log;
    phone_.OnWrite([this](const std::string&) { phone_.SetChatter("\r\nRING\r\n"); });
    phone_.Expect("AT\r", kOk, 3500);
    EXPECT_EQ(Run("AT\r", &log), kErrTimeout);
    EXPECT_GT(log.lines.size(), 100u);  // it was talking all the time
    EXPECT_LE(SinceWrite(0), kAtDefaultTimeoutMs + 5);
}

TEST_F(ExchangeTest, DefaultAndExplicitTimeouts) {
    phone_.Expect("AT\r", "");
    EXPECT_EQ(Run("AT\r", nullptr, 0), kErrTimeout);
    EXPECT_GE(SinceWrite(0), 3000u);
    EXPECT_LE(SinceWrite(0), 3005u);
    phone_.Expect("AT+CMGL=4\r", "");
    EXPECT_EQ(Run("AT+CMGL=4\r", nullptr, kAtListTimeoutMs), kErrTimeout);
    EXPECT_GE(SinceWrite(1), 20000u);
    EXPECT_LE(SinceWrite(1), 20005u);
}

TEST_F(ExchangeTest, ShippedTimeoutValues) {
    EXPECT_EQ(kAtDefaultTimeoutMs, 3000u);
    EXPECT_EQ(kAtListTimeoutMs, 20000u);
    EXPECT_EQ(kAtPromptTimeoutMs, 20000u);
    EXPECT_EQ(kAtPduTimeoutMs, 30000u);
    EXPECT_EQ(kDrainQuietMs, 50u);
    EXPECT_EQ(kDrainLimitMs, 3000u);
    EXPECT_EQ(kResponseBufferSize, 2000u);
}

TEST_F(ExchangeTest, FullBufferWithoutACompleteResponseFailsWith4) {
    phone_.Expect("AT+CMGL=4\r", std::string(2500, 'x'));
    EXPECT_EQ(Run("AT+CMGL=4\r", nullptr, kAtListTimeoutMs), kErrInvalidParameter);
    // Exactly 2000 bytes of one unfinished line: full, 4.
    phone_.Expect("AT+CMGL=4\r", std::string(2000, 'y'));
    EXPECT_EQ(Run("AT+CMGL=4\r", nullptr, kAtListTimeoutMs), kErrInvalidParameter);
}

TEST_F(ExchangeTest, LongestLineThatFitsIsDelivered) {
    LineLog log;
    phone_.SetSplit(ScriptPhone::Split::kRandom, 3);
    // 1998 bytes and CR LF fill the buffer exactly; lines before it are compacted away.
    phone_.Expect("AT+CMGL=4\r", "\r\nRING\r\n" + std::string(1998, 'z') + "\r\n" + kOk);
    EXPECT_EQ(Run("AT+CMGL=4\r", &log, kAtListTimeoutMs), 0u);
    ASSERT_EQ(log.lines.size(), 3u);
    EXPECT_EQ(log.lines[1], std::string(1998, 'z'));
}

// Where overlong lines are passed over, a line that cannot fit is dropped up to its CR LF and
// the exchange goes on with the next line, however the bytes arrive.
class OverlongLineTest : public ExchangeTest,
                         public ::testing::WithParamInterface<ScriptPhone::Split> {};

TEST_P(OverlongLineTest, IsPassedOverAndTheExchangeGoesOn) {
    phone_.SetSplit(GetParam(), 5);
    LineLog log;
    // 1999 bytes: with its CR the buffer is full and the LF is still to come.
    phone_.Expect("AT+CMGL=4\r", "\r\nfirst\r\n" + std::string(1999, 'a') + "\r\nsecond\r\n" +
                                     std::string(2500, 'b') + "\r\n" + std::string(1998, 'c') +
                                     "\r\n" + std::string(4000, '\r') + "\r\nthird\r\n" + kOk);
    // One byte a read takes more reads than the clock allows for 20 s.
    EXPECT_EQ(Skipping("AT+CMGL=4\r", &log, 100000), 0u);
    ASSERT_EQ(log.lines.size(), 8u);
    EXPECT_EQ(log.lines[0], "first");
    EXPECT_EQ(log.lines[1], kOverlong);
    EXPECT_EQ(log.lines[2], "second");
    EXPECT_EQ(log.lines[3], kOverlong);
    EXPECT_TRUE(log.lines[4] == std::string(1998, 'c')) << log.lines[4].size() << " bytes";
    EXPECT_EQ(log.lines[5], kOverlong);  // 4000 CRs: no line end among them
    EXPECT_EQ(log.lines[6], "third");
    EXPECT_EQ(log.lines[7], "");
}

INSTANTIATE_TEST_SUITE_P(Splits, OverlongLineTest,
                         ::testing::Values(ScriptPhone::Split::kWhole, ScriptPhone::Split::kOneByte,
                                           ScriptPhone::Split::kRandom));

TEST_F(ExchangeTest, AnOverlongLineThatNeverEndsRunsIntoTheDeadline) {
    LineLog log;
    phone_.Expect("AT+CMGL=4\r", "\r\nfirst\r\n" + std::string(10000, 'x'));
    EXPECT_EQ(Skipping("AT+CMGL=4\r", &log, kAtListTimeoutMs), kErrTimeout);
    EXPECT_EQ(log.lines, (std::vector<std::string>{"first"}));
    EXPECT_GE(SinceWrite(0), kAtListTimeoutMs);
}

// ---- the rest of a cut response ----

TEST_F(ExchangeTest, AwaitFinalPassesTheRestOverUpToTheFinalCode) {
    // The rest keeps coming after the deadline (3 s), never 3 s apart, with an overlong line.
    phone_.Expect("AT+CMGL=4\r", "\r\n+CMGL: 1,1,,23\r\n");
    phone_.ExpectMore("00AA\r\n+CMGL: 2,1,,23\r\n", 2500);
    phone_.ExpectMore("00BB\r\n" + std::string(3000, 'y') + "\r\nERR", 4500);
    phone_.ExpectMore("OR\r\n", 6500);
    TransferError exchange = 0;
    EXPECT_EQ(CutThenAwait("AT+CMGL=4\r", 3000, 3000, 100000, &exchange), 0u);
    EXPECT_EQ(exchange, kErrTimeout);
    EXPECT_GE(SinceWrite(0), 6500u);  // up to the final code
    EXPECT_LT(SinceWrite(0), 6600u);  // and no further
}

TEST_F(ExchangeTest, AwaitFinalEndsOnAQuietLine) {
    phone_.Expect("AT+CMGL=4\r", "\r\n+CMGL: 1,1,,23\r\n");
    phone_.ExpectMore("00AA\r\n", 2500);  // then nothing more
    TransferError exchange = 0;
    EXPECT_EQ(CutThenAwait("AT+CMGL=4\r", 2000, 3000, 100000, &exchange), 0u);
    EXPECT_EQ(exchange, kErrTimeout);
    EXPECT_GE(SinceWrite(0), 5500u);  // 3 s after the last bytes
    EXPECT_LT(SinceWrite(0), 5600u);

    // Quiet since long before the deadline: it returns at once.
    phone_.Expect("AT+CMGL=4\r", "\r\n+CMGL: 1,1,,23\r\n");
    EXPECT_EQ(CutThenAwait("AT+CMGL=4\r", 20000, 3000, 100000, &exchange), 0u);
    EXPECT_LT(SinceWrite(1), 20010u);
}

TEST_F(ExchangeTest, AwaitFinalGivesUpOnAPhoneThatKeepsSending) {
    phone_.Expect("AT+CMGL=4\r", "\r\n+CMGL: 1,1,,23\r\n");
    phone_.SetChatter("+CMGL: 9,1,,23\r\n");
    AtRequest request;
    InitAtRequest(&request, session_, "AT+CMGL=4\r", 2000);
    EXPECT_EQ(AtExchange(&request, nullptr, nullptr), kErrTimeout);
    const std::uint64_t before = phone_.BytesHandedOut();
    EXPECT_EQ(AtAwaitFinal(&request, 3000, 5000), kErrTimeout);
    const std::uint64_t passedOver = phone_.BytesHandedOut() - before;
    EXPECT_GT(passedOver, 5000u);
    EXPECT_LE(passedOver, 5000u + kResponseBufferSize);
}

TEST_F(ExchangeTest, AwaitFinalStopsAtACancel) {
    CancelFlag cancel;
    SetPollCallback(channel_, &CheckCancel, 100, &cancel);
    phone_.Expect("AT+CMGL=4\r", "");
    phone_.SetChatter("RING\r\n");
    AtRequest request;
    InitAtRequest(&request, session_, "AT+CMGL=4\r", 2000);
    EXPECT_EQ(AtExchange(&request, nullptr, nullptr), kErrTimeout);
    cancel.raised = true;
    EXPECT_EQ(AtAwaitFinal(&request, 3000, 1000000), kErrCancelled);
    EXPECT_LT(SinceWrite(0), 2300u);  // within about one poll interval
}

TEST_F(ExchangeTest, ReadFailureWhileWaitingIsATimeout) {
    phone_.Expect("AT\r", "");
    phone_.FailReadsAfterNextWrite(kErrConnection);
    EXPECT_EQ(AtSendCommand(session_, "AT\r"), kErrTimeout);
    EXPECT_LT(SinceWrite(0), 100u);  // at once, not after the deadline
}

TEST_F(ExchangeTest, CancelWhileWaitingIsATimeout) {
    CancelFlag cancel;
    SetPollCallback(channel_, &CheckCancel, 100, &cancel);
    phone_.Expect("AT+CMGL=4\r", "");
    phone_.OnWrite([&cancel](const std::string&) { cancel.raised = true; });
    EXPECT_EQ(Run("AT+CMGL=4\r", nullptr, kAtListTimeoutMs), kErrTimeout);
    EXPECT_EQ(channel_->stickyError, kErrCancelled);
    EXPECT_LT(SinceWrite(0), 300u);  // within about one poll interval
}

TEST_F(ExchangeTest, FailureWhileDrainingIsReturnedAsItIs) {
    phone_.FailReads(kErrConnection);
    EXPECT_EQ(AtSendCommand(session_, "AT\r"), kErrConnection);
    EXPECT_TRUE(phone_.Writes().empty());
    phone_.FailReads(0);

    CancelFlag cancel;
    cancel.raised = true;
    SetPollCallback(channel_, &CheckCancel, 100, &cancel);
    EXPECT_EQ(AtSendCommand(session_, "AT\r"), kErrCancelled);
    EXPECT_TRUE(phone_.Writes().empty());
}

TEST_F(ExchangeTest, WriteFailureIsReturnedAsItIs) {
    phone_.FailWrites(kErrConnection);
    EXPECT_EQ(AtSendCommand(session_, "AT\r"), kErrConnection);
}

TEST_F(ExchangeTest, InformationLinesGoToTheHandlerAndItsResultEndsTheExchange) {
    LineLog log;
    phone_.Expect("AT+CPMS=\"SM\"\r", "\r\n+CPMS: 1,20,1,20,1,20\r\n\r\nRING\r\nOK\r\n");
    EXPECT_EQ(Run("AT+CPMS=\"SM\"\r", &log), 0u);
    EXPECT_EQ(log.lines, (std::vector<std::string>{"+CPMS: 1,20,1,20,1,20", "", "RING"}));

    LineLog stopping;
    stopping.answerOn = "RING";
    stopping.answer = kErrCancelled;
    phone_.Expect("AT\r", "\r\nRING\r\n" + kOk);
    EXPECT_EQ(Run("AT\r", &stopping), kErrCancelled);
}

TEST_F(ExchangeTest, StaleInputIsDrainedBeforeTheCommand) {
    LineLog log;
    phone_.QueueNow("\r\nOK\r\n\r\n+CMTI: \"SM\",3\r\n");
    phone_.Expect("AT\r", kError);
    EXPECT_EQ(Run("AT\r", &log), kErrPhoneError);  // the stale OK is not taken as the answer
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(ExchangeTest, CommandLengthZeroMeansTheWholeText) {
    AtRequest request;
    InitAtRequest(&request, session_, "ATZ\r", 0);
    phone_.Expect("ATZ\r", kOk);
    EXPECT_EQ(AtSimple(&request), 0u);
    EXPECT_EQ(request.commandLength, 4u);
    // An explicit length sends that many bytes, NULs included.
    const char withNul[] = "AT\0X";
    InitAtRequest(&request, session_, withNul, 0);
    request.commandLength = 4;
    phone_.Expect(std::string(withNul, 4), kOk);
    EXPECT_EQ(AtSimple(&request), 0u);
}

}  // namespace
