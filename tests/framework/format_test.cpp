// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <string>

#include "framework/text_buffer.h"

namespace {

std::u16string Repeated(char16_t c, std::size_t n) {
    return std::u16string(n, c);
}

TEST(TextBufferFormat, OutputNeedingOneMoreThanTheLimitBecomesEmpty) {
    const std::u16string text = Repeated(u'x', 81);
    TextBuffer buffer(u"previous");
    buffer.Format(80, u"%s", text.c_str());
    EXPECT_TRUE(buffer.IsShared());
    EXPECT_EQ(buffer.Text(), TextBuffer::EmptyText());
}

TEST(TextBufferFormat, OutputOfExactlyTheLimitIsKeptAndTerminated) {
    const std::u16string text = Repeated(u'y', 80);
    TextBuffer buffer;
    buffer.Format(80, u"%s", text.c_str());
    EXPECT_EQ(buffer.Length(), 80u);
    EXPECT_EQ(buffer.ToU16(), text);
    EXPECT_EQ(buffer.Text()[80], u'\0');
}

TEST(TextBufferFormat, OverflowFromLiteralTextAfterTheArguments) {
    // 78 characters from the argument and three literal ones: 81 in all.
    const std::u16string text = Repeated(u'z', 78);
    TextBuffer buffer;
    buffer.Format(80, u"%s...", text.c_str());
    EXPECT_TRUE(buffer.IsShared());
    buffer.Format(80, u"%s..", text.c_str());
    EXPECT_EQ(buffer.Length(), 80u);
}

TEST(TextBufferFormat, ProgressTexts) {
    TextBuffer buffer;
    EXPECT_EQ(std::u16string(buffer.Format(80, u"Sending Message %d/%d", 2, 5)),
              u"Sending Message 2/5");
    EXPECT_EQ(std::u16string(buffer.Format(80, u"Received (%d)", 12)), u"Received (12)");
    EXPECT_EQ(std::u16string(buffer.Format(500, u"%s\n%s", u"Connected", u"'+4930': Hello")),
              u"Connected\n'+4930': Hello");
    EXPECT_EQ(std::u16string(buffer.Format(80, u"%lu/%lu", 160ul, 160ul)), u"160/160");
    EXPECT_EQ(std::u16string(buffer.Format(80, u"Operation Failed (%d)", 0)),
              u"Operation Failed (0)");
}

TEST(TextBufferFormat, ArgumentsMayPointIntoTheTarget) {
    TextBuffer buffer(u"Inbox");
    buffer.Format(80, u"[%s] %s", buffer.Text(), buffer.Text());
    EXPECT_EQ(buffer.ToU16(), u"[Inbox] Inbox");
}

TEST(TextBufferFormat, Integers) {
    TextBuffer b;
    EXPECT_EQ(std::u16string(b.Format(80, u"%d %i %d", -42, 7, 0)), u"-42 7 0");
    EXPECT_EQ(std::u16string(b.Format(80, u"%d", INT_MIN)), u"-2147483648");
    EXPECT_EQ(std::u16string(b.Format(80, u"%u", 4294967295u)), u"4294967295");
    EXPECT_EQ(std::u16string(b.Format(80, u"%ld", -1234567890123L)), u"-1234567890123");
    EXPECT_EQ(std::u16string(b.Format(80, u"%lu", 18446744073709551615ul)),
              u"18446744073709551615");
    EXPECT_EQ(std::u16string(b.Format(80, u"%lld", LLONG_MIN)), u"-9223372036854775808");
    EXPECT_EQ(std::u16string(b.Format(80, u"%zu", std::size_t{99})), u"99");
    EXPECT_EQ(std::u16string(b.Format(80, u"%x %X", 0xBEEFu, 0xBEEFu)), u"beef BEEF");
    EXPECT_EQ(std::u16string(b.Format(80, u"%#x %#X %#x", 255u, 255u, 0u)), u"0xff 0XFF 0");
    EXPECT_EQ(std::u16string(b.Format(80, u"%hd %hu", 70000, 70000)), u"4464 4464");
    EXPECT_EQ(std::u16string(b.Format(80, u"%+d % d", 5, 5)), u"+5  5");
}

TEST(TextBufferFormat, WidthPrecisionAndPadding) {
    TextBuffer b;
    EXPECT_EQ(std::u16string(b.Format(80, u"[%5d]", 42)), u"[   42]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%-5d]", 42)), u"[42   ]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%05d]", -42)), u"[-0042]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%02d:%02d]", 9, 5)), u"[09:05]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%.3d]", 7)), u"[007]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%6.3d]", 7)), u"[   007]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%06.3d]", 7)), u"[   007]");  // precision wins
    EXPECT_EQ(std::u16string(b.Format(80, u"[%.0d]", 0)), u"[]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%04X]", 0x1Au)), u"[001A]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%6s]", u"abc")), u"[   abc]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%-6s]", u"abc")), u"[abc   ]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%.2s]", u"abc")), u"[ab]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%4.1s]", u"abc")), u"[   a]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%*d]", 4, 1)), u"[   1]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%*d]", -4, 1)), u"[1   ]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%.*s]", 1, u"abc")), u"[a]");
    EXPECT_EQ(std::u16string(b.Format(80, u"[%.*s]", -1, u"abc")), u"[abc]");
}

TEST(TextBufferFormat, PrecisionNeverReadsBeyondIt) {
    const char16_t unterminated[3] = {u'a', u'b', u'c'};
    const char narrow[2] = {'x', 'y'};
    TextBuffer b;
    EXPECT_EQ(std::u16string(b.Format(80, u"%.3s|%.2hs", unterminated, narrow)), u"abc|xy");
}

TEST(TextBufferFormat, NarrowStringsAreWidenedWithSignExtension) {
    TextBuffer b;
    b.Format(80, u"%hs-%S",
             "\xA3"
             "1",
             "ok");
    const std::u16string expected = std::u16string{char16_t{0xFFA3}, u'1', u'-', u'o', u'k'};
    EXPECT_EQ(b.ToU16(), expected);
}

TEST(TextBufferFormat, Characters) {
    TextBuffer b;
    EXPECT_EQ(std::u16string(b.Format(80, u"%c%c", u'O', u'\u20AC')), u"O\u20AC");
    b.Format(80, u"%hc%C", '\xA3', 'a');
    EXPECT_EQ(b.ToU16(), (std::u16string{char16_t{0xFFA3}, u'a'}));
    EXPECT_EQ(std::u16string(b.Format(80, u"[%3c]", u'z')), u"[  z]");
}

TEST(TextBufferFormat, PercentAndNullStrings) {
    TextBuffer b;
    EXPECT_EQ(std::u16string(b.Format(80, u"100%%")), u"100%");
    EXPECT_EQ(std::u16string(b.Format(80, u"%s|%hs", static_cast<const char16_t*>(nullptr),
                                      static_cast<const char*>(nullptr))),
              u"(null)|(null)");
}

TEST(TextBufferFormat, UnsupportedConversionsGiveTheEmptyText) {
    TextBuffer b(u"previous");
    b.Format(80, u"%f", 1.5);
    EXPECT_TRUE(b.IsShared());
    b.Assign(u"previous");
    b.Format(80, u"%p", static_cast<void*>(&b));
    EXPECT_TRUE(b.IsShared());
    b.Assign(u"previous");
    b.Format(80, u"%n", nullptr);
    EXPECT_TRUE(b.IsShared());
    b.Assign(u"previous");
    b.Format(80, u"%lls", u"x");
    EXPECT_TRUE(b.IsShared());
    b.Assign(u"previous");
    b.Format(80, u"trailing %");
    EXPECT_TRUE(b.IsShared());
    b.Assign(u"previous");
    b.Format(80, u"trailing %-5");
    EXPECT_TRUE(b.IsShared());
}

TEST(TextBufferFormat, WidthBeyondTheLimitOverflowsAtOnce) {
    TextBuffer b;
    b.Format(80, u"%2000000000d", 1);
    EXPECT_TRUE(b.IsShared());
    b.Format(80, u"%*s", 81, u"a");
    EXPECT_TRUE(b.IsShared());
    b.Format(80, u"%*s", 80, u"a");
    EXPECT_EQ(b.Length(), 80u);
}

TEST(TextBufferFormat, NullFormatZeroLimitAndEmptyOutputGiveTheEmptyText) {
    TextBuffer b(u"previous");
    b.Format(80, nullptr);
    EXPECT_TRUE(b.IsShared());
    b.Assign(u"previous");
    b.Format(0, u"x");
    EXPECT_TRUE(b.IsShared());
    b.Assign(u"previous");
    b.Format(0, u"");
    EXPECT_TRUE(b.IsShared());
    b.Assign(u"previous");
    b.Format(80, u"%s", u"");
    EXPECT_TRUE(b.IsShared());
}

TEST(TextBufferFormat, LimitOfOneCharacter) {
    TextBuffer b;
    EXPECT_EQ(std::u16string(b.Format(1, u"%d", 7)), u"7");
    b.Format(1, u"%d", 10);
    EXPECT_TRUE(b.IsShared());
}

}  // namespace
