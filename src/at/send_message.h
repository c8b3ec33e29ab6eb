// SPDX-License-Identifier: GPL-3.0-or-later
// Sending one short message with AT+CMGS in PDU mode.
#pragma once

#include "at/at_commands.h"
#include "at/at_exchange.h"
#include "common/pdu_record.h"
#include "common/sms_message.h"
#include "common/transfer_error.h"

// The prompt after which the phone takes the PDU: greater-than and a blank.
constexpr char kSendPrompt[] = "> ";

// Prepares the message's SMS-SUBMIT record (recipient, text, Flash), applies the session's
// service centre and status-report request, and submits it. True on success; the result code is
// left in session->lastError (the codec's code when the message cannot be encoded).
bool SendMessage(PhoneSession* session, SmsMessage* message);

// The first half of SendMessage, without talking to the phone: prepares and encodes the
// message's record with the session's options. 0, or the codec's code (4) for a message that
// cannot be sent as it stands; then nothing reached the phone.
TransferError PrepareForSending(PhoneSession* session, SmsMessage* message);
// As PrepareForSending, for part `index` (from 0) of the message as the session's codec options
// split it; a message of several parts gets the concatenation header with `reference`. With
// both options off and index 0 it is PrepareForSending.
TransferError PrepareForSending(PhoneSession* session, SmsMessage* message, std::uint8_t reference,
                                std::uint32_t index);

// Encodes the record and runs the two stages of AT+CMGS:
//  1. "AT+CMGS=<tpduLength>\r", where the length counts the TPDU octets only, never the service-
//     centre part; up to kAtPromptTimeoutMs for "> " (a final code before it ends the send);
//  2. the whole encoded PDU (service-centre part and TPDU) as upper-case hex followed by Ctrl-Z
//     alone, up to kAtPduTimeoutMs for the final result code.
// Returns the encoder's code, the first stage's failure, or the second stage's result.
// *pduWritten (when given) tells whether the PDU went out: only then may the phone have sent
// the message, whatever the result says.
TransferError SubmitPdu(PhoneSession* session, PduRecord* record, bool* pduWritten = nullptr);
