// SPDX-License-Identifier: GPL-3.0-or-later
// Encoding of SMS-SUBMIT (and, for tools, SMS-DELIVER) PDUs from a PduRecord or an SmsMessage.
#pragma once

#include <string>

#include "common/pdu_record.h"
#include "common/sms_message.h"
#include "common/transfer_error.h"

// Encodes the record into `encoded`, `encodedLength` and `tpduLength`. 0 or 4. UCS2 user data
// is written only when the record's `unicode` is set (at most 140 octets with its header);
// otherwise a UCS2 PDU ends after its length octet, as the codec always wrote it.
TransferError EncodePdu(PduRecord* record);

// Fresh SMS-SUBMIT record for the message (Flash from its flags), then EncodeMessage.
// 1 on success, 0 on failure (`codecResult` says why).
int PrepareSubmit(SmsMessage* message);

// Fills the record's destination and text from the message and encodes it; on success the
// encoded octets are copied into the message's `pdu`. 1 on success, 0 on failure: among others
// for a number that ValidateRecipient refuses (no digit, a lone "+", more than 20 digits).
int EncodeMessage(SmsMessage* message);

// The destination part of EncodeMessage: ValidateRecipient's rule, a leading "+" making the
// number international, the digits into `addressDigits`. 0 or 4.
TransferError SetDestination(PduRecord* record, const std::u16string& number);

// The sender's options, applied to a prepared record before it is encoded once more:
// the custom service centre (empty: the phone's own) and the status-report request.
// A leading "+" on the centre makes it international and is not sent as a digit. The following
// EncodePdu refuses a centre of more than 20 digits with 4 (one too long for `scaDigits`, 40
// characters or more, is left unterminated there, never cut to a wrong number).
void ApplySubmitOptions(PduRecord* record, const std::u16string& serviceCentre, bool statusReport);
