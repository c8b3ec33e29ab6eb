// SPDX-License-Identifier: GPL-3.0-or-later
// Conversions between the UTF-16 text of the program and UTF-8 at its edges (command line,
// JSON, files, Qt is separate). Unpaired surrogates and invalid UTF-8 become U+FFFD.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

std::string Utf16ToUtf8(std::u16string_view text);
std::u16string Utf8ToUtf16(std::string_view text);

// Appends one code point (below 0x110000) as UTF-8.
void AppendUtf8(std::string* out, std::uint32_t codePoint);
