// SPDX-License-Identifier: GPL-3.0-or-later
// Names for known numbers on a big address book: the message list over 100,000 messages without
// names (half of their numbers belong to a contact) with the names of 10,000 contacts (100 vCard
// files of 100 cards; mobile, home or work numbers, national and international), on the
// offscreen platform:
//
//   build/default/bench/velkan_contact_names_bench
//
// FirstScreen: a new list screen opens the store, lists the Inbox and draws its first screen,
// with the names shown (the contacts already read, or read as the list opens) and without.
// ReadContacts: the contacts folder read into the index, as at the first use and after a contact
// file changed. Lookup: one number looked up. Filling the store and the folder is not timed.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "common/text_convert.h"
#include "framework/ui/ui_fonts.h"
#include "message_ui/ui/contact_names_cache.h"
#include "message_ui/ui/contact_picker_dialog.h"
#include "settings/settings_key.h"
#include "shell/ui/message_list_model.h"
#include "shell/ui/message_list_view.h"
#include "store/message_store.h"
#include "store/object_store.h"

namespace {

constexpr int kMessages = 100'000;
constexpr int kContacts = 10'000;
constexpr int kCardsPerFile = 100;
constexpr FileTime kStart = 126'000'000'000'000'000ull;  // 2000-04-14
constexpr FileTime kStep = 37ull * 10'000'000;           // 37 s between messages

// Seven digits, zero-padded.
std::string Digits7(int n) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%07d", n);
    return buf;
}

class BenchList : public MessageListView {
  public:
    bool Create() { return OnInitDialog(); }

  protected:
    void UpdateContactsAddIn() override {}
};

class BenchWorld {
  public:
    BenchWorld() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "velkan-names-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        dir_ = pattern;
        setenv("XDG_CONFIG_HOME", (dir_ / "config").c_str(), 1);
        SetStoreDataDirectory((dir_ / "data").string());
        const std::filesystem::path contacts = dir_ / "contacts";
        std::filesystem::create_directories(contacts);
        // Contact k's number is 0171 followed by k in seven digits, written three ways.
        for (int f = 0; f < kContacts / kCardsPerFile; ++f) {
            std::ofstream out(contacts / ("book" + std::to_string(f) + ".vcf"), std::ios::binary);
            for (int c = 0; c < kCardsPerFile; ++c) {
                const int k = f * kCardsPerFile + c;
                out << "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Contact;Number " << k << ";;;\r\n"
                    << "FN:Number " << k << " Contact\r\n";
                switch (k % 3) {
                    case 0:
                        out << "TEL;TYPE=CELL:+49 171 " << Digits7(k) << "\r\n";
                        break;
                    case 1:
                        out << "TEL;TYPE=HOME:0171 " << Digits7(k) << "\r\n";
                        break;
                    default:
                        out << "TEL;TYPE=WORK,VOICE:+49 (171) " << Digits7(k) << "\r\n";
                        break;
                }
                out << "EMAIL:contact" << k << "@example.org\r\nEND:VCARD\r\n";
            }
        }
        RegistryKey key;
        if (!OpenSettings(key)) std::abort();
        key.WriteString(kValueContacts, Utf8ToUtf16(contacts.string()));

        MessageDatabase db;
        if (!OpenMessageStore(db)) std::abort();
        MessageStoreBatch batch(db);
        for (int i = 0; i < kMessages; ++i) {
            SmsMessage m;
            m.folder = kFolderInbox;
            m.time = kStart + static_cast<FileTime>(i) * kStep;
            // Half of the numbers belong to a contact.
            m.number = Utf8ToUtf16("+49171" + Digits7(i % (2 * kContacts)));
            m.text = u"See you at the station at half past seven, bring the tickets please.";
            m.flags = i % 7 == 0 ? kFlagUnread : 0;
            if (!WriteMessage(db, m)) std::abort();
        }
        if (!batch.Commit()) std::abort();
    }
    ~BenchWorld() {
        SetStoreDataDirectory("");
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }

    static void ShowNames(bool on) {
        RegistryKey key;
        if (!OpenSettings(key)) std::abort();
        WriteSettingFlag(key, kValueContactNames, on);
    }

  private:
    std::filesystem::path dir_;
};

void FirstScreen(benchmark::State& state, bool names, bool cold = false) {
    BenchWorld::ShowNames(names);
    ContactNamesCache::Instance().Sync();
    if (names && ContactNamesCache::Instance().Count() != static_cast<std::size_t>(kContacts)) {
        state.SkipWithError("the contacts were not all read");
        return;
    }
    for (auto _ : state) {
        if (cold) ContactNamesCache::Instance().Reset();
        BenchList list;
        list.resize(360, 560);
        if (!list.Create()) std::abort();
        list.OnActivate();
        list.show();
        list.List()->viewport()->grab();
        benchmark::DoNotOptimize(list.Model()->rowCount());
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_FirstScreenWithNames(benchmark::State& state) {
    FirstScreen(state, true);
}
BENCHMARK(BM_FirstScreenWithNames)->Unit(benchmark::kMillisecond);

// The first screen of the program's start: the contacts are read as the list opens.
void BM_FirstScreenWithNamesReadFirst(benchmark::State& state) {
    FirstScreen(state, true, true);
}
BENCHMARK(BM_FirstScreenWithNamesReadFirst)->Unit(benchmark::kMillisecond);

void BM_FirstScreenWithoutNames(benchmark::State& state) {
    FirstScreen(state, false);
}
BENCHMARK(BM_FirstScreenWithoutNames)->Unit(benchmark::kMillisecond);

void BM_ReadContacts(benchmark::State& state) {
    ContactNamesCache& cache = ContactNamesCache::Instance();
    for (auto _ : state) {
        cache.Reset();
        cache.Sync();
        benchmark::DoNotOptimize(cache.Count());
    }
    state.counters["contacts"] = static_cast<double>(cache.Count());
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ReadContacts)->Unit(benchmark::kMillisecond);

void BM_Lookup(benchmark::State& state) {
    ContactNamesCache& cache = ContactNamesCache::Instance();
    cache.Sync();
    int i = 0;
    std::size_t found = 0;
    for (auto _ : state) {
        const std::u16string number = Utf8ToUtf16("0171" + Digits7(i++ % (2 * kContacts)));
        found += cache.Find(number) != nullptr;
    }
    benchmark::DoNotOptimize(found);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Lookup)->Unit(benchmark::kNanosecond);

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    CreateUiFonts();
    BenchWorld world;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
