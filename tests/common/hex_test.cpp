// SPDX-License-Identifier: GPL-3.0-or-later
// The one hex routine of the program: the strict digit test that tells hex text from other text,
// and upper-case output with its terminator.
#include "common/hex.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(Hex, OnlyDigitsAndTheLettersAToFInEitherCaseAreHexDigits) {
    const std::string digits = "0123456789ABCDEFabcdef";
    for (int c = 0; c < 256; ++c) {
        const bool expected = digits.find(static_cast<char>(c)) != std::string::npos && c != 0;
        EXPECT_EQ(IsHexDigit(static_cast<std::uint8_t>(c)), expected) << "byte " << c;
    }
    EXPECT_EQ(HexDigitValue('0'), 0);
    EXPECT_EQ(HexDigitValue('9'), 9);
    EXPECT_EQ(HexDigitValue('A'), 10);
    EXPECT_EQ(HexDigitValue('f'), 15);
    EXPECT_EQ(HexDigitValue('G'), -1);
    EXPECT_EQ(HexDigitValue(0x1A), -1);
}

TEST(Hex, BytesToHexIsUpperCaseHighNibbleFirstWithTerminator) {
    const std::uint8_t bytes[] = {0x00, 0xAB, 0x7F, 0x1A};
    char out[9];
    std::memset(out, '#', sizeof out);
    BytesToHex(bytes, 4, out);
    EXPECT_STREQ(out, "00AB7F1A");
    BytesToHex(bytes, 0, out);
    EXPECT_STREQ(out, "");
}

TEST(Hex, WhatBytesToHexWritesHexToBytesReadsBack) {
    std::uint8_t bytes[256];
    for (int i = 0; i < 256; ++i) bytes[i] = static_cast<std::uint8_t>(i);
    char text[2 * 256 + 1];
    BytesToHex(bytes, 256, text);
    std::uint8_t back[256] = {};
    ASSERT_EQ(HexToBytes(text, 512, back), kErrNone);
    EXPECT_EQ(std::memcmp(bytes, back, 256), 0);
}

}  // namespace
