// SPDX-License-Identifier: GPL-3.0-or-later
// A copy of the message store while the program may be running, and a copy put back.
//
// Both go through SQLite's online backup, never through the file system: a copy reflects one
// moment of the store (the desktop program and a transfer may write meanwhile), and a restore
// writes into the store under SQLite's locks, so that a running program sees the restored
// messages at its next read instead of going on in a file that was moved away.
#pragma once

#include <string>

// The file the store in use is kept as before a restore: "velkan.sqlite3.bak" beside it.
std::string StoreBackupKeptPath();

// Writes a consistent copy of the store to `path` as a single file (no -wal beside it), checks
// it (PRAGMA integrity_check), and only then puts it in place, readable by its owner alone.
// An existing `path` is left alone, with an error, unless `replace`. False with *error.
bool BackupStore(const std::string& path, bool replace, std::string* error);

// Makes the store file `path` the store in use. Nothing is changed until `path` passed the
// checks: it can be read, PRAGMA integrity_check finds nothing wrong, it is a message store of
// this program in a layout this version reads (an older one is brought up to date in the
// copy). The store in use is first kept as StoreBackupKeptPath() (replacing an earlier one);
// `path` itself is never changed. Refused while a transfer runs. False with *error, the store
// in use being as it was.
bool RestoreStore(const std::string& path, std::string* error);
