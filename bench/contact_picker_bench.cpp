// SPDX-License-Identifier: GPL-3.0-or-later
// The contact picker opening on an address book of 10,000 contacts (100 vCard files of 100 cards,
// versions 2.1, 3.0 and 4.0 mixed, every third contact without a mobile number) in a folder of
// its own under the temporary folder, on the offscreen platform:
//
//   build/default/bench/velkan_contact_picker_bench
//
// Open: a new picker reads the folder, fills its list and draws its first screen, then ends.
// Writing the files is not timed.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QApplication>
#include <QTimer>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "framework/ui/ui_fonts.h"
#include "message_ui/ui/contact_picker_dialog.h"

namespace {

constexpr int kFiles = 100;
constexpr int kCardsPerFile = 100;

class BenchAddressBook {
  public:
    BenchAddressBook() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "velkan-picker-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        dir_ = pattern;
        const char* versions[] = {"2.1", "3.0", "4.0"};
        for (int f = 0; f < kFiles; ++f) {
            std::ofstream out(dir_ + "/book" + std::to_string(f) + ".vcf");
            for (int c = 0; c < kCardsPerFile; ++c) {
                const int n = f * kCardsPerFile + c;
                const char* version = versions[n % 3];
                out << "BEGIN:VCARD\r\nVERSION:" << version << "\r\n"
                    << "FN:Contact Number " << n << "\r\n"
                    << "N:Number " << n << ";Contact;;;\r\n"
                    << "EMAIL:contact" << n << "@example.org\r\n";
                if (n % 3 != 2) {
                    out << (version[0] == '2' ? "TEL;CELL:" : "TEL;TYPE=CELL:") << "+49 170 "
                        << 1000000 + n << "\r\n";
                }
                out << "TEL;TYPE=HOME:+49 30 " << 2000000 + n << "\r\nEND:VCARD\r\n";
            }
        }
    }
    ~BenchAddressBook() {
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    const std::string& Dir() const { return dir_; }

  private:
    std::string dir_;
};

BenchAddressBook* g_book = nullptr;

void BM_OpenPicker(benchmark::State& state) {
    int listed = 0;
    for (auto _ : state) {
        ContactPickerDialog picker;
        picker.SetContactsFolder(g_book->Dir());
        QTimer::singleShot(0, &picker, [&picker, &listed] {
            picker.grab();  // the first screen, drawn
            listed = picker.ContactCount();
            picker.EndDialog(IDCANCEL);
        });
        picker.RunPage(nullptr);
    }
    state.counters["contacts_listed"] = listed;
}
BENCHMARK(BM_OpenPicker)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    CreateUiFonts();
    BenchAddressBook book;
    g_book = &book;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
