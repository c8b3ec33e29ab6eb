// SPDX-License-Identifier: GPL-3.0-or-later
// The stored messages file, the quick forms of the command line and the state file.
#include "message_files.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "pdu/concatenation.h"
#include "pdu/deliver.h"
#include "pdu_builder.h"

namespace phone_sim {
namespace {

Knobs NoCentre() {
    Knobs k;
    k.serviceCentre = "";
    return k;
}

TEST(MessagesFile, TextLineBecomesTheExpectedDeliverPdu) {
    PhoneModel phone(NoCentre());
    std::string error;
    ASSERT_TRUE(LoadMessageLine("SM|0|+4930123456|2003-11-15 09:30:05|+04|Hello", &phone, &error))
        << error;
    const StoredMessage* m = phone.memory(Storage::kSim).Find(1);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->status, kRecUnread);
    EXPECT_EQ(m->pduHex, "00040A91940321436500003011519003504005C8329BFD06");
    EXPECT_EQ(m->tpduLength, 23u);
}

TEST(MessagesFile, TheServiceCentreLeadsThePdu) {
    PhoneModel phone;  // default centre +491710760000
    std::string error;
    ASSERT_TRUE(LoadMessageLine("ME|1|0301234567|2003-11-15 09:30:05|+04|Hi", &phone, &error))
        << error;
    const StoredMessage* m = phone.memory(Storage::kPhone).Find(1);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->status, kRecRead);
    EXPECT_EQ(m->pduHex.substr(0, 16), "0791947101670000");
    // A national number has type 0x81.
    EXPECT_EQ(m->pduHex.substr(16, 6), "040A81");
    std::vector<std::uint8_t> bytes;
    ASSERT_TRUE(FromHex(m->pduHex, &bytes));
    EXPECT_EQ(bytes.size(), m->tpduLength + 8u);
}

TEST(MessagesFile, NegativeZoneIsWrittenWithItsSignBit) {
    PhoneModel phone(NoCentre());
    std::string error;
    ASSERT_TRUE(LoadMessageLine("SM|0|+4930123456|2003-11-15 09:30:05|-08|Hello", &phone, &error))
        << error;
    // Zone octet: 8 quarters as swapped BCD (0x80) with the sign bit 0x08.
    EXPECT_EQ(phone.memory(Storage::kSim).Find(1)->pduHex.substr(2 * 17, 2), "88");
}

TEST(MessagesFile, StoredOutgoingMessagesAreSmsSubmit) {
    PhoneModel phone(NoCentre());
    std::string error;
    ASSERT_TRUE(LoadMessageLine("SM|2|+4930123456|2003-11-15 09:30:05|+04|Hello", &phone, &error))
        << error;
    ASSERT_TRUE(LoadMessageLine("SM|3|+4930123456|2003-11-15 09:30:05|+04|Hello", &phone, &error))
        << error;
    EXPECT_EQ(phone.memory(Storage::kSim).Find(1)->pduHex, "0001000A919403214365000005C8329BFD06");
    EXPECT_EQ(phone.memory(Storage::kSim).Find(1)->tpduLength, 17u);
    EXPECT_EQ(phone.memory(Storage::kSim).Find(2)->status, kStoSent);
}

TEST(MessagesFile, TextKeepsBarsAndEscapes) {
    PhoneModel phone(NoCentre());
    std::string error;
    ASSERT_TRUE(LoadMessageLine("SM|0|+49301|2003-11-15 09:30:05|+04|a|b\\nc\\\\", &phone, &error))
        << error;
    const StoredMessage* m = phone.memory(Storage::kSim).Find(1);
    std::vector<std::uint8_t> bytes;
    ASSERT_TRUE(FromHex(m->pduHex, &bytes));
    PduRecordPtr record(NewPduRecord());
    ASSERT_EQ(DecodePdu(record.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                        m->tpduLength),
              0u);
    ASSERT_EQ(record->userDataLength, 6u);
    // a | b LF c \ in GSM septets: '|' and '\' are not in the default alphabet and become 0x5F.
    const std::uint8_t expected[] = {'a', 0x5F, 'b', 0x0A, 'c', 0x5F};
    EXPECT_EQ(std::vector<std::uint8_t>(record->userData, record->userData + 6),
              std::vector<std::uint8_t>(expected, expected + 6));
}

TEST(MessagesFile, RawPduIsStoredExactlyAsGiven) {
    PhoneModel phone;
    std::string error;
    ASSERT_TRUE(LoadMessageLine("ME|1|PDU:00AB1|4", &phone, &error)) << error;  // broken
    ASSERT_TRUE(LoadMessageLine("ME|0|PDU:0001000A919403214365000005C8329BFD06", &phone, &error))
        << error;
    EXPECT_EQ(phone.memory(Storage::kPhone).Find(1)->pduHex, "00AB1");
    EXPECT_EQ(phone.memory(Storage::kPhone).Find(1)->tpduLength, 4u);
    EXPECT_EQ(phone.memory(Storage::kPhone).Find(2)->tpduLength, 17u);  // computed
    EXPECT_FALSE(LoadMessageLine("ME|0|PDU:00AB1", &phone, &error));    // cannot compute
    EXPECT_FALSE(LoadMessageLine("ME|0|PDU:|3", &phone, &error));
    EXPECT_FALSE(LoadMessageLine("ME|0|PDU:00 11|3", &phone, &error));
}

TEST(MessagesFile, FixedIndices) {
    PhoneModel phone;
    std::string error;
    ASSERT_TRUE(LoadMessageLine("SM@5|0|PDU:00|0", &phone, &error)) << error;
    ASSERT_TRUE(LoadMessageLine("SM|0|PDU:00|0", &phone, &error)) << error;
    EXPECT_NE(phone.memory(Storage::kSim).Find(5), nullptr);
    EXPECT_NE(phone.memory(Storage::kSim).Find(1), nullptr);
    EXPECT_FALSE(LoadMessageLine("SM@5|0|PDU:00|0", &phone, &error));
    EXPECT_NE(error.find("taken"), std::string::npos);
    EXPECT_FALSE(LoadMessageLine("SM@31|0|PDU:00|0", &phone, &error));
    EXPECT_FALSE(LoadMessageLine("SM@0|0|PDU:00|0", &phone, &error));
}

TEST(MessagesFile, BadLinesAreRefusedWithAReason) {
    PhoneModel phone;
    const char* bad[] = {
        "XX|0|+49301|2003-11-15 09:30:05|+04|Hi",                  // memory
        "sm|0|+49301|2003-11-15 09:30:05|+04|Hi",                  // memory names are upper case
        "SM|4|+49301|2003-11-15 09:30:05|+04|Hi",                  // status
        "SM|0|+49301|2003-02-30 09:30:05|+04|Hi",                  // no such day
        "SM|0|+49301|2003-11-15 9:30:05|+04|Hi",                   // time format
        "SM|0|+49301|1985-11-15 09:30:05|+04|Hi",                  // year without a two-digit form
        "SM|0|+49301|2003-11-15 09:30:05|+80|Hi",                  // zone
        "SM|0|+49301|2003-11-15 09:30:05|x|Hi",                    // zone
        "SM|0|+49a01|2003-11-15 09:30:05|+04|Hi",                  // number
        "SM|0|+123456789012345678901|2003-11-15 09:30:05|+04|Hi",  // 21 digits
        "SM|0||2003-11-15 09:30:05|+04|Hi",                        // no number
        "SM|0|+49301|2003-11-15 09:30:05|+04",                     // no text field
        "SM|0",                                                    // nothing
    };
    for (const char* line : bad) {
        std::string error;
        EXPECT_FALSE(LoadMessageLine(line, &phone, &error)) << line;
        EXPECT_FALSE(error.empty()) << line;
    }
    EXPECT_EQ(phone.memory(Storage::kSim).used(), 0u);
}

TEST(MessagesFile, TextLimitIs160Characters) {
    PhoneModel phone;
    std::string error;
    std::string prefix = "SM|0|+49301|2003-11-15 09:30:05|+04|";
    EXPECT_TRUE(LoadMessageLine(prefix + std::string(160, 'x'), &phone, &error)) << error;
    EXPECT_FALSE(LoadMessageLine(prefix + std::string(161, 'x'), &phone, &error));
}

TEST(MessagesFile, CommentsBlankLinesAndCrLfAreSkipped) {
    PhoneModel phone;
    std::string error;
    const std::string text =
        "# a comment\r\n"
        "\r\n"
        "   \n"
        "SM|0|+4930123456|2003-11-15 09:30:05|+04|Hello\r\n"
        "  # indented comment\n"
        "ME|1|PDU:00|0";
    ASSERT_TRUE(LoadMessagesText(text, "test", &phone, &error)) << error;
    EXPECT_EQ(phone.memory(Storage::kSim).used(), 1u);
    EXPECT_EQ(phone.memory(Storage::kPhone).used(), 1u);
}

TEST(MessagesFile, ErrorsNameTheFileAndLine) {
    PhoneModel phone;
    std::string error;
    EXPECT_FALSE(
        LoadMessagesText("# ok\nSM|0|PDU:00|0\nSM|9|PDU:00|0\n", "file.txt", &phone, &error));
    EXPECT_EQ(error.substr(0, 11), "file.txt:3:");
}

TEST(MessagesFile, AFullMemoryIsAnError) {
    Knobs k;
    k.simCapacity = 1;
    PhoneModel phone(k);
    std::string error;
    EXPECT_TRUE(LoadMessageLine("SM|0|PDU:00|0", &phone, &error));
    EXPECT_FALSE(LoadMessageLine("SM|0|PDU:00|0", &phone, &error));
    EXPECT_NE(error.find("full"), std::string::npos);
}

TEST(MessagesFile, MissingFileIsAnError) {
    PhoneModel phone;
    std::string error;
    EXPECT_FALSE(LoadMessagesFile("/nonexistent/velkan-messages.txt", &phone, &error));
    EXPECT_NE(error.find("cannot be read"), std::string::npos);
}

// Decodes a stored message the way a transfer does; the codec's result code.
TransferError DecodeAsListed(const StoredMessage& m) {
    std::vector<std::uint8_t> bytes;
    if (m.pduHex.size() % 2 != 0 || !FromHex(m.pduHex, &bytes)) return kErrInvalidParameter;
    PduRecordPtr record(NewPduRecord());
    return DecodePdu(record.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                     m.tpduLength);
}

TEST(ShippedFiles, DemoMessagesAllDecode) {
    PhoneModel phone;
    std::string error;
    ASSERT_TRUE(LoadMessagesFile(PHONE_SIM_SOURCE_DIR "/demo_messages.txt", &phone, &error))
        << error;
    EXPECT_EQ(phone.memory(Storage::kSim).used(), 3u);
    EXPECT_EQ(phone.memory(Storage::kPhone).used(), 4u);
    for (Storage s : {Storage::kSim, Storage::kPhone}) {
        for (const auto& [index, m] : phone.memory(s).messages()) {
            EXPECT_EQ(DecodeAsListed(m), 0u) << StorageName(s) << index;
        }
    }
}

TEST(ShippedFiles, OddMessagesAreWhatTheirCommentsSay) {
    PhoneModel phone;
    std::string error;
    ASSERT_TRUE(LoadMessagesFile(PHONE_SIM_SOURCE_DIR "/odd_messages.txt", &phone, &error))
        << error;
    const MessageMemory& me = phone.memory(Storage::kPhone);
    ASSERT_EQ(me.used(), 4u);
    EXPECT_EQ(DecodeAsListed(*me.Find(1)), 0u);                    // status report
    EXPECT_EQ(DecodeAsListed(*me.Find(2)), 0u);                    // UCS2
    EXPECT_EQ(DecodeAsListed(*me.Find(3)), 0u);                    // 8-bit
    EXPECT_EQ(DecodeAsListed(*me.Find(4)), kErrInvalidParameter);  // alphanumeric sender
    ASSERT_EQ(phone.memory(Storage::kSim).used(), 1u);
    EXPECT_EQ(phone.memory(Storage::kSim).Find(1)->pduHex.size() % 2, 1u);  // odd hex
}

TEST(QuickMessages, MemNumberText) {
    PhoneModel phone(NoCentre());
    std::string error;
    ASSERT_TRUE(AddQuickMessage("ME:+4930123456:Hello: world", &phone, &error)) << error;
    const StoredMessage* m = phone.memory(Storage::kPhone).Find(1);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->status, kRecUnread);
    std::vector<std::uint8_t> bytes;
    ASSERT_TRUE(FromHex(m->pduHex, &bytes));
    PduRecordPtr record(NewPduRecord());
    ASSERT_EQ(DecodePdu(record.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                        m->tpduLength),
              0u);
    EXPECT_STREQ(record->addressDigits, "4930123456");
    EXPECT_EQ(record->userDataLength, 12u);
    EXPECT_FALSE(AddQuickMessage("XX:+49:Hi", &phone, &error));
    EXPECT_FALSE(AddQuickMessage("SM:+49", &phone, &error));
    EXPECT_FALSE(AddQuickMessage("SM:+49x:Hi", &phone, &error));
}

// What a quick message stored: its record (decoded with the Unicode reading) and text.
struct QuickPart {
    PduRecordPtr record;
    std::u16string text;
};

QuickPart ReadQuick(const StoredMessage& m) {
    QuickPart part;
    std::vector<std::uint8_t> bytes;
    EXPECT_TRUE(FromHex(m.pduHex, &bytes));
    SmsMessage message;
    message.pduRecord.reset(NewPduRecord());
    EXPECT_EQ(
        DecodePdu(message.pduRecord.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                  m.tpduLength, CodecOptions{true, true}),
        0u);
    ApplyPduRecord(&message);
    part.text = message.text;
    part.record = std::move(message.pduRecord);
    return part;
}

TEST(QuickMessages, AnyUnicodeTextGoesAsUcs2) {
    PhoneModel phone(NoCentre());
    std::string error;
    ASSERT_TRUE(AddQuickMessage("SM:+4930123456:Привет 😀", &phone, &error)) << error;
    ASSERT_EQ(phone.memory(Storage::kSim).used(), 1u);
    const QuickPart part = ReadQuick(*phone.memory(Storage::kSim).Find(1));
    EXPECT_EQ(part.record->dcs, 0x08);
    EXPECT_EQ(part.text, u"Привет 😀");
    EXPECT_EQ(part.record->firstOctet & 0x40, 0);  // one message: no header
    // Extension characters go as escape pairs in the GSM alphabet.
    ASSERT_TRUE(AddQuickMessage("SM:+4930123456:10€ [net]", &phone, &error)) << error;
    const QuickPart euro = ReadQuick(*phone.memory(Storage::kSim).Find(2));
    EXPECT_EQ(euro.record->dcs, 0x00);
    EXPECT_EQ(euro.text, u"10€ [net]");
}

TEST(QuickMessages, ALongTextArrivesInPartsWithOneReference) {
    PhoneModel phone(NoCentre());
    std::string error;
    const std::string text(400, 'x');
    ASSERT_TRUE(AddQuickMessage("ME:+4930123456:" + text, &phone, &error)) << error;
    ASSERT_EQ(phone.memory(Storage::kPhone).used(), 3u);
    std::u16string joined;
    int reference = -1;
    for (unsigned index = 1; index <= 3; ++index) {
        const QuickPart part = ReadQuick(*phone.memory(Storage::kPhone).Find(index));
        EXPECT_EQ(part.record->firstOctet & 3, kMtiDeliver);
        ConcatenationInfo info;
        ASSERT_TRUE(ReadConcatenation(part.record.get(), &info)) << index;
        EXPECT_EQ(info.total, 3);
        EXPECT_EQ(info.sequence, index);
        if (reference < 0) reference = info.reference;
        EXPECT_EQ(info.reference, reference);
        joined += part.text;
    }
    EXPECT_EQ(joined, std::u16string(400, u'x'));
    // The next long message has another reference.
    ASSERT_TRUE(AddQuickMessage("ME:+4930123456:" + text, &phone, &error)) << error;
    ConcatenationInfo next;
    ASSERT_TRUE(
        ReadConcatenation(ReadQuick(*phone.memory(Storage::kPhone).Find(4)).record.get(), &next));
    EXPECT_NE(next.reference, reference);
    EXPECT_FALSE(AddQuickMessage("ME:+49:" + std::string(1531, 'x'), &phone, &error));
    EXPECT_EQ(error, "text too long for 10 messages");
}

TEST(QuickMessages, AGsmTextIsBuiltAsBefore) {
    PhoneModel phone(NoCentre());
    std::string error;
    ASSERT_TRUE(AddQuickMessage("SM:+4930123456:Hello", &phone, &error)) << error;
    TextMessage message;
    message.number = "+4930123456";
    message.text = u"Hello";
    message.time = GetLocalTime();
    message.zoneQuarters = LocalZoneQuarters();
    BuiltPdu built;
    ASSERT_TRUE(BuildTextPdu(message, "", &built, &error));
    const std::string stored = phone.memory(Storage::kSim).Find(1)->pduHex;
    // Equal up to the time stamp (seven octets before the last seven).
    const std::string expected = ToHex(built.bytes);
    ASSERT_EQ(stored.size(), expected.size());
    EXPECT_EQ(stored.substr(0, 22), expected.substr(0, 22));
    EXPECT_EQ(stored.substr(stored.size() - 12), expected.substr(expected.size() - 12));
}

TEST(GeneratedMessages, DistinctMessagesAndTheMemoryGrows) {
    PhoneModel phone;
    std::string error;
    ASSERT_TRUE(GenerateMessages(250, &phone, &error)) << error;
    const MessageMemory& me = phone.memory(Storage::kPhone);
    EXPECT_EQ(me.used(), 250u);
    EXPECT_GE(me.capacity(), 250u);
    EXPECT_NE(me.Find(1)->pduHex, me.Find(2)->pduHex);
    for (const auto& [index, m] : me.messages()) {
        std::vector<std::uint8_t> bytes;
        ASSERT_TRUE(FromHex(m.pduHex, &bytes));
        PduRecordPtr record(NewPduRecord());
        ASSERT_EQ(DecodePdu(record.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                            m.tpduLength),
                  0u)
            << index;
    }
}

TEST(StateFile, ListsMemoriesAndSentMessagesAndLoadsBack) {
    PhoneModel phone;
    std::string error;
    ASSERT_TRUE(LoadMessageLine("SM@2|1|PDU:00AB|1", &phone, &error));
    ASSERT_TRUE(AddQuickMessage("ME:+4930123456:line\none", &phone, &error));
    phone.Feed("AT+CMGS=17\r0021000A91940321436500F005C8329BFD06\x1A");
    std::string state = FormatState(phone);
    EXPECT_NE(state.find("SM@2|1|PDU:00AB|1\n"), std::string::npos) << state;
    EXPECT_NE(state.find("SENT|1|+4930123456|flash,report|ME@2|PDU:"
                         "0021000A91940321436500F005C8329BFD06|17|Hello\n"),
              std::string::npos)
        << state;

    PhoneModel reloaded;
    ASSERT_TRUE(LoadMessagesText(state, "state", &reloaded, &error)) << error;
    EXPECT_EQ(FormatState(reloaded), state);
    // References go on after the restored ones.
    reloaded.Feed("AT+CMGS=17\r0001000A919403214365000005C8329BFD06\x1A");
    EXPECT_NE(reloaded.TakeOutput().find("+CMGS: 2"), std::string::npos);
}

TEST(StateFile, EscapingRoundTrips) {
    const std::string text = "a\\b\nc\rd";
    EXPECT_EQ(EscapeText(text), "a\\\\b\\nc\\rd");
    EXPECT_EQ(UnescapeText(EscapeText(text)), text);
    EXPECT_EQ(UnescapeText("\\x\\"), "\\x\\");
}

TEST(StateFile, BadSentLinesAreRefused) {
    PhoneModel phone;
    std::string error;
    EXPECT_FALSE(LoadMessageLine("SENT|1|+49|-|-|PDU:00|1|x", &phone, &error));
    EXPECT_FALSE(LoadMessageLine("SENT|999|+49|-|-|PDU:0001000A919403214365000005C8329BFD06|17|x",
                                 &phone, &error));
    EXPECT_FALSE(LoadMessageLine("SENT|1|+49|-|XX@1|PDU:0001000A919403214365000005C8329BFD06|17|x",
                                 &phone, &error));
    EXPECT_FALSE(LoadMessageLine("SENT|1|+49|-", &phone, &error));
    EXPECT_TRUE(phone.sent().empty());
}

}  // namespace
}  // namespace phone_sim
