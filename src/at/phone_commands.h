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

// "ATE0V1\r" (or "ATE0\r" when the phone refuses it), "AT+CMGF=0\r", "AT+CSCS=\"GSM\"\r", then
// "AT\r", whose result is returned. Only that last result counts.
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

// "AT+CMGL=<status>\r" with the 20 s time-out. Headers that do not parse and PDUs that do not
// decode are skipped; a PDU line with an odd number of hex digits (or a non-hex character) ends
// the listing with 4.
TransferError ListMessages(PhoneSession* session, std::uint32_t status,
                           PerMessageCallback perMessage, void* context);

// "AT+CMGD=<index>\r".
TransferError DeleteMessage(PhoneSession* session, std::uint32_t index);

// Lists the SIM ("SM") and then the phone memory ("ME"). The SIM is listed only when it holds
// messages; the phone memory is listed whenever it can be selected. 0 when the SIM was read
// (a failure on the phone memory is then not reported); otherwise the phone memory's result,
// and when neither memory can be selected, the phone memory's selection error. A cancel (5)
// ends it at once.
TransferError RetrieveAll(PhoneSession* session, MemoryNotify notifyMemory,
                          PerMessageCallback perMessage, void* context);

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
