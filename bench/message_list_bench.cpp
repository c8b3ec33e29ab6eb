// SPDX-License-Identifier: GPL-3.0-or-later
// The message list over a folder of 100,000 messages, in a store file of its own under the
// temporary folder, on the offscreen platform:
//
//   build/default/bench/velkan_message_list_bench
//
// Open: a new list screen is created, opens the store, lists the folder and draws its first
// screen. Switch: another folder chosen and its first screen drawn. Reload: the list is rebuilt
// with a message selected (as after every dialog). Scroll: one screen further down and drawn, each
// screen new to the cache of read rows. Filling the store is not timed.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QApplication>
#include <QScrollBar>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "framework/ui/dialog_base.h"
#include "framework/ui/ui_fonts.h"
#include "shell/ui/message_list_model.h"
#include "shell/ui/message_list_view.h"
#include "store/message_store.h"
#include "store/object_store.h"

namespace {

constexpr int kMessages = 100'000;
constexpr FileTime kStart = 126'000'000'000'000'000ull;  // 2000-04-14
constexpr FileTime kStep = 37ull * 10'000'000;           // 37 s between messages

// A list screen that is set up without running its page loop.
class BenchList : public MessageListView {
  public:
    bool Create() { return OnInitDialog(); }

  protected:
    void UpdateContactsAddIn() override {}
};

class BenchStore {
  public:
    BenchStore() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "velkan-list-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        dir_ = pattern;
        SetStoreDataDirectory(dir_);
        MessageDatabase db;
        if (!OpenMessageStore(db)) std::abort();
        MessageStoreBatch batch(db);
        for (int i = 0; i < kMessages; ++i) {
            SmsMessage m;
            m.folder = i % 50 == 0 ? kFolderOutbox : kFolderInbox;
            m.time = kStart + static_cast<FileTime>(i) * kStep;
            m.number = u"+491701234567";
            m.name = i % 3 == 0 ? u"Anna Beispiel" : u"";
            m.text = u"See you at the station at half past seven, bring the tickets please.";
            m.flags = i % 7 == 0 ? kFlagUnread : 0;
            if (!WriteMessage(db, m)) std::abort();
        }
        if (!batch.Commit()) std::abort();
    }
    ~BenchStore() {
        SetStoreDataDirectory("");
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }

  private:
    std::string dir_;
};

void Prepare(BenchList& list) {
    list.resize(360, 560);
    if (!list.Create()) std::abort();
    list.OnActivate();
    list.show();
}

void BM_OpenList(benchmark::State& state) {
    for (auto _ : state) {
        BenchList list;
        Prepare(list);
        list.List()->viewport()->grab();
        benchmark::DoNotOptimize(list.Model()->rowCount());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_OpenList)->Unit(benchmark::kMillisecond);

void BM_ReloadWithSelection(benchmark::State& state) {
    BenchList list;
    Prepare(list);
    MessageListControl* l = list.List();
    const QModelIndex middle = list.Model()->index(kMessages / 2, 0);
    l->selectionModel()->setCurrentIndex(middle, QItemSelectionModel::ClearAndSelect);
    for (auto _ : state) {
        list.Reload();
        benchmark::DoNotOptimize(list.SelectedRows().size());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ReloadWithSelection)->Unit(benchmark::kMillisecond);

// Switching from the Outbox (2,000 messages) to a large folder and drawing its first screen:
// the Inbox (98,000) or the Log (Inbox and Sent together).
void BM_SwitchFolder(benchmark::State& state) {
    const FolderId to = static_cast<FolderId>(state.range(0));
    BenchList list;
    Prepare(list);
    for (auto _ : state) {
        state.PauseTiming();
        list.SwitchFolder(kFolderOutbox);
        state.ResumeTiming();
        list.SwitchFolder(to);
        list.List()->viewport()->grab();
        benchmark::DoNotOptimize(list.Model()->rowCount());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SwitchFolder)
    ->Arg(kFolderInbox)
    ->Arg(kFolderLog)
    ->ArgName("folder")
    ->Unit(benchmark::kMillisecond);

void BM_ScrollOneScreen(benchmark::State& state) {
    BenchList list;
    Prepare(list);
    MessageListControl* l = list.List();
    QScrollBar* bar = l->verticalScrollBar();
    const int page = l->viewport()->height();
    for (auto _ : state) {
        int next = bar->value() + page;
        if (next >= bar->maximum()) next = 0;
        bar->setValue(next);
        l->viewport()->grab();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ScrollOneScreen)->Unit(benchmark::kMicrosecond);

// The same screen drawn again, its rows already read: what drawing alone costs.
void BM_RepaintOneScreen(benchmark::State& state) {
    BenchList list;
    Prepare(list);
    MessageListControl* l = list.List();
    l->viewport()->grab();
    const std::size_t reads = list.Model()->ReadsSinceLoad();
    for (auto _ : state) {
        l->viewport()->grab();
    }
    if (list.Model()->ReadsSinceLoad() != reads) state.SkipWithError("a repaint read rows again");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RepaintOneScreen)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    CreateUiFonts();
    BenchStore store;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
