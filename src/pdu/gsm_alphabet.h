// SPDX-License-Identifier: GPL-3.0-or-later
// The lowest layer of the PDU codec: the GSM 03.38 default alphabet, septet packing and
// swapped-BCD semi-octets (numbers and time fields). The hexadecimal text in which PDUs travel
// is common/hex.h, included for the codec's users. Everything works on caller-supplied buffers
// and allocates nothing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/hex.h"
#include "common/transfer_error.h"

// Septet value 0-127 → UTF-16 code unit.
extern const std::uint16_t kGsmAlphabet[128];

// Writes n characters and a terminating 0 into `out` (room for n + 1 units); *count = n.
void SeptetsToText(const std::uint8_t* septets, std::size_t n, char16_t* out, std::size_t* count);

// Writes n septet values and a terminating 0 into `out` (room for n + 1 bytes); *count = n.
void TextToSeptets(const char16_t* text, std::size_t n, std::uint8_t* out, std::size_t* count);

// Appends ceil(7n/8) packed octets at out[*index] and advances *index.
void PackSeptets(const std::uint8_t* septets, std::size_t n, std::uint8_t* out, std::size_t* index);

// Writes n septet values (0-127) unpacked from `packed` (which holds ceil(7n/8) octets).
void UnpackSeptets(const std::uint8_t* packed, std::size_t n, std::uint8_t* out);

int OctetsForSeptets(int n);  // ceil(7n/8)
int SeptetsForOctets(int n);  // ceil(8n/7)

// Writes the type-of-address byte (bit 7 forced) and the digits as swapped semi-octets at
// out[*index], advancing *index. A character other than '0'-'9' gives 4.
TransferError EncodeAddressDigits(std::uint8_t* out, std::size_t* index, std::uint8_t type,
                                  const char* digits);

// Reads `count` octets (the type-of-address byte first) into 0-terminated ASCII digits in `out`,
// which has room for `outSize` bytes (result 4 if the digits would not fit), and the type byte.
TransferError DecodeAddressDigits(const std::uint8_t* in, std::size_t count, char* out,
                                  std::size_t outSize, std::uint8_t* type);

std::uint8_t ToSwappedBcd(unsigned value);
unsigned FromSwappedBcd(std::uint8_t octet);
