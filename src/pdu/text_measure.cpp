// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/text_measure.h"

#include "pdu/gsm_extension.h"
#include "pdu/ucs2.h"

namespace {

// Units of the character group starting at text[i] (one character, or a surrogate pair), and
// the UTF-16 units it spans.
struct Group {
    std::uint32_t units;
    std::size_t length;
};

Group GroupAt(std::u16string_view text, std::size_t i, TextEncoding encoding, bool escapes) {
    const char16_t c = text[i];
    if (encoding == TextEncoding::kUcs2) {
        if (IsHighSurrogate(c) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            return {2, 2};
        }
        return {1, 1};
    }
    if (escapes && GsmExtensionSeptet(c) != 0) return {2, 1};
    return {1, 1};
}

}  // namespace

TextMeasure MeasureText(std::u16string_view text, const CodecOptions& options) {
    TextMeasure m{};
    m.encoding = TextEncoding::kGsm7Bit;
    long septets = static_cast<long>(text.size());
    if (options.unicode) {
        septets = GsmSeptetCount(text.data(), text.size());
        if (septets < 0) m.encoding = TextEncoding::kUcs2;
    }
    const bool ucs2 = m.encoding == TextEncoding::kUcs2;
    m.units = ucs2 ? static_cast<std::uint32_t>(text.size()) : static_cast<std::uint32_t>(septets);
    const std::uint32_t single = ucs2 ? kSinglePartUcs2 : kSinglePartSeptets;
    const std::uint32_t perPart = ucs2 ? kPartUcs2 : kPartSeptets;
    const std::size_t maxParts = options.longSms ? kMaxParts : 1;

    m.partStart[0] = 0;
    if (m.units <= single) {
        m.parts = 1;
        m.limit = single;
        m.partStart[1] = text.size();
        m.tooLong = false;
        return m;
    }
    // Parts fill up to perPart units each; a pair (escape or surrogate) goes whole to the next.
    std::uint32_t parts = 1;
    std::uint32_t used = 0;
    for (std::size_t i = 0; i < text.size();) {
        const Group g = GroupAt(text, i, m.encoding, options.unicode);
        if (used + g.units > perPart) {
            if (parts <= kMaxParts) m.partStart[parts] = i;
            ++parts;
            used = 0;
        }
        used += g.units;
        i += g.length;
    }
    m.parts = parts;
    if (parts <= kMaxParts) m.partStart[parts] = text.size();
    m.limit = perPart * parts;
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
