// SPDX-License-Identifier: GPL-3.0-or-later
// The choice of the user's language from the environment, and the string table and the
// command's messages in the language loaded (the German and French translations built in).
#include "resources/translations.h"

#include <gtest/gtest.h>

#include <QTranslator>
#include <map>
#include <string>

#include "framework/text_buffer.h"
#include "resources/string_table.h"

namespace {

using Environment = std::map<std::string, std::string>;

QStringList Languages(const Environment& env) {
    return UserLanguages([&env](const char* name) -> const char* {
        const auto it = env.find(name);
        return it == env.end() ? nullptr : it->second.c_str();
    });
}

std::u16string Resource(unsigned id) {
    TextBuffer text;
    text.LoadResourceString(id);
    return text.ToU16();
}

// Each test starts and ends with the table's English texts.
class TranslationsTest : public ::testing::Test {
  protected:
    void SetUp() override { LoadTranslation({}); }
    void TearDown() override { LoadTranslation({}); }
};

TEST(UserLanguagesTest, LanguageListIsTheChoiceInItsOrder) {
    EXPECT_EQ(Languages({{"LANGUAGE", "fr:de"}, {"LANG", "es_ES.UTF-8"}}),
              QStringList({"fr", "de"}));
    EXPECT_EQ(Languages({{"LANGUAGE", "de_AT:fr"}}), QStringList({"de_AT", "de", "fr"}));
    // A list without a translated language means English, whatever LANG says.
    EXPECT_EQ(Languages({{"LANGUAGE", "es"}, {"LANG", "de_DE.UTF-8"}}), QStringList({"es"}));
}

TEST(UserLanguagesTest, EmptyLanguageFallsBackToTheLocale) {
    EXPECT_EQ(Languages({{"LANGUAGE", ""}, {"LANG", "fr_FR.UTF-8"}}), QStringList({"fr_FR", "fr"}));
}

TEST(UserLanguagesTest, LcMessagesBeforeLang) {
    EXPECT_EQ(Languages({{"LC_MESSAGES", "de_DE.UTF-8"}, {"LANG", "fr_FR.UTF-8"}}),
              QStringList({"de_DE", "de"}));
    EXPECT_EQ(Languages({{"LC_ALL", "fr_CA.UTF-8@euro"}, {"LC_MESSAGES", "de_DE.UTF-8"}}),
              QStringList({"fr_CA", "fr"}));
    EXPECT_EQ(Languages({{"LANG", "de_DE@euro"}}), QStringList({"de_DE", "de"}));
}

TEST(UserLanguagesTest, EnglishAndTheCLocaleMeanTheSourceTexts) {
    EXPECT_TRUE(Languages({}).isEmpty());
    EXPECT_TRUE(Languages({{"LANG", "C"}}).isEmpty());
    EXPECT_TRUE(Languages({{"LANG", "C.UTF-8"}}).isEmpty());
    EXPECT_TRUE(Languages({{"LC_ALL", "POSIX"}, {"LANG", "de_DE.UTF-8"}}).isEmpty());
    EXPECT_TRUE(Languages({{"LANGUAGE", "en_GB:de"}}).isEmpty());
    EXPECT_EQ(Languages({{"LANGUAGE", "de:en:fr"}}), QStringList({"de"}));
}

TEST_F(TranslationsTest, GermanAndFrenchAreBuiltIn) {
    const QStringList available = AvailableTranslations();
    EXPECT_TRUE(available.contains("de"));
    EXPECT_TRUE(available.contains("fr"));
}

TEST_F(TranslationsTest, TheTableAnswersInTheLoadedLanguage) {
    ASSERT_EQ(LoadTranslation({"de"}), QString("de"));
    EXPECT_EQ(Resource(2051), u"Posteingang");
    EXPECT_EQ(Resource(2052), u"Postausgang");
    EXPECT_EQ(Resource(2053), u"Entwürfe");
    EXPECT_EQ(Resource(2054), u"Gesendet");
    EXPECT_EQ(Resource(3106), u"SMS senden && abrufen");
    EXPECT_EQ(Resource(3102), u"Nachricht %d/%d wird gesendet");
    std::size_t length = 0;
    const char16_t* text = FindResourceString(3109, &length);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::u16string(text, length), u"Erfolgreich");

    ASSERT_EQ(LoadTranslation({"fr"}), QString("fr"));
    EXPECT_EQ(Resource(2051), u"Boîte de réception");
    EXPECT_EQ(Resource(2052), u"Boîte d'envoi");
    EXPECT_EQ(Resource(2053), u"Brouillons");
    EXPECT_EQ(Resource(2054), u"Envoyés");
}

TEST_F(TranslationsTest, SameEnglishTextTranslatesByItsId) {
    ASSERT_EQ(LoadTranslation({"fr"}), QString("fr"));
    // The folder and the date line of a sent message share their English text.
    EXPECT_EQ(Resource(2054), u"Envoyés");
    EXPECT_EQ(Resource(3001), u"Envoyé");
}

TEST_F(TranslationsTest, WithoutATranslationTheTextsStayEnglish) {
    EXPECT_EQ(LoadTranslation({"xx", "es"}), QString());
    EXPECT_EQ(LoadedTranslator(), nullptr);
    EXPECT_EQ(Resource(2051), u"Inbox");
    EXPECT_EQ(Translate("velkan", "no message matches"), QString("no message matches"));
    // Loading German and then nothing goes back to English.
    ASSERT_EQ(LoadTranslation({"de"}), QString("de"));
    EXPECT_EQ(LoadTranslation({}), QString());
    EXPECT_EQ(Resource(2054), u"Sent");
}

TEST_F(TranslationsTest, CountryVariantsUseTheLanguage) {
    EXPECT_FALSE(LoadTranslation({"de_AT", "de"}).isEmpty());
    EXPECT_EQ(Resource(2051), u"Posteingang");
}

TEST_F(TranslationsTest, CommandMessagesAreTranslated) {
    ASSERT_EQ(LoadTranslation({"fr"}), QString("fr"));
    EXPECT_EQ(Translate("velkan", "no message matches"), QString("aucun message ne correspond"));
    ASSERT_EQ(LoadTranslation({"de"}), QString("de"));
    EXPECT_EQ(Translate("velkan", "unknown verb '%1'").arg("x"), QString("unbekanntes Verb „x“"));
}

// Every entry of the table has its German and French text in the built translations.
TEST_F(TranslationsTest, EveryTableEntryIsTranslated) {
    std::size_t count = 0;
    const ResourceString* table = ResourceStringTable(&count);
    for (const char* language : {"de", "fr"}) {
        ASSERT_EQ(LoadTranslation({language}), QString(language));
        for (std::size_t i = 0; i < count; ++i) {
            const QByteArray english =
                QString::fromUtf16(table[i].text.data(), qsizetype(table[i].text.size())).toUtf8();
            EXPECT_FALSE(LoadedTranslator()
                             ->translate("strings", english.constData(),
                                         QByteArray::number(table[i].id).constData())
                             .isEmpty())
                << language << ": string " << table[i].id;
        }
    }
}

}  // namespace
