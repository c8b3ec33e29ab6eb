// SPDX-License-Identifier: GPL-3.0-or-later
// A copy of the store made while another connection writes, and a copy put back: checked
// before anything is replaced, the store in use kept as velkan.sqlite3.bak, and seen by a
// connection that stayed open through it, as a running desktop program's does.
#include "store/store_backup.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "store/message_search.h"
#include "store/message_store.h"
#include "store/transfer_lock.h"
#include "store_test_util.h"

namespace fs = std::filesystem;

namespace {

constexpr FileTime kStart = 130'000'000'000'000'000ull;
constexpr FileTime kSecond = 10'000'000ull;

Oid Put(MessageDatabase& db, const std::u16string& text, FileTime time) {
    SmsMessage m;
    m.folder = kFolderInbox;
    m.time = time;
    m.number = u"+4930123456";
    m.text = text;
    EXPECT_TRUE(WriteMessage(db, m));
    return m.oid;
}

std::vector<std::u16string> Texts(MessageDatabase& db) {
    std::vector<SmsMessage> page;
    EXPECT_TRUE(db.ReadFolderPage(kFolderInbox, 0, 1000, &page));
    std::vector<std::u16string> out;
    for (const SmsMessage& m : page) out.push_back(m.text);
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

void Exec(const std::string& file, const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK)
        << (error != nullptr ? error : "");
    sqlite3_free(error);
    sqlite3_close(db);
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

class StoreBackupTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(OpenMessageStore(db_));
        Put(db_, u"first", kStart);
        Put(db_, u"second", kStart + kSecond);
    }
    std::string Beside(const std::string& name) const { return dir_.Root() + "/" + name; }

    TempDataDir dir_;
    MessageDatabase db_;
};

// The copy holds what was committed when it was made, not what another connection had written
// without committing yet; it is one file, checked, readable by its owner alone.
TEST_F(StoreBackupTest, TheCopyIsOneConsistentFileWhileAnotherConnectionWrites) {
    MessageDatabase writer;
    ASSERT_TRUE(OpenMessageStore(writer));
    MessageStoreBatch pending(writer);
    ASSERT_TRUE(pending.Started());
    Put(writer, u"not yet committed", kStart + 2 * kSecond);

    const std::string copy = Beside("copy.sqlite3");
    std::string error;
    ASSERT_TRUE(BackupStore(copy, false, &error)) << error;
    EXPECT_EQ(
        Query(copy, "SELECT group_concat(text, ',') FROM (SELECT text FROM messages ORDER BY id)"),
        "first,second");
    EXPECT_EQ(Query(copy, "PRAGMA journal_mode"), "delete");
    EXPECT_EQ(Query(copy, "PRAGMA integrity_check"), "ok");
    EXPECT_EQ(Query(copy, "SELECT count(*) FROM messages_fts"), "2");
    EXPECT_FALSE(fs::exists(copy + "-wal"));
    struct stat st;
    ASSERT_EQ(stat(copy.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    EXPECT_TRUE(pending.Commit());
}

TEST_F(StoreBackupTest, AnExistingFileIsReplacedOnlyWhenAskedTo) {
    const std::string copy = Beside("copy.sqlite3");
    std::ofstream(copy) << "my notes";
    std::string error;
    EXPECT_FALSE(BackupStore(copy, false, &error));
    EXPECT_NE(error.find("exists"), std::string::npos) << error;
    EXPECT_EQ(ReadFile(copy), "my notes");
    ASSERT_TRUE(BackupStore(copy, true, &error)) << error;
    EXPECT_EQ(Query(copy, "SELECT count(*) FROM messages"), "2");
    EXPECT_FALSE(BackupStore(dir_.File(), true, &error)) << "not over the store itself";
    EXPECT_FALSE(BackupStore(Beside("no/such/folder/copy"), false, &error));
    EXPECT_FALSE(error.empty());
}

// The copy comes back: the store in use is kept as velkan.sqlite3.bak, and a connection that
// was open all along (a running program) reads the restored messages, and finds them.
TEST_F(StoreBackupTest, ARestoreKeepsThePreviousStoreAndAnOpenConnectionSeesTheCopy) {
    const std::string copy = Beside("copy.sqlite3");
    std::string error;
    ASSERT_TRUE(BackupStore(copy, false, &error)) << error;
    const std::string copied = ReadFile(copy);
    Put(db_, u"third, after the copy", kStart + 3 * kSecond);
    ASSERT_EQ(Texts(db_).size(), 3u);

    ASSERT_TRUE(RestoreStore(copy, &error)) << error;
    EXPECT_EQ(Texts(db_), (std::vector<std::u16string>{u"second", u"first"}));
    std::vector<SmsMessage> found;
    MessageSearch search(db_, u"third");
    ASSERT_TRUE(search.Next(10, &found));
    EXPECT_TRUE(found.empty());
    EXPECT_EQ(Query(StoreBackupKeptPath(), "SELECT count(*) FROM messages"), "3");
    EXPECT_EQ(ReadFile(copy), copied) << "the file restored from is never changed";
    // The store goes on as before: new ids follow the restored ones.
    const Oid next = Put(db_, u"fourth", kStart + 4 * kSecond);
    EXPECT_EQ(next, 3u);
}

// Nothing is changed for a file that fails its checks.
TEST_F(StoreBackupTest, AFileThatFailsItsChecksChangesNothing) {
    const std::string good = Beside("good.sqlite3");
    std::string error;
    ASSERT_TRUE(BackupStore(good, false, &error)) << error;
    const std::string before = ReadFile(dir_.File());

    struct Case {
        const char* what;
        std::string file;
        std::string says;
    };
    std::vector<Case> cases;
    {
        // Damaged: the pages after the first overwritten.
        std::string bytes = ReadFile(good);
        for (std::size_t i = 4096; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7);
        const std::string file = Beside("damaged.sqlite3");
        std::ofstream(file, std::ios::binary) << bytes;
        cases.push_back({"damaged", file, "damaged"});
    }
    {
        const std::string file = Beside("newer.sqlite3");
        fs::copy_file(good, file);
        Exec(file, "PRAGMA user_version = 99");
        cases.push_back({"newer", file, "newer version"});
    }
    {
        const std::string file = Beside("other.sqlite3");
        Exec(file, "CREATE TABLE notes(x)");
        cases.push_back({"another program's", file, "not a message store"});
    }
    {
        const std::string file = Beside("text.txt");
        std::ofstream(file) << "hello, this is not a database at all, just text";
        cases.push_back({"not a database", file, "text.txt"});
    }
    cases.push_back({"missing", Beside("missing.sqlite3"), "cannot be read"});
    cases.push_back({"the store itself", dir_.File(), "is the store in use"});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        error.clear();
        EXPECT_FALSE(RestoreStore(c.file, &error));
        EXPECT_NE(error.find(c.says), std::string::npos) << error;
        EXPECT_FALSE(fs::exists(StoreBackupKeptPath()));
        EXPECT_EQ(Texts(db_), (std::vector<std::u16string>{u"second", u"first"}));
    }
    // Only the temporary copies of the checks came and went.
    std::size_t leftovers = 0;
    for (const auto& entry : fs::directory_iterator(dir_.Data())) {
        leftovers += entry.path().filename().string().find(".restore") != std::string::npos;
    }
    EXPECT_EQ(leftovers, 0u);
}

TEST_F(StoreBackupTest, NoRestoreWhileATransferRuns) {
    const std::string copy = Beside("copy.sqlite3");
    std::string error;
    ASSERT_TRUE(BackupStore(copy, false, &error)) << error;
    Put(db_, u"third", kStart + 3 * kSecond);
    TransferLock transfer;
    ASSERT_EQ(transfer.TryTake(&error), TransferLock::Outcome::kTaken);
    EXPECT_FALSE(RestoreStore(copy, &error));
    EXPECT_NE(error.find("transfer"), std::string::npos) << error;
    EXPECT_EQ(Texts(db_).size(), 3u);
    transfer.Release();
    EXPECT_TRUE(RestoreStore(copy, &error)) << error;
    EXPECT_EQ(Texts(db_).size(), 2u);
}

// A store of an earlier layout is brought up to date as it comes in, its search index made;
// nothing is made beside the file restored from.
TEST_F(StoreBackupTest, AStoreOfAnEarlierLayoutIsRestoredInTheCurrentOne) {
    const auto besideData = [] {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(STORE_TEST_DATA)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    };
    const std::vector<std::string> before = besideData();
    std::string error;
    ASSERT_TRUE(RestoreStore(std::string(STORE_TEST_DATA) + "/store-v2.sqlite3", &error)) << error;
    EXPECT_EQ(Query(dir_.File(), "PRAGMA user_version"), std::to_string(kStoreSchemaVersion));
    std::vector<SmsMessage> found;
    MessageSearch search(db_, u"zola");
    ASSERT_TRUE(search.Next(10, &found));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].oid, 3u);
    ASSERT_TRUE(RestoreStore(std::string(STORE_TEST_DATA) + "/store-v1.sqlite3", &error)) << error;
    std::uint32_t inbox = 0;
    ASSERT_TRUE(db_.CountFolder(kFolderInbox, &inbox));
    EXPECT_EQ(inbox, 5u);
    EXPECT_EQ(besideData(), before);
}

// A copy of a live store with its -wal beside it: the committed transactions in the -wal come
// along.
TEST_F(StoreBackupTest, TheWriteAheadLogOfACopiedLiveStoreComesAlong) {
    const std::string copy = Beside("live");
    fs::create_directories(copy);
    {
        MessageDatabase writer;  // keeps the -wal from being folded in while the files are copied
        ASSERT_TRUE(OpenMessageStore(writer));
        Put(writer, u"only in the wal", kStart + 5 * kSecond);
        ASSERT_TRUE(fs::exists(dir_.File() + "-wal"));
        fs::copy_file(dir_.File(), copy + "/velkan.sqlite3");
        fs::copy_file(dir_.File() + "-wal", copy + "/velkan.sqlite3-wal");
    }
    Put(db_, u"after the copy", kStart + 6 * kSecond);
    std::string error;
    ASSERT_TRUE(RestoreStore(copy + "/velkan.sqlite3", &error)) << error;
    EXPECT_EQ(Texts(db_), (std::vector<std::u16string>{u"only in the wal", u"second", u"first"}));
}

}  // namespace
