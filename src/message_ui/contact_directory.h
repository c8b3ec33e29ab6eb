// SPDX-License-Identifier: GPL-3.0-or-later
// The contacts that the contact picker offers: every card with a mobile number in the vCard
// files (*.vcf, *.vcard) of a contacts folder and its sub-folders.
//
// Loading reads each file once and keeps an index of the cards that have a mobile number; a
// contact's name and number are decoded only when Fetch asks for them, so that a folder of
// many thousands of contacts opens quickly. Files that cannot be read, that look binary or
// that are larger than the size cap are skipped, as are malformed cards; nothing of that is
// an error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "message_ui/vcard_reader.h"

class ContactDirectory {
  public:
    // Files larger than this are skipped.
    static constexpr std::size_t kDefaultMaxFileBytes = 4u * 1024u * 1024u;

    // Which cards are kept: those with a mobile number (the picker's), or those with a mobile,
    // home or work number (the names of known numbers).
    enum class Cards { kMobile, kAnyPhone };

    // Replaces the contents with the contacts found under `path` (a folder, searched
    // recursively, or a single file). A missing or unreadable path gives no contacts. Returns
    // the number of contacts.
    std::size_t Load(const std::string& path, std::size_t maxFileBytes = kDefaultMaxFileBytes,
                     Cards cards = Cards::kMobile);
    void Clear();

    std::size_t Count() const { return entries_.size(); }
    // The files that were read and kept (those with at least one contact).
    std::size_t FileCount() const { return files_.size(); }
    // Contact `index` (0-based, in the order of the files by path and of the cards in them),
    // decoded now. False (and `contact` empty) when the index is out of range.
    // For kAnyPhone, the home and work numbers are filled too.
    bool Fetch(std::size_t index, VCardContact* contact) const;
    // Every vCard file and folder the last Load looked at, files with no contacts included,
    // so that a watcher can tell when the contacts may have changed.
    const std::vector<std::string>& SeenFiles() const { return seenFiles_; }
    const std::vector<std::string>& SeenFolders() const { return seenFolders_; }

  private:
    struct Entry {
        std::uint32_t file;
        std::size_t offset;
        std::size_t length;
    };
    std::vector<std::string> files_;
    std::vector<Entry> entries_;
    Cards cards_ = Cards::kMobile;
    std::vector<std::string> seenFiles_;
    std::vector<std::string> seenFolders_;
};

// The default contacts folder: "contacts" in the user's data folder ($XDG_DATA_HOME, else
// ~/.local/share). Empty when neither can be determined.
std::string DefaultContactsFolder();

// A leading "~/" (or a lone "~") in `path` stands for the home folder.
std::string ExpandHomeFolder(const std::string& path);
