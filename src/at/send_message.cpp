// SPDX-License-Identifier: GPL-3.0-or-later
#include "at/send_message.h"

#include "pdu/submit.h"
#include "pdu/submit_parts.h"

TransferError SubmitPdu(PhoneSession* session, PduRecord* record, bool* pduWritten) {
    if (pduWritten != nullptr) *pduWritten = false;
    if (session == nullptr || record == nullptr) return kErrInvalidParameter;
    TransferError result = EncodePdu(record);
    if (result != kErrNone) return result;
    if (record->encodedLength > kEncodedSize || record->tpduLength > record->encodedLength) {
        return kErrInvalidParameter;
    }

    char lengthCommand[32];
    const std::uint32_t lengthCommandLength = FormatAtCommand(
        AtCommand::kSubmitLength, record->tpduLength, lengthCommand, sizeof lengthCommand);
    AtRequest request;
    InitAtCommandRequest(&request, session, AtCommand::kSubmitLength, lengthCommand,
                         lengthCommandLength);
    result = AtExpect(&request, kSendPrompt);
    if (result != kErrNone) return result;

    // The PDU (service-centre part and TPDU) and Ctrl-Z go as a new command on the same request,
    // so the prompt hook stays installed. The drain before it discards the rest of the prompt
    // line.
    char pduCommand[2 * kEncodedSize + 2];
    request.command = pduCommand;
    request.commandLength = FormatAtCommand(AtCommand::kSubmitPdu, record->encoded,
                                            record->encodedLength, pduCommand, sizeof pduCommand);
    request.timeoutMs = AtCommandInfoOf(AtCommand::kSubmitPdu).timeoutMs;
    // From here on a failure may come after the phone took the PDU: a write cut short or a
    // silence does not say that nothing went out.
    if (pduWritten != nullptr) *pduWritten = true;
    return AtSimple(&request);
}

TransferError PrepareForSending(PhoneSession* session, SmsMessage* message) {
    if (session == nullptr || message == nullptr) return kErrInvalidParameter;
    if (PrepareSubmit(message) == 0 || !message->pduRecord) {
        return message->codecResult != kErrNone ? message->codecResult : kErrInvalidParameter;
    }
    ApplySubmitOptions(message->pduRecord.get(), session->serviceCentre, session->statusReport);
    // The options can make the record unencodable (a centre too long): find out now.
    return EncodePdu(message->pduRecord.get());
}

TransferError PrepareForSending(PhoneSession* session, SmsMessage* message, std::uint8_t reference,
                                std::uint32_t index) {
    if (session == nullptr || message == nullptr) return kErrInvalidParameter;
    if (PrepareSubmitPart(message, session->codec, reference, index) == 0 || !message->pduRecord) {
        return message->codecResult != kErrNone ? message->codecResult : kErrInvalidParameter;
    }
    ApplySubmitOptions(message->pduRecord.get(), session->serviceCentre, session->statusReport);
    return EncodePdu(message->pduRecord.get());
}

bool SendMessage(PhoneSession* session, SmsMessage* message) {
    if (session == nullptr) return false;
    session->lastError = PrepareForSending(session, message);
    if (session->lastError != kErrNone) return false;
    session->lastError = SubmitPdu(session, message->pduRecord.get());
    return session->lastError == kErrNone;
}
