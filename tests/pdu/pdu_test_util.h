// SPDX-License-Identifier: GPL-3.0-or-later
// Helpers of the codec tests: hex text with blanks to octets and back, exact-size input copies.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/pdu_record.h"
#include "pdu/deliver.h"

namespace pdutest {

// "00 04 0A" -> {0x00, 0x04, 0x0A}. Blanks are ignored; the digits must be valid.
inline std::vector<std::uint8_t> Octets(const std::string& text) {
    std::vector<std::uint8_t> out;
    int pending = -1;
    for (char c : text) {
        if (c == ' ') continue;
        int v;
        if (c >= '0' && c <= '9') {
            v = c - '0';
        } else if (c >= 'A' && c <= 'F') {
            v = c - 'A' + 10;
        } else if (c >= 'a' && c <= 'f') {
            v = c - 'a' + 10;
        } else {
            throw std::invalid_argument("bad hex digit in test data");
        }
        if (pending < 0) {
            pending = v;
        } else {
            out.push_back(static_cast<std::uint8_t>(pending << 4 | v));
            pending = -1;
        }
    }
    if (pending >= 0) throw std::invalid_argument("odd hex digits in test data");
    return out;
}

inline std::string Hex(const std::uint8_t* bytes, std::size_t n) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string out;
    for (std::size_t i = 0; i < n; ++i) {
        out.push_back(kDigits[bytes[i] >> 4]);
        out.push_back(kDigits[bytes[i] & 15]);
    }
    return out;
}

inline std::string Hex(const std::vector<std::uint8_t>& bytes) {
    return Hex(bytes.data(), bytes.size());
}

inline std::string Encoded(const PduRecord& r) {
    return Hex(r.encoded, r.encodedLength);
}

// A fresh zero-filled record, freed automatically.
inline PduRecordPtr NewRecord() {
    return PduRecordPtr(NewPduRecord());
}

// Decodes from a heap block of exactly `bytes.size()` octets, so that the address sanitizer
// catches any read past the end.
inline TransferError DecodeExact(PduRecord* record, const std::vector<std::uint8_t>& bytes,
                                 std::uint32_t tpduLength) {
    std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[bytes.size()]);
    if (!bytes.empty()) std::memcpy(copy.get(), bytes.data(), bytes.size());
    return DecodePdu(record, copy.get(), static_cast<std::uint32_t>(bytes.size()), tpduLength);
}

// The SMS-DELIVER that the phone lists for "Hello" from +4930123456, without service centre.
inline const char* kHelloDeliver =
    "00 04 0A 91 94 03 21 43 65 00 00 30 11 51 90 03 50 40 05 C8 32 9B FD 06";

}  // namespace pdutest
