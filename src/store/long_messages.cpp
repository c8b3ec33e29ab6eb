// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/long_messages.h"

#include <sqlite3.h>

#include <map>
#include <mutex>
#include <set>

#include "store/message_store.h"
#include "store/store_text.h"

std::u16string JoinPartTexts(std::uint32_t total,
                             const std::vector<std::pair<std::uint32_t, std::u16string>>& parts) {
    std::vector<const std::u16string*> bySequence(total + 1, nullptr);
    for (const auto& [sequence, text] : parts) {
        if (sequence >= 1 && sequence <= total) bySequence[sequence] = &text;
    }
    std::u16string joined;
    for (std::uint32_t i = 1; i <= total; ++i) {
        joined += bySequence[i] != nullptr ? *bySequence[i] : std::u16string(kMissingPartText);
    }
    return joined;
}

// The store's own statements on the tables of long messages.
class LongMessageAccess {
  public:
    explicit LongMessageAccess(MessageDatabase& db) : db_(db) {}

    // Runs `work` in a transaction of its own, or inside the caller's.
    template <typename Work>
    bool InTransaction(Work work) {
        std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
        if (!db_.IsOpen()) {
            db_.SetError(StoreError::kFailed, "the store is not open");
            return false;
        }
        const bool own = !db_.InTransaction();
        if (own && !db_.BeginTransaction()) return false;
        if (!work()) {
            const StoreError error = db_.LastError();
            const std::string text = db_.LastErrorText();
            if (own) {
                db_.RollbackTransaction();
            } else {
                db_.SpoilTransaction();
            }
            db_.SetError(error, text);
            return false;
        }
        return !own || db_.CommitTransaction();
    }

    // A statement run to its end; false (and the error) when it fails.
    template <typename Bind>
    bool Run(const char* sql, Bind bind) {
        sqlite3_stmt* stmt = db_.Statement(sql);
        if (stmt == nullptr) return false;
        StmtScope scope(stmt);
        bind(stmt);
        const int rc = sqlite3_step(stmt);
        if (rc != SQLITE_DONE) {
            db_.Fail(rc);
            return false;
        }
        return true;
    }

    // Rows of a statement, each handed to `row`.
    template <typename Bind, typename Row>
    bool Rows(const char* sql, Bind bind, Row row) {
        sqlite3_stmt* stmt = db_.Statement(sql);
        if (stmt == nullptr) return false;
        StmtScope scope(stmt);
        bind(stmt);
        int rc;
        while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) row(stmt);
        if (rc != SQLITE_DONE) {
            db_.Fail(rc);
            return false;
        }
        return true;
    }

    bool ReadMessage(Oid oid, SmsMessage* message, bool* found) {
        return db_.ReadRow(oid, message, found);
    }
    bool Write(SmsMessage& message) { return db_.Write(message, false); }

  private:
    MessageDatabase& db_;
};

namespace {

void BindTime(sqlite3_stmt* stmt, int index, FileTime time) {
    if (time == 0 || time > static_cast<FileTime>(INT64_MAX)) {
        sqlite3_bind_null(stmt, index);
    } else {
        sqlite3_bind_int64(stmt, index, static_cast<std::int64_t>(time));
    }
}

// The stored fields of a message (a message owns its codec record and is not copied whole).
void TakeFields(const SmsMessage& from, SmsMessage* to) {
    to->flags = from.flags;
    to->name = from.name;
    to->number = from.number;
    to->text = from.text;
    to->time = from.time;
    to->folder = from.folder;
    to->oid = from.oid;
}

void BindKey(sqlite3_stmt* stmt, const ReceivedPart& part) {
    BindStoreText(stmt, 1, part.sender);
    sqlite3_bind_int64(stmt, 2, part.reference);
    sqlite3_bind_int64(stmt, 3, part.total);
    sqlite3_bind_int64(stmt, 4, part.sequence);
}

}  // namespace

bool StoreReceivedPart(MessageDatabase& db, const ReceivedPart& part, const SmsMessage& fields,
                       SmsMessage* message, PartOutcome* outcome) {
    LongMessageAccess access(db);
    return access.InTransaction([&] {
        // The same part, listed again by a phone that keeps it.
        Oid holder = 0;
        if (!access.Rows(
                "SELECT message FROM received_parts WHERE sender = ?1 AND reference = ?2 AND"
                " total = ?3 AND sequence = ?4 AND time IS ?5 AND text = ?6 LIMIT 1",
                [&](sqlite3_stmt* s) {
                    BindKey(s, part);
                    BindTime(s, 5, part.time);
                    BindStoreText(s, 6, part.text);
                },
                [&](sqlite3_stmt* s) { holder = static_cast<Oid>(sqlite3_column_int64(s, 0)); })) {
            return false;
        }
        if (holder != 0) {
            *outcome = PartOutcome::kDuplicate;
            TakeFields(fields, message);
            message->text.clear();
            message->oid = holder;
            return true;
        }
        // The newest message of its siblings that still waits for this part: the parts with
        // the same sender, reference and total, by the message they belong to (a few rows,
        // since a reference comes round again only after 256 long messages).
        std::map<Oid, std::set<std::uint32_t>> siblings;
        if (!access.Rows(
                "SELECT message, sequence FROM received_parts WHERE sender = ?1 AND"
                " reference = ?2 AND total = ?3",
                [&](sqlite3_stmt* s) { BindKey(s, part); },
                [&](sqlite3_stmt* s) {
                    siblings[static_cast<Oid>(sqlite3_column_int64(s, 0))].insert(
                        static_cast<std::uint32_t>(sqlite3_column_int64(s, 1)));
                })) {
            return false;
        }
        Oid joins = 0;
        for (const auto& [oid, sequences] : siblings) {
            if (sequences.size() < part.total && sequences.count(part.sequence) == 0) joins = oid;
        }
        if (joins == 0) {
            TakeFields(fields, message);
            message->oid = 0;
            message->time = part.time;
            message->text = JoinPartTexts(part.total, {{part.sequence, part.text}});
            if (!access.Write(*message)) return false;
            *outcome = PartOutcome::kNewMessage;
        } else {
            bool found = false;
            if (!access.ReadMessage(joins, message, &found)) return false;
            if (!found) return false;
            *outcome = PartOutcome::kJoined;
        }
        if (!access.Run("INSERT INTO received_parts(message, sender, reference, total, sequence,"
                        " time, text) VALUES(?5, ?1, ?2, ?3, ?4, ?6, ?7)",
                        [&](sqlite3_stmt* s) {
                            BindKey(s, part);
                            sqlite3_bind_int64(s, 5, message->oid);
                            BindTime(s, 6, part.time);
                            BindStoreText(s, 7, part.text);
                        })) {
            return false;
        }
        if (*outcome == PartOutcome::kNewMessage) return true;
        // The joined text from every part now here; the time is that of the first of them.
        std::vector<std::pair<std::uint32_t, std::u16string>> parts;
        FileTime first = 0;
        if (!access.Rows(
                "SELECT sequence, time, text FROM received_parts WHERE message = ?1"
                " ORDER BY sequence",
                [&](sqlite3_stmt* s) { sqlite3_bind_int64(s, 1, message->oid); },
                [&](sqlite3_stmt* s) {
                    if (parts.empty() && sqlite3_column_type(s, 1) == SQLITE_INTEGER) {
                        first = static_cast<FileTime>(sqlite3_column_int64(s, 1));
                    }
                    parts.emplace_back(static_cast<std::uint32_t>(sqlite3_column_int64(s, 0)),
                                       ColumnStoreText(s, 2));
                })) {
            return false;
        }
        message->text = JoinPartTexts(part.total, parts);
        if (first != 0) message->time = first;
        message->flags |= kFlagUnread;
        return access.Write(*message);
    });
}

bool StartLongSend(MessageDatabase& db, Oid message, LongSend* send) {
    LongMessageAccess access(db);
    return access.InTransaction([&] {
        bool known = false;
        if (!access.Rows(
                "SELECT reference, parts_sent FROM long_sends WHERE message = ?1",
                [&](sqlite3_stmt* s) { sqlite3_bind_int64(s, 1, message); },
                [&](sqlite3_stmt* s) {
                    known = true;
                    send->reference = static_cast<std::uint32_t>(sqlite3_column_int64(s, 0));
                    send->partsSent = static_cast<std::uint32_t>(sqlite3_column_int64(s, 1));
                })) {
            return false;
        }
        if (known) return true;
        std::int64_t next = 0;
        if (!access.Rows(
                "SELECT value FROM store_counters WHERE name = 'long_reference'",
                [](sqlite3_stmt*) {},
                [&](sqlite3_stmt* s) { next = sqlite3_column_int64(s, 0); })) {
            return false;
        }
        send->reference = static_cast<std::uint32_t>(next % 256);
        send->partsSent = 0;
        return access.Run(
                   "INSERT OR REPLACE INTO store_counters(name, value)"
                   " VALUES('long_reference', ?1)",
                   [&](sqlite3_stmt* s) { sqlite3_bind_int64(s, 1, next + 1); }) &&
               access.Run(
                   "INSERT INTO long_sends(message, reference, parts_sent)"
                   " VALUES(?1, ?2, 0)",
                   [&](sqlite3_stmt* s) {
                       sqlite3_bind_int64(s, 1, message);
                       sqlite3_bind_int64(s, 2, send->reference);
                   });
    });
}

bool NotePartsSent(MessageDatabase& db, Oid message, std::uint32_t partsSent) {
    LongMessageAccess access(db);
    return access.InTransaction([&] {
        return access.Run(
            "UPDATE long_sends SET parts_sent = max(parts_sent, ?2)"
            " WHERE message = ?1",
            [&](sqlite3_stmt* s) {
                sqlite3_bind_int64(s, 1, message);
                sqlite3_bind_int64(s, 2, partsSent);
            });
    });
}

bool ForgetLongSend(MessageDatabase& db, Oid message) {
    LongMessageAccess access(db);
    return access.InTransaction([&] {
        return access.Run("DELETE FROM long_sends WHERE message = ?1",
                          [&](sqlite3_stmt* s) { sqlite3_bind_int64(s, 1, message); });
    });
}

bool PeekNextLongReference(MessageDatabase& db, std::uint32_t* reference) {
    LongMessageAccess access(db);
    std::int64_t next = 0;
    const bool ok = access.InTransaction([&] {
        return access.Rows(
            "SELECT value FROM store_counters WHERE name = 'long_reference'", [](sqlite3_stmt*) {},
            [&](sqlite3_stmt* s) { next = sqlite3_column_int64(s, 0); });
    });
    *reference = static_cast<std::uint32_t>(next % 256);
    return ok;
}
