// SPDX-License-Identifier: GPL-3.0-or-later
// The search over a store of 1,000,000 messages, the filling of the search index of a store
// of 100,000 messages made by an earlier version, and a message write with the index kept in
// step. Each store is made once per run, in a folder of its own under the temporary folder
// (the big one takes about a minute and 700 MB).
//
//   build/default/bench/velkan_search_bench
//   build/default/bench/velkan_search_bench --benchmark_filter=FirstScreen
//
// The messages: 2,000 correspondents (a name for 70 % of them, numbers +49151 and seven
// digits), texts of 3 to 20 words from a vocabulary of 3,000 made-up words, the commoner ones
// far more often (Zipf), one message every five minutes over ten years. A word of the
// vocabulary ("zeppelin") appears only in the oldest 5 % of the messages.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "store/message_search.h"
#include "store/message_store.h"
#include "store/object_store.h"
#include "store/schema.h"

namespace {

constexpr FileTime kStart = 129'000'000'000'000'000ull;  // 2009-10-10
constexpr FileTime kFiveMinutes = 300ull * 10'000'000;

class Corpus {
  public:
    Corpus() {
        static const char* const kSyllables[] = {
            "ka", "lo",  "mi", "ren", "sa", "to", "vel", "an",  "be", "dor", "ek",
            "fu", "gri", "ha", "is",  "jo", "ku", "le",  "mon", "ni", "or",  "pa",
            "ri", "st",  "tu", "ur",  "vi", "wa", "xe",  "yo",  "zu", "el"};
        std::uniform_int_distribution<int> syllables(1, 4), syllable(0, 31);
        for (int i = 0; i < 3000; ++i) {
            std::string word;
            for (int n = syllables(random_); n > 0; --n) word += kSyllables[syllable(random_)];
            vocabulary_.push_back(std::u16string(word.begin(), word.end()));
        }
        double sum = 0;
        for (int i = 0; i < 3000; ++i) sum += 1.0 / (i + 1);
        double running = 0;
        for (int i = 0; i < 3000; ++i) {
            running += 1.0 / (i + 1) / sum;
            cumulative_.push_back(running);
        }
        static const char16_t* const kFirst[] = {
            u"Anna", u"Bernd",  u"Carla", u"Dörte", u"Émile", u"Frank", u"Gül",  u"Hans",
            u"Ines", u"Jürgen", u"Karin", u"Lukas", u"Łucja", u"Mia",   u"Noah", u"Olga"};
        static const char16_t* const kLast[] = {u"Schmidt", u"Müller", u"Weber",    u"Novak",
                                                u"Dubois",  u"Rossi",  u"Kowalski", u"Yılmaz"};
        std::uniform_int_distribution<int> first(0, 15), last(0, 7), digit(0, 9), percent(0, 99);
        for (int i = 0; i < 2000; ++i) {
            std::u16string number = u"+49151";
            for (int d = 0; d < 7; ++d) number += static_cast<char16_t>(u'0' + digit(random_));
            numbers_.push_back(number);
            names_.push_back(percent(random_) < 70 ? std::u16string(kFirst[first(random_)]) + u" " +
                                                         kLast[last(random_)]
                                                   : std::u16string());
        }
    }

    const std::u16string& Word() {
        const double x = std::uniform_real_distribution<double>(0, 1)(random_);
        const auto at = std::lower_bound(cumulative_.begin(), cumulative_.end(), x);
        return vocabulary_[std::min<std::size_t>(at - cumulative_.begin(), 2999)];
    }

    // Message i of `count`.
    SmsMessage Message(int i, int count) {
        SmsMessage m;
        const int r = i % 10;
        m.folder = r < 5   ? kFolderInbox
                   : r < 8 ? kFolderSent
                   : r < 9 ? kFolderOutbox
                           : kFolderDraft;
        m.time = kStart + static_cast<FileTime>(i) * kFiveMinutes;
        const int contact = std::uniform_int_distribution<int>(0, 1999)(random_);
        m.number = numbers_[static_cast<std::size_t>(contact)];
        m.name = names_[static_cast<std::size_t>(contact)];
        for (int n = std::uniform_int_distribution<int>(3, 20)(random_); n > 0; --n) {
            if (!m.text.empty()) m.text += u' ';
            m.text += Word();
        }
        if (i < count / 20 && i % 4 == 0) m.text += u" zeppelin";
        m.flags = m.folder == kFolderInbox && i % 7 == 0 ? kFlagUnread : 0;
        return m;
    }

    const std::u16string& Vocabulary(std::size_t rank) const { return vocabulary_[rank]; }
    // Four digits from the middle of the first correspondent's number.
    std::u16string NumberPart() const { return numbers_[0].substr(8, 4); }

  private:
    std::minstd_rand random_;
    std::vector<std::u16string> vocabulary_;
    std::vector<double> cumulative_;
    std::vector<std::u16string> numbers_, names_;
};

// A store of `count` messages, made once.
class BenchStore {
  public:
    explicit BenchStore(int count) : count_(count) {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "velkan-search-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        dir_ = pattern;
        SetStoreDataDirectory(dir_);
        if (!OpenMessageStore(db)) std::abort();
        Corpus corpus;
        for (int first = 0; first < count; first += 10'000) {
            MessageStoreBatch batch(db);
            for (int i = first; i < first + 10'000 && i < count; ++i) {
                SmsMessage m = corpus.Message(i, count);
                if (!WriteMessage(db, m)) std::abort();
            }
            if (!batch.Commit()) std::abort();
        }
        common_ = corpus.Vocabulary(0);
        rare_ = corpus.Vocabulary(2500);
        numberPart_ = corpus.NumberPart();
    }
    ~BenchStore() {
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    std::string File() const { return dir_ + "/velkan.sqlite3"; }
    void Use() { SetStoreDataDirectory(dir_); }

    MessageDatabase db;
    std::u16string common_, rare_, numberPart_;

  private:
    int count_;
    std::string dir_;
};

BenchStore& Million() {
    static BenchStore store(1'000'000);
    store.Use();
    return store;
}

BenchStore& HundredThousand() {
    static BenchStore store(100'000);
    store.Use();
    return store;
}

std::string Narrow(const std::u16string& text) {
    std::string out;
    for (char16_t c : text) out += c < 0x80 ? static_cast<char>(c) : '?';
    return out;
}

// The first screen (50 rows) of a search; the label says the query, how many messages it
// matches in all, and the way the search took.
void FirstScreen(benchmark::State& state, std::u16string query, FolderId folder) {
    BenchStore& store = Million();
    if (query == u"<common>") query = store.common_;
    if (query == u"<rare>") query = store.rare_;
    if (query == u"<common> <rare>") query = store.common_ + u" " + store.rare_;
    if (query == u"<number part>") query = store.numberPart_;
    std::vector<SmsMessage> screen;
    // Every match, counted before the timed loop.
    MessageSearch all(store.db, query, folder);
    std::uint64_t matches = 0;
    while (!all.AtEnd()) {
        if (!all.Next(10'000, &screen)) break;
        matches += screen.size();
    }
    MessageSearch::Way way = MessageSearch::Way::kNotStarted;
    for (auto _ : state) {
        MessageSearch search(store.db, query, folder);
        if (!search.Next(50, &screen)) state.SkipWithError("search failed");
        way = search.CurrentWay();
        benchmark::DoNotOptimize(screen.data());
    }
    state.SetLabel("'" + Narrow(query) + "': " + std::to_string(matches) + " matches, " +
                   (way == MessageSearch::Way::kIndexList ? "index list" : "newest first"));
}

BENCHMARK_CAPTURE(FirstScreen, a_name, std::u16string(u"anna"), kEveryFolder)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FirstScreen, a_full_name, std::u16string(u"Anna Müller"), kEveryFolder)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FirstScreen, part_of_a_number, std::u16string(u"<number part>"), kEveryFolder)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FirstScreen, a_rare_word, std::u16string(u"<rare>"), kEveryFolder)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FirstScreen, the_commonest_word, std::u16string(u"<common>"), kEveryFolder)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FirstScreen, common_and_rare, std::u16string(u"<common> <rare>"), kEveryFolder)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FirstScreen, three_common_letters, std::u16string(u"kal"), kEveryFolder)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FirstScreen, only_in_old_messages, std::u16string(u"zeppelin"), kEveryFolder)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FirstScreen, no_match, std::u16string(u"qqqqq"), kEveryFolder)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FirstScreen, two_letters, std::u16string(u"jo"), kEveryFolder)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FirstScreen, two_rare_letters, std::u16string(u"qx"), kEveryFolder)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FirstScreen, a_name_in_the_outbox, std::u16string(u"anna"), kFolderOutbox)
    ->Unit(benchmark::kMillisecond);

// Filling the search index of 100,000 messages, as the first opening of a store of layout 2
// does: the index is dropped and made again inside a transaction that is rolled back after.
void BM_FillSearchIndex100k(benchmark::State& state) {
    BenchStore& store = HundredThousand();
    sqlite3* raw = nullptr;
    if (sqlite3_open(store.File().c_str(), &raw) != SQLITE_OK) std::abort();
    for (auto _ : state) {
        state.PauseTiming();
        if (sqlite3_exec(raw, "BEGIN IMMEDIATE; DROP TABLE messages_fts", nullptr, nullptr,
                         nullptr) != SQLITE_OK) {
            state.SkipWithError(sqlite3_errmsg(raw));
            break;
        }
        state.ResumeTiming();
        if (CreateSearchIndex(raw) != SQLITE_OK) state.SkipWithError(sqlite3_errmsg(raw));
        state.PauseTiming();
        sqlite3_exec(raw, "ROLLBACK", nullptr, nullptr, nullptr);
        state.ResumeTiming();
    }
    sqlite3_close(raw);
    state.SetItemsProcessed(state.iterations() * 100'000);
}
BENCHMARK(BM_FillSearchIndex100k)->Unit(benchmark::kMillisecond)->Iterations(3);

// One message written and made durable on its own, index included, into the big store.
void BM_WriteMessageWithIndex(benchmark::State& state) {
    BenchStore& store = Million();
    Corpus corpus;
    std::vector<Oid> written;
    int i = 0;
    for (auto _ : state) {
        SmsMessage m = corpus.Message(i++, 1);
        m.time = 0;
        if (!WriteMessage(store.db, m)) state.SkipWithError("write failed");
        written.push_back(m.oid);
    }
    Oid missing = 0;
    store.db.DeleteRecords(written, &missing);  // after the timed loop: not measured
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_WriteMessageWithIndex)->Unit(benchmark::kMillisecond);

// A rewrite that changes the text (the index entry is made again) and one that changes a flag
// only (the index is left alone), durable each.
void BM_RewriteWithIndex(benchmark::State& state) {
    BenchStore& store = Million();
    const bool text = state.range(0) != 0;
    SmsMessage m;
    m.oid = 123'457;
    if (!ReadById(store.db, m)) state.SkipWithError("read failed");
    const std::u16string original = m.text;
    int n = 0;
    for (auto _ : state) {
        if (text) {
            m.text = original + u" " + std::u16string(1, static_cast<char16_t>(u'a' + n++ % 26));
        } else {
            m.flags ^= kFlagUnread;
        }
        if (!WriteMessage(store.db, m)) state.SkipWithError("write failed");
    }
    m.text = original;
    WriteMessage(store.db, m);
    state.SetLabel(text ? "new text" : "flag only");
}
BENCHMARK(BM_RewriteWithIndex)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
