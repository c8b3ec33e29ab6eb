// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/object_store.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <utility>

#include "common/file_time.h"
#include "store/schema.h"
#include "store/store_connection.h"

namespace {

constexpr const char* kFolderName = "velkan-tessiver";
constexpr const char* kFileName = "velkan.sqlite3";
std::atomic<int> g_busyTimeoutMs{kStoreBusyTimeoutMs};

struct FileIdentity {
    dev_t device;
    ino_t inode;
    bool operator==(const FileIdentity&) const = default;
};

std::mutex g_mutex;  // guards everything below
std::string g_directoryOverride;
std::vector<StoreNotice> g_notices;
// Files already checked by this process, by path; a file replaced behind our back (another
// inode) is checked again.
std::map<std::string, FileIdentity> g_checked;
std::set<std::string> g_damageReported;

std::string EnvString(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? std::string(value) : std::string();
}

void AddNotice(StoreProblem problem, const std::string& path, std::string message,
               std::string movedTo = {}) {
    AddStoreNotice(StoreNotice{problem, path, std::move(movedTo), std::move(message)});
}

// Creates `dir` and its missing parents with mode 0700.
bool MakeDirectories(const std::string& dir, std::string* error) {
    struct stat st;
    if (stat(dir.c_str(), &st) == 0) {
        if (!S_ISDIR(st.st_mode)) {
            *error = "it is not a folder";
            return false;
        }
        return true;
    }
    const std::size_t slash = dir.find_last_of('/');
    if (slash != std::string::npos && slash > 0) {
        if (!MakeDirectories(dir.substr(0, slash), error)) return false;
    }
    if (mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
        *error = std::strerror(errno);
        return false;
    }
    return true;
}

bool PrepareFolder(const std::string& dir) {
    std::string error;
    if (!MakeDirectories(dir, &error)) {
        AddNotice(StoreProblem::kFolderUnusable, dir,
                  "The data folder " + dir + " cannot be used: " + error + ".");
        return false;
    }
    if (faccessat(AT_FDCWD, dir.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
        AddNotice(StoreProblem::kFolderUnusable, dir,
                  "The data folder " + dir + " is not writable: " + std::strerror(errno) + ".");
        return false;
    }
    return true;
}

// Creates an empty file (an empty SQLite database) with mode 0600 unless one exists.
bool EnsureFile(const std::string& path) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd >= 0) {
        close(fd);
        return true;
    }
    if (errno == EEXIST) return true;
    AddNotice(StoreProblem::kFolderUnusable, path,
              "The message store " + path + " cannot be created: " + std::strerror(errno) + ".");
    return false;
}

bool Identify(const std::string& path, FileIdentity* out) {
    struct stat st;
    if (stat(path.c_str(), &st) != 0) return false;
    *out = FileIdentity{st.st_dev, st.st_ino};
    return true;
}

// Runs `sql` and hands every first column to `row`; returns the SQLite result.
template <typename RowFn>
int Query(sqlite3* db, const char* sql, RowFn row) {
    sqlite3_stmt* stmt = nullptr;
    int rc = sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
    if (rc != SQLITE_OK) return rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) row(stmt);
    sqlite3_finalize(stmt);
    return rc == SQLITE_DONE ? SQLITE_OK : rc;
}

int Exec(sqlite3* db, const char* sql) {
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr);
}

enum class CheckResult { kGood, kDamaged, kFailed };

// The check made the first time a process opens a file.
CheckResult CheckFile(sqlite3* db, std::string* detail) {
    std::string first;
    bool gotRow = false;
    int rc = Query(db, "PRAGMA quick_check", [&](sqlite3_stmt* s) {
        if (!gotRow) {
            const unsigned char* text = sqlite3_column_text(s, 0);
            first = text != nullptr ? reinterpret_cast<const char*>(text) : "";
            gotRow = true;
        }
    });
    if (rc != SQLITE_OK) {
        *detail = sqlite3_errmsg(db);
        return IsDamageCode(rc) ? CheckResult::kDamaged : CheckResult::kFailed;
    }
    if (!gotRow || first != "ok") {
        *detail = "integrity check: " + first;
        return CheckResult::kDamaged;
    }
    std::int64_t appId = 0;
    rc = Query(db, "PRAGMA application_id",
               [&](sqlite3_stmt* s) { appId = sqlite3_column_int64(s, 0); });
    if (rc != SQLITE_OK) {
        *detail = sqlite3_errmsg(db);
        return IsDamageCode(rc) ? CheckResult::kDamaged : CheckResult::kFailed;
    }
    if (appId != 0 && static_cast<std::uint32_t>(appId) != kStoreApplicationId) {
        *detail = "it is a database of another program";
        return CheckResult::kDamaged;
    }
    return CheckResult::kGood;
}

std::string DamageStamp() {
    const SystemTime t = GetLocalTime();
    char buf[32];
    std::snprintf(buf, sizeof buf, "%04u%02u%02u-%02u%02u%02u", t.year, t.month, t.day, t.hour,
                  t.minute, t.second);
    return buf;
}

// Renames the damaged file and its companions; returns the new name, or empty on failure.
std::string SetAside(const std::string& path, std::string* error) {
    const std::string base = path + ".damaged-" + DamageStamp();
    std::string target = base;
    for (int n = 2; access(target.c_str(), F_OK) == 0; ++n) {
        if (n > 999) {
            *error = "too many damaged copies";
            return {};
        }
        target = base + "-" + std::to_string(n);
    }
    if (rename(path.c_str(), target.c_str()) != 0) {
        *error = std::strerror(errno);
        return {};
    }
    for (const char* suffix : {"-wal", "-shm", "-journal"}) {
        const std::string from = path + suffix;
        if (access(from.c_str(), F_OK) == 0) rename(from.c_str(), (target + suffix).c_str());
    }
    return target;
}

sqlite3* OpenRaw(const std::string& path) {
    sqlite3* db = nullptr;
    const int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
    if (rc != SQLITE_OK) {
        AddNotice(StoreProblem::kCannotOpen, path,
                  "The message store " + path + " cannot be opened: " +
                      (db != nullptr ? sqlite3_errmsg(db) : sqlite3_errstr(rc)) + ".");
        sqlite3_close(db);
        return nullptr;
    }
    sqlite3_busy_timeout(db, g_busyTimeoutMs.load());
    sqlite3_extended_result_codes(db, 0);
    return db;
}

// Gives a new file its layout and makes every connection durable. A failure other than damage
// comes with a notice.
CheckResult SetUp(sqlite3* db, const std::string& path, std::string* detail) {
    auto fail = [&](int rc) {
        *detail = sqlite3_errmsg(db);
        if (IsDamageCode(rc)) return CheckResult::kDamaged;
        AddNotice(StoreProblem::kCannotOpen, path,
                  "The message store " + path + " cannot be opened: " + *detail + ".");
        return CheckResult::kFailed;
    };
    // Nothing is written before the layout version is known to be one this program reads.
    std::int64_t version = 0;
    int rc = Query(db, "PRAGMA user_version",
                   [&](sqlite3_stmt* s) { version = sqlite3_column_int64(s, 0); });
    if (rc != SQLITE_OK) return fail(rc);
    if (version > static_cast<std::int64_t>(kStoreSchemaVersion)) {
        AddNotice(StoreProblem::kNewerVersion, path,
                  "The message store " + path +
                      " was written by a newer version of Velkan Tessiver (layout " +
                      std::to_string(version) + "); it is left untouched.");
        return CheckResult::kFailed;
    }
    rc = Exec(db, "PRAGMA journal_mode=WAL");
    if (rc != SQLITE_OK) return fail(rc);
    rc = Exec(db, "PRAGMA synchronous=FULL");
    if (rc != SQLITE_OK) return fail(rc);
    if (version == static_cast<std::int64_t>(kStoreSchemaVersion)) {
        // A store whose indexes went missing gets them back; nothing is written otherwise, so
        // that a read-only or locked store still opens for reading.
        std::int64_t indexes = 0;
        rc = Query(db,
                   "SELECT count(*) FROM sqlite_schema WHERE (type = 'index' AND name IN"
                   " ('messages_folder_time', 'messages_log', 'messages_time', 'recent_by_use',"
                   " 'recent_by_name', 'received_parts_key')) OR (type = 'table' AND name IN"
                   " ('messages_fts', 'received_parts', 'long_sends', 'store_counters'))",
                   [&](sqlite3_stmt* s) { indexes = sqlite3_column_int64(s, 0); });
        if (rc != SQLITE_OK) return fail(rc);
        if (indexes == 10) return CheckResult::kGood;
    }
    // A new file, a file of an earlier layout, or missing indexes. Another process may be
    // doing the same: the write lock decides, and whoever comes second finds the work done.
    // The full-text index of an older file is filled in the same transaction.
    rc = Exec(db, "BEGIN IMMEDIATE");
    if (rc != SQLITE_OK) return fail(rc);
    rc = Query(db, "PRAGMA user_version",
               [&](sqlite3_stmt* s) { version = sqlite3_column_int64(s, 0); });
    std::string migration;
    if (rc == SQLITE_OK) {
        rc = version == 1 ? MigrateFromObjectStore(db, &migration) : CreateStoreLayout(db);
    }
    if (rc == SQLITE_OK) {
        rc = CreateSearchIndex(db);
        if (rc != SQLITE_OK && migration.empty()) {
            migration = std::string("search index: ") + sqlite3_errmsg(db);
        }
    }
    if (rc == SQLITE_OK) {
        const std::string stamp = "PRAGMA application_id=" + std::to_string(kStoreApplicationId) +
                                  ";PRAGMA user_version=" + std::to_string(kStoreSchemaVersion);
        rc = Exec(db, stamp.c_str());
    }
    if (rc == SQLITE_OK) rc = Exec(db, "COMMIT");
    if (rc != SQLITE_OK) {
        const CheckResult r = fail(rc);
        Exec(db, "ROLLBACK");
        if (!migration.empty()) {
            AddNotice(StoreProblem::kCannotOpen, path,
                      "The message store " + path +
                          " could not be brought to this version's "
                          "layout (" +
                          migration + "); it is left as it was.");
        }
        return r;
    }
    return CheckResult::kGood;
}

}  // namespace

bool BringToCurrentLayout(sqlite3* db, const std::string& path, std::string* detail) {
    return SetUp(db, path, detail) == CheckResult::kGood;
}

std::string StoreDataDirectory() {
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        if (!g_directoryOverride.empty()) return g_directoryOverride;
    }
    const std::string own = EnvString("VELKAN_DATA_DIR");
    if (!own.empty()) return own;
    const std::string xdg = EnvString("XDG_DATA_HOME");
    // Relative values are invalid and ignored, as the base-directory rules ask.
    if (!xdg.empty() && xdg[0] == '/') return xdg + "/" + kFolderName;
    const std::string home = EnvString("HOME");
    if (!home.empty()) return home + "/.local/share/" + kFolderName;
    return {};
}

std::string StoreFilePath() {
    const std::string dir = StoreDataDirectory();
    return dir.empty() ? std::string() : dir + "/" + kFileName;
}

void SetStoreBusyTimeout(int ms) {
    g_busyTimeoutMs.store(ms > 0 ? ms : kStoreBusyTimeoutMs);
}

void SetStoreDataDirectory(const std::string& directory) {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_directoryOverride = directory;
}

std::vector<StoreNotice> TakeStoreNotices() {
    std::lock_guard<std::mutex> lock(g_mutex);
    std::vector<StoreNotice> out;
    out.swap(g_notices);
    return out;
}

void AddStoreNotice(StoreNotice notice) {
    std::lock_guard<std::mutex> lock(g_mutex);
    // One failure met by several attempts of one operation is reported once.
    if (!g_notices.empty() && g_notices.back().problem == notice.problem &&
        g_notices.back().message == notice.message) {
        return;
    }
    g_notices.push_back(std::move(notice));
}

bool IsDamageCode(int code) {
    const int primary = code & 0xFF;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

void NoteStoreError(sqlite3* db, int code) {
    if (!IsDamageCode(code)) return;
    const char* file = sqlite3_db_filename(db, "main");
    const std::string path = file != nullptr ? file : "";
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        if (!g_damageReported.insert(path).second) return;
        // The next process to open the file checks it again.
        g_checked.erase(path);
    }
    AddNotice(StoreProblem::kDamagedInUse, path,
              "The message store " + path + " reported damage (" + sqlite3_errmsg(db) +
                  "); it will be checked when the program next starts.");
}

sqlite3* OpenStoreConnection() {
    const std::string dir = StoreDataDirectory();
    if (dir.empty()) {
        AddNotice(StoreProblem::kNoDataFolder, "",
                  "There is no folder for the message store: set VELKAN_DATA_DIR, XDG_DATA_HOME "
                  "or HOME.");
        return nullptr;
    }
    if (!PrepareFolder(dir)) return nullptr;
    const std::string path = dir + "/" + kFileName;

    // One thread at a time checks and, if need be, sets files aside.
    static std::mutex checkMutex;
    std::lock_guard<std::mutex> checkLock(checkMutex);

    if (!EnsureFile(path)) return nullptr;
    FileIdentity identity{};
    if (!Identify(path, &identity)) {
        AddNotice(StoreProblem::kCannotOpen, path,
                  "The message store " + path + " cannot be opened: " + std::strerror(errno) + ".");
        return nullptr;
    }
    bool checked;
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        auto it = g_checked.find(path);
        checked = it != g_checked.end() && it->second == identity;
    }

    sqlite3* db = OpenRaw(path);
    if (db == nullptr) return nullptr;
    std::string detail;
    CheckResult state = checked ? CheckResult::kGood : CheckFile(db, &detail);
    if (state == CheckResult::kFailed) {
        AddNotice(StoreProblem::kCannotOpen, path,
                  "The message store " + path + " cannot be read: " + detail + ".");
        sqlite3_close(db);
        return nullptr;
    }
    // Damage can also show first while the connection is set up (a file replaced since it
    // was checked).
    if (state == CheckResult::kGood) state = SetUp(db, path, &detail);
    if (state == CheckResult::kFailed) {
        sqlite3_close(db);
        return nullptr;
    }
    if (state == CheckResult::kDamaged) {
        sqlite3_close(db);
        std::string error;
        const std::string moved = SetAside(path, &error);
        if (moved.empty()) {
            AddNotice(StoreProblem::kDamagedNotMoved, path,
                      "The message store " + path + " is damaged (" + detail +
                          ") and could not be set aside: " + error + ".");
            return nullptr;
        }
        AddNotice(StoreProblem::kDamagedSetAside, path,
                  "The message store " + path + " was damaged (" + detail +
                      "); it was set aside as " + moved + " and a new empty store was started.",
                  moved);
        if (!EnsureFile(path) || !Identify(path, &identity)) return nullptr;
        db = OpenRaw(path);
        if (db == nullptr) return nullptr;
        if (SetUp(db, path, &detail) != CheckResult::kGood) {
            sqlite3_close(db);
            return nullptr;
        }
        checked = false;  // record the new file below
    }
    if (!checked) {
        std::lock_guard<std::mutex> lock(g_mutex);
        g_checked[path] = identity;
        g_damageReported.erase(path);
    }
    return db;
}
