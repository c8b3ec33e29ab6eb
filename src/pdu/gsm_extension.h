// SPDX-License-Identifier: GPL-3.0-or-later
// The GSM 03.38 extension table: the characters written as the escape septet 0x1B followed by a
// second septet (form feed, ^ { } \ [ ~ ] | and the euro sign), and the conversions between text
// and septets that use it. Caller-supplied buffers; nothing allocates.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr std::uint8_t kGsmEscape = 0x1B;

// The character of the escape sequence 0x1B `septet`, or 0 when the table has none.
char16_t GsmExtensionChar(std::uint8_t septet);

// The second septet of the escape sequence for `c`, or 0 when `c` is not in the extension table.
std::uint8_t GsmExtensionSeptet(char16_t c);

// Septets `c` takes in the GSM alphabet with escape pairs: 1, 2 for an extension character, or
// -1 when it has no place there. A table look-up.
int GsmSeptetsOf(char16_t c);

// Septets → text, escape sequences read through the extension table. A sequence the table does
// not know reads as the second septet's own character, and an escape at the very end as a
// blank. Writes at most n characters and a terminating 0 into `out` (room for n + 1 units);
// *count = the characters written.
void SeptetsToTextExtended(const std::uint8_t* septets, std::size_t n, char16_t* out,
                           std::size_t* count);

// Septets the text takes in the GSM alphabet with escape pairs (1 or 2 a character), or -1 when
// a character has no place in it (then the text goes as UCS2). The no-break space, which the
// default table shows in place of the escape code, has no place either.
long GsmSeptetCount(const char16_t* text, std::size_t n);

// Text → septets with escape pairs. `out` has room for `outSize` bytes. False when a character
// has no place in the alphabet or the septets would not fit; *count = the septets written.
bool TextToSeptetsExtended(const char16_t* text, std::size_t n, std::uint8_t* out,
                           std::size_t outSize, std::size_t* count);
