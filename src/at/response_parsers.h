// SPDX-License-Identifier: GPL-3.0-or-later
// The information lines the engine reads, as pure functions over one line's bytes (without its
// CR LF; NUL bytes are data). They fail closed: a line that does not match in full gives false
// and leaves every output as it was.
#pragma once

#include <cstdint>

// "+CPMS: <used>,<total>[,...]": the counts of the memory read from, the first pair. The rest of
// the line is not looked at.
bool ParseCpmsLine(const std::uint8_t* line, std::uint32_t length, std::int32_t* used,
                   std::int32_t* total);

// One header of an "AT+CMGL" listing in PDU mode.
struct CmglHeader {
    std::int32_t index;   // the message's storage index
    std::int32_t status;  // received unread / read, stored unsent / sent
    std::int32_t length;  // TPDU octets of the PDU line that follows; 0: none follows
};

// "+CMGL: <index>,<status>,[<alpha>],<length>". The alpha field may be empty (two commas in a
// row) or a quoted name, whose text is passed over; anything after the length is not looked at.
bool ParseCmglHeader(const std::uint8_t* line, std::uint32_t length, CmglHeader* header);
