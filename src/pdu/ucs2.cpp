// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/ucs2.h"

void Ucs2ToText(const std::uint8_t* octets, std::size_t octetCount, char16_t* out,
                std::size_t* count) {
    const std::size_t n = octetCount / 2;
    for (std::size_t k = 0; k < n; ++k) {
        out[k] = static_cast<char16_t>((octets[2 * k] << 8) | octets[2 * k + 1]);
    }
    out[n] = 0;
    *count = n;
}

void TextToUcs2(const char16_t* text, std::size_t n, std::uint8_t* out) {
    for (std::size_t k = 0; k < n; ++k) {
        out[2 * k] = static_cast<std::uint8_t>(text[k] >> 8);
        out[2 * k + 1] = static_cast<std::uint8_t>(text[k] & 0xFF);
    }
}
