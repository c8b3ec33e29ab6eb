// SPDX-License-Identifier: GPL-3.0-or-later
// Runs a libFuzzer entry point over files, without libFuzzer: every argument is a file or a
// directory of files, each handed to LLVMFuzzerTestOneInput once. CTest uses it to check the
// stored corpora (and the inputs of past findings) on every build, sanitizers included.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

bool RunFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // An exact-size copy, so that the sanitizers see a read past the end of the input.
    std::vector<std::uint8_t> exact(bytes.begin(), bytes.end());
    exact.shrink_to_fit();
    LLVMFuzzerTestOneInput(exact.empty() ? nullptr : exact.data(), exact.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path arg(argv[i]);
        std::error_code ec;
        if (std::filesystem::is_directory(arg, ec)) {
            for (const auto& entry : std::filesystem::directory_iterator(arg)) {
                if (!entry.is_regular_file()) continue;
                if (!RunFile(entry.path())) return 1;
                ++files;
            }
        } else {
            if (!RunFile(arg)) return 1;
            ++files;
        }
    }
    std::printf("%d inputs replayed\n", files);
    // An empty corpus checks nothing; treat it as a mistake.
    return files > 0 ? 0 : 1;
}
