// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/message_store.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <atomic>
#include <thread>
#include <vector>

#include "store_test_util.h"

namespace {

// Gives the tests the connection, to look at how the store's queries run.
class ProbeDatabase : public MessageDatabase {
  public:
    using MessageDatabase::Connection;
};

struct StepCounts {
    long long vm = 0;
    long long fullScan = 0;
};

// The work done by every statement of the connection since the last call.
StepCounts TakeSteps(sqlite3* db) {
    StepCounts out;
    for (sqlite3_stmt* s = sqlite3_next_stmt(db, nullptr); s != nullptr;
         s = sqlite3_next_stmt(db, s)) {
        out.vm += sqlite3_stmt_status(s, SQLITE_STMTSTATUS_VM_STEP, 1);
        out.fullScan += sqlite3_stmt_status(s, SQLITE_STMTSTATUS_FULLSCAN_STEP, 1);
    }
    return out;
}

SmsMessage Make(FolderId folder, FileTime time, std::u16string text,
                std::u16string number = u"+4917", std::u16string name = u"Anna",
                std::uint32_t flags = 0) {
    SmsMessage m;
    m.folder = folder;
    m.time = time;
    m.text = std::move(text);
    m.number = std::move(number);
    m.name = std::move(name);
    m.flags = flags;
    return m;
}

FileTime At(std::uint16_t year, std::uint16_t month, std::uint16_t day, std::uint16_t hour = 0,
            std::uint16_t minute = 0, std::uint16_t second = 0) {
    FileTime ft = 0;
    SystemTimeToFileTime({year, month, 0, day, hour, minute, second, 0}, &ft);
    return ft;
}

// What the transfer session does with each message it retrieves.
bool StoreRetrieved(MessageDatabase& db, SmsMessage m) {
    if (FindDuplicate(db, m)) return false;
    return WriteMessage(db, m);
}

// Runs SQL of its own on the store's connection, as another program would write the file.
void Sql(ProbeDatabase& db, const std::string& sql) {
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(db.Connection(), sql.c_str(), nullptr, nullptr, &error), SQLITE_OK)
        << sql << ": " << (error != nullptr ? error : "");
    sqlite3_free(error);
}

// Inserts a row with only the given columns; its id.
Oid Insert(ProbeDatabase& db, const std::string& columns, const std::string& values) {
    Sql(db, "INSERT INTO messages(" + columns + ") VALUES(" + values + ")");
    return static_cast<Oid>(sqlite3_last_insert_rowid(db.Connection()));
}

std::uint32_t Count(ProbeDatabase& db) {
    sqlite3_stmt* stmt = nullptr;
    EXPECT_EQ(
        sqlite3_prepare_v2(db.Connection(), "SELECT count(*) FROM messages", -1, &stmt, nullptr),
        SQLITE_OK);
    EXPECT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    const auto n = static_cast<std::uint32_t>(sqlite3_column_int64(stmt, 0));
    sqlite3_finalize(stmt);
    return n;
}

class MessageStoreTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(OpenMessageStore(db_)); }
    TempDataDir dir_;
    ProbeDatabase db_;
};

TEST_F(MessageStoreTest, OpeningCreatesTheStoreWithItsTablesAndIndexes) {
    EXPECT_TRUE(db_.IsOpen());
    EXPECT_TRUE(OpenMessageStore(db_));  // already open: nothing to do
    sqlite3_stmt* stmt = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db_.Connection(),
                                 "SELECT group_concat(name, ' ') FROM (SELECT name FROM"
                                 " sqlite_schema WHERE name NOT LIKE 'sqlite%' ORDER BY name)",
                                 -1, &stmt, nullptr),
              SQLITE_OK);
    ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)),
                 "long_sends messages messages_folder_time messages_fts messages_fts_config "
                 "messages_fts_content messages_fts_data messages_fts_docsize messages_fts_idx "
                 "messages_log messages_time received_parts received_parts_key recent_by_name "
                 "recent_by_use recent_recipients store_counters");
    sqlite3_finalize(stmt);
}

TEST_F(MessageStoreTest, WritingWithZeroTimeStoresTheLocalTimeAndKeepsItInTheMessage) {
    FakeLocalTime clock({2004, 2, 0, 29, 23, 59, 58, 250});
    SmsMessage m = Make(kFolderDraft, 0, u"hello");
    ASSERT_TRUE(WriteMessage(db_, m));
    EXPECT_EQ(m.time, At(2004, 2, 29, 23, 59, 58) + 250 * 10'000ull);
    EXPECT_NE(m.oid, 0u);
    EXPECT_EQ(m.store, &db_);
    EXPECT_EQ(db_.currentId, m.oid);
    SmsMessage back;
    back.oid = m.oid;
    ASSERT_TRUE(ReadById(db_, back));
    EXPECT_EQ(back.time, m.time);
}

TEST_F(MessageStoreTest, AGivenTimeIsKeptAsItIs) {
    FakeLocalTime clock({2030, 1, 0, 1, 0, 0, 0, 0});
    SmsMessage m = Make(kFolderInbox, At(2001, 4, 2, 10, 39), u"x");
    ASSERT_TRUE(WriteMessage(db_, m));
    EXPECT_EQ(m.time, At(2001, 4, 2, 10, 39));
}

TEST_F(MessageStoreTest, EveryFieldComesBackAndARewriteUpdatesTheSameRecord) {
    std::u16string text = u"Line one\r\nline two \xFF80\xFFFF \xD83D\xDE00 \xDC00 lone";
    text.push_back(u'\0');
    text += u"after zero";
    SmsMessage m = Make(kFolderSent, At(2003, 7, 1, 8), text, u"+441234", u"J\xF6rg", kFlagFlash);
    ASSERT_TRUE(WriteMessage(db_, m));
    const Oid first = m.oid;
    SmsMessage back;
    back.oid = first;
    back.flags = 99;
    ASSERT_TRUE(ReadById(db_, back));
    EXPECT_EQ(back.text, text);
    EXPECT_EQ(back.name, u"J\xF6rg");
    EXPECT_EQ(back.number, u"+441234");
    EXPECT_EQ(back.folder, kFolderSent);
    EXPECT_EQ(back.flags, kFlagFlash);
    EXPECT_EQ(back.time, At(2003, 7, 1, 8));
    EXPECT_EQ(back.store, &db_);

    back.text = u"changed";
    back.folder = kFolderDraft;
    ASSERT_TRUE(WriteMessage(db_, back));
    EXPECT_EQ(back.oid, first);
    EXPECT_EQ(Count(db_), 1u);
    SmsMessage again;
    again.oid = first;
    ASSERT_TRUE(ReadById(db_, again));
    EXPECT_EQ(again.text, u"changed");
    EXPECT_EQ(again.folder, kFolderDraft);
}

TEST_F(MessageStoreTest, ARecordWithoutFlagsReadsWithFlagsZero) {
    // A row written by another program with five of the six columns.
    const Oid id =
        Insert(db_, "folder, name, text, time, number",
               "1, 'Old', 'no flags here', " + std::to_string(At(2002, 1, 1)) + ", '123'");
    ASSERT_NE(id, 0u);
    SmsMessage m;
    m.flags = kFlagUnread | kFlagFlash;
    m.oid = id;
    ASSERT_TRUE(ReadById(db_, m));
    EXPECT_EQ(m.flags, 0u);
    EXPECT_EQ(m.text, u"no flags here");
}

TEST_F(MessageStoreTest, ARecordWithoutFolderKeepsTheMessagesFolderAndMatchesNoWalk) {
    const Oid id = Insert(db_, "time, text", std::to_string(At(2002, 1, 1)) + ", 'folderless'");
    ASSERT_NE(id, 0u);
    SmsMessage m;
    m.folder = kFolderOutbox;
    m.oid = id;
    ASSERT_TRUE(ReadById(db_, m));
    EXPECT_EQ(m.folder, kFolderOutbox);
    EXPECT_TRUE(m.name.empty());
    for (FolderId f : {kFolderInbox, kFolderOutbox, kFolderDraft, kFolderSent, kFolderLog}) {
        db_.folderFilter = f;
        EXPECT_FALSE(SeekFirstInFolder(db_)) << f;
    }
}

TEST_F(MessageStoreTest, TheLogWalkYieldsInboxAndSentInTimeOrderAndCountsTheOutbox) {
    SmsMessage sentLate = Make(kFolderSent, At(2003, 1, 5), u"sent late");
    SmsMessage out1 = Make(kFolderOutbox, At(2003, 1, 1), u"waiting 1");
    SmsMessage inEarly = Make(kFolderInbox, At(2003, 1, 2), u"in early");
    SmsMessage draft = Make(kFolderDraft, At(2003, 1, 3), u"draft");
    SmsMessage out2 = Make(kFolderOutbox, At(2003, 1, 4), u"waiting 2");
    SmsMessage inLate = Make(kFolderInbox, At(2003, 1, 6), u"in late");
    for (SmsMessage* m : {&sentLate, &out1, &inEarly, &draft, &out2, &inLate}) {
        ASSERT_TRUE(WriteMessage(db_, *m));
    }
    db_.folderFilter = kFolderLog;
    db_.outboxSeen = 77;
    std::vector<std::u16string> seen;
    SmsMessage m;
    for (bool more = SeekFirstInFolder(db_); more; more = SeekNextInFolder(db_)) {
        ASSERT_TRUE(ReadCurrent(db_, m));
        seen.push_back(m.text);
    }
    EXPECT_EQ(seen, (std::vector<std::u16string>{u"in early", u"sent late", u"in late"}));
    EXPECT_EQ(db_.outboxSeen, 2u);
}

TEST_F(MessageStoreTest, AFolderWalkAndReadFirstStayInTheirFolder) {
    for (int i = 0; i < 3; ++i) {
        SmsMessage d = Make(kFolderDraft, At(2003, 1, static_cast<std::uint16_t>(10 - i)),
                            u"draft " + std::u16string(1, static_cast<char16_t>(u'a' + i)));
        ASSERT_TRUE(WriteMessage(db_, d));
        SmsMessage o = Make(kFolderOutbox, At(2003, 2, static_cast<std::uint16_t>(1 + i)), u"out");
        ASSERT_TRUE(WriteMessage(db_, o));
    }
    db_.folderFilter = kFolderDraft;
    SmsMessage m;
    ASSERT_TRUE(ReadFirst(db_, m));
    EXPECT_EQ(m.text, u"draft c");  // the oldest draft
    int drafts = 1;
    while (SeekNextInFolder(db_)) ++drafts;
    EXPECT_EQ(drafts, 3);
    EXPECT_EQ(db_.outboxSeen, 3u);
    db_.folderFilter = kFolderInbox;
    EXPECT_FALSE(ReadFirst(db_, m));
}

TEST_F(MessageStoreTest, RetrievingTheSameMessageTwiceStoresItOnce) {
    const SmsMessage received = Make(kFolderInbox, At(2003, 5, 1, 12, 30, 15), u"See you",
                                     u"+491701234567", u"", kFlagUnread);
    auto copy = [&]() {
        SmsMessage m = Make(received.folder, received.time, received.text, received.number,
                            received.name, received.flags);
        return m;
    };
    EXPECT_TRUE(StoreRetrieved(db_, copy()));
    EXPECT_FALSE(StoreRetrieved(db_, copy()));
    EXPECT_EQ(Count(db_), 1u);
    // Same text and number, another stamp: a new message.
    SmsMessage later = copy();
    later.time += 10'000'000;
    EXPECT_TRUE(StoreRetrieved(db_, std::move(later)));
    EXPECT_EQ(Count(db_), 2u);
    // Same stamp and number, another text; same stamp and text, another number.
    SmsMessage otherText = copy();
    otherText.text = u"See you!";
    EXPECT_TRUE(StoreRetrieved(db_, std::move(otherText)));
    SmsMessage otherNumber = copy();
    otherNumber.number = u"+491701234568";
    EXPECT_TRUE(StoreRetrieved(db_, std::move(otherNumber)));
    EXPECT_EQ(Count(db_), 4u);
}

TEST_F(MessageStoreTest, ADuplicateCountsOnlyInItsOwnFolder) {
    SmsMessage sent = Make(kFolderSent, At(2003, 5, 1), u"same", u"+1");
    ASSERT_TRUE(WriteMessage(db_, sent));
    SmsMessage inbox = Make(kFolderInbox, At(2003, 5, 1), u"same", u"+1");
    EXPECT_FALSE(FindDuplicate(db_, inbox));
    inbox.folder = kFolderSent;
    EXPECT_TRUE(FindDuplicate(db_, inbox));
}

TEST_F(MessageStoreTest, ARecordWithoutTextMatchesAnEmptyText) {
    ASSERT_NE(Insert(db_, "folder, time, number", "1, " + std::to_string(At(2002, 2, 2)) + ", '5'"),
              0u);
    EXPECT_TRUE(FindDuplicate(db_, Make(kFolderInbox, At(2002, 2, 2), u"", u"5")));
    EXPECT_FALSE(FindDuplicate(db_, Make(kFolderInbox, At(2002, 2, 2), u"x", u"5")));
}

TEST_F(MessageStoreTest, FindDuplicateIsAnIndexLookUpThatLeavesTheCursorAlone) {
    auto fill = [&](int from, int to) {
        MessageStoreBatch batch(db_);
        ASSERT_TRUE(batch.Started());
        for (int i = from; i < to; ++i) {
            SmsMessage m =
                Make(kFolderInbox, At(2003, 1, 1) + static_cast<FileTime>(i) * 10'000'000,
                     u"text " + std::u16string(1, static_cast<char16_t>(u'A' + i % 26)));
            ASSERT_TRUE(WriteMessage(db_, m));
        }
        ASSERT_TRUE(batch.Commit());
    };
    fill(0, 2000);
    const SmsMessage probe = Make(kFolderInbox, At(2003, 1, 1) + 1000ull * 10'000'000, u"text M");
    const SmsMessage absent = Make(kFolderInbox, At(2003, 1, 1) + 1000ull * 10'000'000, u"text Q");
    ASSERT_TRUE(FindDuplicate(db_, probe));  // prepares the statement
    TakeSteps(db_.Connection());
    ASSERT_TRUE(FindDuplicate(db_, probe));
    ASSERT_FALSE(FindDuplicate(db_, absent));
    const StepCounts small = TakeSteps(db_.Connection());
    fill(2000, 8000);
    db_.folderFilter = kFolderInbox;
    ASSERT_TRUE(SeekFirstInFolder(db_));
    const Oid before = db_.currentId;
    TakeSteps(db_.Connection());
    ASSERT_TRUE(FindDuplicate(db_, probe));
    ASSERT_FALSE(FindDuplicate(db_, absent));
    const StepCounts large = TakeSteps(db_.Connection());
    EXPECT_EQ(small.fullScan, 0);
    EXPECT_EQ(large.fullScan, 0);
    EXPECT_LT(small.vm, 200);
    EXPECT_EQ(large.vm, small.vm);  // four times the records, the same work
    // The cursor is where it was.
    EXPECT_EQ(db_.currentId, before);
    EXPECT_TRUE(SeekNextInFolder(db_));
}

TEST_F(MessageStoreTest, TheSendLoopFindsTheOutboxWithoutWalkingTheHistory) {
    auto history = [&](int from, int to) {
        MessageStoreBatch batch(db_);
        ASSERT_TRUE(batch.Started());
        for (int i = from; i < to; ++i) {
            SmsMessage m = Make(i % 2 ? kFolderInbox : kFolderSent,
                                At(2003, 1, 1) + static_cast<FileTime>(i) * 10'000'000, u"old");
            ASSERT_TRUE(WriteMessage(db_, m));
        }
        ASSERT_TRUE(batch.Commit());
    };
    // A message just composed: newer than every message of the history.
    SmsMessage waiting = Make(kFolderOutbox, At(2004, 1, 1), u"to send");
    ASSERT_TRUE(WriteMessage(db_, waiting));
    // What the send loop does with it: finds it, moves it to Sent, finds the Outbox empty.
    auto sendLoop = [&]() {
        db_.folderFilter = kFolderOutbox;
        SmsMessage m;
        ASSERT_TRUE(ReadFirst(db_, m));
        ASSERT_EQ(m.oid, waiting.oid);
        m.folder = kFolderSent;
        ASSERT_TRUE(WriteMessage(db_, m));
        EXPECT_FALSE(ReadFirst(db_, m));
        EXPECT_EQ(db_.outboxSeen, 0u);
        ASSERT_TRUE(WriteMessage(db_, waiting));  // back into the Outbox for the next round
    };
    history(0, 500);
    sendLoop();  // prepares the statements
    TakeSteps(db_.Connection());
    sendLoop();
    const StepCounts small = TakeSteps(db_.Connection());
    history(500, 5000);
    TakeSteps(db_.Connection());
    sendLoop();
    const StepCounts large = TakeSteps(db_.Connection());
    EXPECT_EQ(small.fullScan, 0);
    EXPECT_EQ(large.fullScan, 0);
    EXPECT_LT(small.vm, 1000);
    EXPECT_EQ(large.vm, small.vm);  // ten times the history, the same work
}

TEST_F(MessageStoreTest, AFolderWalkCountsTheOutboxRecordsItPasses) {
    // Records without a time come after all others, in id order.
    const Oid timelessOutbox = Insert(db_, "folder", "2");
    ASSERT_NE(timelessOutbox, 0u);
    const Oid timelessDraft = Insert(db_, "folder", "3");
    ASSERT_NE(timelessDraft, 0u);
    SmsMessage out1 = Make(kFolderOutbox, At(2003, 1, 1), u"out 1");
    SmsMessage draft1 = Make(kFolderDraft, At(2003, 1, 2), u"draft 1");
    SmsMessage out2 = Make(kFolderOutbox, At(2003, 1, 3), u"out 2");
    SmsMessage out3 = Make(kFolderOutbox, At(2003, 1, 3), u"out 3");  // the same time
    SmsMessage draft2 = Make(kFolderDraft, At(2003, 1, 3), u"draft 2");
    SmsMessage inbox = Make(kFolderInbox, At(2003, 1, 4), u"in");
    for (SmsMessage* m : {&out1, &draft1, &out2, &out3, &draft2, &inbox}) {
        ASSERT_TRUE(WriteMessage(db_, *m));
    }
    db_.folderFilter = kFolderDraft;
    ASSERT_TRUE(SeekFirstInFolder(db_));
    EXPECT_EQ(db_.currentId, draft1.oid);
    EXPECT_EQ(db_.outboxSeen, 1u);
    ASSERT_TRUE(SeekNextInFolder(db_));
    EXPECT_EQ(db_.currentId, draft2.oid);
    EXPECT_EQ(db_.outboxSeen, 3u);
    ASSERT_TRUE(SeekNextInFolder(db_));
    EXPECT_EQ(db_.currentId, timelessDraft);
    EXPECT_EQ(db_.outboxSeen, 4u);
    EXPECT_FALSE(SeekNextInFolder(db_));
    EXPECT_EQ(db_.currentId, 0u);
    EXPECT_EQ(db_.outboxSeen, 4u);
    // A walk that ended stays ended.
    EXPECT_FALSE(SeekNextInFolder(db_));
    EXPECT_EQ(db_.outboxSeen, 4u);

    db_.folderFilter = kFolderInbox;
    ASSERT_TRUE(SeekFirstInFolder(db_));
    EXPECT_EQ(db_.currentId, inbox.oid);
    EXPECT_EQ(db_.outboxSeen, 3u);
    EXPECT_FALSE(SeekNextInFolder(db_));
    EXPECT_EQ(db_.outboxSeen, 4u);

    db_.folderFilter = kFolderOutbox;
    std::vector<Oid> walked;
    for (bool more = SeekFirstInFolder(db_); more; more = SeekNextInFolder(db_)) {
        walked.push_back(db_.currentId);
    }
    EXPECT_EQ(walked, (std::vector<Oid>{out1.oid, out2.oid, out3.oid, timelessOutbox}));
    EXPECT_EQ(db_.outboxSeen, 4u);
}

TEST_F(MessageStoreTest, DeletingANeverStoredMessageSucceedsAndChangesNothing) {
    SmsMessage kept = Make(kFolderInbox, At(2003, 1, 1), u"kept");
    ASSERT_TRUE(WriteMessage(db_, kept));
    SmsMessage fresh = Make(kFolderDraft, 0, u"never stored");
    EXPECT_TRUE(DeleteStoredMessage(fresh));
    EXPECT_EQ(fresh.oid, 0u);
    EXPECT_EQ(fresh.text, u"never stored");
    EXPECT_EQ(fresh.time, 0u);
    EXPECT_EQ(Count(db_), 1u);
}

TEST_F(MessageStoreTest, DeletingAStoredMessageRemovesOnlyItsRecord) {
    SmsMessage a = Make(kFolderInbox, At(2003, 1, 1), u"a");
    SmsMessage b = Make(kFolderInbox, At(2003, 1, 2), u"b");
    ASSERT_TRUE(WriteMessage(db_, a));
    ASSERT_TRUE(WriteMessage(db_, b));
    const Oid gone = a.oid;
    ASSERT_TRUE(DeleteStoredMessage(a));
    EXPECT_EQ(a.oid, 0u);
    EXPECT_EQ(Count(db_), 1u);
    SmsMessage probe;
    probe.oid = gone;
    EXPECT_FALSE(ReadById(db_, probe));
    probe.oid = b.oid;
    EXPECT_TRUE(ReadById(db_, probe));
    // A message that names no store cannot be deleted.
    SmsMessage orphan = Make(kFolderInbox, 1, u"x");
    orphan.oid = b.oid;
    EXPECT_FALSE(DeleteStoredMessage(orphan));
}

TEST_F(MessageStoreTest, DeleteRecordsIsAllOrNothing) {
    SmsMessage a = Make(kFolderInbox, At(2003, 1, 1), u"a");
    SmsMessage b = Make(kFolderInbox, At(2003, 1, 2), u"b");
    ASSERT_TRUE(WriteMessage(db_, a));
    ASSERT_TRUE(WriteMessage(db_, b));
    Oid missing = 0;
    EXPECT_FALSE(db_.DeleteRecords({a.oid, 9999, b.oid}, &missing));
    EXPECT_EQ(missing, 9999u);
    EXPECT_EQ(Count(db_), 2u);
    EXPECT_TRUE(db_.DeleteRecords({a.oid, b.oid, a.oid}, &missing));
    EXPECT_EQ(missing, 0u);
    EXPECT_EQ(Count(db_), 0u);
}

TEST_F(MessageStoreTest, ResetReplyAndForward) {
    SmsMessage m =
        Make(kFolderInbox, At(2003, 1, 1), u"Hi there", u"+4411", u"Ann", kFlagUnread | kFlagFlash);
    ASSERT_TRUE(WriteMessage(db_, m));
    SmsMessage reply = Make(m.folder, m.time, m.text, m.number, m.name, m.flags);
    reply.oid = m.oid;
    MakeReply(reply);
    EXPECT_EQ(reply.folder, kFolderDraft);
    EXPECT_EQ(reply.oid, 0u);
    EXPECT_EQ(reply.name, u"Ann");
    EXPECT_EQ(reply.number, u"+4411");
    EXPECT_TRUE(reply.text.empty());
    EXPECT_EQ(reply.time, 0u);
    EXPECT_EQ(reply.flags, 0u);
    // Saving the reply makes a new record; the original stays.
    ASSERT_TRUE(WriteMessage(db_, reply));
    EXPECT_NE(reply.oid, m.oid);
    EXPECT_EQ(Count(db_), 2u);

    SmsMessage forward = Make(m.folder, m.time, m.text, m.number, m.name, m.flags);
    forward.oid = m.oid;
    MakeForward(forward);
    EXPECT_EQ(forward.folder, kFolderDraft);
    EXPECT_EQ(forward.oid, 0u);
    EXPECT_EQ(forward.text, u"Hi there");
    EXPECT_TRUE(forward.name.empty());
    EXPECT_TRUE(forward.number.empty());
    EXPECT_EQ(forward.flags, 0u);

    ResetMessage(forward, kFolderOutbox);
    EXPECT_EQ(forward.folder, kFolderOutbox);
    EXPECT_TRUE(forward.text.empty());
}

TEST_F(MessageStoreTest, ListQueriesCountAndPageNewestFirst) {
    std::vector<Oid> inbox, sent;
    for (int i = 0; i < 5; ++i) {
        SmsMessage in =
            Make(kFolderInbox, At(2003, 1, static_cast<std::uint16_t>(1 + 2 * i)), u"in");
        SmsMessage out =
            Make(kFolderSent, At(2003, 1, static_cast<std::uint16_t>(2 + 2 * i)), u"sent");
        ASSERT_TRUE(WriteMessage(db_, in));
        ASSERT_TRUE(WriteMessage(db_, out));
        inbox.push_back(in.oid);
        sent.push_back(out.oid);
    }
    SmsMessage draft = Make(kFolderDraft, At(2003, 1, 20), u"d");
    ASSERT_TRUE(WriteMessage(db_, draft));
    // Two messages of the same time: the later record first when newest first.
    SmsMessage tieA = Make(kFolderInbox, At(2003, 2, 1), u"tie a");
    SmsMessage tieB = Make(kFolderInbox, At(2003, 2, 1), u"tie b");
    ASSERT_TRUE(WriteMessage(db_, tieA));
    ASSERT_TRUE(WriteMessage(db_, tieB));

    std::uint32_t n = 0;
    ASSERT_TRUE(db_.CountFolder(kFolderInbox, &n));
    EXPECT_EQ(n, 7u);
    ASSERT_TRUE(db_.CountFolder(kFolderLog, &n));
    EXPECT_EQ(n, 12u);
    ASSERT_TRUE(db_.CountFolder(kFolderOutbox, &n));
    EXPECT_EQ(n, 0u);

    std::vector<Oid> oids;
    ASSERT_TRUE(db_.FolderOidsNewestFirst(kFolderSent, &oids));
    EXPECT_EQ(oids, std::vector<Oid>(sent.rbegin(), sent.rend()));
    ASSERT_TRUE(db_.FolderOidsNewestFirst(kFolderLog, &oids));
    ASSERT_EQ(oids.size(), 12u);
    EXPECT_EQ(oids[0], tieB.oid);
    EXPECT_EQ(oids[1], tieA.oid);
    EXPECT_EQ(oids[2], sent[4]);
    EXPECT_EQ(oids[3], inbox[4]);
    EXPECT_EQ(oids[11], inbox[0]);

    std::vector<SmsMessage> page;
    ASSERT_TRUE(db_.ReadFolderPage(kFolderLog, 2, 3, &page));
    ASSERT_EQ(page.size(), 3u);
    EXPECT_EQ(page[0].oid, sent[4]);
    EXPECT_EQ(page[0].text, u"sent");
    EXPECT_EQ(page[0].folder, kFolderSent);
    EXPECT_EQ(page[0].store, &db_);
    EXPECT_EQ(page[1].oid, inbox[4]);
    EXPECT_EQ(page[2].oid, sent[3]);
    ASSERT_TRUE(db_.ReadFolderPage(kFolderLog, 11, 10, &page));
    ASSERT_EQ(page.size(), 1u);
    EXPECT_EQ(page[0].oid, inbox[0]);
    ASSERT_TRUE(db_.ReadFolderPage(kFolderDraft, 5, 10, &page));
    EXPECT_TRUE(page.empty());
}

TEST_F(MessageStoreTest, AFirstPageCostsTheSameWhateverTheFolderSize) {
    auto fill = [&](int from, int to) {
        MessageStoreBatch batch(db_);
        for (int i = from; i < to; ++i) {
            SmsMessage m =
                Make(i % 3 == 0 ? kFolderInbox : (i % 3 == 1 ? kFolderOutbox : kFolderSent),
                     At(2003, 1, 1) + static_cast<FileTime>(i) * 10'000'000, u"t");
            ASSERT_TRUE(WriteMessage(db_, m));
        }
        ASSERT_TRUE(batch.Commit());
    };
    auto firstPages = [&]() {
        std::vector<SmsMessage> page;
        TakeSteps(db_.Connection());
        EXPECT_TRUE(db_.ReadFolderPage(kFolderLog, 0, 20, &page));
        EXPECT_EQ(page.size(), 20u);
        EXPECT_TRUE(db_.ReadFolderPage(kFolderOutbox, 0, 20, &page));
        EXPECT_EQ(page.size(), 20u);
        return TakeSteps(db_.Connection());
    };
    fill(0, 1500);
    firstPages();  // prepares the statements
    const StepCounts small = firstPages();
    fill(1500, 6000);
    const StepCounts large = firstPages();
    EXPECT_EQ(large.vm, small.vm);
    // A folder is counted in its own part of the folder index, not by visiting every record.
    std::uint32_t n = 0;
    ASSERT_TRUE(db_.CountFolder(kFolderOutbox, &n));
    TakeSteps(db_.Connection());
    ASSERT_TRUE(db_.CountFolder(kFolderOutbox, &n));
    EXPECT_EQ(n, 2000u);
    EXPECT_EQ(TakeSteps(db_.Connection()).fullScan, 0);
}

TEST_F(MessageStoreTest, ABatchThatIsNotCommittedLeavesNothing) {
    {
        MessageStoreBatch batch(db_);
        ASSERT_TRUE(batch.Started());
        SmsMessage m = Make(kFolderInbox, At(2003, 1, 1), u"gone");
        ASSERT_TRUE(WriteMessage(db_, m));
    }
    EXPECT_EQ(Count(db_), 0u);
    SmsMessage m = Make(kFolderInbox, At(2003, 1, 1), u"kept");
    ASSERT_TRUE(WriteMessage(db_, m));
    EXPECT_EQ(Count(db_), 1u);
}

TEST_F(MessageStoreTest, WritesAreDurableAndVisibleToAnotherConnectionAtOnce) {
    SmsMessage m = Make(kFolderOutbox, At(2003, 1, 1), u"committed");
    ASSERT_TRUE(WriteMessage(db_, m));
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open_v2(dir_.File().c_str(), &raw, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    sqlite3_stmt* stmt = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(raw, "SELECT count(*) FROM messages", -1, &stmt, nullptr),
              SQLITE_OK);
    ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(stmt, 0), 1);
    sqlite3_finalize(stmt);
    ASSERT_EQ(sqlite3_prepare_v2(raw, "PRAGMA journal_mode", -1, &stmt, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)), "wal");
    sqlite3_finalize(stmt);
    sqlite3_close(raw);
    sqlite3_stmt* sync = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db_.Connection(), "PRAGMA synchronous", -1, &sync, nullptr),
              SQLITE_OK);
    ASSERT_EQ(sqlite3_step(sync), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(sync, 0), 2);  // FULL
    sqlite3_finalize(sync);
}

TEST_F(MessageStoreTest, TwoThreadsWriteAndWalkAtOnceEachWithItsOwnObject) {
    constexpr int kEach = 60;
    std::atomic<int> failures{0};
    std::atomic<bool> writersDone{false};
    auto writer = [&](FolderId folder, int base) {
        MessageDatabase db;
        if (!OpenMessageStore(db)) {
            ++failures;
            return;
        }
        for (int i = 0; i < kEach; ++i) {
            SmsMessage m =
                Make(folder, At(2003, 1, 1) + static_cast<FileTime>(base + i) * 10'000'000, u"w");
            if (!WriteMessage(db, m)) ++failures;
        }
    };
    auto walker = [&]() {
        MessageDatabase db;
        if (!OpenMessageStore(db)) {
            ++failures;
            return;
        }
        db.folderFilter = kFolderLog;
        int walks = 0;
        while (!writersDone.load() || walks < 2) {
            // Hold the lock for a whole walk so that it sees one state of the store.
            std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
            FileTime last = 0;
            SmsMessage m;
            int seen = 0;
            for (bool more = SeekFirstInFolder(db); more; more = SeekNextInFolder(db)) {
                if (!ReadCurrent(db, m) || m.time < last) ++failures;
                if (m.folder != kFolderInbox && m.folder != kFolderSent) ++failures;
                last = m.time;
                ++seen;
            }
            std::uint32_t counted = 0;
            if (!db.CountFolder(kFolderLog, &counted) ||
                counted != static_cast<std::uint32_t>(seen)) {
                ++failures;
            }
            ++walks;
        }
    };
    std::thread w1(writer, kFolderInbox, 0);
    std::thread w2(writer, kFolderSent, 10'000);
    std::thread reader(walker);
    w1.join();
    w2.join();
    writersDone.store(true);
    reader.join();
    EXPECT_EQ(failures.load(), 0);
    std::uint32_t n = 0;
    ASSERT_TRUE(db_.CountFolder(kFolderLog, &n));
    EXPECT_EQ(n, 2u * kEach);
    std::vector<Oid> oids;
    ASSERT_TRUE(db_.FolderOidsNewestFirst(kFolderLog, &oids));
    std::sort(oids.begin(), oids.end());
    EXPECT_EQ(std::unique(oids.begin(), oids.end()), oids.end());
}

TEST_F(MessageStoreTest, OperationsOnAClosedObjectFail) {
    MessageDatabase closed;
    SmsMessage m = Make(kFolderInbox, At(2003, 1, 1), u"x");
    EXPECT_FALSE(WriteMessage(closed, m));
    EXPECT_EQ(m.oid, 0u);
    EXPECT_FALSE(ReadCurrent(closed, m));
    EXPECT_FALSE(SeekFirstInFolder(closed));
    EXPECT_FALSE(FindDuplicate(closed, m));
    std::uint32_t n = 0;
    EXPECT_FALSE(closed.CountFolder(kFolderInbox, &n));
    m.oid = 5;
    EXPECT_FALSE(ReadById(closed, m));
}

}  // namespace

TEST_F(MessageStoreTest, TheUnreadCountOfAFolderCountsOnlyUnreadMessagesOfIt) {
    std::uint32_t n = 99;
    ASSERT_TRUE(db_.CountUnread(kFolderInbox, &n));
    EXPECT_EQ(n, 0u);
    for (int i = 0; i < 3; ++i) {
        SmsMessage m = Make(kFolderInbox, At(2003, 1, static_cast<std::uint16_t>(1 + i)), u"in");
        m.flags = i == 0 ? 0 : kFlagUnread | kFlagFlash;
        ASSERT_TRUE(WriteMessage(db_, m));
    }
    SmsMessage other = Make(kFolderSent, At(2003, 1, 9), u"sent");
    other.flags = kFlagUnread;
    ASSERT_TRUE(WriteMessage(db_, other));
    ASSERT_TRUE(db_.CountUnread(kFolderInbox, &n));
    EXPECT_EQ(n, 2u);
    ASSERT_TRUE(db_.CountUnread(kFolderLog, &n));
    EXPECT_EQ(n, 3u);
    ASSERT_TRUE(db_.CountUnread(kFolderDraft, &n));
    EXPECT_EQ(n, 0u);
}
