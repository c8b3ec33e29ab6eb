// SPDX-License-Identifier: GPL-3.0-or-later
// Encoding a message as the SMS-SUBMIT PDUs it is sent as: one, or with longSms the parts of a
// long message with the header 05 00 03 reference total sequence.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/sms_message.h"
#include "common/transfer_error.h"
#include "pdu/codec_options.h"

// Prepares the message's record as part `index` (0-based) of the text split as MeasureText
// says, like PrepareSubmit: a fresh SMS-SUBMIT record (Flash from the flags; DCS 0x00/0xF0 for
// 7-bit, 0x08/0x18 for UCS2), the destination, that part's text and, when the message has more
// than one part, the concatenation header with `reference`. On success the part's octets are in
// the message's `pdu` and record (`encoded`, `encodedLength`, `tpduLength`). 1 on success, 0 on
// failure with `codecResult` (4 for a text too long for the options, an index beyond the parts,
// a number that cannot be sent). With options all off and index 0 it is PrepareSubmit exactly.
// The sender applies its service centre and status report to the record afterwards
// (ApplySubmitOptions) and sends it; so part k can be sent alone.
int PrepareSubmitPart(SmsMessage* message, const CodecOptions& options, std::uint8_t reference,
                      std::uint32_t index);

// Parts the message is sent as with `options` (MeasureText's count); 0 when it cannot be sent
// (too long).
std::uint32_t SubmitPartCount(const SmsMessage& message, const CodecOptions& options);

struct PartPdu {
    std::vector<std::uint8_t> pdu;  // service-centre part and TPDU
    std::uint32_t tpduLength;       // the length given to AT+CMGS
    std::uint32_t encodedLength;    // pdu.size()
};

// Every part of the message, with the sender's options (service centre, status report) applied
// as a send applies them. 0, or 4 (a text too long, a number or centre that cannot be sent);
// `parts` is cleared first.
TransferError EncodeSubmitParts(const SmsMessage& message, const CodecOptions& options,
                                std::uint8_t reference, const std::u16string& serviceCentre,
                                bool statusReport, std::vector<PartPdu>* parts);
