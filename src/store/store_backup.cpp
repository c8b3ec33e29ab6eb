// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/store_backup.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "store/object_store.h"
#include "store/store_connection.h"
#include "store/transfer_lock.h"

namespace {

// A connection closed when it goes out of scope.
struct Connection {
    sqlite3* db = nullptr;
    Connection() = default;
    explicit Connection(sqlite3* d) : db(d) {}
    ~Connection() { sqlite3_close(db); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
};

// A file that is removed, with SQLite's companions, unless it was kept.
struct TemporaryFile {
    std::string path;
    bool keep = false;
    ~TemporaryFile() {
        if (keep || path.empty()) return;
        for (const char* suffix : {"", "-journal", "-wal", "-shm"}) {
            unlink((path + suffix).c_str());
        }
    }
};

bool MakeTemporary(const std::string& pattern, TemporaryFile* file, std::string* error) {
    std::string name = pattern + "-XXXXXX";
    const int fd = mkstemp(name.data());
    if (fd < 0) {
        *error = std::strerror(errno);
        return false;
    }
    close(fd);
    file->path = name;
    return true;
}

// The first thing SQLite finds wrong with the file ("" when PRAGMA integrity_check says ok).
std::string IntegrityProblem(sqlite3* db) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &stmt, nullptr) != SQLITE_OK) {
        return sqlite3_errmsg(db);
    }
    std::string problem;
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_ROW) {
        const unsigned char* text = sqlite3_column_text(stmt, 0);
        const std::string first = text != nullptr ? reinterpret_cast<const char*>(text) : "";
        if (first != "ok") problem = first;
    } else {
        problem = sqlite3_errmsg(db);
    }
    sqlite3_finalize(stmt);
    return problem;
}

bool QueryNumber(sqlite3* db, const char* sql, std::int64_t* value) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr) != SQLITE_OK) return false;
    const bool ok = sqlite3_step(stmt) == SQLITE_ROW;
    if (ok) *value = sqlite3_column_int64(stmt, 0);
    sqlite3_finalize(stmt);
    return ok;
}

// Copies the whole database of `from` into `to` in one step: one moment of `from`.
bool Copy(sqlite3* to, sqlite3* from, std::string* error) {
    sqlite3_backup* backup = sqlite3_backup_init(to, "main", from, "main");
    if (backup == nullptr) {
        *error = sqlite3_errmsg(to);
        return false;
    }
    const int rc = sqlite3_backup_step(backup, -1);
    const int finished = sqlite3_backup_finish(backup);
    if (rc != SQLITE_DONE || finished != SQLITE_OK) {
        *error = rc == SQLITE_BUSY || rc == SQLITE_LOCKED
                     ? std::string("the store is busy; try again")
                     : std::string(sqlite3_errmsg(to));
        return false;
    }
    return true;
}

bool SyncFile(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool ok = fsync(fd) == 0;
    close(fd);
    return ok;
}

// The file to restore from, opened so that nothing is made beside it: without a -wal of its
// own it is read as a file nothing changes (no -shm, no locks); with one, as a live store,
// whose -wal holds committed transactions.
std::string SourceUri(const std::string& path) {
    std::string uri = "file:";
    for (char ch : path) {
        if (ch == '%' || ch == '?' || ch == '#') {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned char>(ch));
            uri += escaped;
        } else {
            uri += ch;
        }
    }
    struct stat st;
    if (stat((path + "-wal").c_str(), &st) != 0) uri += "?immutable=1";
    return uri;
}

bool SameFile(const std::string& a, const std::string& b) {
    struct stat x, y;
    return stat(a.c_str(), &x) == 0 && stat(b.c_str(), &y) == 0 && x.st_dev == y.st_dev &&
           x.st_ino == y.st_ino;
}

}  // namespace

std::string StoreBackupKeptPath() {
    const std::string store = StoreFilePath();
    return store.empty() ? store : store + ".bak";
}

bool BackupStore(const std::string& path, bool replace, std::string* error) {
    struct stat st;
    if (!replace && stat(path.c_str(), &st) == 0) {
        *error = path + " exists already";
        return false;
    }
    if (SameFile(path, StoreFilePath())) {
        *error = path + " is the store in use";
        return false;
    }
    Connection live(OpenStoreConnection());
    if (live.db == nullptr) {
        *error = "the message store cannot be opened";
        return false;
    }
    // Made beside its place and moved there only when complete and checked.
    TemporaryFile copy;
    std::string why;
    if (!MakeTemporary(path + ".partial", &copy, &why)) {
        *error = path + " cannot be written: " + why;
        return false;
    }
    {
        Connection target;
        if (sqlite3_open_v2(copy.path.c_str(), &target.db, SQLITE_OPEN_READWRITE, nullptr) !=
            SQLITE_OK) {
            *error = path + " cannot be written: " + sqlite3_errmsg(target.db);
            return false;
        }
        if (!Copy(target.db, live.db, &why)) {
            *error = "the store could not be copied: " + why;
            return false;
        }
        // One file that needs nothing beside it.
        if (sqlite3_exec(target.db, "PRAGMA journal_mode=DELETE", nullptr, nullptr, nullptr) !=
            SQLITE_OK) {
            *error = path + " cannot be written: " + sqlite3_errmsg(target.db);
            return false;
        }
        const std::string problem = IntegrityProblem(target.db);
        if (!problem.empty()) {
            *error = "the copy did not pass its check (" + problem + "); nothing was written";
            return false;
        }
    }
    if (!SyncFile(copy.path) || rename(copy.path.c_str(), path.c_str()) != 0) {
        *error = path + " cannot be written: " + std::strerror(errno);
        return false;
    }
    copy.keep = true;
    return true;
}

bool RestoreStore(const std::string& path, std::string* error) {
    const std::string store = StoreFilePath();
    if (store.empty()) {
        *error = "there is no folder for the message store";
        return false;
    }
    if (SameFile(path, store)) {
        *error = path + " is the store in use";
        return false;
    }
    struct stat st;
    if (stat(path.c_str(), &st) != 0) {
        *error = path + " cannot be read: " + std::strerror(errno);
        return false;
    }
    if (!S_ISREG(st.st_mode)) {
        *error = path + " is not a file";
        return false;
    }
    // A transfer writes as it goes: it would lose its work, or write into what is restored.
    TransferLock transfer;
    std::string why;
    switch (transfer.TryTake(&why)) {
        case TransferLock::Outcome::kTaken:
            break;
        case TransferLock::Outcome::kBusy:
            *error = "a transfer is running; restore when it is done";
            return false;
        case TransferLock::Outcome::kFailed:
            *error = why;
            return false;
    }
    Connection live(OpenStoreConnection());
    if (live.db == nullptr) {
        *error = "the message store cannot be opened";
        return false;
    }

    // The file is read through SQLite (with its -wal, if one lies beside it) into a private
    // copy in the data folder: the checks and any migration work on the copy.
    TemporaryFile copy;
    if (!MakeTemporary(store + ".restore", &copy, &why)) {
        *error = "the data folder cannot take a copy: " + why;
        return false;
    }
    Connection candidate;
    if (sqlite3_open_v2(copy.path.c_str(), &candidate.db, SQLITE_OPEN_READWRITE, nullptr) !=
        SQLITE_OK) {
        *error = "the data folder cannot take a copy: " + std::string(sqlite3_errmsg(candidate.db));
        return false;
    }
    {
        Connection source;
        if (sqlite3_open_v2(SourceUri(path).c_str(), &source.db,
                            SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr) != SQLITE_OK) {
            *error = path + " cannot be read: " + sqlite3_errmsg(source.db);
            return false;
        }
        if (!Copy(candidate.db, source.db, &why)) {
            *error = path + " cannot be read: " + why;
            return false;
        }
    }
    std::int64_t appId = 0, version = 0, tables = 0;
    if (!QueryNumber(candidate.db, "PRAGMA application_id", &appId) ||
        !QueryNumber(candidate.db, "PRAGMA user_version", &version)) {
        *error = path + " is not a message store: " + sqlite3_errmsg(candidate.db);
        return false;
    }
    const std::string problem = IntegrityProblem(candidate.db);
    if (!problem.empty()) {
        *error = path + " is damaged (" + problem +
                 "); `velkan recover` brings back what it still holds";
        return false;
    }
    QueryNumber(candidate.db,
                "SELECT count(*) FROM sqlite_schema WHERE type = 'table' AND name IN"
                " ('messages', 'recent_recipients', 'object_databases')",
                &tables);
    const bool ours = appId == kStoreApplicationId || appId == 0;
    const bool known = (version == 1 && tables >= 1) || (version >= 2 && tables >= 2);
    if (!ours || version < 1 || !known) {
        *error = path + " is not a message store of Velkan Tessiver";
        return false;
    }
    if (version > static_cast<std::int64_t>(kStoreSchemaVersion)) {
        *error = path + " was written by a newer version of Velkan Tessiver (layout " +
                 std::to_string(version) + ")";
        return false;
    }
    if (!BringToCurrentLayout(candidate.db, copy.path, &why)) {
        *error = path + " could not be brought to this version's layout: " + why;
        return false;
    }
    // The copy goes in page by page: the store's page size must be the copy's.
    std::int64_t livePage = 0, candidatePage = 0;
    if (QueryNumber(live.db, "PRAGMA page_size", &livePage) &&
        QueryNumber(candidate.db, "PRAGMA page_size", &candidatePage) &&
        livePage != candidatePage) {
        const std::string resize =
            "PRAGMA journal_mode=DELETE;PRAGMA page_size=" + std::to_string(livePage) + ";VACUUM";
        if (sqlite3_exec(candidate.db, resize.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
            *error = path + " could not be prepared: " + sqlite3_errmsg(candidate.db);
            return false;
        }
    }

    if (!BackupStore(StoreBackupKeptPath(), true, &why)) {
        *error = "the store in use could not be kept as " + StoreBackupKeptPath() + " (" + why +
                 "); nothing was restored";
        return false;
    }
    if (!Copy(live.db, candidate.db, &why)) {
        *error = "the store could not be replaced: " + why;
        return false;
    }
    return true;
}
