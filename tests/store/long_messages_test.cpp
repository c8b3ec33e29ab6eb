// SPDX-License-Identifier: GPL-3.0-or-later
// The store's part of long messages: received parts joined into one Inbox message in sequence
// order whatever order they come in, a gap shown until the part arrives, a part listed again
// stored once; the reference and progress of a long message being sent, kept across openings;
// and a store of the layout before them brought to the current one.
#include "store/long_messages.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "store/message_search.h"
#include "store/message_store.h"
#include "store/object_store.h"
#include "store_test_util.h"

namespace {

constexpr FileTime kStamp = 127'000'000'000'000'000ull;
constexpr FileTime kSecond = 10'000'000ull;

ReceivedPart Part(std::uint32_t sequence, std::u16string text, std::uint32_t total = 3,
                  std::uint32_t reference = 7, std::u16string sender = u"+4930123456") {
    ReceivedPart p;
    p.sender = std::move(sender);
    p.reference = reference;
    p.total = total;
    p.sequence = sequence;
    p.time = kStamp + sequence * kSecond;
    p.text = std::move(text);
    return p;
}

SmsMessage Fields(const ReceivedPart& part) {
    SmsMessage m;
    m.folder = kFolderInbox;
    m.number = part.sender;
    m.flags = kFlagUnread;
    return m;
}

class LongMessagesTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(OpenMessageStore(db_)); }

    PartOutcome Store(const ReceivedPart& part, SmsMessage* message = nullptr) {
        SmsMessage written;
        PartOutcome outcome = PartOutcome::kDuplicate;
        EXPECT_TRUE(StoreReceivedPart(db_, part, Fields(part), &written, &outcome));
        if (message != nullptr) *message = std::move(written);
        return outcome;
    }
    std::vector<SmsMessage> Inbox() {
        std::vector<SmsMessage> page;
        EXPECT_TRUE(db_.ReadFolderPage(kFolderInbox, 0, 100, &page));
        return page;
    }
    std::string Count(const std::string& sql) {
        sqlite3* raw = nullptr;
        std::string out;
        if (sqlite3_open_v2(dir_.File().c_str(), &raw, SQLITE_OPEN_READONLY, nullptr) ==
            SQLITE_OK) {
            sqlite3_stmt* stmt = nullptr;
            if (sqlite3_prepare_v2(raw, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK &&
                sqlite3_step(stmt) == SQLITE_ROW) {
                out = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
            }
            sqlite3_finalize(stmt);
        }
        sqlite3_close(raw);
        return out;
    }

    TempDataDir dir_;
    MessageDatabase db_;
};

TEST(JoinPartTextsTest, MissingPartsShowWhereTheyBelong) {
    EXPECT_EQ(JoinPartTexts(3, {{3, u"C"}, {1, u"A"}, {2, u"B"}}), u"ABC");
    EXPECT_EQ(JoinPartTexts(3, {{2, u"B"}}), u"[\u2026]B[\u2026]");
    EXPECT_EQ(JoinPartTexts(2, {{1, u"A"}, {5, u"out of range"}}), u"A[\u2026]");
}

TEST_F(LongMessagesTest, PartsInAnyOrderBecomeOneMessageCompletedInPlace) {
    SmsMessage first;
    EXPECT_EQ(Store(Part(3, u" world \xD83D\xDE00"), &first), PartOutcome::kNewMessage);
    ASSERT_NE(first.oid, 0u);
    EXPECT_EQ(first.text, u"[\u2026][\u2026] world \xD83D\xDE00");
    // The person reads it meanwhile.
    first.flags &= ~kFlagUnread;
    ASSERT_TRUE(WriteMessage(db_, first));

    SmsMessage second;
    EXPECT_EQ(Store(Part(1, u"Hello"), &second), PartOutcome::kJoined);
    EXPECT_EQ(second.oid, first.oid);
    EXPECT_EQ(second.text, u"Hello[\u2026] world \xD83D\xDE00");
    EXPECT_NE(second.flags & kFlagUnread, 0u) << "a completed part makes it unread again";
    EXPECT_EQ(second.time, kStamp + kSecond) << "the time of its first part";

    EXPECT_EQ(Store(Part(2, u",")), PartOutcome::kJoined);
    const auto inbox = Inbox();
    ASSERT_EQ(inbox.size(), 1u);
    EXPECT_EQ(inbox[0].oid, first.oid);
    EXPECT_EQ(inbox[0].text, u"Hello, world \xD83D\xDE00");
    EXPECT_EQ(inbox[0].number, u"+4930123456");

    // The search sees the joined text, not the gaps of before.
    MessageSearch search(db_, u"hello, world");
    std::vector<SmsMessage> found;
    ASSERT_TRUE(search.Next(10, &found));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].oid, first.oid);
    EXPECT_EQ(Count("SELECT count(*) FROM messages_fts WHERE text LIKE '%…%'"), "0");
}

TEST_F(LongMessagesTest, APartListedAgainIsStoredOnce) {
    EXPECT_EQ(Store(Part(1, u"Hello")), PartOutcome::kNewMessage);
    SmsMessage again;
    EXPECT_EQ(Store(Part(1, u"Hello"), &again), PartOutcome::kDuplicate);
    EXPECT_EQ(again.oid, Inbox().at(0).oid);
    EXPECT_EQ(Store(Part(2, u", you")), PartOutcome::kJoined);
    EXPECT_EQ(Store(Part(3, u"!")), PartOutcome::kJoined);
    for (std::uint32_t i : {3u, 1u, 2u}) {
        EXPECT_EQ(Store(Part(i, i == 1   ? u"Hello"
                                : i == 2 ? u", you"
                                         : u"!")),
                  PartOutcome::kDuplicate);
    }
    ASSERT_EQ(Inbox().size(), 1u);
    EXPECT_EQ(Inbox()[0].text, u"Hello, you!");
    EXPECT_EQ(Count("SELECT count(*) FROM received_parts"), "3");
}

TEST_F(LongMessagesTest, OtherSendersReferencesTotalsAndAReusedReferenceMakeOtherMessages) {
    EXPECT_EQ(Store(Part(1, u"A")), PartOutcome::kNewMessage);
    EXPECT_EQ(Store(Part(1, u"B", 3, 7, u"+4930999999")), PartOutcome::kNewMessage);
    EXPECT_EQ(Store(Part(1, u"C", 3, 8)), PartOutcome::kNewMessage);
    EXPECT_EQ(Store(Part(1, u"D", 2, 7)), PartOutcome::kNewMessage);
    EXPECT_EQ(Inbox().size(), 4u);
    // The first one completed; then the sender's phone comes round to reference 7 again.
    EXPECT_EQ(Store(Part(2, u"a")), PartOutcome::kJoined);
    EXPECT_EQ(Store(Part(3, u"a")), PartOutcome::kJoined);
    ReceivedPart later = Part(1, u"Later");
    later.time += 3600 * kSecond;
    EXPECT_EQ(Store(later), PartOutcome::kNewMessage);
    EXPECT_EQ(Inbox().size(), 5u);
    // Its second part joins the new message, not the complete one.
    SmsMessage joined;
    EXPECT_EQ(Store(Part(2, u" on"), &joined), PartOutcome::kJoined);
    EXPECT_EQ(joined.text, u"Later on[\u2026]");
}

TEST_F(LongMessagesTest, ADeletedMessageTakesItsPartsWithIt) {
    SmsMessage m;
    Store(Part(1, u"Hello"), &m);
    ASSERT_TRUE(db_.DeleteRecord(m.oid));
    EXPECT_EQ(Count("SELECT count(*) FROM received_parts"), "0");
    // Listed again from a phone that keeps it, it comes back as a message of its own.
    EXPECT_EQ(Store(Part(1, u"Hello")), PartOutcome::kNewMessage);
    EXPECT_EQ(Inbox().size(), 1u);
}

TEST_F(LongMessagesTest, PartsKeptAcrossOpeningsJoinAfterARestart) {
    Store(Part(2, u" two"));
    {
        MessageDatabase other;
        ASSERT_TRUE(OpenMessageStore(other));
        SmsMessage m;
        PartOutcome outcome;
        const ReceivedPart p = Part(1, u"One");
        ASSERT_TRUE(StoreReceivedPart(other, p, Fields(p), &m, &outcome));
        EXPECT_EQ(outcome, PartOutcome::kJoined);
        EXPECT_EQ(m.text, u"One two[\u2026]");
    }
}

TEST_F(LongMessagesTest, ALongSendKeepsItsReferenceAndProgressAndEachGetsItsOwn) {
    SmsMessage a, b;
    a.folder = b.folder = kFolderOutbox;
    a.text = u"a";
    b.text = u"b";
    ASSERT_TRUE(WriteMessage(db_, a));
    ASSERT_TRUE(WriteMessage(db_, b));
    std::uint32_t next = 99;
    ASSERT_TRUE(PeekNextLongReference(db_, &next));
    EXPECT_EQ(next, 0u);

    LongSend first, second, again;
    ASSERT_TRUE(StartLongSend(db_, a.oid, &first));
    ASSERT_TRUE(StartLongSend(db_, b.oid, &second));
    EXPECT_NE(first.reference, second.reference);
    EXPECT_EQ(first.partsSent, 0u);
    ASSERT_TRUE(NotePartsSent(db_, a.oid, 1));
    {
        MessageDatabase other;
        ASSERT_TRUE(OpenMessageStore(other));
        ASSERT_TRUE(StartLongSend(other, a.oid, &again));
    }
    EXPECT_EQ(again.reference, first.reference);
    EXPECT_EQ(again.partsSent, 1u);

    // Sent: its row goes; a deleted message's row goes with it.
    ASSERT_TRUE(ForgetLongSend(db_, a.oid));
    ASSERT_TRUE(db_.DeleteRecord(b.oid));
    EXPECT_EQ(Count("SELECT count(*) FROM long_sends"), "0");
    ASSERT_TRUE(PeekNextLongReference(db_, &next));
    EXPECT_EQ(next, 2u);
}

// A partly sent long message that the person edits is sent whole again, with a new
// reference: the parts that went out belong to the old text. A rewrite that keeps the text (a
// flag, a move) keeps the progress.
TEST_F(LongMessagesTest, AChangedTextStartsItsSendingAgain) {
    SmsMessage a;
    a.folder = kFolderOutbox;
    a.text = u"the first text, long enough for parts";
    ASSERT_TRUE(WriteMessage(db_, a));
    LongSend first;
    ASSERT_TRUE(StartLongSend(db_, a.oid, &first));
    ASSERT_TRUE(NotePartsSent(db_, a.oid, 2));

    a.flags |= kFlagMayHaveBeenSent;
    ASSERT_TRUE(WriteMessage(db_, a));
    LongSend kept;
    ASSERT_TRUE(StartLongSend(db_, a.oid, &kept));
    EXPECT_EQ(kept.reference, first.reference);
    EXPECT_EQ(kept.partsSent, 2u);

    a.text = u"a shorter text";
    ASSERT_TRUE(WriteMessage(db_, a));
    EXPECT_EQ(Count("SELECT count(*) FROM long_sends"), "0");
    LongSend again;
    ASSERT_TRUE(StartLongSend(db_, a.oid, &again));
    EXPECT_EQ(again.partsSent, 0u);
    EXPECT_NE(again.reference, first.reference);
}

TEST_F(LongMessagesTest, TheReferenceComesRoundAfter256) {
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(dir_.File().c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(
        sqlite3_exec(raw, "INSERT INTO store_counters(name, value) VALUES('long_reference', 511)",
                     nullptr, nullptr, nullptr),
        SQLITE_OK);
    sqlite3_close(raw);
    SmsMessage a;
    a.folder = kFolderOutbox;
    ASSERT_TRUE(WriteMessage(db_, a));
    LongSend send;
    ASSERT_TRUE(StartLongSend(db_, a.oid, &send));
    EXPECT_EQ(send.reference, 255u);
    std::uint32_t next = 99;
    ASSERT_TRUE(PeekNextLongReference(db_, &next));
    EXPECT_EQ(next, 0u);
}

// The look-ups a part makes search an index: none reads the whole table or sorts, however
// many parts the store holds.
TEST_F(LongMessagesTest, ThePartsAreFoundThroughAnIndex) {
    const char* statements[] = {
        "SELECT message FROM received_parts WHERE sender = ?1 AND reference = ?2 AND"
        " total = ?3 AND sequence = ?4 AND time IS ?5 AND text = ?6 LIMIT 1",
        "SELECT message, sequence FROM received_parts WHERE sender = ?1 AND"
        " reference = ?2 AND total = ?3",
        "SELECT sequence, time, text FROM received_parts WHERE message = ?1 ORDER BY sequence",
        "DELETE FROM received_parts WHERE message = ?1",
        "SELECT reference, parts_sent FROM long_sends WHERE message = ?1",
        "SELECT value FROM store_counters WHERE name = 'long_reference'",
    };
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open_v2(dir_.File().c_str(), &raw, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    for (const char* sql : statements) {
        sqlite3_stmt* stmt = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(raw, (std::string("EXPLAIN QUERY PLAN ") + sql).c_str(), -1,
                                     &stmt, nullptr),
                  SQLITE_OK)
            << sql;
        std::string plan;
        while (sqlite3_step(stmt) == SQLITE_ROW) {
            plan += reinterpret_cast<const char*>(sqlite3_column_text(stmt, 3));
            plan += "; ";
        }
        sqlite3_finalize(stmt);
        EXPECT_NE(plan.find("SEARCH"), std::string::npos) << sql << ": " << plan;
        EXPECT_EQ(plan.find("SCAN"), std::string::npos) << sql << ": " << plan;
        EXPECT_EQ(plan.find("TEMP B-TREE"), std::string::npos) << sql << ": " << plan;
    }
    sqlite3_close(raw);
}

// A store of the layout before long messages (3): the same tables without received_parts,
// long_sends and store_counters. It gets them on its first opening, its messages as they were.
TEST(LongMessagesMigrationTest, AStoreOfLayout3GetsTheTablesOfLongMessages) {
    TempDataDir dir;
    Oid kept = 0;
    {
        MessageDatabase db;
        ASSERT_TRUE(OpenMessageStore(db));
        SmsMessage m;
        m.folder = kFolderInbox;
        m.text = u"from before";
        ASSERT_TRUE(WriteMessage(db, m));
        kept = m.oid;
    }
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(dir.File().c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw,
                           "DROP TABLE received_parts; DROP TABLE long_sends;"
                           " DROP TABLE store_counters; PRAGMA user_version=3",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(raw);

    MessageDatabase db;
    ASSERT_TRUE(OpenMessageStore(db));
    EXPECT_TRUE(TakeStoreNotices().empty());
    SmsMessage m;
    m.oid = kept;
    ASSERT_TRUE(ReadById(db, m));
    EXPECT_EQ(m.text, u"from before");
    const ReceivedPart p = Part(1, u"new");
    SmsMessage written;
    PartOutcome outcome;
    ASSERT_TRUE(StoreReceivedPart(db, p, Fields(p), &written, &outcome));
    EXPECT_EQ(outcome, PartOutcome::kNewMessage);
    LongSend send;
    ASSERT_TRUE(StartLongSend(db, kept, &send));
    EXPECT_EQ(send.reference, 0u);

    ASSERT_EQ(sqlite3_open(dir.File().c_str(), &raw), SQLITE_OK);
    sqlite3_stmt* stmt = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(raw, "PRAGMA user_version", -1, &stmt, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int64(stmt, 0), static_cast<std::int64_t>(kStoreSchemaVersion));
    EXPECT_EQ(kStoreSchemaVersion, 4u);
    sqlite3_finalize(stmt);
    sqlite3_close(raw);
}

}  // namespace
