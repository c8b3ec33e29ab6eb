// SPDX-License-Identifier: GPL-3.0-or-later
// The message store at the size the list view is built for: 100,000 messages (half Inbox,
// 30 % Sent, 10 % Outbox, 10 % Draft) in a store file of its own under the temporary folder.
//
//   build/default/bench/velkan_store_bench
//
// Filling the store is not timed; the durable single write and the batched write are.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "store/message_store.h"
#include "store/object_store.h"

namespace {

constexpr int kMessages = 100'000;
constexpr FileTime kStart = 126'000'000'000'000'000ull;  // 2000-04-14
constexpr FileTime kStep = 37ull * 10'000'000;           // 37 s between messages

FolderId FolderOf(int i) {
    const int r = i % 10;
    return r < 5 ? kFolderInbox : r < 8 ? kFolderSent : r < 9 ? kFolderOutbox : kFolderDraft;
}

SmsMessage MessageNumber(int i) {
    SmsMessage m;
    m.folder = FolderOf(i);
    m.time = kStart + static_cast<FileTime>(i) * kStep;
    m.number = u"+4917012" + std::u16string(1, static_cast<char16_t>(u'0' + i % 10)) + u"4567";
    m.name = i % 3 == 0 ? u"Anna Beispiel" : u"";
    m.text = u"Message " + std::u16string(1, static_cast<char16_t>(u'A' + i % 26)) +
             u": see you at the station at half past seven, bring the tickets please.";
    m.flags = m.folder == kFolderInbox && i % 7 == 0 ? kFlagUnread : 0;
    return m;
}

// The store of 100,000 messages, made once for every benchmark of the run.
class BenchStore {
  public:
    BenchStore() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "velkan-store-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        dir_ = pattern;
        SetStoreDataDirectory(dir_);
        if (!OpenMessageStore(db)) std::abort();
        for (int first = 0; first < kMessages; first += 10'000) {
            MessageStoreBatch batch(db);
            for (int i = first; i < first + 10'000; ++i) {
                SmsMessage m = MessageNumber(i);
                if (!WriteMessage(db, m)) std::abort();
            }
            if (!batch.Commit()) std::abort();
        }
    }
    ~BenchStore() {
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    std::string File() const { return dir_ + "/velkan.sqlite3"; }

    MessageDatabase db;

  private:
    std::string dir_;
};

BenchStore& Store() {
    static BenchStore store;
    return store;
}

void BM_WalkLogView(benchmark::State& state) {
    MessageDatabase& db = Store().db;
    db.folderFilter = kFolderLog;
    for (auto _ : state) {
        int n = 0;
        for (bool more = SeekFirstInFolder(db); more; more = SeekNextInFolder(db)) ++n;
        benchmark::DoNotOptimize(n);
        if (n != kMessages * 8 / 10) state.SkipWithError("wrong count");
    }
    state.SetItemsProcessed(state.iterations() * kMessages);
}
BENCHMARK(BM_WalkLogView)->Unit(benchmark::kMillisecond);

void BM_WalkAndReadOutbox(benchmark::State& state) {
    MessageDatabase& db = Store().db;
    db.folderFilter = kFolderOutbox;
    SmsMessage m;
    for (auto _ : state) {
        int n = 0;
        for (bool more = SeekFirstInFolder(db); more; more = SeekNextInFolder(db)) {
            if (!ReadCurrent(db, m)) state.SkipWithError("read failed");
            ++n;
        }
        benchmark::DoNotOptimize(n);
    }
    state.SetItemsProcessed(state.iterations() * kMessages);
}
BENCHMARK(BM_WalkAndReadOutbox)->Unit(benchmark::kMillisecond);

// The send loop's look for the next Outbox message (ReadFirst) when the Outbox holds only a
// message newer than every other one, as a message just composed is (1), and its last look,
// which finds the Outbox empty (0). The Outbox of the store is set aside in another folder
// meanwhile and put back afterwards.
void BM_ReadFirstOfTheOutbox(benchmark::State& state) {
    MessageDatabase& db = Store().db;
    constexpr std::uint32_t kAside = 100 + kFolderOutbox;
    std::vector<Oid> outbox;
    auto moveAll = [&](std::uint32_t folder) {
        MessageStoreBatch batch(db);
        for (Oid oid : outbox) {
            SmsMessage m;
            m.oid = oid;
            if (!ReadById(db, m)) state.SkipWithError("read failed");
            m.folder = folder;
            if (!WriteMessage(db, m)) state.SkipWithError("move failed");
        }
        if (!batch.Commit()) state.SkipWithError("commit failed");
    };
    if (!db.FolderOidsNewestFirst(kFolderOutbox, &outbox)) state.SkipWithError("list failed");
    moveAll(kAside);
    SmsMessage waiting = MessageNumber(kMessages);
    waiting.folder = kFolderOutbox;
    if (state.range(0) != 0 && !WriteMessage(db, waiting)) state.SkipWithError("write failed");
    SmsMessage m;
    for (auto _ : state) {
        db.folderFilter = kFolderOutbox;
        if (ReadFirst(db, m) != (state.range(0) != 0)) state.SkipWithError("wrong answer");
    }
    DeleteStoredMessage(waiting);
    moveAll(kFolderOutbox);
    state.SetLabel(state.range(0) != 0 ? "one new message" : "empty");
}
BENCHMARK(BM_ReadFirstOfTheOutbox)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

void BM_CountFolder(benchmark::State& state) {
    MessageDatabase& db = Store().db;
    const FolderId folder = static_cast<FolderId>(state.range(0));
    std::uint32_t n = 0;
    for (auto _ : state) {
        if (!db.CountFolder(folder, &n)) state.SkipWithError("count failed");
        benchmark::DoNotOptimize(n);
    }
    state.SetLabel(std::to_string(n) + " messages");
}
BENCHMARK(BM_CountFolder)
    ->Arg(kFolderInbox)
    ->Arg(kFolderOutbox)
    ->Arg(kFolderLog)
    ->Unit(benchmark::kMicrosecond);

void BM_FolderOidsNewestFirst(benchmark::State& state) {
    MessageDatabase& db = Store().db;
    const FolderId folder = static_cast<FolderId>(state.range(0));
    std::vector<Oid> oids;
    for (auto _ : state) {
        if (!db.FolderOidsNewestFirst(folder, &oids)) state.SkipWithError("list failed");
        benchmark::DoNotOptimize(oids.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(oids.size()));
}
BENCHMARK(BM_FolderOidsNewestFirst)
    ->Arg(kFolderInbox)
    ->Arg(kFolderLog)
    ->Unit(benchmark::kMillisecond);

// A screenful of 20 rows at the top, in the middle and at the end of the Log view.
void BM_ReadLogPage(benchmark::State& state) {
    MessageDatabase& db = Store().db;
    const auto first = static_cast<std::uint32_t>(state.range(0));
    std::vector<SmsMessage> page;
    for (auto _ : state) {
        if (!db.ReadFolderPage(kFolderLog, first, 20, &page) || page.size() != 20) {
            state.SkipWithError("page failed");
        }
        benchmark::DoNotOptimize(page.data());
    }
    state.SetItemsProcessed(state.iterations() * 20);
}
BENCHMARK(BM_ReadLogPage)->Arg(0)->Arg(40'000)->Arg(79'980)->Unit(benchmark::kMicrosecond);

void BM_ReadById(benchmark::State& state) {
    MessageDatabase& db = Store().db;
    SmsMessage m;
    Oid id = 1;
    for (auto _ : state) {
        m.oid = id;
        if (!ReadById(db, m)) state.SkipWithError("read failed");
        id = (id + 7919) % kMessages + 1;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ReadById)->Unit(benchmark::kMicrosecond);

void BM_FindDuplicate(benchmark::State& state) {
    MessageDatabase& db = Store().db;
    const bool hit = state.range(0) != 0;
    SmsMessage probe = MessageNumber(50'000);  // an Inbox message
    if (!hit) probe.text += u"!";
    for (auto _ : state) {
        const bool found = FindDuplicate(db, probe);
        if (found != hit) state.SkipWithError("wrong answer");
    }
    state.SetLabel(hit ? "stored" : "new");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FindDuplicate)->Arg(1)->Arg(0)->Unit(benchmark::kMicrosecond);

// One message written and made durable on its own, as the transfer session stores each one.
void BM_WriteMessageDurable(benchmark::State& state) {
    MessageDatabase& db = Store().db;
    int i = kMessages;
    std::vector<Oid> written;
    for (auto _ : state) {
        SmsMessage m = MessageNumber(i++);
        if (!WriteMessage(db, m)) state.SkipWithError("write failed");
        written.push_back(m.oid);
    }
    Oid missing = 0;
    db.DeleteRecords(written, &missing);  // after the timed loop: not measured
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_WriteMessageDurable)->Unit(benchmark::kMillisecond);

// 1,000 messages in one batch.
void BM_WriteBatchOf1000(benchmark::State& state) {
    MessageDatabase& db = Store().db;
    int i = 2 * kMessages;
    std::vector<Oid> written;
    for (auto _ : state) {
        MessageStoreBatch batch(db);
        for (int k = 0; k < 1000; ++k) {
            SmsMessage m = MessageNumber(i++);
            if (!WriteMessage(db, m)) state.SkipWithError("write failed");
            written.push_back(m.oid);
        }
        if (!batch.Commit()) state.SkipWithError("commit failed");
    }
    Oid missing = 0;
    db.DeleteRecords(written, &missing);  // after the timed loop: not measured
    state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(BM_WriteBatchOf1000)->Unit(benchmark::kMillisecond);

// The check that the first opening in a process makes of the whole file.
void BM_QuickCheckOnOpen(benchmark::State& state) {
    const std::string file = Store().File();
    for (auto _ : state) {
        sqlite3* raw = nullptr;
        if (sqlite3_open_v2(file.c_str(), &raw, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK ||
            sqlite3_exec(raw, "PRAGMA quick_check", nullptr, nullptr, nullptr) != SQLITE_OK) {
            state.SkipWithError("check failed");
        }
        sqlite3_close(raw);
    }
    std::error_code ec;
    state.SetLabel(std::to_string(std::filesystem::file_size(file, ec) / 1024) + " KiB file");
}
BENCHMARK(BM_QuickCheckOnOpen)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
