// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu_builder.h"

#include <cstring>
#include <ctime>

#include "pdu/deliver.h"
#include "pdu/gsm_alphabet.h"
#include "pdu/submit.h"
#include "pdu/submit_parts.h"

namespace phone_sim {
namespace {

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// Splits "+123" into the type of address and the digits; false for anything but digits.
bool SplitNumber(std::string_view number, std::size_t maxDigits, std::uint8_t* type,
                 std::string* digits) {
    *type = 0x81;
    if (!number.empty() && number.front() == '+') {
        *type = 0x91;
        number.remove_prefix(1);
    }
    if (number.empty() || number.size() > maxDigits) return false;
    for (char c : number) {
        if (c < '0' || c > '9') return false;
    }
    digits->assign(number);
    return true;
}

// Seven swapped-BCD octets: year, month, day, hour, minute, second, zone (sign in bit 3).
bool PutTimeStamp(const SystemTime& t, int zoneQuarters, std::vector<std::uint8_t>* out) {
    if (t.year < 1991 || t.year > 2090 || zoneQuarters < -79 || zoneQuarters > 79) return false;
    for (unsigned value : {unsigned{t.year} % 100u, unsigned{t.month}, unsigned{t.day},
                           unsigned{t.hour}, unsigned{t.minute}, unsigned{t.second}}) {
        out->push_back(ToSwappedBcd(value));
    }
    const unsigned quarters =
        static_cast<unsigned>(zoneQuarters < 0 ? -zoneQuarters : zoneQuarters);
    out->push_back(
        static_cast<std::uint8_t>(ToSwappedBcd(quarters) | (zoneQuarters < 0 ? 0x08 : 0)));
    return true;
}

// Length octet (digits, or octets with the type for the centre), type and swapped digits.
bool PutAddress(std::string_view number, std::size_t maxDigits, bool centre,
                std::vector<std::uint8_t>* out) {
    std::uint8_t type = 0;
    std::string digits;
    if (!SplitNumber(number, maxDigits, &type, &digits)) return false;
    std::uint8_t buffer[16] = {};
    std::size_t length = 0;
    if (EncodeAddressDigits(buffer, &length, type, digits.c_str()) != 0) return false;
    out->push_back(static_cast<std::uint8_t>(centre ? length : digits.size()));
    out->insert(out->end(), buffer, buffer + length);
    return true;
}

}  // namespace

std::string ToHex(const std::vector<std::uint8_t>& bytes) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    hex.reserve(bytes.size() * 2);
    for (std::uint8_t b : bytes) {
        hex.push_back(kDigits[b >> 4]);
        hex.push_back(kDigits[b & 0x0F]);
    }
    return hex;
}

bool FromHex(std::string_view hex, std::vector<std::uint8_t>* bytes) {
    if (hex.size() % 2 != 0) return false;
    bytes->clear();
    bytes->reserve(hex.size() / 2);
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        int high = HexValue(hex[i]);
        int low = HexValue(hex[i + 1]);
        if (high < 0 || low < 0) return false;
        bytes->push_back(static_cast<std::uint8_t>(high << 4 | low));
    }
    return true;
}

bool SetServiceCentre(PduRecord* record, std::string_view number) {
    if (number.empty()) {
        record->scaDigits[0] = '\0';
        record->scaType = 0x81;
        return true;
    }
    std::string digits;
    std::uint8_t type = 0;
    if (!SplitNumber(number, 20, &type, &digits)) return false;
    record->scaType = type;
    std::memcpy(record->scaDigits, digits.c_str(), digits.size() + 1);
    return true;
}

bool SetAddress(PduRecord* record, std::string_view number) {
    std::string digits;
    std::uint8_t type = 0;
    if (!SplitNumber(number, kAddressDigitsSize - 1, &type, &digits)) return false;
    record->addressType = type;
    std::memcpy(record->addressDigits, digits.c_str(), digits.size() + 1);
    return true;
}

bool EncodeRecord(PduRecord* record, BuiltPdu* out) {
    if (EncodePdu(record) != 0) return false;
    if (record->encodedLength > kEncodedSize || record->tpduLength > record->encodedLength) {
        return false;
    }
    out->bytes.assign(record->encoded, record->encoded + record->encodedLength);
    out->tpduLength = record->tpduLength;
    if ((record->firstOctet & 3) == kMtiDeliver && record->timeStamp.zone < 0) {
        // The zone octet is the last of the seven time-stamp octets, which follow the first
        // octet, the address (length, type, digits) and TP-PID/TP-DCS.
        std::size_t digits = std::strlen(record->addressDigits);
        std::size_t zoneAt =
            (record->encodedLength - record->tpduLength) + 1 + 2 + (digits + 1) / 2 + 2 + 6;
        if (zoneAt < out->bytes.size()) {
            unsigned quarters = static_cast<unsigned>(-record->timeStamp.zone) / 15;
            out->bytes[zoneAt] = static_cast<std::uint8_t>(ToSwappedBcd(quarters % 80) | 0x08);
        }
    }
    return true;
}

bool BuildTextPdu(const TextMessage& message, std::string_view serviceCentre, BuiltPdu* out,
                  std::string* error) {
    if (message.text.size() > kUserDataSize) {
        *error = "text longer than 160 characters";
        return false;
    }
    if (message.zoneQuarters < -79 || message.zoneQuarters > 79) {
        *error = "time zone out of range (-79..+79 quarter hours)";
        return false;
    }
    PduRecordPtr record(NewPduRecord());
    if (!record) {
        *error = "out of memory";
        return false;
    }
    if (!SetServiceCentre(record.get(), serviceCentre)) {
        *error = "bad service-centre number";
        return false;
    }
    if (!SetAddress(record.get(), message.number)) {
        *error = "bad number (digits with an optional leading +, at most 20)";
        return false;
    }
    record->dcs = message.dcs;
    if (message.submit) {
        record->firstOctet = 0x01;  // SMS-SUBMIT, no validity period, reference 0
    } else {
        record->firstOctet = 0x04;  // SMS-DELIVER, no more messages waiting
        const SystemTime& t = message.time;
        if (t.year < 1991 || t.year > 2090) {
            *error = "year out of range (1991..2090)";
            return false;
        }
        record->timeStamp.year = t.year;
        record->timeStamp.month = static_cast<std::uint8_t>(t.month);
        record->timeStamp.day = static_cast<std::uint8_t>(t.day);
        record->timeStamp.hour = static_cast<std::uint8_t>(t.hour);
        record->timeStamp.minute = static_cast<std::uint8_t>(t.minute);
        record->timeStamp.second = static_cast<std::uint8_t>(t.second);
        record->timeStamp.zone = static_cast<std::int16_t>(message.zoneQuarters * 15);
    }
    // TextToSeptets writes a terminating 0 after the septets; userData has no room for it
    // with a full 160-character text.
    std::uint8_t septets[kUserDataSize + 1];
    std::size_t count = 0;
    TextToSeptets(message.text.data(), message.text.size(), septets, &count);
    std::memcpy(record->userData, septets, count);
    record->userDataLength = static_cast<std::uint32_t>(count);
    if (!EncodeRecord(record.get(), out)) {
        *error = "the encoder refused the message";
        return false;
    }
    return true;
}

namespace {

// True when every character has a row of its own in the default alphabet (the escape code's
// no-break space has not), so that BuildTextPdu writes the text unchanged.
bool InDefaultAlphabet(const std::u16string& text) {
    for (char16_t c : text) {
        if (c == 0x00A0) return false;
        bool found = false;
        for (std::uint16_t entry : kGsmAlphabet) found = found || entry == c;
        if (!found) return false;
    }
    return true;
}

}  // namespace

bool BuildDeliverParts(const TextMessage& message, std::string_view serviceCentre,
                       std::uint8_t reference, std::vector<BuiltPdu>* out, std::string* error) {
    out->clear();
    if (message.submit ||
        (message.text.size() <= kUserDataSize && InDefaultAlphabet(message.text))) {
        BuiltPdu built;
        if (!BuildTextPdu(message, serviceCentre, &built, error)) return false;
        out->push_back(built);
        return true;
    }
    constexpr CodecOptions kBoth{true, true};
    // The parts as the program would send them, then turned into what the network delivers.
    SmsMessage sent;
    sent.number = u"1";
    sent.text = message.text;
    const std::uint32_t parts = SubmitPartCount(sent, kBoth);
    if (parts == 0) {
        *error = "text too long for 10 messages";
        return false;
    }
    TextMessage header = message;
    header.text.clear();
    for (std::uint32_t k = 0; k < parts; ++k) {
        // The envelope (centre, sender, stamp) as BuildTextPdu checks and writes it.
        BuiltPdu envelope;
        if (!BuildTextPdu(header, serviceCentre, &envelope, error)) return false;
        if (PrepareSubmitPart(&sent, kBoth, reference, k) != 1) {
            *error = "the encoder refused the message";
            return false;
        }
        PduRecordPtr record(NewPduRecord());
        if (!record) {
            *error = "out of memory";
            return false;
        }
        if (DecodePdu(record.get(), envelope.bytes.data(),
                      static_cast<std::uint32_t>(envelope.bytes.size()), envelope.tpduLength,
                      kBoth) != kErrNone) {
            *error = "the encoder refused the message";
            return false;
        }
        const PduRecord& part = *sent.pduRecord;
        record->firstOctet = static_cast<std::uint8_t>(0x04 | (part.firstOctet & 0x40));
        record->dcs = part.dcs;
        record->unicode = 1;
        record->userDataLength = part.userDataLength;
        std::memcpy(record->userData, part.userData, kUserDataSize);
        record->headerLength = part.headerLength;
        std::memcpy(record->header, part.header, kHeaderSize);
        BuiltPdu built;
        if (!EncodeRecord(record.get(), &built)) {
            *error = "the encoder refused the message";
            return false;
        }
        out->push_back(built);
    }
    return true;
}

bool BuildStatusReport(std::string_view serviceCentre, unsigned reference,
                       std::string_view recipient, const SystemTime& accepted,
                       const SystemTime& delivered, int zoneQuarters, BuiltPdu* out) {
    std::vector<std::uint8_t> bytes;
    if (serviceCentre.empty()) {
        bytes.push_back(0x00);
    } else if (!PutAddress(serviceCentre, 20, true, &bytes)) {
        return false;
    }
    const std::size_t centreLength = bytes.size();
    bytes.push_back(0x06);  // SMS-STATUS-REPORT, no more messages waiting
    bytes.push_back(static_cast<std::uint8_t>(reference & 0xFF));
    if (!PutAddress(recipient, kAddressDigitsSize - 1, false, &bytes) ||
        !PutTimeStamp(accepted, zoneQuarters, &bytes) ||
        !PutTimeStamp(delivered, zoneQuarters, &bytes)) {
        return false;
    }
    bytes.push_back(0x00);  // TP-ST: short message received by the SME
    out->tpduLength = static_cast<unsigned>(bytes.size() - centreLength);
    out->bytes = std::move(bytes);
    return true;
}

bool TpduLengthOf(const std::vector<std::uint8_t>& bytes, unsigned* tpduLength) {
    if (bytes.empty()) return false;
    std::size_t centre = std::size_t{bytes[0]} + 1;
    if (centre >= bytes.size()) return false;
    *tpduLength = static_cast<unsigned>(bytes.size() - centre);
    return true;
}

int LocalZoneQuarters() {
    std::time_t now = std::time(nullptr);
    std::tm local{};
    if (localtime_r(&now, &local) == nullptr) return 0;
    long quarters = local.tm_gmtoff / (15 * 60);
    if (quarters < -79) quarters = -79;
    if (quarters > 79) quarters = 79;
    return static_cast<int>(quarters);
}

}  // namespace phone_sim
