// SPDX-License-Identifier: GPL-3.0-or-later
#include "resources/string_table.h"

#include <algorithm>
#include <atomic>
#include <iterator>

namespace {

constexpr ResourceString kStrings[] = {
#include "resources/strings.inc"
};

// The lookup is a binary search, so the table must stay strictly ascending (which also makes
// every ID unique). Checked when the program is built.
constexpr bool IsStrictlyAscending() {
    for (std::size_t i = 1; i < std::size(kStrings); ++i) {
        if (kStrings[i - 1].id >= kStrings[i].id) return false;
    }
    return true;
}
static_assert(IsStrictlyAscending(), "string IDs must be unique and in ascending order");

std::atomic<const std::u16string*> translations{nullptr};

}  // namespace

const char16_t* FindResourceString(unsigned id, std::size_t* length) {
    const auto* end = std::end(kStrings);
    const auto* it =
        std::lower_bound(std::begin(kStrings), end, id,
                         [](const ResourceString& entry, unsigned key) { return entry.id < key; });
    if (it == end || it->id != id) {
        if (length != nullptr) *length = 0;
        return nullptr;
    }
    const std::u16string* translated = translations.load(std::memory_order_acquire);
    if (translated != nullptr) {
        const std::u16string& text = translated[it - std::begin(kStrings)];
        if (!text.empty()) {
            if (length != nullptr) *length = text.size();
            return text.c_str();
        }
    }
    if (length != nullptr) *length = it->text.size();
    // Every entry is a string literal, so the view's data is zero-terminated.
    return it->text.data();
}

const ResourceString* ResourceStringTable(std::size_t* count) {
    if (count != nullptr) *count = std::size(kStrings);
    return kStrings;
}

void SetResourceStringTranslations(const std::u16string* texts) {
    translations.store(texts, std::memory_order_release);
}
