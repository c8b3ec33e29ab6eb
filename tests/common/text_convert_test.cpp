// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/text_convert.h"

#include <gtest/gtest.h>

TEST(TextConvert, RoundTripsBmpAndSupplementaryCharacters) {
    const std::u16string text = u"Hello \u00E7\u20AC \U0001F600 \uFFA3";
    EXPECT_EQ(Utf8ToUtf16(Utf16ToUtf8(text)), text);
    EXPECT_EQ(Utf16ToUtf8(u"\u20AC"), "\xE2\x82\xAC");
}

TEST(TextConvert, BadInputBecomesReplacementCharacters) {
    EXPECT_EQ(Utf16ToUtf8(std::u16string(1, char16_t(0xD800))), "\xEF\xBF\xBD");
    EXPECT_EQ(Utf8ToUtf16("a\xFF"
                          "b"),
              u"a\uFFFDb");
    EXPECT_EQ(Utf8ToUtf16("\xC0\x80"), u"\uFFFD\uFFFD");            // overlong NUL
    EXPECT_EQ(Utf8ToUtf16("\xE2\x82"), u"\uFFFD\uFFFD");            // truncated sequence
    EXPECT_EQ(Utf8ToUtf16("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");  // encoded surrogate
}
