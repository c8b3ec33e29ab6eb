// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/gsm_alphabet.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "pdu_test_util.h"

using pdutest::Hex;
using pdutest::Octets;

namespace {

std::vector<std::uint8_t> Septets(const std::u16string& text) {
    std::vector<std::uint8_t> out(text.size() + 1, 0xEE);
    std::size_t count = 99;
    TextToSeptets(text.data(), text.size(), out.data(), &count);
    EXPECT_EQ(count, text.size());
    EXPECT_EQ(out[text.size()], 0) << "terminating 0";
    out.resize(text.size());
    return out;
}

std::u16string Text(const std::vector<std::uint8_t>& septets) {
    std::u16string out(septets.size() + 1, u'x');
    std::size_t count = 99;
    SeptetsToText(septets.data(), septets.size(), out.data(), &count);
    EXPECT_EQ(count, septets.size());
    EXPECT_EQ(out[septets.size()], 0) << "terminating 0";
    out.resize(septets.size());
    return out;
}

std::string Packed(const std::vector<std::uint8_t>& septets) {
    std::uint8_t out[200];
    std::memset(out, 0xEE, sizeof out);
    std::size_t index = 0;
    PackSeptets(septets.data(), septets.size(), out, &index);
    EXPECT_EQ(out[index], 0xEE) << "nothing written behind the packed octets";
    return Hex(out, index);
}

}  // namespace

// --- The table ---

TEST(GsmAlphabet, FixedRowsOfTheTable) {
    EXPECT_EQ(kGsmAlphabet[0x09], 0x00E7);  // small c with cedilla, not the capital
    EXPECT_EQ(kGsmAlphabet[0x1B], 0x00A0);  // the escape code shows as a no-break space
}

TEST(GsmAlphabet, StandardRowsOfTheTable) {
    EXPECT_EQ(kGsmAlphabet[0x00], u'@');
    EXPECT_EQ(kGsmAlphabet[0x01], 0x00A3);
    EXPECT_EQ(kGsmAlphabet[0x02], u'$');
    EXPECT_EQ(kGsmAlphabet[0x03], 0x00A5);
    EXPECT_EQ(kGsmAlphabet[0x0A], u'\n');
    EXPECT_EQ(kGsmAlphabet[0x0D], u'\r');
    const char16_t greek[] = {0x0394, u'_',   0x03A6, 0x0393, 0x039B, 0x03A9,
                              0x03A0, 0x03A8, 0x03A3, 0x0398, 0x039E};
    for (int k = 0; k < 11; ++k) EXPECT_EQ(kGsmAlphabet[0x10 + k], greek[k]) << k;
    EXPECT_EQ(kGsmAlphabet[0x24], 0x00A4);
    EXPECT_EQ(kGsmAlphabet[0x40], 0x00A1);
    EXPECT_EQ(kGsmAlphabet[0x5B], 0x00C4);
    EXPECT_EQ(kGsmAlphabet[0x5C], 0x00D6);
    EXPECT_EQ(kGsmAlphabet[0x5D], 0x00D1);
    EXPECT_EQ(kGsmAlphabet[0x5E], 0x00DC);
    EXPECT_EQ(kGsmAlphabet[0x5F], 0x00A7);
    EXPECT_EQ(kGsmAlphabet[0x60], 0x00BF);
    EXPECT_EQ(kGsmAlphabet[0x7B], 0x00E4);
    EXPECT_EQ(kGsmAlphabet[0x7C], 0x00F6);
    EXPECT_EQ(kGsmAlphabet[0x7D], 0x00F1);
    EXPECT_EQ(kGsmAlphabet[0x7E], 0x00FC);
    EXPECT_EQ(kGsmAlphabet[0x7F], 0x00E0);
    for (char16_t c = u'A'; c <= u'Z'; ++c) EXPECT_EQ(kGsmAlphabet[c], c);
    for (char16_t c = u'a'; c <= u'z'; ++c) EXPECT_EQ(kGsmAlphabet[c], c);
    for (char16_t c = u'0'; c <= u'9'; ++c) EXPECT_EQ(kGsmAlphabet[c], c);
}

TEST(GsmAlphabet, EveryRowIsADistinctCharacter) {
    std::set<std::uint16_t> seen(kGsmAlphabet, kGsmAlphabet + 128);
    EXPECT_EQ(seen.size(), 128u);
}

// --- Text to septets and back ---

TEST(GsmAlphabet, EuroBecomesUnknownSeptetAndReadsAsSection) {
    const auto septets = Septets(u"\u20ACuro");
    EXPECT_EQ(Hex(septets), "5F75726F");
    EXPECT_EQ(Text(septets), u"\u00A7uro");
}

TEST(GsmAlphabet, EscapeSeptetDecodesToNoBreakSpace) {
    EXPECT_EQ(Text({0x1B}), u"\u00A0");
    // No extension table: an escape sequence is the blank and the plain character.
    EXPECT_EQ(Text({0x1B, 0x65}), u"\u00A0e");
}

TEST(GsmAlphabet, SeptetsToTextDropsTheTopBit) {
    EXPECT_EQ(Text({0x80, 0xC1, 0xFF}), u"@A\u00E0");
}

TEST(GsmAlphabet, TextToSeptetsFirstMatchesAndControlCharacters) {
    EXPECT_EQ(Hex(Septets(u"@\n\r\u00A0_")), "000A0D1B11");
}

// Every UTF-16 code unit gets the septet of the first table row holding it, or 0x5F.
TEST(GsmAlphabet, TextToSeptetsAgreesWithTheTableForEveryCodeUnit) {
    for (std::uint32_t c = 0; c <= 0xFFFF; ++c) {
        std::uint8_t expected = 0x5F;
        for (std::uint8_t k = 0; k < 128; ++k) {
            if (kGsmAlphabet[k] == c) {
                expected = k;
                break;
            }
        }
        const char16_t text[1] = {static_cast<char16_t>(c)};
        std::uint8_t out[2] = {0xEE, 0xEE};
        std::size_t count = 0;
        TextToSeptets(text, 1, out, &count);
        ASSERT_EQ(count, 1u);
        ASSERT_EQ(out[0], expected) << "code unit " << c;
        ASSERT_EQ(out[1], 0) << "terminator";
    }
}

TEST(GsmAlphabet, CharactersOutsideTheTableBecome5F) {
    const std::u16string outside = u"\u00C7{}[]\\^~|\u20AC\u0000\u4E2D";
    const auto septets = Septets(outside);
    ASSERT_EQ(septets.size(), outside.size());
    for (std::size_t k = 0; k < septets.size(); ++k) EXPECT_EQ(septets[k], 0x5F) << k;
}

TEST(GsmAlphabet, EmptyText) {
    EXPECT_TRUE(Septets(u"").empty());
    EXPECT_TRUE(Text({}).empty());
}

// --- Packing ---

TEST(GsmAlphabet, EightSeptetsPackIntoSevenOctets) {
    EXPECT_EQ(Packed({0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F}), "FFFFFFFFFFFFFF");
    EXPECT_EQ(Packed({1, 2, 3, 4, 5, 6, 7, 8}), "01C18050301C10");
}

TEST(GsmAlphabet, OneSeptetPacksIntoOneOctet) {
    EXPECT_EQ(Packed({0x41}), "41");
}

TEST(GsmAlphabet, HundredSixtySeptetsPackIntoHundredFortyOctets) {
    std::vector<std::uint8_t> septets(160, 0x55);
    EXPECT_EQ(Packed(septets).size(), 2u * 140);
}

TEST(GsmAlphabet, HelloPacksAsInEveryPhone) {
    EXPECT_EQ(Packed(Septets(u"Hello")), "C8329BFD06");
}

TEST(GsmAlphabet, PackAppendsAtTheRunningIndex) {
    std::uint8_t out[8] = {0xAA, 0xBB, 0, 0, 0, 0, 0, 0};
    std::size_t index = 2;
    const std::uint8_t septets[] = {0x48, 0x69};
    PackSeptets(septets, 2, out, &index);
    EXPECT_EQ(index, 4u);
    EXPECT_EQ(Hex(out, 4), "AABBC834");
}

TEST(GsmAlphabet, UnpackStopsExactlyAtTheCount) {
    const auto packed = Octets("C8329BFD06");
    std::uint8_t out[8];
    std::memset(out, 0xEE, sizeof out);
    UnpackSeptets(packed.data(), 5, out);
    EXPECT_EQ(Hex(out, 6), "48656C6C6FEE");
}

TEST(GsmAlphabet, UnpackOfAFullGroupGivesTheEighthSeptet) {
    const auto packed = Octets("01C18050301C10");
    std::uint8_t out[8];
    UnpackSeptets(packed.data(), 8, out);
    EXPECT_EQ(Hex(out, 8), "0102030405060708");
}

TEST(GsmAlphabet, PackThenUnpackForEveryCount) {
    for (std::size_t n = 0; n <= 160; ++n) {
        std::vector<std::uint8_t> septets(n);
        for (std::size_t k = 0; k < n; ++k) {
            septets[k] = static_cast<std::uint8_t>((k * 37 + n) & 0x7F);
        }
        std::vector<std::uint8_t> packed(140, 0);
        std::size_t index = 0;
        PackSeptets(septets.data(), n, packed.data(), &index);
        ASSERT_EQ(index, static_cast<std::size_t>(OctetsForSeptets(static_cast<int>(n)))) << n;
        std::vector<std::uint8_t> back(n + 1, 0xEE);
        UnpackSeptets(packed.data(), n, back.data());
        EXPECT_EQ(back[n], 0xEE) << n;
        back.resize(n);
        EXPECT_EQ(back, septets) << n;
    }
}

TEST(GsmAlphabet, OctetAndSeptetCounts) {
    EXPECT_EQ(OctetsForSeptets(0), 0);
    EXPECT_EQ(OctetsForSeptets(1), 1);
    EXPECT_EQ(OctetsForSeptets(8), 7);
    EXPECT_EQ(OctetsForSeptets(9), 8);
    EXPECT_EQ(OctetsForSeptets(160), 140);
    EXPECT_EQ(SeptetsForOctets(0), 0);
    EXPECT_EQ(SeptetsForOctets(1), 2);
    EXPECT_EQ(SeptetsForOctets(6), 7);
    EXPECT_EQ(SeptetsForOctets(7), 8);
    EXPECT_EQ(SeptetsForOctets(140), 160);
}

// --- Addresses ---

TEST(GsmAlphabet, OddDigitCountEncodesWithFiller) {
    std::uint8_t out[8] = {};
    std::size_t index = 0;
    ASSERT_EQ(EncodeAddressDigits(out, &index, 0x81, "12345"), kErrNone);
    EXPECT_EQ(index, 4u);
    EXPECT_EQ(Hex(out, index), "812143F5");
}

TEST(GsmAlphabet, TypeByteGetsBitSevenForced) {
    std::uint8_t out[4] = {};
    std::size_t index = 1;
    ASSERT_EQ(EncodeAddressDigits(out, &index, 0x11, "12"), kErrNone);
    EXPECT_EQ(index, 3u);
    EXPECT_EQ(Hex(out + 1, 2), "9121");
}

TEST(GsmAlphabet, FillerIsCutWhenDecoding) {
    const auto in = Octets("812143F5");
    char out[21];
    std::uint8_t type = 0;
    ASSERT_EQ(DecodeAddressDigits(in.data(), in.size(), out, sizeof out, &type), kErrNone);
    EXPECT_STREQ(out, "12345");
    EXPECT_EQ(type, 0x81);
}

TEST(GsmAlphabet, EvenDigitCountDecodesCompletely) {
    const auto in = Octets("91940321436500");
    char out[21];
    std::uint8_t type = 0;
    ASSERT_EQ(DecodeAddressDigits(in.data(), in.size(), out, sizeof out, &type), kErrNone);
    EXPECT_STREQ(out, "493012345600");
}

TEST(GsmAlphabet, NumbersWithHashOrPauseAreRefused) {
    std::uint8_t out[16] = {};
    std::size_t index = 0;
    EXPECT_EQ(EncodeAddressDigits(out, &index, 0x81, "12#4"), kErrInvalidParameter);
    EXPECT_EQ(EncodeAddressDigits(out, &index, 0x81, "12p4"), kErrInvalidParameter);
    EXPECT_EQ(EncodeAddressDigits(out, &index, 0x81, "+124"), kErrInvalidParameter);
    EXPECT_EQ(EncodeAddressDigits(out, &index, 0x81, "*31"), kErrInvalidParameter);
    EXPECT_EQ(index, 0u) << "a refused number advances nothing";
}

TEST(GsmAlphabet, AlphanumericAndAbbreviatedTypesAreRefused) {
    char out[21];
    std::uint8_t type = 0;
    for (std::uint8_t t : {0xD0, 0xE1, 0xF1}) {
        const std::uint8_t in[] = {t, 0x21};
        EXPECT_EQ(DecodeAddressDigits(in, 2, out, sizeof out, &type), kErrInvalidParameter)
            << int(t);
    }
    const std::uint8_t national[] = {0xA1, 0x21};
    EXPECT_EQ(DecodeAddressDigits(national, 2, out, sizeof out, &type), kErrNone);
}

TEST(GsmAlphabet, NibblesAboveNineBecomePunctuation) {
    // A-E in the middle stay as ":" to ">"; only a last character of ":" or above is cut.
    const std::uint8_t in[] = {0x81, 0xBA, 0xDC, 0x1E};
    char out[21];
    std::uint8_t type = 0;
    ASSERT_EQ(DecodeAddressDigits(in, sizeof in, out, sizeof out, &type), kErrNone);
    EXPECT_STREQ(out, ":;<=>1");
    const std::uint8_t lastHigh[] = {0x81, 0xE1};
    ASSERT_EQ(DecodeAddressDigits(lastHigh, sizeof lastHigh, out, sizeof out, &type), kErrNone);
    EXPECT_STREQ(out, "1") << "a last \">\" is cut like the filler";
}

TEST(GsmAlphabet, DecodedDigitsMustFitTheOutput) {
    // Six digits and the terminating 0 need seven bytes.
    const auto in = Octets("81 21 43 65");
    char out[7];
    std::memset(out, 'x', sizeof out);
    std::uint8_t type = 0;
    EXPECT_EQ(DecodeAddressDigits(in.data(), in.size(), out, 6, &type), kErrInvalidParameter);
    EXPECT_EQ(out[0], 'x') << "nothing written when refused";
    EXPECT_EQ(DecodeAddressDigits(in.data(), in.size(), out, 7, &type), kErrNone);
    EXPECT_STREQ(out, "123456");
    EXPECT_EQ(DecodeAddressDigits(in.data(), 0, out, sizeof out, &type), kErrInvalidParameter);
}

// --- Swapped BCD ---

TEST(GsmAlphabet, SwappedBcd) {
    EXPECT_EQ(ToSwappedBcd(3), 0x30);
    EXPECT_EQ(ToSwappedBcd(15), 0x51);
    EXPECT_EQ(ToSwappedBcd(99), 0x99);
    EXPECT_EQ(FromSwappedBcd(0x30), 3u);
    EXPECT_EQ(FromSwappedBcd(0x51), 15u);
    for (unsigned v = 0; v < 100; ++v) EXPECT_EQ(FromSwappedBcd(ToSwappedBcd(v)), v);
}

TEST(GsmAlphabet, TimeFieldWithInvalidNibbleReadsAsZero) {
    EXPECT_EQ(FromSwappedBcd(0x9A), 0u);  // low nibble A
    EXPECT_EQ(FromSwappedBcd(0xA9), 0u);  // high nibble A
    EXPECT_EQ(FromSwappedBcd(0xFF), 0u);
}

// --- Hex ---

TEST(GsmAlphabet, BytesToHexIsUpperCaseAndTerminated) {
    const std::uint8_t bytes[] = {0x00, 0x0A, 0xBC, 0xFF};
    char out[9];
    std::memset(out, 'x', sizeof out);
    BytesToHex(bytes, 4, out);
    EXPECT_STREQ(out, "000ABCFF");
}

TEST(GsmAlphabet, HexOfOddLengthFails) {
    std::uint8_t out[2];
    EXPECT_EQ(HexToBytes("0A1", 3, out), kErrInvalidParameter);
}

TEST(GsmAlphabet, HexAcceptsLowerCase) {
    std::uint8_t out[2] = {};
    ASSERT_EQ(HexToBytes("0a1B", 4, out), kErrNone);
    EXPECT_EQ(out[0], 0x0A);
    EXPECT_EQ(out[1], 0x1B);
}

TEST(GsmAlphabet, HexPairWithMinusFails) {
    std::uint8_t out[2];
    EXPECT_EQ(HexToBytes("0-", 2, out), kErrInvalidParameter);
    EXPECT_EQ(HexToBytes("-0", 2, out), kErrInvalidParameter);
    EXPECT_EQ(HexToBytes("00 1", 4, out), kErrInvalidParameter);
}

TEST(GsmAlphabet, HexDigitReaderIsLooseAboutLetters) {
    std::uint8_t out[3] = {};
    // G is 16 and Z is 35: G1 gives (16 << 4 | 1) truncated, 0Z gives 35.
    ASSERT_EQ(HexToBytes("G10Zzz", 6, out), kErrNone);
    EXPECT_EQ(out[0], 0x01);
    EXPECT_EQ(out[1], 35);
    EXPECT_EQ(out[2], static_cast<std::uint8_t>(35 << 4 | 35));
}

TEST(GsmAlphabet, HexTextToBufferSizesTheBuffer) {
    std::vector<std::uint8_t> buffer(7, 0xEE);
    ASSERT_EQ(HexTextToBuffer("0004C8", &buffer), kErrNone);
    EXPECT_EQ(Hex(buffer), "0004C8");
    EXPECT_EQ(HexTextToBuffer("", &buffer), kErrNone);
    EXPECT_TRUE(buffer.empty());
    EXPECT_EQ(HexTextToBuffer("000", &buffer), kErrInvalidParameter);
    EXPECT_EQ(HexTextToBuffer(nullptr, &buffer), kErrInvalidParameter);
}
