// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/smsto.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "message_ui/text_helpers.h"

namespace {

struct Parsed {
    bool ok = false;
    std::u16string number;
    std::u16string name;
};

Parsed Parse(const char16_t* commandLine) {
    TextBuffer number(u"old number"), name(u"old name");
    Parsed p;
    p.ok = ParseSmsTo(TextBuffer(commandLine), number, name);
    p.number = number.ToU16();
    p.name = name.ToU16();
    return p;
}

std::u16string Build(const char16_t* name, const char16_t* number) {
    TextBuffer commandLine(u"previous");
    BuildSmsTo(commandLine, TextBuffer(name), TextBuffer(number));
    return commandLine.ToU16();
}

std::u16string FromLink(const char16_t* link) {
    TextBuffer commandLine(u"unchanged");
    SmsLinkToCommandLine(link, commandLine);
    return commandLine.ToU16();
}

std::u16string FromArguments(const std::vector<std::u16string>& arguments) {
    TextBuffer commandLine(u"previous");
    CommandLineFromArguments(arguments, commandLine);
    return commandLine.ToU16();
}

TEST(ParseSmsTo, NumberAndName) {
    const Parsed p = Parse(u"/smsto:0123?Anna");
    EXPECT_TRUE(p.ok);
    EXPECT_EQ(p.number, u"0123");
    EXPECT_EQ(p.name, u"Anna");
}

TEST(ParseSmsTo, QuotedFormAsTheBuilderWritesIt) {
    const Parsed p = Parse(u"\"/smsto:+4917212345?Domarfle\"");
    EXPECT_TRUE(p.ok);
    EXPECT_EQ(p.number, u"+4917212345");
    EXPECT_EQ(p.name, u"Domarfle");
}

TEST(ParseSmsTo, OneQuoteOnlyIsDroppedToo) {
    Parsed p = Parse(u"\"/smsto:0123?Anna");
    EXPECT_EQ(p.name, u"Anna");
    p = Parse(u"/smsto:0123?Anna\"");
    EXPECT_EQ(p.name, u"Anna");
}

TEST(ParseSmsTo, QuestionMarkDirectlyBehindTheColonIsRejected) {
    const Parsed p = Parse(u"/smsto:?Anna");
    EXPECT_FALSE(p.ok);
}

TEST(ParseSmsTo, NothingBehindTheColonIsAnEmptyNumber) {
    const Parsed p = Parse(u"/smsto:");
    EXPECT_TRUE(p.ok);
    EXPECT_EQ(p.number, u"");
    EXPECT_EQ(p.name, u"");
}

TEST(ParseSmsTo, WithoutColonIsRejected) {
    EXPECT_FALSE(Parse(u"/smsto0123").ok);
    EXPECT_FALSE(Parse(u"").ok);
    EXPECT_FALSE(Parse(u"\"").ok);
}

TEST(ParseSmsTo, BlanksBracketsAndDashesAreRemovedFromTheNumber) {
    const Parsed p = Parse(u"/smsto:+49 (172) 12-34");
    EXPECT_TRUE(p.ok);
    EXPECT_EQ(p.number, u"+491721234");
    EXPECT_EQ(p.name, u"");
}

TEST(ParseSmsTo, SecondPlusIsDroppedAndALonePlusBecomesEmpty) {
    EXPECT_EQ(Parse(u"/smsto:++12").number, u"+12");
    const Parsed plus = Parse(u"/smsto:+?Anna");
    EXPECT_TRUE(plus.ok);
    EXPECT_EQ(plus.number, u"");
    EXPECT_EQ(plus.name, u"Anna");
}

TEST(ParseSmsTo, TheSchemeIsNotChecked) {
    const Parsed p = Parse(u"anything:555");
    EXPECT_TRUE(p.ok);
    EXPECT_EQ(p.number, u"555");
}

TEST(ParseSmsTo, OnlyAQuestionMarkBehindTheColonStartsTheName) {
    // A '?' in front of the colon is part of the scheme text.
    Parsed p = Parse(u"a?b:123");
    EXPECT_TRUE(p.ok);
    EXPECT_EQ(p.number, u"123");
    EXPECT_EQ(p.name, u"");
    // Everything behind the first '?' is the name, further '?' included.
    p = Parse(u"/smsto:1?a?b");
    EXPECT_EQ(p.number, u"1");
    EXPECT_EQ(p.name, u"a?b");
}

TEST(ParseSmsTo, ARejectedLineLeavesTheOutputsAlone) {
    TextBuffer number(u"keep"), name(u"keep too");
    EXPECT_FALSE(ParseSmsTo(TextBuffer(u"no colon"), number, name));
    EXPECT_EQ(number.ToU16(), u"keep");
    EXPECT_EQ(name.ToU16(), u"keep too");
}

TEST(BuildSmsTo, QuotedFormWithNumberAndName) {
    EXPECT_EQ(Build(u"Anna", u"0123"), u"\"/smsto:0123?Anna\"");
}

TEST(BuildSmsTo, NumberIsNormalised) {
    EXPECT_EQ(Build(u"", u"+49 (172) 12-34"), u"\"/smsto:+491721234\"");
}

TEST(BuildSmsTo, UnsafeCharactersAreDroppedFromTheName) {
    EXPECT_EQ(Build(u"A\"n?n<a>\r\n\tB", u"1"), u"\"/smsto:1?AnnaB\"");
}

TEST(BuildSmsTo, NameOfOnlyUnsafeCharactersGivesNoQuestionMark) {
    EXPECT_EQ(Build(u"\"?<>\r\n\t", u"0123"), u"\"/smsto:0123\"");
}

TEST(BuildSmsTo, EmptyNumberAndName) {
    EXPECT_EQ(Build(u"", u""), u"\"/smsto:\"");
}

TEST(BuildSmsTo, WhatItBuildsParsesBack) {
    const char16_t* names[] = {u"Anna", u"Dr. \"Who?\" <x>", u"Ünal Öz", u"", u"a:b"};
    const char16_t* numbers[] = {u"0123", u"+49 172 1", u"", u"++1"};
    for (const char16_t* name : names) {
        for (const char16_t* number : numbers) {
            TextBuffer commandLine;
            BuildSmsTo(commandLine, TextBuffer(name), TextBuffer(number));
            TextBuffer parsedNumber, parsedName;
            TextBuffer expectedName(name);
            RemoveCharacters(expectedName, u"\r\n\t\"?<>");
            TextBuffer expectedNumber(number);
            NormalizePhoneNumber(expectedNumber);
            // A name without a number builds "/smsto:?NAME", which the parser rejects as a
            // line without number: the two agree that a name alone addresses nobody.
            if (expectedNumber.IsEmpty() && !expectedName.IsEmpty()) {
                EXPECT_FALSE(ParseSmsTo(commandLine, parsedNumber, parsedName));
                continue;
            }
            ASSERT_TRUE(ParseSmsTo(commandLine, parsedNumber, parsedName));
            EXPECT_EQ(parsedName.ToU16(), expectedName.ToU16());
            EXPECT_EQ(parsedNumber.ToU16(), expectedNumber.ToU16());
        }
    }
}

TEST(SmsLink, RecognisesBothSchemesInAnyCaseButNotTheOwnForm) {
    EXPECT_TRUE(IsSmsLink(u"sms:+1"));
    EXPECT_TRUE(IsSmsLink(u"SMS:+1"));
    EXPECT_TRUE(IsSmsLink(u"smsto:+1"));
    EXPECT_TRUE(IsSmsLink(u"SmsTo:+1"));
    EXPECT_FALSE(IsSmsLink(u"/smsto:+1"));
    EXPECT_FALSE(IsSmsLink(u"\"/smsto:+1\""));
    EXPECT_FALSE(IsSmsLink(u"smsx:+1"));
    EXPECT_FALSE(IsSmsLink(u"sms"));
    EXPECT_FALSE(IsSmsLink(u""));
}

TEST(SmsLink, BodyIsDropped) {
    EXPECT_EQ(FromLink(u"sms:+123?body=hi"), u"\"/smsto:+123\"");
}

TEST(SmsLink, FirstOfSeveralRecipients) {
    EXPECT_EQ(FromLink(u"sms:+1,+2"), u"\"/smsto:+1\"");
    EXPECT_EQ(FromLink(u"sms:+1,+2?body=x"), u"\"/smsto:+1\"");
}

TEST(SmsLink, PercentEscapesAreDecoded) {
    EXPECT_EQ(FromLink(u"sms:%2B49%20172"), u"\"/smsto:+49172\"");
    EXPECT_EQ(FromLink(u"smsto:0123?J%C3%BCrgen%20M"), u"\"/smsto:0123?J\u00fcrgen M\"");
    // A '%' without two hex digits stays as it is (and is dropped from a number).
    EXPECT_EQ(FromLink(u"smsto:12%zz3?50%"), u"\"/smsto:123?50%\"");
}

TEST(SmsLink, SmsToWithNumberOnly) {
    EXPECT_EQ(FromLink(u"smsto:+123"), u"\"/smsto:+123\"");
}

TEST(SmsLink, SmsToTextBehindASecondColonIsDropped) {
    EXPECT_EQ(FromLink(u"SMSTO:+123:Meet at 5"), u"\"/smsto:+123\"");
}

TEST(SmsLink, QueryWithoutEqualsSignIsTheName) {
    EXPECT_EQ(FromLink(u"smsto:0123?Anna"), u"\"/smsto:0123?Anna\"");
    EXPECT_EQ(FromLink(u"smsto:0123?Anna & Bob"), u"\"/smsto:0123?Anna & Bob\"");
    // A name that tries to add a second '?' or end the quoted line is cleaned.
    EXPECT_EQ(FromLink(u"smsto:0123?An%22na%3F"), u"\"/smsto:0123?Anna\"");
}

TEST(SmsLink, RecipientParametersAndSlashesAreIgnored) {
    EXPECT_EQ(FromLink(u"sms:+49172;phone-context=x"), u"\"/smsto:+49172\"");
    EXPECT_EQ(FromLink(u"sms://+123"), u"\"/smsto:+123\"");
}

TEST(SmsLink, NoRecipientGivesAnEmptyNumberThatParses) {
    const std::u16string line = FromLink(u"sms:?body=hello");
    EXPECT_EQ(line, u"\"/smsto:\"");
    const Parsed p = Parse(line.c_str());
    EXPECT_TRUE(p.ok);
    EXPECT_EQ(p.number, u"");
}

TEST(SmsLink, SomethingElseIsLeftAlone) {
    TextBuffer commandLine(u"unchanged");
    EXPECT_FALSE(SmsLinkToCommandLine(u"/smsto:0123?Anna", commandLine));
    EXPECT_FALSE(SmsLinkToCommandLine(u"tel:0123", commandLine));
    EXPECT_EQ(commandLine.ToU16(), u"unchanged");
}

TEST(CommandLineFromArguments, NoArgumentsGiveTheEmptyText) {
    TextBuffer commandLine(u"previous");
    CommandLineFromArguments({}, commandLine);
    EXPECT_TRUE(commandLine.IsEmpty());
    EXPECT_TRUE(commandLine.IsShared());
}

TEST(CommandLineFromArguments, OwnFormIsKeptAsGiven) {
    EXPECT_EQ(FromArguments({u"/smsto:0123?Anna"}), u"/smsto:0123?Anna");
}

TEST(CommandLineFromArguments, ArgumentsAreJoinedWithBlanks) {
    const std::u16string line = FromArguments({u"/smsto:+49", u"172?Anna", u"Maria"});
    EXPECT_EQ(line, u"/smsto:+49 172?Anna Maria");
    const Parsed p = Parse(line.c_str());
    EXPECT_EQ(p.number, u"+49172");
    EXPECT_EQ(p.name, u"Anna Maria");
}

TEST(CommandLineFromArguments, LinksAreConverted) {
    EXPECT_EQ(FromArguments({u"sms:+123?body=hi"}), u"\"/smsto:+123\"");
    EXPECT_EQ(FromArguments({u"smsto:0123?Anna"}), u"\"/smsto:0123?Anna\"");
}

}  // namespace
