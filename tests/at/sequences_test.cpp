// SPDX-License-Identifier: GPL-3.0-or-later
// The wake-up and the set-up as the phone sees them, and what the wake-up tells its caller on
// the way: the conversation every transfer starts with.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "at/command_sequences.h"
#include "at/phone_commands.h"
#include "at_test_fixture.h"

namespace {

using Commands = std::vector<std::string>;
using Events = std::vector<WakeEvent>;

const std::string kCtrlZText(1, '\x1A');
const Commands kSetUp = {"ATE0V1\r", "AT+CMGF=0\r", "AT+CSCS=\"GSM\"\r", "AT\r"};

void Record(WakeEvent event, void* context) {
    static_cast<Events*>(context)->push_back(event);
}

Commands Then(Commands first, const Commands& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

class WakeTest : public AtTest {
  protected:
    void ExpectSetUp() {
        for (const std::string& command : kSetUp) phone_.Expect(command, kOk);
    }
    TransferError Wake() { return WakePhone(session_, &Record, &events_); }

    Events events_;
};

TEST_F(WakeTest, APhoneThatAnswersIsConnectedAndSetUp) {
    phone_.Expect("AT\r", kOk);
    phone_.Expect("AT\r", kOk);
    ExpectSetUp();
    EXPECT_EQ(Wake(), 0u);
    EXPECT_EQ(session_->lastError, 0u);
    EXPECT_EQ(events_, (Events{WakeEvent::kConnected, WakeEvent::kInitializing}));
    EXPECT_EQ(phone_.Writes(), Then({"AT\r", "AT\r"}, kSetUp));
}

TEST_F(WakeTest, OnlyTheFirstAtTellsConnectedBeforeTheSecondSucceeds) {
    // The first "AT" refused, the second answered: awake, but never told "connected".
    phone_.Expect("AT\r", kError);
    phone_.Expect("AT\r", kOk);
    ExpectSetUp();
    EXPECT_EQ(Wake(), 0u);
    EXPECT_EQ(events_, (Events{WakeEvent::kInitializing}));
}

TEST_F(WakeTest, APhoneStuckInAPromptGetsCtrlZAndTheLongWakeUp) {
    phone_.Expect("AT\r", "");  // taken as PDU text: silence until the time-out
    phone_.Expect("AT\r", "");
    phone_.Expect(kCtrlZText, "");
    phone_.Expect("AT\r", kOk);
    phone_.Expect("ATZ\r", kOk);
    phone_.Expect("AT\r", kOk);
    phone_.Expect("AT\r", kOk);
    ExpectSetUp();
    EXPECT_EQ(Wake(), 0u);
    EXPECT_EQ(events_, (Events{WakeEvent::kConnected, WakeEvent::kInitializing}));
    EXPECT_EQ(phone_.Writes(),
              Then({"AT\r", "AT\r", kCtrlZText, "AT\r", "ATZ\r", "AT\r", "AT\r"}, kSetUp));
    // The Ctrl-Z is only written: the next "AT" follows without waiting for an answer to it.
    EXPECT_LT(phone_.WriteTicks()[3] - phone_.WriteTicks()[2], kAtDefaultTimeoutMs);
}

TEST_F(WakeTest, TheFirstAndThePostCtrlZAtEachTellConnected) {
    phone_.Expect("AT\r", kOk);
    phone_.Expect("AT\r", kError);
    phone_.Expect(kCtrlZText, "");
    phone_.Expect("AT\r", kOk);
    phone_.Expect("ATZ\r", kError);  // ignored
    phone_.Expect("AT\r", kError);   // ignored
    phone_.Expect("AT\r", kOk);
    ExpectSetUp();
    EXPECT_EQ(Wake(), 0u);
    EXPECT_EQ(events_,
              (Events{WakeEvent::kConnected, WakeEvent::kConnected, WakeEvent::kInitializing}));
}

TEST_F(WakeTest, TheLastAtsErrorIsTheResultAndNothingIsSetUp) {
    phone_.Expect("AT\r", kError);
    phone_.Expect("AT\r", kError);
    phone_.Expect(kCtrlZText, "");
    phone_.Expect("AT\r", kOk);
    phone_.Expect("ATZ\r", kOk);
    phone_.Expect("AT\r", kOk);
    phone_.Expect("AT\r", "\r\n+CME ERROR: 10\r\n");
    EXPECT_EQ(Wake(), kErrCmeError);
    EXPECT_EQ(session_->lastError, kErrCmeError);
    EXPECT_EQ(events_, (Events{WakeEvent::kConnected}));
    EXPECT_EQ(phone_.Writes(),
              (Commands{"AT\r", "AT\r", kCtrlZText, "AT\r", "ATZ\r", "AT\r", "AT\r"}));
}

TEST_F(WakeTest, ASilentPhoneTimesOutWithoutAnyEvent) {
    for (const char* command : {"AT\r", "AT\r"}) phone_.Expect(command, "");
    phone_.Expect(kCtrlZText, "");
    for (const char* command : {"AT\r", "ATZ\r", "AT\r", "AT\r"}) phone_.Expect(command, "");
    EXPECT_EQ(Wake(), kErrTimeout);
    EXPECT_EQ(session_->lastError, kErrTimeout);
    EXPECT_TRUE(events_.empty());
    EXPECT_EQ(phone_.Writes().size(), 7u);
}

TEST_F(WakeTest, ACancelledChannelEndsEveryStepAtOnce) {
    CancelFlag cancel;
    cancel.raised = true;
    SetPollCallback(channel_, &CheckCancel, 100, &cancel);
    EXPECT_EQ(Wake(), kErrCancelled);
    EXPECT_TRUE(events_.empty());
    EXPECT_TRUE(phone_.Writes().empty());
}

TEST_F(WakeTest, WithoutAListenerTheWakeUpIsTheSame) {
    phone_.Expect("AT\r", kOk);
    phone_.Expect("AT\r", kOk);
    ExpectSetUp();
    EXPECT_EQ(WakePhone(session_, nullptr, nullptr), 0u);
    EXPECT_EQ(phone_.Writes(), Then({"AT\r", "AT\r"}, kSetUp));
}

TEST_F(WakeTest, TheSetUpsResultDoesNotCount) {
    phone_.Expect("AT\r", kOk);
    phone_.Expect("AT\r", kOk);
    phone_.Expect("ATE0V1\r", kError);
    phone_.Expect("ATE0\r", kError);
    phone_.Expect("AT+CMGF=0\r", kError);
    phone_.Expect("AT+CSCS=\"GSM\"\r", kError);
    phone_.Expect("AT\r", kError);
    EXPECT_EQ(Wake(), 0u);
    EXPECT_EQ(session_->lastError, 0u);
}

// ---- the sequences as data ----

TEST(Sequences, AStepAnsweredWithOkCanSkipItsFallbackOrFinish) {
    ScriptPhone phone;
    FakeClock clock(1000, 1);
    phone.AttachClock(&clock);
    PhoneChannel* channel = phone.Connect();
    ASSERT_NE(channel, nullptr);
    PhoneSession* session = nullptr;
    ASSERT_EQ(CreatePhoneSession(channel, &session), 0u);
    const AtStep steps[] = {
        {AtCommand::kEchoOffVerbose, AtOnOk::kSkipNext, WakeEvent::kNone},
        {AtCommand::kEchoOff, AtOnOk::kNext, WakeEvent::kNone},
        {AtCommand::kReset, AtOnOk::kFinish, WakeEvent::kNone},
        {AtCommand::kAttention, AtOnOk::kNext, WakeEvent::kNone},
    };
    phone.Expect("ATE0V1\r", kOk);
    phone.Expect("ATZ\r", kOk);
    EXPECT_EQ(RunAtSteps(session, steps, 4, nullptr, nullptr), 0u);
    EXPECT_EQ(phone.Writes(), (Commands{"ATE0V1\r", "ATZ\r"}));
    EXPECT_TRUE(phone.Unexpected().empty());
    // Without an OK every step runs, and the last one's result is the sequence's.
    phone.Expect("ATE0V1\r", kError);
    phone.Expect("ATE0\r", kError);
    phone.Expect("ATZ\r", kError);
    phone.Expect("AT\r", "\r\n+CMS ERROR: 500\r\n");
    EXPECT_EQ(RunAtSteps(session, steps, 4, nullptr, nullptr), kErrCmsError);
    EXPECT_EQ(phone.Writes().size(), 6u);
    EXPECT_TRUE(phone.Unexpected().empty());
    FreePhoneSession(session);
    ChannelClose(channel);
}

}  // namespace
