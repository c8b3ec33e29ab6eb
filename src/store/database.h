// SPDX-License-Identifier: GPL-3.0-or-later
// The thin layer under the message store and the recent recipients: one connection to the
// store file, its prepared statements, the outcome of the last operation, transactions.
//
// Not thread-safe: each thread uses its own object. Every object opens its own connection;
// each write is committed durably before the operation returns, unless a transaction is open.
#pragma once

#include <cstdint>
#include <map>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

// What the last operation of a database object came to.
enum class StoreError : std::uint32_t {
    kNone = 0,
    kNoRecord,  // no such record, or nothing (more) to walk to
    kFailed,    // the file could not be used (locked, read-only, full, ...): see LastErrorText()
    kDamaged,   // the file reported damage
};

class CeDatabase {
  public:
    CeDatabase() = default;
    virtual ~CeDatabase();
    CeDatabase(const CeDatabase&) = delete;
    CeDatabase& operator=(const CeDatabase&) = delete;

    bool IsOpen() const { return open_; }
    // Closes the object (its connection stays until the object goes); closing a closed object
    // succeeds.
    bool Close();

    // The record the last seek, read or write arrived at; 0 for none.
    std::uint32_t currentId = 0;

    StoreError LastError() const { return lastError_; }
    // What went wrong in the file at the last failure, in SQLite's words.
    const std::string& LastErrorText() const { return lastErrorText_; }

    // Several operations as one: everything between Begin and Commit is kept, or nothing
    // (Rollback, or a failed Commit). They nest. The outermost one takes the file's write lock
    // at once, so a store that another program holds is found before anything is done.
    bool BeginTransaction();
    bool CommitTransaction();
    void RollbackTransaction();
    bool InTransaction() const { return transactionDepth_ > 0; }
    // A write inside the caller's transaction failed halfway, leaving what it began: the
    // outermost commit then rolls everything back and fails, so that none of the transaction's
    // writes are kept.
    void SpoilTransaction() { spoiled_ = InTransaction(); }

  protected:
    // Opens the connection to the store file (created and laid out when new) unless it is
    // open; the object counts as open from then on.
    bool Open();
    sqlite3* Connection() const { return db_; }
    // A cached prepared statement, reset and cleared of bindings; null on failure.
    sqlite3_stmt* Statement(const std::string& sql);
    // Records a failed SQLite call (and a notice for a damaged file).
    void Fail(int sqliteCode);
    void SetError(StoreError error, std::string text = {});
    // Runs statements without results; false (and the error) on failure.
    bool Execute(const std::string& sql);

  private:
    sqlite3* db_ = nullptr;
    bool open_ = false;
    std::map<std::string, sqlite3_stmt*> statements_;
    StoreError lastError_ = StoreError::kNone;
    std::string lastErrorText_;
    int transactionDepth_ = 0;
    bool spoiled_ = false;
};

// Resets a statement from CeDatabase::Statement when the operation is done with it, so that no
// read transaction stays open between operations.
class StmtScope {
  public:
    explicit StmtScope(sqlite3_stmt* stmt) : stmt_(stmt) {}
    ~StmtScope();
    StmtScope(const StmtScope&) = delete;
    StmtScope& operator=(const StmtScope&) = delete;

  private:
    sqlite3_stmt* stmt_;
};
