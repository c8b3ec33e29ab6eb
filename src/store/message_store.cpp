#include "store/message_store.h"

#include <sqlite3.h>

#include <algorithm>

namespace {

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

// The properties asked for when a record is read, in this order.
constexpr CePropId kReadOrder[] = {kPropFolder, kPropTime, kPropExtra, kPropName,
                                   kPropNumber, kPropText, kPropFlags};

void ClearKeepingFolder(SmsMessage& message) {
    message.flags = 0;
    message.name.clear();
    message.number.clear();
    message.text.clear();
    message.time = 0;
    message.pdu.clear();
    message.oid = 0;
    message.store = nullptr;
    message.pduRecord.reset();
    message.codecResult = 0;
}

void Apply(const CePropVal& value, SmsMessage& message) {
    if (value.flags & kPropNotFound) return;
    switch (value.propId) {
        case kPropFolder:
            message.folder = value.ui4;
            break;
        case kPropTime:
            message.time = value.fileTime;
            break;
        case kPropName:
            message.name = value.text;
            break;
        case kPropNumber:
            message.number = value.text;
            break;
        case kPropText:
            message.text = value.text;
            break;
        case kPropFlags:
            message.flags = value.ui4;
            break;
        default:
            break;  // kPropExtra is read and ignored
    }
}

}  // namespace

std::recursive_mutex& MessageStoreLock() {
    static std::recursive_mutex lock;
    return lock;
}

MessageStoreBatch::MessageStoreBatch(MessageDatabase& db)
    : lock_(MessageStoreLock()), db_(db), started_(db.IsOpen() && db.BeginTransaction()) {}

MessageStoreBatch::~MessageStoreBatch() {
    if (started_) db_.RollbackTransaction();
}

bool MessageStoreBatch::Commit() {
    if (!started_) return false;
    started_ = false;
    const bool ok = db_.CommitTransaction();
    lock_.unlock();
    return ok;
}

// --- list queries ----------------------------------------------------------------------------

namespace {

const std::string kFolderColumn = "p_000A0013";
const std::string kLogCondition = kFolderColumn + " IN (1, 4)";

// The partial index of the Log view (Inbox and Sent).
std::string LogIndex(const std::string& table) {
    return table + "_log_time";
}

}  // namespace

bool MessageDatabase::EnsureListIndexes() {
    if (!EnsureColumn(kPropFolder) || !EnsureColumn(kPropTime)) return false;
    const std::string& t = TableName();
    const std::string folder = ColumnName(kPropFolder);
    const std::string time = ColumnName(kPropTime);
    // One index serves a folder's list, count and walk; a partial one serves the Log view.
    if (!Execute("CREATE INDEX IF NOT EXISTS " + t + "_folder_time ON " + t + "(" + folder + ", " +
                 time + ");")) {
        return false;
    }
    // The Log view's queries name the folder column, so the Log index carries it after the
    // time and the id (the order of the lists) and the index alone answers them. On the time
    // alone, SQLite takes the row id of every entry for a look at its row (which it can
    // defer, but not skip): the count of the view took 40 % longer and a page 40,000 rows
    // deep three times as long. Stores made before have that narrower index under the same
    // name; it is replaced here, and earlier versions of the program go on using the new one.
    const std::string logIndex = LogIndex(t);
    auto isWide = [&](bool* wide) {
        sqlite3_stmt* stmt = Statement("SELECT count(*) FROM pragma_index_info(?1)");
        if (stmt == nullptr) return false;
        StmtScope scope(stmt);
        sqlite3_bind_text(stmt, 1, logIndex.c_str(), -1, SQLITE_TRANSIENT);
        const int rc = sqlite3_step(stmt);
        if (rc != SQLITE_ROW) {
            Fail(rc);
            return false;
        }
        *wide = sqlite3_column_int(stmt, 0) == 3;
        return true;
    };
    bool wide = false;
    if (!isWide(&wide)) return false;
    if (wide) return true;
    // Another process may be making it too: the write lock decides, and the loser finds it.
    if (!BeginTransaction()) return false;
    bool ok = isWide(&wide);
    if (ok && !wide) {
        ok = Execute("DROP INDEX IF EXISTS " + logIndex + ";CREATE INDEX " + logIndex + " ON " + t +
                     "(" + time + ", oid, " + folder + ") WHERE " + kLogCondition + ";");
    }
    if (!ok) {
        RollbackTransaction();
        return false;
    }
    return CommitTransaction();
}

namespace {

// "FROM ... WHERE ..." of a folder's records (?1 is the folder). The Log view names its partial
// index: without statistics the planner would rather sort the Inbox and Sent ranges of the
// folder index, which costs a sort of the whole view for every page.
std::string FolderSource(const std::string& table, FolderId folder) {
    if (folder == kFolderLog) {
        return " FROM " + table + " INDEXED BY " + LogIndex(table) + " WHERE " + kLogCondition;
    }
    return " FROM " + table + " WHERE " + kFolderColumn + " = ?1";
}

}  // namespace

bool MessageDatabase::CountFolder(FolderId folder, std::uint32_t* count) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (!IsOpen() || count == nullptr) return false;
    sqlite3_stmt* stmt = Statement("SELECT count(*)" + FolderSource(TableName(), folder));
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    if (folder != kFolderLog) sqlite3_bind_int64(stmt, 1, folder);
    const int rc = sqlite3_step(stmt);
    if (rc != SQLITE_ROW) {
        Fail(rc);
        return false;
    }
    *count = static_cast<std::uint32_t>(sqlite3_column_int64(stmt, 0));
    return true;
}

bool MessageDatabase::FolderOidsNewestFirst(FolderId folder, std::vector<Oid>* oids) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (!IsOpen() || oids == nullptr) return false;
    const std::string time = ColumnName(kPropTime);
    sqlite3_stmt* stmt = Statement("SELECT oid" + FolderSource(TableName(), folder) + " ORDER BY " +
                                   time + " DESC, oid DESC");
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    if (folder != kFolderLog) sqlite3_bind_int64(stmt, 1, folder);
    oids->clear();
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        oids->push_back(static_cast<Oid>(sqlite3_column_int64(stmt, 0)));
    }
    if (rc != SQLITE_DONE) {
        Fail(rc);
        return false;
    }
    return true;
}

bool MessageDatabase::ReadRow(sqlite3_stmt* stmt, SmsMessage* message) {
    ClearKeepingFolder(*message);
    message->oid = static_cast<Oid>(sqlite3_column_int64(stmt, 0));
    for (int i = 0; i < 6; ++i) {
        static constexpr CePropId kColumns[] = {kPropFolder, kPropTime, kPropName,
                                                kPropNumber, kPropText, kPropFlags};
        CePropVal value;
        value.propId = kColumns[i];
        const int col = i + 1;
        switch (sqlite3_column_type(stmt, col)) {
            case SQLITE_INTEGER: {
                const std::int64_t v = sqlite3_column_int64(stmt, col);
                if (PropType(value.propId) == kCevtUi4 && v >= 0 && v <= 0xFFFFFFFFll) {
                    value.ui4 = static_cast<std::uint32_t>(v);
                } else if (PropType(value.propId) == kCevtFiletime && v >= 0) {
                    value.fileTime = static_cast<FileTime>(v);
                } else {
                    value.flags = kPropNotFound;
                }
                break;
            }
            case SQLITE_BLOB: {
                const int bytes = sqlite3_column_bytes(stmt, col);
                if (PropType(value.propId) == kCevtLpwstr && bytes % 2 == 0) {
                    value.text = DecodeText(sqlite3_column_blob(stmt, col), bytes);
                } else {
                    value.flags = kPropNotFound;
                }
                break;
            }
            default:
                value.flags = kPropNotFound;
        }
        Apply(value, *message);
    }
    message->store = this;
    return true;
}

bool MessageDatabase::ReadFolderPage(FolderId folder, std::uint32_t first, std::uint32_t count,
                                     std::vector<SmsMessage>* messages) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (!IsOpen() || messages == nullptr) return false;
    messages->clear();
    // The ids of the page come from the index alone, so that rows skipped before it cost
    // little; then each row of the page is read.
    std::vector<Oid> oids;
    {
        sqlite3_stmt* stmt =
            Statement("SELECT oid" + FolderSource(TableName(), folder) + " ORDER BY " +
                      ColumnName(kPropTime) + " DESC, oid DESC LIMIT ?2 OFFSET ?3");
        if (stmt == nullptr) return false;
        StmtScope scope(stmt);
        if (folder != kFolderLog) sqlite3_bind_int64(stmt, 1, folder);
        sqlite3_bind_int64(stmt, 2, count);
        sqlite3_bind_int64(stmt, 3, first);
        int rc;
        while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
            oids.push_back(static_cast<Oid>(sqlite3_column_int64(stmt, 0)));
        }
        if (rc != SQLITE_DONE) {
            Fail(rc);
            return false;
        }
    }
    std::string columns = "oid";
    for (CePropId p : {kPropFolder, kPropTime, kPropName, kPropNumber, kPropText, kPropFlags}) {
        columns += ", " + (EnsureColumn(p) ? ColumnName(p) : std::string("NULL"));
    }
    sqlite3_stmt* row = Statement("SELECT " + columns + " FROM " + TableName() + " WHERE oid = ?1");
    if (row == nullptr) return false;
    messages->reserve(oids.size());
    for (Oid oid : oids) {
        StmtScope scope(row);
        sqlite3_bind_int64(row, 1, oid);
        const int rc = sqlite3_step(row);
        if (rc == SQLITE_ROW) {
            messages->emplace_back();
            ReadRow(row, &messages->back());
        } else if (rc != SQLITE_DONE) {
            Fail(rc);
            return false;
        }
    }
    return true;
}

bool MessageDatabase::HasDuplicate(const SmsMessage& message, bool* found) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    *found = false;
    if (!IsOpen()) return false;
    const std::string& t = TableName();
    // A record without a text or a number reads them as empty, and compares so.
    sqlite3_stmt* stmt =
        Statement("SELECT 1 FROM " + t + " WHERE " + ColumnName(kPropTime) + " = ?1 AND " +
                  ColumnName(kPropFolder) + " = ?2 AND coalesce(" +
                  (EnsureColumn(kPropText) ? ColumnName(kPropText) : std::string("NULL")) +
                  ", x'') = ?3 AND coalesce(" +
                  (EnsureColumn(kPropNumber) ? ColumnName(kPropNumber) : std::string("NULL")) +
                  ", x'') = ?4 LIMIT 1");
    if (stmt == nullptr) return false;
    StmtScope scope(stmt);
    if (message.time > static_cast<FileTime>(INT64_MAX)) return true;  // never stored
    const std::string text = EncodeText(message.text);
    const std::string number = EncodeText(message.number);
    sqlite3_bind_int64(stmt, 1, static_cast<std::int64_t>(message.time));
    sqlite3_bind_int64(stmt, 2, message.folder);
    sqlite3_bind_blob(stmt, 3, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    sqlite3_bind_blob(stmt, 4, number.data(), static_cast<int>(number.size()), SQLITE_TRANSIENT);
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_ROW) {
        *found = true;
        return true;
    }
    if (rc != SQLITE_DONE) {
        Fail(rc);
        return false;
    }
    return true;
}

bool MessageDatabase::DeleteRecords(const std::vector<Oid>& oids, Oid* missing) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (missing != nullptr) *missing = 0;
    if (!IsOpen()) return false;
    if (!BeginTransaction()) return false;
    bool ok = true;
    sqlite3_stmt* remove = Statement("DELETE FROM " + TableName() + " WHERE oid = ?1");
    ok = remove != nullptr;
    for (std::size_t i = 0; ok && i < oids.size(); ++i) {
        StmtScope scope(remove);
        sqlite3_bind_int64(remove, 1, oids[i]);
        const int rc = sqlite3_step(remove);
        if (rc != SQLITE_DONE) {
            Fail(rc);
            ok = false;
        } else if (sqlite3_changes(Connection()) == 0 &&
                   std::find(oids.begin(), oids.begin() + static_cast<std::ptrdiff_t>(i),
                             oids[i]) == oids.begin() + static_cast<std::ptrdiff_t>(i)) {
            // Not stored (an id listed twice is deleted once and not missing the second time).
            if (missing != nullptr) *missing = oids[i];
            ok = false;
        }
    }
    if (!ok) {
        RollbackTransaction();
        return false;
    }
    if (!CommitTransaction()) return false;
    if (std::find(oids.begin(), oids.end(), currentId) != oids.end()) currentId = 0;
    return true;
}

// --- the operations on messages --------------------------------------------------------------

bool OpenMessageStore(MessageDatabase& db) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (db.IsOpen()) return true;
    if (!db.CreateOrOpenSingleSort(kMessageDatabaseName, kPropTime, 0)) return false;
    if (!db.EnsureListIndexes()) {
        db.Close();
        return false;
    }
    return true;
}

bool WriteMessage(MessageDatabase& db, SmsMessage& message) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (message.time == 0) message.time = CurrentLocalFileTime();
    CePropVal values[6];
    values[0].propId = kPropFolder;
    values[0].ui4 = message.folder;
    values[1].propId = kPropName;
    values[1].text = message.name;
    values[2].propId = kPropText;
    values[2].text = message.text;
    values[3].propId = kPropTime;
    values[3].fileTime = message.time;
    values[4].propId = kPropNumber;
    values[4].text = message.number;
    values[5].propId = kPropFlags;
    values[5].ui4 = message.flags;
    const CeOid oid = db.WriteRecord(message.oid, values, 6);
    if (oid == 0) return false;
    message.oid = oid;
    message.store = &db;
    return true;
}

bool ReadCurrent(MessageDatabase& db, SmsMessage& message) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    ClearKeepingFolder(message);
    std::vector<CePropVal> values;
    const CeOid oid = db.ReadRecord(kReadOrder, 7, &values);
    if (oid == 0) return false;
    for (const CePropVal& value : values) Apply(value, message);
    message.store = &db;
    message.oid = oid;
    return true;
}

bool ReadFirst(MessageDatabase& db, SmsMessage& message) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    return SeekFirstInFolder(db) && ReadCurrent(db, message);
}

bool ReadById(MessageDatabase& db, SmsMessage& message) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (message.oid == 0) return false;
    if (db.currentId != message.oid && db.Seek(CeSeek::kOid, message.oid) == 0) return false;
    return ReadCurrent(db, message);
}

bool SeekFirstInFolder(MessageDatabase& db) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    db.outboxSeen = 0;
    return db.StepInFolder(true);
}

bool SeekNextInFolder(MessageDatabase& db) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    return db.StepInFolder(false);
}

// The next record of the folder is one look-up in the folder's index (the Log view's for
// kFolderLog), not a step through every record in between: the send loop looks for the first
// Outbox message once per message it sends, and the Outbox holds the newest messages of a
// store that may hold a hundred thousand. The Outbox records passed on the way are counted
// in the same index.
bool MessageDatabase::StepInFolder(bool fromStart) {
    const RecordFilter outbox{kFolderColumn + " = " + std::to_string(kFolderOutbox), ""};
    const RecordFilter match =
        folderFilter == kFolderLog
            ? RecordFilter{kLogCondition, LogIndex(TableName())}
            : RecordFilter{kFolderColumn + " = " + std::to_string(folderFilter), ""};
    const bool inOutbox = folderFilter == kFolderOutbox;
    std::uint32_t passed = 0;
    const CeOid oid = SeekForwardTo(fromStart, match, inOutbox ? nullptr : &outbox, &passed);
    // Walking the Outbox itself, the only Outbox record passed is the one found.
    outboxSeen += inOutbox ? (oid != 0 ? 1 : 0) : passed;
    return oid != 0;
}

bool FindDuplicate(MessageDatabase& db, const SmsMessage& message) {
    bool found = false;
    return db.HasDuplicate(message, &found) && found;
}

bool DeleteStoredMessage(SmsMessage& message) {
    if (message.oid == 0) return true;
    if (message.store == nullptr) return false;
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    if (!message.store->DeleteRecord(message.oid)) return false;
    message.oid = 0;
    return true;
}

void ResetMessage(SmsMessage& message, FolderId folder) {
    message.folder = folder;
    message.oid = 0;
    message.name.clear();
    message.text.clear();
    message.number.clear();
    message.time = 0;
    message.flags = 0;
}

void MakeReply(SmsMessage& message) {
    std::u16string name = std::move(message.name);
    std::u16string number = std::move(message.number);
    ResetMessage(message, kFolderDraft);
    message.name = std::move(name);
    message.number = std::move(number);
}

void MakeForward(SmsMessage& message) {
    std::u16string text = std::move(message.text);
    ResetMessage(message, kFolderDraft);
    message.text = std::move(text);
}
