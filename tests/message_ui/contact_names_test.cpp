// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/contact_names.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "message_ui/contact_directory.h"
#include "message_ui/vcard_reader.h"

namespace fs = std::filesystem;

namespace {

std::u16string NameOr(const ContactNameIndex& index, std::u16string_view number) {
    const std::u16string* name = index.Find(number);
    return name == nullptr ? u"-" : *name;
}

}  // namespace

TEST(NumbersMatch, InternationalNumbersCompareEveryDigit) {
    EXPECT_TRUE(NumbersMatch(u"+49 171 2345678", u"+491712345678"));
    EXPECT_TRUE(NumbersMatch(u"+49 (171) 234-56-78", u"+491712345678"));
    // Same last nine digits, another country: not the same number.
    EXPECT_FALSE(NumbersMatch(u"+441712345678", u"+491712345678"));
    EXPECT_FALSE(NumbersMatch(u"+4917123456789", u"+491712345678"));
}

TEST(NumbersMatch, OtherwiseTheLastNineDigitsDecide) {
    EXPECT_TRUE(NumbersMatch(u"01712345678", u"+491712345678"));
    EXPECT_TRUE(NumbersMatch(u"+491712345678", u"0171 2345678"));
    EXPECT_TRUE(NumbersMatch(u"0171-2345678", u"00491712345678"));
    EXPECT_FALSE(NumbersMatch(u"01712345679", u"+491712345678"));
    // Eight digits differ from nine.
    EXPECT_FALSE(NumbersMatch(u"12345678", u"912345678"));
    // Short numbers compare whole.
    EXPECT_TRUE(NumbersMatch(u"1234", u"1234"));
    EXPECT_FALSE(NumbersMatch(u"1234", u"01234"));
}

TEST(NumbersMatch, NoDigitsMatchNothing) {
    EXPECT_FALSE(NumbersMatch(u"", u""));
    EXPECT_FALSE(NumbersMatch(u"+", u"+"));
    EXPECT_FALSE(NumbersMatch(u"Info", u"Info"));
    EXPECT_FALSE(NumbersMatch(u"", u"123"));
}

TEST(ContactNameIndex, FindsByTheSameRulesAndTheFirstContactWins) {
    ContactNameIndex index;
    index.Add(u"Anna", {u"+49 171 2345678", u"", u"030 1234567"});
    index.Add(u"Bert", {u"0171 2345678"});  // the same number as Anna's mobile
    index.Add(u"Carla", {u"", u"+44 20 7946 0000", u"+1 555 0100"});
    index.Add(u"", {u"+33111"});  // no name: nothing to show
    EXPECT_EQ(index.Count(), 3u);

    EXPECT_EQ(NameOr(index, u"+491712345678"), u"Anna");
    EXPECT_EQ(NameOr(index, u"01712345678"), u"Anna");
    // Anna's home number, written without the area code's zero elsewhere: nine digits agree.
    EXPECT_EQ(NameOr(index, u"+49301234567"), u"Anna");
    EXPECT_EQ(NameOr(index, u"+442079460000"), u"Carla");
    EXPECT_EQ(NameOr(index, u"15550100"), u"Carla");
    EXPECT_EQ(NameOr(index, u"+412079460000"), u"-");
    EXPECT_EQ(NameOr(index, u"+33111"), u"-");
    EXPECT_EQ(NameOr(index, u""), u"-");

    // Bert's number without "+" is found from an international message too, but Anna came first.
    ContactNameIndex bertFirst;
    bertFirst.Add(u"Bert", {u"0171 2345678"});
    bertFirst.Add(u"Anna", {u"+49 171 2345678"});
    EXPECT_EQ(NameOr(bertFirst, u"+491712345678"), u"Bert");
    EXPECT_EQ(NameOr(bertFirst, u"+441712345678"), u"Bert");
}

TEST(ContactNameIndex, AgreesWithTheRuleOnEveryPair) {
    const std::vector<std::u16string> numbers = {
        u"+491712345678", u"01712345678", u"+441712345678", u"1712345678", u"1234",
        u"+1234",         u"01234",       u"+49301234567",  u"0301234567", u"",
    };
    for (const std::u16string& contact : numbers) {
        ContactNameIndex index;
        index.Add(u"X", {contact});
        for (const std::u16string& message : numbers) {
            EXPECT_EQ(index.Find(message) != nullptr, NumbersMatch(message, contact))
                << "contact number size " << contact.size() << ", message size " << message.size();
        }
    }
}

TEST(ContactNameIndex, TakesMobileHomeAndWorkNumbersFromTheContactsFolder) {
    const fs::path dir = fs::temp_directory_path() / ("velkan_names_" + std::to_string(getpid()));
    fs::remove_all(dir);
    fs::create_directories(dir);
    std::ofstream(dir / "a.vcf") << "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Home Only\r\n"
                                    "TEL;TYPE=HOME:+49 30 1111111\r\nEND:VCARD\r\n"
                                    "BEGIN:VCARD\r\nVERSION:2.1\r\nFN:Work Only\r\n"
                                    "TEL;WORK;VOICE:0402222222\r\nEND:VCARD\r\n"
                                    "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Fax Only\r\n"
                                    "TEL;TYPE=FAX:+4989333333\r\nEND:VCARD\r\n";
    ContactDirectory directory;
    EXPECT_EQ(directory.Load(dir.string(), ContactDirectory::kDefaultMaxFileBytes,
                             ContactDirectory::Cards::kAnyPhone),
              2u);
    EXPECT_EQ(directory.SeenFiles().size(), 1u);
    EXPECT_EQ(directory.SeenFolders().size(), 1u);
    ContactNameIndex index;
    index.AddAll(directory);
    EXPECT_EQ(NameOr(index, u"+49301111111"), u"Home Only");
    EXPECT_EQ(NameOr(index, u"+49402222222"), u"Work Only");
    EXPECT_EQ(NameOr(index, u"+4989333333"), u"-");

    // The picker's view of the same folder is unchanged: no card has a mobile number.
    ContactDirectory picker;
    EXPECT_EQ(picker.Load(dir.string()), 0u);
    fs::remove_all(dir);
}

TEST(VCardPhones, HomeAndWorkNumbersAreReadBesideTheMobile) {
    VCardContact c;
    ASSERT_TRUE(
        ReadVCardPhones("BEGIN:VCARD\nVERSION:4.0\nFN:Dana\n"
                        "TEL;VALUE=uri;TYPE=work:tel:+49-40-555\n"
                        "TEL;TYPE=cell,home:+49 171 9\nEND:VCARD\n",
                        &c));
    EXPECT_EQ(c.name, u"Dana");
    EXPECT_EQ(c.mobile, u"+49 171 9");
    EXPECT_EQ(c.home, u"+49 171 9");
    EXPECT_EQ(c.work, u"+49-40-555");
    // A card with only a home number is no contact of the picker.
    EXPECT_FALSE(ReadVCard("BEGIN:VCARD\nFN:E\nTEL;TYPE=HOME:1\nEND:VCARD\n", &c));
    EXPECT_TRUE(c.name.empty());
    EXPECT_TRUE(ReadVCardPhones("BEGIN:VCARD\nFN:E\nTEL;TYPE=HOME:1\nEND:VCARD\n", &c));
    EXPECT_FALSE(ReadVCardPhones("BEGIN:VCARD\nFN:F\nTEL;TYPE=FAX:1\nEND:VCARD\n", &c));
}
