// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/schema.h"

#include <sqlite3.h>

#include <vector>

#include "common/text_convert.h"
#include "store/search_fold.h"
#include "store/store_text.h"

namespace {

constexpr const char* kLayout =
    "CREATE TABLE IF NOT EXISTS messages("
    " id INTEGER PRIMARY KEY AUTOINCREMENT,"
    " folder INTEGER,"
    " time INTEGER,"
    " name TEXT NOT NULL DEFAULT '',"
    " number TEXT NOT NULL DEFAULT '',"
    " text TEXT NOT NULL DEFAULT '',"
    " flags INTEGER NOT NULL DEFAULT 0);"
    "CREATE INDEX IF NOT EXISTS messages_folder_time ON messages(folder, time, id);"
    "CREATE INDEX IF NOT EXISTS messages_log ON messages(time, id, folder)"
    " WHERE folder IN (1, 4);"
    "CREATE INDEX IF NOT EXISTS messages_time ON messages(time, id);"
    "CREATE TABLE IF NOT EXISTS recent_recipients("
    " id INTEGER PRIMARY KEY AUTOINCREMENT,"
    " name TEXT NOT NULL DEFAULT '',"
    " number TEXT NOT NULL DEFAULT '',"
    " last_used INTEGER);"
    "CREATE INDEX IF NOT EXISTS recent_by_use ON recent_recipients(last_used, id);"
    "CREATE INDEX IF NOT EXISTS recent_by_name ON recent_recipients(name, id);"
    "CREATE TABLE IF NOT EXISTS received_parts("
    " message INTEGER NOT NULL,"
    " sender TEXT NOT NULL DEFAULT '',"
    " reference INTEGER NOT NULL,"
    " total INTEGER NOT NULL,"
    " sequence INTEGER NOT NULL,"
    " time INTEGER,"
    " text TEXT NOT NULL DEFAULT '',"
    " PRIMARY KEY(message, sequence)) WITHOUT ROWID;"
    "CREATE INDEX IF NOT EXISTS received_parts_key"
    " ON received_parts(sender, reference, total, sequence);"
    "CREATE TABLE IF NOT EXISTS long_sends("
    " message INTEGER PRIMARY KEY,"
    " reference INTEGER NOT NULL,"
    " parts_sent INTEGER NOT NULL DEFAULT 0);"
    "CREATE TABLE IF NOT EXISTS store_counters("
    " name TEXT PRIMARY KEY,"
    " value INTEGER NOT NULL) WITHOUT ROWID;";

struct Stmt {
    sqlite3_stmt* s = nullptr;
    ~Stmt() { sqlite3_finalize(s); }
};

// The table of a named database of the old catalogue, or empty.
int OldTable(sqlite3* db, const char* name, std::string* table) {
    Stmt stmt;
    int rc = sqlite3_prepare_v2(db, "SELECT id FROM object_databases WHERE name = ?1", -1, &stmt.s,
                                nullptr);
    if (rc != SQLITE_OK) return rc;
    sqlite3_bind_text(stmt.s, 1, name, -1, SQLITE_STATIC);
    rc = sqlite3_step(stmt.s);
    if (rc == SQLITE_ROW) {
        *table = "records_" + std::to_string(sqlite3_column_int64(stmt.s, 0));
        return SQLITE_OK;
    }
    return rc == SQLITE_DONE ? SQLITE_OK : rc;
}

// The old column of a property, or NULL when the table never got it.
int OldColumns(sqlite3* db, const std::string& table, const std::vector<const char*>& wanted,
               std::string* select) {
    Stmt stmt;
    const std::string sql = "SELECT name FROM pragma_table_info(?1)";
    int rc = sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt.s, nullptr);
    if (rc != SQLITE_OK) return rc;
    sqlite3_bind_text(stmt.s, 1, table.c_str(), -1, SQLITE_TRANSIENT);
    std::vector<std::string> have;
    while ((rc = sqlite3_step(stmt.s)) == SQLITE_ROW) {
        have.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(stmt.s, 0)));
    }
    if (rc != SQLITE_DONE) return rc;
    *select = "SELECT oid";
    for (const char* column : wanted) {
        bool found = false;
        for (const auto& h : have) found = found || h == column;
        *select += found ? std::string(", ") + column : std::string(", NULL");
    }
    *select += " FROM " + table;
    return SQLITE_OK;
}

// An old value: a string (a UTF-16 blob) rebound in the current form; a number as it is, when
// it is one; otherwise NULL.
void CopyText(sqlite3_stmt* from, int column, sqlite3_stmt* to, int index) {
    if (sqlite3_column_type(from, column) == SQLITE_BLOB) {
        BindStoreText(
            to, index,
            DecodeUtf16Blob(sqlite3_column_blob(from, column), sqlite3_column_bytes(from, column)));
    } else {
        sqlite3_bind_text(to, index, "", 0, SQLITE_STATIC);
    }
}
void CopyNumber(sqlite3_stmt* from, int column, sqlite3_stmt* to, int index, std::int64_t max,
                bool nullable, std::int64_t fallback) {
    if (sqlite3_column_type(from, column) == SQLITE_INTEGER) {
        const std::int64_t v = sqlite3_column_int64(from, column);
        if (v >= 0 && v <= max) {
            sqlite3_bind_int64(to, index, v);
            return;
        }
    }
    if (nullable) {
        sqlite3_bind_null(to, index);
    } else {
        sqlite3_bind_int64(to, index, fallback);
    }
}

// Copies the rows of an old table into `insert` (placeholders: id, then the wanted columns).
int CopyRows(sqlite3* db, const std::string& select, const char* insert, int columns,
             void (*bind)(sqlite3_stmt* from, sqlite3_stmt* to)) {
    Stmt read, write;
    int rc = sqlite3_prepare_v2(db, select.c_str(), -1, &read.s, nullptr);
    if (rc != SQLITE_OK) return rc;
    rc = sqlite3_prepare_v2(db, insert, -1, &write.s, nullptr);
    if (rc != SQLITE_OK) return rc;
    (void)columns;
    while ((rc = sqlite3_step(read.s)) == SQLITE_ROW) {
        sqlite3_bind_int64(write.s, 1, sqlite3_column_int64(read.s, 0));
        bind(read.s, write.s);
        rc = sqlite3_step(write.s);
        sqlite3_reset(write.s);
        sqlite3_clear_bindings(write.s);
        if (rc != SQLITE_DONE) return rc;
    }
    return rc == SQLITE_DONE ? SQLITE_OK : rc;
}

constexpr std::int64_t kMaxU32 = 0xFFFFFFFFll;
constexpr std::int64_t kMaxTime = INT64_MAX;

void BindMessage(sqlite3_stmt* from, sqlite3_stmt* to) {
    // folder, time, name, number, text, flags
    CopyNumber(from, 1, to, 2, kMaxU32, true, 0);
    CopyNumber(from, 2, to, 3, kMaxTime, true, 0);
    CopyText(from, 3, to, 4);
    CopyText(from, 4, to, 5);
    CopyText(from, 5, to, 6);
    CopyNumber(from, 6, to, 7, kMaxU32, false, 0);
}

void BindRecent(sqlite3_stmt* from, sqlite3_stmt* to) {
    // name, number, last used
    CopyText(from, 1, to, 2);
    CopyText(from, 2, to, 3);
    CopyNumber(from, 3, to, 4, kMaxTime, true, 0);
}

// Carries the old table's id counter over, so that no id is ever given out twice.
int CarrySequence(sqlite3* db, const std::string& oldTable, const char* newTable) {
    const std::string sql =
        "INSERT OR REPLACE INTO sqlite_sequence(name, seq) SELECT '" + std::string(newTable) +
        "', max(coalesce((SELECT seq FROM sqlite_sequence WHERE name = '" + oldTable +
        "'), 0), coalesce((SELECT max(id) FROM " + newTable + "), 0))";
    // sqlite_sequence has no unique name: the old row of the new table goes first.
    int rc = sqlite3_exec(
        db, ("DELETE FROM sqlite_sequence WHERE name = '" + std::string(newTable) + "'").c_str(),
        nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) return rc;
    return sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr);
}

}  // namespace

int CreateStoreLayout(sqlite3* db) {
    return sqlite3_exec(db, kLayout, nullptr, nullptr, nullptr);
}

void BindSearchFields(sqlite3_stmt* stmt, int first, std::u16string_view name,
                      std::u16string_view number, std::u16string_view text) {
    int index = first;
    for (std::u16string_view field : {name, number, text}) {
        const std::string folded = Utf16ToUtf8(FoldForSearch(field));
        sqlite3_bind_text(stmt, index++, folded.data(), static_cast<int>(folded.size()),
                          SQLITE_TRANSIENT);
    }
}

int CreateSearchIndex(sqlite3* db) {
    bool exists = false;
    {
        Stmt stmt;
        int rc = sqlite3_prepare_v2(
            db, "SELECT 1 FROM sqlite_schema WHERE type = 'table' AND name = 'messages_fts'", -1,
            &stmt.s, nullptr);
        if (rc != SQLITE_OK) return rc;
        rc = sqlite3_step(stmt.s);
        if (rc != SQLITE_ROW && rc != SQLITE_DONE) return rc;
        exists = rc == SQLITE_ROW;
    }
    if (exists) return SQLITE_OK;
    // The trigram tokenizer keeps case: the text comes folded already, by the same rule the
    // search applies to the words it looks for.
    int rc = sqlite3_exec(db,
                          "CREATE VIRTUAL TABLE messages_fts USING fts5(name, number, text,"
                          " tokenize = 'trigram case_sensitive 1')",
                          nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) return rc;
    Stmt read, write;
    rc = sqlite3_prepare_v2(db, "SELECT id, name, number, text FROM messages ORDER BY id", -1,
                            &read.s, nullptr);
    if (rc != SQLITE_OK) return rc;
    rc = sqlite3_prepare_v2(db, kSearchIndexPut, -1, &write.s, nullptr);
    if (rc != SQLITE_OK) return rc;
    while ((rc = sqlite3_step(read.s)) == SQLITE_ROW) {
        sqlite3_bind_int64(write.s, 1, sqlite3_column_int64(read.s, 0));
        BindSearchFields(write.s, 2, ColumnStoreText(read.s, 1), ColumnStoreText(read.s, 2),
                         ColumnStoreText(read.s, 3));
        rc = sqlite3_step(write.s);
        sqlite3_reset(write.s);
        if (rc != SQLITE_DONE) return rc;
    }
    return rc == SQLITE_DONE ? SQLITE_OK : rc;
}

int MigrateFromObjectStore(sqlite3* db, std::string* detail) {
    auto failed = [&](int rc, const char* what) {
        *detail = std::string(what) + ": " + sqlite3_errmsg(db);
        return rc;
    };
    int rc = CreateStoreLayout(db);
    if (rc != SQLITE_OK) return failed(rc, "new layout");

    std::string messages, recent;
    rc = OldTable(db, "Velkan Tessiver SmsDb", &messages);
    if (rc == SQLITE_OK) rc = OldTable(db, "Velkan Recent FriendDb", &recent);
    if (rc != SQLITE_OK) return failed(rc, "old catalogue");

    if (!messages.empty()) {
        std::string select;
        rc = OldColumns(
            db, messages,
            {"p_000A0013", "p_000B0040", "p_000D001F", "p_000F001F", "p_000E001F", "p_00100013"},
            &select);
        if (rc == SQLITE_OK) {
            rc = CopyRows(db, select,
                          "INSERT INTO messages(id, folder, time, name, number, text, flags)"
                          " VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)",
                          7, &BindMessage);
        }
        if (rc == SQLITE_OK) rc = CarrySequence(db, messages, "messages");
        if (rc != SQLITE_OK) return failed(rc, "messages");
    }
    if (!recent.empty()) {
        std::string select;
        rc = OldColumns(db, recent, {"p_000D001F", "p_000F001F", "p_000B0040"}, &select);
        if (rc == SQLITE_OK) {
            rc = CopyRows(db, select,
                          "INSERT INTO recent_recipients(id, name, number, last_used)"
                          " VALUES(?1, ?2, ?3, ?4)",
                          4, &BindRecent);
        }
        if (rc == SQLITE_OK) rc = CarrySequence(db, recent, "recent_recipients");
        if (rc != SQLITE_OK) return failed(rc, "recent recipients");
    }

    // The old tables go with their indexes; the catalogue last.
    std::vector<std::string> old;
    {
        Stmt stmt;
        rc = sqlite3_prepare_v2(
            db,
            "SELECT name FROM sqlite_schema WHERE type = 'table' AND"
            " (name LIKE 'records\\_%' ESCAPE '\\' OR name = 'object_databases')",
            -1, &stmt.s, nullptr);
        if (rc != SQLITE_OK) return failed(rc, "old tables");
        while ((rc = sqlite3_step(stmt.s)) == SQLITE_ROW) {
            old.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(stmt.s, 0)));
        }
        if (rc != SQLITE_DONE) return failed(rc, "old tables");
    }
    for (const std::string& table : old) {
        rc = sqlite3_exec(db, ("DROP TABLE \"" + table + "\"").c_str(), nullptr, nullptr, nullptr);
        if (rc != SQLITE_OK) return failed(rc, "old tables");
        rc = sqlite3_exec(db, ("DELETE FROM sqlite_sequence WHERE name = '" + table + "'").c_str(),
                          nullptr, nullptr, nullptr);
        if (rc != SQLITE_OK) return failed(rc, "old tables");
    }
    return SQLITE_OK;
}
