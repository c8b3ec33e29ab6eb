// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/text_measure.h"

#include "pdu/gsm_extension.h"
#include "pdu/ucs2.h"

namespace {

// UCS2 units of the character group starting at text[i] (one character, or a surrogate pair),
// and the UTF-16 units it spans.
struct Group {
    std::uint32_t units;
    std::size_t length;
};

Group Ucs2GroupAt(std::u16string_view text, std::size_t i) {
    if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
        return {2, 2};
    }
    return {1, 1};
}

}  // namespace

TextMeasure MeasureText(std::u16string_view text, const CodecOptions& options) {
    TextMeasure m{};
    m.partStart[0] = 0;
    // One pass counts the septets and, in case the text needs parts, where 7-bit parts start;
    // it stops at the first character that turns the text to UCS2.
    std::uint32_t septets = 0;
    std::uint32_t parts = 1;
    std::uint32_t used = 0;
    bool gsm = true;
    for (std::size_t i = 0; i < text.size(); ++i) {
        int cost = 1;
        if (options.unicode) {
            cost = GsmSeptetsOf(text[i]);
            if (cost < 0) {
                gsm = false;
                break;
            }
        }
        if (used + static_cast<std::uint32_t>(cost) > kPartSeptets) {
            if (parts <= kMaxParts) m.partStart[parts] = i;
            ++parts;
            used = 0;
        }
        used += static_cast<std::uint32_t>(cost);
        septets += static_cast<std::uint32_t>(cost);
    }
    const std::size_t maxParts = options.longSms ? kMaxParts : 1;
    if (gsm) {
        m.encoding = TextEncoding::kGsm7Bit;
        m.units = septets;
        if (septets <= kSinglePartSeptets) {
            parts = 1;
            m.limit = kSinglePartSeptets;
        } else {
            m.limit = kPartSeptets * parts;
        }
    } else {
        m.encoding = TextEncoding::kUcs2;
        m.units = static_cast<std::uint32_t>(text.size());
        parts = 1;
        if (m.units <= kSinglePartUcs2) {
            m.limit = kSinglePartUcs2;
        } else {
            // Parts of 67 units; a surrogate pair goes whole to the next part.
            used = 0;
            for (std::size_t i = 0; i < text.size();) {
                const Group g = Ucs2GroupAt(text, i);
                if (used + g.units > kPartUcs2) {
                    if (parts <= kMaxParts) m.partStart[parts] = i;
                    ++parts;
                    used = 0;
                }
                used += g.units;
                i += g.length;
            }
            m.limit = kPartUcs2 * parts;
        }
    }
    m.parts = parts;
    if (parts <= kMaxParts) m.partStart[parts] = text.size();
    m.tooLong = parts > maxParts;
    return m;
}

std::size_t FittingLength(std::u16string_view text, const CodecOptions& options) {
    if (!MeasureText(text, options).tooLong) return text.size();
    // A shorter beginning never needs more room than a longer one: search the longest that fits.
    std::size_t low = 0;
    std::size_t high = text.size() - 1;  // the whole text does not fit
    while (low < high) {
        const std::size_t middle = low + (high - low + 1) / 2;
        if (MeasureText(text.substr(0, middle), options).tooLong) {
            high = middle - 1;
        } else {
            low = middle;
        }
    }
    if (low > 0 && IsHighSurrogate(text[low - 1]) && low < text.size() &&
        IsLowSurrogate(text[low])) {
        --low;
    }
    return low;
}
