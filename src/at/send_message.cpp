#include "at/send_message.h"

#include <cstdio>

#include "pdu/submit.h"
#include "phonelink/response_buffer.h"

TransferError SubmitPdu(PhoneSession* session, PduRecord* record) {
    if (session == nullptr || record == nullptr) return kErrInvalidParameter;
    TransferError result = EncodePdu(record);
    if (result != kErrNone) return result;
    if (record->encodedLength > kEncodedSize || record->tpduLength > record->encodedLength) {
        return kErrInvalidParameter;
    }

    char lengthCommand[32];
    std::snprintf(lengthCommand, sizeof lengthCommand, "AT+CMGS=%u\r", record->tpduLength);
    AtRequest request;
    InitAtRequest(&request, session, lengthCommand, kAtPromptTimeoutMs);
    result = AtExpect(&request, kSendPrompt);
    if (result != kErrNone) return result;

    // The PDU goes as a new command on the same request, so the prompt hook stays installed. The
    // drain before it discards the rest of the prompt line.
    char pduCommand[2 * kEncodedSize + 2];
    HexEncode(record->encoded, record->encodedLength, pduCommand);
    pduCommand[2 * record->encodedLength] = kCtrlZ;
    pduCommand[2 * record->encodedLength + 1] = '\0';
    request.command = pduCommand;
    request.commandLength = 0;
    request.timeoutMs = kAtPduTimeoutMs;
    return AtSimple(&request);
}

bool SendMessage(PhoneSession* session, SmsMessage* message) {
    if (session == nullptr) return false;
    if (message == nullptr) {
        session->lastError = kErrInvalidParameter;
        return false;
    }
    if (PrepareSubmit(message) == 0 || !message->pduRecord) {
        session->lastError =
            message->codecResult != kErrNone ? message->codecResult : kErrInvalidParameter;
        return false;
    }
    ApplySubmitOptions(message->pduRecord.get(), session->serviceCentre, session->statusReport);
    session->lastError = SubmitPdu(session, message->pduRecord.get());
    return session->lastError == kErrNone;
}
