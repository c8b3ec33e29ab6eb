// SPDX-License-Identifier: GPL-3.0-or-later
// The program's string resources, looked up by numeric ID.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

struct ResourceString {
    unsigned id;
    std::u16string_view text;
};

// The text of string resource `id`, zero-terminated and read-only, with its length in
// characters in *length (when length is not null). Null (and a length of 0) when the table has
// no such string.
const char16_t* FindResourceString(unsigned id, std::size_t* length);

// The whole table in ascending ID order; *count receives the number of entries.
const ResourceString* ResourceStringTable(std::size_t* count);

// Texts to answer instead of the table's own, for the user's language: one per entry, in the
// table's order (ResourceStringTable); an empty text keeps the entry's English. Null goes back
// to the table's texts. Set at start, before other threads look strings up (translations.h).
void SetResourceStringTranslations(const std::u16string* texts);
