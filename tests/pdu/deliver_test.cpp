// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/deliver.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "pdu_test_util.h"

using pdutest::DecodeExact;
using pdutest::Hex;
using pdutest::kHelloDeliver;
using pdutest::NewRecord;
using pdutest::Octets;

namespace {

FileTime Stamp(int y, int mo, int d, int h, int mi, int s) {
    SystemTime st;
    st.year = static_cast<std::uint16_t>(y);
    st.month = static_cast<std::uint16_t>(mo);
    st.day = static_cast<std::uint16_t>(d);
    st.hour = static_cast<std::uint16_t>(h);
    st.minute = static_cast<std::uint16_t>(mi);
    st.second = static_cast<std::uint16_t>(s);
    FileTime ft = 0;
    EXPECT_TRUE(SystemTimeToFileTime(st, &ft));
    return ft;
}

// Decodes `hex` (with tpduLength = octets - 1 - first octet, as for a phone listing) into a new
// message and applies the record to it.
struct Decoded {
    TransferError result = 0;
    SmsMessage message;
    PduRecord* record() { return message.pduRecord.get(); }
};

Decoded DecodeListed(const std::string& hex) {
    Decoded d;
    const auto bytes = Octets(hex);
    d.message.pduRecord = NewRecord();
    const std::uint32_t tpdu = static_cast<std::uint32_t>(bytes.size() - 1 - bytes[0]);
    d.result = DecodeExact(d.message.pduRecord.get(), bytes, tpdu);
    if (d.result == kErrNone) ApplyPduRecord(&d.message);
    return d;
}

// The Hello deliver with its DCS, stamp or user data replaced.
std::string HelloWith(const std::string& firstOctet, const std::string& dcs,
                      const std::string& stamp, const std::string& userData) {
    return "00 " + firstOctet + " 0A 91 94 03 21 43 65 00 " + dcs + " " + stamp + " " + userData;
}

const char* kStamp = "30 11 51 90 03 50 40";

}  // namespace

TEST(DecodePdu, HelloFromBerlin) {
    auto record = NewRecord();
    ASSERT_EQ(DecodeExact(record.get(), Octets(kHelloDeliver), 23), kErrNone);
    EXPECT_EQ(record->firstOctet, 0x04);
    EXPECT_STREQ(record->scaDigits, "");
    EXPECT_STREQ(record->addressDigits, "4930123456");
    EXPECT_EQ(record->addressType, 0x91);
    EXPECT_EQ(record->protocolId, 0);
    EXPECT_EQ(record->dcs, 0);
    EXPECT_EQ(record->udl, 5u);
    EXPECT_EQ(record->userDataLength, 5u);
    EXPECT_EQ(record->headerLength, 0u);
    EXPECT_EQ(Hex(record->userData, 5), "48656C6C6F");
    EXPECT_EQ(record->timeStamp.year, 2003);
    EXPECT_EQ(record->timeStamp.month, 11);
    EXPECT_EQ(record->timeStamp.day, 15);
    EXPECT_EQ(record->timeStamp.hour, 9);
    EXPECT_EQ(record->timeStamp.minute, 30);
    EXPECT_EQ(record->timeStamp.second, 5);
    EXPECT_EQ(record->timeStamp.zone, 60);

    SmsMessage message;
    message.pduRecord = std::move(record);
    EXPECT_EQ(ApplyPduRecord(&message), 1);
    EXPECT_EQ(message.number, u"+4930123456");
    EXPECT_EQ(message.text, u"Hello");
    // The zone is not applied: the stamp stays the service centre's local time.
    EXPECT_EQ(message.time, Stamp(2003, 11, 15, 9, 30, 5));
}

TEST(DecodePdu, WrongTpduLengthReadsWithoutServiceCentreAndFails) {
    auto record = NewRecord();
    EXPECT_EQ(DecodeExact(record.get(), Octets(kHelloDeliver), 24), kErrInvalidParameter);
    // How far it got: first octet 0x00, the address 0A 91 94 read as four digits "1949",
    // and then a TP-UDL of 0x90 = 144 septets that need 126 octets where 9 remain.
    EXPECT_EQ(record->firstOctet, 0x00);
    EXPECT_STREQ(record->addressDigits, "1949");
    EXPECT_EQ(record->udl, 144u);
}

TEST(DecodePdu, ServiceCentreLengthMustMatchTheTpduLength) {
    auto record = NewRecord();
    EXPECT_EQ(DecodeExact(record.get(), Octets(kHelloDeliver), 22), kErrInvalidParameter);
    EXPECT_EQ(DecodeExact(record.get(), Octets(kHelloDeliver), 25), kErrInvalidParameter);
    EXPECT_EQ(DecodeExact(record.get(), Octets(kHelloDeliver), 0xFFFFFFFFu), kErrInvalidParameter);
}

TEST(DecodePdu, ServiceCentreIsDecoded) {
    const std::string hex = std::string("07 91 94 21 43 65 87 09") + (kHelloDeliver + 2);
    auto record = NewRecord();
    ASSERT_EQ(DecodeExact(record.get(), Octets(hex), 23), kErrNone);
    EXPECT_STREQ(record->scaDigits, "491234567890");
    EXPECT_EQ(record->scaType, 0x91);
    EXPECT_STREQ(record->addressDigits, "4930123456");
    EXPECT_EQ(Hex(record->userData, 5), "48656C6C6F");
}

TEST(DecodePdu, AlphanumericServiceCentreFails) {
    const std::string hex = std::string("03 D0 41 42") + (kHelloDeliver + 2);
    auto record = NewRecord();
    EXPECT_EQ(DecodeExact(record.get(), Octets(hex), 23), kErrInvalidParameter);
}

TEST(DecodePdu, WithoutServiceCentrePart) {
    // tpduLength equal to the octets given: the data starts with the first octet.
    auto record = NewRecord();
    ASSERT_EQ(DecodeExact(record.get(), Octets(kHelloDeliver + 3), 23), kErrNone);
    EXPECT_STREQ(record->addressDigits, "4930123456");
    EXPECT_EQ(record->userDataLength, 5u);
}

TEST(DecodePdu, ShortDataIsTakenAsHavingNoServiceCentre) {
    // 8 octets, tpduLength 5: the first octet 0x02 claims a 2-octet centre, but 8 - 2 < 7, so
    // reading starts at octet 0 after all; 0x02 is then a status report.
    auto record = NewRecord();
    ASSERT_EQ(DecodeExact(record.get(), Octets("02 2A 02 81 21 00 00 00"), 5), kErrNone);
    EXPECT_EQ(record->firstOctet, 0x02);
    EXPECT_EQ(record->messageReference, 0x2A);
    EXPECT_STREQ(record->addressDigits, "12");
}

TEST(DecodePdu, AlphanumericSenderFails) {
    // "Velkan" as seven-bit characters in an address of type 0xD0.
    auto record = NewRecord();
    const std::string hex =
        "00 04 0C D0 D6 32 7B 1C 76 03 00 00 30 11 51 90 03 50 40 05 C8 32 9B FD 06";
    EXPECT_EQ(DecodeExact(record.get(), Octets(hex), 24), kErrInvalidParameter);
}

TEST(DecodePdu, AddressOfMoreThanTwentyDigitsFails) {
    auto record = NewRecord();
    const std::string hex =
        "00 04 15 91 11 11 11 11 11 11 11 11 11 11 F1 00 00 " + std::string(kStamp) + " 00";
    EXPECT_EQ(
        DecodeExact(record.get(), Octets(hex), static_cast<std::uint32_t>(Octets(hex).size() - 1)),
        kErrInvalidParameter);
    // Twenty digits still fit.
    const std::string twenty =
        "00 04 14 91 11 11 11 11 11 11 11 11 11 11 00 00 " + std::string(kStamp) + " 00";
    ASSERT_EQ(DecodeExact(record.get(), Octets(twenty),
                          static_cast<std::uint32_t>(Octets(twenty).size() - 1)),
              kErrNone);
    EXPECT_STREQ(record->addressDigits, "11111111111111111111");
}

TEST(DecodePdu, YearsBeforeNinetyOneAreThisCentury) {
    Decoded d1999 =
        DecodeListed(HelloWith("04", "00", "99 11 51 90 03 50 40", "05 C8 32 9B FD 06"));
    ASSERT_EQ(d1999.result, kErrNone);
    EXPECT_EQ(d1999.record()->timeStamp.year, 1999);
    // The year 90 (octet 09 in swapped digits) is 2090; 91 (octet 19) is 1991.
    Decoded d2090 =
        DecodeListed(HelloWith("04", "00", "09 11 51 90 03 50 40", "05 C8 32 9B FD 06"));
    ASSERT_EQ(d2090.result, kErrNone);
    EXPECT_EQ(d2090.record()->timeStamp.year, 2090);
    Decoded d1991 =
        DecodeListed(HelloWith("04", "00", "19 11 51 90 03 50 40", "05 C8 32 9B FD 06"));
    ASSERT_EQ(d1991.result, kErrNone);
    EXPECT_EQ(d1991.record()->timeStamp.year, 1991);
}

TEST(DecodePdu, SpareOctetAcceptedWithoutHeaderRefusedWithHeader) {
    // Without a header: 5 septets "Hello" and one spare octet behind them.
    Decoded plain = DecodeListed(HelloWith("04", "00", kStamp, "05 C8 32 9B FD 06 00"));
    ASSERT_EQ(plain.result, kErrNone);
    EXPECT_EQ(plain.message.text, u"Hello");

    // With a header (05 00 03 2A 02 01, then "Hi"): exact, then with a spare octet.
    const char* withHeader = "09 05 00 03 2A 02 01 90 69";
    Decoded exact = DecodeListed(HelloWith("44", "00", kStamp, withHeader));
    ASSERT_EQ(exact.result, kErrNone);
    EXPECT_EQ(exact.message.text, u"Hi");
    Decoded spare = DecodeListed(HelloWith("44", "00", kStamp, std::string(withHeader) + " 00"));
    EXPECT_EQ(spare.result, kErrInvalidParameter);
}

TEST(DecodePdu, SevenBitHeaderIsSeparatedFromTheText) {
    Decoded d = DecodeListed(HelloWith("44", "00", kStamp, "09 05 00 03 2A 02 01 90 69"));
    ASSERT_EQ(d.result, kErrNone);
    EXPECT_EQ(d.record()->udl, 9u);
    EXPECT_EQ(d.record()->headerLength, 5u);
    EXPECT_EQ(Hex(d.record()->header, 5), "00032A0201");
    EXPECT_EQ(d.record()->userDataLength, 2u);
    EXPECT_EQ(Hex(d.record()->userData, 2), "4869");
}

TEST(DecodePdu, SevenBitHeaderLongerThanTheUserDataFails) {
    // TP-UDL 2 septets (two octets, so the length check passes) cannot hold a header of five.
    Decoded d = DecodeListed(HelloWith("44", "00", kStamp, "02 05 00"));
    EXPECT_EQ(d.result, kErrInvalidParameter);
}

TEST(DecodePdu, EightBitLengthOneShortFails) {
    Decoded exact = DecodeListed(HelloWith("04", "04", kStamp, "03 41 80 FF"));
    ASSERT_EQ(exact.result, kErrNone);
    Decoded oneShort = DecodeListed(HelloWith("04", "04", kStamp, "02 41 80 FF"));
    EXPECT_EQ(oneShort.result, kErrInvalidParameter);
    Decoded oneLong = DecodeListed(HelloWith("04", "04", kStamp, "04 41 80 FF"));
    EXPECT_EQ(oneLong.result, kErrInvalidParameter);
}

TEST(DecodePdu, EightBitTextIsSignExtended) {
    Decoded d = DecodeListed(HelloWith("04", "04", kStamp, "03 41 80 FF"));
    ASSERT_EQ(d.result, kErrNone);
    EXPECT_EQ(d.record()->userDataLength, 3u);
    EXPECT_EQ(d.message.text, std::u16string(u"A\uFF80\uFFFF"));
}

TEST(DecodePdu, EightBitHeader) {
    Decoded d = DecodeListed(HelloWith("44", "04", kStamp, "06 03 00 01 07 41 42"));
    ASSERT_EQ(d.result, kErrNone);
    EXPECT_EQ(d.record()->headerLength, 3u);
    EXPECT_EQ(Hex(d.record()->header, 3), "000107");
    EXPECT_EQ(d.record()->userDataLength, 2u);
    EXPECT_EQ(d.message.text, u"AB");
    // A header length beyond TP-UDL fails.
    EXPECT_EQ(DecodeListed(HelloWith("44", "04", kStamp, "02 03 00 01 07")).result,
              kErrInvalidParameter);
}

TEST(DecodePdu, ReservedAlphabetReadsLittleEndianPairs) {
    Decoded d = DecodeListed(HelloWith("04", "0C", kStamp, "05 48 00 AC 20 21"));
    ASSERT_EQ(d.result, kErrNone);
    EXPECT_EQ(d.record()->userDataLength, 5u);
    // Two characters; the odd last octet is left out.
    EXPECT_EQ(d.message.text, u"H\u20AC");
}

TEST(DecodePdu, Ucs2IsAcceptedButNotDecoded) {
    Decoded d = DecodeListed(HelloWith("04", "08", kStamp, "04 00 48 00 69"));
    ASSERT_EQ(d.result, kErrNone);
    EXPECT_EQ(d.record()->udl, 4u);
    EXPECT_EQ(d.record()->userDataLength, 4u);
    EXPECT_EQ(Hex(d.record()->userData, 4), "00000000");
    // The zero-filled buffer reads as one "@" per octet.
    EXPECT_EQ(d.message.text, u"@@@@");
    EXPECT_EQ(d.message.number, u"+4930123456");
}

TEST(DecodePdu, Ucs2WithHeaderKeepsNoText) {
    Decoded d = DecodeListed(HelloWith("44", "08", kStamp, "08 03 00 01 07 00 48 00 69"));
    ASSERT_EQ(d.result, kErrNone);
    EXPECT_EQ(d.record()->headerLength, 3u);
    EXPECT_EQ(Hex(d.record()->header, 3), "000107");
    EXPECT_EQ(d.record()->userDataLength, 0u);
    EXPECT_EQ(d.message.text, u"");
}

TEST(DecodePdu, MessageClassDcsAlwaysReportsSevenBit) {
    // Coding group 1111 with bit 2 clear: bits 2 and 3 are cleared, so 0xF8 reads as 0xF0.
    Decoded f8 = DecodeListed(HelloWith("04", "F8", kStamp, "05 C8 32 9B FD 06"));
    ASSERT_EQ(f8.result, kErrNone);
    EXPECT_EQ(f8.record()->dcs, 0xF0);
    EXPECT_EQ(f8.message.text, u"Hello");
    Decoded f1 = DecodeListed(HelloWith("04", "F1", kStamp, "05 C8 32 9B FD 06"));
    ASSERT_EQ(f1.result, kErrNone);
    EXPECT_EQ(f1.record()->dcs, 0xF1);
    // Bit 2 set: 8-bit data of class 0 stays as it is.
    Decoded f4 = DecodeListed(HelloWith("04", "F4", kStamp, "02 41 42"));
    ASSERT_EQ(f4.result, kErrNone);
    EXPECT_EQ(f4.record()->dcs, 0xF4);
    EXPECT_EQ(f4.message.text, u"AB");
}

TEST(DecodePdu, ZoneEastIsQuarterHours) {
    Decoded d = DecodeListed(HelloWith("04", "00", "30 11 51 90 03 50 23", "05 C8 32 9B FD 06"));
    ASSERT_EQ(d.result, kErrNone);
    EXPECT_EQ(d.record()->timeStamp.zone, 32 * 15);
}

TEST(DecodePdu, NegativeZoneKeepsTheSignMergedIntoTheOctet) {
    // 0x48: four quarter hours with the sign bit: (4 - 128) * 15.
    Decoded d = DecodeListed(HelloWith("04", "00", "30 11 51 90 03 50 48", "05 C8 32 9B FD 06"));
    ASSERT_EQ(d.result, kErrNone);
    EXPECT_EQ(d.record()->timeStamp.zone, -1860);
    EXPECT_EQ(d.message.time, Stamp(2003, 11, 15, 9, 30, 5));
}

TEST(DecodePdu, InvalidTimeFieldReadsAsZeroAndLeavesTimeZero) {
    // The month octet 0x9A has a low nibble above 9: month 0, no error, and no message time.
    Decoded d = DecodeListed(HelloWith("04", "00", "30 9A 51 90 03 50 40", "05 C8 32 9B FD 06"));
    ASSERT_EQ(d.result, kErrNone);
    EXPECT_EQ(d.record()->timeStamp.month, 0);
    EXPECT_EQ(d.message.text, u"Hello");
    EXPECT_EQ(d.message.time, 0u);
}

TEST(DecodePdu, StatusReportKeepsOnlyAddressAndReference) {
    auto record = NewRecord();
    const auto bytes =
        Octets("00 06 2A 0A 91 94 03 21 43 65 30 11 51 90 03 50 40 30 11 51 90 03 50 40 00");
    ASSERT_EQ(DecodeExact(record.get(), bytes, static_cast<std::uint32_t>(bytes.size() - 1)),
              kErrNone);
    EXPECT_EQ(record->firstOctet, 0x06);
    EXPECT_EQ(record->messageReference, 0x2A);
    EXPECT_STREQ(record->addressDigits, "4930123456");
    EXPECT_EQ(record->addressType, 0x91);
    EXPECT_EQ(record->protocolId, 0);
    EXPECT_EQ(record->dcs, 0);
    EXPECT_EQ(record->udl, 0u);
    EXPECT_EQ(record->userDataLength, 0u);
    EXPECT_EQ(record->timeStamp.year, 0);
}

TEST(DecodePdu, SubmitWithRelativeValidity) {
    Decoded d = DecodeListed("00 11 07 0A 91 94 03 21 43 65 00 00 AA 05 C8 32 9B FD 06");
    ASSERT_EQ(d.result, kErrNone);
    EXPECT_EQ(d.record()->messageReference, 0x07);
    EXPECT_EQ(d.record()->validityPeriod[0], 0xAA);
    EXPECT_EQ(d.message.text, u"Hello");
    EXPECT_EQ(d.message.time, 0u) << "a SUBMIT carries no stamp";
}

TEST(DecodePdu, SubmitWithAbsoluteOrEnhancedValidity) {
    for (const char* firstOctet : {"19", "09"}) {
        Decoded d =
            DecodeListed(std::string("00 ") + firstOctet +
                         " 00 0A 91 94 03 21 43 65 00 00 30 11 51 90 03 50 40 05 C8 32 9B FD 06");
        ASSERT_EQ(d.result, kErrNone) << firstOctet;
        EXPECT_EQ(Hex(d.record()->validityPeriod, 7), "30115190035040");
        EXPECT_EQ(d.message.text, u"Hello");
    }
}

TEST(DecodePdu, ReservedTypeMeansTheServiceCentreWasMisread) {
    // Octet 0 (0x01) looked like a centre length, but what followed it has the reserved type 3:
    // reading restarts at octet 0 as an SMS-SUBMIT without centre.
    const auto bytes = Octets("01 2A 03 81 21 F3 00 00 05 C8 32 9B FD 06");
    auto record = NewRecord();
    ASSERT_EQ(DecodeExact(record.get(), bytes, 12), kErrNone);
    EXPECT_EQ(record->firstOctet, 0x01);
    EXPECT_EQ(record->messageReference, 0x2A);
    EXPECT_STREQ(record->scaDigits, "");
    EXPECT_STREQ(record->addressDigits, "123");
    EXPECT_EQ(Hex(record->userData, 5), "48656C6C6F");
}

TEST(DecodePdu, ReservedTypeTwiceFails) {
    auto record = NewRecord();
    EXPECT_EQ(DecodeExact(record.get(), Octets("03 81 21 43 03 00 00 00 00 00"), 6),
              kErrInvalidParameter);
    // The centre digits read on the way are dropped again.
    EXPECT_STREQ(record->scaDigits, "");
}

TEST(DecodePdu, SevenBitLengthAboveTheBufferFails) {
    // TP-UDL 161 septets with enough octets behind it would overrun the 160-unit buffer.
    std::string hex = HelloWith("04", "00", kStamp, "A1");
    for (int k = 0; k < 141; ++k) hex += " 00";
    EXPECT_EQ(DecodeListed(hex).result, kErrInvalidParameter);
    // 160 septets in 140 octets are fine.
    std::string full = HelloWith("04", "00", kStamp, "A0");
    for (int k = 0; k < 140; ++k) full += " 00";
    Decoded d = DecodeListed(full);
    ASSERT_EQ(d.result, kErrNone);
    EXPECT_EQ(d.message.text, std::u16string(160, u'@'));
}

TEST(DecodePdu, RecordIsReusableForAnotherPdu) {
    auto record = NewRecord();
    const std::string withCentre = std::string("07 91 94 21 43 65 87 09") + (kHelloDeliver + 2);
    ASSERT_EQ(DecodeExact(record.get(), Octets(withCentre), 23), kErrNone);
    ASSERT_EQ(DecodeExact(record.get(), Octets(kHelloDeliver), 23), kErrNone);
    EXPECT_STREQ(record->scaDigits, "") << "no centre in the second PDU";
}

TEST(DecodePdu, NullArgumentsFail) {
    auto record = NewRecord();
    const auto bytes = Octets(kHelloDeliver);
    EXPECT_EQ(DecodePdu(nullptr, bytes.data(), 24, 23), kErrInvalidParameter);
    EXPECT_EQ(DecodePdu(record.get(), nullptr, 24, 23), kErrInvalidParameter);
    EXPECT_EQ(DecodePdu(record.get(), nullptr, 0, 0), kErrInvalidParameter);
}

TEST(ApplyPduRecord, NationalNumberHasNoPlus) {
    Decoded d =
        DecodeListed("00 04 0A 81 10 32 54 76 98 00 00 30 11 51 90 03 50 40 05 C8 32 9B FD 06");
    ASSERT_EQ(d.result, kErrNone);
    EXPECT_EQ(d.message.number, u"0123456789");
}

TEST(ApplyPduRecord, WithoutRecordChangesNothing) {
    SmsMessage message;
    message.number = u"1";
    message.text = u"t";
    message.time = 77;
    EXPECT_EQ(ApplyPduRecord(&message), 1);
    EXPECT_EQ(message.number, u"1");
    EXPECT_EQ(message.text, u"t");
    EXPECT_EQ(message.time, 77u);
}

TEST(ApplyPduRecord, LengthBeyondTheBufferIsClamped) {
    SmsMessage message;
    message.pduRecord = NewRecord();
    message.pduRecord->userDataLength = 100000;
    EXPECT_EQ(ApplyPduRecord(&message), 1);
    EXPECT_EQ(message.text.size(), kUserDataSize);
}

TEST(DecodeStoredMessage, DecodesThePduBuffer) {
    SmsMessage message;
    message.pdu = Octets(kHelloDeliver);
    EXPECT_EQ(DecodeStoredMessage(&message), 1);
    EXPECT_EQ(message.codecResult, kErrNone);
    ASSERT_TRUE(message.pduRecord);
    EXPECT_EQ(message.number, u"+4930123456");
    EXPECT_EQ(message.text, u"Hello");
    EXPECT_EQ(message.time, Stamp(2003, 11, 15, 9, 30, 5));
}

TEST(DecodeStoredMessage, FailureKeepsTheCode) {
    SmsMessage message;
    message.pdu = Octets("00 04 0A D0");
    message.text = u"kept";
    EXPECT_EQ(DecodeStoredMessage(&message), 0);
    EXPECT_EQ(message.codecResult, kErrInvalidParameter);
    EXPECT_EQ(message.text, u"kept");

    SmsMessage empty;
    EXPECT_EQ(DecodeStoredMessage(&empty), 0);
    EXPECT_EQ(empty.codecResult, kErrInvalidParameter);

    SmsMessage centreTooLong;
    centreTooLong.pdu = Octets("09 91 94");
    EXPECT_EQ(DecodeStoredMessage(&centreTooLong), 0);
    EXPECT_EQ(centreTooLong.codecResult, kErrInvalidParameter);
}
