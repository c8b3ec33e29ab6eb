// SPDX-License-Identifier: GPL-3.0-or-later
#include "at/phone_commands.h"

#include <cstdlib>
#include <cstring>

#include "at/at_commands.h"
#include "at/command_sequences.h"
#include "at/response_parsers.h"
#include "common/hex.h"
#include "pdu/deliver.h"
#include "phonelink/response_buffer.h"

namespace {

constexpr std::uint32_t kCommandSize = 64;
constexpr std::size_t kMaxMemoryName = 16;

// ---- AT+CPMS ----

struct MemoryCounts {
    std::int32_t used;
    std::int32_t total;
};

// A line that is not "+CPMS:" with its first pair leaves the counts as they were.
TransferError CpmsLine(AtRequest* request, const std::uint8_t* line, std::uint32_t length, void*) {
    auto* counts = static_cast<MemoryCounts*>(request->handlerResult);
    (void)ParseCpmsLine(line, length, &counts->used, &counts->total);
    return kErrNone;
}

// The command's length, or 0 for a memory name that cannot be sent.
std::uint32_t FormatMemoryCommand(const char* memory, char* command, std::uint32_t size) {
    if (memory == nullptr) return 0;
    const std::size_t length = std::strlen(memory);
    if (length > kMaxMemoryName) return 0;
    return FormatAtCommand(AtCommand::kSelectMemory, memory, static_cast<std::uint32_t>(length),
                           command, size);
}

// ---- AT+CMGL ----

// The rest of a cut listing is waited for while at most this many bytes a message come, and as
// long as the phone does not go quiet for this long.
constexpr std::uint32_t kListedMessageBytes = 512;  // a header and a PDU line, with room to spare
constexpr std::uint32_t kListingQuietMs = kAtDefaultTimeoutMs;
// The count to go by when the phone did not give one.
constexpr std::int32_t kUnknownListingCount = 255;
// The centre's length octet and the shortest SMS-DELIVER TPDU: a shorter hex line is no PDU.
constexpr std::uint32_t kShortestListedPdu = 14;

struct ListingState {
    std::int32_t index;           // storage index of the last header
    std::uint32_t pendingLength;  // TPDU length it announced; 0: no PDU line expected
    PduRecord* record;            // reused for every message of the listing
    PerMessageCallback perMessage;
    void* context;
    std::uint32_t announced;
    std::uint32_t notRead;
    bool headerWithoutPdu;  // the last line was a header that announced no PDU
    CodecOptions options;   // the session's: how the texts are read
};

// The line without the blanks around it.
void TrimBlanks(const std::uint8_t** line, std::uint32_t* length) {
    while (*length > 0 && IsBlank((*line)[*length - 1])) --*length;
    while (*length > 0 && IsBlank(**line)) {
        ++*line;
        --*length;
    }
}

bool IsHexLine(const std::uint8_t* line, std::uint32_t length) {
    if (length == 0) return false;
    for (std::uint32_t i = 0; i < length; ++i) {
        if (!IsHexDigit(line[i])) return false;
    }
    return true;
}

// Decodes a hex PDU line into the listing's record. False when it cannot be read or decoded.
bool DecodeListedPdu(ListingState* state, const std::uint8_t* line, std::uint32_t length,
                     std::uint32_t tpduLength, std::uint32_t storageIndex) {
    PduRecord* record = state->record;
    std::memset(record, 0, sizeof *record);
    record->tpduLength = tpduLength;
    record->storageIndex = storageIndex;
    // A line is at most the response buffer's size, so its octets always fit.
    std::uint8_t octets[kResponseBufferSize / 2];
    if (length / 2 > sizeof octets) return false;
    if (HexToBytes(reinterpret_cast<const char*>(line), length, octets) != kErrNone) return false;
    // The phone's announced length goes to the decoder, whatever the line holds.
    return DecodePdu(record, octets, length / 2, tpduLength, state->options) == kErrNone;
}

// Sent copies and status reports are no messages to read: one of them that cannot be decoded
// is not missed. What could not be told apart counts as a received message.
bool CouldBeReceived(const PduRecord* record) {
    return (record->firstOctet & 3) == kMtiDeliver;
}

TransferError CmglLine(AtRequest* request, const std::uint8_t* line, std::uint32_t length, void*) {
    auto* state = static_cast<ListingState*>(request->handlerResult);
    if (line == nullptr) {
        // A line too long for the buffer. Where a PDU was due it is that PDU, unusable; anywhere
        // else it is noise.
        if (state->pendingLength != 0) {
            state->pendingLength = 0;
            ++state->notRead;
        }
        return kErrNone;
    }
    // Blanks around the hex digits are tolerated; everything between them must be hex.
    TrimBlanks(&line, &length);
    const bool hex = IsHexLine(line, length);
    const bool afterHeaderWithoutPdu = state->headerWithoutPdu;
    state->headerWithoutPdu = false;
    CmglHeader header;

    if (state->pendingLength != 0 && hex) {
        // The PDU line of the announced message.
        const std::uint32_t tpduLength = state->pendingLength;
        state->pendingLength = 0;
        if (!DecodeListedPdu(state, line, length, tpduLength,
                             static_cast<std::uint32_t>(state->index))) {
            if (CouldBeReceived(state->record)) ++state->notRead;
            return kErrNone;
        }
        if (state->perMessage != nullptr) return state->perMessage(state->record, state->context);
        return kErrNone;
    }

    // Anything but a header (an echo, a blank line, an unsolicited code, a damaged header) is
    // looked at below.
    if (ParseCmglHeader(line, length, &header)) {
        // A header while a PDU was still due: that message's PDU never came.
        if (state->pendingLength != 0) ++state->notRead;
        ++state->announced;
        state->index = header.index;
        state->pendingLength = static_cast<std::uint32_t>(header.length);
        state->headerWithoutPdu = header.length == 0;
        return kErrNone;
    }

    if (state->pendingLength == 0 && hex && length >= 2 * kShortestListedPdu) {
        // A PDU line without a header that could be read (or after one announcing no PDU): a
        // message listed but not read. Its type decides whether it is missed; the phone lists
        // the centre part, so the TPDU is what follows it.
        const std::uint32_t octets = length / 2;
        std::uint8_t centre = 0;
        (void)HexToBytes(reinterpret_cast<const char*>(line), 2, &centre);
        const std::uint32_t tpduLength = centre + 1u < octets ? octets - 1u - centre : octets;
        (void)DecodeListedPdu(state, line, length, tpduLength, 0);
        if (!afterHeaderWithoutPdu) ++state->announced;  // that header counted it already
        if (CouldBeReceived(state->record)) ++state->notRead;
        return kErrNone;
    }
    // Anything else is passed over. Between a header and its PDU that is an unsolicited line
    // ("+CMTI:", "RING") or a damaged PDU line: the PDU may still follow, and if a header or the
    // end comes first, the message is counted as not read.
    return kErrNone;
}

}  // namespace

bool AtPing(PhoneSession* session) {
    session->lastError = RunAtCommand(session, AtCommand::kAttention);
    return session->lastError == kErrNone;
}

bool AtReset(PhoneSession* session) {
    session->lastError = RunAtCommand(session, AtCommand::kReset);
    return session->lastError == kErrNone;
}

TransferError AtInit(PhoneSession* session) {
    return RunAtSteps(session, kSetUpSteps, kSetUpStepCount, nullptr, nullptr);
}

TransferError SelectMemory(PhoneSession* session, const char* memory, std::int32_t* used,
                           std::int32_t* total) {
    char command[kCommandSize];
    const std::uint32_t length = FormatMemoryCommand(memory, command, sizeof command);
    if (length == 0) return kErrInvalidParameter;
    MemoryCounts counts{-1, -1};
    AtRequest request;
    InitAtCommandRequest(&request, session, AtCommand::kSelectMemory, command, length);
    request.handlerResult = &counts;
    TransferError result = AtExchange(&request, &CpmsLine, nullptr);
    if (used != nullptr) *used = counts.used;
    if (total != nullptr) *total = counts.total;
    return result;
}

TransferError SelectMemoryOnly(PhoneSession* session, const char* memory) {
    char command[kCommandSize];
    const std::uint32_t length = FormatMemoryCommand(memory, command, sizeof command);
    if (length == 0) return kErrInvalidParameter;
    AtRequest request;
    InitAtCommandRequest(&request, session, AtCommand::kSelectMemory, command, length);
    return AtSimple(&request);
}

TransferError ListMemory(PhoneSession* session, std::uint32_t status, std::int32_t expected,
                         PerMessageCallback perMessage, void* context, ListingOutcome* outcome) {
    ListingOutcome unused{};
    if (outcome == nullptr) outcome = &unused;
    *outcome = {};
    char command[kCommandSize];
    const std::uint32_t commandLength =
        FormatAtCommand(AtCommand::kListMessages, status, command, sizeof command);
    if (commandLength == 0) return kErrInvalidParameter;
    // One record for the whole listing, allocated before the command so that nothing is
    // allocated while the response is read.
    ListingState state{};
    state.record = NewPduRecord();
    if (state.record == nullptr) return kErrOutOfMemory;
    state.perMessage = perMessage;
    state.context = context;
    state.options = session->codec;
    AtRequest request;
    InitAtCommandRequest(&request, session, AtCommand::kListMessages, command, commandLength);
    request.handlerResult = &state;
    request.skipOverlongLines = true;
    TransferError result = AtExchange(&request, &CmglLine, nullptr);
    FreePduRecord(state.record);
    if (state.pendingLength != 0) ++state.notRead;  // the listing ended before that PDU came

    if (result == kErrTimeout) {
        // Cut by the deadline, or the line broke. Whatever the phone still sends of the listing
        // is passed over; bounded by what the memory can still hold and by a quiet line.
        const std::int32_t count = expected >= 0 ? expected : kUnknownListingCount;
        const std::uint32_t left = static_cast<std::uint32_t>(count) > state.announced
                                       ? static_cast<std::uint32_t>(count) - state.announced
                                       : 0;
        const TransferError rest =
            AtAwaitFinal(&request, kListingQuietMs, (left + 1) * kListedMessageBytes);
        if (rest == kErrCancelled) result = kErrCancelled;
        outcome->outOfStep = rest == kErrTimeout;
    }
    outcome->announced = state.announced;
    outcome->notRead = state.notRead;
    return result;
}

TransferError ListMessages(PhoneSession* session, std::uint32_t status,
                           PerMessageCallback perMessage, void* context) {
    return ListMemory(session, status, -1, perMessage, context, nullptr);
}

TransferError DeleteMessage(PhoneSession* session, std::uint32_t index) {
    char command[kCommandSize];
    const std::uint32_t length =
        FormatAtCommand(AtCommand::kDeleteMessage, index, command, sizeof command);
    if (length == 0) return kErrInvalidParameter;
    AtRequest request;
    InitAtCommandRequest(&request, session, AtCommand::kDeleteMessage, command, length);
    return AtSimple(&request);
}

namespace {

// The messages of one memory that a listing did not read: those it could not read, and when it
// ended without its "OK", those the memory's count said were there but never came.
std::uint32_t NotRead(const ListingOutcome& outcome, TransferError result, std::int32_t used) {
    std::uint32_t missing = 0;
    if (result != kErrNone && used > 0 && static_cast<std::uint32_t>(used) > outcome.announced) {
        missing = static_cast<std::uint32_t>(used) - outcome.announced;
    }
    return outcome.notRead + missing;
}

}  // namespace

TransferError RetrieveAll(PhoneSession* session, MemoryNotify notifyMemory,
                          PerMessageCallback perMessage, void* context, RetrieveCounts* counts) {
    RetrieveCounts unused{};
    if (counts == nullptr) counts = &unused;
    *counts = {};
    std::int32_t used = -1;
    std::int32_t total = -1;
    ListingOutcome listing{};
    TransferError simPart;
    bool simSelected = SelectMemory(session, "SM", &used, &total) == kErrNone;
    if (simSelected) {
        if (notifyMemory != nullptr) notifyMemory(u"SM", context);
        if (used > 0) {
            simPart = ListMemory(session, kListAllMessages, used, perMessage, context, &listing);
            if (simPart == kErrCancelled) return kErrCancelled;
            counts->simNotRead = NotRead(listing, simPart, used);
            if (listing.outOfStep) {
                counts->outOfStep = true;
                return simPart;
            }
        } else {
            simPart = kErrNone;  // an empty SIM is read
        }
    } else {
        simPart = kErrPhoneError;
    }

    TransferError phoneSelect = SelectMemory(session, "ME", &used, &total);
    if (phoneSelect == kErrCancelled) return kErrCancelled;
    if (phoneSelect != kErrNone) {
        // A phone without its own memory is fine when the SIM was read. When neither memory
        // could be selected nothing was read, and the phone's answer says why (a phone that
        // has gone away times out).
        if (simSelected) return simPart == kErrNone ? kErrNone : kErrPhoneError;
        return phoneSelect;
    }

    // Unlike the SIM, the phone memory is listed even when its count says it is empty.
    if (notifyMemory != nullptr) notifyMemory(u"ME", context);
    TransferError phonePart =
        ListMemory(session, kListAllMessages, used, perMessage, context, &listing);
    if (phonePart == kErrCancelled) return kErrCancelled;
    counts->phoneNotRead = NotRead(listing, phonePart, used);
    counts->outOfStep = listing.outOfStep;
    return simPart == kErrNone ? kErrNone : phonePart;
}

TransferError DialVoice(PhoneSession* session, const char16_t* number) {
    if (number == nullptr) return kErrInvalidParameter;
    std::size_t length = 0;
    while (number[length] != 0) {
        if (++length > kMaxDialLength) return kErrInvalidParameter;
    }
    char narrowed[kMaxDialLength];
    for (std::size_t i = 0; i < length; ++i) narrowed[i] = static_cast<char>(number[i] & 0xFF);
    char command[3 + kMaxDialLength + 3];
    // A NUL among the low bytes must not cut the command short: its length is counted.
    const std::uint32_t commandLength =
        FormatAtCommand(AtCommand::kDialVoice, narrowed, static_cast<std::uint32_t>(length),
                        command, sizeof command);
    AtRequest request;
    InitAtCommandRequest(&request, session, AtCommand::kDialVoice, command, commandLength);
    (void)AtSimple(&request);
    return kErrNone;
}

TransferError AppendIndex(IndexList* list, std::uint32_t index) {
    if (list == nullptr) return kErrInvalidParameter;
    if (list->count == list->capacity) {
        std::uint32_t step = list->growthStep != 0 ? list->growthStep : kIndexListGrowthStep;
        std::uint32_t capacity = list->capacity + step;
        void* grown = std::realloc(list->items, capacity * sizeof(std::uint32_t));
        if (grown == nullptr) return kErrOutOfMemory;
        list->items = static_cast<std::uint32_t*>(grown);
        list->capacity = capacity;
    }
    list->items[list->count++] = index;
    return kErrNone;
}

void FreeIndexList(IndexList* list) {
    if (list == nullptr) return;
    std::free(list->items);
    list->items = nullptr;
    list->count = 0;
    list->capacity = 0;
}

void NoteListedMemory(DeletionLists* lists, const char16_t* memory) {
    if (lists == nullptr) return;
    std::size_t i = 0;
    for (; memory != nullptr && i < 2 && memory[i] != 0; ++i) lists->currentMemory[i] = memory[i];
    lists->currentMemory[i] = 0;
}

TransferError CollectForDeletion(DeletionLists* lists, std::uint32_t storageIndex) {
    if (lists == nullptr) return kErrInvalidParameter;
    bool phoneMemory = lists->currentMemory[0] == u'M' && lists->currentMemory[1] == u'E' &&
                       lists->currentMemory[2] == 0;
    return AppendIndex(phoneMemory ? &lists->phone : &lists->sim, storageIndex);
}

void FreeDeletionLists(DeletionLists* lists) {
    if (lists == nullptr) return;
    FreeIndexList(&lists->sim);
    FreeIndexList(&lists->phone);
    lists->currentMemory[0] = 0;
}

void DeleteCollected(PhoneSession* session, const DeletionLists* lists) {
    if (session == nullptr || lists == nullptr) return;
    if (lists->sim.count > 0) {
        // The phone memory was probably selected last: the SIM must be selected again first.
        bool selected = lists->currentMemory[0] == 0 || SelectMemoryOnly(session, "SM") == kErrNone;
        if (selected) {
            for (std::uint32_t i = lists->sim.count; i-- > 0;) {
                (void)DeleteMessage(session, lists->sim.items[i]);
            }
        }
    }
    if (lists->phone.count > 0 && SelectMemoryOnly(session, "ME") == kErrNone) {
        for (std::uint32_t i = lists->phone.count; i-- > 0;) {
            (void)DeleteMessage(session, lists->phone.items[i]);
        }
    }
}

void DeleteRetrieved(PhoneSession* session, const DeletionLists* lists, TransferError retrieved,
                     const RetrieveCounts& counts) {
    if (retrieved == kErrCancelled || counts.outOfStep) return;
    DeleteCollected(session, lists);
}
