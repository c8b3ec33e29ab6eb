// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/concatenation.h"

#include <cstring>

namespace {

constexpr std::uint8_t kUdhiBit = 0x40;
constexpr std::uint8_t kElementConcat8 = 0x00;
constexpr std::uint8_t kElementConcat16 = 0x08;

}  // namespace

bool ReadConcatenation(const PduRecord* record, ConcatenationInfo* info) {
    *info = ConcatenationInfo{};
    if (record == nullptr || (record->firstOctet & kUdhiBit) == 0) return false;
    const std::uint32_t length = record->headerLength;
    if (length == 0 || length > kHeaderSize) return false;
    const std::uint8_t* h = record->header;
    std::uint32_t i = 0;
    while (i < length) {
        // Every element is its identifier, its length and that many octets, all inside the header.
        if (i + 2 > length) return false;
        const std::uint8_t id = h[i];
        const std::uint32_t size = h[i + 1];
        if (i + 2 + size > length) return false;
        const std::uint8_t* data = h + i + 2;
        if (id == kElementConcat8 || id == kElementConcat16) {
            const bool wide = id == kElementConcat16;
            if (size != (wide ? 4u : 3u)) return false;
            ConcatenationInfo read{};
            read.wideReference = wide;
            read.reference = wide ? static_cast<std::uint16_t>((data[0] << 8) | data[1]) : data[0];
            read.total = data[wide ? 2 : 1];
            read.sequence = data[wide ? 3 : 2];
            if (read.total < 2 || read.sequence == 0 || read.sequence > read.total) return false;
            *info = read;
            return true;
        }
        i += 2 + size;
    }
    return false;
}

void SetConcatenationHeader(PduRecord* record, std::uint8_t reference, std::uint8_t total,
                            std::uint8_t sequence) {
    record->firstOctet |= kUdhiBit;
    const std::uint8_t header[] = {kElementConcat8, 3, reference, total, sequence};
    std::memcpy(record->header, header, sizeof header);
    record->headerLength = sizeof header;
}
