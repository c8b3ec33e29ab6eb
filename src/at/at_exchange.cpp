// SPDX-License-Identifier: GPL-3.0-or-later
#include "at/at_exchange.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "common/tick_clock.h"

TransferError CreatePhoneSession(PhoneChannel* channel, PhoneSession** session) {
    if (channel == nullptr || session == nullptr) return kErrInvalidParameter;
    *session = nullptr;
    auto* created = new (std::nothrow) PhoneSession{};
    if (created == nullptr) return kErrOutOfMemory;
    created->channel = channel;
    TransferError result = CreateResponseBuffer(&created->response, kResponseBufferSize);
    if (result != kErrNone) {
        delete created;
        return result;
    }
    *session = created;
    return kErrNone;
}

void FreePhoneSession(PhoneSession* session) {
    if (session == nullptr) return;
    FreeResponseBuffer(&session->response);
    delete session;
}

void InitAtRequest(AtRequest* request, PhoneSession* session, const char* command,
                   std::uint32_t timeoutMs) {
    std::memset(request, 0, sizeof *request);
    request->session = session;
    request->channel = session->channel;
    request->command = command;
    request->timeoutMs = timeoutMs;
    ResetCursor(&request->cursor, session->response.data, session->response.size);
}

namespace {

// The final result codes, tried in order. The length decides first: an echoed "AT" is 2 bytes
// but not "OK", and of a 5-byte line only "ER" is compared, so any "ER..." of that length is an
// error. The error number after "+CMS ERROR:" and "+CME ERROR:" is not read.
struct FinalResult {
    std::uint32_t length;  // the line's length, or its least length when `orLonger`
    bool orLonger;
    const char* start;  // compared with the line's first bytes
    std::uint32_t startLength;
    TransferError code;
};

constexpr FinalResult kFinalResults[] = {
    {2, false, "OK", 2, kErrNone},
    {5, false, "ER", 2, kErrPhoneError},
    {11, true, "+CMS ERROR:", 11, kErrCmsError},
    {11, true, "+CME ERROR:", 11, kErrCmeError},
};

}  // namespace

TransferError ClassifyResultLine(const std::uint8_t* line, std::uint32_t length,
                                 TransferError* code) {
    for (const FinalResult& result : kFinalResults) {
        if (result.orLonger ? length < result.length : length != result.length) continue;
        if (std::memcmp(line, result.start, result.startLength) != 0) continue;
        *code = result.code;
        return kErrNone;
    }
    return kErrNotFinal;
}

TransferError AtExchange(AtRequest* request, AtLineHandler lineHandler, void* handlerArg) {
    ResponseCursor* cursor = &request->cursor;
    std::uint8_t* buffer = cursor->bufferStart;
    std::uint32_t size = cursor->bufferSize;
    if (request->channel == nullptr || request->command == nullptr || buffer == nullptr ||
        size == 0) {
        return kErrInvalidParameter;
    }

    TransferError result = DrainInput(request->channel, buffer, size);
    if (result != kErrNone) return result;

    if (request->commandLength == 0) {
        request->commandLength = static_cast<std::uint32_t>(std::strlen(request->command));
    }
    result = ChannelWrite(request->channel, reinterpret_cast<const std::uint8_t*>(request->command),
                          request->commandLength);
    if (result != kErrNone) return result;

    std::uint32_t timeout = request->timeoutMs != 0 ? request->timeoutMs : kAtDefaultTimeoutMs;
    request->lastArrival = GetTickCount();
    std::uint32_t deadline = request->lastArrival + timeout;
    ResetCursor(cursor, buffer, size);

    for (;;) {
        std::uint32_t room = CursorFreeSpace(cursor);
        if (room < 1) {
            if (!request->skipOverlongLines) return kErrInvalidParameter;
            CursorStartDiscard(cursor);
            room = CursorFreeSpace(cursor);
        }

        std::uint32_t got = room;
        // Whatever made the read fail (a broken line, the user's cancel), the command has no
        // answer: that is a time-out to the caller.
        if (ChannelRead(request->channel, cursor->writePos, &got) != kErrNone || got > room) {
            return kErrTimeout;
        }
        if (got > 0) {
            request->lastArrival = GetTickCount();
            CursorCommit(cursor, got);
            if (request->dataHook != nullptr &&
                request->dataHook(request, cursor->bufferStart, cursor->filled,
                                  request->hookContext) == 0) {
                return kErrNone;
            }
            if (cursor->discarding && CursorEndDiscard(cursor) && lineHandler != nullptr) {
                TransferError handled = lineHandler(request, nullptr, 0, handlerArg);
                if (handled != kErrNone) return handled;
            }
        }

        const std::uint8_t* line;
        std::uint32_t length;
        while (!cursor->discarding && CutLine(cursor, &line, &length)) {
            TransferError code;
            if (ClassifyResultLine(line, length, &code) == kErrNone) return code;
            if (lineHandler != nullptr) {
                TransferError handled = lineHandler(request, line, length, handlerArg);
                if (handled != kErrNone) return handled;
            }
        }
        CompactCursor(cursor);

        if (TickPassed(GetTickCount(), deadline)) return kErrTimeout;
    }
}

TransferError AtSimple(AtRequest* request) {
    return AtExchange(request, nullptr, nullptr);
}

TransferError AtAwaitFinal(AtRequest* request, std::uint32_t quietMs, std::uint32_t byteLimit) {
    ResponseCursor* cursor = &request->cursor;
    if (request->channel == nullptr || cursor->bufferStart == nullptr) return kErrInvalidParameter;
    std::uint32_t passedOver = 0;
    for (;;) {
        // What is already in the buffer first: the final code may have come with the last read.
        const std::uint8_t* line;
        std::uint32_t length;
        while (!cursor->discarding && CutLine(cursor, &line, &length)) {
            TransferError code;
            if (ClassifyResultLine(line, length, &code) == kErrNone) return kErrNone;
        }
        CompactCursor(cursor);
        if (CursorFreeSpace(cursor) < 1) CursorStartDiscard(cursor);

        std::uint32_t room = CursorFreeSpace(cursor);
        std::uint32_t got = room;
        TransferError read = ChannelRead(request->channel, cursor->writePos, &got);
        if (read != kErrNone) return read;
        if (got > room) return kErrTimeout;
        if (got == 0) {
            if (TickElapsed(GetTickCount(), request->lastArrival) >= quietMs) return kErrNone;
            continue;
        }
        request->lastArrival = GetTickCount();
        if (got > byteLimit - passedOver) return kErrTimeout;
        passedOver += got;
        CursorCommit(cursor, got);
        if (cursor->discarding) (void)CursorEndDiscard(cursor);
    }
}

namespace {

int PromptHook(AtRequest*, const std::uint8_t* bufferStart, std::uint32_t filled,
               const void* hookContext) {
    const auto* text = static_cast<const char*>(hookContext);
    std::size_t length = std::strlen(text);
    if (filled < length) return 1;
    const std::uint8_t* end = bufferStart + filled;
    const std::uint8_t* found = std::search(bufferStart, end, text, text + length);
    return found != end || length == 0 ? 0 : 1;
}

}  // namespace

TransferError AtExpect(AtRequest* request, const char* text) {
    request->dataHook = &PromptHook;
    request->hookContext = text;
    return AtSimple(request);
}

TransferError AtSendCommand(PhoneSession* session, const char* text) {
    if (session == nullptr || text == nullptr) return kErrInvalidParameter;
    AtRequest request;
    InitAtRequest(&request, session, text, kAtDefaultTimeoutMs);
    return AtSimple(&request);
}
