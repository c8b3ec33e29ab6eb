// SPDX-License-Identifier: GPL-3.0-or-later
// Decoding of the PDUs that the phone lists (SMS-DELIVER; SMS-SUBMIT and status reports in part)
// into a PduRecord, and from a PduRecord into the fields of an SmsMessage.
#pragma once

#include <cstdint>

#include "common/pdu_record.h"
#include "common/sms_message.h"
#include "common/transfer_error.h"
#include "pdu/codec_options.h"

// A zero-filled record (calloc); null when out of memory. FreePduRecord accepts null.
PduRecord* NewPduRecord();
void FreePduRecord(PduRecord* record);

// `totalLength` octets at `bytes`; `tpduLength` as the phone announced it. 0 or 4.
TransferError DecodePdu(PduRecord* record, const std::uint8_t* bytes, std::uint32_t totalLength,
                        std::uint32_t tpduLength);

// As above, with `options`: with unicode on the UCS2 user data is kept in `userData` (octets,
// header excluded, in `userDataLength`) and the record's `unicode` is set, so that ApplyPduRecord
// reads the text as the `Unicode` setting says. With options all off it is the call above.
TransferError DecodePdu(PduRecord* record, const std::uint8_t* bytes, std::uint32_t totalLength,
                        std::uint32_t tpduLength, const CodecOptions& options);

// Decodes the message's `pdu` buffer (creating its record if needed); 1 on success, 0 otherwise.
// The codec result is kept in `codecResult`.
int DecodeStoredMessage(SmsMessage* message);
int DecodeStoredMessage(SmsMessage* message, const CodecOptions& options);

// Copies number, text and time from the message's record into the message. Returns 1.
// `time` becomes the stamp as a FILETIME (milliseconds 0, zone ignored); a stamp that is not a
// calendar date (month 0, an SMS-SUBMIT without stamp) gives time 0. Without a record nothing
// changes. The text follows the record's `unicode`: 0 as the codec always read it; 1 UCS2 as
// UTF-16, 7-bit through the extension table, 8-bit as ISO-8859-1.
int ApplyPduRecord(SmsMessage* message);
