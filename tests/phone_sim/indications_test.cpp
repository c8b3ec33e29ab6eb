// SPDX-License-Identifier: GPL-3.0-or-later
// New message indications: "+CMTI" for a stored message and "+CDS"/"+CDSI" for a status report,
// only as the client's AT+CNMI asks, never in the middle of an answer or a PDU being typed.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/pdu_record.h"
#include "pdu/deliver.h"
#include "pdu_builder.h"
#include "phone_model.h"

namespace phone_sim {
namespace {

// SMS-SUBMIT to +4930123456 with the text "Hello", default centre: 17 TPDU octets.
constexpr char kSubmitHello[] = "0001000A919403214365000005C8329BFD06";
// The same asking for a status report (TP-SRR).
constexpr char kSubmitHelloReport[] = "0021000A919403214365000005C8329BFD06";
// A stored SMS-DELIVER from +4930123456, "Hello", no centre: 23 TPDU octets.
constexpr char kDeliverHello[] = "00040A91940321436500003011519003504005C8329BFD06";

std::string Send(PhoneModel& phone, std::string_view bytes) {
    phone.Feed(bytes);
    return phone.TakeOutput();
}

std::string SendMessage(PhoneModel& phone, const std::string& pdu) {
    std::string prompt = Send(phone, "AT+CMGS=17\r");
    EXPECT_EQ(prompt, "\r\n> ");
    return Send(phone, pdu + "\x1A");
}

std::string Cmti(const char* memory, unsigned index) {
    return "\r\n+CMTI: \"" + std::string(memory) + "\"," + std::to_string(index) + "\r\n";
}

TEST(Indications, NothingIsSaidToAClientThatNeverAskedWithCnmi) {
    PhoneModel phone;
    EXPECT_EQ(phone.Receive(kDeliverHello, 23), 1u);
    EXPECT_EQ(phone.TakeOutput(), "");
    EXPECT_EQ(SendMessage(phone, kSubmitHelloReport), "\r\n+CMGS: 1\r\n\r\nOK\r\n");
    // The round trip arrived; no status report was kept for a client that cannot ask for it.
    EXPECT_EQ(phone.memory(Storage::kPhone).used(), 2u);
    EXPECT_EQ(Send(phone, "AT\r"), "\r\nOK\r\n");
}

TEST(Indications, CnmiSaysWhatItOffersAndWhatIsSet) {
    PhoneModel phone;
    EXPECT_EQ(Send(phone, "AT+CNMI=?\r"), "\r\n+CNMI: (0-3),(0,1),(0),(0-2),(0,1)\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CNMI?\r"), "\r\n+CNMI: 0,0,0,0,0\r\n\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CNMI=2,1,0,2,0\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CNMI?\r"), "\r\n+CNMI: 2,1,0,2,0\r\n\r\nOK\r\n");
    // Values left out keep their setting.
    EXPECT_EQ(Send(phone, "AT+CNMI=1\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CNMI=,,,1\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CNMI?\r"), "\r\n+CNMI: 1,1,0,1,0\r\n\r\nOK\r\n");
    // Defined by GSM 07.05 but not offered here, and out of range.
    EXPECT_EQ(Send(phone, "AT+CNMI=2,2\r"), "\r\n+CMS ERROR: 303\r\n");
    EXPECT_EQ(Send(phone, "AT+CNMI=2,1,2\r"), "\r\n+CMS ERROR: 303\r\n");
    EXPECT_EQ(Send(phone, "AT+CNMI=4\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT+CNMI=2,1,0,3\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT+CNMI=2,1,0,0,0,0\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT+CNMI\r"), "\r\nERROR\r\n");
    EXPECT_EQ(Send(phone, "AT+CNMI?\r"), "\r\n+CNMI: 1,1,0,1,0\r\n\r\nOK\r\n");
}

TEST(Indications, AnArrivingMessageIsAnnouncedWithItsPlace) {
    PhoneModel phone;
    Send(phone, "AT+CNMI=2,1\r");
    EXPECT_EQ(phone.Receive(kDeliverHello, 23), 1u);
    EXPECT_EQ(phone.TakeOutput(), Cmti("ME", 1));
    // It is where the indication says.
    Send(phone, "AT+CPMS=\"ME\"\r");
    EXPECT_EQ(Send(phone, "AT+CMGR=1\r"),
              "\r\n+CMGR: 0,,23\r\n" + std::string(kDeliverHello) + "\r\n\r\nOK\r\n");
    // Into the SIM once AT+CPMS makes it the receiving memory.
    Send(phone, "AT+CPMS=\"ME\",\"ME\",\"SM\"\r");
    EXPECT_EQ(phone.Receive(kDeliverHello, 23), 1u);
    EXPECT_EQ(phone.TakeOutput(), Cmti("SM", 1));
    // Numeric result codes: the line without the leading line end.
    Send(phone, "ATV0\r");
    EXPECT_EQ(phone.Receive(kDeliverHello, 23), 2u);
    EXPECT_EQ(phone.TakeOutput(), "+CMTI: \"SM\",2\r\n");
}

TEST(Indications, MtZeroStoresWithoutAWord) {
    PhoneModel phone;
    Send(phone, "AT+CNMI=2,0,0,0,0\r");
    EXPECT_EQ(phone.Receive(kDeliverHello, 23), 1u);
    EXPECT_EQ(phone.TakeOutput(), "");
}

TEST(Indications, AMessageSentToItselfIsAnnouncedAfterTheAnswer) {
    PhoneModel phone;
    Send(phone, "AT+CNMI=1,1,0,0,0\r");
    EXPECT_EQ(SendMessage(phone, kSubmitHello), "\r\n+CMGS: 1\r\n\r\nOK\r\n" + Cmti("ME", 1));
}

TEST(Indications, ModeZeroKeepsThemUntilModeOneToThreeThenFlushesAfterTheOk) {
    PhoneModel phone;
    Send(phone, "AT+CNMI=0,1\r");
    phone.Receive(kDeliverHello, 23);
    phone.Receive(kDeliverHello, 23);
    EXPECT_EQ(phone.TakeOutput(), "");
    EXPECT_EQ(Send(phone, "AT+CNMI=2\r"), "\r\nOK\r\n" + Cmti("ME", 1) + Cmti("ME", 2));
    // Flushed once only.
    EXPECT_EQ(Send(phone, "AT+CNMI=1\r"), "\r\nOK\r\n");
}

TEST(Indications, BfrOneClearsWhatModeZeroKept) {
    PhoneModel phone;
    Send(phone, "AT+CNMI=0,1\r");
    phone.Receive(kDeliverHello, 23);
    EXPECT_EQ(Send(phone, "AT+CNMI=2,1,0,0,1\r"), "\r\nOK\r\n");
    EXPECT_EQ(Send(phone, "AT+CNMI=2,1,0,0,0\r"), "\r\nOK\r\n");
    EXPECT_EQ(phone.memory(Storage::kPhone).used(), 1u);  // the message itself stays
}

TEST(Indications, ModeZeroKeepsOnlyTheNewest) {
    Knobs k;
    k.phoneCapacity = 40;
    PhoneModel phone(k);
    Send(phone, "AT+CNMI=0,1\r");
    for (unsigned i = 0; i < kIndicationBuffer + 3; ++i) phone.Receive(kDeliverHello, 23);
    std::string expected = "\r\nOK\r\n";
    for (unsigned i = 4; i <= kIndicationBuffer + 3; ++i) expected += Cmti("ME", i);
    EXPECT_EQ(Send(phone, "AT+CNMI=3\r"), expected);
}

TEST(Indications, WhileAPduIsTypedTheyWaitInModeTwoAndAreDroppedInModeOne) {
    PhoneModel phone;
    Send(phone, "AT+CNMI=2,1\r");
    EXPECT_EQ(Send(phone, "AT+CMGS=17\r"), "\r\n> ");
    phone.Receive(kDeliverHello, 23);
    EXPECT_EQ(phone.TakeOutput(), "");
    EXPECT_EQ(Send(phone, std::string(kSubmitHello) + "\x1A"),
              "\r\n+CMGS: 1\r\n\r\nOK\r\n" + Cmti("ME", 1) + Cmti("ME", 2));

    Send(phone, "AT+CNMI=1,1\r");
    EXPECT_EQ(Send(phone, "AT+CMGS=17\r"), "\r\n> ");
    phone.Receive(kDeliverHello, 23);  // index 3: the link is reserved, nothing is said
    EXPECT_EQ(Send(phone, std::string(kSubmitHello) + "\x1A"),
              "\r\n+CMGS: 2\r\n\r\nOK\r\n" + Cmti("ME", 4));
    EXPECT_EQ(phone.memory(Storage::kPhone).used(), 4u);
}

TEST(Indications, AnAnswerIsNeverSplitByAnIndication) {
    PhoneModel phone;
    Send(phone, "AT+CNMI=2,1\r");
    // Half a command line: the indication goes out before its answer, not inside it.
    Send(phone, "AT+CPMS");
    phone.Receive(kDeliverHello, 23);
    EXPECT_EQ(phone.TakeOutput(), Cmti("ME", 1));
    EXPECT_EQ(Send(phone, "?\r"), "\r\n+CPMS: \"SM\",0,30,\"SM\",0,30,\"ME\",1,100\r\n\r\nOK\r\n");
}

// Decodes a status report as the project's decoder reads one: MTI, reference and recipient.
void ExpectStatusReport(const std::string& hex, unsigned tpduLength, unsigned reference) {
    std::vector<std::uint8_t> bytes;
    ASSERT_TRUE(FromHex(hex, &bytes));
    PduRecordPtr record(NewPduRecord());
    ASSERT_EQ(
        DecodePdu(record.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()), tpduLength),
        0u);
    EXPECT_EQ(record->firstOctet & 3, kMtiStatusReport);
    EXPECT_EQ(record->messageReference, reference);
    EXPECT_STREQ(record->addressDigits, "4930123456");
    EXPECT_EQ(record->addressType, 0x91);
    EXPECT_STREQ(record->scaDigits, "491710760000");
    EXPECT_EQ(bytes.back(), 0x00);  // received by the recipient
}

TEST(Indications, DsOneSendsTheStatusReportItself) {
    PhoneModel phone;
    Send(phone, "AT+CNMI=2,0,0,1,0\r");
    std::string answer = SendMessage(phone, kSubmitHelloReport);
    const std::string head = "\r\n+CMGS: 1\r\n\r\nOK\r\n\r\n+CDS: 24\r\n";
    ASSERT_EQ(answer.substr(0, head.size()), head) << answer;
    ASSERT_EQ(answer.substr(answer.size() - 2), "\r\n");
    ExpectStatusReport(answer.substr(head.size(), answer.size() - head.size() - 2), 24, 1);
    // Not stored: only the message that came back is in the phone memory.
    EXPECT_EQ(phone.memory(Storage::kPhone).used(), 1u);
    // A message that asked for no report gets none.
    EXPECT_EQ(SendMessage(phone, kSubmitHello), "\r\n+CMGS: 2\r\n\r\nOK\r\n");
}

TEST(Indications, DsTwoStoresTheStatusReportAndSaysWhere) {
    PhoneModel phone;
    Send(phone, "AT+CNMI=2,1,0,2,0\r");
    EXPECT_EQ(SendMessage(phone, kSubmitHelloReport),
              "\r\n+CMGS: 1\r\n\r\nOK\r\n" + Cmti("ME", 1) + "\r\n+CDSI: \"ME\",2\r\n");
    const StoredMessage* report = phone.memory(Storage::kPhone).Find(2);
    ASSERT_NE(report, nullptr);
    EXPECT_EQ(report->status, kRecUnread);
    EXPECT_EQ(report->tpduLength, 24u);
    ExpectStatusReport(report->pduHex, report->tpduLength, 1);
}

TEST(Indications, StatusReportLayout) {
    SystemTime accepted;
    accepted.year = 2003;
    accepted.month = 11;
    accepted.day = 15;
    accepted.hour = 9;
    accepted.minute = 30;
    accepted.second = 5;
    SystemTime delivered = accepted;
    delivered.second = 7;
    BuiltPdu report;
    ASSERT_TRUE(
        BuildStatusReport("+491710760000", 7, "+4930123456", accepted, delivered, -4, &report));
    EXPECT_EQ(ToHex(report.bytes),
              "0791947101670000"  // centre
              "0607"              // SMS-STATUS-REPORT, reference 7
              "0A919403214365"    // recipient
              "30115190035048"    // accepted, GMT-1
              "30115190037048"    // delivered
              "00");              // received by the recipient
    EXPECT_EQ(report.tpduLength, 24u);
    ASSERT_TRUE(BuildStatusReport("", 1, "0301234567", accepted, accepted, 4, &report));
    EXPECT_EQ(ToHex(report.bytes).substr(0, 18), "0006010A8130103254");
    EXPECT_FALSE(BuildStatusReport("", 1, "12a", accepted, accepted, 0, &report));
}

}  // namespace
}  // namespace phone_sim
