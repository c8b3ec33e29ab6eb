// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/gsm_alphabet.h"

#include <cstring>

// GSM 03.38 default alphabet, indexed by septet value. Two rows differ from the standard table on
// purpose: 0x09 is the small c with cedilla (the lower-case form is what users type far more
// often), and the escape code 0x1B shows as a no-break space because the extension table is not
// supported; an escape sequence therefore reads as a blank followed by its second character.
const std::uint16_t kGsmAlphabet[128] = {
    // 0x00
    0x0040, 0x00A3, 0x0024, 0x00A5, 0x00E8, 0x00E9, 0x00F9, 0x00EC,  //
    0x00F2, 0x00E7, 0x000A, 0x00D8, 0x00F8, 0x000D, 0x00C5, 0x00E5,  //
    // 0x10
    0x0394, 0x005F, 0x03A6, 0x0393, 0x039B, 0x03A9, 0x03A0, 0x03A8,  //
    0x03A3, 0x0398, 0x039E, 0x00A0, 0x00C6, 0x00E6, 0x00DF, 0x00C9,  //
    // 0x20
    0x0020, 0x0021, 0x0022, 0x0023, 0x00A4, 0x0025, 0x0026, 0x0027,  //
    0x0028, 0x0029, 0x002A, 0x002B, 0x002C, 0x002D, 0x002E, 0x002F,  //
    // 0x30
    0x0030, 0x0031, 0x0032, 0x0033, 0x0034, 0x0035, 0x0036, 0x0037,  //
    0x0038, 0x0039, 0x003A, 0x003B, 0x003C, 0x003D, 0x003E, 0x003F,  //
    // 0x40
    0x00A1, 0x0041, 0x0042, 0x0043, 0x0044, 0x0045, 0x0046, 0x0047,  //
    0x0048, 0x0049, 0x004A, 0x004B, 0x004C, 0x004D, 0x004E, 0x004F,  //
    // 0x50
    0x0050, 0x0051, 0x0052, 0x0053, 0x0054, 0x0055, 0x0056, 0x0057,  //
    0x0058, 0x0059, 0x005A, 0x00C4, 0x00D6, 0x00D1, 0x00DC, 0x00A7,  //
    // 0x60
    0x00BF, 0x0061, 0x0062, 0x0063, 0x0064, 0x0065, 0x0066, 0x0067,  //
    0x0068, 0x0069, 0x006A, 0x006B, 0x006C, 0x006D, 0x006E, 0x006F,  //
    // 0x70
    0x0070, 0x0071, 0x0072, 0x0073, 0x0074, 0x0075, 0x0076, 0x0077,  //
    0x0078, 0x0079, 0x007A, 0x00E4, 0x00F6, 0x00F1, 0x00FC, 0x00E0,  //
};

namespace {

// Characters the alphabet cannot express are sent as this septet. It is the ASCII code of "_",
// which the GSM alphabet reads as "§"; the recipient therefore sees "§" in their place.
constexpr std::uint8_t kUnknownSeptet = 0x5F;

}  // namespace

void SeptetsToText(const std::uint8_t* septets, std::size_t n, char16_t* out, std::size_t* count) {
    for (std::size_t i = 0; i < n; ++i) {
        out[i] = static_cast<char16_t>(kGsmAlphabet[septets[i] & 0x7F]);
    }
    out[n] = 0;
    *count = n;
}

namespace {

// Septet of every UTF-16 code unit, made once from the alphabet table. Filled from the last row
// to the first, so a character that stands in several rows gets the first of them, exactly as
// a search from the top would find it; characters outside the table get the unknown septet.
struct SeptetLookup {
    std::uint8_t septet[65536];
    SeptetLookup() {
        std::memset(septet, kUnknownSeptet, sizeof septet);
        for (int k = 127; k >= 0; --k) septet[kGsmAlphabet[k]] = static_cast<std::uint8_t>(k);
    }
};

const SeptetLookup& Lookup() {
    static const SeptetLookup lookup;
    return lookup;
}

}  // namespace

void TextToSeptets(const char16_t* text, std::size_t n, std::uint8_t* out, std::size_t* count) {
    const std::uint8_t* septet = Lookup().septet;
    for (std::size_t i = 0; i < n; ++i) out[i] = septet[text[i]];
    out[n] = 0;
    *count = n;
}

void PackSeptets(const std::uint8_t* septets, std::size_t n, std::uint8_t* out,
                 std::size_t* index) {
    std::size_t k = *index;
    unsigned accumulator = 0;  // pending bits, least significant first
    unsigned bits = 0;
    for (std::size_t i = 0; i < n; ++i) {
        accumulator |= static_cast<unsigned>(septets[i] & 0x7F) << bits;
        bits += 7;
        if (bits >= 8) {
            out[k++] = static_cast<std::uint8_t>(accumulator & 0xFF);
            accumulator >>= 8;
            bits -= 8;
        }
    }
    if (bits > 0) out[k++] = static_cast<std::uint8_t>(accumulator & 0xFF);
    *index = k;
}

void UnpackSeptets(const std::uint8_t* packed, std::size_t n, std::uint8_t* out) {
    std::size_t octet = 0;
    unsigned accumulator = 0;
    unsigned bits = 0;
    for (std::size_t i = 0; i < n; ++i) {
        if (bits < 7) {
            accumulator |= static_cast<unsigned>(packed[octet++]) << bits;
            bits += 8;
        }
        out[i] = static_cast<std::uint8_t>(accumulator & 0x7F);
        accumulator >>= 7;
        bits -= 7;
    }
}

int OctetsForSeptets(int n) {
    return (n * 7 + 7) / 8;
}

int SeptetsForOctets(int n) {
    return (n * 8 + 6) / 7;
}

TransferError EncodeAddressDigits(std::uint8_t* out, std::size_t* index, std::uint8_t type,
                                  const char* digits) {
    const std::size_t length = std::strlen(digits);
    for (std::size_t i = 0; i < length; ++i) {
        if (digits[i] < '0' || digits[i] > '9') return kErrInvalidParameter;
    }
    std::size_t k = *index;
    out[k++] = static_cast<std::uint8_t>(type | 0x80);
    for (std::size_t i = 0; i < length; i += 2) {
        const unsigned low = static_cast<unsigned>(digits[i] - '0');
        const unsigned high = i + 1 < length ? static_cast<unsigned>(digits[i + 1] - '0') : 0xF;
        out[k++] = static_cast<std::uint8_t>(low | (high << 4));
    }
    *index = k;
    return kErrNone;
}

TransferError DecodeAddressDigits(const std::uint8_t* in, std::size_t count, char* out,
                                  std::size_t outSize, std::uint8_t* type) {
    if (count == 0 || outSize == 0) return kErrInvalidParameter;
    *type = in[0];
    // Alphanumeric (5) and abbreviated (6) numbers, and the reserved 7, are not phone numbers.
    if (((in[0] >> 4) & 7) > 2) return kErrInvalidParameter;
    const std::size_t digitOctets = count - 1;
    if (digitOctets > (outSize - 1) / 2) return kErrInvalidParameter;
    std::size_t k = 0;
    for (std::size_t i = 1; i < count; ++i) {
        out[k++] = static_cast<char>('0' + (in[i] & 0x0F));
        out[k++] = static_cast<char>('0' + (in[i] >> 4));
    }
    // The filler nibble 0xF of an odd count reads as "?"; cut it. Nibbles 0xA-0xE elsewhere come
    // out as ":" to ">" and are left for the caller to judge.
    if (k > 0 && out[k - 1] >= ':') {
        out[k - 1] = 0;
    } else {
        out[k] = 0;
    }
    return kErrNone;
}

std::uint8_t ToSwappedBcd(unsigned value) {
    return static_cast<std::uint8_t>((value / 10) | ((value % 10) << 4));
}

unsigned FromSwappedBcd(std::uint8_t octet) {
    const unsigned low = octet & 0x0F;
    const unsigned high = octet >> 4;
    // A field that is not decimal reads as 0 rather than failing the whole message.
    if (high > 9 || low > 9) return 0;
    return low * 10 + high;
}
