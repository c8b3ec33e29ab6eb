// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/store_text.h"

#include <sqlite3.h>

#include "common/text_convert.h"

namespace {

bool WellFormed(std::u16string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c >= 0xD800 && c <= 0xDBFF) {
            if (i + 1 >= text.size() || text[i + 1] < 0xDC00 || text[i + 1] > 0xDFFF) return false;
            ++i;
        } else if (c >= 0xDC00 && c <= 0xDFFF) {
            return false;
        }
    }
    return true;
}

}  // namespace

void BindStoreText(sqlite3_stmt* stmt, int index, std::u16string_view text) {
    if (WellFormed(text)) {
        const std::string utf8 = Utf16ToUtf8(text);
        sqlite3_bind_text(stmt, index, utf8.data(), static_cast<int>(utf8.size()),
                          SQLITE_TRANSIENT);
        return;
    }
    std::string bytes;
    bytes.reserve(text.size() * 2);
    for (char16_t c : text) {
        bytes.push_back(static_cast<char>(c >> 8));
        bytes.push_back(static_cast<char>(c & 0xFF));
    }
    sqlite3_bind_blob(stmt, index, bytes.data(), static_cast<int>(bytes.size()), SQLITE_TRANSIENT);
}

std::u16string ColumnStoreText(sqlite3_stmt* stmt, int column) {
    switch (sqlite3_column_type(stmt, column)) {
        case SQLITE_TEXT: {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
            const int bytes = sqlite3_column_bytes(stmt, column);
            return Utf8ToUtf16(std::string_view(text, static_cast<std::size_t>(bytes)));
        }
        case SQLITE_BLOB:
            return DecodeUtf16Blob(sqlite3_column_blob(stmt, column),
                                   sqlite3_column_bytes(stmt, column));
        default:
            return {};
    }
}

std::u16string DecodeUtf16Blob(const void* data, int bytes) {
    std::u16string out;
    if (data == nullptr || bytes <= 0) return out;
    const auto* p = static_cast<const unsigned char*>(data);
    out.reserve(static_cast<std::size_t>(bytes) / 2);
    for (int i = 0; i + 1 < bytes; i += 2)
        out.push_back(static_cast<char16_t>(p[i] << 8 | p[i + 1]));
    return out;
}
