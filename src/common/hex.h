// SPDX-License-Identifier: GPL-3.0-or-later
// The hexadecimal text of octets: how PDUs travel in AT commands and listings, and how the
// `velkan` command shows and takes them. Upper-case digits out; digits of either case in.
// Nothing here allocates (HexTextToBuffer excepted).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/transfer_error.h"

// The value of a hexadecimal digit ('0'-'9', 'A'-'F', 'a'-'f'), or -1 for any other byte.
int HexDigitValue(std::uint8_t c);
inline bool IsHexDigit(std::uint8_t c) {
    return HexDigitValue(c) >= 0;
}

// Two upper-case digits per byte, high nibble first, then a terminating 0 (`out` has room for
// 2 * count + 1).
void BytesToHex(const std::uint8_t* bytes, std::size_t count, char* out);

// Decodes `length` characters into length / 2 bytes. Odd length or a character that is neither
// a digit nor a letter gives 4. Deliberately loose about letters: any letter counts from 10
// upward in either case (so "G" is 16), and each pair is truncated to its octet. Callers that
// must tell hex text from other text check it with IsHexDigit first.
TransferError HexToBytes(const char* hex, std::size_t length, std::uint8_t* out);

// Sizes `buffer` to strlen(hex) / 2 and fills it with HexToBytes.
TransferError HexTextToBuffer(const char* hex, std::vector<std::uint8_t>* buffer);
