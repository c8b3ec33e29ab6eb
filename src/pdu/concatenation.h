// SPDX-License-Identifier: GPL-3.0-or-later
// Concatenated messages: the user-data header elements 0x00 (8-bit reference) and 0x08 (16-bit
// reference) that tie the parts of one long message together.
#pragma once

#include <cstdint>

#include "common/pdu_record.h"

struct ConcatenationInfo {
    std::uint16_t reference;  // the 8-bit reference widened, or the 16-bit one
    std::uint8_t total;       // parts of the message, 2 or more
    std::uint8_t sequence;    // this part's number, 1 to total
    bool wideReference;       // true for element 0x08
};

// Reads the first concatenation element of a decoded record's header. False (and *info zeroed)
// when the record has no header or no such element, or when the header is malformed: an element
// running beyond the header, a concatenation element of the wrong length, a total below 2, a
// sequence of 0 or above the total. Such a message is read as a message of its own.
bool ReadConcatenation(const PduRecord* record, ConcatenationInfo* info);

// Makes the record carry the header 05 00 03 reference total sequence (TP-UDHI set).
void SetConcatenationHeader(PduRecord* record, std::uint8_t reference, std::uint8_t total,
                            std::uint8_t sequence);
