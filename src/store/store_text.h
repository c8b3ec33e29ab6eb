// SPDX-License-Identifier: GPL-3.0-or-later
// How the store keeps text: as TEXT (UTF-8) that anyone can read with sqlite3, unless the
// UTF-16 string holds an unpaired surrogate, which UTF-8 cannot carry; such a string is kept as
// a BLOB of big-endian UTF-16 code units, so that every string comes back exactly as written.
// A value is bound the way it is stored, so that equal strings compare equal in SQL.
#pragma once

#include <string>
#include <string_view>

struct sqlite3_stmt;

void BindStoreText(sqlite3_stmt* stmt, int index, std::u16string_view text);
// NULL reads as the empty string.
std::u16string ColumnStoreText(sqlite3_stmt* stmt, int column);

// The big-endian UTF-16 blob form, as the layout before the readable one kept every string.
std::u16string DecodeUtf16Blob(const void* data, int bytes);
