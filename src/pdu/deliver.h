// SPDX-License-Identifier: GPL-3.0-or-later
// Decoding of the PDUs that the phone lists (SMS-DELIVER; SMS-SUBMIT and status reports in part)
// into a PduRecord, and from a PduRecord into the fields of an SmsMessage.
#pragma once

#include <cstdint>

#include "common/pdu_record.h"
#include "common/sms_message.h"
#include "common/transfer_error.h"

// A zero-filled record (calloc); null when out of memory. FreePduRecord accepts null.
PduRecord* NewPduRecord();
void FreePduRecord(PduRecord* record);

// `totalLength` octets at `bytes`; `tpduLength` as the phone announced it. 0 or 4.
TransferError DecodePdu(PduRecord* record, const std::uint8_t* bytes, std::uint32_t totalLength,
                        std::uint32_t tpduLength);

// Decodes the message's `pdu` buffer (creating its record if needed); 1 on success, 0 otherwise.
// The codec result is kept in `codecResult`.
int DecodeStoredMessage(SmsMessage* message);

// Copies number, text and time from the message's record into the message. Returns 1.
// `time` becomes the stamp as a FILETIME (milliseconds 0, zone ignored); a stamp that is not a
// calendar date (month 0, an SMS-SUBMIT without stamp) gives time 0. Without a record nothing
// changes.
int ApplyPduRecord(SmsMessage* message);
