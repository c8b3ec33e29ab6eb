// SPDX-License-Identifier: GPL-3.0-or-later
// What the SMS-SUBMIT encoder accepts, asked before a message is stored or sent: a number, a
// service centre or a text that the encoder would refuse is refused at once, with the reason,
// rather than at the next transfer. EncodeMessage and EncodePdu apply these same rules.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "common/transfer_error.h"
#include "pdu/codec_options.h"

// An address field holds at most 20 digits (10 octets of semi-octets).
constexpr std::size_t kMaxNumberDigits = 20;
// One message holds at most 160 septets; there are no multi-part messages.
constexpr std::size_t kMaxSubmitTextLength = 160;

// A destination: an optional leading "+" and then 1 to 20 digits 0-9, nothing else (numbers
// typed by people are normalised first; see NormalizePhoneNumber). 0, or 4 with `reason` (when
// not null) set to one clause in English for the user, e.g. "the number has 5000 digits; at
// most 20 can be sent". Never allocates when `reason` is null.
TransferError ValidateRecipient(std::u16string_view number, std::string* reason);

// A custom service centre: as a destination, except that it may be empty (or a lone "+"), which
// leaves the choice of centre to the phone.
TransferError ValidateServiceCentre(std::u16string_view centre, std::string* reason);

// A text as it would be encoded: every character counts, the carriage returns of its line
// breaks included; at most 160.
TransferError ValidateMessageText(std::u16string_view text, std::string* reason);

// The same with `options`: the text must fit one message in the encoding it will be sent in
// (160 septets, escape pairs counting 2, or 70 UCS2 units), or with longSms kMaxParts parts.
// With options all off it is the rule above.
TransferError ValidateMessageText(std::u16string_view text, const CodecOptions& options,
                                  std::string* reason);
