// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/gsm_extension.h"

#include "pdu/gsm_alphabet.h"

namespace {

struct ExtensionEntry {
    std::uint8_t septet;
    char16_t character;
};

// GSM 03.38 extension table: the second septet of each escape pair and its character.
constexpr ExtensionEntry kExtension[] = {
    {0x0A, u'\f'}, {0x14, u'^'}, {0x28, u'{'}, {0x29, u'}'}, {0x2F, u'\\'},
    {0x3C, u'['},  {0x3D, u'~'}, {0x3E, u']'}, {0x40, u'|'}, {0x65, u'\u20AC'},
};

// Default-table septet of every character below U+0400 (the table holds nothing beyond the Greek
// capitals); -1 for none. The no-break space stands in the table only in place of the escape
// code, so it has no septet of its own. Built once.
struct DefaultLookup {
    signed char septet[0x400];
    signed char cost[0x400];  // septets with escape pairs: 1, 2 or -1
    DefaultLookup() {
        for (int c = 0; c < 0x400; ++c) septet[c] = static_cast<signed char>(-1);
        for (int k = 127; k >= 0; --k) {
            if (kGsmAlphabet[k] < 0x400) septet[kGsmAlphabet[k]] = static_cast<signed char>(k);
        }
        septet[0xA0] = -1;
        for (int c = 0; c < 0x400; ++c) {
            cost[c] = static_cast<signed char>(septet[c] >= 0 ? 1 : -1);
        }
        for (const ExtensionEntry& e : kExtension) {
            if (e.character < 0x400 && septet[e.character] < 0) cost[e.character] = 2;
        }
    }
};

// Built at start-up from the constant alphabet table, so that a look-up needs no guard.
const DefaultLookup kLookup;

const DefaultLookup& Lookup() {
    return kLookup;
}

int LookupSeptet(char16_t c) {
    return c < 0x400 ? Lookup().septet[c] : -1;
}

}  // namespace

char16_t GsmExtensionChar(std::uint8_t septet) {
    for (const ExtensionEntry& e : kExtension) {
        if (e.septet == septet) return e.character;
    }
    return 0;
}

std::uint8_t GsmExtensionSeptet(char16_t c) {
    for (const ExtensionEntry& e : kExtension) {
        if (e.character == c) return e.septet;
    }
    return 0;
}

void SeptetsToTextExtended(const std::uint8_t* septets, std::size_t n, char16_t* out,
                           std::size_t* count) {
    std::size_t k = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const std::uint8_t s = septets[i] & 0x7F;
        if (s != kGsmEscape) {
            out[k++] = static_cast<char16_t>(kGsmAlphabet[s]);
            continue;
        }
        if (i + 1 == n) {
            out[k++] = u' ';
            break;
        }
        const std::uint8_t next = septets[++i] & 0x7F;
        const char16_t c = GsmExtensionChar(next);
        out[k++] = c != 0 ? c : static_cast<char16_t>(kGsmAlphabet[next]);
    }
    out[k] = 0;
    *count = k;
}

int GsmSeptetsOf(char16_t c) {
    if (c < 0x400) return Lookup().cost[c];
    return c == u'\u20AC' ? 2 : -1;  // the euro sign is the extension table's only one above
}

long GsmSeptetCount(const char16_t* text, std::size_t n) {
    long septets = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const int cost = GsmSeptetsOf(text[i]);
        if (cost < 0) return -1;
        septets += cost;
    }
    return septets;
}

bool TextToSeptetsExtended(const char16_t* text, std::size_t n, std::uint8_t* out,
                           std::size_t outSize, std::size_t* count) {
    std::size_t k = 0;
    *count = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const int septet = LookupSeptet(text[i]);
        if (septet >= 0) {
            if (k + 1 > outSize) return false;
            out[k++] = static_cast<std::uint8_t>(septet);
            continue;
        }
        const std::uint8_t second = GsmExtensionSeptet(text[i]);
        if (second == 0 || k + 2 > outSize) return false;
        out[k++] = kGsmEscape;
        out[k++] = second;
    }
    *count = k;
    return true;
}
