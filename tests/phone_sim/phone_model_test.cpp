// SPDX-License-Identifier: GPL-3.0-or-later
// The simulated phone fed command by command, without sockets.
#include "phone_model.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "common/file_time.h"
#include "message_files.h"
#include "pdu/concatenation.h"
#include "pdu/deliver.h"
#include "pdu/gsm_alphabet.h"
#include "pdu/submit_parts.h"
#include "pdu_builder.h"

namespace phone_sim {
namespace {

// SMS-SUBMIT to +4930123456 with the text "Hello", default centre: 17 TPDU octets.
constexpr char kSubmitHello[] = "0001000A919403214365000005C8329BFD06";
// The same as Flash SMS with a status-report request.
constexpr char kSubmitFlashReport[] = "0021000A91940321436500F005C8329BFD06";
// 8-bit data "ABC" to +4930123456: 15 TPDU octets.
constexpr char kSubmit8Bit[] =
    "0001000A91940321436500040341424"
    "3";
// UCS2 "Hi" to +4930123456: 16 TPDU octets.
constexpr char kSubmitUcs2[] =
    "0001000A9194032143650008040048"
    "0069";
// The stored SMS-DELIVER from +4930123456, "Hello", 2003-11-15 09:30:05 GMT+1, no centre.
constexpr char kDeliverHello[] = "00040A91940321436500003011519003504005C8329BFD06";

std::string Send(PhoneModel& phone, std::string_view bytes) {
    phone.Feed(bytes);
    return phone.TakeOutput();
}

// A phone with two received messages in SM: index 1 unread, index 2 read.
Knobs QuietKnobs() {
    Knobs k;
    k.serviceCentre = "";
    return k;
}

void AddDeliverHello(PhoneModel& phone, Storage storage, int status) {
    ASSERT_NE(phone.memory(storage).Add(status, kDeliverHello, 23), 0u);
}

struct DecodedDeliver {
    std::string number;
    std::u16string text;
    std::uint8_t mti = 0xFF;
    std::uint8_t dcs = 0;
};

DecodedDeliver DecodeStored(const StoredMessage& message) {
    DecodedDeliver out;
    std::vector<std::uint8_t> bytes;
    EXPECT_TRUE(FromHex(message.pduHex, &bytes));
    PduRecordPtr record(NewPduRecord());
    EXPECT_EQ(DecodePdu(record.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                        message.tpduLength),
              0u);
    out.mti = record->firstOctet & 3;
    out.dcs = record->dcs;
    if (((record->addressType >> 4) & 7) == 1) out.number = "+";
    out.number += record->addressDigits;
    char16_t text[kUserDataSize + 1];
    std::size_t count = 0;
    SeptetsToText(record->userData, record->userDataLength, text, &count);
    out.text.assign(text, count);
    return out;
}

TEST(PhoneModel, AtAnswersOkInVerboseForm) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, LowerCaseCommandsAreAccepted) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "at\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "at+cmgf=0\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, UnknownCommandsAnswerError) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+FOO\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "HELLO\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "ATX9\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGF=0x\r"), "\r\nERROR\r\n");
}

TEST(PhoneModel, EmptyLinesAreNoCommands) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "\r\r\n\r"), "");
    EXPECT_EQ(phone.command_count(), 0u);
}

// A Ctrl-Z or ESC sent to wake a phone that has no prompt open is not part of the next command.
TEST(PhoneModel, CtrlZAndEscapeOutsideAPromptAreIgnored) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "\x1a"), "");
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "A\x1bT\r"), "\r\nOK\r\n");
    EXPECT_EQ(phone.command_count(), 2u);
}

TEST(PhoneModel, EchoFollowsAte1AndAte0) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "ATE1\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT\r"), "AT\r\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "ATE0\r"), "ATE0\r\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, Ate0V1TurnsEchoOffAndKeepsVerboseResults) {
    Knobs k;
    k.echo = true;
    PhoneModel phone(k);
    EXPECT_EQ(Send(phone, "ATE0V1\r"), "ATE0V1\r\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, V0GivesNumericResultCodes) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "ATV0\r"), "0\r");
    EXPECT_EQ(Send(phone, "AT+FOO\r"), "4\r");
    EXPECT_EQ(Send(phone, "AT+CMGF?\r"), "+CMGF: 0\r\n0\r");
    EXPECT_EQ(Send(phone, "ATV1\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, AtzRestoresTheStartingEchoAndVerboseState) {
    Knobs k;
    k.echo = true;
    PhoneModel phone(k);
    Send(phone, "ATE0V0\r");
    EXPECT_EQ(Send(phone, "AT\r"), "0\r");
    // Echo is still off while ATZ arrives; its result already comes in verbose form.
    EXPECT_EQ(Send(phone, "ATZ\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT\r"), "AT\r\r\nOK\r\n");
}

TEST(PhoneModel, OnlyPduModeIsOffered) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CMGF=0\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGF=1\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGF?\r"), "\r\n+CMGF: 0\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGF=?\r"), "\r\n+CMGF: (0)\r\n\r\nOK\r\n");
}

TEST(PhoneModel, CharacterSetIsKeptAndReported) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CSCS=\"GSM\"\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CSCS=\"UCS2\"\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CSCS?\r"), "\r\n+CSCS: \"UCS2\"\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CSCS=\"KLINGON\"\r"), "\r\nERROR\r\n");
}

TEST(PhoneModel, ExtendedCommandsChainWithSemicolons) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CMGF=0;+CSCS=\"IRA\"\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CSCS?;+CMGF?\r"), "\r\n+CSCS: \"IRA\"\r\n+CMGF: 0\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGF=0;+CMGF=1\r"), "\r\nERROR\r\n");
}

TEST(PhoneModel, CpmsSelectsAMemoryAndReportsThreePairs) {
    PhoneModel phone(QuietKnobs());
    AddDeliverHello(phone, Storage::kSim, kRecUnread);
    AddDeliverHello(phone, Storage::kPhone, kRecUnread);
    AddDeliverHello(phone, Storage::kPhone, kRecRead);
    EXPECT_EQ(Send(phone, "AT+CPMS=\"SM\"\r"), "\r\n+CPMS: 1,30,1,30,2,100\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CPMS=\"ME\"\r"), "\r\n+CPMS: 2,100,1,30,2,100\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CPMS?\r"),
              "\r\n+CPMS: \"ME\",2,100,\"SM\",1,30,\"ME\",2,100\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CPMS=\"SM\",\"SM\",\"SM\"\r"),
              "\r\n+CPMS: 1,30,1,30,1,30\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CPMS=\"BM\"\r"), "\r\n+CMS ERROR: 302\r\n");
    EXPECT_EQ(Send(phone, "AT+CPMS\r"), "\r\nERROR\r\n");
}

TEST(PhoneModel, CmglListsEveryMessageWithItsHeaderAndPdu) {
    PhoneModel phone(QuietKnobs());
    AddDeliverHello(phone, Storage::kSim, kRecUnread);
    ASSERT_EQ(phone.memory(Storage::kSim).Add(kStoSent, kSubmitHello, 17), 2u);
    Send(phone, "AT+CPMS=\"SM\"\r");
    EXPECT_EQ(Send(phone, "AT+CMGL=4\r"), std::string("\r\n+CMGL: 1,0,,23\r\n") + kDeliverHello +
                                              "\r\n+CMGL: 2,3,,17\r\n" + kSubmitHello +
                                              "\r\n\r\nOK\r\n");
}

TEST(PhoneModel, CmglFiltersByStatusAndMarksListedMessagesRead) {
    PhoneModel phone(QuietKnobs());
    AddDeliverHello(phone, Storage::kSim, kRecUnread);
    AddDeliverHello(phone, Storage::kSim, kRecRead);
    ASSERT_EQ(phone.memory(Storage::kSim).Add(kStoUnsent, kSubmitHello, 17), 3u);
    EXPECT_EQ(Send(phone, "AT+CMGL=2\r"),
              std::string("\r\n+CMGL: 3,2,,17\r\n") + kSubmitHello + "\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGL=3\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGL=1\r"),
              std::string("\r\n+CMGL: 2,1,,23\r\n") + kDeliverHello + "\r\n\r\nOK\r\n");
    // Without a parameter: the unread ones, which then count as read.
    EXPECT_EQ(Send(phone, "AT+CMGL\r"),
              std::string("\r\n+CMGL: 1,0,,23\r\n") + kDeliverHello + "\r\n\r\nOK\r\n");
    EXPECT_EQ(phone.memory(Storage::kSim).Find(1)->status, kRecRead);
    EXPECT_EQ(Send(phone, "AT+CMGL=0\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGL=5\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGL=\"ALL\"\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGL=?\r"), "\r\n+CMGL: (0-4)\r\n\r\nOK\r\n");
}

TEST(PhoneModel, CmglOfAnEmptyMemoryIsJustOk) {
    PhoneModel phone;
    Send(phone, "AT+CPMS=\"ME\"\r");
    EXPECT_EQ(Send(phone, "AT+CMGL=4\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, CmgrReadsOneMessageAndRefusesAnEmptyIndex) {
    PhoneModel phone(QuietKnobs());
    AddDeliverHello(phone, Storage::kSim, kRecUnread);
    EXPECT_EQ(Send(phone, "AT+CMGR=1\r"),
              std::string("\r\n+CMGR: 0,,23\r\n") + kDeliverHello + "\r\n\r\nOK\r\n");
    EXPECT_EQ(phone.memory(Storage::kSim).Find(1)->status, kRecRead);
    EXPECT_EQ(Send(phone, "AT+CMGR=2\r"), "\r\n+CMS ERROR: 321\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGR=x\r"), "\r\nERROR\r\n");
}

TEST(PhoneModel, CmgdDeletesAndRefusesAnEmptyIndex) {
    PhoneModel phone(QuietKnobs());
    AddDeliverHello(phone, Storage::kPhone, kRecRead);
    AddDeliverHello(phone, Storage::kPhone, kRecRead);
    Send(phone, "AT+CPMS=\"ME\"\r");
    EXPECT_EQ(Send(phone, "AT+CMGD=1\r"), "\r\nOK\r\n");
    EXPECT_EQ(phone.memory(Storage::kPhone).used(), 1u);
    EXPECT_EQ(phone.memory(Storage::kPhone).Find(1), nullptr);
    EXPECT_EQ(Send(phone, "AT+CMGD=1\r"), "\r\n+CMS ERROR: 321\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGD=0\r"), "\r\n+CMS ERROR: 321\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGD=\r"), "\r\nERROR\r\n");
    // The freed index is the lowest free one again.
    EXPECT_EQ(phone.memory(Storage::kPhone).Add(kRecUnread, kDeliverHello, 23), 1u);
    EXPECT_EQ(Send(phone, "AT+CMGD=?\r"), "\r\n+CMGD: (1,2),(0-4)\r\n\r\nOK\r\n");
}

TEST(PhoneModel, CmgdWithAFlagDeletesByStatus) {
    PhoneModel phone(QuietKnobs());
    MessageMemory& sim = phone.memory(Storage::kSim);
    sim.Add(kRecUnread, kDeliverHello, 23);
    sim.Add(kRecRead, kDeliverHello, 23);
    sim.Add(kStoUnsent, kSubmitHello, 17);
    sim.Add(kStoSent, kSubmitHello, 17);
    EXPECT_EQ(Send(phone, "AT+CMGD=1,1\r"), "\r\nOK\r\n");
    EXPECT_EQ(sim.used(), 3u);
    EXPECT_EQ(sim.Find(2), nullptr);
    EXPECT_EQ(Send(phone, "AT+CMGD=1,2\r"), "\r\nOK\r\n");
    EXPECT_EQ(sim.Find(4), nullptr);
    EXPECT_EQ(Send(phone, "AT+CMGD=1,3\r"), "\r\nOK\r\n");
    EXPECT_EQ(sim.Find(3), nullptr);
    ASSERT_EQ(sim.used(), 1u);
    EXPECT_EQ(Send(phone, "AT+CMGD=1,4\r"), "\r\nOK\r\n");
    EXPECT_EQ(sim.used(), 0u);
    EXPECT_EQ(Send(phone, "AT+CMGD=1,5\r"), "\r\nERROR\r\n");
}

TEST(PhoneModel, CmgsPromptsThenSendsAPduOfTheAnnouncedLength) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CMGS=17\r"), "\r\n> ");
    EXPECT_TRUE(phone.in_pdu_stage());
    EXPECT_EQ(Send(phone, std::string(kSubmitHello) + "\x1A"), "\r\n+CMGS: 1\r\n\r\nOK\r\n");
    EXPECT_FALSE(phone.in_pdu_stage());
    ASSERT_EQ(phone.sent().size(), 1u);
    const SentMessage& sent = phone.sent()[0];
    EXPECT_EQ(sent.reference, 1u);
    EXPECT_EQ(sent.number, "+4930123456");
    EXPECT_EQ(sent.text, "Hello");
    EXPECT_FALSE(sent.flash);
    EXPECT_FALSE(sent.statusReport);
    EXPECT_EQ(sent.pduHex, kSubmitHello);
    EXPECT_EQ(sent.tpduLength, 17u);
    // The next one gets the next reference.
    Send(phone, "AT+CMGS=17\r");
    EXPECT_EQ(Send(phone, std::string(kSubmitHello) + "\x1A"), "\r\n+CMGS: 2\r\n\r\nOK\r\n");
}

TEST(PhoneModel, CmgsWithAWrongLengthIsRefusedWith304) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CMGS=18\r"), "\r\n> ");
    EXPECT_EQ(Send(phone, std::string(kSubmitHello) + "\x1A"), "\r\n+CMS ERROR: 304\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGS=16\r"), "\r\n> ");
    EXPECT_EQ(Send(phone, std::string(kSubmitHello) + "\x1A"), "\r\n+CMS ERROR: 304\r\n");
    EXPECT_TRUE(phone.sent().empty());
    EXPECT_EQ(phone.memory(Storage::kPhone).used(), 0u);
    // Back in command mode afterwards.
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, CmgsRefusesWhatIsNoSmsSubmit) {
    PhoneModel phone;
    const std::pair<std::string, unsigned> bad[] = {
        {"0001000A919403214365000005C8329BFD0", 17},   // odd number of digits
        {"0001000A919403214365000005C8329BFDZZ", 17},  // not hex
        {kDeliverHello, 23},                           // an SMS-DELIVER
        {"0001000AD09403214365000005C8329BFD06", 17},  // alphanumeric destination
        {"0001000A919403214365000009C8329BFD06", 17},  // TP-UDL beyond the data
        {"", 1},                                       // nothing at all
    };
    for (const auto& [hex, length] : bad) {
        SCOPED_TRACE(hex);
        EXPECT_EQ(Send(phone, "AT+CMGS=" + std::to_string(length) + "\r"), "\r\n> ");
        EXPECT_EQ(Send(phone, hex + "\x1A"), "\r\n+CMS ERROR: 304\r\n");
    }
    EXPECT_TRUE(phone.sent().empty());
}

TEST(PhoneModel, CmgsLengthOutOfRangeOrMalformed) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CMGS=0\r"), "\r\n+CMS ERROR: 304\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGS=165\r"), "\r\n+CMS ERROR: 304\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGS=abc\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGS\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGS=17;+CMGF=0\r"), "\r\nERROR\r\n");
    EXPECT_FALSE(phone.in_pdu_stage());
}

TEST(PhoneModel, EscapeCancelsThePduStage) {
    PhoneModel phone;
    std::vector<std::string> log;
    phone.SetLogSink([&](std::string_view line) { log.emplace_back(line); });
    Send(phone, "AT+CMGS=17\r");
    EXPECT_EQ(Send(phone, "0001\x1B"), "\r\nOK\r\n");
    EXPECT_FALSE(phone.in_pdu_stage());
    EXPECT_TRUE(phone.sent().empty());
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[1], "0001<esc>");
}

TEST(PhoneModel, PduStageIgnoresLineEndsAndRefusesOverlongText) {
    PhoneModel phone;
    Send(phone, "AT+CMGS=17\r");
    std::string hex = kSubmitHello;
    EXPECT_EQ(Send(phone, hex.substr(0, 10) + "\r\n" + hex.substr(10) + "\x1A"),
              "\r\n+CMGS: 1\r\n\r\nOK\r\n");
    Send(phone, "AT+CMGS=17\r");
    EXPECT_EQ(Send(phone, std::string(kMaxPduText + 50, '0') + "\x1A"), "\r\n+CMS ERROR: 304\r\n");
}

TEST(PhoneModel, FlashAndStatusReportAreRecorded) {
    PhoneModel phone;
    Send(phone, "AT+CMGS=17\r");
    EXPECT_EQ(Send(phone, std::string(kSubmitFlashReport) + "\x1A"), "\r\n+CMGS: 1\r\n\r\nOK\r\n");
    ASSERT_EQ(phone.sent().size(), 1u);
    EXPECT_TRUE(phone.sent()[0].flash);
    EXPECT_TRUE(phone.sent()[0].statusReport);
    EXPECT_EQ(phone.sent()[0].dcs, 0xF0);
    EXPECT_EQ(phone.sent()[0].text, "Hello");
}

TEST(PhoneModel, SentMessagesArriveBackInThePhoneMemory) {
    PhoneModel phone;
    Send(phone, "AT+CMGS=17\r");
    Send(phone, std::string(kSubmitHello) + "\x1A");
    const MessageMemory& me = phone.memory(Storage::kPhone);
    ASSERT_EQ(me.used(), 1u);
    const StoredMessage* stored = me.Find(1);
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(stored->status, kRecUnread);
    // The default centre +491710760000 leads the PDU.
    EXPECT_EQ(stored->pduHex.substr(0, 16), "0791947101670000");
    EXPECT_EQ(stored->pduHex.size(), 2u * (8 + stored->tpduLength));
    DecodedDeliver d = DecodeStored(*stored);
    EXPECT_EQ(d.mti, kMtiDeliver);
    EXPECT_EQ(d.number, "+4930123456");
    EXPECT_EQ(d.text, u"Hello");
    EXPECT_EQ(phone.sent()[0].deliveredIndex, 1u);
    EXPECT_EQ(phone.sent()[0].deliveredTo, Storage::kPhone);

    // And show up in the listing of ME.
    Send(phone, "AT+CPMS=\"ME\"\r");
    EXPECT_EQ(Send(phone, "AT+CMGL=4\r"),
              "\r\n+CMGL: 1,0,,23\r\n" + stored->pduHex + "\r\n\r\nOK\r\n");
}

TEST(PhoneModel, DeliveryBackCarriesTheTimeOfSending) {
    struct Fixed {
        static SystemTime Now(void*) {
            SystemTime t;
            t.year = 2004;
            t.month = 2;
            t.day = 29;
            t.hour = 23;
            t.minute = 59;
            t.second = 58;
            return t;
        }
    };
    SetLocalTimeSource(&Fixed::Now, nullptr);
    PhoneModel phone;
    Send(phone, "AT+CMGS=17\r");
    Send(phone, std::string(kSubmitHello) + "\x1A");
    SetLocalTimeSource(nullptr, nullptr);
    const StoredMessage* stored = phone.memory(Storage::kPhone).Find(1);
    ASSERT_NE(stored, nullptr);
    // Centre part (8 octets), first octet, address (1 + 1 + 5), PID, DCS, then the stamp.
    EXPECT_EQ(stored->pduHex.substr(2 * 18, 12), "402092329585");
}

TEST(PhoneModel, EightBitAndUcs2MessagesArriveBackUnchanged) {
    PhoneModel phone(QuietKnobs());
    Send(phone, "AT+CMGS=15\r");
    EXPECT_EQ(Send(phone, std::string(kSubmit8Bit) + "\x1A"), "\r\n+CMGS: 1\r\n\r\nOK\r\n");
    Send(phone, "AT+CMGS=16\r");
    EXPECT_EQ(Send(phone, std::string(kSubmitUcs2) + "\x1A"), "\r\n+CMGS: 2\r\n\r\nOK\r\n");
    ASSERT_EQ(phone.sent().size(), 2u);
    EXPECT_EQ(phone.sent()[0].text, "ABC");
    EXPECT_EQ(phone.sent()[1].text, "Hi");

    const StoredMessage* eight = phone.memory(Storage::kPhone).Find(1);
    const StoredMessage* ucs2 = phone.memory(Storage::kPhone).Find(2);
    ASSERT_NE(eight, nullptr);
    ASSERT_NE(ucs2, nullptr);
    // DELIVER: 00 centre, 04, address, PID, DCS, 7 stamp octets, UDL, data.
    EXPECT_EQ(eight->tpduLength, 1u + 7 + 2 + 7 + 1 + 3);
    EXPECT_EQ(eight->pduHex.substr(eight->pduHex.size() - 8), "03414243");
    EXPECT_EQ(ucs2->tpduLength, 1u + 7 + 2 + 7 + 1 + 4);
    EXPECT_EQ(ucs2->pduHex.substr(ucs2->pduHex.size() - 10), "0400480069");
    EXPECT_EQ(DecodeStored(*ucs2).dcs, 0x08);
}

TEST(PhoneModel, PartsOfALongMessageArriveBackWithTheirDcsAndHeader) {
    PhoneModel phone(QuietKnobs());
    SmsMessage message;
    message.number = u"+4930123456";
    std::u16string text;
    for (int k = 0; k < 30; ++k) text += u"Ж😀";  // 90 UCS2 units: two parts
    message.text = text;
    std::vector<PartPdu> parts;
    ASSERT_EQ(EncodeSubmitParts(message, CodecOptions{true, true}, 99, u"", false, &parts),
              kErrNone);
    ASSERT_EQ(parts.size(), 2u);
    for (const PartPdu& part : parts) {
        Send(phone, "AT+CMGS=" + std::to_string(part.tpduLength) + "\r");
        EXPECT_EQ(Send(phone, ToHex(part.pdu) + "\x1A").find("+CMGS:"), 2u);
    }
    std::u16string joined;
    for (unsigned index = 1; index <= 2; ++index) {
        const StoredMessage* stored = phone.memory(Storage::kPhone).Find(index);
        ASSERT_NE(stored, nullptr);
        std::vector<std::uint8_t> bytes;
        ASSERT_TRUE(FromHex(stored->pduHex, &bytes));
        SmsMessage back;
        back.pduRecord.reset(NewPduRecord());
        ASSERT_EQ(
            DecodePdu(back.pduRecord.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                      stored->tpduLength, CodecOptions{true, true}),
            0u);
        EXPECT_EQ(back.pduRecord->firstOctet & 3, kMtiDeliver);
        EXPECT_EQ(back.pduRecord->dcs, 0x08);
        ConcatenationInfo info;
        ASSERT_TRUE(ReadConcatenation(back.pduRecord.get(), &info));
        EXPECT_EQ(info.reference, 99);
        EXPECT_EQ(info.sequence, index);
        ApplyPduRecord(&back);
        joined += back.text;
    }
    EXPECT_EQ(joined, text);
}

TEST(PhoneModel, NoDeliverySentKeepsThePhoneMemoryEmpty) {
    Knobs k;
    k.deliverSent = false;
    PhoneModel phone(k);
    Send(phone, "AT+CMGS=17\r");
    EXPECT_EQ(Send(phone, std::string(kSubmitHello) + "\x1A"), "\r\n+CMGS: 1\r\n\r\nOK\r\n");
    EXPECT_EQ(phone.memory(Storage::kPhone).used(), 0u);
    ASSERT_EQ(phone.sent().size(), 1u);
    EXPECT_EQ(phone.sent()[0].deliveredIndex, 0u);
}

TEST(PhoneModel, DeliveryIntoAFullMemoryIsLostButTheSendSucceeds) {
    Knobs k;
    k.phoneCapacity = 1;
    PhoneModel phone(k);
    AddDeliverHello(phone, Storage::kPhone, kRecRead);
    Send(phone, "AT+CMGS=17\r");
    EXPECT_EQ(Send(phone, std::string(kSubmitHello) + "\x1A"), "\r\n+CMGS: 1\r\n\r\nOK\r\n");
    EXPECT_EQ(phone.memory(Storage::kPhone).used(), 1u);
    EXPECT_EQ(phone.sent()[0].deliveredIndex, 0u);
}

TEST(PhoneModel, DeliveryFollowsTheReceivingMemory) {
    PhoneModel phone;
    Send(phone, "AT+CPMS=\"SM\",\"SM\",\"SM\"\r");
    Send(phone, "AT+CMGS=17\r");
    Send(phone, std::string(kSubmitHello) + "\x1A");
    EXPECT_EQ(phone.memory(Storage::kSim).used(), 1u);
    EXPECT_EQ(phone.memory(Storage::kPhone).used(), 0u);
    EXPECT_EQ(phone.sent()[0].deliveredTo, Storage::kSim);
}

TEST(PhoneModel, InputSplitAnywhereGivesTheSameAnswers) {
    const std::string script = std::string("ATE0V1\rAT+CPMS=\"ME\"\r\nAT+CMGS=17\r") +
                               kSubmitHello + "\x1A" + "AT+CMGL=4\rAT+CMGD=1\r";
    PhoneModel whole;
    std::string expected = Send(whole, script);
    ASSERT_NE(expected.find("+CMGS: 1"), std::string::npos);
    ASSERT_NE(expected.find("+CMGL: 1,0,,23"), std::string::npos);

    PhoneModel bytewise;
    std::string got;
    for (char c : script) got += Send(bytewise, std::string(1, c));
    EXPECT_EQ(got, expected);

    PhoneModel uneven;
    got.clear();
    for (std::size_t i = 0; i < script.size(); i += 7) got += Send(uneven, script.substr(i, 7));
    EXPECT_EQ(got, expected);
}

TEST(PhoneModel, SeveralCommandsInOneReadAndStrayLineFeeds) {
    PhoneModel phone;
    std::vector<std::string> log;
    phone.SetLogSink([&](std::string_view line) { log.emplace_back(line); });
    EXPECT_EQ(Send(phone, "\nAT\r\nAT+CMGF=0\r\nAT+FOO\r\n"), "\r\nOK\r\n\r\nOK\r\n\r\nERROR\r\n");
    EXPECT_EQ(log, (std::vector<std::string>{"AT", "AT+CMGF=0", "AT+FOO"}));
}

TEST(PhoneModel, LogHoldsEveryCommandAsReceived) {
    PhoneModel phone;
    std::vector<std::string> log;
    phone.SetLogSink([&](std::string_view line) { log.emplace_back(line); });
    Send(phone, "at+cpms=\"me\"\rAT+CMGS=17\r");
    Send(phone, std::string(kSubmitHello) + "\x1A");
    EXPECT_EQ(log, (std::vector<std::string>{"at+cpms=\"me\"", "AT+CMGS=17",
                                             std::string(kSubmitHello) + "<ctrl-z>"}));
    EXPECT_EQ(phone.command_count(), 3u);
}

TEST(PhoneModel, EchoKnobEchoesCommandsAndPdu) {
    Knobs k;
    k.echo = true;
    PhoneModel phone(k);
    EXPECT_EQ(Send(phone, "AT\r"), "AT\r\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGS=17\r"), "AT+CMGS=17\r\r\n> ");
    EXPECT_EQ(Send(phone, std::string(kSubmitHello) + "\x1A"),
              std::string(kSubmitHello) + "\r\n+CMGS: 1\r\n\r\nOK\r\n");
}

TEST(PhoneModel, RejectV1AnswersErrorButAcceptsAte0) {
    Knobs k;
    k.rejectV1 = true;
    PhoneModel phone(k);
    EXPECT_EQ(Send(phone, "ATE0V1\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "ATE0\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, NoMeRefusesThePhoneMemory) {
    Knobs k;
    k.noMe = true;
    PhoneModel phone(k);
    EXPECT_EQ(Send(phone, "AT+CPMS=\"ME\"\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT+CPMS=\"SM\"\r"), "\r\n+CPMS: 0,30,0,30,0,30\r\n\r\nOK\r\n");
    // What is sent then arrives on the SIM.
    Send(phone, "AT+CMGS=17\r");
    Send(phone, std::string(kSubmitHello) + "\x1A");
    EXPECT_EQ(phone.memory(Storage::kSim).used(), 1u);
}

TEST(PhoneModel, ErrorOnForcesEachKindOfFailure) {
    Knobs k;
    k.errorOn = {{"AT+CMGL", {FaultKind::kError, 0}},
                 {"at+cmgd", {FaultKind::kCms, 500}},
                 {"AT+CPMS=\"ME\"", {FaultKind::kCme, 10}}};
    PhoneModel phone(k);
    AddDeliverHello(phone, Storage::kSim, kRecUnread);
    EXPECT_EQ(Send(phone, "AT+CMGL=4\r"), "\r\nERROR\r\n");
    EXPECT_EQ(phone.memory(Storage::kSim).Find(1)->status, kRecUnread);  // not listed
    EXPECT_EQ(Send(phone, "AT+CMGD=1\r"), "\r\n+CMS ERROR: 500\r\n");
    EXPECT_EQ(phone.memory(Storage::kSim).used(), 1u);
    EXPECT_EQ(Send(phone, "AT+CPMS=\"ME\"\r"), "\r\n+CME ERROR: 10\r\n");
    EXPECT_EQ(Send(phone, "AT+CPMS=\"SM\"\r"), "\r\n+CPMS: 1,30,1,30,0,100\r\n\r\nOK\r\n");
}

TEST(PhoneModel, ErrorOnPduFailsTheSendAfterThePrompt) {
    Knobs k;
    k.errorOn = {{"PDU", {FaultKind::kCms, 330}}};
    PhoneModel phone(k);
    EXPECT_EQ(Send(phone, "AT+CMGS=17\r"), "\r\n> ");
    EXPECT_EQ(Send(phone, std::string(kSubmitHello) + "\x1A"), "\r\n+CMS ERROR: 330\r\n");
    EXPECT_TRUE(phone.sent().empty());
}

TEST(PhoneModel, ErrorOnCmgsRefusesBeforeThePrompt) {
    Knobs k;
    k.errorOn = {{"AT+CMGS", {FaultKind::kCms, 302}}};
    PhoneModel phone(k);
    EXPECT_EQ(Send(phone, "AT+CMGS=17\r"), "\r\n+CMS ERROR: 302\r\n");
    EXPECT_FALSE(phone.in_pdu_stage());
}

TEST(PhoneModel, SilentOnGivesNoAnswerAtAll) {
    Knobs k;
    k.silentOn = {"AT+CMGL"};
    k.echo = true;
    PhoneModel phone(k);
    EXPECT_EQ(Send(phone, "AT+CMGL=4\r"), "");
    EXPECT_EQ(phone.command_count(), 1u);
    EXPECT_EQ(Send(phone, "AT\r"), "AT\r\r\nOK\r\n");
}

TEST(PhoneModel, SilentOnPduSwallowsTheMessage) {
    Knobs k;
    k.silentOn = {"PDU"};
    PhoneModel phone(k);
    EXPECT_EQ(Send(phone, "AT+CMGS=17\r"), "\r\n> ");
    EXPECT_EQ(Send(phone, std::string(kSubmitHello) + "\x1A"), "");
    EXPECT_TRUE(phone.sent().empty());
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, PromptWithoutBlank) {
    Knobs k;
    k.promptWithoutBlank = true;
    PhoneModel phone(k);
    EXPECT_EQ(Send(phone, "AT+CMGS=17\r"), "\r\n>");
}

TEST(PhoneModel, DropOnStopsAtTheCommandWithoutAnswering) {
    Knobs k;
    k.dropOn = {"AT+CMGL"};
    PhoneModel phone(k);
    const std::string input = "AT\rAT+CMGL=4\rAT\r";
    std::size_t taken = phone.Feed(input);
    EXPECT_TRUE(phone.drop_requested());
    EXPECT_EQ(taken, std::string("AT\rAT+CMGL=4\r").size());
    EXPECT_EQ(phone.TakeOutput(), "\r\nOK\r\n");
    EXPECT_EQ(phone.Feed("AT\r"), 0u);
    EXPECT_EQ(phone.TakeOutput(), "");
    // A new connection starts afresh.
    phone.Connect();
    EXPECT_FALSE(phone.drop_requested());
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, DropOnPdu) {
    Knobs k;
    k.dropOn = {"PDU"};
    PhoneModel phone(k);
    Send(phone, "AT+CMGS=17\r");
    Send(phone, std::string(kSubmitHello) + "\x1A");
    EXPECT_TRUE(phone.drop_requested());
    EXPECT_TRUE(phone.sent().empty());
}

TEST(PhoneModel, NumberedTargetsHitOnlyThatCommandOfTheConnection) {
    Knobs k;
    k.errorOn = {{"#2", {FaultKind::kCms, 500}}, {"#5", {FaultKind::kCme, 10}}};
    k.silentOn = {"#3"};
    k.floodOn = {"#6"};
    k.dropOn = {"#7"};
    PhoneModel phone(k);
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT\r"), "\r\n+CMS ERROR: 500\r\n");
    EXPECT_EQ(Send(phone, "AT\r"), "");
    EXPECT_EQ(Send(phone, "AT+CMGS=17\r"), "\r\n> ");
    // The PDU stage is a command of its own.
    EXPECT_EQ(Send(phone, std::string(kSubmitHello) + "\x1A"), "\r\n+CME ERROR: 10\r\n");
    EXPECT_TRUE(phone.sent().empty());
    const std::string flood = Send(phone, "AT\r");
    EXPECT_EQ(flood.size(), kFloodLength);
    EXPECT_EQ(flood.find('\r'), std::string::npos);
    EXPECT_FALSE(phone.drop_requested());
    phone.Feed("AT\r");
    EXPECT_TRUE(phone.drop_requested());
    EXPECT_EQ(phone.TakeOutput(), "");
    // A new connection counts from 1 again.
    phone.Connect();
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT\r"), "\r\n+CMS ERROR: 500\r\n");
    EXPECT_EQ(Send(phone, "AT\r"), "");
}

TEST(PhoneModel, DropAfterAnswersThatManyCommands) {
    Knobs k;
    k.dropAfter = 2;
    PhoneModel phone(k);
    std::size_t taken = phone.Feed("AT\rAT+CMGF=0\rAT\r");
    EXPECT_EQ(taken, std::string("AT\rAT+CMGF=0\r").size());
    EXPECT_EQ(phone.TakeOutput(), "\r\nOK\r\n\r\nOK\r\n");
    EXPECT_TRUE(phone.drop_requested());
    phone.Connect();
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
    EXPECT_FALSE(phone.drop_requested());
}

TEST(PhoneModel, UnsolicitedLineBeforeEveryResponse) {
    Knobs k;
    k.unsolicited = "RING";
    PhoneModel phone(k);
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nRING\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CMGS=17\r"), "\r\nRING\r\n\r\n> ");
}

TEST(PhoneModel, GarbageBeforeEveryResponse) {
    Knobs k;
    k.garbage = 50;
    PhoneModel phone(k);
    std::string first = Send(phone, "AT\r");
    ASSERT_EQ(first.size(), 50u + 6);
    EXPECT_EQ(first.substr(50), "\r\nOK\r\n");
    std::string noise = first.substr(0, 50);
    EXPECT_EQ(noise.find_first_of("\r\n>"), std::string::npos);
    for (char c : noise) EXPECT_TRUE(c > ' ' && c <= '~') << int(c);
    std::string second = Send(phone, "AT\r");
    EXPECT_NE(second.substr(0, 50), noise);  // fresh bytes each time
    // The same starting value gives the same bytes.
    PhoneModel again(k);
    EXPECT_EQ(Send(again, "AT\r"), first);
}

TEST(PhoneModel, FloodAnswersWithoutALineEnd) {
    Knobs k;
    k.floodOn = {"AT+CMGL"};
    PhoneModel phone(k);
    std::string out = Send(phone, "AT+CMGL=4\r");
    EXPECT_EQ(out.size(), kFloodLength);
    EXPECT_EQ(out.find_first_of("\r\n"), std::string::npos);
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, ListingNoisePutsBadLinesAtTheFirstListedMessage) {
    Knobs k = QuietKnobs();
    k.listingNoise = {{ListingNoiseKind::kLongLine, 5},
                      {ListingNoiseKind::kCmti, 0},
                      {ListingNoiseKind::kNul, 0}};
    PhoneModel phone(k);
    AddDeliverHello(phone, Storage::kPhone, kRecUnread);
    AddDeliverHello(phone, Storage::kPhone, kRecRead);
    Send(phone, "AT+CPMS=\"ME\"\r");
    std::string spoiled = kDeliverHello;
    spoiled[spoiled.size() / 2] = '\0';
    const std::string expected = "\r\nxxxxx\r\n+CMGL: 1,0,,23\r\n+CMTI: \"ME\",1\r\n" + spoiled +
                                 "\r\n+CMGL: 2,1,,23\r\n" + kDeliverHello + "\r\n\r\nOK\r\n";
    EXPECT_TRUE(Send(phone, "AT+CMGL=4\r") == expected) << "the listing differs";
    // Every listing gets it; the stored message stays as it was.
    EXPECT_NE(Send(phone, "AT+CMGL=4\r").find("+CMTI: \"ME\",1\r\n"), std::string::npos);
    EXPECT_EQ(phone.memory(Storage::kPhone).Find(1)->pduHex, kDeliverHello);
    // An empty listing has no first message, so no noise.
    Send(phone, "AT+CPMS=\"SM\"\r");
    EXPECT_EQ(Send(phone, "AT+CMGL=4\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, ListingNoiseCanGoWithTheMessageAtAnIndex) {
    Knobs k = QuietKnobs();
    k.listingNoise = {{ListingNoiseKind::kLongLine, 3, 2}};
    PhoneModel phone(k);
    AddDeliverHello(phone, Storage::kSim, kRecRead);
    AddDeliverHello(phone, Storage::kSim, kRecRead);
    const std::string expected = "\r\n+CMGL: 1,1,,23\r\n" + std::string(kDeliverHello) +
                                 "\r\nxxx\r\n+CMGL: 2,1,,23\r\n" + kDeliverHello + "\r\n\r\nOK\r\n";
    EXPECT_EQ(Send(phone, "AT+CMGL=4\r"), expected);
}

TEST(PhoneModel, OverlongCommandIsAnsweredErrorAndForgotten) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT" + std::string(5000, 'E') + "\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, ControlBytesAndNulsAreJustData) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, std::string("A\0T\x01\xFF\r", 6)), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
}

TEST(PhoneModel, ConnectResetsTheLineButKeepsTheMessages) {
    PhoneModel phone;
    Send(phone, "ATE1\r");
    Send(phone, "AT+CPMS=\"ME\"\r");
    Send(phone, "AT+CMGS=17\r");
    Send(phone, std::string(kSubmitHello).substr(0, 6));
    phone.Connect();
    EXPECT_FALSE(phone.in_pdu_stage());
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");  // echo off again
    EXPECT_EQ(Send(phone, "AT+CPMS?\r"),
              "\r\n+CPMS: \"SM\",0,30,\"SM\",0,30,\"ME\",0,100\r\n\r\nOK\r\n");
    Send(phone, "AT+CMGS=17\r");
    Send(phone, std::string(kSubmitHello) + "\x1A");
    phone.Connect();
    EXPECT_EQ(phone.sent().size(), 1u);
    EXPECT_EQ(phone.memory(Storage::kPhone).used(), 1u);
}

TEST(PhoneModel, ChangesAreReported) {
    PhoneModel phone(QuietKnobs());
    int changes = 0;
    phone.SetChangeSink([&] { ++changes; });
    AddDeliverHello(phone, Storage::kSim, kRecUnread);
    Send(phone, "AT+CMGL=4\r");  // marks it read
    EXPECT_EQ(changes, 1);
    Send(phone, "AT+CMGL=4\r");  // nothing new
    EXPECT_EQ(changes, 1);
    Send(phone, "AT+CMGD=1\r");
    EXPECT_EQ(changes, 2);
    Send(phone, "AT+CMGS=17\r");
    Send(phone, std::string(kSubmitHello) + "\x1A");
    EXPECT_EQ(changes, 3);
    Send(phone, "AT+CMGD=9\r");  // refused
    EXPECT_EQ(changes, 3);
}

TEST(PhoneModel, ServiceCentreAndIdentification) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CSCA?\r"), "\r\n+CSCA: \"+491710760000\",145\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CSCA=\"0301234\"\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CSCA?\r"), "\r\n+CSCA: \"0301234\",129\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CSCA=\"12a\"\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT+CGMI\r"), "\r\nVelkan\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "ATD0301234567;\r"), "\r\nOK\r\n");
}

TEST(MessageMemory, LowestFreeIndexAndCapacity) {
    MessageMemory memory(Storage::kSim, 3);
    EXPECT_EQ(memory.Add(0, "00", 0), 1u);
    EXPECT_EQ(memory.Add(0, "00", 0), 2u);
    EXPECT_EQ(memory.Add(0, "00", 0), 3u);
    EXPECT_EQ(memory.Add(0, "00", 0), 0u);
    EXPECT_TRUE(memory.Remove(2));
    EXPECT_FALSE(memory.Remove(2));
    EXPECT_EQ(memory.Add(0, "00", 0), 2u);
    EXPECT_FALSE(memory.AddAt(4, 0, "00", 0));
    EXPECT_FALSE(memory.AddAt(0, 0, "00", 0));
    EXPECT_FALSE(memory.AddAt(1, 0, "00", 0));
}

}  // namespace
}  // namespace phone_sim

namespace phone_sim {
namespace {

// A held command is answered only once the gate file exists, and the wait is announced.
TEST(PhoneModel, AHeldCommandWaitsForItsGate) {
    char dir[] = "/tmp/velkan-hold-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string gate = std::string(dir) + "/gate";
    Knobs k = QuietKnobs();
    k.holdOn = {"#2", "at+cmgl"};
    k.holdGate = gate;
    PhoneModel phone(k);
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");  // the first command is not held
    EXPECT_NE(access((gate + ".held").c_str(), F_OK), 0);

    std::string answer;
    std::atomic<bool> answered{false};
    std::thread waiting([&] {
        answer = Send(phone, "AT\r");
        answered = true;
    });
    while (access((gate + ".held").c_str(), F_OK) != 0) std::this_thread::yield();
    // Announced, and the gate is still closed: the command cannot have been answered.
    EXPECT_FALSE(answered.load());
    { std::ofstream open(gate); }
    waiting.join();
    EXPECT_EQ(answer, "\r\nOK\r\n");

    // A prefix holds too; with the gate open it passes at once.
    EXPECT_EQ(Send(phone, "AT+CMGL=4\r"), "\r\nOK\r\n");
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace phone_sim
