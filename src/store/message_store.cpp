// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/message_store.h"

#include <sqlite3.h>

#include <algorithm>

#include "common/text_convert.h"
#include "store/schema.h"
#include "store/search_fold.h"
#include "store/store_text.h"

std::recursive_mutex& MessageStoreLock() {
    static std::recursive_mutex lock;
    return lock;
}

MessageStoreBatch::MessageStoreBatch(MessageDatabase& db)
    : lock_(MessageStoreLock()), db_(db), started_(db.IsOpen() && db.BeginTransaction()) {}

MessageStoreBatch::~MessageStoreBatch() {
    if (started_) db_.RollbackTransaction();
}

bool MessageStoreBatch::Commit() {
    if (!started_) return false;
    started_ = false;
    const bool ok = db_.CommitTransaction();
    lock_.unlock();
    return ok;
}

MessageReadSnapshot::MessageReadSnapshot(MessageDatabase& db)
    : db_(db), started_(db.IsOpen() && db.Execute("BEGIN DEFERRED")) {}

MessageReadSnapshot::~MessageReadSnapshot() {
    if (started_) db_.Execute("COMMIT");
}

namespace {

void ClearKeepingFolder(SmsMessage& message) {
    message.flags = 0;
    message.name.clear();
    message.number.clear();
    message.text.clear();
    message.time = 0;
    message.pdu.clear();
    message.oid = 0;
    message.store = nullptr;
    message.pduRecord.reset();
    message.codecResult = 0;
}

}  // namespace

// --- list queries ----------------------------------------------------------------------------

namespace {

constexpr const char* kColumns = "id, folder, time, name, number, text, flags";

void ColumnsToMessage(sqlite3_stmt* stmt, SmsMessage* message);

// "FROM ... WHERE ..." of a folder's messages (?1 is the folder). The Log view names its
// partial index: without statistics the planner would rather sort the Inbox and Sent ranges of
// the folder index, which costs a sort of the whole view for every page.
std::string FolderSource(FolderId folder) {
    if (folder == kFolderLog)
        return " FROM messages INDEXED BY messages_log WHERE folder IN (1, 4)";
    return " FROM messages WHERE folder = ?1";
}

}  // namespace

bool MessageDatabase::CountIn(FolderId folder, const std::string& condition, std::uint32_t* count) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (!IsOpen() || count == nullptr) return false;
    sqlite3_stmt* stmt = Statement("SELECT count(*)" + FolderSource(folder) + condition);
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    if (folder != kFolderLog) sqlite3_bind_int64(stmt, 1, folder);
    const int rc = sqlite3_step(stmt);
    if (rc != SQLITE_ROW) {
        Fail(rc);
        return false;
    }
    *count = static_cast<std::uint32_t>(sqlite3_column_int64(stmt, 0));
    return true;
}

bool MessageDatabase::CountFolder(FolderId folder, std::uint32_t* count) {
    return CountIn(folder, std::string(), count);
}

bool MessageDatabase::CountUnread(FolderId folder, std::uint32_t* count) {
    return CountIn(folder, " AND (flags & " + std::to_string(kFlagUnread) + ") != 0", count);
}

namespace {

bool StepIds(sqlite3_stmt* stmt, std::vector<Oid>* oids, int* rc) {
    while ((*rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        oids->push_back(static_cast<Oid>(sqlite3_column_int64(stmt, 0)));
    }
    return *rc == SQLITE_DONE;
}

}  // namespace

bool MessageDatabase::FolderOidsNewestFirst(FolderId folder, std::vector<Oid>* oids) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (!IsOpen() || oids == nullptr) return false;
    oids->clear();
    // Descending, SQL puts NULL after every time: the messages without a time come last, as
    // lists have always shown them.
    sqlite3_stmt* stmt =
        Statement("SELECT id" + FolderSource(folder) + " ORDER BY time DESC, id DESC");
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    if (folder != kFolderLog) sqlite3_bind_int64(stmt, 1, folder);
    int rc;
    if (!StepIds(stmt, oids, &rc)) {
        Fail(rc);
        return false;
    }
    return true;
}

bool MessageDatabase::ReadRow(Oid oid, SmsMessage* message, bool* found) {
    *found = false;
    sqlite3_stmt* stmt =
        Statement(std::string("SELECT ") + kColumns + " FROM messages WHERE id = ?1");
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    sqlite3_bind_int64(stmt, 1, oid);
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_DONE) return true;
    if (rc != SQLITE_ROW) {
        Fail(rc);
        return false;
    }
    *found = true;
    ColumnsToMessage(stmt, message);
    message->store = this;
    return true;
}

namespace {

// The columns of kColumns, from the first.
void ColumnsToMessage(sqlite3_stmt* stmt, SmsMessage* message) {
    // A value of the wrong kind (a file edited by hand) reads as if it were missing.
    message->oid = static_cast<Oid>(sqlite3_column_int64(stmt, 0));
    if (sqlite3_column_type(stmt, 1) == SQLITE_INTEGER) {
        const std::int64_t folder = sqlite3_column_int64(stmt, 1);
        if (folder >= 0 && folder <= 0xFFFFFFFFll) message->folder = static_cast<FolderId>(folder);
    }
    message->time = 0;
    if (sqlite3_column_type(stmt, 2) == SQLITE_INTEGER && sqlite3_column_int64(stmt, 2) >= 0) {
        message->time = static_cast<FileTime>(sqlite3_column_int64(stmt, 2));
    }
    message->name = ColumnStoreText(stmt, 3);
    message->number = ColumnStoreText(stmt, 4);
    message->text = ColumnStoreText(stmt, 5);
    message->flags = 0;
    if (sqlite3_column_type(stmt, 6) == SQLITE_INTEGER) {
        const std::int64_t flags = sqlite3_column_int64(stmt, 6);
        if (flags >= 0 && flags <= 0xFFFFFFFFll) message->flags = static_cast<std::uint32_t>(flags);
    }
}

// "FROM ... WHERE" of the messages of a folder in the time order of every message (?1 the
// folder), ready for the conditions on the time.
std::string TimeOrderSource(FolderId folder) {
    if (folder == kEveryFolder) return " FROM messages INDEXED BY messages_time WHERE";
    if (folder == kFolderLog)
        return " FROM messages INDEXED BY messages_log WHERE folder IN (1, 4) AND";
    return " FROM messages WHERE folder = ?1 AND";
}

}  // namespace

bool MessageDatabase::ReadInTimeOrder(FolderId folder, bool newestFirst, TimePosition* from,
                                      std::uint32_t count, std::vector<SmsMessage>* messages) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (!IsOpen() || from == nullptr || messages == nullptr) return false;
    messages->clear();
    const std::string source = std::string("SELECT ") + kColumns + TimeOrderSource(folder);
    // The messages with a time, then those without one (by id), in both directions.
    while (messages->size() < count && !from->done) {
        const bool timed = from->timed;
        std::string sql = source;
        if (timed) {
            sql += newestFirst ? " time IS NOT NULL AND (time, id) < (?2, ?3)"
                                 " ORDER BY time DESC, id DESC LIMIT ?4"
                               : " time IS NOT NULL AND (time, id) > (?2, ?3)"
                                 " ORDER BY time, id LIMIT ?4";
        } else {
            sql += newestFirst ? " time IS NULL AND id < ?3 ORDER BY id DESC LIMIT ?4"
                               : " time IS NULL AND id > ?3 ORDER BY id LIMIT ?4";
        }
        sqlite3_stmt* stmt = Statement(sql);
        if (stmt == nullptr) return false;
        StmtScope scope(stmt);
        if (folder != kEveryFolder && folder != kFolderLog) sqlite3_bind_int64(stmt, 1, folder);
        const std::int64_t far = newestFirst ? INT64_MAX : INT64_MIN;
        if (timed) sqlite3_bind_int64(stmt, 2, from->started ? from->time : far);
        sqlite3_bind_int64(stmt, 3, from->started ? from->id : far);
        sqlite3_bind_int64(stmt, 4, count - messages->size());
        const std::size_t before = messages->size();
        int rc;
        while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
            SmsMessage message;
            ColumnsToMessage(stmt, &message);
            message.store = this;
            from->started = true;
            from->time = timed ? sqlite3_column_int64(stmt, 2) : 0;
            from->id = sqlite3_column_int64(stmt, 0);
            messages->push_back(std::move(message));
        }
        if (rc != SQLITE_DONE) {
            Fail(rc);
            return false;
        }
        if (messages->size() - before < count - before) {
            // This part is over: on to the messages without a time, or to the end.
            if (timed) {
                *from = TimePosition{};
                from->timed = false;
            } else {
                from->done = true;
            }
        }
    }
    return true;
}

bool MessageDatabase::ReadFolderPage(FolderId folder, std::uint32_t first, std::uint32_t count,
                                     std::vector<SmsMessage>* messages) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (!IsOpen() || messages == nullptr) return false;
    messages->clear();
    // The ids of the page come from the index alone, so that rows skipped before it cost
    // little; then each row of the page is read.
    std::vector<Oid> oids;
    {
        sqlite3_stmt* stmt = Statement("SELECT id" + FolderSource(folder) +
                                       " ORDER BY time DESC, id DESC LIMIT ?2 OFFSET ?3");
        if (stmt == nullptr) return false;
        StmtScope scope(stmt);
        if (folder != kFolderLog) sqlite3_bind_int64(stmt, 1, folder);
        sqlite3_bind_int64(stmt, 2, count);
        sqlite3_bind_int64(stmt, 3, first);
        int rc;
        if (!StepIds(stmt, &oids, &rc)) {
            Fail(rc);
            return false;
        }
    }
    messages->reserve(oids.size());
    for (Oid oid : oids) {
        SmsMessage message;
        bool found = false;
        if (!ReadRow(oid, &message, &found)) return false;
        if (found) messages->push_back(std::move(message));
    }
    return true;
}

bool MessageDatabase::HasDuplicate(const SmsMessage& message, bool* found) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    *found = false;
    if (!IsOpen()) return false;
    if (message.time > static_cast<FileTime>(INT64_MAX)) return true;  // never stored
    // A message without a time (0) is compared with the stored ones without a time.
    sqlite3_stmt* stmt = Statement(
        "SELECT 1 FROM messages WHERE folder = ?1 AND time IS ?2 AND text = ?3 AND number = ?4"
        " LIMIT 1");
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    sqlite3_bind_int64(stmt, 1, message.folder);
    if (message.time == 0) {
        sqlite3_bind_null(stmt, 2);
    } else {
        sqlite3_bind_int64(stmt, 2, static_cast<std::int64_t>(message.time));
    }
    BindStoreText(stmt, 3, message.text);
    BindStoreText(stmt, 4, message.number);
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_ROW) {
        *found = true;
        return true;
    }
    if (rc != SQLITE_DONE) {
        Fail(rc);
        return false;
    }
    return true;
}

bool MessageDatabase::DeleteRecord(Oid oid) {
    Oid missing = 0;
    if (DeleteRecords({oid}, &missing)) return true;
    if (missing != 0) SetError(StoreError::kNoRecord, "no such message");
    return false;
}

bool MessageDatabase::DeleteRecords(const std::vector<Oid>& oids, Oid* missing) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (missing != nullptr) *missing = 0;
    if (!IsOpen()) return false;
    // As in Write: no savepoint inside a transaction of the caller's.
    const bool own = !InTransaction();
    if (own && !BeginTransaction()) return false;
    auto fail = [&](bool changed) {
        if (own) {
            const StoreError error = LastError();
            const std::string text = LastErrorText();
            RollbackTransaction();
            SetError(error, text);
        } else if (changed) {
            SpoilTransaction();
        }
        return false;
    };
    // Every id must be stored before anything is deleted.
    {
        sqlite3_stmt* exists = Statement("SELECT 1 FROM messages WHERE id = ?1");
        if (exists == nullptr) return fail(false);
        for (Oid oid : oids) {
            StmtScope scope(exists);
            sqlite3_bind_int64(exists, 1, oid);
            const int rc = sqlite3_step(exists);
            if (rc == SQLITE_DONE) {
                if (missing != nullptr) *missing = oid;
                return fail(false);
            }
            if (rc != SQLITE_ROW) {
                Fail(rc);
                return fail(false);
            }
        }
    }
    sqlite3_stmt* remove = Statement("DELETE FROM messages WHERE id = ?1");
    if (remove == nullptr) return fail(false);
    bool changed = false;
    for (Oid oid : oids) {
        {
            StmtScope scope(remove);
            sqlite3_bind_int64(remove, 1, oid);
            const int rc = sqlite3_step(remove);
            if (rc != SQLITE_DONE) {
                Fail(rc);
                return fail(changed);
            }
            // An id listed twice is deleted once.
            changed = changed || sqlite3_changes(Connection()) != 0;
        }
        if (!Unindex(oid)) return fail(true);
        // What a long message kept of its parts goes with it.
        for (const char* sql : {"DELETE FROM received_parts WHERE message = ?1",
                                "DELETE FROM long_sends WHERE message = ?1"}) {
            sqlite3_stmt* parts = Statement(sql);
            if (parts == nullptr) return fail(true);
            StmtScope scope(parts);
            sqlite3_bind_int64(parts, 1, oid);
            const int rc = sqlite3_step(parts);
            if (rc != SQLITE_DONE) {
                Fail(rc);
                return fail(true);
            }
        }
    }
    if (own && !CommitTransaction()) return false;
    if (std::find(oids.begin(), oids.end(), currentId) != oids.end()) currentId = 0;
    return true;
}

// --- the walk ---------------------------------------------------------------------------------

namespace {

// The condition on a folder in the walk's queries (?1 the folder), and the index to use.
std::string WalkSource(FolderId folder) {
    if (folder == kFolderLog)
        return " FROM messages INDEXED BY messages_log WHERE folder IN (1, 4)";
    return " FROM messages WHERE folder = ?1";
}

}  // namespace

bool MessageDatabase::NextInFolder(FolderId folder, const WalkKey* from, WalkKey* found,
                                   bool* any) {
    *any = false;
    const std::string source = WalkSource(folder);
    // The timed messages after `from`, unless the walk is past them already.
    if (from == nullptr || from->timed) {
        sqlite3_stmt* stmt =
            Statement("SELECT id, time" + source +
                      (from == nullptr ? std::string(" AND time IS NOT NULL")
                                       : std::string(" AND (time, id) > (?2, ?3)")) +
                      " ORDER BY time, id LIMIT 1");
        if (stmt == nullptr) return false;
        StmtScope scope(stmt);
        if (folder != kFolderLog) sqlite3_bind_int64(stmt, 1, folder);
        if (from != nullptr) {
            sqlite3_bind_int64(stmt, 2, from->time);
            sqlite3_bind_int64(stmt, 3, from->id);
        }
        const int rc = sqlite3_step(stmt);
        if (rc == SQLITE_ROW) {
            *found = WalkKey{true, sqlite3_column_int64(stmt, 1), sqlite3_column_int64(stmt, 0)};
            *any = true;
            return true;
        }
        if (rc != SQLITE_DONE) {
            Fail(rc);
            return false;
        }
    }
    // Then the messages without a time, by id.
    const bool afterUntimed = from != nullptr && !from->timed;
    sqlite3_stmt* stmt = Statement("SELECT id" + source + " AND time IS NULL" +
                                   (afterUntimed ? " AND id > ?2" : "") + " ORDER BY id LIMIT 1");
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    if (folder != kFolderLog) sqlite3_bind_int64(stmt, 1, folder);
    if (afterUntimed) sqlite3_bind_int64(stmt, 2, from->id);
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_ROW) {
        *found = WalkKey{false, 0, sqlite3_column_int64(stmt, 0)};
        *any = true;
        return true;
    }
    if (rc != SQLITE_DONE) {
        Fail(rc);
        return false;
    }
    return true;
}

bool MessageDatabase::CountOutbox(const WalkKey* from, const WalkKey* to, std::uint32_t* count) {
    *count = 0;
    // Timed Outbox messages in (from, to], then untimed ones in (from, to].
    auto run = [&](const std::string& sql, auto bind) {
        sqlite3_stmt* stmt = Statement(sql);
        if (stmt == nullptr) return false;
        StmtScope scope(stmt);
        bind(stmt);
        const int rc = sqlite3_step(stmt);
        if (rc != SQLITE_ROW) {
            Fail(rc);
            return false;
        }
        *count += static_cast<std::uint32_t>(sqlite3_column_int64(stmt, 0));
        return true;
    };
    const std::string outbox = "SELECT count(*) FROM messages WHERE folder = 2";
    // Timed ones lie between only when `from` is not past them.
    if (from == nullptr || from->timed) {
        std::string sql = outbox + " AND time IS NOT NULL";
        if (from != nullptr) sql += " AND (time, id) > (?1, ?2)";
        if (to != nullptr && to->timed) sql += " AND (time, id) <= (?3, ?4)";
        if (!run(sql, [&](sqlite3_stmt* stmt) {
                if (from != nullptr) {
                    sqlite3_bind_int64(stmt, 1, from->time);
                    sqlite3_bind_int64(stmt, 2, from->id);
                }
                if (to != nullptr && to->timed) {
                    sqlite3_bind_int64(stmt, 3, to->time);
                    sqlite3_bind_int64(stmt, 4, to->id);
                }
            })) {
            return false;
        }
    }
    // Untimed ones lie between unless `to` is still among the timed.
    if (to == nullptr || !to->timed) {
        std::string sql = outbox + " AND time IS NULL";
        const bool afterUntimed = from != nullptr && !from->timed;
        if (afterUntimed) sql += " AND id > ?1";
        if (to != nullptr) sql += " AND id <= ?2";
        if (!run(sql, [&](sqlite3_stmt* stmt) {
                if (afterUntimed) sqlite3_bind_int64(stmt, 1, from->id);
                if (to != nullptr) sqlite3_bind_int64(stmt, 2, to->id);
            })) {
            return false;
        }
    }
    return true;
}

// --- the operations on messages --------------------------------------------------------------

bool OpenMessageStore(MessageDatabase& db) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    return db.Open();
}

bool MessageDatabase::Write(SmsMessage& message, bool keepNoTime) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (!IsOpen()) {
        SetError(StoreError::kFailed, "the store is not open");
        return false;
    }
    if (message.time == 0 && !keepNoTime) message.time = CurrentLocalFileTime();
    if (message.time > static_cast<FileTime>(INT64_MAX)) {
        SetError(StoreError::kFailed, "the time cannot be stored");
        return false;
    }
    // The message and its entry in the full-text index are written together, or neither. In a
    // transaction of the caller's (a batch, an import) no savepoint is taken, because FTS5
    // writes its pending entries out at every savepoint, a segment per message; a write that
    // fails after its first statement spoils the caller's transaction instead.
    const bool own = !InTransaction();
    if (own && !BeginTransaction()) return false;
    Oid oid = 0;
    bool changed = false;
    if (!WriteRow(message, &oid, &changed)) {
        const StoreError error = LastError();
        const std::string text = LastErrorText();
        if (own) {
            RollbackTransaction();
        } else if (changed) {
            SpoilTransaction();
        }
        SetError(error, text);
        return false;
    }
    if (own && !CommitTransaction()) return false;
    currentId = oid;
    SetError(StoreError::kNone);
    message.oid = oid;
    message.store = this;
    return true;
}

bool MessageDatabase::WriteRow(const SmsMessage& message, Oid* oid, bool* changed) {
    const bool create = message.oid == 0;
    if (!create) {
        // A long message whose text is changed after some of its parts went out starts again:
        // the parts the phone took belong to the old text, so the new one goes whole, with a
        // reference of its own. A rewrite with the same text (a flag, a move) keeps its progress.
        sqlite3_stmt* reset = Statement(
            "DELETE FROM long_sends WHERE message = ?1 AND"
            " (SELECT text FROM messages WHERE id = ?1) IS NOT ?2");
        if (reset == nullptr) return false;
        StmtScope scope(reset);
        sqlite3_bind_int64(reset, 1, message.oid);
        BindStoreText(reset, 2, message.text);
        const int rc = sqlite3_step(reset);
        if (rc != SQLITE_DONE) {
            Fail(rc);
            return false;
        }
        *changed = sqlite3_changes(Connection()) != 0;
    }
    {
        sqlite3_stmt* stmt =
            Statement(create ? "INSERT INTO messages(folder, name, text, time, number, flags)"
                               " VALUES(?1, ?2, ?3, ?4, ?5, ?6)"
                             : "UPDATE messages SET folder = ?1, name = ?2, text = ?3, time = ?4,"
                               " number = ?5, flags = ?6 WHERE id = ?7");
        if (stmt == nullptr) return false;
        StmtScope scope(stmt);
        sqlite3_bind_int64(stmt, 1, message.folder);
        BindStoreText(stmt, 2, message.name);
        BindStoreText(stmt, 3, message.text);
        if (message.time == 0) {
            sqlite3_bind_null(stmt, 4);
        } else {
            sqlite3_bind_int64(stmt, 4, static_cast<std::int64_t>(message.time));
        }
        BindStoreText(stmt, 5, message.number);
        sqlite3_bind_int64(stmt, 6, message.flags);
        if (!create) sqlite3_bind_int64(stmt, 7, message.oid);
        const int rc = sqlite3_step(stmt);
        if (rc != SQLITE_DONE) {
            Fail(rc);
            return false;
        }
        if (!create && sqlite3_changes(Connection()) == 0) {
            SetError(StoreError::kNoRecord, "no such message");
            return false;
        }
        *oid = create ? static_cast<Oid>(sqlite3_last_insert_rowid(Connection())) : message.oid;
    }
    *changed = true;
    return Index(*oid, message, !create);
}

bool MessageDatabase::Index(Oid oid, const SmsMessage& message, bool mayBeIndexed) {
    if (mayBeIndexed) {
        // A rewrite that leaves the name, number and text as they were (a move to another
        // folder, a changed flag) leaves the index alone.
        sqlite3_stmt* stmt =
            Statement("SELECT name, number, text FROM messages_fts WHERE rowid = ?1");
        if (stmt == nullptr) return false;
        StmtScope scope(stmt);
        sqlite3_bind_int64(stmt, 1, oid);
        const int rc = sqlite3_step(stmt);
        if (rc == SQLITE_ROW) {
            bool same = true;
            const std::u16string_view fields[] = {message.name, message.number, message.text};
            for (int i = 0; i < 3 && same; ++i) {
                const auto* have = reinterpret_cast<const char*>(sqlite3_column_text(stmt, i));
                const std::string want = Utf16ToUtf8(FoldForSearch(fields[i]));
                same = have != nullptr && want == have;
            }
            if (same) return true;
        } else if (rc != SQLITE_DONE) {
            Fail(rc);
            return false;
        }
    }
    sqlite3_stmt* put = Statement(kSearchIndexPut);
    if (put == nullptr) return false;
    StmtScope scope(put);
    sqlite3_bind_int64(put, 1, oid);
    BindSearchFields(put, 2, message.name, message.number, message.text);
    const int rc = sqlite3_step(put);
    if (rc != SQLITE_DONE) {
        Fail(rc);
        return false;
    }
    return true;
}

bool MessageDatabase::Unindex(Oid oid) {
    sqlite3_stmt* remove = Statement(kSearchIndexRemove);
    if (remove == nullptr) return false;
    StmtScope scope(remove);
    sqlite3_bind_int64(remove, 1, oid);
    const int rc = sqlite3_step(remove);
    if (rc != SQLITE_DONE) {
        Fail(rc);
        return false;
    }
    return true;
}

bool WriteMessage(MessageDatabase& db, SmsMessage& message) {
    return db.Write(message, false);
}

bool WriteMessageKeepingTime(MessageDatabase& db, SmsMessage& message) {
    return db.Write(message, true);
}

bool ReadCurrent(MessageDatabase& db, SmsMessage& message) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    ClearKeepingFolder(message);
    if (!db.IsOpen() || db.currentId == 0) {
        db.SetError(StoreError::kNoRecord);
        return false;
    }
    bool found = false;
    if (!db.ReadRow(db.currentId, &message, &found)) return false;
    if (!found) {
        db.SetError(StoreError::kNoRecord, "no such message");
        return false;
    }
    db.SetError(StoreError::kNone);
    return true;
}

bool ReadFirst(MessageDatabase& db, SmsMessage& message) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    return SeekFirstInFolder(db) && ReadCurrent(db, message);
}

bool ReadById(MessageDatabase& db, SmsMessage& message) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (message.oid == 0) return false;
    db.currentId = message.oid;
    return ReadCurrent(db, message);
}

bool SeekFirstInFolder(MessageDatabase& db) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    db.outboxSeen = 0;
    return db.StepInFolder(true);
}

bool SeekNextInFolder(MessageDatabase& db) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    return db.StepInFolder(false);
}

// The next message of the folder is one look-up in the folder's index (the Log view's for
// kFolderLog), not a step through every message in between: the send loop walks the Outbox of
// a store that may hold a hundred thousand messages. The Outbox messages passed on the way are
// counted in the Outbox's part of the same index.
bool MessageDatabase::StepInFolder(bool fromStart) {
    currentId = 0;
    if (!IsOpen()) {
        SetError(StoreError::kFailed, "the store is not open");
        return false;
    }
    const WalkKey* from = fromStart || !positioned_ ? nullptr : &position_;
    WalkKey found;
    bool any = false;
    if (!NextInFolder(folderFilter, from, &found, &any)) return false;
    std::uint32_t passed = 0;
    if (folderFilter == kFolderOutbox) {
        passed =
            any ? 1 : 0;  // walking the Outbox, the only Outbox message passed is the one found
    } else if (!CountOutbox(from, any ? &found : nullptr, &passed)) {
        return false;
    }
    outboxSeen += passed;
    if (!any) {
        // Nothing selected lies ahead: the walk is over, and stays so.
        positioned_ = true;
        position_ = WalkKey{false, 0, INT64_MAX};
        SetError(StoreError::kNoRecord);
        return false;
    }
    positioned_ = true;
    position_ = found;
    currentId = static_cast<Oid>(found.id);
    SetError(StoreError::kNone);
    return true;
}

bool FindDuplicate(MessageDatabase& db, const SmsMessage& message) {
    bool found = false;
    return db.HasDuplicate(message, &found) && found;
}

bool DeleteStoredMessage(SmsMessage& message) {
    if (message.oid == 0) return true;
    if (message.store == nullptr) return false;
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (!message.store->DeleteRecord(message.oid)) return false;
    message.oid = 0;
    return true;
}

void ResetMessage(SmsMessage& message, FolderId folder) {
    message.folder = folder;
    message.oid = 0;
    message.name.clear();
    message.text.clear();
    message.number.clear();
    message.time = 0;
    message.flags = 0;
}

void MakeReply(SmsMessage& message) {
    std::u16string name = std::move(message.name);
    std::u16string number = std::move(message.number);
    ResetMessage(message, kFolderDraft);
    message.name = std::move(name);
    message.number = std::move(number);
}

void MakeForward(SmsMessage& message) {
    std::u16string text = std::move(message.text);
    ResetMessage(message, kFolderDraft);
    message.text = std::move(text);
}
