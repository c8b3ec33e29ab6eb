#include "at/phone_commands.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "pdu/deliver.h"
#include "pdu/gsm_alphabet.h"

namespace {

constexpr std::size_t kCommandSize = 64;
constexpr std::size_t kMaxMemoryName = 16;

bool IsBlank(std::uint8_t c) {
    return (c >= 9 && c <= 13) || c == 32;
}

// ---- AT+CPMS ----

struct MemoryCounts {
    std::int32_t used;
    std::int32_t total;
};

TransferError CpmsLine(AtRequest* request, const std::uint8_t* line, std::uint32_t length, void*) {
    auto* counts = static_cast<MemoryCounts*>(request->handlerResult);
    TokenCursor tokens{line, length};
    std::int32_t used;
    std::int32_t total;
    // Only the first pair (the memory read from) is taken; the rest of the line is ignored.
    if (ExpectLiteral(&tokens, "+CPMS:") == kTokenOk && ReadNumber(&tokens, &used) == kTokenOk &&
        ExpectLiteral(&tokens, ",") == kTokenOk && ReadNumber(&tokens, &total) == kTokenOk) {
        counts->used = used;
        counts->total = total;
    }
    return kErrNone;
}

bool FormatMemoryCommand(const char* memory, char* command, std::size_t size) {
    if (memory == nullptr || std::strlen(memory) > kMaxMemoryName) return false;
    int written = std::snprintf(command, size, "AT+CPMS=\"%s\"\r", memory);
    return written > 0 && static_cast<std::size_t>(written) < size;
}

// ---- AT+CMGL ----

struct ListingState {
    std::int32_t index;           // storage index of the last header
    std::uint32_t pendingLength;  // TPDU length it announced; 0: no PDU line expected
    PduRecord* record;            // reused for every message of the listing
    PerMessageCallback perMessage;
    void* context;
};

TransferError CmglLine(AtRequest* request, const std::uint8_t* line, std::uint32_t length, void*) {
    auto* state = static_cast<ListingState*>(request->handlerResult);
    if (state->pendingLength == 0) {
        // A header: +CMGL: <index>,<status>,[<alpha>],<length>. Anything else (an echo, a blank
        // line, an unsolicited code) does not parse and is passed over.
        TokenCursor tokens{line, length};
        std::int32_t index;
        std::int32_t status;
        std::int32_t announced;
        if (ExpectLiteral(&tokens, "+CMGL:") != kTokenOk ||
            ReadNumber(&tokens, &index) != kTokenOk || ExpectLiteral(&tokens, ",") != kTokenOk ||
            ReadNumber(&tokens, &status) != kTokenOk || ExpectLiteral(&tokens, ",") != kTokenOk) {
            return kErrNone;
        }
        (void)SkipQuotedString(&tokens);  // the alpha field may be empty or absent
        if (ExpectLiteral(&tokens, ",") != kTokenOk ||
            ReadNumber(&tokens, &announced) != kTokenOk) {
            return kErrNone;
        }
        state->index = index;
        state->pendingLength = static_cast<std::uint32_t>(announced);
        return kErrNone;
    }

    // The PDU line of the announced message.
    PduRecord* record = state->record;
    std::memset(record, 0, sizeof *record);
    record->tpduLength = state->pendingLength;
    record->storageIndex = static_cast<std::uint32_t>(state->index);
    state->pendingLength = 0;

    // Blanks around the hex digits are tolerated; everything between them must be hex.
    while (length > 0 && IsBlank(line[length - 1])) --length;
    while (length > 0 && IsBlank(line[0])) {
        ++line;
        --length;
    }
    // A line is at most the response buffer's size, so its octets always fit.
    std::uint8_t octets[kResponseBufferSize / 2];
    if (length / 2 > sizeof octets) return kErrInvalidParameter;
    TransferError hex = HexToBytes(reinterpret_cast<const char*>(line), length, octets);
    if (hex != kErrNone) return kErrInvalidParameter;

    // The phone's announced length goes to the decoder, whatever the line holds.
    if (DecodePdu(record, octets, length / 2, record->tpduLength) != kErrNone) {
        return kErrNone;  // an undecodable message is skipped
    }
    if (state->perMessage != nullptr) return state->perMessage(record, state->context);
    return kErrNone;
}

}  // namespace

bool AtPing(PhoneSession* session) {
    session->lastError = AtSendCommand(session, "AT\r");
    return session->lastError == kErrNone;
}

bool AtReset(PhoneSession* session) {
    session->lastError = AtSendCommand(session, "ATZ\r");
    return session->lastError == kErrNone;
}

TransferError AtInit(PhoneSession* session) {
    // Echo off and verbose result codes; some phones refuse V1 and get plain echo-off instead.
    if (AtSendCommand(session, "ATE0V1\r") != kErrNone) (void)AtSendCommand(session, "ATE0\r");
    (void)AtSendCommand(session, "AT+CMGF=0\r");        // PDU mode
    (void)AtSendCommand(session, "AT+CSCS=\"GSM\"\r");  // GSM character set
    return AtSendCommand(session, "AT\r");
}

TransferError SelectMemory(PhoneSession* session, const char* memory, std::int32_t* used,
                           std::int32_t* total) {
    char command[kCommandSize];
    if (!FormatMemoryCommand(memory, command, sizeof command)) return kErrInvalidParameter;
    MemoryCounts counts{-1, -1};
    AtRequest request;
    InitAtRequest(&request, session, command, kAtDefaultTimeoutMs);
    request.handlerResult = &counts;
    TransferError result = AtExchange(&request, &CpmsLine, nullptr);
    if (used != nullptr) *used = counts.used;
    if (total != nullptr) *total = counts.total;
    return result;
}

TransferError SelectMemoryOnly(PhoneSession* session, const char* memory) {
    char command[kCommandSize];
    if (!FormatMemoryCommand(memory, command, sizeof command)) return kErrInvalidParameter;
    AtRequest request;
    InitAtRequest(&request, session, command, kAtDefaultTimeoutMs);
    return AtSimple(&request);
}

TransferError ListMessages(PhoneSession* session, std::uint32_t status,
                           PerMessageCallback perMessage, void* context) {
    char command[kCommandSize];
    std::snprintf(command, sizeof command, "AT+CMGL=%u\r", status);
    // One record for the whole listing, allocated before the command so that nothing is
    // allocated while the response is read.
    ListingState state{};
    state.record = NewPduRecord();
    if (state.record == nullptr) return kErrOutOfMemory;
    state.perMessage = perMessage;
    state.context = context;
    AtRequest request;
    InitAtRequest(&request, session, command, kAtListTimeoutMs);
    request.handlerResult = &state;
    TransferError result = AtExchange(&request, &CmglLine, nullptr);
    FreePduRecord(state.record);
    return result;
}

TransferError DeleteMessage(PhoneSession* session, std::uint32_t index) {
    char command[kCommandSize];
    std::snprintf(command, sizeof command, "AT+CMGD=%u\r", index);
    AtRequest request;
    InitAtRequest(&request, session, command, kAtDefaultTimeoutMs);
    return AtSimple(&request);
}

TransferError RetrieveAll(PhoneSession* session, MemoryNotify notifyMemory,
                          PerMessageCallback perMessage, void* context) {
    std::int32_t used = -1;
    std::int32_t total = -1;
    TransferError simPart;
    bool simSelected = SelectMemory(session, "SM", &used, &total) == kErrNone;
    if (simSelected) {
        if (notifyMemory != nullptr) notifyMemory(u"SM", context);
        if (used > 0) {
            simPart = ListMessages(session, kListAllMessages, perMessage, context);
            if (simPart == kErrCancelled) return kErrCancelled;
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
    TransferError phonePart = ListMessages(session, kListAllMessages, perMessage, context);
    if (phonePart == kErrCancelled) return kErrCancelled;
    return simPart == kErrNone ? kErrNone : phonePart;
}

TransferError DialVoice(PhoneSession* session, const char16_t* number) {
    if (number == nullptr) return kErrInvalidParameter;
    std::size_t length = 0;
    while (number[length] != 0) {
        if (++length > kMaxDialLength) return kErrInvalidParameter;
    }
    char command[3 + kMaxDialLength + 3];
    std::memcpy(command, "ATD", 3);
    for (std::size_t i = 0; i < length; ++i) command[3 + i] = static_cast<char>(number[i] & 0xFF);
    std::memcpy(command + 3 + length, ";\r", 3);
    AtRequest request;
    InitAtRequest(&request, session, command, kAtDefaultTimeoutMs);
    // A NUL among the low bytes must not cut the command short.
    request.commandLength = static_cast<std::uint32_t>(length + 5);
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
