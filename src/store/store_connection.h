// SPDX-License-Identifier: GPL-3.0-or-later
// Connections to the store file, for the database layer only.
#pragma once

#include <string>

struct sqlite3;

// Opens a connection to the store file: creates the folder and the file when they are missing,
// checks the file the first time this process opens it (setting a damaged file aside), gives a
// new file its layout, and sets the connection up (WAL, synchronous=FULL, a busy time-out).
// Null on failure; a notice says why.
sqlite3* OpenStoreConnection();

// Records a notice when `code` (an SQLite result) says that the file is damaged, once per file
// and process.
void NoteStoreError(sqlite3* db, int code);

// True for the SQLite results that mean a damaged file rather than a passing failure.
bool IsDamageCode(int code);

// Brings the file of a connection opened on some other path (a copy to be restored) to the
// current layout, migrating an older one, as OpenStoreConnection does with the store file.
// False, with *detail, when the layout is newer than this program's or the work fails.
bool BringToCurrentLayout(sqlite3* db, const std::string& path, std::string* detail);
