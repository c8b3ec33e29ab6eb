// SPDX-License-Identifier: GPL-3.0-or-later
// Unicode and long messages in the codec: UCS2, the GSM extension table, 8-bit as ISO-8859-1,
// concatenation headers, the text measure and the part encoder. The SMS-DELIVER vectors were
// produced by gammu's encoder (python3-gammu, EncodePDU/EncodeSMS), an implementation
// independent of this one; tests/pdu/gammu_check.py checks the same both ways at test time.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "pdu/concatenation.h"
#include "pdu/deliver.h"
#include "pdu/gsm_extension.h"
#include "pdu/submit.h"
#include "pdu/submit_check.h"
#include "pdu/submit_parts.h"
#include "pdu/text_measure.h"
#include "pdu_test_util.h"

namespace {

using pdutest::Hex;
using pdutest::Octets;

constexpr CodecOptions kOff{};
constexpr CodecOptions kUnicode{true, false};
constexpr CodecOptions kLong{false, true};
constexpr CodecOptions kBoth{true, true};

// gammu: SMS-DELIVER from +4930123456 through +491710760000, 2024-05-06 07:08:09.
const char* kCyrillic =
    "0791947101670000000A91940321436500084250607080900018041F04400438043204350442002C0020043C0438"
    "04400021";
const char* kChinese = "0791947101670000000A9194032143650008425060708090000A4F60597DFF0C4E16754C";
const char* kEmoji =
    "0791947101670000000A91940321436500084250607080900014004800690020D83DDE00D83DDC4DD83CDFFD0021";
const char* kExtension =
    "0791947101670000000A919403214365000042506070809000141BC586B2416D529BD786B7E96D7C1BE0A60C";
const char* kEightBit = "0791947101670000000A91940321436500044250607080900006436166E920A9";
// "Привет " * 10 + an emoji, in two UCS2 parts with the 8-bit reference 208.
const char* kUcs2Part1 =
    "0791947101670000400A9194032143650008425060708090008C050003D00201041F044004380432043504420020"
    "041F044004380432043504420020041F044004380432043504420020041F044004380432043504420020041F0440"
    "04380432043504420020041F044004380432043504420020041F044004380432043504420020041F044004380432"
    "043504420020041F044004380432043504420020041F044004380432";
const char* kUcs2Part2 =
    "0791947101670000400A91940321436500084250607080900010050003D00202043504420020D83DDE00";
// "Unicode and long: " + "x€y" * 60 in 7-bit, two parts with the 16-bit reference 1737.
const char* kSevenBitWidePart2 =
    "0791947101670000400A9194032143650000425060708090007306080406C902029B721EBF29E7F19B721EBF29E7"
    "F19B721EBF29E7F19B721EBF29E7F19B721EBF29E7F19B721EBF29E7F19B721EBF29E7F19B721EBF29E7F19B721E"
    "BF29E7F19B721EBF29E7F19B721EBF29E7F19B721EBF29E7F19B721EBF29E7F19B721E";

struct Decoded {
    TransferError result;
    std::u16string text;
    std::uint8_t dcs;
    bool concatenated;
    ConcatenationInfo concat;
};

Decoded Decode(const char* hex, const CodecOptions& options) {
    const std::vector<std::uint8_t> bytes = Octets(hex);
    SmsMessage message;
    message.pduRecord.reset(NewPduRecord());
    Decoded d{};
    // As a phone lists it: the TPDU follows the service-centre part.
    d.result =
        DecodePdu(message.pduRecord.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                  static_cast<std::uint32_t>(bytes.size() - 1 - bytes[0]), options);
    if (d.result != kErrNone) return d;
    ApplyPduRecord(&message);
    d.text = message.text;
    d.dcs = message.pduRecord->dcs;
    d.concatenated = ReadConcatenation(message.pduRecord.get(), &d.concat);
    return d;
}

std::u16string Repeat(const std::u16string& s, int n) {
    std::u16string out;
    for (int k = 0; k < n; ++k) out += s;
    return out;
}

}  // namespace

// ---- decoding ----

TEST(UnicodeDecode, Ucs2CyrillicChineseAndEmojiReadAsTheyWereWritten) {
    EXPECT_EQ(Decode(kCyrillic, kUnicode).text, u"Привет, мир!");
    EXPECT_EQ(Decode(kChinese, kUnicode).text, u"你好，世界");
    const Decoded emoji = Decode(kEmoji, kUnicode);
    EXPECT_EQ(emoji.text, u"Hi 😀👍🏽!");
    EXPECT_EQ(emoji.text.size(), 10u);  // three surrogate pairs kept whole
    EXPECT_FALSE(emoji.concatenated);
}

TEST(UnicodeDecode, EveryExtensionCharacterReadsThroughTheTable) {
    EXPECT_EQ(Decode(kExtension, kUnicode).text, u"\f^{}\\[~]|€");
}

TEST(UnicodeDecode, EightBitReadsAsLatin1) {
    EXPECT_EQ(Decode(kEightBit, kUnicode).text, u"Café ©");
}

TEST(UnicodeDecode, WithTheOptionsOffTheTextsAreTheCodecsOriginalOnes) {
    // UCS2 undecoded: one "@" per octet of the length; the escape code a no-break space; 8-bit
    // by sign extension.
    EXPECT_EQ(Decode(kCyrillic, kOff).text, std::u16string(0x18, u'@'));
    EXPECT_EQ(Decode(kExtension, kOff).text,
              u"\u00A0\n\u00A0\u039B\u00A0(\u00A0)\u00A0/\u00A0<\u00A0=\u00A0>\u00A0\u00A1"
              u"\u00A0e");
    EXPECT_EQ(Decode(kEightBit, kOff).text, u"Caf\uFFE9 \uFFA9");
    // The UCS2 part with a header keeps no text, as before.
    EXPECT_EQ(Decode(kUcs2Part2, kOff).text, u"");
    EXPECT_EQ(Decode(kUcs2Part2, kLong).text, u"");  // longSms alone changes no reading
}

TEST(UnicodeDecode, Ucs2PartsSkipTheirHeaderAndNameTheirPlace) {
    const Decoded first = Decode(kUcs2Part1, kUnicode);
    ASSERT_EQ(first.result, kErrNone);
    ASSERT_TRUE(first.concatenated);
    EXPECT_EQ(first.concat.reference, 208);
    EXPECT_EQ(first.concat.total, 2);
    EXPECT_EQ(first.concat.sequence, 1);
    EXPECT_FALSE(first.concat.wideReference);
    const Decoded second = Decode(kUcs2Part2, kUnicode);
    ASSERT_TRUE(second.concatenated);
    EXPECT_EQ(second.concat.sequence, 2);
    EXPECT_EQ(first.text + second.text, Repeat(u"Привет ", 10) + u"😀");
    EXPECT_EQ(first.text.size(), 67u);
}

TEST(UnicodeDecode, SevenBitPartWithSixteenBitReferenceSkipsHeaderAndFillBits) {
    const Decoded part = Decode(kSevenBitWidePart2, kUnicode);
    ASSERT_EQ(part.result, kErrNone);
    ASSERT_TRUE(part.concatenated);
    EXPECT_TRUE(part.concat.wideReference);
    EXPECT_EQ(part.concat.reference, 1737);
    EXPECT_EQ(part.concat.total, 2);
    EXPECT_EQ(part.concat.sequence, 2);
    ASSERT_FALSE(part.text.empty());
    // The text is the tail of "x€y" * 60: it ends with "x€y" and holds nothing else.
    EXPECT_EQ(part.text.substr(part.text.size() - 3), u"x€y");
    for (char16_t c : part.text) EXPECT_TRUE(c == u'x' || c == u'€' || c == u'y') << int(c);
}

TEST(UnicodeDecode, UnknownAndDanglingEscapesFailSoft) {
    const std::uint8_t septets[] = {0x1B, 0x41, 'b', 0x1B};  // 0x1B 'A' is not in the table
    char16_t out[5];
    std::size_t count = 0;
    SeptetsToTextExtended(septets, 4, out, &count);
    EXPECT_EQ(std::u16string(out, count), u"Ab ");
}

// ---- concatenation headers that cannot be trusted ----

TEST(Concatenation, MalformedHeadersAreNotConcatenation) {
    auto record = pdutest::NewRecord();
    ConcatenationInfo info;
    record->firstOctet = 0x40;
    const auto with = [&](std::vector<std::uint8_t> header) {
        std::memcpy(record->header, header.data(), header.size());
        record->headerLength = static_cast<std::uint32_t>(header.size());
        return ReadConcatenation(record.get(), &info);
    };
    EXPECT_TRUE(with({0x00, 0x03, 0x07, 0x03, 0x02}));
    EXPECT_EQ(info.reference, 7);
    EXPECT_FALSE(with({0x00, 0x03, 0x07, 0x03, 0x00}));        // sequence 0
    EXPECT_FALSE(with({0x00, 0x03, 0x07, 0x03, 0x04}));        // sequence beyond the total
    EXPECT_FALSE(with({0x00, 0x03, 0x07, 0x00, 0x00}));        // total 0
    EXPECT_FALSE(with({0x00, 0x03, 0x07, 0x01, 0x01}));        // a "long" message of one part
    EXPECT_FALSE(with({0x00, 0x04, 0x07, 0x03, 0x01, 0x00}));  // wrong element length
    EXPECT_FALSE(with({0x00, 0x03, 0x07, 0x03}));              // element beyond the header
    EXPECT_FALSE(with({0x08, 0x03, 0x07, 0x03, 0x01}));        // 16-bit element too short
    EXPECT_FALSE(with({0x05, 0x04, 0x0B, 0x84, 0x23}));        // port element running over
    EXPECT_FALSE(with({0x24}));                                // a lone identifier
    // Another element first, then the concatenation.
    EXPECT_TRUE(with({0x24, 0x01, 0x01, 0x08, 0x04, 0x12, 0x34, 0x05, 0x05}));
    EXPECT_EQ(info.reference, 0x1234);
    EXPECT_EQ(info.sequence, 5);
    EXPECT_TRUE(info.wideReference);
    // Without TP-UDHI the header octets mean nothing.
    record->firstOctet = 0;
    EXPECT_FALSE(ReadConcatenation(record.get(), &info));
    EXPECT_EQ(info.total, 0);
    EXPECT_FALSE(ReadConcatenation(nullptr, &info));
}

TEST(UnicodeDecode, Ucs2WithAHeaderLongerThanItsDataFails) {
    // UDL 4 octets, but the header claims 5 of them.
    const auto bytes = Octets("00 40 04 91 1234 00 08 42506070809000 04 05 00 03 01 02");
    auto record = pdutest::NewRecord();
    EXPECT_EQ(DecodePdu(record.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                        static_cast<std::uint32_t>(bytes.size()), kUnicode),
              kErrInvalidParameter);
    // UDL beyond the octets present.
    const auto shortData = Octets("00 00 04 91 1234 00 08 42506070809000 06 0041 0042");
    EXPECT_EQ(
        DecodePdu(record.get(), shortData.data(), static_cast<std::uint32_t>(shortData.size()),
                  static_cast<std::uint32_t>(shortData.size()), kUnicode),
        kErrInvalidParameter);
}

// ---- the text measure ----

TEST(TextMeasure, WithTheOptionsOffEveryCharacterIsOneUnitOf160) {
    const TextMeasure m = MeasureText(u"€[x", kOff);
    EXPECT_EQ(m.encoding, TextEncoding::kGsm7Bit);
    EXPECT_EQ(m.units, 3u);
    EXPECT_EQ(m.limit, 160u);
    EXPECT_EQ(m.parts, 1u);
    EXPECT_TRUE(MeasureText(std::u16string(161, u'a'), kOff).tooLong);
    EXPECT_FALSE(MeasureText(std::u16string(160, u'a'), kOff).tooLong);
}

TEST(TextMeasure, ExtensionCharactersCountTwoAndOthersTurnTheTextToUcs2) {
    TextMeasure m = MeasureText(u"€[x", kUnicode);
    EXPECT_EQ(m.encoding, TextEncoding::kGsm7Bit);
    EXPECT_EQ(m.units, 5u);
    m = MeasureText(u"Hi Ω😀", kUnicode);  // Ω is in the GSM alphabet, the emoji is not
    EXPECT_EQ(m.encoding, TextEncoding::kUcs2);
    EXPECT_EQ(m.units, 6u);
    EXPECT_EQ(m.limit, 70u);
    // The no-break space and the capital C with cedilla have no septet of their own.
    EXPECT_EQ(MeasureText(u"a\u00A0b", kUnicode).encoding, TextEncoding::kUcs2);
    EXPECT_EQ(MeasureText(u"\u00C7", kUnicode).encoding, TextEncoding::kUcs2);
    EXPECT_TRUE(MeasureText(std::u16string(71, u'Ж'), kUnicode).tooLong);
    EXPECT_TRUE(MeasureText(Repeat(u"€", 81), kUnicode).tooLong);  // 162 septets
    EXPECT_FALSE(MeasureText(Repeat(u"€", 80), kUnicode).tooLong);
}

TEST(TextMeasure, LongTextsSplitWithoutCuttingPairs) {
    TextMeasure m = MeasureText(std::u16string(200, u'a'), kLong);
    EXPECT_EQ(m.parts, 2u);
    EXPECT_EQ(m.limit, 306u);
    EXPECT_EQ(m.partStart[1], 153u);
    EXPECT_FALSE(m.tooLong);
    // An escape pair that would straddle the 153rd septet goes whole to the next part.
    m = MeasureText(std::u16string(152, u'a') + u"€" + std::u16string(10, u'b'), kBoth);
    EXPECT_EQ(m.parts, 2u);
    EXPECT_EQ(m.partStart[1], 152u);
    // A surrogate pair at units 67-68 goes whole to the next part.
    m = MeasureText(std::u16string(66, u'Ж') + u"😀" + std::u16string(10, u'Ж'), kBoth);
    EXPECT_EQ(m.encoding, TextEncoding::kUcs2);
    EXPECT_EQ(m.parts, 2u);
    EXPECT_EQ(m.partStart[1], 66u);
    EXPECT_EQ(m.limit, 134u);
    // Ten parts at most.
    EXPECT_FALSE(MeasureText(std::u16string(1530, u'a'), kLong).tooLong);
    m = MeasureText(std::u16string(1531, u'a'), kLong);
    EXPECT_TRUE(m.tooLong);
    EXPECT_EQ(m.parts, 11u);
    EXPECT_FALSE(MeasureText(std::u16string(670, u'Ж'), kBoth).tooLong);
    EXPECT_TRUE(MeasureText(std::u16string(671, u'Ж'), kBoth).tooLong);
}

TEST(TextMeasure, TheFittingLengthCutsBeforeTheLimitAndNeverInsideAPair) {
    EXPECT_EQ(FittingLength(std::u16string(300, u'a'), kOff), 160u);
    EXPECT_EQ(FittingLength(std::u16string(50, u'a'), kOff), 50u);
    EXPECT_EQ(FittingLength(std::u16string(2000, u'a'), kLong), 1530u);
    EXPECT_EQ(FittingLength(std::u16string(100, u'Ж'), kUnicode), 70u);
    EXPECT_EQ(FittingLength(std::u16string(69, u'Ж') + u"😀", kUnicode), 69u);
    EXPECT_EQ(FittingLength(Repeat(u"€", 100), kUnicode), 80u);
}

// ---- encoding ----

TEST(UnicodeEncode, Ucs2TextGoesWithDcs08AndFlashWith18) {
    SmsMessage m;
    m.number = u"+4930123456";
    m.text = u"Привет мир 😀";
    ASSERT_EQ(PrepareSubmitPart(&m, kUnicode, 0, 0), 1);
    // Read back by gammu's DecodePDU as this very text, Unicode_No_Compression, no header.
    EXPECT_EQ(Hex(m.pdu),
              "0001000A91940321436500081A041F044004380432043504420020043C043804400020D83DDE00");
    m.flags = kFlagFlash;
    ASSERT_EQ(PrepareSubmitPart(&m, kUnicode, 0, 0), 1);
    EXPECT_EQ(m.pduRecord->dcs, 0x18);
}

TEST(UnicodeEncode, ExtensionCharactersGoAsEscapePairs) {
    SmsMessage m;
    m.number = u"+4930123456";
    m.text = u"\f^{}\\[~]|€";
    ASSERT_EQ(PrepareSubmitPart(&m, kUnicode, 0, 0), 1);
    EXPECT_EQ(m.pduRecord->dcs, 0x00);
    EXPECT_EQ(m.pduRecord->udl, 20u);
    // The same user data as gammu's SMS-DELIVER of this text.
    const std::string gammu = kExtension;
    EXPECT_EQ(Hex(m.pdu).substr(Hex(m.pdu).size() - 36), gammu.substr(gammu.size() - 36));
    // Without unicode the same text goes as today: each character one septet, unknown ones 0x5F.
    SmsMessage old;
    old.number = m.number;
    old.text = m.text;
    ASSERT_EQ(PrepareSubmit(&old), 1);
    EXPECT_EQ(old.pduRecord->udl, 10u);
}

TEST(UnicodeEncode, ALongTextGoesInPartsWithTheReferenceHeader) {
    SmsMessage m;
    m.number = u"+4930123456";
    m.text = Repeat(u"Привет ", 10) + u"😀";
    EXPECT_EQ(SubmitPartCount(m, kUnicode), 0u);  // too long for one
    ASSERT_EQ(SubmitPartCount(m, kBoth), 2u);
    std::vector<PartPdu> parts;
    ASSERT_EQ(EncodeSubmitParts(m, kBoth, 208, u"+491710760000", false, &parts), kErrNone);
    ASSERT_EQ(parts.size(), 2u);
    // The user data (header and text) equals gammu's parts of the same text, reference 208.
    const std::string first = kUcs2Part1;
    const std::string second = kUcs2Part2;
    const std::string ours1 = Hex(parts[0].pdu);
    const std::string ours2 = Hex(parts[1].pdu);
    EXPECT_EQ(ours1.substr(ours1.size() - 2 * 141), first.substr(first.size() - 2 * 141));
    EXPECT_EQ(ours2.substr(ours2.size() - 2 * 17), second.substr(second.size() - 2 * 17));
    EXPECT_EQ(ours1.substr(0, 20), "07919471016700004100");  // centre, UDHI with SUBMIT, MR 0
    EXPECT_EQ(parts[0].encodedLength, parts[0].pdu.size());
    EXPECT_EQ(parts[0].tpduLength, parts[0].pdu.size() - 8);
}

TEST(UnicodeEncode, EveryPartDecodesBackAndJoinsToTheText) {
    const std::u16string texts[] = {
        std::u16string(152, u'a') + Repeat(u"€", 100) + u"end",
        Repeat(u"Ж😀", 200),
        std::u16string(1530, u'z'),
    };
    for (const std::u16string& text : texts) {
        SmsMessage m;
        m.number = u"0301234567";
        m.text = text;
        std::vector<PartPdu> parts;
        ASSERT_EQ(EncodeSubmitParts(m, kBoth, 77, u"", true, &parts), kErrNone);
        std::u16string joined;
        for (std::size_t k = 0; k < parts.size(); ++k) {
            SmsMessage back;
            back.pdu = parts[k].pdu;
            ASSERT_EQ(DecodeStoredMessage(&back, kUnicode), 1);
            ConcatenationInfo info;
            ASSERT_TRUE(ReadConcatenation(back.pduRecord.get(), &info));
            EXPECT_EQ(info.reference, 77);
            EXPECT_EQ(info.total, parts.size());
            EXPECT_EQ(info.sequence, k + 1);
            EXPECT_EQ(back.pduRecord->firstOctet & 0x20, 0x20);  // status report asked
            joined += back.text;
        }
        EXPECT_EQ(joined, text);
    }
}

TEST(UnicodeEncode, TooLongAndBadPartsAreRefusedWith4) {
    SmsMessage m;
    m.number = u"+4930123456";
    m.text = std::u16string(1531, u'a');
    std::vector<PartPdu> parts;
    EXPECT_EQ(EncodeSubmitParts(m, kLong, 1, u"", false, &parts), kErrInvalidParameter);
    EXPECT_TRUE(parts.empty());
    m.text = std::u16string(200, u'a');
    EXPECT_EQ(PrepareSubmitPart(&m, kLong, 1, 2), 0);  // two parts: 0 and 1
    EXPECT_EQ(m.codecResult, kErrInvalidParameter);
    EXPECT_EQ(PrepareSubmitPart(&m, kUnicode, 1, 0), 0);  // more than one without longSms
    m.text = u"Hi";
    EXPECT_EQ(PrepareSubmitPart(&m, kOff, 1, 1), 0);
    m.number = u"+49#1";
    EXPECT_EQ(PrepareSubmitPart(&m, kBoth, 1, 0), 0);
    EXPECT_EQ(EncodeSubmitParts(m, kBoth, 1, u"", false, &parts), kErrInvalidParameter);
}

TEST(UnicodeEncode, WithTheOptionsOffAPartIsPrepareSubmitExactly) {
    for (const std::u16string& text :
         {std::u16string(u"Hello"), std::u16string(u"€uro [x]"), std::u16string(160, u'q')}) {
        SmsMessage a;
        a.number = u"+4930123456";
        a.text = text;
        a.flags = kFlagFlash;
        SmsMessage b;
        b.number = a.number;
        b.text = a.text;
        b.flags = a.flags;
        ASSERT_EQ(PrepareSubmit(&a), 1);
        ASSERT_EQ(PrepareSubmitPart(&b, kOff, 9, 0), 1);
        EXPECT_EQ(a.pdu, b.pdu);
        // longSms alone: one part with no header is the same PDU too.
        ASSERT_EQ(PrepareSubmitPart(&b, kLong, 9, 0), 1);
        EXPECT_EQ(a.pdu, b.pdu);
    }
    // A single part never carries a header, even with both options.
    SmsMessage m;
    m.number = u"+4930123456";
    m.text = u"Hello";
    ASSERT_EQ(PrepareSubmitPart(&m, kBoth, 9, 0), 1);
    EXPECT_EQ(Hex(m.pdu),
              "0001000A9194032143650000"
              "05C8329BFD06");
}

TEST(UnicodeEncode, EncodePduWritesUcs2OnlyForAUnicodeRecord) {
    auto r = pdutest::NewRecord();
    r->firstOctet = kMtiSubmit;
    r->addressType = 0x81;
    std::memcpy(r->addressDigits, "1", 2);
    r->dcs = 0x08;
    r->userData[0] = 0x04;
    r->userData[1] = 0x16;
    r->userDataLength = 2;
    ASSERT_EQ(EncodePdu(r.get()), kErrNone);
    EXPECT_EQ(pdutest::Encoded(*r), "0001000181F1000802");  // unchanged: the length, no UCS2
    r->unicode = 1;
    ASSERT_EQ(EncodePdu(r.get()), kErrNone);
    EXPECT_EQ(pdutest::Encoded(*r), "0001000181F10008020416");
    r->userDataLength = 141;
    EXPECT_EQ(EncodePdu(r.get()), kErrInvalidParameter);
}

// ---- the length check before storing or sending ----

TEST(SubmitCheckOptions, TheTextMustFitTheMessagesTheOptionsAllow) {
    std::string reason;
    EXPECT_EQ(ValidateMessageText(std::u16string(160, u'a'), kOff, &reason), kErrNone);
    EXPECT_EQ(ValidateMessageText(std::u16string(161, u'a'), kOff, &reason), kErrInvalidParameter);
    EXPECT_NE(reason.find("at most 160"), std::string::npos) << reason;
    EXPECT_EQ(ValidateMessageText(std::u16string(71, u'Ж'), kUnicode, &reason),
              kErrInvalidParameter);
    EXPECT_NE(reason.find("71 UCS2 characters"), std::string::npos) << reason;
    EXPECT_NE(reason.find("at most 70"), std::string::npos) << reason;
    EXPECT_EQ(ValidateMessageText(std::u16string(700, u'Ж'), kBoth, nullptr), kErrInvalidParameter);
    EXPECT_EQ(ValidateMessageText(std::u16string(670, u'Ж'), kBoth, nullptr), kErrNone);
    EXPECT_EQ(ValidateMessageText(std::u16string(1531, u'a'), kLong, &reason),
              kErrInvalidParameter);
    EXPECT_NE(reason.find("11 messages"), std::string::npos) << reason;
}
