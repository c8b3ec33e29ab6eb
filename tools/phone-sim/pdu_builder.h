// SPDX-License-Identifier: GPL-3.0-or-later
// Building the PDUs the simulated phone stores, with the project's own encoder: SMS-DELIVER for
// received messages, SMS-SUBMIT for the ones a user keeps as unsent or sent.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/file_time.h"
#include "common/pdu_record.h"

namespace phone_sim {

struct TextMessage {
    std::string number;    // "+" first for an international number; digits only otherwise
    std::u16string text;   // at most 160 characters of the GSM default alphabet
    SystemTime time;       // service-centre time stamp (SMS-DELIVER only)
    int zoneQuarters = 0;  // time zone in quarter hours east of GMT, -79..79
    std::uint8_t dcs = 0;
    bool submit = false;  // SMS-SUBMIT instead of SMS-DELIVER
};

struct BuiltPdu {
    std::vector<std::uint8_t> bytes;  // service-centre part and TPDU
    unsigned tpduLength = 0;
};

std::string ToHex(const std::vector<std::uint8_t>& bytes);
// Upper- or lower-case pairs; false for an odd length or a non-hex character.
bool FromHex(std::string_view hex, std::vector<std::uint8_t>* bytes);

// Fills the service-centre fields of a record: "+" first makes it international; "" leaves the
// record asking for the phone's default centre. False for a non-digit or more than 20 digits.
bool SetServiceCentre(PduRecord* record, std::string_view number);
// Fills the address fields the same way.
bool SetAddress(PduRecord* record, std::string_view number);

// Encodes the message with the given service centre. On failure `error` says why.
bool BuildTextPdu(const TextMessage& message, std::string_view serviceCentre, BuiltPdu* out,
                  std::string* error);

// The SMS-DELIVER PDUs of a message in any Unicode text. A text that the GSM default alphabet
// holds in one message is built by BuildTextPdu, byte for byte; any other goes as the program
// sends with the `Unicode` and `LongSms` settings: the GSM alphabet with escape pairs, or UCS2,
// in up to 10 parts with the header 05 00 03 `reference` total sequence. False, with `error`,
// for a text of more than 10 parts or a bad number, centre or time.
bool BuildDeliverParts(const TextMessage& message, std::string_view serviceCentre,
                       std::uint8_t reference, std::vector<BuiltPdu>* out, std::string* error);

// An SMS-STATUS-REPORT (centre part first) telling that the message with `reference` reached
// `recipient`: accepted by the centre at `accepted`, delivered at `delivered`, both in the zone
// `zoneQuarters`, status 0 ("received by the SME"). False for a bad number or time.
bool BuildStatusReport(std::string_view serviceCentre, unsigned reference,
                       std::string_view recipient, const SystemTime& accepted,
                       const SystemTime& delivered, int zoneQuarters, BuiltPdu* out);

// Encodes a decoded record (whatever its MTI) and mends what the encoder leaves as it is for
// SMS-DELIVER: a negative time zone is written as sign bit and quarter count. False when the
// encoder refuses the record.
bool EncodeRecord(PduRecord* record, BuiltPdu* out);

// The TPDU length of a PDU with a leading service-centre part, as a phone would announce it;
// false when the bytes are too short for the centre part they claim.
bool TpduLengthOf(const std::vector<std::uint8_t>& bytes, unsigned* tpduLength);

// Local wall-clock offset from GMT in quarter hours (for service-centre time stamps).
int LocalZoneQuarters();

}  // namespace phone_sim
