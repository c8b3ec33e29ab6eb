// SPDX-License-Identifier: GPL-3.0-or-later
// Encode, then decode what the phone would list, and get the message back.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "pdu/deliver.h"
#include "pdu/gsm_alphabet.h"
#include "pdu/submit.h"
#include "pdu_test_util.h"

using pdutest::DecodeExact;
using pdutest::NewRecord;

namespace {

// Every character of the alphabet in table order, repeated to `length` characters.
std::u16string AlphabetText(std::size_t length, std::size_t offset = 0) {
    std::u16string text;
    for (std::size_t k = 0; k < length; ++k) text.push_back(kGsmAlphabet[(k + offset) % 128]);
    return text;
}

// Encodes as the sender does and decodes the result as a stored SMS-SUBMIT.
SmsMessage SendAndRead(const std::u16string& number, const std::u16string& text,
                       const std::u16string& centre, bool flash, bool report) {
    SmsMessage out;
    SmsMessage m;
    m.number = number;
    m.text = text;
    m.flags = flash ? kFlagFlash : 0;
    if (PrepareSubmit(&m) != 1) {
        ADD_FAILURE() << "PrepareSubmit " << m.codecResult;
        return out;
    }
    ApplySubmitOptions(m.pduRecord.get(), centre, report);
    if (EncodePdu(m.pduRecord.get()) != kErrNone) {
        ADD_FAILURE() << "EncodePdu";
        return out;
    }
    const PduRecord& r = *m.pduRecord;
    const std::vector<std::uint8_t> bytes(r.encoded, r.encoded + r.encodedLength);
    out.pduRecord = NewRecord();
    const TransferError err = DecodeExact(out.pduRecord.get(), bytes, r.tpduLength);
    if (err != kErrNone) {
        ADD_FAILURE() << "DecodePdu " << err;
        return out;
    }
    ApplyPduRecord(&out);
    return out;
}

}  // namespace

TEST(RoundTrip, EveryTextLengthUpToHundredSixty) {
    for (std::size_t length = 0; length <= 160; ++length) {
        const std::u16string text = AlphabetText(length, length);
        SmsMessage back = SendAndRead(u"+4930123456", text, u"", false, false);
        ASSERT_TRUE(back.pduRecord) << length;
        EXPECT_EQ(back.text, text) << length;
        EXPECT_EQ(back.number, u"+4930123456");
        EXPECT_EQ(back.pduRecord->udl, length);
    }
}

TEST(RoundTrip, EveryCharacterOfTheAlphabetAlone) {
    for (int septet = 0; septet < 128; ++septet) {
        const std::u16string text(1, static_cast<char16_t>(kGsmAlphabet[septet]));
        SmsMessage back = SendAndRead(u"0301234567", text, u"", false, false);
        EXPECT_EQ(back.text, text) << septet;
        ASSERT_TRUE(back.pduRecord);
        EXPECT_EQ(back.pduRecord->userData[0], septet);
    }
}

TEST(RoundTrip, WholeAlphabetWithEveryOption) {
    const std::u16string text = AlphabetText(128);
    SmsMessage back = SendAndRead(u"+491701234567", text, u"+491234567890", true, true);
    ASSERT_TRUE(back.pduRecord);
    EXPECT_EQ(back.text, text);
    EXPECT_EQ(back.number, u"+491701234567");
    EXPECT_STREQ(back.pduRecord->scaDigits, "491234567890");
    EXPECT_EQ(back.pduRecord->scaType, 0x91);
    EXPECT_EQ(back.pduRecord->firstOctet, 0x21);
    EXPECT_EQ(back.pduRecord->dcs, 0xF0);
}

TEST(RoundTrip, NumbersOfEveryLength) {
    for (std::size_t digits = 1; digits <= 20; ++digits) {
        std::u16string number;
        for (std::size_t k = 0; k < digits; ++k) {
            number.push_back(static_cast<char16_t>(u'0' + (k * 7 + 3) % 10));
        }
        SmsMessage back = SendAndRead(number, u"x", u"", false, false);
        EXPECT_EQ(back.number, number) << digits;
        SmsMessage intl = SendAndRead(u"+" + number, u"x", u"", false, false);
        EXPECT_EQ(intl.number, u"+" + number) << digits;
    }
}

TEST(RoundTrip, DeliverWithStampAndHeader) {
    // A tool-built SMS-DELIVER: header, text, stamp; decoding must give all of it back.
    auto r = NewRecord();
    r->firstOctet = 0x44;
    r->addressType = 0x91;
    std::strcpy(r->addressDigits, "4930123456");
    r->timeStamp = {2024, 2, 29, 23, 59, 58, 120};
    const std::uint8_t header[] = {0x00, 0x03, 0x11, 0x02, 0x01};
    std::memcpy(r->header, header, 5);
    r->headerLength = 5;
    const std::u16string text = AlphabetText(153);
    std::size_t count = 0;
    std::uint8_t septets[161];
    TextToSeptets(text.data(), text.size(), septets, &count);
    std::memcpy(r->userData, septets, count);
    r->userDataLength = static_cast<std::uint32_t>(count);
    ASSERT_EQ(EncodePdu(r.get()), kErrNone);
    EXPECT_EQ(r->udl, 160u);

    SmsMessage back;
    back.pduRecord = NewRecord();
    const std::vector<std::uint8_t> bytes(r->encoded, r->encoded + r->encodedLength);
    ASSERT_EQ(DecodeExact(back.pduRecord.get(), bytes, r->tpduLength), kErrNone);
    ApplyPduRecord(&back);
    EXPECT_EQ(back.text, text);
    EXPECT_EQ(back.pduRecord->headerLength, 5u);
    EXPECT_EQ(std::memcmp(back.pduRecord->header, header, 5), 0);
    EXPECT_EQ(back.pduRecord->timeStamp.year, 2024);
    EXPECT_EQ(back.pduRecord->timeStamp.month, 2);
    EXPECT_EQ(back.pduRecord->timeStamp.day, 29);
    EXPECT_EQ(back.pduRecord->timeStamp.hour, 23);
    EXPECT_EQ(back.pduRecord->timeStamp.minute, 59);
    EXPECT_EQ(back.pduRecord->timeStamp.second, 58);
    EXPECT_EQ(back.pduRecord->timeStamp.zone, 120);
    SystemTime st;
    ASSERT_TRUE(FileTimeToSystemTime(back.time, &st));
    EXPECT_EQ(st.year, 2024);
    EXPECT_EQ(st.month, 2);
    EXPECT_EQ(st.day, 29);
    EXPECT_EQ(st.second, 58);
}

TEST(RoundTrip, EightBitDeliver) {
    auto r = NewRecord();
    r->firstOctet = 0x00;
    r->addressType = 0x81;
    std::strcpy(r->addressDigits, "112");
    r->dcs = 0x04;
    r->timeStamp = {2010, 1, 1, 0, 0, 0, 0};
    for (int k = 0; k < 140; ++k) r->userData[k] = static_cast<std::uint8_t>(k * 3);
    r->userDataLength = 140;
    ASSERT_EQ(EncodePdu(r.get()), kErrNone);
    SmsMessage back;
    back.pduRecord = NewRecord();
    const std::vector<std::uint8_t> bytes(r->encoded, r->encoded + r->encodedLength);
    ASSERT_EQ(DecodeExact(back.pduRecord.get(), bytes, r->tpduLength), kErrNone);
    ApplyPduRecord(&back);
    ASSERT_EQ(back.text.size(), 140u);
    for (int k = 0; k < 140; ++k) {
        const auto octet = static_cast<std::uint8_t>(k * 3);
        const char16_t expected = octet < 0x80 ? octet : static_cast<char16_t>(0xFF00 | octet);
        EXPECT_EQ(back.text[k], expected) << k;
    }
    EXPECT_EQ(back.number, u"112");
}
