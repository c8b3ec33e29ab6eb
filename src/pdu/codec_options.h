// SPDX-License-Identifier: GPL-3.0-or-later
// The two ways of reading and writing messages beyond the codec's original one, as the settings
// `Unicode` and `LongSms` switch them on. All false is exactly the original codec.
#pragma once

#include <cstddef>

struct CodecOptions {
    // UCS2 text as UTF-16 (surrogate pairs kept), 7-bit escape sequences through the GSM 03.38
    // extension table, 8-bit text as ISO-8859-1; sending in the GSM alphabet (with escape pairs)
    // when the text fits it, otherwise in UCS2.
    bool unicode = false;
    // Sending a text that needs more than one message as up to kMaxParts concatenated parts.
    bool longSms = false;
};

// The most parts one long message is sent as.
constexpr std::size_t kMaxParts = 10;
