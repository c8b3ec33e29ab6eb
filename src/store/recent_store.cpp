// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/recent_store.h"

#include <sqlite3.h>

#include <algorithm>

#include "store/store_text.h"

bool OpenRecentStore(RecentDatabase& db, RecentOrder order) {
    if (!db.Open()) return false;
    db.order_ = order;
    return true;
}

bool RecentDatabase::GetRecordCount(std::uint32_t* count) {
    sqlite3_stmt* stmt = Statement("SELECT count(*) FROM recent_recipients");
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    const int rc = sqlite3_step(stmt);
    if (rc != SQLITE_ROW) {
        Fail(rc);
        return false;
    }
    *count = static_cast<std::uint32_t>(sqlite3_column_int64(stmt, 0));
    return true;
}

bool RecentDatabase::ReadAll(std::vector<RecentRecipient>* entries) {
    entries->clear();
    sqlite3_stmt* stmt = Statement(
        order_ == RecentOrder::kByName
            ? "SELECT id, name, number, last_used FROM recent_recipients ORDER BY name, id"
            : "SELECT id, name, number, last_used FROM recent_recipients ORDER BY last_used, id");
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        RecentRecipient entry;
        entry.oid = static_cast<std::uint32_t>(sqlite3_column_int64(stmt, 0));
        entry.name = ColumnStoreText(stmt, 1);
        entry.number = ColumnStoreText(stmt, 2);
        if (sqlite3_column_type(stmt, 3) == SQLITE_INTEGER && sqlite3_column_int64(stmt, 3) >= 0) {
            entry.lastUsed = static_cast<FileTime>(sqlite3_column_int64(stmt, 3));
        }
        entries->push_back(std::move(entry));
    }
    if (rc != SQLITE_DONE) {
        Fail(rc);
        return false;
    }
    if (order_ == RecentOrder::kByName) {
        // By UTF-16 code units, as the lists have always been sorted; SQL compares UTF-8 bytes,
        // which puts characters beyond U+FFFF elsewhere.
        std::stable_sort(
            entries->begin(), entries->end(),
            [](const RecentRecipient& a, const RecentRecipient& b) { return a.name < b.name; });
    }
    return true;
}

bool AddRecent(RecentDatabase& db, RecentRecipient& entry) {
    if (!OpenRecentStore(db, kPropRecentLastUsed)) return false;
    entry.lastUsed = CurrentLocalFileTime();
    entry.oid = 0;
    std::vector<RecentRecipient> stored;
    if (!db.ReadAll(&stored)) return false;
    for (const RecentRecipient& old : stored) {
        // The name decides first, and empty names are equal: at most one nameless entry.
        if (old.name == entry.name) {
            entry.oid = old.oid;
            break;
        }
        if (old.number == entry.number) {
            // A nameless use of a number that already has a (named) entry keeps that entry.
            if (entry.name.empty()) return true;
            entry.oid = old.oid;
            break;
        }
    }
    sqlite3_stmt* stmt = db.Statement(
        entry.oid == 0 ? "INSERT INTO recent_recipients(name, number, last_used) VALUES(?1, ?2, ?3)"
                       : "UPDATE recent_recipients SET name = ?1, number = ?2, last_used = ?3"
                         " WHERE id = ?4");
    if (stmt == nullptr) return false;
    {
        StmtScope scope(stmt);
        BindStoreText(stmt, 1, entry.name);
        BindStoreText(stmt, 2, entry.number);
        sqlite3_bind_int64(stmt, 3, static_cast<std::int64_t>(entry.lastUsed));
        if (entry.oid != 0) sqlite3_bind_int64(stmt, 4, entry.oid);
        const int rc = sqlite3_step(stmt);
        if (rc != SQLITE_DONE) {
            db.Fail(rc);
            return false;
        }
    }
    if (entry.oid == 0)
        entry.oid = static_cast<std::uint32_t>(sqlite3_last_insert_rowid(db.Connection()));
    db.currentId = entry.oid;
    // The least recently used go until ten are left.
    sqlite3_stmt* trim = db.Statement(
        "DELETE FROM recent_recipients WHERE id IN (SELECT id FROM recent_recipients"
        " ORDER BY last_used, id LIMIT max(0, (SELECT count(*) FROM recent_recipients) - ?1))");
    if (trim == nullptr) return true;
    StmtScope scope(trim);
    sqlite3_bind_int64(trim, 1, kMaxRecentRecipients);
    const int rc = sqlite3_step(trim);
    if (rc != SQLITE_DONE) db.Fail(rc);
    return true;
}

bool ListRecentByName(RecentDatabase& db, std::vector<RecentRecipient>* entries) {
    entries->clear();
    if (!OpenRecentStore(db, kPropRecentName)) return false;
    return db.ReadAll(entries);
}

std::u16string FormatRecentItem(std::u16string_view first, std::u16string_view second) {
    std::u16string out(first);
    if (!second.empty()) {
        out += u" (";
        out += second;
        out += u')';
    }
    return out;
}

void ParseNameItem(RecentRecipient& entry, std::u16string_view itemText) {
    entry.name.assign(itemText);
    entry.number.clear();
    const std::size_t open = itemText.rfind(u" (");
    if (open == std::u16string_view::npos) return;
    const std::size_t close = itemText.rfind(u')');
    if (close != std::u16string_view::npos && close > open) {
        entry.number.assign(itemText.substr(open + 2, close - open - 2));
    }
    entry.name.assign(itemText.substr(0, open));
}

void ParseNumberItem(RecentRecipient& entry, std::u16string_view itemText) {
    entry.number.assign(itemText);
    entry.name.clear();
    const std::size_t open = itemText.find(u" (");
    if (open == std::u16string_view::npos) return;
    const std::size_t close = itemText.rfind(u')');
    if (close != std::u16string_view::npos && close > open) {
        entry.name.assign(itemText.substr(open + 2, close - open - 2));
    }
    entry.number.assign(itemText.substr(0, open));
}
