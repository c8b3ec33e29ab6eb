// SPDX-License-Identifier: GPL-3.0-or-later
// libFuzzer entry point for the vCard reader and the contact folder built on it.
//
// Input: the raw bytes of one contacts file. They go through PrepareVCardText, the index of the
// cards with a mobile number and the reading of each indexed card, and then, as a file, through
// ContactDirectory::Load and Fetch, the way the contact picker opens a folder.
//
// Beyond "no crash": every card that the index keeps must read back as a contact with a mobile
// number (the picker would otherwise show a row it cannot fill), the spans must lie inside the
// text in order without overlapping, and the folder must offer exactly those contacts. The
// cards with a mobile, home or work number read back with one of them.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "message_ui/contact_directory.h"
#include "message_ui/contact_names.h"
#include "message_ui/vcard_reader.h"

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

// The bytes as a file that has a path but never touches the disk, so that the fuzzer does not
// wear the file system and parallel runs cannot meet in one file.
class MemoryFile {
  public:
    MemoryFile(const std::uint8_t* data, std::size_t size) {
        fd_ = memfd_create("vcard_fuzz", 0);
        if (fd_ < 0) return;
        std::size_t done = 0;
        while (done < size) {
            const ssize_t n = write(fd_, data + done, size - done);
            if (n <= 0) {
                close(fd_);
                fd_ = -1;
                return;
            }
            done += static_cast<std::size_t>(n);
        }
        char path[64];
        std::snprintf(path, sizeof path, "/proc/self/fd/%d", fd_);
        path_ = path;
    }
    ~MemoryFile() {
        if (fd_ >= 0) close(fd_);
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    const std::string& Path() const { return path_; }

  private:
    int fd_ = -1;
    std::string path_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 65536) return 0;
    std::string text(reinterpret_cast<const char*>(data), size);
    const bool usable = PrepareVCardText(&text);
    Check(!usable || text.find('\0') == std::string::npos);

    std::vector<VCardSpan> spans;
    std::vector<VCardContact> contacts;
    if (usable) {
        IndexMobileCards(text, &spans);
        std::size_t end = 0;
        for (const VCardSpan& span : spans) {
            Check(span.offset >= end && span.length > 0);
            Check(span.offset <= text.size() && span.length <= text.size() - span.offset);
            end = span.offset + span.length;
            VCardContact contact;
            Check(ReadVCard(std::string_view(text).substr(span.offset, span.length), &contact));
            Check(!contact.mobile.empty());
            contacts.push_back(std::move(contact));
        }
    }
    // Any text at all may be handed to the reader; it must answer, not crash.
    VCardContact whole;
    if (!ReadVCard(text, &whole)) Check(whole.name.empty() && whole.mobile.empty());

    MemoryFile file(data, size);
    if (file.Path().empty()) return 0;
    ContactDirectory directory;
    const std::size_t count = directory.Load(file.Path());
    Check(count == directory.Count());
    Check(count == contacts.size());
    Check(directory.FileCount() == (count > 0 ? 1u : 0u));
    for (std::size_t i = 0; i < count; ++i) {
        VCardContact contact;
        Check(directory.Fetch(i, &contact));
        Check(contact.name == contacts[i].name && contact.mobile == contacts[i].mobile);
    }
    VCardContact none;
    Check(!directory.Fetch(count, &none) && none.mobile.empty());

    // The cards with any of the three numbers, as the names of known numbers read them: a
    // superset of the mobile cards, each with a number, and every one found by its numbers.
    if (usable) {
        std::vector<VCardSpan> phoneSpans;
        IndexPhoneCards(text, &phoneSpans);
        Check(phoneSpans.size() >= spans.size());
        for (const VCardSpan& span : phoneSpans) {
            VCardContact contact;
            Check(
                ReadVCardPhones(std::string_view(text).substr(span.offset, span.length), &contact));
            Check(!(contact.mobile.empty() && contact.home.empty() && contact.work.empty()));
            ContactNameIndex index;
            index.Add(contact.name, {contact.mobile, contact.home, contact.work});
            for (const std::u16string* number : {&contact.mobile, &contact.home, &contact.work}) {
                const std::u16string* found = index.Find(*number);
                if (contact.name.empty() || found == nullptr) continue;
                Check(*found == contact.name);
            }
        }
    }
    return 0;
}
