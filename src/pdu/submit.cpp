// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/submit.h"

#include <cstring>

#include "pdu/deliver.h"
#include "pdu/gsm_alphabet.h"
#include "pdu/submit_check.h"

namespace {

constexpr std::uint8_t kAlphabet7Bit = 0;
constexpr std::uint8_t kAlphabet8Bit = 1;
constexpr std::uint8_t kAlphabetUcs2 = 2;
constexpr std::uint8_t kAlphabetReserved = 3;

constexpr std::uint8_t kUdhiBit = 0x40;
constexpr std::uint8_t kSrrBit = 0x20;

constexpr std::size_t kMaxAddressDigits = kMaxNumberDigits;
static_assert(kMaxAddressDigits == kAddressDigitsSize - 1, "addressDigits holds 20 and a 0");
constexpr std::uint32_t kMax7BitUdl = kMaxSubmitTextLength;  // septets
constexpr std::uint32_t kMax8BitUdl = 140;                   // octets

// Narrowing of a number to 8-bit text. Only ASCII survives unchanged; anything else becomes "?"
// (as the platform's default character would), so that a character whose low byte happens to be
// a digit cannot slip through as one. NUL is replaced too, so it cannot cut the number short.
char NarrowChar(char16_t c) {
    if (c == 0 || c >= 0x80) return '?';
    return static_cast<char>(c);
}

// Copies `text` from `start` into `out` (room for `size` bytes) with its terminating 0. When the
// text does not fit, `out` is filled completely without a terminator, which the encoder refuses.
// Returns false in that case.
bool NarrowInto(const std::u16string& text, std::size_t start, char* out, std::size_t size) {
    const std::size_t length = text.size() - start;
    const std::size_t copied = length < size ? length : size;
    for (std::size_t k = 0; k < copied; ++k) out[k] = NarrowChar(text[start + k]);
    if (length >= size) return false;
    out[length] = 0;
    return true;
}

void WriteTimeStamp(const PduTimeStamp& stamp, std::uint8_t* out, std::size_t* index) {
    std::size_t k = *index;
    out[k++] = ToSwappedBcd(stamp.year % 100);
    out[k++] = ToSwappedBcd(stamp.month);
    out[k++] = ToSwappedBcd(stamp.day);
    out[k++] = ToSwappedBcd(stamp.hour);
    out[k++] = ToSwappedBcd(stamp.minute);
    out[k++] = ToSwappedBcd(stamp.second);
    // Quarter hours with the sign in bit 3. A negative zone is written from its two's complement;
    // only tools build SMS-DELIVER PDUs, and the decoder reads the zone back the same loose way.
    const int quarters = (stamp.zone / 15) & 0x7F;
    std::uint8_t zone = ToSwappedBcd(static_cast<unsigned>(quarters));
    if (stamp.zone < 0) zone |= 0x08;
    out[k++] = zone;
    *index = k;
}

}  // namespace

TransferError EncodePdu(PduRecord* record) {
    if (record == nullptr) return kErrInvalidParameter;
    const std::uint8_t mti = record->firstOctet & 3;
    if (mti == kMtiStatusReport || mti == 3) return kErrInvalidParameter;
    std::uint8_t* out = record->encoded;
    std::size_t k = 0;

    // Service centre: a single 0x00 asks the phone to use its own.
    const std::size_t scaLength = strnlen(record->scaDigits, kScaDigitsSize);
    // A centre is an address like any other: at most 20 digits (an unterminated field, 40
    // characters or more, is longer still).
    if (scaLength > kMaxAddressDigits) return kErrInvalidParameter;
    if (scaLength == 0) {
        out[k++] = 0;
    } else {
        out[k++] = static_cast<std::uint8_t>(((scaLength + 1) >> 1) + 1);
        const TransferError err = EncodeAddressDigits(out, &k, record->scaType, record->scaDigits);
        if (err != kErrNone) return err;
    }
    const std::size_t tpduStart = k;

    out[k++] = record->firstOctet;
    if (mti == kMtiSubmit) out[k++] = record->messageReference;

    // Destination (or originating) address.
    const std::size_t digits = strnlen(record->addressDigits, kAddressDigitsSize);
    if (digits > kMaxAddressDigits) return kErrInvalidParameter;
    out[k++] = static_cast<std::uint8_t>(digits);
    {
        const TransferError err =
            EncodeAddressDigits(out, &k, record->addressType, record->addressDigits);
        if (err != kErrNone) return err;
    }

    out[k++] = record->protocolId;
    out[k++] = record->dcs;

    if (mti == kMtiDeliver) {
        WriteTimeStamp(record->timeStamp, out, &k);
    } else {
        const std::uint8_t vpf = (record->firstOctet >> 3) & 3;
        if (vpf == 2) {
            out[k++] = record->validityPeriod[0];
        } else if (vpf != 0) {
            std::memcpy(out + k, record->validityPeriod, 7);
            k += 7;
        }
    }

    // User-data length. The lengths are bounded first so that no sum can wrap and no copy can
    // leave userData or header.
    const std::uint8_t alphabet = (record->dcs >> 2) & 3;
    const bool hasHeader = (record->firstOctet & kUdhiBit) != 0;
    if (record->userDataLength > kUserDataSize) return kErrInvalidParameter;
    if (hasHeader && record->headerLength > kHeaderSize) return kErrInvalidParameter;
    const std::uint32_t headerSeptets = hasHeader ? static_cast<std::uint32_t>(SeptetsForOctets(
                                                        static_cast<int>(record->headerLength) + 1))
                                                  : 0;
    if (hasHeader) {
        if (alphabet == kAlphabet7Bit) {
            record->udl = record->userDataLength + headerSeptets;
        } else if (alphabet != kAlphabetUcs2 || record->unicode) {
            record->udl = record->headerLength + record->userDataLength + 1;
        }
    } else {
        record->udl = record->userDataLength;
    }
    out[k++] = static_cast<std::uint8_t>(record->udl & 0xFF);

    switch (alphabet) {
        case kAlphabetUcs2:
            // Without the `Unicode` setting UCS2 is not sent: the PDU ends after its length
            // octet. With it the octets go as 8-bit data would.
            if (!record->unicode) break;
            [[fallthrough]];
        case kAlphabetReserved:
        case kAlphabet8Bit:
            if (alphabet == kAlphabetReserved && record->userDataLength % 2 != 0) {
                return kErrInvalidParameter;
            }
            if (record->udl > kMax8BitUdl) return kErrInvalidParameter;
            if (hasHeader) {
                out[k++] = static_cast<std::uint8_t>(record->headerLength);
                std::memcpy(out + k, record->header, record->headerLength);
                k += record->headerLength;
            }
            std::memcpy(out + k, record->userData, record->userDataLength);
            k += record->userDataLength;
            break;
        default:
            if (record->udl > kMax7BitUdl) return kErrInvalidParameter;
            if (hasHeader) {
                // The header takes the first septets of the user data: pack zero septets in its
                // place (so the fill bits are zero), then write the header octets over them.
                std::uint8_t septets[kMax7BitUdl];
                std::memset(septets, 0, headerSeptets);
                std::memcpy(septets + headerSeptets, record->userData, record->userDataLength);
                const std::size_t start = k;
                PackSeptets(septets, record->udl, out, &k);
                out[start] = static_cast<std::uint8_t>(record->headerLength);
                std::memcpy(out + start + 1, record->header, record->headerLength);
            } else {
                PackSeptets(record->userData, record->userDataLength, out, &k);
            }
            break;
    }

    record->encodedLength = static_cast<std::uint32_t>(k);
    record->tpduLength = static_cast<std::uint32_t>(k - tpduStart);
    return kErrNone;
}

TransferError SetDestination(PduRecord* record, const std::u16string& number) {
    if (ValidateRecipient(number, nullptr) != kErrNone) return kErrInvalidParameter;
    std::size_t start = 0;
    if (!number.empty() && number[0] == u'+') {
        record->addressType = static_cast<std::uint8_t>((record->addressType & 0x9F) | 0x10);
        start = 1;
    }
    // Cannot fail after the check above.
    if (!NarrowInto(number, start, record->addressDigits, kAddressDigitsSize)) {
        return kErrInvalidParameter;
    }
    return kErrNone;
}

int PrepareSubmit(SmsMessage* message) {
    message->pduRecord.reset(NewPduRecord());
    PduRecord* record = message->pduRecord.get();
    if (record == nullptr) {
        message->codecResult = kErrOutOfMemory;
        return 0;
    }
    record->firstOctet = kMtiSubmit;
    record->addressType = static_cast<std::uint8_t>((record->addressType & 0xF1) | 1);
    record->dcs = (message->flags & kFlagFlash) ? 0xF0 : 0x00;
    return EncodeMessage(message);
}

int EncodeMessage(SmsMessage* message) {
    if (!message->pduRecord) {
        message->pduRecord.reset(NewPduRecord());
        if (!message->pduRecord) {
            message->codecResult = kErrOutOfMemory;
            return 0;
        }
    }
    PduRecord* record = message->pduRecord.get();
    // A message never stored is one being sent.
    if (message->time == 0) {
        record->firstOctet = static_cast<std::uint8_t>((record->firstOctet & 0xFD) | 1);
    }

    // Destination: an optional "+" and 1 to 20 digits; a number without a digit has nowhere to
    // go. A leading "+" becomes the international type of number.
    message->codecResult = SetDestination(record, message->number);
    if (message->codecResult != kErrNone) return 0;

    // Text: one septet per character; there are no multi-part messages.
    if (message->text.size() > kMax7BitUdl) {
        message->codecResult = kErrInvalidParameter;
        return 0;
    }
    std::uint8_t septets[kMax7BitUdl + 1];  // room for the terminating 0
    std::size_t count = 0;
    TextToSeptets(message->text.data(), message->text.size(), septets, &count);
    std::memcpy(record->userData, septets, count);
    record->userDataLength = static_cast<std::uint32_t>(count);

    message->codecResult = EncodePdu(record);
    if (message->codecResult != kErrNone) return 0;
    message->pdu.assign(record->encoded, record->encoded + record->encodedLength);
    return 1;
}

void ApplySubmitOptions(PduRecord* record, const std::u16string& serviceCentre, bool statusReport) {
    if (record == nullptr) return;
    // Numbering plan ISDN/telephone; a leading "+" makes the number international.
    record->scaType = static_cast<std::uint8_t>((record->scaType & 0xF1) | 1);
    std::size_t start = 0;
    if (!serviceCentre.empty() && serviceCentre[0] == u'+') {
        record->scaType = static_cast<std::uint8_t>((record->scaType & 0x9F) | 0x10);
        start = 1;
    }
    // A number too long for scaDigits is left without terminator; EncodePdu refuses it with 4.
    NarrowInto(serviceCentre, start, record->scaDigits, kScaDigitsSize);
    if (statusReport) {
        record->firstOctet |= kSrrBit;
    } else {
        record->firstOctet &= static_cast<std::uint8_t>(~kSrrBit);
    }
}
