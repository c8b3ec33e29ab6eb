// SPDX-License-Identifier: GPL-3.0-or-later
// What the store keeps of long (concatenated) messages, so that a restart, a killed run or the
// next transfer goes on where the last one stopped (the tables in store/schema.h):
// - the parts of a received long message, joined into one Inbox message whatever order they
//   arrive in and however many transfers they take;
// - for a long Outbox message, the reference its parts carry and how many went out, so that a
//   run that stopped at part k sends only the rest, with the same reference;
// - the counter that gives every long message its own reference.
// Each operation holds the store's lock and is one transaction (or part of the caller's).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/sms_message.h"

class MessageDatabase;

// Stands in a joined text for a part that has not arrived.
constexpr char16_t kMissingPartText[] = u"[\u2026]";

// One part of a received long message, as its header and the codec give it.
struct ReceivedPart {
    std::u16string sender;        // the message's number
    std::uint32_t reference = 0;  // 8 or 16 bits
    std::uint32_t total = 0;      // 2..255
    std::uint32_t sequence = 0;   // 1..total
    FileTime time = 0;            // the service-centre stamp; 0: none
    std::u16string text;
};

// The texts of parts 1..total in order, kMissingPartText for each one not in `parts` (which
// holds sequence and text pairs in any order).
std::u16string JoinPartTexts(std::uint32_t total,
                             const std::vector<std::pair<std::uint32_t, std::u16string>>& parts);

enum class PartOutcome {
    kDuplicate,   // the same part is stored already: nothing written
    kNewMessage,  // the first part of its message to arrive: a new Inbox message
    kJoined,      // added to the message of its other parts, which is unread again
};

// Stores a received part. The same part stored before (same sender, reference, total,
// sequence, time and text) is a duplicate. Otherwise it joins the newest message of the same
// sender, reference and total that lacks its sequence and is not complete, or starts a new one
// from `fields` (folder, name, number, flags; the text and time come from the parts). *message
// is the Inbox message as written (also for a duplicate: the one that holds the part, text
// left empty). False when the store failed; nothing is then written.
bool StoreReceivedPart(MessageDatabase& db, const ReceivedPart& part, const SmsMessage& fields,
                       SmsMessage* message, PartOutcome* outcome);

// A long Outbox message's sending: its reference, taken from the counter the first time it is
// asked for and kept, and the number of its first parts the phone has accepted.
struct LongSend {
    std::uint32_t reference = 0;
    std::uint32_t partsSent = 0;
};
bool StartLongSend(MessageDatabase& db, Oid message, LongSend* send);
// Records that the phone accepted the first `partsSent` parts.
bool NotePartsSent(MessageDatabase& db, Oid message, std::uint32_t partsSent);
// The message's long_sends row goes (inside the caller's transaction when there is one): it
// has left the Outbox.
bool ForgetLongSend(MessageDatabase& db, Oid message);
// The reference the next long message would get (tests).
bool PeekNextLongReference(MessageDatabase& db, std::uint32_t* reference);
