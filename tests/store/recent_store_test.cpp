// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/recent_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "store_test_util.h"

namespace {

RecentRecipient Entry(std::u16string name, std::u16string number) {
    RecentRecipient e;
    e.name = std::move(name);
    e.number = std::move(number);
    return e;
}

std::u16string Num(int i) {
    return u"+4910" + std::u16string(1, static_cast<char16_t>(u'0' + i));
}
std::u16string Name(int i) {
    return u"Person " + std::u16string(1, static_cast<char16_t>(u'A' + i));
}

class RecentStoreTest : public ::testing::Test {
  protected:
    // Every use of the store happens at a later local time than the one before.
    RecentStoreTest() : clock_({2003, 6, 1, 1, 9, 0, 0, 0}, 1000) {}

    std::vector<RecentRecipient> All() {
        RecentDatabase db;
        std::vector<RecentRecipient> out;
        EXPECT_TRUE(ListRecentByName(db, &out));
        return out;
    }
    std::uint32_t Count() {
        RecentDatabase db;
        std::uint32_t n = 0;
        EXPECT_TRUE(OpenRecentStore(db, kPropRecentLastUsed));
        EXPECT_TRUE(db.GetRecordCount(&n));
        return n;
    }
    const RecentRecipient* Find(const std::vector<RecentRecipient>& list,
                                std::u16string_view name) {
        auto it = std::find_if(list.begin(), list.end(),
                               [&](const RecentRecipient& r) { return r.name == name; });
        return it == list.end() ? nullptr : &*it;
    }

    TempDataDir dir_;
    FakeLocalTime clock_;
    RecentDatabase db_;
};

TEST_F(RecentStoreTest, AnEleventhRecipientPushesOutTheLeastRecentlyUsed) {
    for (int i = 0; i < 10; ++i) {
        RecentRecipient e = Entry(Name(i), Num(i));
        ASSERT_TRUE(AddRecent(db_, e));
    }
    EXPECT_EQ(Count(), 10u);
    // Using the oldest again makes the second one the least recently used.
    RecentRecipient again = Entry(Name(0), Num(0));
    ASSERT_TRUE(AddRecent(db_, again));
    RecentRecipient eleventh = Entry(Name(10), Num(10));
    ASSERT_TRUE(AddRecent(db_, eleventh));
    EXPECT_EQ(Count(), 10u);
    const auto list = All();
    EXPECT_NE(Find(list, Name(0)), nullptr);
    EXPECT_EQ(Find(list, Name(1)), nullptr);
    EXPECT_NE(Find(list, Name(2)), nullptr);
    EXPECT_NE(Find(list, Name(10)), nullptr);
    for (int i = 11; i < 16; ++i) {
        RecentRecipient e = Entry(Name(i), Num(i));
        ASSERT_TRUE(AddRecent(db_, e));
        EXPECT_LE(Count(), 10u);
    }
    EXPECT_EQ(Count(), 10u);
}

TEST_F(RecentStoreTest, ANameWithANewNumberUpdatesItsEntry) {
    RecentRecipient first = Entry(u"Anna", u"+111");
    ASSERT_TRUE(AddRecent(db_, first));
    RecentRecipient other = Entry(u"Bert", u"+222");
    ASSERT_TRUE(AddRecent(db_, other));
    RecentRecipient changed = Entry(u"Anna", u"+333");
    ASSERT_TRUE(AddRecent(db_, changed));
    EXPECT_EQ(changed.oid, first.oid);
    EXPECT_GT(changed.lastUsed, first.lastUsed);
    const auto list = All();
    ASSERT_EQ(list.size(), 2u);
    const RecentRecipient* anna = Find(list, u"Anna");
    ASSERT_NE(anna, nullptr);
    EXPECT_EQ(anna->number, u"+333");
    EXPECT_EQ(anna->lastUsed, changed.lastUsed);
}

TEST_F(RecentStoreTest, ANamelessUseOfANamedNumberChangesNothing) {
    RecentRecipient named = Entry(u"Anna", u"+111");
    ASSERT_TRUE(AddRecent(db_, named));
    RecentRecipient bare = Entry(u"", u"+111");
    EXPECT_TRUE(AddRecent(db_, bare));
    const auto list = All();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].name, u"Anna");
    EXPECT_EQ(list[0].number, u"+111");
    EXPECT_EQ(list[0].lastUsed, named.lastUsed);
}

TEST_F(RecentStoreTest, ANamedUseOfAKnownNumberTakesOverItsEntry) {
    RecentRecipient bare = Entry(u"", u"+111");
    ASSERT_TRUE(AddRecent(db_, bare));
    RecentRecipient named = Entry(u"Anna", u"+111");
    ASSERT_TRUE(AddRecent(db_, named));
    EXPECT_EQ(named.oid, bare.oid);
    const auto list = All();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].name, u"Anna");
}

TEST_F(RecentStoreTest, AtMostOneNamelessEntrySurvives) {
    RecentRecipient a = Entry(u"", u"+111");
    ASSERT_TRUE(AddRecent(db_, a));
    RecentRecipient b = Entry(u"", u"+222");
    ASSERT_TRUE(AddRecent(db_, b));
    EXPECT_EQ(b.oid, a.oid);
    const auto list = All();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].number, u"+222");
}

TEST_F(RecentStoreTest, TheListRunsByName) {
    for (const char16_t* name : {u"Carl", u"Anna", u"Bert", u""}) {
        RecentRecipient e = Entry(name, std::u16string(u"+1") + name);
        ASSERT_TRUE(AddRecent(db_, e));
    }
    const auto list = All();
    ASSERT_EQ(list.size(), 4u);
    EXPECT_EQ(list[0].name, u"");
    EXPECT_EQ(list[1].name, u"Anna");
    EXPECT_EQ(list[2].name, u"Bert");
    EXPECT_EQ(list[3].name, u"Carl");
    EXPECT_EQ(list[1].number, u"+1Anna");
}

TEST_F(RecentStoreTest, OpeningInTheOtherOrderReopens) {
    ASSERT_TRUE(OpenRecentStore(db_, kPropRecentName));
    EXPECT_EQ(db_.SortProperty(), kPropRecentName);
    ASSERT_TRUE(OpenRecentStore(db_, kPropRecentLastUsed));
    EXPECT_EQ(db_.SortProperty(), kPropRecentLastUsed);
}

TEST_F(RecentStoreTest, FormattingAnItem) {
    EXPECT_EQ(FormatRecentItem(u"Anna", u"+4412"), u"Anna (+4412)");
    EXPECT_EQ(FormatRecentItem(u"+4412", u"Anna"), u"+4412 (Anna)");
    EXPECT_EQ(FormatRecentItem(u"+4412", u""), u"+4412");
    EXPECT_EQ(FormatRecentItem(u"", u"+4412"), u" (+4412)");
}

TEST_F(RecentStoreTest, ANameItemSplitsAtTheLastOpeningParenthesis) {
    RecentRecipient e;
    ParseNameItem(e, u"Smith (Office) (+441234)");
    EXPECT_EQ(e.name, u"Smith (Office)");
    EXPECT_EQ(e.number, u"+441234");
    ParseNameItem(e, u"Ann (work) (555)");
    EXPECT_EQ(e.name, u"Ann (work)");
    EXPECT_EQ(e.number, u"555");
    ParseNameItem(e, u"Plain");
    EXPECT_EQ(e.name, u"Plain");
    EXPECT_EQ(e.number, u"");
    ParseNameItem(e, u"Open (+44");
    EXPECT_EQ(e.name, u"Open");
    EXPECT_EQ(e.number, u"");
}

TEST_F(RecentStoreTest, ANumberItemSplitsAtTheFirstOpeningParenthesis) {
    RecentRecipient e;
    e.name = u"stale";
    ParseNumberItem(e, u"+441234");
    EXPECT_EQ(e.number, u"+441234");
    EXPECT_EQ(e.name, u"");
    ParseNumberItem(e, u"555 (Ann (work))");
    EXPECT_EQ(e.number, u"555");
    EXPECT_EQ(e.name, u"Ann (work)");
    ParseNumberItem(e, u"555 (Ann");
    EXPECT_EQ(e.number, u"555");
    EXPECT_EQ(e.name, u"");
}

TEST_F(RecentStoreTest, ItemsMadeFromEntriesParseBackToThem) {
    const RecentRecipient original = Entry(u"Dr. Who (Tardis)", u"+4477");
    RecentRecipient byName, byNumber;
    ParseNameItem(byName, FormatRecentItem(original.name, original.number));
    ParseNumberItem(byNumber, FormatRecentItem(original.number, original.name));
    EXPECT_EQ(byName.name, original.name);
    EXPECT_EQ(byName.number, original.number);
    EXPECT_EQ(byNumber.name, original.name);
    EXPECT_EQ(byNumber.number, original.number);
}

}  // namespace
