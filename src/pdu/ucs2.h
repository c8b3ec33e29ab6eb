// SPDX-License-Identifier: GPL-3.0-or-later
// UCS2 user data (DCS alphabet 2): big-endian 16-bit units, read and written as UTF-16 so that
// surrogate pairs (emoji and other characters beyond the first plane) survive both ways.
#pragma once

#include <cstddef>
#include <cstdint>

inline bool IsHighSurrogate(char16_t c) {
    return c >= 0xD800 && c <= 0xDBFF;
}
inline bool IsLowSurrogate(char16_t c) {
    return c >= 0xDC00 && c <= 0xDFFF;
}

// `octets` big-endian pairs → UTF-16 units in `out` (room for octets / 2 + 1 units, 0-terminated);
// an odd last octet is ignored. *count = octets / 2.
void Ucs2ToText(const std::uint8_t* octets, std::size_t octetCount, char16_t* out,
                std::size_t* count);

// n UTF-16 units → 2n big-endian octets in `out`.
void TextToUcs2(const char16_t* text, std::size_t n, std::uint8_t* out);
