// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QLocale>
#include <cstdlib>
#include <ctime>
#include <string>

#include "common/file_time.h"
#include "framework/text_buffer.h"

namespace {

FileTime MakeTime(int year, int month, int day, int hour, int minute, int second) {
    SystemTime st;
    st.year = static_cast<std::uint16_t>(year);
    st.month = static_cast<std::uint16_t>(month);
    st.day = static_cast<std::uint16_t>(day);
    st.hour = static_cast<std::uint16_t>(hour);
    st.minute = static_cast<std::uint16_t>(minute);
    st.second = static_cast<std::uint16_t>(second);
    FileTime ft = 0;
    EXPECT_TRUE(SystemTimeToFileTime(st, &ft));
    return ft;
}

// Newer locale data puts a narrow no-break space before AM/PM; the tests accept any blank.
std::u16string Blanks(const char16_t* text) {
    std::u16string s(text);
    for (char16_t& c : s) {
        if (c == u'\u202F' || c == u'\u00A0') c = u' ';
    }
    return s;
}

// Each test chooses its locale; the previous default comes back afterwards.
class TextBufferDateTime : public ::testing::Test {
  protected:
    void TearDown() override { QLocale::setDefault(saved_); }
    static void Use(QLocale::Language language, QLocale::Territory territory) {
        QLocale::setDefault(QLocale(language, territory));
    }

  private:
    QLocale saved_;
};

TEST_F(TextBufferDateTime, ShortDateInTheUsersLocale) {
    const FileTime t = MakeTime(2001, 4, 2, 10, 39, 5);
    TextBuffer text;
    Use(QLocale::English, QLocale::UnitedStates);
    EXPECT_EQ(std::u16string(text.FormatDate(t, 0)), u"4/2/01");
    EXPECT_EQ(std::u16string(text.FormatDate(t, DATE_SHORTDATE)), u"4/2/01");
    Use(QLocale::German, QLocale::Germany);
    EXPECT_EQ(std::u16string(text.FormatDate(t, 0)), u"02.04.01");
    QLocale::setDefault(QLocale::c());
    EXPECT_EQ(std::u16string(text.FormatDate(t, DATE_SHORTDATE)), u"2 Apr 2001");
}

TEST_F(TextBufferDateTime, LongDate) {
    Use(QLocale::English, QLocale::UnitedStates);
    TextBuffer text;
    EXPECT_EQ(std::u16string(text.FormatDate(MakeTime(2001, 4, 2, 0, 0, 0), DATE_LONGDATE)),
              u"Monday, April 2, 2001");
}

TEST_F(TextBufferDateTime, TimeWithAndWithoutSeconds) {
    const FileTime t = MakeTime(2001, 4, 2, 10, 39, 5);
    TextBuffer text;
    Use(QLocale::English, QLocale::UnitedStates);
    EXPECT_EQ(Blanks(text.FormatTime(t, 0)), u"10:39:05 AM");
    EXPECT_EQ(Blanks(text.FormatTime(t, TIME_NOSECONDS)), u"10:39 AM");
    EXPECT_EQ(Blanks(text.FormatTime(MakeTime(2001, 4, 2, 0, 5, 0), TIME_NOSECONDS)), u"12:05 AM");
    Use(QLocale::German, QLocale::Germany);
    EXPECT_EQ(std::u16string(text.FormatTime(t, 0)), u"10:39:05");
    EXPECT_EQ(std::u16string(text.FormatTime(t, TIME_NOSECONDS)), u"10:39");
    QLocale::setDefault(QLocale::c());
    EXPECT_EQ(std::u16string(text.FormatTime(t, 0)), u"10:39:05");
    EXPECT_EQ(std::u16string(text.FormatTime(t, TIME_NOSECONDS)), u"10:39");
}

TEST_F(TextBufferDateTime, StoredTimesAreShownWithoutZoneConversion) {
    const char* oldZone = std::getenv("TZ");
    const std::string saved = oldZone != nullptr ? oldZone : "";
    setenv("TZ", "Asia/Kathmandu", 1);
    tzset();
    QLocale::setDefault(QLocale::c());
    TextBuffer text;
    const FileTime t = MakeTime(2003, 12, 31, 23, 30, 0);
    EXPECT_EQ(std::u16string(text.FormatTime(t, TIME_NOSECONDS)), u"23:30");
    EXPECT_EQ(std::u16string(text.FormatDate(t, 0)), u"31 Dec 2003");
    if (oldZone != nullptr) {
        setenv("TZ", saved.c_str(), 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
}

TEST_F(TextBufferDateTime, FailureKeepsThePreviousText) {
    QLocale::setDefault(QLocale::c());
    TextBuffer text(u"previous");
    const char16_t* before = text.Text();
    const FileTime outOfRange = 0x8000000000000000ull;
    EXPECT_EQ(text.FormatDate(outOfRange, 0), before);
    EXPECT_EQ(text.FormatTime(outOfRange, TIME_NOSECONDS), before);
    EXPECT_EQ(text.ToU16(), u"previous");
    // Flags the program does not know are refused the same way.
    const FileTime t = MakeTime(2001, 4, 2, 10, 39, 5);
    EXPECT_EQ(text.FormatDate(t, 0x100), before);
    EXPECT_EQ(text.FormatTime(t, 0x100), before);
    EXPECT_EQ(text.ToU16(), u"previous");
}

TEST_F(TextBufferDateTime, TodayComparesAsText) {
    // The message list recognises today's messages by comparing date texts.
    QLocale::setDefault(QLocale::c());
    SystemTime now;
    now.year = 2001;
    now.month = 4;
    now.day = 2;
    now.hour = 18;
    SetLocalTimeSource([](void* context) { return *static_cast<SystemTime*>(context); }, &now);
    TextBuffer today;
    today.FormatDate(CurrentLocalFileTime(), DATE_SHORTDATE);
    SetLocalTimeSource(nullptr, nullptr);
    TextBuffer stored;
    stored.FormatDate(MakeTime(2001, 4, 2, 7, 15, 0), DATE_SHORTDATE);
    TextBuffer yesterday;
    yesterday.FormatDate(MakeTime(2001, 4, 1, 23, 59, 59), DATE_SHORTDATE);
    EXPECT_EQ(today.ToU16(), stored.ToU16());
    EXPECT_NE(today.ToU16(), yesterday.ToU16());
}

}  // namespace
