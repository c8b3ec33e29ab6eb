// SPDX-License-Identifier: GPL-3.0-or-later
// libFuzzer entry point for DecodePdu and what follows a successful decode.
//
// Input: one control octet, then the PDU octets. The top two bits of the control octet choose how
// the TPDU length is obtained: 0 as for a stored message (octets - first octet - 1), 1 the whole
// input (no service-centre part), 2 the input length minus the low six bits, 3 the low six bits
// themselves. The inputs of corpus/decode_pdu are real PDUs behind a control octet 0x00.
//
// Beyond "no crash", a decoded record must re-encode (when it is encodable) into octets that
// decode to the same address, header and user data. Every input is decoded a second time with
// the `Unicode` reading: its concatenation header, if any, must be sane, and its text, sent
// again as a long message, must come back joined exactly.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "pdu/concatenation.h"
#include "pdu/deliver.h"
#include "pdu/submit.h"
#include "pdu/submit_parts.h"

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

std::uint32_t TpduLength(std::uint8_t control, const std::uint8_t* pdu, std::uint32_t n) {
    switch (control >> 6) {
        case 0:
            return n == 0 ? 0 : n - 1 - pdu[0];
        case 1:
            return n;
        case 2:
            return n - (control & 0x3F);
        default:
            return control & 0x3F;
    }
}

void CheckReencoding(PduRecord* decoded) {
    const std::uint8_t mti = decoded->firstOctet & 3;
    const std::uint8_t alphabet = (decoded->dcs >> 2) & 3;
    // Status reports are not encodable; UCS2 has text only in the `Unicode` reading.
    if (mti > 1 || (alphabet == 2 && !decoded->unicode)) return;
    if (EncodePdu(decoded) != kErrNone) return;  // e.g. ":" in a number, 8-bit beyond 140 octets
    Check(decoded->encodedLength <= kEncodedSize);
    Check(decoded->tpduLength < decoded->encodedLength);

    PduRecord* again = NewPduRecord();
    if (again == nullptr) return;
    const TransferError err =
        DecodePdu(again, decoded->encoded, decoded->encodedLength, decoded->tpduLength,
                  CodecOptions{decoded->unicode != 0, false});
    Check(err == kErrNone);
    Check(again->firstOctet == decoded->firstOctet);
    Check(std::strcmp(again->addressDigits, decoded->addressDigits) == 0);
    Check(std::strcmp(again->scaDigits, decoded->scaDigits) == 0);
    Check(again->dcs == decoded->dcs);
    Check(again->userDataLength == decoded->userDataLength);
    Check(std::memcmp(again->userData, decoded->userData, decoded->userDataLength) == 0);
    if (decoded->firstOctet & 0x40) {
        Check(again->headerLength == decoded->headerLength);
        Check(std::memcmp(again->header, decoded->header, decoded->headerLength) == 0);
    }
    FreePduRecord(again);
}

// The decoded text, sent as a long message with both options and read back part by part.
void CheckLongRoundTrip(const std::u16string& text) {
    constexpr CodecOptions kBoth{true, true};
    SmsMessage sent;
    sent.number = u"+4930123456";
    sent.text = text;
    std::vector<PartPdu> parts;
    Check(EncodeSubmitParts(sent, kBoth, 7, u"", false, &parts) == kErrNone);
    std::u16string joined;
    for (std::size_t k = 0; k < parts.size(); ++k) {
        SmsMessage back;
        back.pdu = parts[k].pdu;
        Check(DecodeStoredMessage(&back, kBoth) == 1);
        ConcatenationInfo info;
        Check(ReadConcatenation(back.pduRecord.get(), &info) == (parts.size() > 1));
        if (parts.size() > 1) Check(info.sequence == k + 1 && info.total == parts.size());
        joined += back.text;
    }
    Check(joined == text);
}

void CheckUnicodeReading(const std::uint8_t* pdu, std::uint32_t n, std::uint32_t tpdu) {
    SmsMessage message;
    message.pduRecord.reset(NewPduRecord());
    if (!message.pduRecord) return;
    PduRecord* record = message.pduRecord.get();
    const TransferError err = DecodePdu(record, pdu, n, tpdu, CodecOptions{true, true});
    Check(err == kErrNone || err == kErrInvalidParameter);
    if (err != kErrNone) return;
    Check(record->udl <= kUserDataSize);
    Check(record->userDataLength <= kUserDataSize);
    Check(ApplyPduRecord(&message) == 1);
    Check(message.text.size() <= kUserDataSize);
    ConcatenationInfo info;
    if (ReadConcatenation(record, &info)) {
        Check(info.total >= 2 && info.sequence >= 1 && info.sequence <= info.total);
    }
    CheckLongRoundTrip(message.text);
    CheckReencoding(record);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 4096) return 0;
    const std::uint8_t* pdu = data + 1;
    const auto n = static_cast<std::uint32_t>(size - 1);
    const std::uint32_t tpdu = TpduLength(data[0], pdu, n);

    SmsMessage message;
    message.pduRecord.reset(NewPduRecord());
    if (!message.pduRecord) return 0;
    PduRecord* record = message.pduRecord.get();
    const TransferError err = DecodePdu(record, n == 0 ? nullptr : pdu, n, tpdu);
    Check(err == kErrNone || err == kErrInvalidParameter);
    if (err != kErrNone) return 0;

    Check(record->udl <= kUserDataSize);
    Check(record->userDataLength <= kUserDataSize);
    Check(strnlen(record->scaDigits, kScaDigitsSize) < kScaDigitsSize);
    Check(strnlen(record->addressDigits, kAddressDigitsSize) < kAddressDigitsSize);

    Check(ApplyPduRecord(&message) == 1);
    Check(message.text.size() <= kUserDataSize);

    CheckReencoding(record);
    CheckUnicodeReading(n == 0 ? nullptr : pdu, n, tpdu);
    return 0;
}
