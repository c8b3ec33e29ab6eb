// SPDX-License-Identifier: GPL-3.0-or-later
// libFuzzer entry point for HexToBytes and HexTextToBuffer: the input is the hex text itself.
//
// The result is checked against an independent reading of the rules: even length and only
// ASCII digits and letters succeed, each pair giving (first << 4 | second) truncated to 8 bits,
// where letters count from 10 upward in either case.
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "pdu/gsm_alphabet.h"

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

int ReferenceValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    if (c >= 'a' && c <= 'z') return c - 'a' + 10;
    return -1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 4096) return 0;
    const char* hex = reinterpret_cast<const char*>(data);

    bool valid = size % 2 == 0;
    for (std::size_t i = 0; valid && i < size; ++i) valid = ReferenceValue(hex[i]) >= 0;

    // Exactly the room the text needs, so that a write beyond it is caught.
    std::unique_ptr<std::uint8_t[]> out(new std::uint8_t[size / 2]);
    const TransferError err = HexToBytes(hex, size, out.get());
    Check(err == (valid ? kErrNone : kErrInvalidParameter));
    if (err == kErrNone) {
        bool canonical = true;
        for (std::size_t i = 0; i < size / 2; ++i) {
            const int hi = ReferenceValue(hex[2 * i]);
            const int lo = ReferenceValue(hex[2 * i + 1]);
            Check(out[i] == static_cast<std::uint8_t>(hi << 4 | lo));
            canonical = canonical && hi < 16 && lo < 16;
        }
        if (canonical) {
            // Proper hex digits come back from BytesToHex, in upper case.
            std::unique_ptr<char[]> text(new char[size + 1]);
            BytesToHex(out.get(), size / 2, text.get());
            for (std::size_t i = 0; i < size; ++i) {
                const char c =
                    hex[i] >= 'a' && hex[i] <= 'f' ? static_cast<char>(hex[i] - 32) : hex[i];
                Check(text[i] == c);
            }
            Check(text[size] == 0);
        }
    }

    // The string wrapper stops at the first NUL.
    std::unique_ptr<char[]> terminated(new char[size + 1]);
    if (size > 0) std::memcpy(terminated.get(), hex, size);
    terminated[size] = 0;
    std::vector<std::uint8_t> buffer;
    const TransferError wrapped = HexTextToBuffer(terminated.get(), &buffer);
    Check(wrapped == kErrNone || wrapped == kErrInvalidParameter);
    Check(buffer.size() == std::strlen(terminated.get()) / 2);
    return 0;
}
