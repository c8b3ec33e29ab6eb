// SPDX-License-Identifier: GPL-3.0-or-later
// How a text will be sent: its alphabet, the units it takes, and where it is split into parts.
// The compose counter, the length check and the part encoder all use this one measure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "pdu/codec_options.h"

enum class TextEncoding { kGsm7Bit, kUcs2 };

constexpr std::uint32_t kSinglePartSeptets = 160;
constexpr std::uint32_t kSinglePartUcs2 = 70;
constexpr std::uint32_t kPartSeptets = 153;  // a part's 160 septets less its header's 7
constexpr std::uint32_t kPartUcs2 = 67;      // a part's 70 units less its header's 3

struct TextMeasure {
    TextEncoding encoding;
    std::uint32_t units;  // septets (an escape pair counts 2) or UTF-16 units
    std::uint32_t parts;  // parts the text needs (1 for an empty text), even beyond the maximum
    std::uint32_t limit;  // units the parts used can hold: 160 or 70 for one, 153 or 67 a part
    bool tooLong;         // more than kMaxParts parts, or more than one without longSms
    // UTF-16 offsets where each part starts (partStart[parts] = the text's length); filled for
    // up to kMaxParts parts.
    std::size_t partStart[kMaxParts + 1];
};

// Measures `text` as it would be sent with `options`. With both options off: 7-bit, one unit a
// character, limit 160. With unicode on the text is 7-bit when every character has a place in
// the GSM alphabet (extension characters count 2), otherwise UCS2. Parts never split an escape
// pair or a surrogate pair.
TextMeasure MeasureText(std::u16string_view text, const CodecOptions& options);

// The longest leading part of `text`, in UTF-16 units, that can be sent with `options` (in one
// message, or in kMaxParts with longSms); never ends inside a surrogate pair. The compose dialog
// cuts typed text here.
std::size_t FittingLength(std::u16string_view text, const CodecOptions& options);
