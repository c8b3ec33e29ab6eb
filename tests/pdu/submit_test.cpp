// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/submit.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "pdu/deliver.h"
#include "pdu_test_util.h"

using pdutest::DecodeExact;
using pdutest::Encoded;
using pdutest::Hex;
using pdutest::kHelloDeliver;
using pdutest::NewRecord;
using pdutest::Octets;

namespace {

SmsMessage Message(const std::u16string& number, const std::u16string& text,
                   std::uint32_t flags = 0) {
    SmsMessage m;
    m.number = number;
    m.text = text;
    m.flags = flags;
    return m;
}

// As the sender does it: prepare, apply the options, encode once more.
std::string Send(SmsMessage* m, const std::u16string& centre, bool statusReport) {
    if (PrepareSubmit(m) != 1) return "prepare failed";
    ApplySubmitOptions(m->pduRecord.get(), centre, statusReport);
    if (EncodePdu(m->pduRecord.get()) != kErrNone) return "encode failed";
    return Encoded(*m->pduRecord);
}

const char* kHelloSubmit =
    "0001000A9194032143650000"
    "05C8329BFD06";

}  // namespace

TEST(PrepareSubmit, HelloToBerlin) {
    SmsMessage m = Message(u"+4930123456", u"Hello");
    ASSERT_EQ(PrepareSubmit(&m), 1);
    EXPECT_EQ(m.codecResult, kErrNone);
    EXPECT_EQ(Encoded(*m.pduRecord), kHelloSubmit);
    EXPECT_EQ(m.pduRecord->tpduLength, 17u);
    EXPECT_EQ(m.pduRecord->encodedLength, 18u);
    EXPECT_EQ(Hex(m.pdu), kHelloSubmit) << "the encoded octets are copied into the message";
}

TEST(PrepareSubmit, SameAfterTheDefaultOptions) {
    SmsMessage m = Message(u"+4930123456", u"Hello");
    EXPECT_EQ(Send(&m, u"", false), kHelloSubmit);
    EXPECT_EQ(m.pduRecord->tpduLength, 17u);
}

TEST(PrepareSubmit, FlashWithStatusReport) {
    SmsMessage m = Message(u"+4930123456", u"Hello", kFlagFlash);
    EXPECT_EQ(Send(&m, u"", true),
              "0021000A91940321436500F0"
              "05C8329BFD06");
    EXPECT_EQ(m.pduRecord->tpduLength, 17u);
    EXPECT_EQ(m.pduRecord->encodedLength, 18u);
}

TEST(PrepareSubmit, FlashAloneAndStatusReportAlone) {
    SmsMessage flash = Message(u"+4930123456", u"Hello", kFlagFlash);
    EXPECT_EQ(Send(&flash, u"", false),
              "0001000A91940321436500F0"
              "05C8329BFD06");
    SmsMessage report = Message(u"+4930123456", u"Hello", kFlagUnread);
    EXPECT_EQ(Send(&report, u"", true),
              "0021000A9194032143650000"
              "05C8329BFD06");
}

TEST(PrepareSubmit, NationalNumberGetsType81) {
    SmsMessage m = Message(u"0301234567", u"Hello");
    ASSERT_EQ(PrepareSubmit(&m), 1);
    EXPECT_EQ(Encoded(*m.pduRecord),
              "0001000A8130103254760000"
              "05C8329BFD06");
}

TEST(PrepareSubmit, CustomCentreWithPlus) {
    SmsMessage m = Message(u"+4930123456", u"Hello");
    const std::string pdu = Send(&m, u"+491234567890", false);
    EXPECT_EQ(pdu.substr(0, 16), "0791942143658709");
    EXPECT_EQ(pdu.substr(16), kHelloSubmit + 2) << "the TPDU is unchanged";
    EXPECT_EQ(m.pduRecord->tpduLength, 17u) << "the centre never counts in the TPDU length";
    EXPECT_EQ(m.pduRecord->encodedLength, 25u);
    EXPECT_STREQ(m.pduRecord->scaDigits, "491234567890");
}

TEST(PrepareSubmit, CustomCentreWithoutPlusIsType81) {
    SmsMessage m = Message(u"+4930123456", u"Hello");
    EXPECT_EQ(Send(&m, u"01721234", false).substr(0, 12), "058110272143");
}

TEST(PrepareSubmit, CustomCentreWithANonDigitIsRefused) {
    for (const char16_t* centre : {u"+49 123", u"++49123", u"49#1", u"\u0661\u0662"}) {
        SmsMessage m = Message(u"+4930123456", u"Hello");
        ASSERT_EQ(PrepareSubmit(&m), 1);
        ApplySubmitOptions(m.pduRecord.get(), centre, false);
        EXPECT_EQ(EncodePdu(m.pduRecord.get()), kErrInvalidParameter);
    }
}

TEST(PrepareSubmit, CustomCentreOfMoreThanTwentyDigitsIsRefused) {
    SmsMessage m = Message(u"+4930123456", u"Hello");
    ASSERT_EQ(PrepareSubmit(&m), 1);
    ApplySubmitOptions(m.pduRecord.get(), u"+" + std::u16string(20, u'1'), false);
    ASSERT_EQ(EncodePdu(m.pduRecord.get()), kErrNone);
    EXPECT_EQ(m.pduRecord->encoded[0], 11) << "20 digits: type byte and 10 octets";
    ApplySubmitOptions(m.pduRecord.get(), u"+" + std::u16string(21, u'1'), false);
    EXPECT_EQ(EncodePdu(m.pduRecord.get()), kErrInvalidParameter);
    ApplySubmitOptions(m.pduRecord.get(), u"+" + std::u16string(39, u'1'), false);
    EXPECT_EQ(EncodePdu(m.pduRecord.get()), kErrInvalidParameter);
    ApplySubmitOptions(m.pduRecord.get(), std::u16string(40, u'1'), false);
    EXPECT_EQ(EncodePdu(m.pduRecord.get()), kErrInvalidParameter);
    ApplySubmitOptions(m.pduRecord.get(), std::u16string(400, u'1'), false);
    EXPECT_EQ(EncodePdu(m.pduRecord.get()), kErrInvalidParameter);
    // A later, valid centre makes the record usable again.
    ApplySubmitOptions(m.pduRecord.get(), u"", false);
    EXPECT_EQ(EncodePdu(m.pduRecord.get()), kErrNone);
    EXPECT_EQ(Encoded(*m.pduRecord), kHelloSubmit);
}

TEST(PrepareSubmit, StatusReportBitIsClearedWhenNotRequested) {
    SmsMessage m = Message(u"+4930123456", u"Hello");
    ASSERT_EQ(PrepareSubmit(&m), 1);
    ApplySubmitOptions(m.pduRecord.get(), u"", true);
    EXPECT_EQ(m.pduRecord->firstOctet, 0x21);
    ApplySubmitOptions(m.pduRecord.get(), u"", false);
    EXPECT_EQ(m.pduRecord->firstOctet, 0x01);
}

TEST(PrepareSubmit, HundredSixtyCharactersFillTheMessage) {
    SmsMessage m = Message(u"+4930123456", std::u16string(160, u'a'));
    ASSERT_EQ(PrepareSubmit(&m), 1);
    const PduRecord& r = *m.pduRecord;
    // 00 | 01 00 0A 91 <5 digit octets> 00 00 | UDL | 140 octets
    EXPECT_EQ(r.encoded[1 + 11], 160) << "TP-UDL";
    EXPECT_EQ(r.encodedLength, 1u + 12 + 140);
    EXPECT_EQ(r.tpduLength, 12u + 140);
}

TEST(PrepareSubmit, HundredSixtyOneCharactersFail) {
    SmsMessage m = Message(u"+4930123456", std::u16string(161, u'a'));
    m.pdu = {1, 2, 3};
    EXPECT_EQ(PrepareSubmit(&m), 0);
    EXPECT_EQ(m.codecResult, kErrInvalidParameter);
    EXPECT_EQ(m.pdu.size(), 3u) << "the old PDU stays";
}

TEST(PrepareSubmit, EuroIsSentAsSeptet5F) {
    SmsMessage m = Message(u"+4930123456", u"\u20AC");
    ASSERT_EQ(PrepareSubmit(&m), 1);
    EXPECT_EQ(Encoded(*m.pduRecord),
              "0001000A9194032143650000"
              "015F");
    EXPECT_EQ(m.pduRecord->userData[0], 0x5F);
}

TEST(PrepareSubmit, MoreThanTwentyDigitsAreRefused) {
    SmsMessage twenty = Message(u"+" + std::u16string(20, u'9'), u"Hi");
    ASSERT_EQ(PrepareSubmit(&twenty), 1);
    EXPECT_EQ(twenty.pduRecord->encoded[3], 20);
    SmsMessage twentyOne = Message(u"+" + std::u16string(21, u'9'), u"Hi");
    EXPECT_EQ(PrepareSubmit(&twentyOne), 0);
    EXPECT_EQ(twentyOne.codecResult, kErrInvalidParameter);
    SmsMessage huge = Message(std::u16string(5000, u'9'), u"Hi");
    EXPECT_EQ(PrepareSubmit(&huge), 0);
    EXPECT_EQ(huge.codecResult, kErrInvalidParameter);
}

TEST(PrepareSubmit, ANumberWithoutDigitsIsRefused) {
    for (const char16_t* number : {u"", u"+"}) {
        SmsMessage m = Message(number, u"Hi");
        EXPECT_EQ(PrepareSubmit(&m), 0) << std::u16string(number).size();
        EXPECT_EQ(m.codecResult, kErrInvalidParameter);
    }
}

TEST(PrepareSubmit, NonDigitsInTheNumberAreRefused) {
    const std::u16string numbers[] = {
        u"+49*30", u"#31#",   u"+49 30",       u"++4930",
        u"49+30",  u"0301p2", u"\u0661\u0662", {u'1', u'2', u'\0', u'3'}};
    for (const std::u16string& number : numbers) {
        SmsMessage m = Message(number, u"Hi");
        EXPECT_EQ(PrepareSubmit(&m), 0) << number.size();
        EXPECT_EQ(m.codecResult, kErrInvalidParameter);
    }
}

TEST(PrepareSubmit, ReplacesAnOldRecord) {
    SmsMessage m = Message(u"+4930123456", u"Hello");
    m.pduRecord = NewRecord();
    std::strcpy(m.pduRecord->scaDigits, "999");
    m.pduRecord->dcs = 0x08;
    ASSERT_EQ(PrepareSubmit(&m), 1);
    EXPECT_EQ(Encoded(*m.pduRecord), kHelloSubmit);
}

TEST(EncodeMessage, CreatesTheRecordAndForcesSubmitForANewMessage) {
    SmsMessage m = Message(u"+4930123456", u"Hello");
    ASSERT_EQ(EncodeMessage(&m), 1);
    ASSERT_TRUE(m.pduRecord);
    EXPECT_EQ(m.pduRecord->firstOctet & 3, kMtiSubmit);
    // A fresh record has numbering plan 0, so the type byte is 0x90 here, not 0x91.
    EXPECT_EQ(Hex(m.pdu),
              "0001000A9094032143650000"
              "05C8329BFD06");
}

TEST(EncodeMessage, StoredMessageKeepsItsType) {
    SmsMessage m = Message(u"+4930123456", u"Hello");
    m.time = 1;  // stored once: the record's type is left alone
    m.pduRecord = NewRecord();
    m.pduRecord->firstOctet = kMtiDeliver;
    m.pduRecord->addressType = 0x01;
    m.pduRecord->timeStamp = {2003, 11, 15, 9, 30, 5, 60};
    ASSERT_EQ(EncodeMessage(&m), 1);
    EXPECT_EQ(Hex(m.pdu),
              "0000"
              "0A9194032143650000"
              "30115190035040"
              "05C8329BFD06");
}

TEST(EncodeMessage, TextOfExactlyTheBufferDoesNotSpillIntoTheHeader) {
    SmsMessage m = Message(u"+4930123456", std::u16string(160, u'\u00E0'));
    m.pduRecord = NewRecord();
    m.pduRecord->header[0] = 0xEE;
    ASSERT_EQ(EncodeMessage(&m), 1);
    EXPECT_EQ(m.pduRecord->userData[159], 0x7F);
    EXPECT_EQ(m.pduRecord->header[0], 0xEE);
}

TEST(EncodePdu, StatusReportAndReservedTypeAreRefused) {
    auto r = NewRecord();
    r->firstOctet = kMtiStatusReport;
    EXPECT_EQ(EncodePdu(r.get()), kErrInvalidParameter);
    r->firstOctet = 3;
    EXPECT_EQ(EncodePdu(r.get()), kErrInvalidParameter);
    EXPECT_EQ(EncodePdu(nullptr), kErrInvalidParameter);
}

TEST(EncodePdu, DeliverRecordReproducesTheListedPdu) {
    auto r = NewRecord();
    ASSERT_EQ(DecodeExact(r.get(), Octets(kHelloDeliver), 23), kErrNone);
    std::memset(r->encoded, 0, sizeof r->encoded);
    ASSERT_EQ(EncodePdu(r.get()), kErrNone);
    EXPECT_EQ(Encoded(*r), Hex(Octets(kHelloDeliver)));
    EXPECT_EQ(r->tpduLength, 23u);
}

TEST(EncodePdu, NegativeZoneIsWrittenFromItsTwosComplement) {
    auto r = NewRecord();
    ASSERT_EQ(DecodeExact(r.get(), Octets(kHelloDeliver), 23), kErrNone);
    r->timeStamp.zone = -60;  // -4 quarters: 124 as 7 bits, swapped 0x4C, sign bit already set
    ASSERT_EQ(EncodePdu(r.get()), kErrNone);
    EXPECT_EQ(r->encoded[17], 0x4C);
    r->timeStamp.zone = -15;  // -1 quarter: 127, swapped 0x7C
    ASSERT_EQ(EncodePdu(r.get()), kErrNone);
    EXPECT_EQ(r->encoded[17], 0x7C);
    r->timeStamp.zone = 330;  // +22 quarters
    ASSERT_EQ(EncodePdu(r.get()), kErrNone);
    EXPECT_EQ(r->encoded[17], 0x22);
}

TEST(EncodePdu, ValidityPeriodFormats) {
    SmsMessage m = Message(u"+4930123456", u"Hello");
    ASSERT_EQ(PrepareSubmit(&m), 1);
    PduRecord* r = m.pduRecord.get();
    const std::uint8_t vp[7] = {0x30, 0x11, 0x51, 0x90, 0x03, 0x50, 0x40};
    std::memcpy(r->validityPeriod, vp, 7);
    r->firstOctet = 0x11;  // relative
    ASSERT_EQ(EncodePdu(r), kErrNone);
    EXPECT_EQ(Encoded(*r),
              "0011000A9194032143650000"
              "30"
              "05C8329BFD06");
    r->firstOctet = 0x19;  // absolute
    ASSERT_EQ(EncodePdu(r), kErrNone);
    EXPECT_EQ(Encoded(*r),
              "0019000A9194032143650000"
              "30115190035040"
              "05C8329BFD06");
    r->firstOctet = 0x09;  // enhanced
    ASSERT_EQ(EncodePdu(r), kErrNone);
    EXPECT_EQ(r->tpduLength, 24u);
}

TEST(EncodePdu, SevenBitWithHeader) {
    SmsMessage m = Message(u"+4930123456", u"Hi");
    ASSERT_EQ(PrepareSubmit(&m), 1);
    PduRecord* r = m.pduRecord.get();
    r->firstOctet = 0x41;
    const std::uint8_t header[] = {0x00, 0x03, 0x2A, 0x02, 0x01};
    std::memcpy(r->header, header, 5);
    r->headerLength = 5;
    ASSERT_EQ(EncodePdu(r), kErrNone);
    EXPECT_EQ(Encoded(*r),
              "0041000A9194032143650000"
              "09"
              "0500032A0201"
              "9069");
    EXPECT_EQ(r->udl, 9u);
    EXPECT_EQ(Hex(r->userData, 2), "4869") << "the text is back in place";
    EXPECT_EQ(r->userDataLength, 2u);
}

TEST(EncodePdu, SevenBitHeaderAndTextOverHundredSixtySeptetsFail) {
    SmsMessage m = Message(u"+4930123456", std::u16string(150, u'a'));
    ASSERT_EQ(PrepareSubmit(&m), 1);
    PduRecord* r = m.pduRecord.get();
    r->firstOctet = 0x41;
    r->headerLength = 10;  // 13 septets with its length octet
    EXPECT_EQ(EncodePdu(r), kErrInvalidParameter);
    r->headerLength = 8;  // 11 septets: 161
    EXPECT_EQ(EncodePdu(r), kErrInvalidParameter);
    r->headerLength = 7;  // 10 septets: 160
    EXPECT_EQ(EncodePdu(r), kErrNone);
    EXPECT_EQ(r->udl, 160u);
}

TEST(EncodePdu, EightBitWithHeaderAndLimit) {
    auto r = NewRecord();
    r->firstOctet = 0x41;
    r->addressType = 0x81;
    std::strcpy(r->addressDigits, "12");
    r->dcs = 0x04;
    r->headerLength = 3;
    const std::uint8_t header[] = {0x00, 0x01, 0x07};
    std::memcpy(r->header, header, 3);
    r->userDataLength = 2;
    r->userData[0] = 0x41;
    r->userData[1] = 0xFF;
    ASSERT_EQ(EncodePdu(r.get()), kErrNone);
    EXPECT_EQ(Encoded(*r),
              "00410002812100040603000107"
              "41FF");
    // 140 octets is the most: header 3 + length octet + 136 fit, 137 do not.
    r->userDataLength = 136;
    EXPECT_EQ(EncodePdu(r.get()), kErrNone);
    r->userDataLength = 137;
    EXPECT_EQ(EncodePdu(r.get()), kErrInvalidParameter);
    r->firstOctet = 0x01;
    r->userDataLength = 140;
    EXPECT_EQ(EncodePdu(r.get()), kErrNone);
    r->userDataLength = 141;
    EXPECT_EQ(EncodePdu(r.get()), kErrInvalidParameter);
}

TEST(EncodePdu, ReservedAlphabetNeedsAnEvenLength) {
    auto r = NewRecord();
    r->firstOctet = 0x01;
    r->dcs = 0x0C;
    r->userDataLength = 3;
    EXPECT_EQ(EncodePdu(r.get()), kErrInvalidParameter);
    r->userDataLength = 4;
    r->userData[0] = 0x48;
    r->userData[2] = 0x69;
    ASSERT_EQ(EncodePdu(r.get()), kErrNone);
    EXPECT_EQ(Encoded(*r),
              "000100008000"
              "0C"
              "04"
              "48006900");
}

TEST(EncodePdu, Ucs2EndsAfterTheLengthOctet) {
    auto r = NewRecord();
    r->firstOctet = 0x01;
    r->dcs = 0x08;
    r->userDataLength = 4;
    ASSERT_EQ(EncodePdu(r.get()), kErrNone);
    EXPECT_EQ(Encoded(*r),
              "000100008000"
              "08"
              "04");
    EXPECT_EQ(r->tpduLength, 7u);
}

TEST(EncodePdu, LengthsBeyondTheBuffersAreRefused) {
    auto r = NewRecord();
    r->firstOctet = 0x01;
    r->userDataLength = 161;
    EXPECT_EQ(EncodePdu(r.get()), kErrInvalidParameter);
    r->userDataLength = 0xFFFFFFFFu;
    EXPECT_EQ(EncodePdu(r.get()), kErrInvalidParameter);
    r->userDataLength = 1;
    r->firstOctet = 0x41;
    r->headerLength = 301;
    EXPECT_EQ(EncodePdu(r.get()), kErrInvalidParameter);
    r->headerLength = 0xFFFFFFFFu;
    r->dcs = 0x04;
    EXPECT_EQ(EncodePdu(r.get()), kErrInvalidParameter);
}

TEST(EncodePdu, UnterminatedAddressIsRefused) {
    auto r = NewRecord();
    r->firstOctet = 0x01;
    std::memset(r->addressDigits, '1', sizeof r->addressDigits);
    EXPECT_EQ(EncodePdu(r.get()), kErrInvalidParameter);
    std::memset(r->addressDigits, 0, sizeof r->addressDigits);
    std::memset(r->scaDigits, '1', sizeof r->scaDigits);
    EXPECT_EQ(EncodePdu(r.get()), kErrInvalidParameter);
}
