// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/message_salvage.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "store/message_store.h"
#include "store_test_util.h"

namespace fs = std::filesystem;

namespace {

constexpr int kCount = 300;

// The capital M tells the message's row from the search index's copy of its text, which is
// folded to lower case.
std::string Marker(int i) {
    char text[32];
    std::snprintf(text, sizeof text, "Message %04d ", i);
    return text;
}

std::u16string TextOf(int i) {
    const std::string text = Marker(i) + std::string(140, 'x');
    return std::u16string(text.begin(), text.end());
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

std::set<std::string> Names(const std::string& dir) {
    std::set<std::string> out;
    for (const auto& entry : fs::directory_iterator(dir)) {
        out.insert(entry.path().filename().string());
    }
    return out;
}

void WriteMessages(MessageDatabase& db) {
    MessageStoreBatch batch(db);
    for (int i = 0; i < kCount; ++i) {
        SmsMessage m;
        m.folder = static_cast<FolderId>(kFolderInbox + i % 4);
        m.time = 127000000000000000ull + static_cast<FileTime>(i) * 10000000;
        m.text = TextOf(i);
        m.number = u"+4930123";
        m.name = u"Anna";
        m.flags = static_cast<std::uint32_t>(i % 16);
        ASSERT_TRUE(WriteMessage(db, m));
    }
    ASSERT_TRUE(batch.Commit());
}

// The messages of `salvaged` by their number in the text.
std::set<int> Numbers(const SalvagedMessages& salvaged) {
    std::set<int> out;
    for (const SmsMessage& m : salvaged.messages) {
        int i = -1;
        const std::string text(m.text.begin(), m.text.end());
        if (std::sscanf(text.c_str(), "Message %d", &i) == 1) out.insert(i);
    }
    return out;
}

// Fills the pages that hold the given messages with 0xFF; the numbers of every message kept on
// those pages.
std::set<int> DamagePagesOf(const std::string& file, std::initializer_list<int> messages) {
    std::string bytes = ReadFile(file);
    const std::size_t pageSize =
        (static_cast<unsigned char>(bytes[16]) << 8) | static_cast<unsigned char>(bytes[17]);
    auto pageOf = [&](int i) {
        // Texts are kept as UTF-8: the marker stands in the file as it is.
        const std::size_t at = bytes.find(Marker(i));
        EXPECT_NE(at, std::string::npos) << i;
        return at / pageSize;
    };
    std::set<std::size_t> pages;
    for (int i : messages) pages.insert(pageOf(i));
    std::set<int> lost;
    for (int i = 0; i < kCount; ++i) {
        if (pages.count(pageOf(i)) != 0) lost.insert(i);
    }
    for (std::size_t page : pages) {
        std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(page * pageSize),
                  bytes.begin() + static_cast<std::ptrdiff_t>((page + 1) * pageSize), '\xFF');
    }
    std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
    return lost;
}

}  // namespace

TEST(MessageSalvage, AnIntactFileGivesEveryMessageAsItWasAndStaysAsItWas) {
    TempDataDir dir;
    {
        MessageDatabase db;
        ASSERT_TRUE(OpenMessageStore(db));
        WriteMessages(db);
    }
    const std::string before = ReadFile(dir.File());
    const std::set<std::string> files = Names(dir.Data());

    SalvagedMessages salvaged;
    std::string detail;
    ASSERT_EQ(SalvageMessages(dir.File(), &salvaged, &detail), SalvageResult::kRead) << detail;
    ASSERT_EQ(salvaged.messages.size(), static_cast<std::size_t>(kCount));
    EXPECT_EQ(salvaged.unreadable, 0u);
    EXPECT_FALSE(salvaged.partlyUnreadable);
    for (int i = 0; i < kCount; ++i) {
        const SmsMessage& m = salvaged.messages[static_cast<std::size_t>(i)];
        EXPECT_EQ(m.text, TextOf(i));
        EXPECT_EQ(m.folder, static_cast<FolderId>(kFolderInbox + i % 4));
        EXPECT_EQ(m.flags, static_cast<std::uint32_t>(i % 16));
        EXPECT_EQ(m.time, 127000000000000000ull + static_cast<FileTime>(i) * 10000000);
        EXPECT_EQ(m.number, u"+4930123");
        EXPECT_EQ(m.name, u"Anna");
        EXPECT_EQ(m.oid, 0u);
        EXPECT_EQ(m.store, nullptr);
    }
    EXPECT_EQ(ReadFile(dir.File()), before);
    EXPECT_EQ(Names(dir.Data()), files) << "no companion file was made beside it";
}

// Transactions committed to the -wal of a file that was never checkpointed (the program was
// killed) are messages too.
TEST(MessageSalvage, MessagesStillInTheWriteAheadLogAreRead) {
    TempDataDir dir;
    MessageDatabase db;
    ASSERT_TRUE(OpenMessageStore(db));
    WriteMessages(db);
    ASSERT_TRUE(fs::exists(dir.File() + "-wal"));
    ASSERT_GT(fs::file_size(dir.File() + "-wal"), 0u);

    SalvagedMessages salvaged;
    std::string detail;
    ASSERT_EQ(SalvageMessages(dir.File(), &salvaged, &detail), SalvageResult::kRead) << detail;
    EXPECT_EQ(salvaged.messages.size(), static_cast<std::size_t>(kCount));
}

// Two damaged pages: the messages between them are reached through the time index, and those
// on the pages are counted as unreadable.
TEST(MessageSalvage, DamagedPagesAreReadAroundAndTheirMessagesCounted) {
    TempDataDir dir;
    {
        MessageDatabase db;
        ASSERT_TRUE(OpenMessageStore(db));
        WriteMessages(db);
    }
    const std::set<int> lost = DamagePagesOf(dir.File(), {100, 200});
    ASSERT_FALSE(lost.empty());

    SalvagedMessages salvaged;
    std::string detail;
    ASSERT_EQ(SalvageMessages(dir.File(), &salvaged, &detail), SalvageResult::kRead) << detail;
    EXPECT_EQ(salvaged.messages.size(), kCount - lost.size());
    EXPECT_EQ(salvaged.unreadable, lost.size());
    EXPECT_FALSE(salvaged.partlyUnreadable);
    for (int i : Numbers(salvaged)) EXPECT_EQ(lost.count(i), 0u) << i;
}

// Without an index that names every record, the ids between the damaged pages are looked up
// one by one; what the damaged pages held cannot be counted, and the result says so.
TEST(MessageSalvage, WithoutAnIndexTheIdsAreTriedOneByOne) {
    TempDataDir dir;
    {
        MessageDatabase db;
        ASSERT_TRUE(OpenMessageStore(db));
        WriteMessages(db);
    }
    {
        sqlite3* raw = nullptr;
        ASSERT_EQ(sqlite3_open(dir.File().c_str(), &raw), SQLITE_OK);
        std::vector<std::string> indexes;
        sqlite3_stmt* stmt = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(raw,
                                     "SELECT name FROM sqlite_master WHERE type = 'index' AND "
                                     "tbl_name = 'messages' AND sql IS NOT NULL",
                                     -1, &stmt, nullptr),
                  SQLITE_OK);
        while (sqlite3_step(stmt) == SQLITE_ROW) {
            indexes.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)));
        }
        sqlite3_finalize(stmt);
        ASSERT_FALSE(indexes.empty());
        for (const std::string& index : indexes) {
            ASSERT_EQ(sqlite3_exec(raw, ("DROP INDEX " + index).c_str(), nullptr, nullptr, nullptr),
                      SQLITE_OK);
        }
        ASSERT_EQ(sqlite3_exec(raw, "VACUUM", nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(raw);
    }
    const std::set<int> lost = DamagePagesOf(dir.File(), {100, 200});
    ASSERT_FALSE(lost.empty());

    SalvagedMessages salvaged;
    std::string detail;
    ASSERT_EQ(SalvageMessages(dir.File(), &salvaged, &detail), SalvageResult::kRead) << detail;
    EXPECT_EQ(salvaged.messages.size(), kCount - lost.size());
    EXPECT_EQ(salvaged.unreadable, 0u);
    EXPECT_TRUE(salvaged.partlyUnreadable);
}

TEST(MessageSalvage, WhatIsNotAStoreIsSaidSo) {
    TempDataDir dir;
    fs::create_directories(dir.Root() + "/other");
    const std::string garbage = dir.Root() + "/other/garbage";
    std::ofstream(garbage, std::ios::binary) << std::string(5000, '\x7f');
    SalvagedMessages salvaged;
    std::string detail;
    EXPECT_EQ(SalvageMessages(garbage, &salvaged, &detail), SalvageResult::kCannotRead);
    EXPECT_FALSE(detail.empty());
    EXPECT_EQ(SalvageMessages(dir.Root() + "/other/none", &salvaged, &detail),
              SalvageResult::kCannotRead);

    const std::string other = dir.Root() + "/other/other.sqlite3";
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(other.c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw, "CREATE TABLE t(x)", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(raw);
    EXPECT_EQ(SalvageMessages(other, &salvaged, &detail), SalvageResult::kNotAStore);
    EXPECT_TRUE(salvaged.messages.empty());
}
