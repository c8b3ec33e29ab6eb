// SPDX-License-Identifier: GPL-3.0-or-later
// Real conditions under which the message store cannot be used, for the tests of what the
// screens tell the person: another program holding the file's lock, a file of a newer version,
// a folder where the file should be, and a full disk.
#pragma once

#include <signal.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdint>
#include <string>

#include "store/object_store.h"

// Another program's connection to the store file that holds its lock until Release(). With
// `exclusive` the file is taken whole (a file in rollback-journal mode cannot even be read
// meanwhile); otherwise the connection holds the write lock of a transaction (BEGIN EXCLUSIVE),
// which in the store's WAL mode stops writers only.
class StoreLockHolder {
  public:
    explicit StoreLockHolder(bool createRollbackFile = false) {
        const std::string path = StoreFilePath();
        if (createRollbackFile) {
            mkdir(StoreDataDirectory().c_str(), 0700);
            if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                                nullptr) != SQLITE_OK) {
                return;
            }
            // A write inside the transaction takes the whole file: readers wait too.
            held_ = Exec("BEGIN EXCLUSIVE") && Exec("CREATE TABLE other_program(x)");
        } else {
            if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
                return;
            }
            held_ = Exec("BEGIN EXCLUSIVE");
        }
    }
    ~StoreLockHolder() { Release(); }
    StoreLockHolder(const StoreLockHolder&) = delete;
    StoreLockHolder& operator=(const StoreLockHolder&) = delete;

    bool Held() const { return held_; }
    // The other program ends its transaction (undoing it) and closes the file.
    void Release() {
        if (db_ == nullptr) return;
        if (held_) Exec("ROLLBACK");
        held_ = false;
        sqlite3_close(db_);
        db_ = nullptr;
    }

  private:
    bool Exec(const char* sql) {
        return sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    sqlite3* db_ = nullptr;
    bool held_ = false;
};

// Leaves a store file whose layout number is higher than this program's, as a newer version of
// the program writes it. True on success.
inline bool MakeNewerStoreFile() {
    mkdir(StoreDataDirectory().c_str(), 0700);
    sqlite3* db = nullptr;
    bool ok = sqlite3_open_v2(StoreFilePath().c_str(), &db,
                              SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) == SQLITE_OK;
    const std::string sql = "PRAGMA user_version=" + std::to_string(kStoreSchemaVersion + 1);
    ok = ok && sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(db);
    return ok;
}

// Sets the file back to this program's layout number (the newer version's file is gone).
inline bool MakeStoreFileCurrent() {
    sqlite3* db = nullptr;
    bool ok =
        sqlite3_open_v2(StoreFilePath().c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK;
    ok = ok && sqlite3_exec(db, "PRAGMA user_version=0", nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(db);
    return ok;
}

// While it lives, the process writes no byte into any file (RLIMIT_FSIZE of 0): every write
// fails as on a full disk, reads go on. Nothing may be printed to a file meanwhile, so checks
// come after its end.
class DiskFull {
  public:
    DiskFull() {
        previousHandler_ = signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &previous_);
        rlimit limit = previous_;
        limit.rlim_cur = 0;
        active_ = setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }
    ~DiskFull() { End(); }
    DiskFull(const DiskFull&) = delete;
    DiskFull& operator=(const DiskFull&) = delete;

    bool Active() const { return active_; }
    void End() {
        if (!active_) return;
        setrlimit(RLIMIT_FSIZE, &previous_);
        signal(SIGXFSZ, previousHandler_);
        active_ = false;
    }

  private:
    rlimit previous_{};
    sighandler_t previousHandler_ = SIG_DFL;
    bool active_ = false;
};
