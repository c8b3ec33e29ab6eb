// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/deliver.h"

#include <cstdlib>
#include <cstring>

#include "pdu/gsm_alphabet.h"
#include "pdu/gsm_extension.h"
#include "pdu/ucs2.h"

namespace {

constexpr std::uint8_t kAlphabet7Bit = 0;
constexpr std::uint8_t kAlphabet8Bit = 1;
constexpr std::uint8_t kAlphabetUcs2 = 2;
constexpr std::uint8_t kAlphabetReserved = 3;

constexpr std::uint8_t kUdhiBit = 0x40;

// An address field holds at most 20 digits: the type byte and ten digit octets.
constexpr std::uint32_t kMaxAddressOctets = 11;

std::uint8_t Alphabet(std::uint8_t dcs) {
    return (dcs >> 2) & 3;
}

// Septets taken by a user-data header of `headerLength` octets, its length octet and fill bits.
std::int64_t HeaderSeptets(std::uint32_t headerLength) {
    return SeptetsForOctets(static_cast<int>(headerLength) + 1);
}

// TP-SCTS: seven swapped-BCD octets. Fields that are not decimal read as 0.
void DecodeTimeStamp(const std::uint8_t* in, PduTimeStamp* stamp) {
    const unsigned yy = FromSwappedBcd(in[0]);
    stamp->year = static_cast<std::uint16_t>(yy < 91 ? 2000 + yy : 1900 + yy);
    stamp->month = static_cast<std::uint8_t>(FromSwappedBcd(in[1]));
    stamp->day = static_cast<std::uint8_t>(FromSwappedBcd(in[2]));
    stamp->hour = static_cast<std::uint8_t>(FromSwappedBcd(in[3]));
    stamp->minute = static_cast<std::uint8_t>(FromSwappedBcd(in[4]));
    stamp->second = static_cast<std::uint8_t>(FromSwappedBcd(in[5]));
    // Quarter hours, with the sign in bit 3. A negative zone keeps the sign merged into the octet
    // value instead of being negated (one hour west reads as -1860 minutes); nothing uses the
    // zone, since the stamp is kept as the service centre's local time.
    const int quarters = static_cast<int>(FromSwappedBcd(in[6] & 0xF7));
    const int zone = (in[6] & 0x08) ? (quarters - 128) * 15 : quarters * 15;
    stamp->zone = static_cast<std::int16_t>(zone);
}

// Wide character of one 8-bit octet: sign extension, so 0x80-0xFF become U+FF80-U+FFFF.
char16_t WidenSigned(std::uint8_t octet) {
    return static_cast<char16_t>(static_cast<std::int16_t>(static_cast<std::int8_t>(octet)));
}

// The text as the codec always read it: 8-bit by sign extension, UCS2 as its (zero) userData.
void ApplyOriginalText(const PduRecord& r, std::size_t length, std::u16string* text) {
    switch (Alphabet(r.dcs)) {
        case kAlphabet8Bit:
            text->resize(length);
            for (std::size_t k = 0; k < length; ++k) {
                (*text)[k] = WidenSigned(r.userData[k]);
            }
            break;
        case kAlphabetReserved:
            // Little-endian pairs of octets.
            text->resize(length / 2);
            for (std::size_t k = 0; k < length / 2; ++k) {
                (*text)[k] =
                    static_cast<char16_t>(r.userData[2 * k] | (r.userData[2 * k + 1] << 8));
            }
            break;
        default: {
            // 7-bit, and UCS2, whose undecoded (zero) octets read as "@".
            char16_t out[kUserDataSize + 1];
            std::size_t count = 0;
            SeptetsToText(r.userData, length, out, &count);
            text->assign(out, count);
            break;
        }
    }
}

// The text with the `Unicode` setting: UCS2 as UTF-16, 7-bit with the extension table, 8-bit
// as ISO-8859-1.
void ApplyUnicodeText(const PduRecord& r, std::size_t length, std::u16string* text) {
    char16_t out[kUserDataSize + 1];
    std::size_t count = 0;
    switch (Alphabet(r.dcs)) {
        case kAlphabet8Bit:
            text->resize(length);
            for (std::size_t k = 0; k < length; ++k) (*text)[k] = r.userData[k];
            return;
        case kAlphabetUcs2:
            Ucs2ToText(r.userData, length, out, &count);
            text->assign(out, count);
            return;
        case kAlphabetReserved:
            ApplyOriginalText(r, length, text);
            return;
        default:
            SeptetsToTextExtended(r.userData, length, out, &count);
            text->assign(out, count);
            return;
    }
}

}  // namespace

PduRecord* NewPduRecord() {
    return static_cast<PduRecord*>(std::calloc(1, sizeof(PduRecord)));
}

void FreePduRecord(PduRecord* record) {
    std::free(record);
}

TransferError DecodePdu(PduRecord* record, const std::uint8_t* bytes, std::uint32_t totalLength,
                        std::uint32_t tpduLength) {
    return DecodePdu(record, bytes, totalLength, tpduLength, CodecOptions{});
}

TransferError DecodePdu(PduRecord* record, const std::uint8_t* bytes, std::uint32_t totalLength,
                        std::uint32_t tpduLength, const CodecOptions& options) {
    if (record == nullptr || (bytes == nullptr && totalLength != 0)) return kErrInvalidParameter;
    record->unicode = options.unicode ? 1 : 0;
    const std::int64_t total = totalLength;
    std::int64_t i = 0;
    // A record may be reused: without a service-centre part the default centre is meant.
    record->scaDigits[0] = 0;

    // 1. Service centre: present when the phone's TPDU length is shorter than the octets given.
    if (totalLength != tpduLength) {
        if (total < 1) return kErrInvalidParameter;
        const std::int64_t scaLength = bytes[0];
        i = 1;
        if (scaLength + 1 != total - static_cast<std::int64_t>(tpduLength)) {
            return kErrInvalidParameter;
        }
        if (total - scaLength < 7) {
            // Too short to hold a TPDU behind the service centre: read it all as TPDU.
            i = 0;
        } else if (scaLength != 0) {
            const TransferError err =
                DecodeAddressDigits(bytes + 1, static_cast<std::size_t>(scaLength),
                                    record->scaDigits, kScaDigitsSize, &record->scaType);
            if (err != kErrNone) return err;
            i = scaLength + 1;
        }
    }

    // 2. First octet and, for SMS-SUBMIT and status reports, the message reference.
    if (i >= total) return kErrInvalidParameter;
    record->firstOctet = bytes[i++];
    std::uint8_t mti = record->firstOctet & 3;
    if (mti == 1 || mti == 2) {
        if (i >= total) return kErrInvalidParameter;
        record->messageReference = bytes[i++];
    } else if (mti == 3) {
        // A reserved type means the service-centre part was misread: start again at octet 0.
        record->scaDigits[0] = 0;
        record->firstOctet = bytes[0];
        i = 1;
        mti = record->firstOctet & 3;
        if (mti == 3) return kErrInvalidParameter;
        if (mti == 1 || mti == 2) {
            if (i >= total) return kErrInvalidParameter;
            record->messageReference = bytes[1];
            i = 2;
        }
    }

    // 3. Originating (or destination) address: digit count, then type and digit octets.
    if (i >= total) return kErrInvalidParameter;
    const std::uint32_t digits = bytes[i];
    const std::uint32_t addressOctets = ((digits + 1) >> 1) + 1;
    if (addressOctets > kMaxAddressOctets) return kErrInvalidParameter;
    if (i + 1 + addressOctets > total) return kErrInvalidParameter;
    {
        const TransferError err =
            DecodeAddressDigits(bytes + i + 1, addressOctets, record->addressDigits,
                                kAddressDigitsSize, &record->addressType);
        if (err != kErrNone) return err;
    }
    i += 1 + addressOctets;

    // 4. Protocol identifier and data coding scheme.
    if (mti < 2) {
        if (i + 2 > total) return kErrInvalidParameter;
        record->protocolId = bytes[i];
        record->dcs = bytes[i + 1];
        i += 2;
        // Coding group 1111 with the default alphabet: the reserved bit 3 must not turn the
        // message into 8-bit data, so both alphabet bits are cleared.
        if ((record->dcs & 0xF0) == 0xF0 && (record->dcs & 0x04) == 0) record->dcs &= 0xF3;
    }

    // 5. Service-centre time stamp (SMS-DELIVER) or validity period (SMS-SUBMIT).
    if (mti == 0) {
        if (i + 7 > total) return kErrInvalidParameter;
        DecodeTimeStamp(bytes + i, &record->timeStamp);
        i += 7;
    } else if (mti == 1) {
        const std::uint8_t vpf = (record->firstOctet >> 3) & 3;
        if (vpf == 2) {
            if (i + 1 > total) return kErrInvalidParameter;
            record->validityPeriod[0] = bytes[i];
            i += 1;
        } else if (vpf != 0) {
            if (i + 7 > total) return kErrInvalidParameter;
            std::memcpy(record->validityPeriod, bytes + i, 7);
            i += 7;
        }
    }

    // 6. Status reports keep only address and reference.
    if (mti >= 2) return kErrNone;

    // 7. User-data length. Nothing valid exceeds 160 units, and userData holds no more.
    if (i >= total) return kErrInvalidParameter;
    record->udl = bytes[i];
    if (record->udl > kUserDataSize) return kErrInvalidParameter;
    std::int64_t j = i + 1;
    const std::uint8_t alphabet = Alphabet(record->dcs);
    const bool hasHeader = (record->firstOctet & kUdhiBit) != 0;

    // 8. User-data header.
    if (hasHeader) {
        if (j >= total) return kErrInvalidParameter;
        record->headerLength = bytes[j];
        if (alphabet == kAlphabet7Bit) {
            // With a header the packed septets must fill the rest exactly.
            if (OctetsForSeptets(static_cast<int>(record->udl)) != total - j) {
                return kErrInvalidParameter;
            }
            const std::int64_t skip = HeaderSeptets(record->headerLength);
            if (skip > record->udl) return kErrInvalidParameter;
            record->userDataLength = static_cast<std::uint32_t>(record->udl - skip);
        } else if (alphabet == kAlphabet8Bit || alphabet == kAlphabetReserved || record->unicode) {
            if (record->headerLength + 1 > record->udl) return kErrInvalidParameter;
            record->userDataLength = record->udl - record->headerLength - 1;
        }
        if (j + 1 + record->headerLength > total) return kErrInvalidParameter;
        std::memcpy(record->header, bytes + j + 1, record->headerLength);
        j += record->headerLength + 1;
    } else {
        record->headerLength = 0;
        record->userDataLength = record->udl;
    }

    // 9. User data.
    switch (alphabet) {
        case kAlphabet8Bit:
        case kAlphabetReserved:
            if (record->userDataLength != total - j) return kErrInvalidParameter;
            std::memcpy(record->userData, bytes + j, record->userDataLength);
            break;
        case kAlphabetUcs2:
            // Read as text only with unicode on; otherwise accepted but not decoded, and
            // userData is left as it is. Spare octets after the text are tolerated.
            if (!record->unicode) return kErrNone;
            if (record->userDataLength > total - j) return kErrInvalidParameter;
            std::memcpy(record->userData, bytes + j, record->userDataLength);
            break;
        default: {
            // Septets are counted from the start of the user data, header included.
            if (hasHeader) j -= record->headerLength + 1;
            // Spare octets after the septets are tolerated here.
            if (OctetsForSeptets(static_cast<int>(record->udl)) > total - j) {
                return kErrInvalidParameter;
            }
            UnpackSeptets(bytes + j, record->udl, record->userData);
            if (hasHeader) {
                const std::int64_t skip = HeaderSeptets(record->headerLength);
                std::memmove(record->userData, record->userData + skip, record->userDataLength);
            }
            break;
        }
    }
    return kErrNone;
}

int DecodeStoredMessage(SmsMessage* message) {
    return DecodeStoredMessage(message, CodecOptions{});
}

int DecodeStoredMessage(SmsMessage* message, const CodecOptions& options) {
    if (!message->pduRecord) {
        message->pduRecord.reset(NewPduRecord());
        if (!message->pduRecord) {
            message->codecResult = kErrOutOfMemory;
            return 0;
        }
    }
    const std::vector<std::uint8_t>& pdu = message->pdu;
    // A stored PDU starts with its service-centre length; the TPDU is what follows that part.
    if (pdu.empty() || pdu.size() > UINT32_MAX) {
        message->codecResult = kErrInvalidParameter;
        return 0;
    }
    const std::int64_t tpdu = static_cast<std::int64_t>(pdu.size()) - pdu[0] - 1;
    if (tpdu < 0) {
        message->codecResult = kErrInvalidParameter;
        return 0;
    }
    message->codecResult =
        DecodePdu(message->pduRecord.get(), pdu.data(), static_cast<std::uint32_t>(pdu.size()),
                  static_cast<std::uint32_t>(tpdu), options);
    if (message->codecResult != kErrNone) return 0;
    ApplyPduRecord(message);
    return 1;
}

int ApplyPduRecord(SmsMessage* message) {
    const PduRecord* record = message->pduRecord.get();
    if (record == nullptr) return 1;

    // Number: international numbers get their "+" back.
    message->number.clear();
    if (((record->addressType >> 4) & 7) == 1) message->number.push_back(u'+');
    const std::size_t digits = strnlen(record->addressDigits, kAddressDigitsSize);
    for (std::size_t k = 0; k < digits; ++k) {
        message->number.push_back(WidenSigned(static_cast<std::uint8_t>(record->addressDigits[k])));
    }

    // Text by alphabet. The length never exceeds userData, whoever filled the record.
    std::size_t length = record->userDataLength;
    if (length > kUserDataSize) length = kUserDataSize;
    if (record->unicode) {
        ApplyUnicodeText(*record, length, &message->text);
    } else {
        ApplyOriginalText(*record, length, &message->text);
    }

    // Time: the service centre's local time as it stands; the zone is not applied. A stamp that
    // is not a calendar date (a month 0 from a non-decimal octet, an SMS-SUBMIT without stamp)
    // gives time 0, which the store replaces with the moment of storing.
    const PduTimeStamp& stamp = record->timeStamp;
    SystemTime st;
    st.year = stamp.year;
    st.month = stamp.month;
    st.day = stamp.day;
    st.hour = stamp.hour;
    st.minute = stamp.minute;
    st.second = stamp.second;
    st.milliseconds = 0;
    FileTime time = 0;
    if (!SystemTimeToFileTime(st, &time)) time = 0;
    message->time = time;
    return 1;
}
