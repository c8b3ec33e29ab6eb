// SPDX-License-Identifier: GPL-3.0-or-later
// The layout of the store file, kept in PRAGMA user_version.
//
//   messages           one row per short message
//     id               the record id: INTEGER PRIMARY KEY AUTOINCREMENT, never reused
//     folder           1 Inbox, 2 Outbox, 3 Draft, 4 Sent
//     time             local time as a FILETIME (100 ns since 1601-01-01); NULL: none
//     name, number,    the correspondent and the body; '' when empty. TEXT in UTF-8, or a BLOB
//     text             of big-endian UTF-16 for a string with an unpaired surrogate
//     flags            1 unread, 2 Flash, 4 may have been sent, 8 cannot be encoded
//   recent_recipients  the last ten recipients
//     id, name, number, last_used (a FILETIME)
//   messages_fts       the full-text index of the search (FTS5, trigram tokenizer, case kept):
//     rowid            the message's id
//     name, number,    the message's fields folded for searching (store/search_fold.h), UTF-8;
//     text             every run of three characters is indexed, so that a MATCH of a quoted
//                      word finds it anywhere inside a field ("3012" in "+4930123456")
//   received_parts     the parts of received long (concatenated) messages, as they arrived
//     message          the id of the Inbox message they make
//     sender           the number they came from (the message's number)
//     reference,       the concatenation reference (8 or 16 bits) and the number of parts,
//     total            as their headers say
//     sequence         the part's place, 1..total
//     time, text       the part's service-centre stamp (NULL: none) and its text, as above
//   long_sends         Outbox messages that go out in parts
//     message          the id of the Outbox message
//     reference        the reference its parts carry, taken once and kept until it is sent
//     parts_sent       how many of its parts, the first ones, the phone accepted
//   store_counters     name, value: "long_reference" is the reference of the next long message
//
// Invariants the code relies on:
// - A folder's messages are walked oldest first (time, then id), messages without a time
//   last (in id order); messages_folder_time serves every walk, count and page of a folder,
//   and the duplicate check (folder, time, then text and number).
// - The "Log" view (Inbox and Sent) has its own partial index, messages_log, which alone
//   answers its queries.
// - messages_time orders every message by time (then id) whatever its folder: the search walks
//   it newest first, and the export oldest first.
// - messages_fts holds one row per message, written in the same transaction as the message by
//   the store's own writes (WriteMessage, DeleteRecords), never by triggers: the folding is the
//   program's, and a person's sqlite3 session can still change a message. The search checks
//   every row the index offers against the message itself, so an index out of step never shows
//   a message that does not match.
// - A store whose indexes are missing gets them again when it is opened; its rows are kept. A
//   missing full-text index is made and filled from the messages.
// - A message with received parts has as its text the parts' texts in sequence order, with
//   "[…]" in place of every part that has not arrived; the text (and its index entry) is written
//   again in the same transaction as each part that arrives. A part's sender, reference, total
//   and sequence occur at most once among the parts of one message: a part listed again that
//   matches a stored one in those and in time and text is the same part (the duplicate check),
//   and received_parts_key answers both that question and which message a new part joins.
// - The parts of a message and its long_sends row go in the same transaction as the message;
//   a long_sends row goes when its message leaves the Outbox, and when the store's own write
//   changes its message's text (the parts sent belong to the old text). parts_sent only grows,
//   and is written in its own transaction as soon as the phone has accepted a part.
// - store_counters' value only grows; a reference is its value modulo 256 when taken.
//
// Version 1 held the same data in an emulation of a handheld's object store (a catalogue
// "object_databases", tables "records_N" with a column per property id, strings as UTF-16
// blobs). Version 2 had the current tables without messages_time and messages_fts; version 3
// had them but no received_parts, long_sends and store_counters. Each is brought to the
// current layout on its first opening, in one transaction, ids kept.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

// Creates the tables and indexes of the current layout when missing (all statements are
// harmless when repeated), but for the full-text index. Inside the caller's transaction.
int CreateStoreLayout(sqlite3* db);

// Creates the full-text index when it is missing and fills it from the messages. Inside the
// caller's transaction; an SQLite result code.
int CreateSearchIndex(sqlite3* db);

// The statements that keep the full-text index in step with one message (?1 the id, ?2 to ?4
// its folded name, number and text as UTF-8).
constexpr const char* kSearchIndexPut =
    "INSERT OR REPLACE INTO messages_fts(rowid, name, number, text) VALUES(?1, ?2, ?3, ?4)";
constexpr const char* kSearchIndexRemove = "DELETE FROM messages_fts WHERE rowid = ?1";
// Binds a message's name, number and text (indexes first, first + 1, first + 2) folded for
// the full-text index.
void BindSearchFields(sqlite3_stmt* stmt, int first, std::u16string_view name,
                      std::u16string_view number, std::u16string_view text);

// Moves the rows of a version 1 file into the current layout and removes the old tables.
// Inside the caller's transaction; an SQLite result code, *detail saying what failed.
int MigrateFromObjectStore(sqlite3* db, std::string* detail);
