// SPDX-License-Identifier: GPL-3.0-or-later
// Every statement the message store runs is served by an index. The tests run each operation
// of the store on a real store file while the connection's trace records the statements it
// runs, then ask SQLite how it would run each of them (EXPLAIN QUERY PLAN) and look at the plan:
// a statement must search an index or the record id, never read a whole table or a whole
// index (but for a partial index that alone answers it), and never sort. A missing or unusable
// index shows there long before the store holds enough messages for anyone to notice.
//
// The full-text index is a virtual table: its plan line names the way FTS5 chose
// ("VIRTUAL TABLE INDEX 0:M3" for a full-text MATCH, "0:=" for a look-up by rowid). Those two
// are searches; any other way reads every entry of the index and fails the check.
// Filling the index of an older store reads every message by its nature; that operation is
// declared as reading everything, and for it only a sort or an index built for the one
// statement counts as waste.
//
// VELKAN_PRINT_QUERY_PLANS=1 prints every statement with its plan.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdlib>
#include <functional>
#include <iostream>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "store/message_search.h"
#include "store/message_store.h"
#include "store/recent_store.h"
#include "store/schema.h"
#include "store_test_util.h"

namespace {

// The two stores with their connection and table in reach of the tests.
class ProbeMessages : public MessageDatabase {
  public:
    using MessageDatabase::Connection;
};

class ProbeRecent : public RecentDatabase {
  public:
    using RecentDatabase::Connection;
};

// The text of every statement run on a connection while it lives, in the order first run.
class StatementLog {
  public:
    explicit StatementLog(sqlite3* db) : db_(db) {
        sqlite3_trace_v2(db_, SQLITE_TRACE_STMT, &StatementLog::OnStatement, this);
    }
    ~StatementLog() { sqlite3_trace_v2(db_, 0, nullptr, nullptr); }
    StatementLog(const StatementLog&) = delete;
    StatementLog& operator=(const StatementLog&) = delete;

    // The statements run since the last call.
    std::vector<std::string> Take() {
        std::vector<std::string> out;
        out.swap(run_);
        seen_.clear();
        return out;
    }

  private:
    static int OnStatement(unsigned /*type*/, void* self, void* stmt, void* /*text*/) {
        auto* log = static_cast<StatementLog*>(self);
        const char* sql = sqlite3_sql(static_cast<sqlite3_stmt*>(stmt));
        if (sql != nullptr && log->seen_.insert(sql).second) log->run_.push_back(sql);
        return 0;
    }

    sqlite3* db_;
    std::vector<std::string> run_;
    std::set<std::string> seen_;
};

// The detail lines of the statement's query plan; empty for a statement without one (an
// INSERT of values, a transaction or schema statement).
std::vector<std::string> QueryPlan(sqlite3* db, const std::string& sql) {
    std::vector<std::string> out;
    sqlite3_stmt* stmt = nullptr;
    const std::string explain = "EXPLAIN QUERY PLAN " + sql;
    if (sqlite3_prepare_v2(db, explain.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << "cannot explain: " << sql << ": " << sqlite3_errmsg(db);
        return out;
    }
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        const unsigned char* detail = sqlite3_column_text(stmt, 3);
        out.emplace_back(detail != nullptr ? reinterpret_cast<const char*>(detail) : "");
    }
    sqlite3_finalize(stmt);
    return out;
}

bool IsPartialIndex(sqlite3* db, const std::string& table, const std::string& index) {
    sqlite3_stmt* stmt = nullptr;
    const std::string sql =
        "SELECT partial FROM pragma_index_list('" + table + "') WHERE name = ?1";
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) return false;
    sqlite3_bind_text(stmt, 1, index.c_str(), -1, SQLITE_TRANSIENT);
    const bool partial = sqlite3_step(stmt) == SQLITE_ROW && sqlite3_column_int(stmt, 0) == 1;
    sqlite3_finalize(stmt);
    return partial;
}

bool IsFullTextTable(sqlite3* db, const std::string& table) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, "SELECT sql FROM sqlite_schema WHERE type = 'table' AND name = ?1",
                           -1, &stmt, nullptr) != SQLITE_OK) {
        return false;
    }
    sqlite3_bind_text(stmt, 1, table.c_str(), -1, SQLITE_TRANSIENT);
    bool fts = false;
    if (sqlite3_step(stmt) == SQLITE_ROW && sqlite3_column_text(stmt, 0) != nullptr) {
        const std::string sql = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
        fts = sql.find("USING fts5") != std::string::npos;
    }
    sqlite3_finalize(stmt);
    return fts;
}

// A statement that reads or changes rows (schema statements, pragmas and transactions do not).
bool IsRowStatement(const std::string& sql) {
    static const std::regex row("^\\s*(SELECT|INSERT|UPDATE|DELETE|REPLACE|WITH)\\b",
                                std::regex::icase);
    return std::regex_search(sql, row);
}

bool Names(const std::string& sql, const std::string& table) {
    return std::regex_search(sql, std::regex("\\b" + table + "\\b"));
}

struct Problem {
    std::string table;
    std::string what;
};

// What in a plan makes a statement's cost grow with the size of a table: reading every row of
// it, or every entry of an index that holds every row; a sort; an index built for the one
// statement. Reading a whole partial index is fine when the index alone answers the statement:
// it holds exactly the rows wanted (the Log view's index), and a look at the row behind every
// entry would cost as much as the table.
std::vector<Problem> PlanProblems(sqlite3* db, const std::vector<std::string>& plan,
                                  bool readsEverything = false) {
    static const std::regex scan("^SCAN (\\S+)(?: USING (COVERING )?INDEX (\\S+))?");
    static const std::regex other("^(?:SEARCH|SCAN) (\\S+)");
    static const std::regex virtualTable("^SCAN (\\S+) VIRTUAL TABLE INDEX \\d+:(\\S*)");
    std::vector<Problem> problems;
    for (const std::string& line : plan) {
        std::smatch v;
        if (std::regex_search(line, v, virtualTable)) {
            // The table-valued pragmas read the schema, not rows; the full-text index must be
            // searched by a MATCH or by rowid.
            const std::string table = v[1];
            const std::string how = v[2];
            if (IsFullTextTable(db, table) && how.find('M') == std::string::npos &&
                how.find('=') == std::string::npos && !readsEverything) {
                problems.push_back({table, "reads the whole full-text index: " + line});
            }
            continue;
        }
        if (line.find("VIRTUAL TABLE") != std::string::npos) continue;
        std::smatch m;
        if (std::regex_search(line, m, scan)) {
            const std::string table = m[1];
            if (readsEverything) {
                // Reading every row is what the operation is for.
            } else if (!m[3].matched) {
                problems.push_back({table, "reads the whole table: " + line});
            } else if (!IsPartialIndex(db, table, m[3])) {
                problems.push_back({table, "reads the whole index: " + line});
            } else if (!m[2].matched) {
                problems.push_back({table, "reads the row of every entry of the index: " + line});
            }
        }
        std::smatch t;
        const std::string table = std::regex_search(line, t, other) ? std::string(t[1]) : "";
        if (line.find("TEMP B-TREE") != std::string::npos) {
            problems.push_back({table, "sorts: " + line});
        }
        if (line.find("AUTOMATIC") != std::string::npos) {
            problems.push_back({table, "builds an index of its own: " + line});
        }
    }
    return problems;
}

bool PrintPlans() {
    const char* value = std::getenv("VELKAN_PRINT_QUERY_PLANS");
    return value != nullptr && *value != '\0' && std::string(value) != "0";
}

struct Checked {
    std::string operation;  // the first operation that ran the statement
    std::string sql;
    std::vector<std::string> plan;
    std::vector<Problem> problems;
};

std::string Describe(const Checked& c) {
    std::string out = "[" + c.operation + "] " + c.sql;
    for (const std::string& line : c.plan) out += "\n    " + line;
    if (c.plan.empty()) out += "\n    (no plan)";
    for (const Problem& p : c.problems) out += "\n  " + p.what;
    return out;
}

using Operations = std::vector<std::pair<std::string, std::function<void()>>>;

// The operations that read every message by their nature start with this.
const std::string kEverything = "every message: ";

// Runs each named operation with the connection traced, then explains every statement that
// read or changed rows. Each operation must have run at least one.
std::vector<Checked> CheckOperations(sqlite3* db, const Operations& operations) {
    std::vector<Checked> out;
    std::set<std::string> done;
    StatementLog log(db);
    for (const auto& [name, run] : operations) {
        const bool everything = name.rfind(kEverything, 0) == 0;
        log.Take();
        run();
        int rowStatements = 0;
        for (const std::string& sql : log.Take()) {
            if (!IsRowStatement(sql)) continue;
            ++rowStatements;
            if (!done.insert(sql).second) continue;
            Checked c{name, sql, QueryPlan(db, sql), {}};
            c.problems = PlanProblems(db, c.plan, everything);
            out.push_back(std::move(c));
        }
        EXPECT_GT(rowStatements, 0) << name << " ran no statement on rows";
    }
    if (PrintPlans()) {
        for (const Checked& c : out) std::cout << Describe(c) << "\n";
    }
    return out;
}

SmsMessage Make(FolderId folder, FileTime time, std::u16string text,
                std::u16string number = u"+4917") {
    SmsMessage m;
    m.folder = folder;
    m.time = time;
    m.text = std::move(text);
    m.number = std::move(number);
    m.name = u"Anna";
    return m;
}

constexpr FileTime kStart = 126'000'000'000'000'000ull;
constexpr FileTime kSecond = 10'000'000ull;

FolderId FolderOf(int i) {
    const int r = i % 10;
    return r < 5 ? kFolderInbox : r < 8 ? kFolderSent : r < 9 ? kFolderOutbox : kFolderDraft;
}

class QueryPlanTest : public ::testing::Test {
  protected:
    void SetUp() override {
        // The first opening connects and lays the new file out.
        ASSERT_TRUE(OpenMessageStore(db_));
    }

    // `count` messages spread over the folders, oldest first.
    void Fill(int first, int count) {
        MessageStoreBatch batch(db_);
        EXPECT_TRUE(batch.Started());
        for (int i = first; i < first + count; ++i) {
            SmsMessage m = Make(FolderOf(i), kStart + static_cast<FileTime>(i) * kSecond,
                                u"text " + std::u16string(1, static_cast<char16_t>(u'A' + i % 26)));
            EXPECT_TRUE(WriteMessage(db_, m));
        }
        EXPECT_TRUE(batch.Commit());
    }

    // Every operation of the message store that the program uses, each folder and the Log view
    // where the operation takes one.
    Operations MessageOperations() {
        Operations ops;
        ops.emplace_back("OpenMessageStore (creating)", [this] {
            ASSERT_TRUE(OpenMessageStore(db_));
            Fill(0, 200);
            // A record without a time sorts after all others; the cursor walks reach it.
            ASSERT_EQ(sqlite3_exec(db_.Connection(), "INSERT INTO messages(folder) VALUES(3)",
                                   nullptr, nullptr, nullptr),
                      SQLITE_OK);
        });
        ops.emplace_back("WriteMessage (new)", [this] {
            SmsMessage m = Make(kFolderOutbox, 0, u"new");
            ASSERT_TRUE(WriteMessage(db_, m));
            written_ = std::move(m);
        });
        ops.emplace_back("WriteMessage (rewrite)", [this] {
            written_.folder = kFolderSent;
            ASSERT_TRUE(WriteMessage(db_, written_));
        });
        ops.emplace_back("MessageStoreBatch", [this] { Fill(1000, 10); });
        ops.emplace_back("ReadById", [this] {
            SmsMessage m;
            m.oid = written_.oid - 5;
            ASSERT_TRUE(ReadById(db_, m));
        });
        ops.emplace_back("ReadCurrent", [this] {
            SmsMessage m;
            ASSERT_TRUE(ReadCurrent(db_, m));
        });
        for (FolderId f : kFolders) {
            ops.emplace_back("ReadFirst " + std::to_string(f), [this, f] {
                db_.folderFilter = f;
                SmsMessage m;
                ASSERT_TRUE(ReadFirst(db_, m));
            });
            ops.emplace_back("walk " + std::to_string(f), [this, f] {
                db_.folderFilter = f;
                int n = 0;
                for (bool more = SeekFirstInFolder(db_); more; more = SeekNextInFolder(db_)) ++n;
                EXPECT_GT(n, 10);
            });
            ops.emplace_back("CountFolder " + std::to_string(f), [this, f] {
                std::uint32_t n = 0;
                ASSERT_TRUE(db_.CountFolder(f, &n));
                EXPECT_GT(n, 10u);
            });
            ops.emplace_back("FolderOidsNewestFirst " + std::to_string(f), [this, f] {
                std::vector<Oid> oids;
                ASSERT_TRUE(db_.FolderOidsNewestFirst(f, &oids));
                EXPECT_GT(oids.size(), 10u);
            });
            ops.emplace_back("ReadFolderPage " + std::to_string(f), [this, f] {
                std::vector<SmsMessage> page;
                ASSERT_TRUE(db_.ReadFolderPage(f, 5, 5, &page));
                EXPECT_EQ(page.size(), 5u);
            });
        }
        ops.emplace_back("FindDuplicate", [this] {
            EXPECT_TRUE(FindDuplicate(db_, Make(kFolderInbox, kStart + 10 * kSecond, u"text K")));
            EXPECT_FALSE(FindDuplicate(db_, Make(kFolderInbox, kStart + 10 * kSecond, u"new")));
            EXPECT_FALSE(FindDuplicate(db_, Make(kFolderInbox, 0, u"never stored")));
        });
        ops.emplace_back("WriteMessageKeepingTime", [this] {
            SmsMessage m = Make(kFolderInbox, 0, u"no time");
            ASSERT_TRUE(WriteMessageKeepingTime(db_, m));
        });
        for (FolderId f : kSearchFolders) {
            const std::string folder = std::to_string(f);
            // "text" is in every message, so that the messages are read newest first; the
            // two-letter word has no entry in the index and is read newest first too.
            ops.emplace_back("MessageSearch index list " + folder, [this, f] {
                MessageSearch search(db_, u"TEXT k", f);
                std::vector<SmsMessage> found;
                ASSERT_TRUE(search.Next(3, &found));
                EXPECT_EQ(search.CurrentWay(), MessageSearch::Way::kIndexList);
            });
            ops.emplace_back("MessageSearch newest first " + folder, [this, f] {
                MessageSearch search(db_, u"xt", f);
                std::vector<SmsMessage> found;
                while (!search.AtEnd()) ASSERT_TRUE(search.Next(50, &found));
                EXPECT_EQ(search.CurrentWay(), MessageSearch::Way::kNewestFirst);
            });
            ops.emplace_back("ReadInTimeOrder oldest first " + folder, [this, f] {
                MessageDatabase::TimePosition at;
                std::vector<SmsMessage> page;
                while (!at.done) ASSERT_TRUE(db_.ReadInTimeOrder(f, false, &at, 40, &page));
            });
        }
        ops.emplace_back("DeleteStoredMessage",
                         [this] { ASSERT_TRUE(DeleteStoredMessage(written_)); });
        ops.emplace_back("DeleteRecords", [this] {
            Oid missing = 0;
            ASSERT_TRUE(db_.DeleteRecords({1, 2, 3}, &missing));
        });
        return ops;
    }

    static constexpr FolderId kFolders[] = {kFolderInbox, kFolderOutbox, kFolderDraft, kFolderSent,
                                            kFolderLog};
    static constexpr FolderId kSearchFolders[] = {kEveryFolder, kFolderInbox, kFolderLog};

    TempDataDir dir_;
    FakeLocalTime clock_{{2003, 6, 1, 1, 9, 0, 0, 0}, 1000};
    ProbeMessages db_;
    SmsMessage written_;
};

TEST_F(QueryPlanTest, EveryStatementOfTheMessageStoreSearchesAnIndex) {
    const std::vector<Checked> checked = CheckOperations(db_.Connection(), MessageOperations());
    int onMessages = 0;
    for (const Checked& c : checked) {
        EXPECT_TRUE(c.problems.empty()) << Describe(c);
        if (Names(c.sql, "messages") && !c.plan.empty()) ++onMessages;
    }
    // The walks, the lists, the pages, the counts, the duplicate check, the reads, the rewrite,
    // the deletion, the search and the reads in time order.
    EXPECT_GE(onMessages, 30);
    // The full-text index: the search's MATCH, and the look-ups by rowid of the writes and
    // deletions.
    int onIndex = 0;
    for (const Checked& c : checked) {
        if (Names(c.sql, "messages_fts") && !c.plan.empty()) ++onIndex;
    }
    EXPECT_GE(onIndex, 3);
}

// Filling the index of a store that has none reads every message once, in the order of the
// records, without a sort.
TEST_F(QueryPlanTest, FillingTheSearchIndexReadsEveryMessageOnceWithoutSorting) {
    const std::function<void()> fill = [this] {
        Fill(0, 50);
        ASSERT_EQ(
            sqlite3_exec(db_.Connection(), "DROP TABLE messages_fts", nullptr, nullptr, nullptr),
            SQLITE_OK);
        ASSERT_EQ(CreateSearchIndex(db_.Connection()), SQLITE_OK);
    };
    const Operations ops(1, {kEverything + "CreateSearchIndex", fill});
    const std::vector<Checked> checked = CheckOperations(db_.Connection(), ops);
    int statements = 0;
    for (const Checked& c : checked) {
        EXPECT_TRUE(c.problems.empty()) << Describe(c);
        ++statements;
    }
    EXPECT_GE(statements, 2);  // the read of the messages and the index's writes
    std::vector<SmsMessage> found;
    MessageSearch search(db_, u"text");
    ASSERT_TRUE(search.Next(100, &found));
    EXPECT_EQ(found.size(), 50u);
}

// The check sees a search that reads the whole full-text index: a query on its columns
// without a MATCH.
TEST_F(QueryPlanTest, AFullTextQueryWithoutMatchShowsInThePlan) {
    const auto plan =
        QueryPlan(db_.Connection(), "SELECT rowid FROM messages_fts WHERE text = 'x'");
    const auto problems = PlanProblems(db_.Connection(), plan);
    ASSERT_EQ(problems.size(), 1u) << ::testing::PrintToString(plan);
    EXPECT_EQ(problems[0].table, "messages_fts");
    EXPECT_TRUE(
        PlanProblems(db_.Connection(),
                     QueryPlan(db_.Connection(),
                               "SELECT rowid FROM messages_fts WHERE messages_fts MATCH 'x'"))
            .empty());
}

// The check sees a missing index: without the folder index a folder's count and lists read
// the whole table, and with the Log view's index on the time alone every entry of the view
// costs a look at its row.
TEST_F(QueryPlanTest, AMissingOrNarrowerIndexShowsInThePlans) {
    const std::vector<Checked> checked = CheckOperations(db_.Connection(), MessageOperations());
    ASSERT_EQ(sqlite3_exec(db_.Connection(),
                           "DROP INDEX messages_folder_time;DROP INDEX messages_log;"
                           "CREATE INDEX messages_log ON messages(time) WHERE folder IN (1, 4);",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    std::set<std::string> flagged;
    for (const Checked& c : checked) {
        if (!PlanProblems(db_.Connection(), QueryPlan(db_.Connection(), c.sql)).empty()) {
            flagged.insert(c.sql);
        }
    }
    for (const std::string source :
         {" FROM messages WHERE folder = ?1",
          " FROM messages INDEXED BY messages_log WHERE folder IN (1, 4)"}) {
        EXPECT_EQ(flagged.count("SELECT count(*)" + source), 1u) << source;
        EXPECT_EQ(flagged.count("SELECT id" + source + " ORDER BY time DESC, id DESC"), 1u)
            << source;
        EXPECT_EQ(
            flagged.count("SELECT id" + source + " ORDER BY time DESC, id DESC LIMIT ?2 OFFSET ?3"),
            1u)
            << source;
    }
}

int IndexColumns(sqlite3* db, const std::string& index) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, "SELECT count(*) FROM pragma_index_info(?1)", -1, &stmt, nullptr) !=
        SQLITE_OK) {
        return -1;
    }
    sqlite3_bind_text(stmt, 1, index.c_str(), -1, SQLITE_TRANSIENT);
    const int n = sqlite3_step(stmt) == SQLITE_ROW ? sqlite3_column_int(stmt, 0) : -1;
    sqlite3_finalize(stmt);
    return n;
}

std::int64_t SchemaVersion(sqlite3* db) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, "PRAGMA schema_version", -1, &stmt, nullptr) != SQLITE_OK) return -1;
    const std::int64_t v = sqlite3_step(stmt) == SQLITE_ROW ? sqlite3_column_int64(stmt, 0) : -1;
    sqlite3_finalize(stmt);
    return v;
}

// A store whose indexes went missing (or whose Log index is the narrower one of earlier
// builds) gets them back when it is opened; its messages and their order stay. A store that
// has them is left as it is.
TEST(LogIndexTest, MissingIndexesAreMadeAgainWhenTheStoreIsOpened) {
    TempDataDir dir;
    {
        ProbeMessages db;
        ASSERT_TRUE(OpenMessageStore(db));
        // Ids 1 to 4; the Log view newest first is 4, 2 (the same time: the higher id first), 1.
        const FolderId folders[] = {kFolderInbox, kFolderSent, kFolderDraft, kFolderInbox};
        for (int i = 0; i < 4; ++i) {
            SmsMessage m = Make(folders[i], kStart + static_cast<FileTime>(i % 2) * kSecond, u"x");
            ASSERT_TRUE(WriteMessage(db, m));
            ASSERT_EQ(m.oid, static_cast<Oid>(i + 1));
        }
        ASSERT_EQ(sqlite3_exec(db.Connection(),
                               "DROP INDEX messages_log;DROP INDEX messages_folder_time;", nullptr,
                               nullptr, nullptr),
                  SQLITE_OK);
        ASSERT_EQ(IndexColumns(db.Connection(), "messages_log"), 0);
    }
    ProbeMessages db;
    ASSERT_TRUE(OpenMessageStore(db));
    EXPECT_EQ(IndexColumns(db.Connection(), "messages_log"), 3);
    EXPECT_EQ(IndexColumns(db.Connection(), "messages_folder_time"), 3);
    const std::string count =
        "SELECT count(*) FROM messages INDEXED BY messages_log WHERE folder IN (1, 4)";
    const std::vector<std::string> plan = QueryPlan(db.Connection(), count);
    EXPECT_EQ(plan, (std::vector<std::string>{"SCAN messages USING COVERING INDEX messages_log"}));
    EXPECT_TRUE(PlanProblems(db.Connection(), plan).empty());
    std::uint32_t n = 0;
    ASSERT_TRUE(db.CountFolder(kFolderLog, &n));
    EXPECT_EQ(n, 3u);
    std::vector<Oid> oids;
    ASSERT_TRUE(db.FolderOidsNewestFirst(kFolderLog, &oids));
    EXPECT_EQ(oids, (std::vector<Oid>{4, 2, 1}));

    const std::int64_t schema = SchemaVersion(db.Connection());
    ProbeMessages again;
    ASSERT_TRUE(OpenMessageStore(again));
    EXPECT_EQ(SchemaVersion(again.Connection()), schema);
}

// The recent recipients are at most ten: their statements may read the whole table (the
// count that decides which entries go reads every entry), and no statement reads more than
// that table, or reads the catalogue other than through its keys.
TEST(RecentQueryPlanTest, OnlyTheTenRecentRecipientsAreReadWhole) {
    TempDataDir dir;
    FakeLocalTime clock({2003, 6, 1, 1, 9, 0, 0, 0}, 1000);
    ProbeRecent db;
    ASSERT_TRUE(OpenRecentStore(db, kPropRecentLastUsed));  // connects
    Operations ops;
    ops.emplace_back("AddRecent (creating)", [&] {
        RecentRecipient e;
        e.name = u"Person";
        e.number = u"+491";
        ASSERT_TRUE(AddRecent(db, e));
    });
    ops.emplace_back("AddRecent (twelve more)", [&] {
        for (int i = 0; i < 12; ++i) {
            RecentRecipient e;
            e.name = u"Person " + std::u16string(1, static_cast<char16_t>(u'A' + i));
            e.number = u"+4910" + std::u16string(1, static_cast<char16_t>(u'0' + i % 10));
            ASSERT_TRUE(AddRecent(db, e));
        }
    });
    ops.emplace_back("ListRecentByName", [&] {
        std::vector<RecentRecipient> entries;
        ASSERT_TRUE(ListRecentByName(db, &entries));
        EXPECT_EQ(entries.size(), kMaxRecentRecipients);
    });
    const std::vector<Checked> checked = CheckOperations(db.Connection(), ops);
    const std::string table = "recent_recipients";
    int onTable = 0;
    for (const Checked& c : checked) {
        if (Names(c.sql, table)) ++onTable;
        for (const Problem& p : c.problems) EXPECT_EQ(p.table, table) << Describe(c);
    }
    EXPECT_GE(onTable, 5);
    std::uint32_t count = 0;
    ASSERT_TRUE(db.GetRecordCount(&count));
    EXPECT_EQ(count, kMaxRecentRecipients);
}

}  // namespace
