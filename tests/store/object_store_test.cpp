// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/object_store.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "store/message_store.h"
#include "store_test_util.h"

namespace fs = std::filesystem;

namespace {

unsigned ModeOf(const std::string& path) {
    struct stat st;
    if (stat(path.c_str(), &st) != 0) return 0xFFFF;
    return st.st_mode & 0777;
}

std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteAll(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
}

// Stores a few messages through a store object, then lets it go.
void StoreSome(int count) {
    MessageDatabase db;
    ASSERT_TRUE(OpenMessageStore(db));
    MessageStoreBatch batch(db);
    for (int i = 0; i < count; ++i) {
        SmsMessage m;
        m.folder = kFolderInbox;
        m.time = 126'000'000'000'000'000ull + static_cast<FileTime>(i);
        m.text = std::u16string(100, u'x');
        ASSERT_TRUE(WriteMessage(db, m));
    }
    ASSERT_TRUE(batch.Commit());
}

std::uint32_t InboxCount() {
    MessageDatabase db;
    std::uint32_t n = 0;
    if (!OpenMessageStore(db) || !db.CountFolder(kFolderInbox, &n)) return 0xFFFFFFFF;
    return n;
}

// Folds the write-ahead log into the file, so that the file alone holds every record.
void Checkpoint(const std::string& file) {
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw, "PRAGMA wal_checkpoint(TRUNCATE)", nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(raw);
}

class ObjectStoreTest : public ::testing::Test {
  protected:
    void TearDown() override {
        for (const auto& n : TakeStoreNotices())
            std::printf("left notice: %s\n", n.message.c_str());
    }
    TempDataDir dir_;
    FakeLocalTime clock_{{2024, 3, 0, 9, 14, 5, 7, 0}};
};

TEST_F(ObjectStoreTest, AFreshStoreIsPrivateAndVersioned) {
    StoreSome(1);
    EXPECT_EQ(ModeOf(dir_.Data()), 0700u);
    EXPECT_EQ(ModeOf(dir_.File()), 0600u);
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open_v2(dir_.File().c_str(), &raw, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    sqlite3_stmt* stmt = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(raw, "PRAGMA user_version", -1, &stmt, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(stmt, 0), static_cast<int>(kStoreSchemaVersion));
    sqlite3_finalize(stmt);
    ASSERT_EQ(sqlite3_prepare_v2(raw, "PRAGMA application_id", -1, &stmt, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    EXPECT_EQ(static_cast<std::uint32_t>(sqlite3_column_int64(stmt, 0)), kStoreApplicationId);
    sqlite3_finalize(stmt);
    sqlite3_close(raw);
    // The companions of the write-ahead log are private too.
    for (const char* suffix : {"-wal", "-shm"}) {
        const std::string companion = dir_.File() + suffix;
        if (fs::exists(companion)) {
            EXPECT_EQ(ModeOf(companion), 0600u) << suffix;
        }
    }
    EXPECT_TRUE(TakeStoreNotices().empty());
}

TEST_F(ObjectStoreTest, TheDataFolderFollowsTheEnvironment) {
    SetStoreDataDirectory("");
    const char* keep[] = {"VELKAN_DATA_DIR", "XDG_DATA_HOME", "HOME"};
    std::string saved[3];
    bool had[3];
    for (int i = 0; i < 3; ++i) {
        const char* v = std::getenv(keep[i]);
        had[i] = v != nullptr;
        saved[i] = had[i] ? v : "";
    }
    setenv("HOME", "/home/someone", 1);
    unsetenv("XDG_DATA_HOME");
    unsetenv("VELKAN_DATA_DIR");
    EXPECT_EQ(StoreDataDirectory(), "/home/someone/.local/share/velkan-tessiver");
    setenv("XDG_DATA_HOME", "relative/ignored", 1);
    EXPECT_EQ(StoreDataDirectory(), "/home/someone/.local/share/velkan-tessiver");
    setenv("XDG_DATA_HOME", "/xdg/data", 1);
    EXPECT_EQ(StoreDataDirectory(), "/xdg/data/velkan-tessiver");
    EXPECT_EQ(StoreFilePath(), "/xdg/data/velkan-tessiver/velkan.sqlite3");
    setenv("VELKAN_DATA_DIR", "/own/place", 1);
    EXPECT_EQ(StoreDataDirectory(), "/own/place");
    unsetenv("VELKAN_DATA_DIR");
    unsetenv("XDG_DATA_HOME");
    unsetenv("HOME");
    EXPECT_EQ(StoreDataDirectory(), "");
    MessageDatabase db;
    EXPECT_FALSE(OpenMessageStore(db));
    const auto notices = TakeStoreNotices();
    ASSERT_FALSE(notices.empty());
    EXPECT_EQ(notices[0].problem, StoreProblem::kNoDataFolder);
    for (int i = 0; i < 3; ++i) {
        if (had[i]) {
            setenv(keep[i], saved[i].c_str(), 1);
        } else {
            unsetenv(keep[i]);
        }
    }
    SetStoreDataDirectory(dir_.Data());
}

TEST_F(ObjectStoreTest, AFileOfGarbageIsSetAsideAndReported) {
    fs::create_directories(dir_.Data());
    const std::string garbage(3000, '\x5A');
    WriteAll(dir_.File(), "this is not a database at all " + garbage);
    StoreSome(2);
    const auto notices = TakeStoreNotices();
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(notices[0].problem, StoreProblem::kDamagedSetAside);
    EXPECT_EQ(notices[0].path, dir_.File());
    EXPECT_EQ(notices[0].movedTo, dir_.File() + ".damaged-20240309-140507");
    EXPECT_NE(notices[0].message.find("set aside"), std::string::npos);
    // The damaged bytes are kept as they were, and the new store works.
    EXPECT_TRUE(ReadAll(notices[0].movedTo) == "this is not a database at all " + garbage);
    EXPECT_EQ(InboxCount(), 2u);
}

TEST_F(ObjectStoreTest, ATruncatedFileIsSetAsideAndReported) {
    StoreSome(400);
    Checkpoint(dir_.File());
    const std::string whole = ReadAll(dir_.File());
    ASSERT_GT(whole.size(), 20000u);
    // A second process finds the file cut short (this one forgets that it checked it).
    const std::string moved = dir_.File() + ".old";
    fs::rename(dir_.File(), moved);
    WriteAll(dir_.File(), whole.substr(0, whole.size() / 2));
    StoreSome(1);
    const auto notices = TakeStoreNotices();
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(notices[0].problem, StoreProblem::kDamagedSetAside);
    EXPECT_EQ(ReadAll(notices[0].movedTo).size(), whole.size() / 2);
    EXPECT_EQ(InboxCount(), 1u);
}

TEST_F(ObjectStoreTest, AFileCutInsideItsHeaderIsSetAside) {
    StoreSome(3);
    Checkpoint(dir_.File());
    const std::string whole = ReadAll(dir_.File());
    fs::remove(dir_.File());
    WriteAll(dir_.File(), whole.substr(0, 60));
    EXPECT_EQ(InboxCount(), 0u);
    const auto notices = TakeStoreNotices();
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(notices[0].problem, StoreProblem::kDamagedSetAside);
}

TEST_F(ObjectStoreTest, SetAsideNamesDoNotCollide) {
    fs::create_directories(dir_.Data());
    WriteAll(dir_.File(), std::string(4096, '\x01'));
    StoreSome(1);
    fs::remove(dir_.File());
    for (const char* s : {"-wal", "-shm"}) fs::remove(dir_.File() + s);
    WriteAll(dir_.File(), std::string(4096, '\x02'));
    StoreSome(1);
    const auto notices = TakeStoreNotices();
    ASSERT_EQ(notices.size(), 2u);
    EXPECT_EQ(notices[0].movedTo, dir_.File() + ".damaged-20240309-140507");
    EXPECT_EQ(notices[1].movedTo, dir_.File() + ".damaged-20240309-140507-2");
    EXPECT_TRUE(ReadAll(notices[1].movedTo) == std::string(4096, '\x02'));
}

TEST_F(ObjectStoreTest, ADatabaseOfAnotherProgramIsSetAside) {
    fs::create_directories(dir_.Data());
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(dir_.File().c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(
        sqlite3_exec(raw, "PRAGMA application_id=1234; CREATE TABLE t(x); INSERT INTO t VALUES(1);",
                     nullptr, nullptr, nullptr),
        SQLITE_OK);
    sqlite3_close(raw);
    StoreSome(1);
    const auto notices = TakeStoreNotices();
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(notices[0].problem, StoreProblem::kDamagedSetAside);
    EXPECT_TRUE(fs::exists(notices[0].movedTo));
}

TEST_F(ObjectStoreTest, AStoreOfANewerVersionIsLeftAlone) {
    fs::create_directories(dir_.Data());
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(dir_.File().c_str(), &raw), SQLITE_OK);
    const std::string sql = "PRAGMA application_id=" + std::to_string(kStoreApplicationId) +
                            "; PRAGMA user_version=" + std::to_string(kStoreSchemaVersion + 1) +
                            ";";
    ASSERT_EQ(sqlite3_exec(raw, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(raw);
    const std::string before = ReadAll(dir_.File());
    MessageDatabase db;
    EXPECT_FALSE(OpenMessageStore(db));
    const auto notices = TakeStoreNotices();
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(notices[0].problem, StoreProblem::kNewerVersion);
    EXPECT_TRUE(ReadAll(dir_.File()) == before);
    int others = 0;
    for (const auto& entry : fs::directory_iterator(dir_.Data())) {
        if (entry.path().filename().string().find("damaged") != std::string::npos) ++others;
    }
    EXPECT_EQ(others, 0);
}

TEST_F(ObjectStoreTest, AFolderThatIsAFileIsReportedClearly) {
    WriteAll(dir_.Root() + "/plain-file", "x");
    SetStoreDataDirectory(dir_.Root() + "/plain-file/data");
    MessageDatabase db;
    EXPECT_FALSE(OpenMessageStore(db));
    SmsMessage m;
    EXPECT_FALSE(WriteMessage(db, m));
    const auto notices = TakeStoreNotices();
    ASSERT_FALSE(notices.empty());
    EXPECT_EQ(notices[0].problem, StoreProblem::kFolderUnusable);
    EXPECT_NE(notices[0].message.find("plain-file"), std::string::npos);
    SetStoreDataDirectory(dir_.Data());
}

TEST_F(ObjectStoreTest, AReadOnlyDataFolderIsReportedClearly) {
    fs::create_directories(dir_.Data());
    fs::permissions(dir_.Data(), fs::perms::owner_read | fs::perms::owner_exec);
    const int result = RunWithoutPrivileges([]() {
        MessageDatabase db;
        if (OpenMessageStore(db)) return 1;
        const auto notices = TakeStoreNotices();
        if (notices.empty()) return 2;
        if (notices[0].problem != StoreProblem::kFolderUnusable) return 3;
        if (notices[0].message.find("not writable") == std::string::npos) return 4;
        return 0;
    });
    fs::permissions(dir_.Data(), fs::perms::owner_all);
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(fs::exists(dir_.File()));
}

TEST_F(ObjectStoreTest, AReadOnlyFolderWithAStoreInItIsReportedClearly) {
    StoreSome(1);
    fs::permissions(dir_.Data(), fs::perms::owner_read | fs::perms::owner_exec);
    const int result = RunWithoutPrivileges([]() {
        MessageDatabase db;
        if (OpenMessageStore(db)) return 1;
        const auto notices = TakeStoreNotices();
        if (notices.empty()) return 2;
        return notices[0].problem == StoreProblem::kFolderUnusable ? 0 : 3;
    });
    fs::permissions(dir_.Data(), fs::perms::owner_all);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(InboxCount(), 1u);  // nothing was lost or set aside
    EXPECT_TRUE(TakeStoreNotices().empty());
}

TEST_F(ObjectStoreTest, AnUnreadableFileIsReportedAndNotSetAside) {
    StoreSome(1);
    Checkpoint(dir_.File());
    for (const char* s : {"-wal", "-shm"}) fs::remove(dir_.File() + s);
    fs::permissions(dir_.File(), fs::perms::none);
    const int result = RunWithoutPrivileges([]() {
        MessageDatabase db;
        if (OpenMessageStore(db)) return 1;
        const auto notices = TakeStoreNotices();
        if (notices.empty()) return 2;
        return notices[0].problem == StoreProblem::kCannotOpen ? 0 : 3;
    });
    fs::permissions(dir_.File(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(InboxCount(), 1u);
    int setAside = 0;
    for (const auto& entry : fs::directory_iterator(dir_.Data())) {
        if (entry.path().filename().string().find("damaged") != std::string::npos) ++setAside;
    }
    EXPECT_EQ(setAside, 0);
}

}  // namespace
