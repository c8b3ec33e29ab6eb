// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/submit_parts.h"

#include "pdu/concatenation.h"
#include "pdu/deliver.h"
#include "pdu/gsm_alphabet.h"
#include "pdu/gsm_extension.h"
#include "pdu/submit.h"
#include "pdu/text_measure.h"
#include "pdu/ucs2.h"

namespace {

constexpr std::uint8_t kDcs7Bit = 0x00;
constexpr std::uint8_t kDcs7BitFlash = 0xF0;
constexpr std::uint8_t kDcsUcs2 = 0x08;
constexpr std::uint8_t kDcsUcs2Flash = 0x18;

int Fail(SmsMessage* message, TransferError code) {
    message->codecResult = code;
    return 0;
}

// The part's text into the record's user data in the measured encoding.
bool FillUserData(PduRecord* record, std::u16string_view text, TextEncoding encoding,
                  bool escapes) {
    if (encoding == TextEncoding::kUcs2) {
        if (text.size() * 2 > kUserDataSize) return false;
        TextToUcs2(text.data(), text.size(), record->userData);
        record->userDataLength = static_cast<std::uint32_t>(text.size() * 2);
        return true;
    }
    std::size_t count = 0;
    if (escapes) {
        if (!TextToSeptetsExtended(text.data(), text.size(), record->userData, kUserDataSize,
                                   &count)) {
            return false;
        }
    } else {
        if (text.size() > kUserDataSize) return false;
        std::uint8_t septets[kUserDataSize + 1];  // room for the terminating 0
        TextToSeptets(text.data(), text.size(), septets, &count);
        for (std::size_t k = 0; k < count; ++k) record->userData[k] = septets[k];
    }
    record->userDataLength = static_cast<std::uint32_t>(count);
    return true;
}

}  // namespace

int PrepareSubmitPart(SmsMessage* message, const CodecOptions& options, std::uint8_t reference,
                      std::uint32_t index) {
    if (!options.unicode && !options.longSms) {
        if (index != 0) return Fail(message, kErrInvalidParameter);
        return PrepareSubmit(message);
    }
    const TextMeasure measure = MeasureText(message->text, options);
    if (measure.tooLong || index >= measure.parts) return Fail(message, kErrInvalidParameter);

    message->pduRecord.reset(NewPduRecord());
    PduRecord* record = message->pduRecord.get();
    if (record == nullptr) return Fail(message, kErrOutOfMemory);
    const bool flash = (message->flags & kFlagFlash) != 0;
    const bool ucs2 = measure.encoding == TextEncoding::kUcs2;
    record->firstOctet = kMtiSubmit;
    record->addressType = static_cast<std::uint8_t>((record->addressType & 0xF1) | 1);
    record->dcs = ucs2 ? (flash ? kDcsUcs2Flash : kDcsUcs2) : (flash ? kDcs7BitFlash : kDcs7Bit);
    record->unicode = options.unicode ? 1 : 0;

    const TransferError destination = SetDestination(record, message->number);
    if (destination != kErrNone) return Fail(message, destination);

    const std::u16string_view text(message->text);
    const std::size_t start = measure.partStart[index];
    const std::u16string_view part = text.substr(start, measure.partStart[index + 1] - start);
    if (!FillUserData(record, part, measure.encoding, options.unicode)) {
        return Fail(message, kErrInvalidParameter);
    }
    // A message of one part carries no header.
    if (measure.parts > 1) {
        SetConcatenationHeader(record, reference, static_cast<std::uint8_t>(measure.parts),
                               static_cast<std::uint8_t>(index + 1));
    }

    message->codecResult = EncodePdu(record);
    if (message->codecResult != kErrNone) return 0;
    message->pdu.assign(record->encoded, record->encoded + record->encodedLength);
    return 1;
}

std::uint32_t SubmitPartCount(const SmsMessage& message, const CodecOptions& options) {
    const TextMeasure measure = MeasureText(message.text, options);
    return measure.tooLong ? 0 : measure.parts;
}

TransferError EncodeSubmitParts(const SmsMessage& message, const CodecOptions& options,
                                std::uint8_t reference, const std::u16string& serviceCentre,
                                bool statusReport, std::vector<PartPdu>* parts) {
    parts->clear();
    const std::uint32_t count = SubmitPartCount(message, options);
    if (count == 0) return kErrInvalidParameter;
    SmsMessage work;
    work.flags = message.flags;
    work.number = message.number;
    work.text = message.text;
    for (std::uint32_t k = 0; k < count; ++k) {
        if (PrepareSubmitPart(&work, options, reference, k) != 1) {
            parts->clear();
            return work.codecResult != kErrNone ? work.codecResult : kErrInvalidParameter;
        }
        PduRecord* record = work.pduRecord.get();
        ApplySubmitOptions(record, serviceCentre, statusReport);
        const TransferError err = EncodePdu(record);
        if (err != kErrNone) {
            parts->clear();
            return err;
        }
        parts->push_back(PartPdu{
            std::vector<std::uint8_t>(record->encoded, record->encoded + record->encodedLength),
            record->tpduLength, record->encodedLength});
    }
    return kErrNone;
}
