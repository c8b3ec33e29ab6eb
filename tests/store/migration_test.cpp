// SPDX-License-Identifier: GPL-3.0-or-later
// A store written by the release before the readable layout is brought to the current one when
// it is first opened, in one transaction, with every message and recent recipient as it was.
// data/store-v1.sqlite3 was written by that release; data/store-v1.expected lists what it holds
// (written by the same release): every field, the strings as UTF-16 code units in hex.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "store/message_search.h"
#include "store/message_store.h"
#include "store/object_store.h"
#include "store/recent_store.h"
#include "store_test_util.h"

namespace {

std::string Hex(const std::u16string& s) {
    std::string out;
    char b[8];
    for (char16_t c : s) {
        std::snprintf(b, sizeof b, "%04X", static_cast<unsigned>(c));
        out += b;
    }
    return out;
}

std::vector<std::string> Fields(const std::string& line) {
    std::vector<std::string> out;
    std::stringstream in(line);
    std::string field;
    while (std::getline(in, field, '|')) out.push_back(field);
    if (!line.empty() && line.back() == '|') out.emplace_back();
    return out;
}

std::string Query(const std::string& file, const std::string& sql) {
    sqlite3* db = nullptr;
    std::string out;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK) {
            while (sqlite3_step(stmt) == SQLITE_ROW) {
                const unsigned char* text = sqlite3_column_text(stmt, 0);
                if (!out.empty()) out += '\n';
                out += text != nullptr ? reinterpret_cast<const char*>(text) : "NULL";
            }
        } else {
            out = std::string("error: ") + sqlite3_errmsg(db);
        }
        sqlite3_finalize(stmt);
    }
    sqlite3_close(db);
    return out;
}

class MigrationTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::create_directories(dir_.Data());
        std::filesystem::copy_file(std::string(STORE_TEST_DATA) + "/store-v1.sqlite3", dir_.File());
        std::ifstream expected(std::string(STORE_TEST_DATA) + "/store-v1.expected");
        std::string line;
        while (std::getline(expected, line)) {
            const auto f = Fields(line);
            if (f[0] == "message") messages_[f[1]] = f;
            if (f[0] == "recent") recent_[f[1]] = f;
        }
        ASSERT_EQ(messages_.size(), 13u);
        ASSERT_EQ(recent_.size(), 5u);
    }

    TempDataDir dir_;
    std::map<std::string, std::vector<std::string>> messages_;
    std::map<std::string, std::vector<std::string>> recent_;
};

TEST_F(MigrationTest, EveryMessageAndRecipientComesOverAsItWas) {
    ASSERT_EQ(Query(dir_.File(), "PRAGMA user_version"), "1");
    MessageDatabase db;
    ASSERT_TRUE(OpenMessageStore(db));
    EXPECT_TRUE(TakeStoreNotices().empty());

    std::map<std::string, std::vector<std::string>> found;
    for (FolderId folder : {kFolderInbox, kFolderOutbox, kFolderDraft, kFolderSent}) {
        std::vector<SmsMessage> page;
        ASSERT_TRUE(db.ReadFolderPage(folder, 0, 100, &page));
        for (const SmsMessage& m : page) {
            found[std::to_string(m.oid)] = {"message",
                                            std::to_string(m.oid),
                                            std::to_string(m.folder),
                                            std::to_string(m.time),
                                            Hex(m.name),
                                            Hex(m.number),
                                            Hex(m.text),
                                            std::to_string(m.flags)};
        }
    }
    EXPECT_EQ(found, messages_);

    RecentDatabase recent;
    std::vector<RecentRecipient> entries;
    ASSERT_TRUE(ListRecentByName(recent, &entries));
    std::map<std::string, std::vector<std::string>> recentFound;
    for (const RecentRecipient& r : entries) {
        recentFound[std::to_string(r.oid)] = {"recent", std::to_string(r.oid), Hex(r.name),
                                              Hex(r.number), std::to_string(r.lastUsed)};
    }
    EXPECT_EQ(recentFound, recent_);

    // The file now has the readable layout alone, and the next id follows the old ones.
    EXPECT_EQ(Query(dir_.File(), "PRAGMA user_version"), std::to_string(kStoreSchemaVersion));
    EXPECT_EQ(
        Query(dir_.File(),
              "SELECT name FROM sqlite_schema WHERE type = 'table' AND name"
              " NOT LIKE 'sqlite%' AND name NOT LIKE 'messages\\_fts\\_%' ESCAPE '\\'"
              " ORDER BY name"),
        "long_sends\nmessages\nmessages_fts\nreceived_parts\nrecent_recipients\nstore_counters");
    // The search finds the migrated messages: one word in a text with accents, one part of a
    // number.
    EXPECT_EQ(Query(dir_.File(), "SELECT count(*) FROM messages_fts"), "13");
    std::vector<SmsMessage> hits;
    MessageSearch grusse(db, u"GRUSSE");
    ASSERT_TRUE(grusse.Next(10, &hits));
    EXPECT_TRUE(hits.empty()) << "ß is not ss";
    MessageSearch gru(db, u"grü");
    ASSERT_TRUE(gru.Next(10, &hits));
    ASSERT_EQ(hits.size(), 1u);
    EXPECT_EQ(hits[0].oid, 2u);
    EXPECT_EQ(Query(dir_.File(), "SELECT text FROM messages WHERE id = 2"), "Grüße, 5 €");
    EXPECT_EQ(Query(dir_.File(), "SELECT typeof(text) FROM messages WHERE id = 4"), "blob");
    SmsMessage next;
    next.folder = kFolderDraft;
    next.text = u"new";
    ASSERT_TRUE(WriteMessage(db, next));
    EXPECT_EQ(next.oid, 15u);  // 14 was the last id ever given out
}

TEST_F(MigrationTest, TheMessageWithoutATimeIsWalkedLastAsBefore) {
    MessageDatabase db;
    ASSERT_TRUE(OpenMessageStore(db));
    db.folderFilter = kFolderOutbox;
    std::vector<Oid> walked;
    for (bool more = SeekFirstInFolder(db); more; more = SeekNextInFolder(db)) {
        walked.push_back(db.currentId);
    }
    EXPECT_EQ(walked, (std::vector<Oid>{5, 6, 7, 13}));
}

TEST_F(MigrationTest, AMigrationThatFailsLeavesTheFileAsItWas) {
    // A store that another program holds locked cannot be migrated now: the file stays in the
    // old layout, and the next opening migrates it.
    sqlite3* holder = nullptr;
    ASSERT_EQ(sqlite3_open(dir_.File().c_str(), &holder), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(holder, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    SetStoreBusyTimeout(50);
    {
        MessageDatabase db;
        EXPECT_FALSE(OpenMessageStore(db));
    }
    SetStoreBusyTimeout(0);
    sqlite3_exec(holder, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(holder);
    EXPECT_EQ(Query(dir_.File(), "PRAGMA user_version"), "1");
    EXPECT_EQ(Query(dir_.File(), "SELECT count(*) FROM records_1"), "13");
    MessageDatabase db;
    ASSERT_TRUE(OpenMessageStore(db));
    std::uint32_t n = 0;
    ASSERT_TRUE(db.CountFolder(kFolderInbox, &n));
    EXPECT_EQ(n, 5u);
}

}  // namespace

// A store of layout 2, written by the release before the search index
// (data/store-v2.sqlite3, its messages listed in data/store-v2.expected as above), gets the
// index of every message on its first opening; its messages stay as they were.
class MigrationFromVersion2Test : public ::testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::create_directories(dir_.Data());
        std::filesystem::copy_file(std::string(STORE_TEST_DATA) + "/store-v2.sqlite3", dir_.File());
        std::ifstream expected(std::string(STORE_TEST_DATA) + "/store-v2.expected");
        std::string line;
        while (std::getline(expected, line)) {
            const auto f = Fields(line);
            if (f[0] == "message") messages_[f[1]] = f;
        }
        ASSERT_EQ(messages_.size(), 7u);
    }

    std::vector<Oid> Search(MessageDatabase& db, const std::u16string& words,
                            FolderId folder = kEveryFolder) {
        MessageSearch search(db, words, folder);
        std::vector<SmsMessage> found;
        EXPECT_TRUE(search.Next(100, &found));
        std::vector<Oid> ids;
        for (const SmsMessage& m : found) ids.push_back(m.oid);
        return ids;
    }

    TempDataDir dir_;
    std::map<std::string, std::vector<std::string>> messages_;
};

TEST_F(MigrationFromVersion2Test, TheMessagesGetTheirSearchIndexAndStayAsTheyWere) {
    ASSERT_EQ(Query(dir_.File(), "PRAGMA user_version"), "2");
    ASSERT_EQ(Query(dir_.File(), "SELECT count(*) FROM sqlite_schema WHERE name = 'messages_fts'"),
              "0");
    MessageDatabase db;
    ASSERT_TRUE(OpenMessageStore(db));
    EXPECT_TRUE(TakeStoreNotices().empty());
    EXPECT_EQ(Query(dir_.File(), "PRAGMA user_version"), std::to_string(kStoreSchemaVersion));
    EXPECT_EQ(Query(dir_.File(), "SELECT count(*) FROM messages_fts"), "7");
    EXPECT_EQ(Query(dir_.File(), "SELECT count(*) FROM sqlite_schema WHERE name = 'messages_time'"),
              "1");

    std::map<std::string, std::vector<std::string>> found;
    for (FolderId folder : {kFolderInbox, kFolderOutbox, kFolderDraft, kFolderSent}) {
        std::vector<SmsMessage> page;
        ASSERT_TRUE(db.ReadFolderPage(folder, 0, 100, &page));
        for (const SmsMessage& m : page) {
            found[std::to_string(m.oid)] = {"message",
                                            std::to_string(m.oid),
                                            std::to_string(m.folder),
                                            std::to_string(m.time),
                                            Hex(m.name),
                                            Hex(m.number),
                                            Hex(m.text),
                                            std::to_string(m.flags)};
        }
    }
    EXPECT_EQ(found, messages_);

    // Names, numbers and texts, without regard to case or accents; newest first.
    EXPECT_EQ(Search(db, u"3012"), (std::vector<Oid>{7, 4, 1}));
    EXPECT_EQ(Search(db, u"ecole zola"), (std::vector<Oid>{3}));
    EXPECT_EQ(Search(db, u"LODZ"), (std::vector<Oid>{6}));
    EXPECT_EQ(Search(db, u"muenchen"), (std::vector<Oid>{}));
    EXPECT_EQ(Search(db, u"münchen"), (std::vector<Oid>{2}));
    EXPECT_EQ(Search(db, u"\xD83D\xDE00"), (std::vector<Oid>{4}));
    EXPECT_EQ(Search(db, u"anna", kFolderSent), (std::vector<Oid>{7}));

    // The ids go on after the last one ever given out (8, deleted before the migration).
    SmsMessage next;
    next.folder = kFolderDraft;
    next.text = u"new";
    ASSERT_TRUE(WriteMessage(db, next));
    EXPECT_EQ(next.oid, 9u);
    EXPECT_EQ(Search(db, u"new"), (std::vector<Oid>{9}));

    RecentDatabase recent;
    std::vector<RecentRecipient> entries;
    ASSERT_TRUE(ListRecentByName(recent, &entries));
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].name, u"Anna");
}

TEST_F(MigrationFromVersion2Test, AMigrationThatFailsLeavesTheFileAsItWas) {
    sqlite3* holder = nullptr;
    ASSERT_EQ(sqlite3_open(dir_.File().c_str(), &holder), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(holder, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    SetStoreBusyTimeout(50);
    {
        MessageDatabase db;
        EXPECT_FALSE(OpenMessageStore(db));
    }
    SetStoreBusyTimeout(0);
    sqlite3_exec(holder, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(holder);
    EXPECT_EQ(Query(dir_.File(), "PRAGMA user_version"), "2");
    EXPECT_EQ(Query(dir_.File(), "SELECT count(*) FROM sqlite_schema WHERE name = 'messages_fts'"),
              "0");
    MessageDatabase db;
    ASSERT_TRUE(OpenMessageStore(db));
    EXPECT_EQ(Search(db, u"zola"), (std::vector<Oid>{3}));
}

// A store of the current layout whose search index was dropped by hand gets it back, filled.
TEST_F(MigrationFromVersion2Test, ADroppedSearchIndexIsMadeAgainWhenTheStoreIsOpened) {
    {
        MessageDatabase db;
        ASSERT_TRUE(OpenMessageStore(db));
    }
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(dir_.File().c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw, "DROP TABLE messages_fts", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(raw);
    MessageDatabase db;
    ASSERT_TRUE(OpenMessageStore(db));
    EXPECT_EQ(Query(dir_.File(), "SELECT count(*) FROM messages_fts"), "7");
    EXPECT_EQ(Search(db, u"zola"), (std::vector<Oid>{3}));
}
