// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/contact_directory.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

namespace {

// Deeper folders than this are not searched (a guard against pathological trees).
constexpr int kMaxDepth = 32;

bool IsVCardFile(const fs::path& path) {
    std::string ext = path.extension().string();
    for (char& c : ext) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return ext == ".vcf" || ext == ".vcard";
}

// The whole file, or false when it cannot be read or is larger than `maxBytes`.
bool ReadWholeFile(const fs::path& path, std::size_t maxBytes, std::string* out) {
    std::error_code ec;
    const std::uintmax_t size = fs::file_size(path, ec);
    if (ec || size > maxBytes) return false;
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    out->assign(static_cast<std::size_t>(size), '\0');
    in.read(out->data(), static_cast<std::streamsize>(size));
    out->resize(static_cast<std::size_t>(in.gcount()));
    // A file that grew since its size was taken is read no further than the cap allows.
    if (in && in.peek() != std::char_traits<char>::eof()) return false;
    return !in.bad();
}

std::vector<fs::path> FindVCardFiles(const std::string& root, std::vector<std::string>* folders) {
    std::vector<fs::path> files;
    std::error_code ec;
    const fs::path base(root);
    if (fs::is_regular_file(base, ec)) {
        files.push_back(base);
        return files;
    }
    if (!fs::is_directory(base, ec)) return files;
    folders->push_back(base.string());
    fs::recursive_directory_iterator it(base, fs::directory_options::skip_permission_denied, ec);
    const fs::recursive_directory_iterator end;
    while (!ec && it != end) {
        std::error_code entryEc;
        if (it.depth() >= kMaxDepth) it.disable_recursion_pending();
        if (it->is_regular_file(entryEc) && !entryEc && IsVCardFile(it->path())) {
            files.push_back(it->path());
        } else if (it->is_directory(entryEc) && !entryEc) {
            folders->push_back(it->path().string());
        }
        it.increment(ec);
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

void ContactDirectory::Clear() {
    files_.clear();
    entries_.clear();
    seenFiles_.clear();
    seenFolders_.clear();
}

std::size_t ContactDirectory::Load(const std::string& path, std::size_t maxFileBytes, Cards cards) {
    Clear();
    cards_ = cards;
    if (path.empty()) return 0;
    std::vector<VCardSpan> spans;
    for (const fs::path& file : FindVCardFiles(path, &seenFolders_)) {
        seenFiles_.push_back(file.string());
        std::string text;
        if (!ReadWholeFile(file, maxFileBytes, &text) || !PrepareVCardText(&text)) continue;
        spans.clear();
        if (cards == Cards::kAnyPhone) {
            IndexPhoneCards(text, &spans);
        } else {
            IndexMobileCards(text, &spans);
        }
        if (spans.empty()) continue;
        const auto fileIndex = static_cast<std::uint32_t>(files_.size());
        for (const VCardSpan& span : spans)
            entries_.push_back({fileIndex, span.offset, span.length});
        files_.push_back(std::move(text));
    }
    return entries_.size();
}

bool ContactDirectory::Fetch(std::size_t index, VCardContact* contact) const {
    *contact = VCardContact{};
    if (index >= entries_.size()) return false;
    const Entry& e = entries_[index];
    const std::string& text = files_[e.file];
    const std::string_view card = std::string_view(text).substr(e.offset, e.length);
    return cards_ == Cards::kAnyPhone ? ReadVCardPhones(card, contact) : ReadVCard(card, contact);
}

std::string DefaultContactsFolder() {
    const char* data = std::getenv("XDG_DATA_HOME");
    if (data != nullptr && data[0] == '/') return std::string(data) + "/contacts";
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] != '\0') return std::string(home) + "/.local/share/contacts";
    return std::string();
}

std::string ExpandHomeFolder(const std::string& path) {
    if (path == "~" || path.rfind("~/", 0) == 0) {
        const char* home = std::getenv("HOME");
        if (home != nullptr && home[0] != '\0') return std::string(home) + path.substr(1);
    }
    return path;
}
