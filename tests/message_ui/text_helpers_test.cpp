// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/text_helpers.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::u16string Normalized(const char16_t* input) {
    TextBuffer number(input);
    NormalizePhoneNumber(number);
    return number.ToU16();
}

// ---- NormalizePhoneNumber ----------------------------------------------------------------------

TEST(NormalizePhoneNumber, KeepsDigitsAndOneLeadingPlus) {
    EXPECT_EQ(Normalized(u"+44 (0) 20-7946"), u"+440207946");
    EXPECT_EQ(Normalized(u"+49 (172) 12-34"), u"+491721234");
    EXPECT_EQ(Normalized(u"0123"), u"0123");
}

TEST(NormalizePhoneNumber, PlusAfterDroppedCharactersStillLeads) {
    EXPECT_EQ(Normalized(u"a+1"), u"+1");
    EXPECT_EQ(Normalized(u" (+49) 30"), u"+4930");
}

TEST(NormalizePhoneNumber, LaterPlusSignsAreDropped) {
    EXPECT_EQ(Normalized(u"1+2"), u"12");
    EXPECT_EQ(Normalized(u"++12"), u"+12");
    EXPECT_EQ(Normalized(u"+1+2+"), u"+12");
}

TEST(NormalizePhoneNumber, LonePlusAndNothingKeptBecomeEmpty) {
    TextBuffer plus(u"+");
    NormalizePhoneNumber(plus);
    EXPECT_TRUE(plus.IsShared());
    EXPECT_EQ(Normalized(u"abc"), u"");
    EXPECT_EQ(Normalized(u" + - "), u"");
    TextBuffer empty;
    NormalizePhoneNumber(empty);
    EXPECT_TRUE(empty.IsShared());
}

TEST(NormalizePhoneNumber, NonAsciiDigitsAreDropped) {
    // Arabic-Indic and full-width digits are not "0" to "9".
    EXPECT_EQ(Normalized(u"1\u0662\uFF133"), u"13");
}

// ---- CountedText -------------------------------------------------------------------------------

TEST(CountedText, TwoHundredCharactersGiveOneHundredSixtyAndCutTheSource) {
    TextBuffer source(std::u16string(200, u'a').c_str());
    TextBuffer counted;
    EXPECT_EQ(CountedText(counted, source), 160u);
    EXPECT_EQ(counted.Length(), 160u);
    EXPECT_EQ(source.Length(), 160u);
    EXPECT_EQ(source.ToU16(), std::u16string(160, u'a'));
}

TEST(CountedText, SourceIsCutBeforeACarriageReturnAfterTheLimit) {
    const std::u16string full(160, u'b');
    TextBuffer source((full + u"\rc").c_str());
    TextBuffer counted;
    EXPECT_EQ(CountedText(counted, source), 160u);
    EXPECT_EQ(source.ToU16(), full);
    EXPECT_EQ(counted.ToU16(), full);
}

TEST(CountedText, CarriageReturnsAreNotCounted) {
    // 150 characters with 5 line breaks (CR LF): 155 counted, nothing cut.
    std::u16string text;
    for (int line = 0; line < 5; ++line) text += std::u16string(30, u'x') + u"\r\n";
    ASSERT_EQ(text.size(), 160u);
    TextBuffer source(text.c_str());
    TextBuffer counted;
    EXPECT_EQ(CountedText(counted, source), 155u);
    EXPECT_EQ(source.ToU16(), text);
    std::u16string expected;
    for (char16_t c : text) {
        if (c != u'\r') expected += c;
    }
    EXPECT_EQ(counted.ToU16(), expected);
}

TEST(CountedText, ExactlyOneHundredSixtyIsNotCut) {
    const std::u16string full(160, u'd');
    TextBuffer source(full.c_str());
    const char16_t* before = source.Text();
    TextBuffer counted;
    EXPECT_EQ(CountedText(counted, source), 160u);
    EXPECT_EQ(source.Text(), before);
}

TEST(CountedText, CutCountsLineFeedsButNotCarriageReturns) {
    // 100 characters, then 100 CR LF pairs: the 60 line feeds that fit count, and the source
    // ends right after the 60th line feed.
    std::u16string text(100, u'e');
    for (int i = 0; i < 100; ++i) text += u"\r\n";
    TextBuffer source(text.c_str());
    TextBuffer counted;
    EXPECT_EQ(CountedText(counted, source), 160u);
    EXPECT_EQ(source.Length(), 100u + 2 * 60);
    EXPECT_EQ(source.Text()[source.Length() - 1], u'\n');
}

TEST(CountedText, EmptySourceGivesEmptyDestination) {
    TextBuffer source;
    TextBuffer counted(u"old");
    EXPECT_EQ(CountedText(counted, source), 0u);
    EXPECT_TRUE(counted.IsShared());
}

TEST(CountedText, DestinationMayBeTheSource) {
    TextBuffer text((std::u16string(170, u'f') + u"\r").c_str());
    EXPECT_EQ(CountedText(text, text), 160u);
    EXPECT_EQ(text.ToU16(), std::u16string(160, u'f'));
}

// ---- LineBreaksToCrLf --------------------------------------------------------------------------

std::u16string CrLf(const char16_t* input) {
    TextBuffer dest(u"old");
    LineBreaksToCrLf(dest, TextBuffer(input));
    return dest.ToU16();
}

TEST(LineBreaksToCrLf, CrLfPairStaysOnePair) {
    EXPECT_EQ(CrLf(u"a\r\nb"), u"a\r\nb");
}

TEST(LineBreaksToCrLf, LfCrBecomesTwoPairs) {
    EXPECT_EQ(CrLf(u"a\n\rb"), u"a\r\n\r\nb");
}

TEST(LineBreaksToCrLf, LoneBreaksBecomePairs) {
    EXPECT_EQ(CrLf(u"a\nb\rc"), u"a\r\nb\r\nc");
    EXPECT_EQ(CrLf(u"\n"), u"\r\n");
    EXPECT_EQ(CrLf(u"\r"), u"\r\n");
    EXPECT_EQ(CrLf(u"\r\r\n"), u"\r\n\r\n");
    EXPECT_EQ(CrLf(u"\n\n"), u"\r\n\r\n");
}

TEST(LineBreaksToCrLf, OtherTextIsCopied) {
    EXPECT_EQ(CrLf(u"Hello \u20AC"), u"Hello \u20AC");
    TextBuffer dest(u"old");
    LineBreaksToCrLf(dest, TextBuffer());
    EXPECT_TRUE(dest.IsShared());
}

TEST(LineBreaksToCrLf, DestinationMayBeTheSource) {
    TextBuffer text(u"x\ny");
    LineBreaksToCrLf(text, text);
    EXPECT_EQ(text.ToU16(), u"x\r\ny");
}

// ---- RemoveCharacters, Wrap, Unwrap -----------------------------------------------------------

TEST(RemoveCharacters, DeletesEveryCharacterOfTheSet) {
    TextBuffer name(u"\"Ann\" <work>?\r\n\tB");
    RemoveCharacters(name, u"\r\n\t\"?<>");
    EXPECT_EQ(name.ToU16(), u"Ann workB");
}

TEST(RemoveCharacters, OnlyRemovableCharactersLeaveTheEmptyText) {
    TextBuffer name(u"\"?<>");
    RemoveCharacters(name, u"\r\n\t\"?<>");
    EXPECT_TRUE(name.IsShared());
}

TEST(RemoveCharacters, NothingToRemoveKeepsTheBuffer) {
    TextBuffer name(u"Anna");
    const char16_t* before = name.Text();
    RemoveCharacters(name, u"\r\n\t\"?<>");
    EXPECT_EQ(name.Text(), before);
    RemoveCharacters(name, u"");
    RemoveCharacters(name, nullptr);
    EXPECT_EQ(name.ToU16(), u"Anna");
}

TEST(Wrap, AddsMissingEnds) {
    TextBuffer text(u"/smsto:0123");
    Wrap(text, u'"', u'"');
    EXPECT_EQ(text.ToU16(), u"\"/smsto:0123\"");
    TextBuffer half(u"\"abc");
    Wrap(half, u'"', u'"');
    EXPECT_EQ(half.ToU16(), u"\"abc\"");
    TextBuffer other(u"abc)");
    Wrap(other, u'(', u')');
    EXPECT_EQ(other.ToU16(), u"(abc)");
}

TEST(Wrap, AlreadyWrappedTextIsUnchanged) {
    TextBuffer text(u"\"x\"");
    const char16_t* before = text.Text();
    Wrap(text, u'"', u'"');
    EXPECT_EQ(text.Text(), before);
    TextBuffer single(u"\"");
    Wrap(single, u'"', u'"');
    EXPECT_EQ(single.ToU16(), u"\"");
}

TEST(Wrap, EmptyTextGetsBothEnds) {
    TextBuffer text;
    Wrap(text, u'"', u'"');
    EXPECT_EQ(text.ToU16(), u"\"\"");
}

TEST(Unwrap, DropsMatchingEnds) {
    TextBuffer text(u"\"/smsto:0123?Anna\"");
    Unwrap(text, u'"', u'"');
    EXPECT_EQ(text.ToU16(), u"/smsto:0123?Anna");
    TextBuffer left(u"\"abc");
    Unwrap(left, u'"', u'"');
    EXPECT_EQ(left.ToU16(), u"abc");
    TextBuffer right(u"abc\"");
    Unwrap(right, u'"', u'"');
    EXPECT_EQ(right.ToU16(), u"abc");
    TextBuffer none(u"abc");
    Unwrap(none, u'"', u'"');
    EXPECT_EQ(none.ToU16(), u"abc");
}

TEST(Unwrap, ShortTexts) {
    TextBuffer pair(u"\"\"");
    Unwrap(pair, u'"', u'"');
    EXPECT_TRUE(pair.IsShared());
    TextBuffer single(u"\"");
    Unwrap(single, u'"', u'"');
    EXPECT_TRUE(single.IsShared());
    TextBuffer empty;
    Unwrap(empty, u'"', u'"');
    EXPECT_TRUE(empty.IsShared());
    TextBuffer closing(u")");
    Unwrap(closing, u'(', u')');
    EXPECT_TRUE(closing.IsShared());
}

}  // namespace

namespace {

// ---- std::u16string forms ----------------------------------------------------------------------

TEST(TextHelpersU16, SameRulesAsTheTextBufferForms) {
    std::u16string number = u"+44 (0) 20-7946";
    NormalizePhoneNumber(number);
    EXPECT_EQ(number, u"+440207946");
    std::u16string plus(1, u'+');
    NormalizePhoneNumber(plus);
    EXPECT_TRUE(plus.empty());

    std::u16string source(160, u'g');
    source += u"\rh";
    std::u16string counted;
    EXPECT_EQ(CountedText(counted, source), 160u);
    EXPECT_EQ(source, std::u16string(160, u'g'));
    EXPECT_EQ(counted, std::u16string(160, u'g'));

    std::u16string text = u"x\n\ry\r\n";
    LineBreaksToCrLf(text, text);
    EXPECT_EQ(text, u"x\r\n\r\ny\r\n");
}

}  // namespace
