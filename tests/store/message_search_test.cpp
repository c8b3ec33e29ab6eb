// SPDX-License-Identifier: GPL-3.0-or-later
// The search: which messages match a query, in which order, and the full-text index that the
// store keeps in step with its own writes and deletions.
#include "store/message_search.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "store/search_fold.h"
#include "store_test_util.h"

namespace {

class ProbeDatabase : public MessageDatabase {
  public:
    using MessageDatabase::Connection;
};

constexpr FileTime kStart = 130'000'000'000'000'000ull;
constexpr FileTime kMinute = 600'000'000ull;

SmsMessage Make(FolderId folder, FileTime time, std::u16string text,
                std::u16string number = u"+4917612345", std::u16string name = u"") {
    SmsMessage m;
    m.folder = folder;
    m.time = time;
    m.text = std::move(text);
    m.number = std::move(number);
    m.name = std::move(name);
    return m;
}

std::vector<Oid> Ids(const std::vector<SmsMessage>& messages) {
    std::vector<Oid> ids;
    for (const SmsMessage& m : messages) ids.push_back(m.oid);
    return ids;
}

// Every match, read a screen of `screen` at a time.
std::vector<Oid> SearchAll(MessageDatabase& db, std::u16string_view query,
                           FolderId folder = kEveryFolder, std::uint32_t screen = 7) {
    MessageSearch search(db, query, folder);
    std::vector<Oid> all;
    std::vector<SmsMessage> page;
    for (int guard = 0; guard < 100000 && !search.AtEnd(); ++guard) {
        EXPECT_TRUE(search.Next(screen, &page));
        EXPECT_LE(page.size(), screen);
        if (!search.AtEnd()) {
            EXPECT_EQ(page.size(), screen) << "a short screen before the end";
        }
        for (const SmsMessage& m : page) all.push_back(m.oid);
    }
    return all;
}

// The rows the full-text index itself gives for a query, without the check on the messages.
std::int64_t IndexHits(ProbeDatabase& db, const std::string& match) {
    sqlite3_stmt* stmt = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db.Connection(),
                                 "SELECT count(*) FROM messages_fts WHERE messages_fts MATCH ?1",
                                 -1, &stmt, nullptr),
              SQLITE_OK);
    sqlite3_bind_text(stmt, 1, match.c_str(), -1, SQLITE_TRANSIENT);
    EXPECT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    const std::int64_t n = sqlite3_column_int64(stmt, 0);
    sqlite3_finalize(stmt);
    return n;
}

void Sql(ProbeDatabase& db, const std::string& sql) {
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(db.Connection(), sql.c_str(), nullptr, nullptr, &error), SQLITE_OK)
        << sql << ": " << (error != nullptr ? error : "");
    sqlite3_free(error);
}

class MessageSearchTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(OpenMessageStore(db_)); }

    Oid Put(SmsMessage m) {
        EXPECT_TRUE(WriteMessage(db_, m));
        return m.oid;
    }

    TempDataDir dir_;
    ProbeDatabase db_;
};

TEST(SearchFold, LatinLettersLoseCaseAndAccentsAndNothingElseChanges) {
    EXPECT_EQ(FoldForSearch(u"ÀÉÎÕÜ àéîõü Ÿÿ Çç Ññ"), u"aeiou aeiou yy cc nn");
    EXPECT_EQ(FoldForSearch(u"Łódź Øre Đuro Ħal İstanbul ı"), u"lodz ore duro hal istanbul i");
    EXPECT_EQ(FoldForSearch(u"Ẽ ỹ Ḃ ŵ Ǻ"), u"e y b w a");
    // Letters that are no base letter with an accent keep their identity, in lower case.
    EXPECT_EQ(FoldForSearch(u"Æ æ ß Þ Œ"), u"æ æ ß þ œ");
    // A combining accent after a Latin letter goes; after anything else it stays.
    EXPECT_EQ(FoldForSearch(u"E\u0301cole"), u"ecole");
    EXPECT_EQ(FoldForSearch(u"\u03B1\u0301 1\u0301"), u"\u03B1\u0301 1\u0301");
    // Other scripts keep their case: the rule is for Latin letters.
    EXPECT_EQ(FoldForSearch(u"ΣΟΦΙΑ Москва"), u"ΣΟΦΙΑ Москва");
    EXPECT_EQ(FoldForSearch(u"+49 (30) 123-45 \xD83D\xDE00 × ÷"),
              u"+49 (30) 123-45 \xD83D\xDE00 × ÷");
}

TEST(SearchFold, AQuerySplitsAtAnyBlank) {
    EXPECT_EQ(SearchWords(u"  Anna\tBERLIN\n 3012\u00A0x\u3000 "),
              (std::vector<std::u16string>{u"anna", u"berlin", u"3012", u"x"}));
    EXPECT_TRUE(SearchWords(u" \t ").empty());
    EXPECT_EQ(CodePoints(u"a\xD83D\xDE00"
                         u"b"),
              3u);
}

TEST_F(MessageSearchTest, TextNameAndNumberMatchWithoutCaseOrAccents) {
    const Oid ecole = Put(Make(kFolderInbox, kStart, u"L'ÉCOLE est fermée", u"+33612345678"));
    const Oid anna = Put(Make(kFolderInbox, kStart + kMinute, u"See you", u"+4930123456", u"Änna"));
    const Oid lodz = Put(Make(kFolderSent, kStart + 2 * kMinute, u"Jadę do Łodzi", u"+48601"));
    Put(Make(kFolderInbox, kStart + 3 * kMinute, u"nothing here", u"+1555"));

    EXPECT_EQ(SearchAll(db_, u"ecole"), (std::vector<Oid>{ecole}));
    EXPECT_EQ(SearchAll(db_, u"FERMÉE"), (std::vector<Oid>{ecole}));
    EXPECT_EQ(SearchAll(db_, u"e\u0301cole"), (std::vector<Oid>{ecole}));
    EXPECT_EQ(SearchAll(db_, u"anna"), (std::vector<Oid>{anna}));
    EXPECT_EQ(SearchAll(db_, u"lodzi"), (std::vector<Oid>{lodz}));
    // Part of a number, part of a word.
    EXPECT_EQ(SearchAll(db_, u"3012"), (std::vector<Oid>{anna}));
    EXPECT_EQ(SearchAll(db_, u"+336"), (std::vector<Oid>{ecole}));
    EXPECT_EQ(SearchAll(db_, u"erm"), (std::vector<Oid>{ecole}));
    EXPECT_EQ(SearchAll(db_, u"xyz"), (std::vector<Oid>{}));
}

TEST_F(MessageSearchTest, EveryWordMustBeFoundEachInAnyField) {
    const Oid both = Put(Make(kFolderInbox, kStart, u"Dinner at eight", u"+4930123456", u"Bob"));
    Put(Make(kFolderInbox, kStart + kMinute, u"Dinner at nine", u"+4930999999", u"Bob"));
    Put(Make(kFolderInbox, kStart + 2 * kMinute, u"Lunch at eight", u"+4930123456", u"Eve"));
    EXPECT_EQ(SearchAll(db_, u"dinner 3012"), (std::vector<Oid>{both}));
    EXPECT_EQ(SearchAll(db_, u"bob EIGHT dinner"), (std::vector<Oid>{both}));
    // A word may not reach from one field into the next.
    EXPECT_EQ(SearchAll(db_, u"bob+49"), (std::vector<Oid>{}));
}

TEST_F(MessageSearchTest, ShortWordsAreFoundTooAloneAndBesideLongerOnes) {
    const Oid ok = Put(Make(kFolderInbox, kStart, u"ok, see you", u"+4917"));
    const Oid ja = Put(Make(kFolderInbox, kStart + kMinute, u"Ja, gerne", u"+4917"));
    const Oid o = Put(Make(kFolderSent, kStart + 2 * kMinute, u"Ö", u"+4917"));
    EXPECT_EQ(SearchAll(db_, u"OK"), (std::vector<Oid>{ok}));
    EXPECT_EQ(SearchAll(db_, u"ja gern"), (std::vector<Oid>{ja}));
    EXPECT_EQ(SearchAll(db_, u"ok gern"), (std::vector<Oid>{}));
    EXPECT_EQ(SearchAll(db_, u"o"), (std::vector<Oid>{o, ok}));
    EXPECT_EQ(SearchAll(db_, u"17"), (std::vector<Oid>{o, ja, ok}));
}

TEST_F(MessageSearchTest, QuotesEmojiAndOperatorsAreJustCharacters) {
    const Oid quoted = Put(Make(kFolderInbox, kStart, u"He said \"NEAR\" AND left", u"+1"));
    const Oid emoji =
        Put(Make(kFolderInbox, kStart + kMinute, u"Party \xD83C\xDF89 tonight", u"+1"));
    EXPECT_EQ(SearchAll(db_, u"\"near\""), (std::vector<Oid>{quoted}));
    EXPECT_EQ(SearchAll(db_, u"AND"), (std::vector<Oid>{quoted}));
    EXPECT_EQ(SearchAll(db_, u"NEAR("), (std::vector<Oid>{}));
    EXPECT_EQ(SearchAll(db_, u"*"), (std::vector<Oid>{}));
    EXPECT_EQ(SearchAll(db_, u"\xD83C\xDF89"), (std::vector<Oid>{emoji}));
    EXPECT_EQ(SearchAll(db_, u"y \xD83C\xDF89 t"), (std::vector<Oid>{emoji}));
    EXPECT_EQ(SearchAll(db_, u"   "), (std::vector<Oid>{}));
}

TEST_F(MessageSearchTest, NewestFirstMessagesWithoutATimeLastAndOneFolderOrTheLog) {
    const Oid inboxOld = Put(Make(kFolderInbox, kStart, u"plan A"));
    const Oid sentNew = Put(Make(kFolderSent, kStart + 9 * kMinute, u"plan B"));
    const Oid draftMid = Put(Make(kFolderDraft, kStart + 5 * kMinute, u"plan C"));
    const Oid outbox = Put(Make(kFolderOutbox, kStart + 5 * kMinute, u"plan D"));  // same time
    SmsMessage untimed = Make(kFolderInbox, 0, u"plan E");
    ASSERT_TRUE(WriteMessageKeepingTime(db_, untimed));
    EXPECT_EQ(SearchAll(db_, u"plan"),
              (std::vector<Oid>{sentNew, outbox, draftMid, inboxOld, untimed.oid}));
    EXPECT_EQ(SearchAll(db_, u"plan", kFolderLog),
              (std::vector<Oid>{sentNew, inboxOld, untimed.oid}));
    EXPECT_EQ(SearchAll(db_, u"plan", kFolderDraft), (std::vector<Oid>{draftMid}));
    EXPECT_EQ(SearchAll(db_, u"pl", kFolderInbox), (std::vector<Oid>{inboxOld, untimed.oid}));
    EXPECT_EQ(SearchAll(db_, u"plan", kFolderOutbox, 1), (std::vector<Oid>{outbox}));
}

// The index changes with every write and deletion, in the same transaction.
TEST_F(MessageSearchTest, TheIndexFollowsEditsMovesAndDeletions) {
    SmsMessage m = Make(kFolderDraft, kStart, u"Meet at the harbour", u"+4930123456", u"Kim");
    ASSERT_TRUE(WriteMessage(db_, m));
    EXPECT_EQ(IndexHits(db_, "\"harbour\""), 1);

    m.text = u"Meet at the station";
    ASSERT_TRUE(WriteMessage(db_, m));
    EXPECT_EQ(IndexHits(db_, "\"harbour\""), 0);
    EXPECT_EQ(IndexHits(db_, "\"station\""), 1);
    EXPECT_EQ(SearchAll(db_, u"harbour"), (std::vector<Oid>{}));
    EXPECT_EQ(SearchAll(db_, u"station"), (std::vector<Oid>{m.oid}));

    m.name = u"Kimberley";
    m.number = u"+4940555";
    ASSERT_TRUE(WriteMessage(db_, m));
    EXPECT_EQ(SearchAll(db_, u"3012"), (std::vector<Oid>{}));
    EXPECT_EQ(SearchAll(db_, u"kimberley 4055"), (std::vector<Oid>{m.oid}));

    // A move keeps the entry; the folder is the message's.
    m.folder = kFolderOutbox;
    ASSERT_TRUE(WriteMessage(db_, m));
    EXPECT_EQ(IndexHits(db_, "\"station\""), 1);
    EXPECT_EQ(SearchAll(db_, u"station", kFolderDraft), (std::vector<Oid>{}));
    EXPECT_EQ(SearchAll(db_, u"station", kFolderOutbox), (std::vector<Oid>{m.oid}));

    SmsMessage other = Make(kFolderInbox, kStart + kMinute, u"station again");
    ASSERT_TRUE(WriteMessage(db_, other));
    Oid missing = 0;
    ASSERT_TRUE(db_.DeleteRecords({m.oid}, &missing));
    EXPECT_EQ(IndexHits(db_, "\"station\""), 1);
    ASSERT_TRUE(DeleteStoredMessage(other));
    EXPECT_EQ(IndexHits(db_, "\"station\""), 0);
    EXPECT_EQ(IndexHits(db_, "\"kimberley\""), 0);
}

// A deletion that fails for one of its ids keeps every message, and every index entry.
TEST_F(MessageSearchTest, WhatIsRolledBackLeavesTheIndexAsItWas) {
    const Oid kept = Put(Make(kFolderInbox, kStart, u"keep this one"));
    Oid missing = 0;
    EXPECT_FALSE(db_.DeleteRecords({kept, 9999}, &missing));
    EXPECT_EQ(IndexHits(db_, "\"keep\""), 1);
    {
        MessageStoreBatch batch(db_);
        SmsMessage m = Make(kFolderInbox, kStart + kMinute, u"never committed");
        ASSERT_TRUE(WriteMessage(db_, m));
        EXPECT_EQ(IndexHits(db_, "\"committed\""), 1);
    }  // rolled back
    EXPECT_EQ(IndexHits(db_, "\"committed\""), 0);
    EXPECT_EQ(SearchAll(db_, u"keep"), (std::vector<Oid>{kept}));
}

// A write whose index entry cannot be made keeps nothing: on its own, its message goes too;
// in a batch, the whole batch.
TEST_F(MessageSearchTest, AWriteWhoseIndexEntryFailsKeepsNothing) {
    const Oid kept = Put(Make(kFolderInbox, kStart, u"kept before"));
    {
        MessageStoreBatch batch(db_);
        ASSERT_TRUE(batch.Started());
        Put(Make(kFolderInbox, kStart + kMinute, u"first of the batch"));
        Sql(db_, "DROP TABLE messages_fts");
        SmsMessage m = Make(kFolderInbox, kStart + 2 * kMinute, u"second of the batch");
        EXPECT_FALSE(WriteMessage(db_, m));
        EXPECT_FALSE(batch.Commit());
    }
    std::uint32_t n = 0;
    ASSERT_TRUE(db_.CountFolder(kFolderInbox, &n));
    EXPECT_EQ(n, 1u);
    EXPECT_EQ(SearchAll(db_, u"kept"), (std::vector<Oid>{kept}));

    Sql(db_, "DROP TABLE messages_fts");
    SmsMessage alone = Make(kFolderInbox, kStart + 3 * kMinute, u"alone");
    EXPECT_FALSE(WriteMessage(db_, alone));
    ASSERT_TRUE(db_.CountFolder(kFolderInbox, &n));
    EXPECT_EQ(n, 1u);
    Oid missing = 0;
    EXPECT_FALSE(db_.DeleteRecords({kept}, &missing));
    ASSERT_TRUE(db_.CountFolder(kFolderInbox, &n));
    EXPECT_EQ(n, 1u);
}

// FTS5 writes its pending entries out at every savepoint: the writes and deletions of a batch
// take none, so that a batch of a thousand messages costs what the messages cost.
TEST_F(MessageSearchTest, ABatchTakesNoSavepointPerMessage) {
    std::vector<std::string> statements;
    sqlite3_trace_v2(
        db_.Connection(), SQLITE_TRACE_STMT,
        [](unsigned, void* list, void* stmt, void*) {
            const char* sql = sqlite3_sql(static_cast<sqlite3_stmt*>(stmt));
            if (sql != nullptr) static_cast<std::vector<std::string>*>(list)->push_back(sql);
            return 0;
        },
        &statements);
    {
        MessageStoreBatch batch(db_);
        std::vector<Oid> ids;
        for (int i = 0; i < 20; ++i) {
            ids.push_back(
                Put(Make(kFolderInbox, kStart + static_cast<FileTime>(i) * kMinute, u"xyz")));
        }
        SmsMessage m;
        m.oid = ids[0];
        ASSERT_TRUE(ReadById(db_, m));
        m.text = u"changed";
        ASSERT_TRUE(WriteMessage(db_, m));
        Oid missing = 0;
        ASSERT_TRUE(db_.DeleteRecords({ids[1], ids[2]}, &missing));
        ASSERT_TRUE(db_.DeleteRecord(ids[3]));
        ASSERT_TRUE(batch.Commit());
    }
    sqlite3_trace_v2(db_.Connection(), 0, nullptr, nullptr);
    int savepoints = 0, begins = 0;
    for (const std::string& sql : statements) {
        savepoints += sql.rfind("SAVEPOINT", 0) == 0;
        begins += sql.rfind("BEGIN", 0) == 0;
    }
    EXPECT_EQ(savepoints, 0);
    EXPECT_EQ(begins, 1);
    EXPECT_EQ(SearchAll(db_, u"changed"), (std::vector<Oid>{1}));
    EXPECT_EQ(IndexHits(db_, "\"xyz\""), 16);
}

// Another program changed a message without the index: the search shows no message that does
// not match, and a write through the store puts the entry right again.
TEST_F(MessageSearchTest, AnIndexOutOfStepNeverShowsAMessageThatDoesNotMatch) {
    const Oid id = Put(Make(kFolderInbox, kStart, u"old words"));
    Sql(db_, "UPDATE messages SET text = 'new words' WHERE id = " + std::to_string(id));
    EXPECT_EQ(IndexHits(db_, "\"old\""), 1);
    EXPECT_EQ(SearchAll(db_, u"old"), (std::vector<Oid>{}));
    SmsMessage m;
    m.oid = id;
    ASSERT_TRUE(ReadById(db_, m));
    ASSERT_TRUE(WriteMessage(db_, m));
    EXPECT_EQ(IndexHits(db_, "\"old\""), 0);
    EXPECT_EQ(SearchAll(db_, u"new"), (std::vector<Oid>{id}));
}

// Enough messages for both ways of searching: a word in every third message (far more than the
// index's list is used for), one in a few, and one only in the oldest messages, so that reading
// newest first gives up and the index's list takes over. Every way gives every match once, in
// order.
class ManyMessagesSearchTest : public MessageSearchTest {
  protected:
    static constexpr int kCount = 30'000;
    static constexpr int kOld = 9'000;  // "ancient" is in the oldest of these, every one

    void SetUp() override {
        MessageSearchTest::SetUp();
        MessageStoreBatch batch(db_);
        ASSERT_TRUE(batch.Started());
        for (int i = 0; i < kCount; ++i) {
            std::u16string text = u"message";
            if (i % 3 == 0) text += u" common";
            if (i % 1000 == 7) text += u" rare";
            if (i < kOld) text += u" ancient";
            // Times out of id order (the newest-first order is not the order of writing), and
            // the "ancient" messages older than every other.
            const int place =
                i < kOld ? (i * 7919) % kOld : kOld + ((i - kOld) * 7919) % (kCount - kOld);
            const FileTime time = kStart + static_cast<FileTime>(place) * kMinute;
            SmsMessage m = Make(i % 2 == 0 ? kFolderInbox : kFolderSent, time, text);
            ASSERT_TRUE(WriteMessage(db_, m));
            times_.push_back(time);
        }
        ASSERT_TRUE(batch.Commit());
    }

    // The ids whose index (id - 1) passes `keep`, newest first.
    std::vector<Oid> Expected(bool (*keep)(int)) const {
        std::vector<std::pair<FileTime, Oid>> picked;
        for (int i = 0; i < kCount; ++i) {
            if (keep(i)) picked.emplace_back(times_[static_cast<std::size_t>(i)], i + 1);
        }
        std::sort(picked.rbegin(), picked.rend());
        std::vector<Oid> out;
        for (const auto& p : picked) out.push_back(p.second);
        return out;
    }

    std::vector<FileTime> times_;
};

TEST_F(ManyMessagesSearchTest, ACommonWordIsReadNewestFirst) {
    MessageSearch search(db_, u"common");
    std::vector<SmsMessage> page;
    ASSERT_TRUE(search.Next(50, &page));
    EXPECT_EQ(search.CurrentWay(), MessageSearch::Way::kNewestFirst);
    const std::vector<Oid> all = Expected([](int i) { return i % 3 == 0; });
    ASSERT_GT(all.size(), kSearchCollectLimit);
    EXPECT_EQ(Ids(page), std::vector<Oid>(all.begin(), all.begin() + 50));
    EXPECT_EQ(SearchAll(db_, u"common", kEveryFolder, 500), all);
}

TEST_F(ManyMessagesSearchTest, ARareWordIsReadFromTheIndexList) {
    MessageSearch search(db_, u"rare");
    std::vector<SmsMessage> page;
    ASSERT_TRUE(search.Next(50, &page));
    EXPECT_EQ(search.CurrentWay(), MessageSearch::Way::kIndexList);
    EXPECT_EQ(Ids(page), Expected([](int i) { return i % 1000 == 7; }));
}

TEST_F(ManyMessagesSearchTest, AWordOnlyInOlderMessagesGoesOverToTheIndexListWithoutLosingAny) {
    MessageSearch search(db_, u"ancient");
    std::vector<SmsMessage> page;
    std::vector<Oid> all;
    bool wentOver = false;
    while (!search.AtEnd()) {
        ASSERT_TRUE(search.Next(100, &page));
        wentOver = wentOver || search.CurrentWay() == MessageSearch::Way::kIndexList;
        for (const SmsMessage& m : page) all.push_back(m.oid);
    }
    EXPECT_TRUE(wentOver);
    EXPECT_EQ(all, Expected([](int i) { return i < kOld; }));
    EXPECT_EQ(SearchAll(db_, u"ancient common", kFolderSent, 33),
              Expected([](int i) { return i < kOld && i % 3 == 0 && i % 2 == 1; }));
}

}  // namespace
