// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/message_salvage.h"

#include <sqlite3.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <system_error>

#include "common/text_convert.h"
#include "store/message_store.h"
#include "store/object_store.h"
#include "store/store_text.h"

namespace fs = std::filesystem;

namespace {

// Ids between the two ends of a damaged table are looked up one by one, up to this many; a
// wider gap is reported as partly unreadable instead.
constexpr std::int64_t kMaxProbedIds = 1000000;

// The table of messages of the earlier layout, named by its catalogue's id.
std::string OldTableName(std::int64_t id) {
    return "records_" + std::to_string(id);
}

// A private folder holding the copy, removed with everything in it.
class CopyFolder {
  public:
    CopyFolder() {
        std::error_code ec;
        std::string pattern = (fs::temp_directory_path(ec) / "velkan-recover-XXXXXX").string();
        if (!ec && mkdtemp(pattern.data()) != nullptr) path_ = pattern;
    }
    ~CopyFolder() {
        std::error_code ec;
        if (!path_.empty()) fs::remove_all(path_, ec);
    }
    CopyFolder(const CopyFolder&) = delete;
    CopyFolder& operator=(const CopyFolder&) = delete;
    const std::string& Path() const { return path_; }

  private:
    std::string path_;
};

class Connection {
  public:
    ~Connection() {
        if (db_ != nullptr) sqlite3_close(db_);
    }
    bool Open(const std::string& path) {
        return sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK;
    }
    sqlite3* Get() const { return db_; }
    std::string Error() const { return db_ != nullptr ? sqlite3_errmsg(db_) : "out of memory"; }

  private:
    sqlite3* db_ = nullptr;
};

class Statement {
  public:
    Statement(sqlite3* db, const std::string& sql) {
        rc_ = sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt_, nullptr);
    }
    ~Statement() { sqlite3_finalize(stmt_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    bool Ok() const { return rc_ == SQLITE_OK && stmt_ != nullptr; }
    sqlite3_stmt* Get() const { return stmt_; }

  private:
    sqlite3_stmt* stmt_ = nullptr;
    int rc_ = SQLITE_ERROR;
};

// The columns a message row is read with, after its id: folder, time, name, number, text,
// flags, in the current layout and in the earlier one (a column per property).
constexpr const char* kColumns[] = {"folder", "time", "name", "number", "text", "flags"};
constexpr const char* kOldColumns[] = {"p_000A0013", "p_000B0040", "p_000D001F",
                                       "p_000F001F", "p_000E001F", "p_00100013"};

// Column `col` as text, or false when it holds something else (NULL reads as empty).
bool TextColumn(sqlite3_stmt* stmt, int col, std::u16string* out) {
    out->clear();
    const int kind = sqlite3_column_type(stmt, col);
    if (kind == SQLITE_NULL) return true;
    if (kind == SQLITE_TEXT) {
        *out = ColumnStoreText(stmt, col);
        return true;
    }
    if (kind != SQLITE_BLOB) return false;
    const int bytes = sqlite3_column_bytes(stmt, col);
    if (bytes % 2 != 0) return false;
    *out = DecodeUtf16Blob(sqlite3_column_blob(stmt, col), bytes);
    return true;
}

// A row (id, then kColumns) as a message; false when it makes none: every message was written
// with a folder and a time, so a row without them, or with values of the wrong kind, is
// damaged.
bool RowToMessage(sqlite3_stmt* stmt, SmsMessage* message) {
    if (sqlite3_column_type(stmt, 1) != SQLITE_INTEGER ||
        sqlite3_column_type(stmt, 2) != SQLITE_INTEGER) {
        return false;
    }
    const std::int64_t folder = sqlite3_column_int64(stmt, 1);
    const std::int64_t time = sqlite3_column_int64(stmt, 2);
    if (folder < kFolderInbox || folder > kFolderSent || time <= 0) return false;
    std::int64_t flags = 0;
    const int flagsKind = sqlite3_column_type(stmt, 6);
    if (flagsKind == SQLITE_INTEGER) {
        flags = sqlite3_column_int64(stmt, 6);
        if (flags < 0 || flags > 0xFFFFFFFFll) return false;
    } else if (flagsKind != SQLITE_NULL) {
        return false;
    }
    SmsMessage m;
    if (!TextColumn(stmt, 3, &m.name) || !TextColumn(stmt, 4, &m.number) ||
        !TextColumn(stmt, 5, &m.text)) {
        return false;
    }
    m.folder = static_cast<FolderId>(folder);
    m.time = static_cast<FileTime>(time);
    m.flags = static_cast<std::uint32_t>(flags);
    *message = std::move(m);
    return true;
}

class Salvage {
  public:
    Salvage(sqlite3* db, std::string table, std::string columns)
        : db_(db),
          table_(std::move(table)),
          select_("SELECT oid, " + columns + " FROM " + table_) {}

    void Run(SalvagedMessages* out) {
        // The table from both ends: each walk stops at the first part it cannot read.
        std::int64_t low = 0;
        const bool whole = Walk(select_ + " ORDER BY oid ASC", &low);
        std::int64_t high = std::numeric_limits<std::int64_t>::max();
        bool indexed = whole;
        if (!whole) {
            Walk(select_ + " ORDER BY oid DESC", &high);
            // Every index that covers the whole table names every record; one read to its end
            // says which records exist.
            indexed = WalkIndexes();
            for (std::int64_t id : known_) {
                if (read_.count(id) == 0 && damaged_.count(id) == 0) Probe(id, true);
            }
            if (!indexed) ProbeGap(low, high, out);
        }
        out->messages.clear();
        out->messages.reserve(read_.size());
        for (auto& entry : read_) out->messages.push_back(std::move(entry.second));
        out->unreadable = static_cast<std::uint32_t>(damaged_.size());
    }

  private:
    void Take(sqlite3_stmt* stmt) {
        const std::int64_t id = sqlite3_column_int64(stmt, 0);
        known_.insert(id);
        SmsMessage message;
        if (RowToMessage(stmt, &message)) {
            damaged_.erase(id);
            read_[id] = std::move(message);
        } else if (read_.count(id) == 0) {
            damaged_.insert(id);
        }
    }

    // Reads the rows of `sql` until its end (true) or a failure; *last is the last id read.
    bool Walk(const std::string& sql, std::int64_t* last) {
        Statement stmt(db_, sql);
        if (!stmt.Ok()) return false;
        int rc;
        while ((rc = sqlite3_step(stmt.Get())) == SQLITE_ROW) {
            Take(stmt.Get());
            *last = sqlite3_column_int64(stmt.Get(), 0);
        }
        return rc == SQLITE_DONE;
    }

    // The ids named by the table's full indexes, from both ends of each; true when one of them
    // was read to its end.
    bool WalkIndexes() {
        std::vector<std::string> indexes;
        {
            Statement list(db_, "SELECT name, partial FROM pragma_index_list('" + table_ + "')");
            if (!list.Ok()) return false;
            while (sqlite3_step(list.Get()) == SQLITE_ROW) {
                const unsigned char* name = sqlite3_column_text(list.Get(), 0);
                if (name != nullptr && sqlite3_column_int(list.Get(), 1) == 0) {
                    indexes.emplace_back(reinterpret_cast<const char*>(name));
                }
            }
        }
        bool complete = false;
        for (const std::string& index : indexes) {
            std::string order;
            {
                Statement columns(db_, "SELECT name FROM pragma_index_info('" + index + "')");
                if (!columns.Ok()) continue;
                while (sqlite3_step(columns.Get()) == SQLITE_ROW) {
                    const unsigned char* name = sqlite3_column_text(columns.Get(), 0);
                    if (name == nullptr) continue;
                    order += std::string(reinterpret_cast<const char*>(name)) + " DESC, ";
                }
            }
            const std::string source = "SELECT oid FROM " + table_ + " INDEXED BY " + index;
            complete = IndexIds(source) || complete;
            IndexIds(source + " ORDER BY " + order + "oid DESC");
        }
        return complete;
    }

    bool IndexIds(const std::string& sql) {
        Statement stmt(db_, sql);
        if (!stmt.Ok()) return false;
        int rc;
        while ((rc = sqlite3_step(stmt.Get())) == SQLITE_ROW) {
            known_.insert(sqlite3_column_int64(stmt.Get(), 0));
        }
        return rc == SQLITE_DONE;
    }

    // Looks up record `id` alone; false when the look-up failed. A failed look-up of a record
    // known to exist counts it as unreadable.
    bool Probe(std::int64_t id, bool exists) {
        if (!probe_) probe_ = std::make_unique<Statement>(db_, select_ + " WHERE oid = ?1");
        sqlite3_stmt* stmt = probe_->Get();
        if (!probe_->Ok()) return false;
        sqlite3_reset(stmt);
        sqlite3_bind_int64(stmt, 1, id);
        const int rc = sqlite3_step(stmt);
        if (rc == SQLITE_ROW) {
            Take(stmt);
            return true;
        }
        if (rc == SQLITE_DONE) return true;
        if (exists) damaged_.insert(id);
        return false;
    }

    // The ids between the two walks' ends that no index named, up to the highest id ever
    // given (AUTOINCREMENT keeps it).
    void ProbeGap(std::int64_t low, std::int64_t high, SalvagedMessages* out) {
        std::int64_t top = high;
        {
            Statement seq(db_, "SELECT seq FROM sqlite_sequence WHERE name = '" + table_ + "'");
            if (seq.Ok() && sqlite3_step(seq.Get()) == SQLITE_ROW) {
                top = std::min<std::int64_t>(top, sqlite3_column_int64(seq.Get(), 0) + 1);
            }
        }
        if (top - low - 1 > kMaxProbedIds) {
            out->partlyUnreadable = true;
            return;
        }
        for (std::int64_t id = low + 1; id < top; ++id) {
            if (known_.count(id) != 0) continue;
            if (!Probe(id, false)) out->partlyUnreadable = true;
        }
    }

    sqlite3* db_;
    std::string table_;
    std::string select_;
    std::unique_ptr<Statement> probe_;
    std::set<std::int64_t> known_;
    std::set<std::int64_t> damaged_;
    std::map<std::int64_t, SmsMessage> read_;
};

// The select list of a message row in `table`: a column the table lacks reads as NULL.
bool ColumnsOf(sqlite3* db, const std::string& table, const char* const (&names)[6],
               std::string* columns, std::string* detail) {
    std::set<std::string> present;
    Statement info(db, "SELECT name FROM pragma_table_info('" + table + "')");
    if (!info.Ok()) {
        *detail = sqlite3_errmsg(db);
        return false;
    }
    int rc;
    while ((rc = sqlite3_step(info.Get())) == SQLITE_ROW) {
        const unsigned char* name = sqlite3_column_text(info.Get(), 0);
        if (name != nullptr) present.insert(reinterpret_cast<const char*>(name));
    }
    if (rc != SQLITE_DONE || present.empty()) {
        *detail = rc != SQLITE_DONE ? sqlite3_errmsg(db) : "its table of messages is missing";
        return false;
    }
    columns->clear();
    for (const char* name : names) {
        if (!columns->empty()) *columns += ", ";
        *columns += present.count(name) != 0 ? std::string(name) : std::string("NULL");
    }
    return true;
}

// Copies `from` to `to`; false when `from` cannot be read.
bool CopyFile(const std::string& from, const std::string& to, std::string* detail) {
    std::error_code ec;
    fs::copy_file(from, to, fs::copy_options::overwrite_existing, ec);
    if (ec) {
        *detail = ec.message();
        return false;
    }
    return true;
}

}  // namespace

SalvageResult SalvageMessages(const std::string& path, SalvagedMessages* out, std::string* detail) {
    *out = SalvagedMessages{};
    CopyFolder folder;
    if (folder.Path().empty()) {
        *detail = "no private folder for a copy could be made";
        return SalvageResult::kCannotRead;
    }
    const std::string copy = folder.Path() + "/copy.sqlite3";
    if (!CopyFile(path, copy, detail)) return SalvageResult::kCannotRead;
    std::error_code ec;
    if (fs::exists(path + "-wal", ec) && !CopyFile(path + "-wal", copy + "-wal", detail)) {
        return SalvageResult::kCannotRead;
    }

    Connection db;
    if (!db.Open(copy)) {
        *detail = db.Error();
        return SalvageResult::kCannotRead;
    }
    sqlite3_extended_result_codes(db.Get(), 0);
    std::int64_t appId = 0;
    {
        Statement stmt(db.Get(), "PRAGMA application_id");
        const int rc = stmt.Ok() ? sqlite3_step(stmt.Get()) : SQLITE_ERROR;
        if (rc != SQLITE_ROW) {
            *detail = db.Error();
            return SalvageResult::kCannotRead;
        }
        appId = sqlite3_column_int64(stmt.Get(), 0);
    }
    if (appId != 0 && static_cast<std::uint32_t>(appId) != kStoreApplicationId) {
        *detail = "it is a database of another program";
        return SalvageResult::kNotAStore;
    }

    // The current layout keeps the messages in "messages"; the earlier one in the table its
    // catalogue names.
    bool current = false;
    {
        Statement stmt(db.Get(),
                       "SELECT 1 FROM sqlite_schema WHERE type = 'table' AND name = 'messages'");
        const int rc = stmt.Ok() ? sqlite3_step(stmt.Get()) : SQLITE_ERROR;
        if (rc != SQLITE_ROW && rc != SQLITE_DONE) {
            *detail = db.Error();
            return SalvageResult::kCannotRead;
        }
        current = rc == SQLITE_ROW;
    }
    std::string table = "messages";
    if (!current) {
        Statement stmt(db.Get(), "SELECT id FROM object_databases WHERE name = ?1");
        if (!stmt.Ok()) {
            *detail = db.Error();
            // A database without either layout's tables is not a store.
            const bool missing = std::string(db.Error()).find("no such table") != std::string::npos;
            return missing ? SalvageResult::kNotAStore : SalvageResult::kCannotRead;
        }
        sqlite3_bind_text(stmt.Get(), 1, "Velkan Tessiver SmsDb", -1, SQLITE_STATIC);
        const int rc = sqlite3_step(stmt.Get());
        if (rc == SQLITE_DONE) {
            *detail = "it holds no messages of Velkan Tessiver";
            return SalvageResult::kNotAStore;
        }
        if (rc != SQLITE_ROW) {
            *detail = db.Error();
            return SalvageResult::kCannotRead;
        }
        table = OldTableName(sqlite3_column_int64(stmt.Get(), 0));
    }

    std::string columns;
    if (!ColumnsOf(db.Get(), table, current ? kColumns : kOldColumns, &columns, detail)) {
        return SalvageResult::kCannotRead;
    }
    Salvage(db.Get(), table, columns).Run(out);
    return SalvageResult::kRead;
}
