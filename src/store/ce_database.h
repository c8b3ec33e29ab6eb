// The database layer: one named database of the object store, opened in a sort order, with a
// cursor that moves through its records.
//
// A database is a set of records. A record has an id (its oid, never reused) and any number of
// properties; a property the record does not have reads as "not found". A database keeps up to
// four sort orders; a handle is opened in one of them (or unsorted, in oid order) and its
// cursor walks the records in that order, records with equal values in oid order and records
// without the property last. In the file each database is a table, each property a column and
// each sort order an index.
//
// Strings are kept as UTF-16 (big-endian blobs), so every code unit comes back exactly as it
// was written, lone surrogates included, and string sort orders follow the code units (the
// order of wcscmp, case-sensitive).
//
// Not thread-safe: each thread uses its own object. Objects open their own connection to the
// file; writes are committed durably before an operation returns.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "common/file_time.h"

struct sqlite3;
struct sqlite3_stmt;

using CeOid = std::uint32_t;
// A property id: the property number in the high word, its type in the low word.
using CePropId = std::uint32_t;

constexpr std::uint16_t kCevtUi4 = 19;
constexpr std::uint16_t kCevtLpwstr = 31;
constexpr std::uint16_t kCevtFiletime = 64;
constexpr std::uint16_t kCevtBlob = 65;

constexpr CePropId MakePropId(std::uint16_t id, std::uint16_t type) {
    return (static_cast<CePropId>(id) << 16) | type;
}
constexpr std::uint16_t PropType(CePropId propId) {
    return static_cast<std::uint16_t>(propId);
}

// CePropVal::flags
constexpr std::uint16_t kPropNotFound = 0x0100;  // on reading: the record lacks the property
constexpr std::uint16_t kPropDelete = 0x0200;    // on writing: remove the property

struct CePropVal {
    CePropId propId = 0;
    std::uint16_t flags = 0;
    std::uint32_t ui4 = 0;           // kCevtUi4
    FileTime fileTime = 0;           // kCevtFiletime (at most 0x7FFFFFFFFFFFFFFF)
    std::u16string text;             // kCevtLpwstr
    std::vector<std::uint8_t> blob;  // kCevtBlob
};

struct CeSortOrder {
    CePropId propId = 0;
    std::uint32_t flags = 0;  // only 0: ascending, case-sensitive, unknown values last
};

constexpr unsigned kMaxSortOrders = 4;

enum class CeSeek : std::uint32_t {
    kBeginning = 1,  // the value-th record from the first (0 = the first)
    kCurrent = 2,    // the value-th record after the current one (a signed count)
    kEnd = 3,        // the value-th record before the last (0 = the last)
    kOid = 4,        // the record whose id is the value
};

// Results of LastError(), in the platform's numbering.
constexpr std::uint32_t kCeErrorNone = 0;
constexpr std::uint32_t kCeErrorFileNotFound = 2;  // no database of that name or id
constexpr std::uint32_t kCeErrorInvalidParameter = 87;
constexpr std::uint32_t kCeErrorAlreadyExists = 183;  // a database of that name exists
constexpr std::uint32_t kCeErrorNoRecord = 1168;      // no such record, or no current record
constexpr std::uint32_t kCeErrorStore = 1117;         // the file could not be used (see notices)
constexpr std::uint32_t kCeErrorDamaged = 1392;       // the file is damaged

class CeDatabase {
  public:
    CeDatabase() = default;
    virtual ~CeDatabase();
    CeDatabase(const CeDatabase&) = delete;
    CeDatabase& operator=(const CeDatabase&) = delete;

    // Closes any open handle and opens the database `name` sorted by `sortProperty` (0 =
    // unsorted, in oid order), which must be one of its sort orders. `flags` must be 0.
    // False with LastError() 2 when no database has that name.
    bool Open(std::u16string_view name, CePropId sortProperty, std::uint32_t flags);
    // The same by `databaseId`.
    bool OpenById(CePropId sortProperty, std::uint32_t flags);
    // False only if closing fails; closing a closed object succeeds.
    bool Close();
    bool IsOpen() const { return open_; }

    // Opens `name` sorted by `sortProperty`, creating the database with `sortOrders` when it
    // does not exist (a just-created database stays open unsorted until its next opening), or
    // replacing its sort orders with `sortOrders` when they differ.
    bool CreateOrOpen(std::u16string_view name, const CeSortOrder* sortOrders, unsigned count,
                      CePropId sortProperty, std::uint32_t flags);
    // Opens `name` sorted by `sortProperty`, creating the database with that one sort order,
    // or adding it as the first sort order of a database that lacks it (keeping the records).
    bool CreateOrOpenSingleSort(std::u16string_view name, CePropId sortProperty,
                                std::uint32_t flags);

    // Moves the cursor; the record id, or 0 when there is no such record (the cursor then
    // stays where it was). Sets currentId.
    CeOid Seek(CeSeek type, std::uint32_t value);
    // One UI4 or FILETIME property of the current record. The record id, or 0 when there is
    // no current record or the type is not a fixed-size one; a missing property comes back
    // with kPropNotFound.
    CeOid ReadProperty(CePropId propId, CePropVal* out);
    // The listed properties of the current record, in the order asked (missing ones with
    // kPropNotFound). The record id, or 0. Sets currentId.
    CeOid ReadRecord(const CePropId* propIds, unsigned count, std::vector<CePropVal>* out);
    // Writes the given properties to record `oid` (0 creates a record); others stay as they
    // are. The record id, or 0 on failure (also when record `oid` does not exist). The cursor
    // moves to the record written.
    CeOid WriteRecord(CeOid oid, const CePropVal* values, unsigned count);
    bool DeleteRecord(CeOid oid);

    bool GetSortOrders(CeSortOrder* out, unsigned* count);
    bool GetRecordCount(std::uint32_t* out);
    // Replaces the sort orders (at most four, property types UI4, FILETIME or string, flags 0).
    // An open handle keeps working in its order when that order is still present.
    bool SetSortOrders(const CeSortOrder* orders, unsigned count);

    // Several operations as one: everything between Begin and Commit is kept, or nothing
    // (Rollback, or a failed Commit). They nest. Without them every write is committed on its
    // own. An object with an open transaction holds the file's write lock, so callers that
    // share a lock with other objects keep it for the whole transaction.
    bool BeginTransaction();
    bool CommitTransaction();
    void RollbackTransaction();

    // Creates an empty database; its id, or 0 (LastError 183 when the name is taken).
    CeOid CreateDatabase(std::u16string_view name, std::uint32_t type, const CeSortOrder* orders,
                         unsigned count);
    static bool DeleteDatabase(std::u16string_view name);

    CeOid databaseId = 0;
    CeOid currentId = 0;

    std::uint32_t LastError() const { return lastError_; }
    // What went wrong in the file at the last failure (empty for a plain "not found").
    const std::string& LastErrorText() const { return lastErrorText_; }
    CePropId SortProperty() const { return sortProperty_; }

  protected:
    // For the stores built on this layer: the connection and the SQL names of the open
    // database (valid while open).
    sqlite3* Connection() const { return db_; }
    const std::string& TableName() const { return table_; }
    static std::string ColumnName(CePropId propId);
    // Adds the column of a property unless it exists.
    bool EnsureColumn(CePropId propId);
    // A cached prepared statement, reset and cleared of bindings; null on failure.
    sqlite3_stmt* Statement(const std::string& sql);
    // Records a failed SQLite call in LastError() (and a notice for a damaged file).
    void Fail(int sqliteCode);
    // Runs `sql` without results inside the connection; false (and LastError) on failure.
    bool Execute(const std::string& sql);

    // Records for which an SQL condition on their columns holds, read through `index` when it
    // is not empty (else through whatever index the planner chooses).
    struct RecordFilter {
        std::string condition;
        std::string index;
    };
    // Moves the cursor forward, from the current record (from before the first when
    // `fromStart` or when the cursor has no place yet), to the next record of the handle's
    // order that `match` selects: one indexed look-up, however many records lie in between.
    // The record id, or 0 when there is none; the cursor then rests on the last record of the
    // order, where a walk record by record would have left it. When `tally` is given,
    // *tallied counts the records it selects from the old place (not included) to the new one
    // (included), or to the end of the order when nothing matched.
    CeOid SeekForwardTo(bool fromStart, const RecordFilter& match, const RecordFilter* tally,
                        std::uint32_t* tallied);

  private:
    using Key = std::variant<std::monostate, std::int64_t, std::string>;

    bool Connect();
    bool LookUpByName(std::u16string_view name, CeOid* id);
    bool OpenResolved(CeOid id, CePropId sortProperty, std::uint32_t flags);
    bool LoadColumns();
    bool HasColumn(CePropId propId);
    bool SchemaChanged();
    void SetError(std::uint32_t code, std::string text = {});
    bool ReadSortOrders(CeOid id, std::vector<CeSortOrder>* out);
    bool StepFrom(bool haveCursor, const Key& key, CeOid oid, bool forward, CeOid* nextOid,
                  Key* nextKey);
    struct CursorSql {
        std::string first, last, next, prev, firstUnknown, lastUnknown, nextUnknown, prevUnknown,
            keyOf;
    };
    void BuildCursorSql();
    bool Edge(bool first, CeOid* oid, Key* key);
    bool Fetch(const std::string& sql, const Key& from, CeOid fromOid, CeOid* oid, Key* key);
    bool KeyOf(CeOid oid, Key* key, bool* exists);
    bool FetchMatching(const RecordFilter& match, bool haveFrom, const Key& from, CeOid fromOid,
                       CeOid* oid, Key* key);
    bool CountBetween(const RecordFilter& tally, bool haveFrom, const Key& from, CeOid fromOid,
                      bool haveTo, const Key& to, CeOid toOid, std::uint32_t* count);
    void Position(CeOid oid, Key key);
    // A seek that found `oid`: the cursor rests on it and it becomes the current record.
    CeOid Arrive(CeOid oid, Key key);
    void FinalizeStatements();

    sqlite3* db_ = nullptr;
    bool open_ = false;
    std::string table_;
    CePropId sortProperty_ = 0;
    std::string sortColumn_;  // empty when unsorted
    std::vector<CePropId> columns_;
    CursorSql cursorSql_;
    std::map<CePropId, std::string> readOneSql_;
    std::map<std::string, sqlite3_stmt*> statements_;
    bool positioned_ = false;
    CeOid positionOid_ = 0;
    Key positionKey_;
    std::uint32_t lastError_ = 0;
    std::string lastErrorText_;
    std::int64_t schemaVersion_ = -1;  // of the file when columns_ was loaded
    int transactionDepth_ = 0;
};

// Helpers for the stores: UTF-16 text in and out of the big-endian blobs of the file.
std::string EncodeText(std::u16string_view text);
std::u16string DecodeText(const void* data, int bytes);
