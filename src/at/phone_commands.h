// SPDX-License-Identifier: GPL-3.0-or-later
// The commands that check the phone, set it up, select its message memories, list and delete
// the messages stored there, and dial.
#pragma once

#include <cstdint>

#include "at/at_exchange.h"
#include "common/pdu_record.h"
#include "common/transfer_error.h"

// "AT\r" / "ATZ\r": the result is kept as the session's last error; true when it is 0.
bool AtPing(PhoneSession* session);
bool AtReset(PhoneSession* session);

// The set-up (kSetUpSteps): "ATE0V1\r" (or "ATE0\r" when the phone refuses it), "AT+CMGF=0\r",
// "AT+CSCS=\"GSM\"\r", then "AT\r", whose result is returned. Only that last result counts.
TransferError AtInit(PhoneSession* session);

// "AT+CPMS=\"<memory>\"\r". On 0, *used and *total hold the first two numbers of the "+CPMS:"
// line, or -1 each when there was no such line or it did not parse.
TransferError SelectMemory(PhoneSession* session, const char* memory, std::int32_t* used,
                           std::int32_t* total);
// The same command without looking at the response.
TransferError SelectMemoryOnly(PhoneSession* session, const char* memory);

// Gets each listed message that decoded, with the phone's storage index in `storageIndex`. The
// record belongs to the listing and is reused for the next message: copy what you keep.
// A non-zero result ends the listing with that result.
using PerMessageCallback = TransferError (*)(PduRecord* record, void* context);
// Told u"SM" or u"ME" before that memory is listed.
using MemoryNotify = void (*)(const char16_t* memory, void* context);

constexpr std::uint32_t kListAllMessages = 4;  // AT+CMGL status: every message, in PDU mode

// What one listing showed and what of it could not be read.
struct ListingOutcome {
    std::uint32_t announced;  // messages listed: headers, and PDU lines whose header was unreadable
    std::uint32_t notRead;    // of these, messages whose PDU line could not be read or decoded
                              // (those that decoded as sent copies or status reports not counted)
    bool outOfStep;  // cut by its deadline, and the rest was still coming when the wait ended
};

// "AT+CMGL=<status>\r" with the 20 s time-out. A line that cannot be read is passed over and the
// listing goes on: a header that does not parse, an unsolicited line (even between a header and
// its PDU), a line too long for the response buffer. A header whose PDU line is unusable (not hex,
// an odd number of digits, too long, missing, or not decodable) counts as a message not read.
// When the listing is cut by its deadline the phone may still be sending the rest: it is read and
// passed over up to its final result code (AtAwaitFinal, at most about `expected` messages' worth;
// -1 when not known), so that the next command gets its own answer.
TransferError ListMemory(PhoneSession* session, std::uint32_t status, std::int32_t expected,
                         PerMessageCallback perMessage, void* context, ListingOutcome* outcome);
// ListMemory without a known count and without the outcome.
TransferError ListMessages(PhoneSession* session, std::uint32_t status,
                           PerMessageCallback perMessage, void* context);

// "AT+CMGD=<index>\r".
TransferError DeleteMessage(PhoneSession* session, std::uint32_t index);

// Messages of each memory that a retrieval could not read. Zero-fill to initialise.
struct RetrieveCounts {
    std::uint32_t simNotRead;
    std::uint32_t phoneNotRead;
    bool outOfStep;  // a cut listing's rest did not end: later answers cannot be trusted, and
                     // nothing may be deleted
};

// Lists the SIM ("SM") and then the phone memory ("ME"). The SIM is listed only when it holds
// messages; the phone memory is listed whenever it can be selected. 0 when the SIM was read
// (a failure on the phone memory is then not reported); otherwise the phone memory's result,
// and when neither memory can be selected, the phone memory's selection error. A cancel (5)
// ends it at once. A listing that is out of step ends it with that listing's result.
// `counts` (may be null) gets, per memory, the messages not read: those whose PDU could not be
// read or decoded, and when the listing ended without its "OK", those its "+CPMS:" count said
// were there but never came.
TransferError RetrieveAll(PhoneSession* session, MemoryNotify notifyMemory,
                          PerMessageCallback perMessage, void* context, RetrieveCounts* counts);

constexpr std::uint32_t kMaxDialLength = 90;
// "ATD<number>;\r" (a voice call); each UTF-16 unit is sent as its low byte. 4 for a number
// longer than kMaxDialLength characters, otherwise 0 once the command has been run, whatever the
// phone answered.
TransferError DialVoice(PhoneSession* session, const char16_t* number);

// Storage indices collected for deletion after retrieval. Zero-fill to initialise.
struct IndexList {
    std::uint32_t* items;
    std::uint32_t count;
    std::uint32_t capacity;
    std::uint32_t growthStep;  // entries added when full; 0 means kIndexListGrowthStep
};
constexpr std::uint32_t kIndexListGrowthStep = 10;

// 1 when out of memory (the list keeps what it had).
TransferError AppendIndex(IndexList* list, std::uint32_t index);
void FreeIndexList(IndexList* list);

// What the transfer collects for deletion: one list per memory and the memory being listed.
// Zero-fill to initialise.
struct DeletionLists {
    IndexList sim;
    IndexList phone;
    char16_t currentMemory[3];  // u"SM", u"ME", or empty before the first memory was selected
};

// Call from the MemoryNotify callback.
void NoteListedMemory(DeletionLists* lists, const char16_t* memory);
// Appends the index to the phone-memory list while "ME" is listed, to the SIM list otherwise.
TransferError CollectForDeletion(DeletionLists* lists, std::uint32_t storageIndex);
void FreeDeletionLists(DeletionLists* lists);

// Deletes the collected messages: the SIM list with "SM" selected again first (skipped when that
// selection fails), then the phone list with "ME" selected (skipped likewise), each from the last
// collected index to the first, so that phones that renumber keep the remaining indices valid.
// Results of single deletions are ignored.
void DeleteCollected(PhoneSession* session, const DeletionLists* lists);

// What a retrieval that ended with `retrieved` collected goes from the phone (DeleteCollected),
// even when a listing failed or was cut: what arrived whole is stored, and the next transfer
// must fetch the rest rather than the same messages again. Nothing goes after a cancel, nor
// when a listing's rest never ended (counts.outOfStep): the phone's answers could then belong
// to other commands.
void DeleteRetrieved(PhoneSession* session, const DeletionLists* lists, TransferError retrieved,
                     const RetrieveCounts& counts);
