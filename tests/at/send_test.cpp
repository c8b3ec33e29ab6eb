// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "at/send_message.h"
#include "at_test_fixture.h"
#include "pdu/deliver.h"

namespace {

// +4930123456, "Hello", no options: service-centre octet 00, then the 17-octet TPDU.
const std::string kTpduHex =
    "01000A9194032143650000"
    "05C8329BFD06";
const std::string kCtrlZText(1, '\x1A');
const std::string kSentOk = "\r\n+CMGS: 42\r\n\r\nOK\r\n";

using Commands = std::vector<std::string>;

class SendTest : public AtTest {
  protected:
    SendTest() {
        message_.number = u"+4930123456";
        message_.text = u"Hello";
        message_.folder = kFolderOutbox;
    }
    SmsMessage message_;
};

TEST_F(SendTest, DefaultCentreLengthLineCarriesTheTpduLength) {
    phone_.Expect("AT+CMGS=17\r", "\r\n> ");
    phone_.Expect("00" + kTpduHex + kCtrlZText, kSentOk);
    EXPECT_TRUE(SendMessage(session_, &message_));
    EXPECT_EQ(session_->lastError, 0u);
    ASSERT_EQ(phone_.Writes().size(), 2u);
    const std::string& pdu = phone_.Writes()[1];
    // Twice the TPDU length, plus the service-centre part the encoder wrote ("00"), plus Ctrl-Z.
    EXPECT_EQ(pdu.size(), 2u * 17 + 2 + 1);
    EXPECT_EQ(pdu.size(), 2u * message_.pduRecord->encodedLength + 1);
    EXPECT_EQ(pdu.back(), '\x1A');
    EXPECT_EQ(pdu.find('\r'), std::string::npos) << "no CR after (or before) Ctrl-Z";
    EXPECT_EQ(pdu.find('\n'), std::string::npos);
}

TEST_F(SendTest, CustomInternationalCentreIsSentWithoutItsPlus) {
    session_->serviceCentre = u"+491234567890";
    phone_.Expect("AT+CMGS=17\r", "\r\n> ");  // the centre never counts in the length
    phone_.Expect("0791942143658709" + kTpduHex + kCtrlZText, kSentOk);
    EXPECT_TRUE(SendMessage(session_, &message_));
    ASSERT_EQ(phone_.Writes().size(), 2u);
    EXPECT_EQ(phone_.Writes()[1].find('+'), std::string::npos);
    EXPECT_EQ(message_.pduRecord->scaType & 0x70, 0x10);  // type of number: international
    // Twice the TPDU length plus exactly the service-centre part (8 octets) plus Ctrl-Z.
    EXPECT_EQ(phone_.Writes()[1].size(), 2u * 17 + 2u * 8 + 1);
}

TEST_F(SendTest, CustomNationalCentreIsMarkedUnknownTypeOfNumber) {
    session_->serviceCentre = u"01234";
    phone_.Expect("AT+CMGS=17\r", "\r\n> ");
    phone_.Expect("04811032F4" + kTpduHex + kCtrlZText, kSentOk);
    EXPECT_TRUE(SendMessage(session_, &message_));
}

TEST_F(SendTest, StatusReportAndFlashOptions) {
    session_->statusReport = true;
    message_.flags = kFlagFlash;
    phone_.Expect("AT+CMGS=17\r", "\r\n> ");
    phone_.Expect(
        "00"
        "21000A919403214365"
        "00F0"
        "05C8329BFD06" +
            kCtrlZText,
        kSentOk);
    EXPECT_TRUE(SendMessage(session_, &message_));
    session_->statusReport = false;
    message_.flags = 0;
    phone_.Expect("AT+CMGS=17\r", "\r\n> ");
    phone_.Expect("00" + kTpduHex + kCtrlZText, kSentOk);
    EXPECT_TRUE(SendMessage(session_, &message_));
}

TEST_F(SendTest, PromptWithoutBlankTimesOutAfterTwentySeconds) {
    phone_.Expect("AT+CMGS=17\r", "\r\n>");
    EXPECT_FALSE(SendMessage(session_, &message_));
    EXPECT_EQ(session_->lastError, kErrTimeout);
    EXPECT_EQ(phone_.Writes().size(), 1u);  // the PDU is never sent
    EXPECT_GE(SinceWrite(0), kAtPromptTimeoutMs);
    EXPECT_LE(SinceWrite(0), kAtPromptTimeoutMs + 5);
}

TEST_F(SendTest, PromptMayTakeAlmostTwentySeconds) {
    phone_.Expect("AT+CMGS=17\r", "\r\n> ", 19500);
    phone_.Expect("00" + kTpduHex + kCtrlZText, kSentOk, 29500);
    EXPECT_TRUE(SendMessage(session_, &message_));
    EXPECT_GE(SinceWrite(1), 29500u);
}

TEST_F(SendTest, RejectedLengthLineEndsTheSendWithThePhonesCode) {
    const std::vector<std::pair<std::string, TransferError>> answers = {
        {kError, kErrPhoneError},
        {"\r\n+CMS ERROR: 304\r\n", kErrCmsError},
        {"\r\n+CME ERROR: 3\r\n", kErrCmeError},
    };
    for (const auto& [answer, code] : answers) {
        phone_.Expect("AT+CMGS=17\r", answer);
        EXPECT_FALSE(SendMessage(session_, &message_));
        EXPECT_EQ(session_->lastError, code);
    }
    EXPECT_EQ(phone_.Writes(), (Commands(3, "AT+CMGS=17\r")));
}

TEST_F(SendTest, NoFinalCodeWithinThirtySecondsAfterThePdu) {
    phone_.Expect("AT+CMGS=17\r", "\r\n> ");
    phone_.Expect("00" + kTpduHex + kCtrlZText, "\r\n+CMGS: 42\r\n");
    EXPECT_FALSE(SendMessage(session_, &message_));
    EXPECT_EQ(session_->lastError, kErrTimeout);
    EXPECT_GE(SinceWrite(1), kAtPduTimeoutMs);
    EXPECT_LE(SinceWrite(1), kAtPduTimeoutMs + 5);
}

TEST_F(SendTest, NetworkRefusalIsACmsError) {
    phone_.Expect("AT+CMGS=17\r", "\r\n> ");
    phone_.Expect("00" + kTpduHex + kCtrlZText, "\r\n+CMS ERROR: 500\r\n");
    EXPECT_FALSE(SendMessage(session_, &message_));
    EXPECT_EQ(session_->lastError, kErrCmsError);
}

TEST_F(SendTest, PromptHookStaysInstalledForThePduStage) {
    phone_.Expect("AT+CMGS=17\r", "\r\n> ");
    phone_.Expect("00" + kTpduHex + kCtrlZText, "\r\n> ");
    EXPECT_TRUE(SendMessage(session_, &message_));
}

TEST_F(SendTest, RestOfThePromptLineIsDrainedBeforeThePdu) {
    // Read one byte at a time, the prompt ends the first stage while a stale OK is still on
    // its way; the drain before the PDU must throw it away, so the ERROR is what counts.
    phone_.SetSplit(ScriptPhone::Split::kOneByte);
    phone_.Expect("AT+CMGS=17\r", "\r\n> \r\nOK\r\n");
    phone_.Expect("00" + kTpduHex + kCtrlZText, kError);
    EXPECT_FALSE(SendMessage(session_, &message_));
    EXPECT_EQ(session_->lastError, kErrPhoneError);
}

TEST_F(SendTest, MessageThatCannotBeEncodedIsNotSent) {
    message_.number = u"+49#123";
    EXPECT_FALSE(SendMessage(session_, &message_));
    EXPECT_EQ(session_->lastError, kErrInvalidParameter);
    message_.number = u"+4930123456";
    message_.text = std::u16string(161, u'a');
    EXPECT_FALSE(SendMessage(session_, &message_));
    EXPECT_EQ(session_->lastError, kErrInvalidParameter);
    EXPECT_TRUE(phone_.Writes().empty());
}

TEST_F(SendTest, SubmitPduReturnsTheEncodersError) {
    PduRecord* record = NewPduRecord();
    ASSERT_NE(record, nullptr);
    record->firstOctet = kMtiStatusReport;  // not something that can be sent
    EXPECT_EQ(SubmitPdu(session_, record), kErrInvalidParameter);
    EXPECT_TRUE(phone_.Writes().empty());
    FreePduRecord(record);
}

TEST_F(SendTest, CancelledChannelFailsTheSendWithoutWriting) {
    CancelFlag cancel;
    cancel.raised = true;
    SetPollCallback(channel_, &CheckCancel, 100, &cancel);
    EXPECT_FALSE(SendMessage(session_, &message_));
    EXPECT_EQ(session_->lastError, kErrCancelled);
    EXPECT_TRUE(phone_.Writes().empty());
}

}  // namespace
