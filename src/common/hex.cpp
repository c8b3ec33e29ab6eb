// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/hex.h"

#include <cstring>

namespace {

const char kHexDigits[] = "0123456789ABCDEF";

// HexToBytes' reading of a character: any letter counts from 10 upward. -1 for anything else.
int LooseDigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    if (c >= 'a' && c <= 'z') return c - 'a' + 10;
    return -1;
}

}  // namespace

int HexDigitValue(std::uint8_t c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

void BytesToHex(const std::uint8_t* bytes, std::size_t count, char* out) {
    for (std::size_t i = 0; i < count; ++i) {
        out[2 * i] = kHexDigits[bytes[i] >> 4];
        out[2 * i + 1] = kHexDigits[bytes[i] & 0x0F];
    }
    out[2 * count] = 0;
}

TransferError HexToBytes(const char* hex, std::size_t length, std::uint8_t* out) {
    if (length % 2 != 0) return kErrInvalidParameter;
    for (std::size_t i = 0; i < length; i += 2) {
        const int high = LooseDigitValue(hex[i]);
        const int low = LooseDigitValue(hex[i + 1]);
        if (high < 0 || low < 0) return kErrInvalidParameter;
        out[i / 2] = static_cast<std::uint8_t>((high << 4) | low);
    }
    return kErrNone;
}

TransferError HexTextToBuffer(const char* hex, std::vector<std::uint8_t>* buffer) {
    if (hex == nullptr || buffer == nullptr) return kErrInvalidParameter;
    const std::size_t length = std::strlen(hex);
    buffer->assign(length / 2, 0);
    return HexToBytes(hex, length, buffer->data());
}
