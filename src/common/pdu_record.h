// SPDX-License-Identifier: GPL-3.0-or-later
// The codec's working record of one PDU (GSM 03.40), shared by the codec, the AT engine, the
// session and the message store. A fixed-size block: coding never allocates.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

struct PduTimeStamp {
    std::uint16_t year;
    std::uint8_t month;
    std::uint8_t day;
    std::uint8_t hour;
    std::uint8_t minute;
    std::uint8_t second;
    std::int16_t zone;  // minutes east of GMT, as decoded (see DecodePdu)
};

constexpr std::size_t kScaDigitsSize = 40;
constexpr std::size_t kAddressDigitsSize = 21;  // 20 digits and the terminating 0
constexpr std::size_t kEncodedSize = 300;
constexpr std::size_t kUserDataSize = 160;
constexpr std::size_t kHeaderSize = 300;

struct PduRecord {
    std::uint8_t scaType;
    char scaDigits[kScaDigitsSize];
    std::uint8_t firstOctet;  // bits 0-1 TP-MTI, 2 MMS/RD, 3-4 VPF, 5 SRI/SRR, 6 UDHI, 7 RP
    std::uint8_t dcs;         // alphabet = (dcs >> 2) & 3
    PduTimeStamp timeStamp;
    std::uint8_t validityPeriod[7];
    std::uint8_t messageReference;
    char addressDigits[kAddressDigitsSize];
    std::uint8_t addressType;  // bits 4-6 type of number, bits 0-3 numbering plan
    std::uint8_t protocolId;
    std::uint8_t encoded[kEncodedSize];
    std::uint32_t encodedLength;
    std::uint32_t tpduLength;
    std::uint32_t userDataLength;
    std::uint8_t userData[kUserDataSize];
    std::uint8_t header[kHeaderSize];
    std::uint32_t headerLength;
    std::uint32_t udl;
    // Where the phone keeps the message (the index of its "+CMGL:" header); the session
    // collects it for deletion after the message is stored.
    std::uint32_t storageIndex;
    // 1 when the text is read and written as the `Unicode` setting asks (UCS2 text, the GSM
    // extension table, 8-bit as ISO-8859-1); 0 for the codec's original reading. Set by the
    // decoder and the part encoder from their CodecOptions; ApplyPduRecord and EncodePdu follow it.
    std::uint8_t unicode;
};

// TP-MTI values of firstOctet.
constexpr std::uint8_t kMtiDeliver = 0;
constexpr std::uint8_t kMtiSubmit = 1;
constexpr std::uint8_t kMtiStatusReport = 2;

// Records are allocated zero-filled with calloc (NewPduRecord) and released with free.
struct PduRecordDeleter {
    void operator()(PduRecord* record) const noexcept { std::free(record); }
};
using PduRecordPtr = std::unique_ptr<PduRecord, PduRecordDeleter>;
