// SPDX-License-Identifier: GPL-3.0-or-later
// The store file: one SQLite file that holds the messages and the recent recipients.
//
// The file lives in the data folder: $VELKAN_DATA_DIR when set, else
// $XDG_DATA_HOME/velkan-tessiver, else ~/.local/share/velkan-tessiver. Its name is
// "velkan.sqlite3". The folder is created with mode 0700 and the file with mode 0600.
//
// A file that SQLite cannot read, or that fails PRAGMA quick_check when the process first
// opens it, is never replaced in place: it is renamed aside to
// "velkan.sqlite3.damaged-YYYYMMDD-HHMMSS" (with its -wal and -shm companions), a new empty
// store is started, and a notice tells the caller what happened. Every other failure (an
// unusable folder, a busy or unreadable file, a file written by a newer version) leaves the
// file alone and is reported as a notice too. Notices are collected process-wide; the command
// line prints them and the user interface shows them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

enum class StoreProblem : std::uint32_t {
    kNoDataFolder = 1,     // no VELKAN_DATA_DIR, XDG_DATA_HOME or HOME to put the file in
    kFolderUnusable = 2,   // the folder cannot be created, or is not a writable folder
    kCannotOpen = 3,       // the file exists but cannot be opened or read (busy, I/O error)
    kDamagedSetAside = 4,  // the file was damaged; it was renamed aside and a new one started
    kDamagedNotMoved = 5,  // the file is damaged but could not be renamed aside
    kNewerVersion = 6,     // the file was written by a newer version of the program
    kDamagedInUse = 7,     // damage found while working; the file is checked at the next start
};

struct StoreNotice {
    StoreProblem problem;
    std::string path;     // the store file concerned
    std::string movedTo;  // where a damaged file was put (kDamagedSetAside only)
    std::string message;  // one sentence for the user, UTF-8
};

// The version of the file layout (store/schema.h), kept in PRAGMA user_version: 4 since the
// parts of long messages. A file of version 1 to 3 is migrated when it is first opened; a newer
// one is left alone.
constexpr std::uint32_t kStoreSchemaVersion = 4;
// PRAGMA application_id of a store file ("VKTS").
constexpr std::uint32_t kStoreApplicationId = 0x564B5453;

// The data folder and the store file as they resolve now (the environment is read every time).
// Empty when no folder can be determined.
std::string StoreDataDirectory();
std::string StoreFilePath();

// Replaces the data folder for this process (tests, the command line's options); an empty
// string goes back to the environment.
void SetStoreDataDirectory(const std::string& directory);

// How long a connection waits for another program's lock before a read or write fails as
// "locked": kStoreBusyTimeoutMs unless a test shortens it (for connections opened after the
// call; 0 or less goes back to the shipped value).
constexpr int kStoreBusyTimeoutMs = 5000;
void SetStoreBusyTimeout(int ms);

// The notices met since the last call, oldest first; the list is emptied.
std::vector<StoreNotice> TakeStoreNotices();
// Adds a notice (used by the database layer; open to the user interface for its own reports).
void AddStoreNotice(StoreNotice notice);
