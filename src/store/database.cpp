// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/database.h"

#include <sqlite3.h>

#include "store/object_store.h"
#include "store/store_connection.h"

StmtScope::~StmtScope() {
    if (stmt_ != nullptr) {
        sqlite3_reset(stmt_);
        sqlite3_clear_bindings(stmt_);
    }
}

CeDatabase::~CeDatabase() {
    for (auto& [sql, stmt] : statements_) sqlite3_finalize(stmt);
    if (db_ != nullptr) sqlite3_close(db_);
}

bool CeDatabase::Close() {
    // The connection stays for the object's life, with its prepared statements; only what a
    // transaction held is given back.
    while (transactionDepth_ > 0) RollbackTransaction();
    open_ = false;
    currentId = 0;
    return true;
}

bool CeDatabase::Open() {
    if (open_) return true;
    if (db_ == nullptr) db_ = OpenStoreConnection();
    if (db_ == nullptr) {
        SetError(StoreError::kFailed, "the store file cannot be opened");
        return false;
    }
    open_ = true;
    SetError(StoreError::kNone);
    return true;
}

sqlite3_stmt* CeDatabase::Statement(const std::string& sql) {
    if (db_ == nullptr || !open_) {
        SetError(StoreError::kFailed, "the store is not open");
        return nullptr;
    }
    auto found = statements_.find(sql);
    if (found != statements_.end()) return found->second;
    sqlite3_stmt* stmt = nullptr;
    const int rc =
        sqlite3_prepare_v3(db_, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr);
    if (rc != SQLITE_OK) {
        Fail(rc);
        return nullptr;
    }
    statements_.emplace(sql, stmt);
    return stmt;
}

void CeDatabase::SetError(StoreError error, std::string text) {
    lastError_ = error;
    lastErrorText_ = std::move(text);
}

void CeDatabase::Fail(int sqliteCode) {
    SetError(IsDamageCode(sqliteCode) ? StoreError::kDamaged : StoreError::kFailed,
             db_ != nullptr ? sqlite3_errmsg(db_) : sqlite3_errstr(sqliteCode));
    if (db_ != nullptr) NoteStoreError(db_, sqliteCode);
}

bool CeDatabase::Execute(const std::string& sql) {
    if (db_ == nullptr) {
        SetError(StoreError::kFailed, "the store is not open");
        return false;
    }
    const int rc = sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) {
        Fail(rc);
        return false;
    }
    return true;
}

bool CeDatabase::BeginTransaction() {
    if (!Open()) return false;
    if (transactionDepth_ == 0) spoiled_ = false;
    const std::string sql = transactionDepth_ == 0
                                ? std::string("BEGIN IMMEDIATE")
                                : "SAVEPOINT vk" + std::to_string(transactionDepth_);
    if (!Execute(sql)) return false;
    ++transactionDepth_;
    return true;
}

bool CeDatabase::CommitTransaction() {
    if (transactionDepth_ == 0) {
        SetError(StoreError::kFailed, "no transaction is open");
        return false;
    }
    const int level = transactionDepth_ - 1;
    if (level == 0 && spoiled_) {
        RollbackTransaction();
        SetError(StoreError::kFailed,
                 "a write failed halfway; nothing of the transaction was kept");
        return false;
    }
    const std::string sql =
        level == 0 ? std::string("COMMIT") : "RELEASE vk" + std::to_string(level);
    if (!Execute(sql)) {
        const StoreError error = lastError_;
        const std::string text = lastErrorText_;
        RollbackTransaction();
        SetError(error, text);
        return false;
    }
    transactionDepth_ = level;
    return true;
}

void CeDatabase::RollbackTransaction() {
    if (transactionDepth_ == 0 || db_ == nullptr) return;
    const int level = --transactionDepth_;
    if (level == 0) spoiled_ = false;
    const std::string sql = level == 0 ? std::string("ROLLBACK")
                                       : "ROLLBACK TO vk" + std::to_string(level) + ";RELEASE vk" +
                                             std::to_string(level);
    sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr);
}
