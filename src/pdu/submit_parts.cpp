// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/submit_parts.h"

#include <cstring>

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

// Fills a zero-filled record as part `index` of the measured text, without encoding it. 0 or 4.
TransferError FillPart(PduRecord* record, const SmsMessage& message, const CodecOptions& options,
                       const TextMeasure& measure, std::uint8_t reference, std::uint32_t index) {
    if (measure.tooLong || index >= measure.parts) return kErrInvalidParameter;
    const bool flash = (message.flags & kFlagFlash) != 0;
    const bool ucs2 = measure.encoding == TextEncoding::kUcs2;
    record->firstOctet = kMtiSubmit;
    record->addressType = static_cast<std::uint8_t>((record->addressType & 0xF1) | 1);
    record->dcs = ucs2 ? (flash ? kDcsUcs2Flash : kDcsUcs2) : (flash ? kDcs7BitFlash : kDcs7Bit);
    record->unicode = options.unicode ? 1 : 0;

    const TransferError destination = SetDestination(record, message.number);
    if (destination != kErrNone) return destination;

    const std::u16string_view text(message.text);
    const std::size_t start = measure.partStart[index];
    const std::u16string_view part = text.substr(start, measure.partStart[index + 1] - start);
    if (!FillUserData(record, part, measure.encoding, options.unicode)) {
        return kErrInvalidParameter;
    }
    // A message of one part carries no header.
    if (measure.parts > 1) {
        SetConcatenationHeader(record, reference, static_cast<std::uint8_t>(measure.parts),
                               static_cast<std::uint8_t>(index + 1));
    }
    return kErrNone;
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
    message->codecResult = FillPart(record, *message, options, measure, reference, index);
    if (message->codecResult == kErrNone) message->codecResult = EncodePdu(record);
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
    // Measured once for all the parts.
    const TextMeasure measure = MeasureText(message.text, options);
    if (measure.tooLong) return kErrInvalidParameter;
    if (!options.unicode && !options.longSms) {
        // The original encoder, exactly as a send runs it.
        SmsMessage work;
        work.flags = message.flags;
        work.number = message.number;
        work.text = message.text;
        if (PrepareSubmit(&work) != 1) return work.codecResult;
        ApplySubmitOptions(work.pduRecord.get(), serviceCentre, statusReport);
        const TransferError err = EncodePdu(work.pduRecord.get());
        if (err != kErrNone) return err;
        const PduRecord& r = *work.pduRecord;
        parts->push_back(PartPdu{std::vector<std::uint8_t>(r.encoded, r.encoded + r.encodedLength),
                                 r.tpduLength, r.encodedLength});
        return kErrNone;
    }
    // One record for all the parts, cleared before each.
    PduRecordPtr record(NewPduRecord());
    if (!record) return kErrOutOfMemory;
    parts->reserve(measure.parts);
    for (std::uint32_t k = 0; k < measure.parts; ++k) {
        std::memset(record.get(), 0, sizeof(PduRecord));
        TransferError err = FillPart(record.get(), message, options, measure, reference, k);
        if (err == kErrNone) {
            ApplySubmitOptions(record.get(), serviceCentre, statusReport);
            err = EncodePdu(record.get());
        }
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
