#include "store/ce_database.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

#include "common/text_convert.h"
#include "store/store_connection.h"

namespace {

constexpr std::int64_t kMaxOid = std::numeric_limits<CeOid>::max();

// Resets a cached statement when the operation is done with it, so that no read transaction
// stays open between operations.
class StmtScope {
  public:
    explicit StmtScope(sqlite3_stmt* stmt) : stmt_(stmt) {}
    ~StmtScope() {
        if (stmt_ != nullptr) {
            sqlite3_reset(stmt_);
            sqlite3_clear_bindings(stmt_);
        }
    }
    StmtScope(const StmtScope&) = delete;
    StmtScope& operator=(const StmtScope&) = delete;

  private:
    sqlite3_stmt* stmt_;
};

std::string Hex8(std::uint32_t value) {
    char buf[12];
    std::snprintf(buf, sizeof buf, "%08X", value);
    return buf;
}

std::string TableOf(CeOid id) {
    return "records_" + std::to_string(id);
}

std::string IndexOf(const std::string& table, CePropId propId) {
    return table + "_sort_" + Hex8(propId);
}

bool SortableType(std::uint16_t type) {
    return type == kCevtUi4 || type == kCevtFiletime || type == kCevtLpwstr;
}

bool KnownType(std::uint16_t type) {
    return SortableType(type) || type == kCevtBlob;
}

std::string FormatSortOrders(const CeSortOrder* orders, unsigned count) {
    std::string out;
    for (unsigned i = 0; i < count; ++i) {
        if (!out.empty()) out += ',';
        out += Hex8(orders[i].propId) + ":" + std::to_string(orders[i].flags);
    }
    return out;
}

bool ParseSortOrders(const std::string& text, std::vector<CeSortOrder>* out) {
    out->clear();
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t end = text.find(',', pos);
        if (end == std::string::npos) end = text.size();
        const std::string item = text.substr(pos, end - pos);
        unsigned long prop = 0, flags = 0;
        char tail = 0;
        if (std::sscanf(item.c_str(), "%8lx:%lu%c", &prop, &flags, &tail) != 2) return false;
        out->push_back(CeSortOrder{static_cast<CePropId>(prop), static_cast<std::uint32_t>(flags)});
        pos = end + 1;
    }
    return out->size() <= kMaxSortOrders;
}

bool ValidSortOrders(const CeSortOrder* orders, unsigned count) {
    if (count > kMaxSortOrders || (count > 0 && orders == nullptr)) return false;
    for (unsigned i = 0; i < count; ++i) {
        if (orders[i].flags != 0 || !SortableType(PropType(orders[i].propId))) return false;
        for (unsigned j = 0; j < i; ++j) {
            if (orders[j].propId == orders[i].propId) return false;
        }
    }
    return true;
}

bool TableColumns(sqlite3* db, const std::string& table, std::vector<CePropId>* out) {
    out->clear();
    sqlite3_stmt* stmt = nullptr;
    const std::string sql = "PRAGMA table_info(" + table + ")";
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) return false;
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        const char* name = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1));
        unsigned long prop = 0;
        char tail = 0;
        if (name != nullptr && std::sscanf(name, "p_%8lx%c", &prop, &tail) == 1) {
            out->push_back(static_cast<CePropId>(prop));
        }
    }
    sqlite3_finalize(stmt);
    return rc == SQLITE_DONE;
}

void BindValue(sqlite3_stmt* stmt, int index, const CePropVal& value) {
    if (value.flags & kPropDelete) {
        sqlite3_bind_null(stmt, index);
        return;
    }
    switch (PropType(value.propId)) {
        case kCevtUi4:
            sqlite3_bind_int64(stmt, index, value.ui4);
            break;
        case kCevtFiletime:
            sqlite3_bind_int64(stmt, index, static_cast<std::int64_t>(value.fileTime));
            break;
        case kCevtLpwstr: {
            const std::string bytes = EncodeText(value.text);
            if (bytes.empty()) {
                sqlite3_bind_zeroblob(stmt, index, 0);
            } else {
                sqlite3_bind_blob(stmt, index, bytes.data(), static_cast<int>(bytes.size()),
                                  SQLITE_TRANSIENT);
            }
            break;
        }
        default:
            if (value.blob.empty()) {
                sqlite3_bind_zeroblob(stmt, index, 0);
            } else {
                sqlite3_bind_blob(stmt, index, value.blob.data(),
                                  static_cast<int>(value.blob.size()), SQLITE_TRANSIENT);
            }
    }
}

// Fills `out` from column `col`; a NULL or a value of the wrong kind reads as not found.
void ColumnValue(sqlite3_stmt* stmt, int col, CePropId propId, CePropVal* out) {
    *out = CePropVal{};
    out->propId = propId;
    const int kind = sqlite3_column_type(stmt, col);
    const std::uint16_t type = PropType(propId);
    bool found = false;
    if ((type == kCevtUi4 || type == kCevtFiletime) && kind == SQLITE_INTEGER) {
        const std::int64_t v = sqlite3_column_int64(stmt, col);
        if (type == kCevtUi4 && v >= 0 && v <= 0xFFFFFFFFll) {
            out->ui4 = static_cast<std::uint32_t>(v);
            found = true;
        } else if (type == kCevtFiletime && v >= 0) {
            out->fileTime = static_cast<FileTime>(v);
            found = true;
        }
    } else if ((type == kCevtLpwstr || type == kCevtBlob) && kind == SQLITE_BLOB) {
        const void* data = sqlite3_column_blob(stmt, col);
        const int bytes = sqlite3_column_bytes(stmt, col);
        if (type == kCevtLpwstr && bytes % 2 == 0) {
            out->text = DecodeText(data, bytes);
            found = true;
        } else if (type == kCevtBlob) {
            const auto* p = static_cast<const std::uint8_t*>(data);
            out->blob.assign(p, p + bytes);
            found = true;
        }
    }
    if (!found) out->flags = kPropNotFound;
}

}  // namespace

std::string EncodeText(std::u16string_view text) {
    std::string out;
    out.resize(text.size() * 2);
    for (std::size_t i = 0; i < text.size(); ++i) {
        out[2 * i] = static_cast<char>(text[i] >> 8);
        out[2 * i + 1] = static_cast<char>(text[i] & 0xFF);
    }
    return out;
}

std::u16string DecodeText(const void* data, int bytes) {
    std::u16string out;
    if (data == nullptr || bytes <= 0) return out;
    const auto* p = static_cast<const std::uint8_t*>(data);
    out.resize(static_cast<std::size_t>(bytes) / 2);
    for (std::size_t i = 0; i < out.size(); ++i) {
        out[i] = static_cast<char16_t>((p[2 * i] << 8) | p[2 * i + 1]);
    }
    return out;
}

CeDatabase::~CeDatabase() {
    FinalizeStatements();
    if (db_ != nullptr) sqlite3_close(db_);
}

void CeDatabase::FinalizeStatements() {
    for (auto& entry : statements_) sqlite3_finalize(entry.second);
    statements_.clear();
}

std::string CeDatabase::ColumnName(CePropId propId) {
    return "p_" + Hex8(propId);
}

void CeDatabase::SetError(std::uint32_t code, std::string text) {
    lastError_ = code;
    lastErrorText_ = std::move(text);
}

void CeDatabase::Fail(int sqliteCode) {
    SetError(IsDamageCode(sqliteCode) ? kCeErrorDamaged : kCeErrorStore,
             db_ != nullptr ? sqlite3_errmsg(db_) : sqlite3_errstr(sqliteCode));
    if (db_ != nullptr) NoteStoreError(db_, sqliteCode);
}

bool CeDatabase::Connect() {
    if (db_ != nullptr) return true;
    db_ = OpenStoreConnection();
    if (db_ == nullptr) {
        SetError(kCeErrorStore, "the store file cannot be opened");
        return false;
    }
    return true;
}

sqlite3_stmt* CeDatabase::Statement(const std::string& sql) {
    auto it = statements_.find(sql);
    if (it != statements_.end()) {
        sqlite3_reset(it->second);
        sqlite3_clear_bindings(it->second);
        return it->second;
    }
    sqlite3_stmt* stmt = nullptr;
    const int rc = sqlite3_prepare_v2(db_, sql.c_str(), -1, &stmt, nullptr);
    if (rc != SQLITE_OK) {
        Fail(rc);
        sqlite3_finalize(stmt);
        return nullptr;
    }
    statements_.emplace(sql, stmt);
    return stmt;
}

bool CeDatabase::Execute(const std::string& sql) {
    const int rc = sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) {
        Fail(rc);
        return false;
    }
    return true;
}

bool CeDatabase::LookUpByName(std::u16string_view name, CeOid* id) {
    const std::string utf8 = Utf16ToUtf8(name);
    if (name.empty() || Utf8ToUtf16(utf8) != name) {
        SetError(kCeErrorInvalidParameter);
        return false;
    }
    sqlite3_stmt* stmt = Statement("SELECT id FROM object_databases WHERE name = ?1");
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    sqlite3_bind_text(stmt, 1, utf8.data(), static_cast<int>(utf8.size()), SQLITE_TRANSIENT);
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_ROW) {
        *id = static_cast<CeOid>(sqlite3_column_int64(stmt, 0));
        return true;
    }
    if (rc == SQLITE_DONE) {
        SetError(kCeErrorFileNotFound);
    } else {
        Fail(rc);
    }
    return false;
}

bool CeDatabase::ReadSortOrders(CeOid id, std::vector<CeSortOrder>* out) {
    sqlite3_stmt* stmt = Statement("SELECT sort_orders FROM object_databases WHERE id = ?1");
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    sqlite3_bind_int64(stmt, 1, id);
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_DONE) {
        SetError(kCeErrorFileNotFound);
        return false;
    }
    if (rc != SQLITE_ROW) {
        Fail(rc);
        return false;
    }
    const char* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
    if (!ParseSortOrders(text != nullptr ? text : "", out)) {
        SetError(kCeErrorDamaged, "unreadable sort orders");
        return false;
    }
    return true;
}

bool CeDatabase::OpenResolved(CeOid id, CePropId sortProperty, std::uint32_t flags) {
    if (flags != 0) {
        SetError(kCeErrorInvalidParameter);
        return false;
    }
    std::vector<CeSortOrder> orders;
    if (!ReadSortOrders(id, &orders)) return false;
    if (sortProperty != 0 && std::none_of(orders.begin(), orders.end(), [&](const CeSortOrder& s) {
            return s.propId == sortProperty;
        })) {
        SetError(kCeErrorInvalidParameter);
        return false;
    }
    table_ = TableOf(id);
    if (!LoadColumns()) {
        table_.clear();
        return false;
    }
    if (sortProperty != 0 && !EnsureColumn(sortProperty)) {
        table_.clear();
        return false;
    }
    databaseId = id;
    currentId = 0;
    sortProperty_ = sortProperty;
    sortColumn_ = sortProperty != 0 ? ColumnName(sortProperty) : std::string();
    BuildCursorSql();
    readOneSql_.clear();
    positioned_ = false;
    open_ = true;
    SetError(kCeErrorNone);
    return true;
}

bool CeDatabase::Open(std::u16string_view name, CePropId sortProperty, std::uint32_t flags) {
    Close();
    if (!Connect()) return false;
    CeOid id = 0;
    if (!LookUpByName(name, &id)) return false;
    return OpenResolved(id, sortProperty, flags);
}

bool CeDatabase::OpenById(CePropId sortProperty, std::uint32_t flags) {
    Close();
    if (databaseId == 0) {
        SetError(kCeErrorFileNotFound);
        return false;
    }
    if (!Connect()) return false;
    return OpenResolved(databaseId, sortProperty, flags);
}

bool CeDatabase::Close() {
    open_ = false;
    table_.clear();
    sortProperty_ = 0;
    sortColumn_.clear();
    columns_.clear();
    positioned_ = false;
    return true;
}

bool CeDatabase::LoadColumns() {
    sqlite3_stmt* stmt = Statement("PRAGMA schema_version");
    if (stmt == nullptr) return false;
    {
        StmtScope scope(stmt);
        const int rc = sqlite3_step(stmt);
        if (rc != SQLITE_ROW) {
            Fail(rc);
            return false;
        }
        schemaVersion_ = sqlite3_column_int64(stmt, 0);
    }
    if (!TableColumns(db_, table_, &columns_)) {
        Fail(sqlite3_errcode(db_));
        return false;
    }
    return true;
}

bool CeDatabase::SchemaChanged() {
    sqlite3_stmt* stmt = Statement("PRAGMA schema_version");
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    if (sqlite3_step(stmt) != SQLITE_ROW) return false;
    return sqlite3_column_int64(stmt, 0) != schemaVersion_;
}

bool CeDatabase::HasColumn(CePropId propId) {
    if (std::find(columns_.begin(), columns_.end(), propId) != columns_.end()) return true;
    // Another connection may have added it since.
    if (SchemaChanged() && LoadColumns()) {
        return std::find(columns_.begin(), columns_.end(), propId) != columns_.end();
    }
    return false;
}

bool CeDatabase::EnsureColumn(CePropId propId) {
    if (HasColumn(propId)) return true;
    // No declared type: values are kept exactly as bound, without conversions.
    const std::string sql = "ALTER TABLE " + table_ + " ADD COLUMN " + ColumnName(propId);
    const int rc = sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) {
        // Another connection may have been quicker.
        if (LoadColumns() &&
            std::find(columns_.begin(), columns_.end(), propId) != columns_.end()) {
            return true;
        }
        Fail(rc);
        return false;
    }
    return LoadColumns();
}

CeOid CeDatabase::CreateDatabase(std::u16string_view name, std::uint32_t type,
                                 const CeSortOrder* orders, unsigned count) {
    if (!ValidSortOrders(orders, count)) {
        SetError(kCeErrorInvalidParameter);
        return 0;
    }
    if (!Connect()) return 0;
    CeOid existing = 0;
    if (LookUpByName(name, &existing)) {
        SetError(kCeErrorAlreadyExists);
        return 0;
    }
    if (lastError_ != kCeErrorFileNotFound) return 0;
    const std::string utf8 = Utf16ToUtf8(name);
    if (!BeginTransaction()) return 0;
    auto rollback = [&]() {
        RollbackTransaction();
        return CeOid{0};
    };
    sqlite3_stmt* stmt =
        Statement("INSERT INTO object_databases(name, type, sort_orders) VALUES(?1, ?2, ?3)");
    if (stmt == nullptr) return rollback();
    CeOid id = 0;
    {
        StmtScope scope(stmt);
        const std::string text = FormatSortOrders(orders, count);
        sqlite3_bind_text(stmt, 1, utf8.data(), static_cast<int>(utf8.size()), SQLITE_TRANSIENT);
        sqlite3_bind_int64(stmt, 2, type);
        sqlite3_bind_text(stmt, 3, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
        const int rc = sqlite3_step(stmt);
        if (rc != SQLITE_DONE) {
            // The name was taken by another process since the look-up.
            if ((rc & 0xFF) == SQLITE_CONSTRAINT) {
                SetError(kCeErrorAlreadyExists);
            } else {
                Fail(rc);
            }
            return rollback();
        }
        const std::int64_t rowid = sqlite3_last_insert_rowid(db_);
        if (rowid <= 0 || rowid > kMaxOid) {
            SetError(kCeErrorStore, "no database id left");
            return rollback();
        }
        id = static_cast<CeOid>(rowid);
    }
    const std::string table = TableOf(id);
    std::string sql = "CREATE TABLE " + table + "(oid INTEGER PRIMARY KEY AUTOINCREMENT";
    for (unsigned i = 0; i < count; ++i) sql += ", " + ColumnName(orders[i].propId);
    sql += ");";
    for (unsigned i = 0; i < count; ++i) {
        sql += "CREATE INDEX " + IndexOf(table, orders[i].propId) + " ON " + table + "(" +
               ColumnName(orders[i].propId) + ");";
    }
    if (!Execute(sql)) return rollback();
    if (!CommitTransaction()) return 0;
    databaseId = id;
    SetError(kCeErrorNone);
    return id;
}

bool CeDatabase::SetSortOrders(const CeSortOrder* orders, unsigned count) {
    if (!ValidSortOrders(orders, count) || databaseId == 0) {
        SetError(databaseId == 0 ? kCeErrorFileNotFound : kCeErrorInvalidParameter);
        return false;
    }
    if (!Connect()) return false;
    std::vector<CeSortOrder> old;
    if (!ReadSortOrders(databaseId, &old)) return false;
    const std::string table = TableOf(databaseId);
    std::vector<CePropId> columns;
    if (!TableColumns(db_, table, &columns)) {
        Fail(sqlite3_errcode(db_));
        return false;
    }
    std::string sql;
    for (const CeSortOrder& order : old) {
        sql += "DROP INDEX IF EXISTS " + IndexOf(table, order.propId) + ";";
    }
    for (unsigned i = 0; i < count; ++i) {
        if (std::find(columns.begin(), columns.end(), orders[i].propId) == columns.end()) {
            sql += "ALTER TABLE " + table + " ADD COLUMN " + ColumnName(orders[i].propId) + ";";
        }
        sql += "CREATE INDEX IF NOT EXISTS " + IndexOf(table, orders[i].propId) + " ON " + table +
               "(" + ColumnName(orders[i].propId) + ");";
    }
    if (!BeginTransaction()) return false;
    sqlite3_stmt* stmt = Statement("UPDATE object_databases SET sort_orders = ?2 WHERE id = ?1");
    bool ok = stmt != nullptr && Execute(sql);
    if (ok) {
        StmtScope scope(stmt);
        const std::string text = FormatSortOrders(orders, count);
        sqlite3_bind_int64(stmt, 1, databaseId);
        sqlite3_bind_text(stmt, 2, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
        const int rc = sqlite3_step(stmt);
        if (rc != SQLITE_DONE) {
            Fail(rc);
            ok = false;
        }
    }
    if (!ok) {
        RollbackTransaction();
        return false;
    }
    if (!CommitTransaction()) return false;
    if (open_ && !LoadColumns()) return false;
    SetError(kCeErrorNone);
    return true;
}

bool CeDatabase::GetSortOrders(CeSortOrder* out, unsigned* count) {
    if (databaseId == 0) {
        SetError(kCeErrorFileNotFound);
        return false;
    }
    if (!Connect()) return false;
    std::vector<CeSortOrder> orders;
    if (!ReadSortOrders(databaseId, &orders)) return false;
    std::copy(orders.begin(), orders.end(), out);
    *count = static_cast<unsigned>(orders.size());
    return true;
}

bool CeDatabase::GetRecordCount(std::uint32_t* out) {
    if (databaseId == 0) {
        SetError(kCeErrorFileNotFound);
        return false;
    }
    if (!Connect()) return false;
    sqlite3_stmt* stmt = Statement("SELECT count(*) FROM " + TableOf(databaseId));
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    const int rc = sqlite3_step(stmt);
    if (rc != SQLITE_ROW) {
        Fail(rc);
        return false;
    }
    *out = static_cast<std::uint32_t>(sqlite3_column_int64(stmt, 0));
    return true;
}

bool CeDatabase::DeleteDatabase(std::u16string_view name) {
    CeDatabase temp;
    if (!temp.Open(name, 0, 0)) return false;
    temp.Close();
    const std::string table = TableOf(temp.databaseId);
    if (!temp.BeginTransaction()) return false;
    if (!temp.Execute(
            "DROP TABLE IF EXISTS " + table +
            ";DELETE FROM object_databases WHERE id = " + std::to_string(temp.databaseId) + ";")) {
        temp.RollbackTransaction();
        return false;
    }
    return temp.CommitTransaction();
}

bool CeDatabase::BeginTransaction() {
    if (!Connect()) return false;
    const std::string sql = transactionDepth_ == 0
                                ? std::string("BEGIN IMMEDIATE")
                                : "SAVEPOINT vk" + std::to_string(transactionDepth_);
    if (!Execute(sql)) return false;
    ++transactionDepth_;
    return true;
}

bool CeDatabase::CommitTransaction() {
    if (transactionDepth_ == 0) {
        SetError(kCeErrorInvalidParameter);
        return false;
    }
    const int level = transactionDepth_ - 1;
    const std::string sql =
        level == 0 ? std::string("COMMIT") : "RELEASE vk" + std::to_string(level);
    if (!Execute(sql)) {
        const std::uint32_t code = lastError_;
        const std::string text = lastErrorText_;
        RollbackTransaction();
        SetError(code, text);
        return false;
    }
    transactionDepth_ = level;
    return true;
}

void CeDatabase::RollbackTransaction() {
    if (transactionDepth_ == 0 || db_ == nullptr) return;
    const int level = --transactionDepth_;
    const std::string sql = level == 0 ? std::string("ROLLBACK")
                                       : "ROLLBACK TO vk" + std::to_string(level) + ";RELEASE vk" +
                                             std::to_string(level);
    sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr);
    // Columns added inside the transaction are gone again.
    readOneSql_.clear();
    if (open_) LoadColumns();
}

// --- the cursor ------------------------------------------------------------------------------

namespace {

void BindKey(sqlite3_stmt* stmt, int index,
             const std::variant<std::monostate, std::int64_t, std::string>& key) {
    if (const auto* i = std::get_if<std::int64_t>(&key)) {
        sqlite3_bind_int64(stmt, index, *i);
    } else if (const auto* s = std::get_if<std::string>(&key)) {
        sqlite3_bind_blob(stmt, index, s->data(), static_cast<int>(s->size()), SQLITE_TRANSIENT);
    } else {
        sqlite3_bind_null(stmt, index);
    }
}

// Binds the bounds of a cursor query, as many as it has: ?1 and ?2 the position it starts
// after, ?3 and ?4 the last position it may reach.
void BindBounds(sqlite3_stmt* stmt,
                const std::variant<std::monostate, std::int64_t, std::string>& from,
                std::int64_t fromOid,
                const std::variant<std::monostate, std::int64_t, std::string>& to = {},
                std::int64_t toOid = 0) {
    const int params = sqlite3_bind_parameter_count(stmt);
    if (params >= 1) BindKey(stmt, 1, from);
    if (params >= 2) sqlite3_bind_int64(stmt, 2, fromOid);
    if (params >= 3) BindKey(stmt, 3, to);
    if (params >= 4) sqlite3_bind_int64(stmt, 4, toOid);
}

std::variant<std::monostate, std::int64_t, std::string> ColumnKey(sqlite3_stmt* stmt, int col) {
    switch (sqlite3_column_type(stmt, col)) {
        case SQLITE_INTEGER:
            return sqlite3_column_int64(stmt, col);
        case SQLITE_NULL:
            return std::monostate{};
        default: {
            const char* data = static_cast<const char*>(sqlite3_column_blob(stmt, col));
            return std::string(data != nullptr ? data : "",
                               static_cast<std::size_t>(sqlite3_column_bytes(stmt, col)));
        }
    }
}

}  // namespace

// Runs a query whose first column is an oid and whose optional second column is the sort key;
// ?1 is bound to `from` and ?2 to `fromOid` when the query has them. True when it ran; *oid is
// 0 when it found nothing.
bool CeDatabase::Fetch(const std::string& sql, const Key& from, CeOid fromOid, CeOid* oid,
                       Key* key) {
    sqlite3_stmt* stmt = Statement(sql);
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    BindBounds(stmt, from, fromOid);
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_ROW) {
        *oid = static_cast<CeOid>(sqlite3_column_int64(stmt, 0));
        *key = sqlite3_column_count(stmt) > 1 ? ColumnKey(stmt, 1) : Key{};
        return true;
    }
    if (rc != SQLITE_DONE) {
        Fail(rc);
        return false;
    }
    *oid = 0;
    return true;
}

void CeDatabase::BuildCursorSql() {
    const std::string& t = table_;
    const std::string& c = sortColumn_;
    CursorSql& q = cursorSql_;
    if (c.empty()) {
        q.first = "SELECT oid FROM " + t + " ORDER BY oid ASC LIMIT 1";
        q.last = "SELECT oid FROM " + t + " ORDER BY oid DESC LIMIT 1";
        q.next = "SELECT oid FROM " + t + " WHERE oid > ?2 ORDER BY oid ASC LIMIT 1";
        q.prev = "SELECT oid FROM " + t + " WHERE oid < ?2 ORDER BY oid DESC LIMIT 1";
        q.keyOf = "SELECT oid FROM " + t + " WHERE oid = ?2";
        return;
    }
    // Records with a value, in value order and then id order; after them the records
    // without one, in id order.
    const std::string known = "SELECT oid, " + c + " FROM " + t + " WHERE ";
    const std::string unknown = "SELECT oid FROM " + t + " WHERE " + c + " IS NULL";
    q.first = known + c + " IS NOT NULL ORDER BY " + c + " ASC, oid ASC LIMIT 1";
    q.last = known + c + " IS NOT NULL ORDER BY " + c + " DESC, oid DESC LIMIT 1";
    q.firstUnknown = unknown + " ORDER BY oid ASC LIMIT 1";
    q.lastUnknown = unknown + " ORDER BY oid DESC LIMIT 1";
    q.next = known + c + " >= ?1 AND (" + c + " > ?1 OR oid > ?2) ORDER BY " + c +
             " ASC, oid ASC LIMIT 1";
    q.prev = known + c + " <= ?1 AND (" + c + " < ?1 OR oid < ?2) ORDER BY " + c +
             " DESC, oid DESC LIMIT 1";
    q.nextUnknown = unknown + " AND oid > ?2 ORDER BY oid ASC LIMIT 1";
    q.prevUnknown = unknown + " AND oid < ?2 ORDER BY oid DESC LIMIT 1";
    q.keyOf = "SELECT oid, " + c + " FROM " + t + " WHERE oid = ?2";
}

bool CeDatabase::Edge(bool first, CeOid* oid, Key* key) {
    const CursorSql& q = cursorSql_;
    if (sortColumn_.empty()) return Fetch(first ? q.first : q.last, Key{}, 0, oid, key);
    // Records without the sort property come last.
    const std::string& primary = first ? q.first : q.lastUnknown;
    const std::string& secondary = first ? q.firstUnknown : q.last;
    if (!Fetch(primary, Key{}, 0, oid, key)) return false;
    if (*oid != 0) return true;
    return Fetch(secondary, Key{}, 0, oid, key);
}

bool CeDatabase::StepFrom(bool haveCursor, const Key& from, CeOid fromOid, bool forward, CeOid* oid,
                          Key* key) {
    if (!haveCursor) {
        // Before the first record: a step forward finds the first one.
        if (!forward) {
            *oid = 0;
            return true;
        }
        return Edge(true, oid, key);
    }
    const CursorSql& q = cursorSql_;
    if (sortColumn_.empty()) return Fetch(forward ? q.next : q.prev, Key{}, fromOid, oid, key);
    const bool fromUnknown = std::holds_alternative<std::monostate>(from);
    if (forward) {
        if (fromUnknown) return Fetch(q.nextUnknown, Key{}, fromOid, oid, key);
        if (!Fetch(q.next, from, fromOid, oid, key)) return false;
        if (*oid != 0) return true;
        return Fetch(q.firstUnknown, Key{}, 0, oid, key);
    }
    if (!fromUnknown) return Fetch(q.prev, from, fromOid, oid, key);
    if (!Fetch(q.prevUnknown, Key{}, fromOid, oid, key)) return false;
    if (*oid != 0) return true;
    return Fetch(q.last, Key{}, 0, oid, key);
}

bool CeDatabase::KeyOf(CeOid target, Key* key, bool* exists) {
    CeOid found = 0;
    if (!Fetch(cursorSql_.keyOf, Key{}, target, &found, key)) return false;
    *exists = found != 0;
    return true;
}

// The first record after (from, fromOid) that `match` selects, in the handle's order: records
// with a sort value first, in value and id order, then those without one in id order.
bool CeDatabase::FetchMatching(const RecordFilter& match, bool haveFrom, const Key& from,
                               CeOid fromOid, CeOid* oid, Key* key) {
    const std::string source =
        " FROM " + table_ + (match.index.empty() ? std::string() : " INDEXED BY " + match.index) +
        " WHERE (" + match.condition + ")";
    const std::string& c = sortColumn_;
    if (c.empty()) {
        return Fetch(
            "SELECT oid" + source + (haveFrom ? " AND oid > ?2" : "") + " ORDER BY oid ASC LIMIT 1",
            Key{}, fromOid, oid, key);
    }
    const bool fromUnknown = haveFrom && std::holds_alternative<std::monostate>(from);
    if (!fromUnknown) {
        const std::string after =
            haveFrom ? c + " >= ?1 AND (" + c + " > ?1 OR oid > ?2)" : c + " IS NOT NULL";
        if (!Fetch("SELECT oid, " + c + source + " AND " + after + " ORDER BY " + c +
                       " ASC, oid ASC LIMIT 1",
                   from, fromOid, oid, key)) {
            return false;
        }
        if (*oid != 0) return true;
    }
    return Fetch("SELECT oid" + source + " AND " + c + " IS NULL" +
                     (fromUnknown ? " AND oid > ?2" : "") + " ORDER BY oid ASC LIMIT 1",
                 Key{}, fromOid, oid, key);
}

// The records `tally` selects after (from, fromOid) up to and including (to, toOid), or up to
// the end when !haveTo. Each part of the order is one range of an index: the bounds are
// written as ranges of the sort column (a bare "IS NOT NULL" only when there is no bound, as it
// would otherwise compete with them for the index).
bool CeDatabase::CountBetween(const RecordFilter& tally, bool haveFrom, const Key& from,
                              CeOid fromOid, bool haveTo, const Key& to, CeOid toOid,
                              std::uint32_t* count) {
    *count = 0;
    const std::string source =
        "SELECT count(*) FROM " + table_ +
        (tally.index.empty() ? std::string() : " INDEXED BY " + tally.index) + " WHERE (" +
        tally.condition + ")";
    const std::string& c = sortColumn_;
    std::vector<std::string> parts;
    if (c.empty()) {
        parts.push_back(source + (haveFrom ? " AND oid > ?2" : "") +
                        (haveTo ? " AND oid <= ?4" : ""));
    } else {
        const bool fromUnknown = haveFrom && std::holds_alternative<std::monostate>(from);
        const bool toKnown = haveTo && !std::holds_alternative<std::monostate>(to);
        if (!fromUnknown) {
            std::string known = source;
            if (haveFrom) known += " AND " + c + " >= ?1 AND (" + c + " > ?1 OR oid > ?2)";
            if (toKnown) known += " AND " + c + " <= ?3 AND (" + c + " < ?3 OR oid <= ?4)";
            if (!haveFrom && !toKnown) known += " AND " + c + " IS NOT NULL";
            parts.push_back(known);
        }
        if (!toKnown) {
            parts.push_back(source + " AND " + c + " IS NULL" +
                            (fromUnknown ? " AND oid > ?2" : "") +
                            (haveTo ? " AND oid <= ?4" : ""));
        }
    }
    for (const std::string& sql : parts) {
        sqlite3_stmt* stmt = Statement(sql);
        if (stmt == nullptr) return false;
        StmtScope scope(stmt);
        BindBounds(stmt, from, fromOid, to, toOid);
        const int rc = sqlite3_step(stmt);
        if (rc != SQLITE_ROW) {
            Fail(rc);
            return false;
        }
        *count += static_cast<std::uint32_t>(sqlite3_column_int64(stmt, 0));
    }
    return true;
}

CeOid CeDatabase::SeekForwardTo(bool fromStart, const RecordFilter& match,
                                const RecordFilter* tally, std::uint32_t* tallied) {
    currentId = 0;
    if (tallied != nullptr) *tallied = 0;
    if (!open_) {
        SetError(kCeErrorInvalidParameter);
        return 0;
    }
    const bool have = positioned_ && !fromStart;
    const Key from = have ? positionKey_ : Key{};
    const CeOid fromOid = have ? positionOid_ : 0;
    CeOid oid = 0;
    Key key;
    if (!FetchMatching(match, have, from, fromOid, &oid, &key)) return 0;
    if (tally != nullptr && tallied != nullptr &&
        !CountBetween(*tally, have, from, fromOid, oid != 0, key, oid, tallied)) {
        return 0;
    }
    if (oid == 0) {
        // Nothing selected lies ahead: the cursor goes to the last record, unless it is
        // already past every record (or the database is empty) and stays.
        CeOid next = 0;
        Key nextKey;
        if (!StepFrom(have, from, fromOid, true, &next, &nextKey)) return 0;
        if (next != 0) {
            CeOid last = 0;
            Key lastKey;
            if (!Edge(false, &last, &lastKey)) return 0;
            if (last != 0) Position(last, std::move(lastKey));
        }
        SetError(kCeErrorNoRecord);
        return 0;
    }
    return Arrive(oid, std::move(key));
}

void CeDatabase::Position(CeOid oid, Key key) {
    positioned_ = true;
    positionOid_ = oid;
    positionKey_ = std::move(key);
}

CeOid CeDatabase::Arrive(CeOid oid, Key key) {
    Position(oid, std::move(key));
    currentId = oid;
    SetError(kCeErrorNone);
    return oid;
}

CeOid CeDatabase::Seek(CeSeek type, std::uint32_t value) {
    currentId = 0;
    if (!open_) {
        SetError(kCeErrorInvalidParameter);
        return 0;
    }
    CeOid oid = 0;
    Key key;
    bool ok = true;
    switch (type) {
        case CeSeek::kOid: {
            bool exists = false;
            ok = value != 0 && KeyOf(value, &key, &exists);
            if (ok && exists) oid = value;
            break;
        }
        case CeSeek::kBeginning:
        case CeSeek::kEnd: {
            const bool forward = type == CeSeek::kBeginning;
            ok = Edge(forward, &oid, &key);
            for (std::uint32_t i = 0; ok && oid != 0 && i < value; ++i) {
                const Key from = key;
                ok = StepFrom(true, from, oid, forward, &oid, &key);
            }
            break;
        }
        case CeSeek::kCurrent: {
            const auto steps = static_cast<std::int32_t>(value);
            if (steps == 0) {
                bool exists = false;
                ok = positioned_ && KeyOf(positionOid_, &key, &exists);
                if (ok && exists) oid = positionOid_;
                break;
            }
            const bool forward = steps > 0;
            const std::int64_t count = forward ? steps : -static_cast<std::int64_t>(steps);
            bool have = positioned_;
            CeOid at = positionOid_;
            Key atKey = positionKey_;
            for (std::int64_t i = 0; ok && i < count; ++i) {
                ok = StepFrom(have, atKey, at, forward, &oid, &key);
                if (!ok || oid == 0) break;
                have = true;
                at = oid;
                atKey = key;
            }
            break;
        }
        default:
            SetError(kCeErrorInvalidParameter);
            return 0;
    }
    if (!ok) return 0;
    if (oid == 0) {
        SetError(kCeErrorNoRecord);
        return 0;
    }
    return Arrive(oid, std::move(key));
}

CeOid CeDatabase::ReadProperty(CePropId propId, CePropVal* out) {
    const std::uint16_t type = PropType(propId);
    if (!open_ || out == nullptr || (type != kCevtUi4 && type != kCevtFiletime)) {
        SetError(kCeErrorInvalidParameter);
        return 0;
    }
    if (!positioned_) {
        SetError(kCeErrorNoRecord);
        return 0;
    }
    auto cached = readOneSql_.find(propId);
    if (cached == readOneSql_.end() && HasColumn(propId)) {
        cached = readOneSql_
                     .emplace(propId, "SELECT " + ColumnName(propId) + " FROM " + table_ +
                                          " WHERE oid = ?1")
                     .first;
    }
    sqlite3_stmt* stmt =
        Statement(cached != readOneSql_.end() ? cached->second
                                              : "SELECT NULL FROM " + table_ + " WHERE oid = ?1");
    if (stmt == nullptr) return 0;
    StmtScope scope(stmt);
    sqlite3_bind_int64(stmt, 1, positionOid_);
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_DONE) {
        SetError(kCeErrorNoRecord);
        return 0;
    }
    if (rc != SQLITE_ROW) {
        Fail(rc);
        return 0;
    }
    ColumnValue(stmt, 0, propId, out);
    return positionOid_;
}

CeOid CeDatabase::ReadRecord(const CePropId* propIds, unsigned count, std::vector<CePropVal>* out) {
    if (!open_ || out == nullptr || count == 0 || propIds == nullptr) {
        SetError(kCeErrorInvalidParameter);
        return 0;
    }
    for (unsigned i = 0; i < count; ++i) {
        if (!KnownType(PropType(propIds[i]))) {
            SetError(kCeErrorInvalidParameter);
            return 0;
        }
    }
    if (!positioned_) {
        SetError(kCeErrorNoRecord);
        return 0;
    }
    std::string sql = "SELECT ";
    for (unsigned i = 0; i < count; ++i) {
        if (i > 0) sql += ", ";
        sql += HasColumn(propIds[i]) ? ColumnName(propIds[i]) : std::string("NULL");
    }
    sql += " FROM " + table_ + " WHERE oid = ?1";
    sqlite3_stmt* stmt = Statement(sql);
    if (stmt == nullptr) return 0;
    StmtScope scope(stmt);
    sqlite3_bind_int64(stmt, 1, positionOid_);
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_DONE) {
        SetError(kCeErrorNoRecord);
        return 0;
    }
    if (rc != SQLITE_ROW) {
        Fail(rc);
        return 0;
    }
    out->resize(count);
    for (unsigned i = 0; i < count; ++i)
        ColumnValue(stmt, static_cast<int>(i), propIds[i], &(*out)[i]);
    currentId = positionOid_;
    return positionOid_;
}

CeOid CeDatabase::WriteRecord(CeOid oid, const CePropVal* values, unsigned count) {
    if (!open_ || (count > 0 && values == nullptr)) {
        SetError(kCeErrorInvalidParameter);
        return 0;
    }
    // The last value of a property wins.
    std::vector<const CePropVal*> list;
    for (unsigned i = 0; i < count; ++i) {
        const CePropVal& v = values[i];
        if (!KnownType(PropType(v.propId)) ||
            (PropType(v.propId) == kCevtFiletime && !(v.flags & kPropDelete) &&
             v.fileTime > static_cast<FileTime>(std::numeric_limits<std::int64_t>::max()))) {
            SetError(kCeErrorInvalidParameter);
            return 0;
        }
        auto same = std::find_if(list.begin(), list.end(),
                                 [&](const CePropVal* p) { return p->propId == v.propId; });
        if (same != list.end()) {
            *same = &v;
        } else {
            list.push_back(&v);
        }
    }
    std::vector<const CePropVal*> set;
    for (const CePropVal* v : list) {
        if (v->flags & kPropDelete) {
            if (!HasColumn(v->propId)) continue;  // nothing to remove
        } else if (!EnsureColumn(v->propId)) {
            return 0;
        }
        set.push_back(v);
    }
    CeOid written = 0;
    if (oid == 0) {
        std::string sql = "INSERT INTO " + table_;
        if (set.empty()) {
            sql += " DEFAULT VALUES";
        } else {
            std::string names, marks;
            for (std::size_t i = 0; i < set.size(); ++i) {
                names += (i ? ", " : "") + ColumnName(set[i]->propId);
                marks += (i ? ", ?" : "?") + std::to_string(i + 1);
            }
            sql += "(" + names + ") VALUES(" + marks + ")";
        }
        sqlite3_stmt* stmt = Statement(sql);
        if (stmt == nullptr) return 0;
        StmtScope scope(stmt);
        for (std::size_t i = 0; i < set.size(); ++i)
            BindValue(stmt, static_cast<int>(i + 1), *set[i]);
        const int rc = sqlite3_step(stmt);
        if (rc != SQLITE_DONE) {
            Fail(rc);
            return 0;
        }
        const std::int64_t rowid = sqlite3_last_insert_rowid(db_);
        if (rowid <= 0 || rowid > kMaxOid) {
            Execute("DELETE FROM " + table_ + " WHERE oid = " + std::to_string(rowid));
            SetError(kCeErrorStore, "no record id left");
            return 0;
        }
        written = static_cast<CeOid>(rowid);
    } else {
        std::string sql;
        if (set.empty()) {
            sql = "SELECT oid FROM " + table_ + " WHERE oid = ?1";
        } else {
            sql = "UPDATE " + table_ + " SET ";
            for (std::size_t i = 0; i < set.size(); ++i) {
                sql +=
                    (i ? ", " : "") + ColumnName(set[i]->propId) + " = ?" + std::to_string(i + 2);
            }
            sql += " WHERE oid = ?1";
        }
        sqlite3_stmt* stmt = Statement(sql);
        if (stmt == nullptr) return 0;
        StmtScope scope(stmt);
        sqlite3_bind_int64(stmt, 1, oid);
        for (std::size_t i = 0; i < set.size(); ++i)
            BindValue(stmt, static_cast<int>(i + 2), *set[i]);
        const int rc = sqlite3_step(stmt);
        const bool found =
            set.empty() ? rc == SQLITE_ROW : (rc == SQLITE_DONE && sqlite3_changes(db_) > 0);
        if (rc != SQLITE_DONE && rc != SQLITE_ROW) {
            Fail(rc);
            return 0;
        }
        if (!found) {
            SetError(kCeErrorNoRecord);
            return 0;
        }
        written = oid;
    }
    Key key;
    bool exists = false;
    if (KeyOf(written, &key, &exists) && exists) Position(written, std::move(key));
    currentId = written;
    SetError(kCeErrorNone);
    return written;
}

bool CeDatabase::DeleteRecord(CeOid oid) {
    if (!open_ || oid == 0) {
        SetError(kCeErrorInvalidParameter);
        return false;
    }
    sqlite3_stmt* stmt = Statement("DELETE FROM " + table_ + " WHERE oid = ?1");
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    sqlite3_bind_int64(stmt, 1, oid);
    const int rc = sqlite3_step(stmt);
    if (rc != SQLITE_DONE) {
        Fail(rc);
        return false;
    }
    if (sqlite3_changes(db_) == 0) {
        SetError(kCeErrorNoRecord);
        return false;
    }
    // The cursor keeps its place in the order, so that the next step finds the record after.
    if (currentId == oid) currentId = 0;
    SetError(kCeErrorNone);
    return true;
}

bool CeDatabase::CreateOrOpen(std::u16string_view name, const CeSortOrder* sortOrders,
                              unsigned count, CePropId sortProperty, std::uint32_t flags) {
    if (!ValidSortOrders(sortOrders, count)) {
        SetError(kCeErrorInvalidParameter);
        return false;
    }
    if (!Open(name, sortProperty, flags)) {
        if (lastError_ == kCeErrorFileNotFound) {
            if (CreateDatabase(name, 0, sortOrders, count) == 0) return false;
            if (!OpenById(0, 0)) return false;
        } else if (!Open(name, 0, 0)) {
            return false;
        }
    }
    CeSortOrder have[kMaxSortOrders];
    unsigned haveCount = 0;
    if (GetSortOrders(have, &haveCount) && haveCount == count &&
        std::equal(have, have + count, sortOrders, [](const CeSortOrder& a, const CeSortOrder& b) {
            return a.propId == b.propId && a.flags == b.flags;
        })) {
        return true;
    }
    SetSortOrders(sortOrders, count);
    return Open(name, sortProperty, flags);
}

bool CeDatabase::CreateOrOpenSingleSort(std::u16string_view name, CePropId sortProperty,
                                        std::uint32_t flags) {
    if (Open(name, sortProperty, flags)) return true;
    const CeSortOrder order{sortProperty, 0};
    if (lastError_ == kCeErrorFileNotFound) {
        if (CreateDatabase(name, 0, &order, 1) == 0) return false;
        if (!OpenById(0, 0)) return false;
    } else if (!Open(name, 0, 0)) {
        return false;
    }
    CeSortOrder have[kMaxSortOrders];
    unsigned haveCount = 0;
    if (!GetSortOrders(have, &haveCount)) return false;
    if (haveCount == 0 || have[0].propId != sortProperty || have[0].flags != 0) {
        // Here the sort order can only fail to be added through a failing or busy file, so
        // the open fails and the records stay; they are never given up to repair the order.
        if (!SetSortOrders(&order, 1)) {
            Close();
            return false;
        }
    }
    return Open(name, sortProperty, flags);
}
