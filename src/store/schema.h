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
//
// Invariants the code relies on:
// - A folder's messages are walked oldest first (time, then id), messages without a time
//   last (in id order); messages_folder_time serves every walk, count and page of a folder,
//   and the duplicate check (folder, time, then text and number).
// - The "Log" view (Inbox and Sent) has its own partial index, messages_log, which alone
//   answers its queries.
// - A store whose indexes are missing gets them again when it is opened; its rows are kept.
//
// Version 1 held the same data in an emulation of a handheld's object store (a catalogue
// "object_databases", tables "records_N" with a column per property id, strings as UTF-16
// blobs). It is migrated on its first opening, in one transaction, ids kept.
#pragma once

#include <cstdint>
#include <string>

struct sqlite3;

// Creates the tables and indexes of the current layout when missing (all statements are
// harmless when repeated). Inside the caller's transaction.
int CreateStoreLayout(sqlite3* db);

// Moves the rows of a version 1 file into the current layout and removes the old tables.
// Inside the caller's transaction; an SQLite result code, *detail saying what failed.
int MigrateFromObjectStore(sqlite3* db, std::string* detail);
