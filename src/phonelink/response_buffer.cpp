// SPDX-License-Identifier: GPL-3.0-or-later
#include "phonelink/response_buffer.h"

#include <cstdlib>
#include <cstring>

#include "common/hex.h"
#include "common/tick_clock.h"

TransferError CreateResponseBuffer(ResponseBuffer* buffer, std::uint32_t size) {
    if (buffer == nullptr || size == 0) return kErrInvalidParameter;
    buffer->data = static_cast<std::uint8_t*>(std::malloc(size));
    buffer->size = buffer->data != nullptr ? size : 0;
    return buffer->data != nullptr ? kErrNone : kErrOutOfMemory;
}

void FreeResponseBuffer(ResponseBuffer* buffer) {
    if (buffer == nullptr) return;
    std::free(buffer->data);
    buffer->data = nullptr;
    buffer->size = 0;
}

void ResetCursor(ResponseCursor* cursor, std::uint8_t* buffer, std::uint32_t size) {
    cursor->bufferStart = buffer;
    cursor->bufferSize = size;
    cursor->writePos = buffer;
    cursor->filled = 0;
    cursor->parsePos = buffer;
    cursor->unparsed = 0;
    cursor->lineStart = nullptr;
    cursor->discarding = false;
}

std::uint32_t CursorFreeSpace(const ResponseCursor* cursor) {
    return cursor->filled < cursor->bufferSize ? cursor->bufferSize - cursor->filled : 0;
}

void CursorCommit(ResponseCursor* cursor, std::uint32_t count) {
    std::uint32_t room = CursorFreeSpace(cursor);
    if (count > room) count = room;
    cursor->writePos += count;
    cursor->filled += count;
    cursor->unparsed += count;
}

bool CutLine(ResponseCursor* cursor, const std::uint8_t** line, std::uint32_t* length) {
    if (cursor->unparsed == 0) return false;
    if (cursor->lineStart == nullptr) {
        const std::uint8_t* p = cursor->parsePos;
        if (cursor->unparsed >= 2 && p[0] == '\r' && p[1] == '\n') {
            cursor->parsePos += 2;
            cursor->unparsed -= 2;
        } else if (cursor->unparsed == 1 && p[0] == '\r') {
            // Could be the first half of a leading CR LF: decide when the next byte is here, so
            // that a response read one byte at a time gives the same lines as one read at once.
            return false;
        }
        cursor->lineStart = cursor->parsePos;
        if (cursor->unparsed == 0) return false;
    }

    // A counted search: the data may hold NUL bytes.
    const std::uint8_t* p = cursor->parsePos;
    const std::uint8_t* end = p + cursor->unparsed;
    const std::uint8_t* found = nullptr;
    for (const std::uint8_t* q = p; q + 1 < end; ++q) {
        if (q[0] == '\r' && q[1] == '\n') {
            found = q;
            break;
        }
    }
    if (found == nullptr) return false;

    *line = cursor->lineStart;
    *length = static_cast<std::uint32_t>(found - cursor->lineStart);
    std::uint8_t* next = const_cast<std::uint8_t*>(found) + 2;
    cursor->unparsed -= static_cast<std::uint32_t>(next - cursor->parsePos);
    cursor->parsePos = next;
    cursor->lineStart = next;
    return true;
}

void CompactCursor(ResponseCursor* cursor) {
    std::uint32_t distance = static_cast<std::uint32_t>(cursor->parsePos - cursor->bufferStart);
    if (distance == 0) return;
    if (cursor->unparsed > 0) std::memmove(cursor->bufferStart, cursor->parsePos, cursor->unparsed);
    cursor->parsePos = cursor->bufferStart;
    if (cursor->lineStart != nullptr) cursor->lineStart -= distance;
    cursor->writePos -= distance;
    cursor->filled -= distance;
}

namespace {

// Empties the buffer but for a CR at the end of what it held, which may be the first half of the
// line end that a discarded line is waiting for.
void DropAllButTrailingCr(ResponseCursor* cursor) {
    const bool trailingCr = cursor->unparsed > 0 && cursor->parsePos[cursor->unparsed - 1] == '\r';
    std::uint8_t* start = cursor->bufferStart;
    std::uint32_t kept = 0;
    if (trailingCr) start[kept++] = '\r';
    cursor->parsePos = start;
    cursor->lineStart = start;  // a line is under way: no leading CR LF is skipped any more
    cursor->writePos = start + kept;
    cursor->filled = kept;
    cursor->unparsed = kept;
}

}  // namespace

void CursorStartDiscard(ResponseCursor* cursor) {
    CompactCursor(cursor);
    DropAllButTrailingCr(cursor);
    cursor->discarding = true;
}

bool CursorEndDiscard(ResponseCursor* cursor) {
    if (!cursor->discarding) return false;
    const std::uint8_t* p = cursor->parsePos;
    const std::uint8_t* end = p + cursor->unparsed;
    for (const std::uint8_t* q = p; q + 1 < end; ++q) {
        if (q[0] == '\r' && q[1] == '\n') {
            const std::uint8_t* next = q + 2;
            const auto rest = static_cast<std::uint32_t>(end - next);
            std::uint8_t* start = cursor->bufferStart;
            if (rest > 0) std::memmove(start, next, rest);
            cursor->parsePos = start;
            cursor->lineStart = start;
            cursor->writePos = start + rest;
            cursor->filled = rest;
            cursor->unparsed = rest;
            cursor->discarding = false;
            return true;
        }
    }
    DropAllButTrailingCr(cursor);
    return false;
}

TransferError DrainInput(PhoneChannel* channel, std::uint8_t* buffer, std::uint32_t size) {
    std::uint32_t start = GetTickCount();
    for (;;) {
        std::uint32_t length = size;
        TransferError result = ChannelRead(channel, buffer, &length);
        if (result != kErrNone) return result;
        std::uint32_t elapsed = TickElapsed(GetTickCount(), start);
        if (length == 0 && elapsed >= kDrainQuietMs) break;
        if (elapsed >= kDrainLimitMs) break;
    }
    return kErrNone;
}

bool SkipBlanks(TokenCursor* cursor) {
    bool skipped = false;
    while (cursor->remaining > 0 && IsBlank(*cursor->pos)) {
        ++cursor->pos;
        --cursor->remaining;
        skipped = true;
    }
    return skipped;
}

int ExpectLiteral(TokenCursor* cursor, const char* literal) {
    SkipBlanks(cursor);
    std::size_t length = std::strlen(literal);
    int result = kTokenFailed;
    if (cursor->remaining >= length && std::memcmp(cursor->pos, literal, length) == 0) {
        cursor->pos += length;
        cursor->remaining -= static_cast<std::uint32_t>(length);
        result = kTokenOk;
    }
    SkipBlanks(cursor);
    return result;
}

int ReadNumber(TokenCursor* cursor, std::int32_t* value) {
    SkipBlanks(cursor);
    if (cursor->remaining == 0) return kTokenFailed;
    if (*cursor->pos < '0' || *cursor->pos > '9') return kTokenFailed;
    std::uint32_t accumulated = 0;
    while (cursor->remaining > 0 && *cursor->pos >= '0' && *cursor->pos <= '9') {
        accumulated = accumulated * 10 + static_cast<std::uint32_t>(*cursor->pos - '0');
        ++cursor->pos;
        --cursor->remaining;
    }
    *value = static_cast<std::int32_t>(accumulated);
    SkipBlanks(cursor);
    return kTokenOk;
}

int SkipQuotedString(TokenCursor* cursor) {
    SkipBlanks(cursor);
    if (cursor->remaining == 0 || *cursor->pos != '"') return kTokenFailed;
    const void* closing = std::memchr(cursor->pos + 1, '"', cursor->remaining - 1);
    if (closing == nullptr) return kTokenFailed;
    auto consumed =
        static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(closing) - cursor->pos) + 1;
    cursor->pos += consumed;
    cursor->remaining -= consumed;
    SkipBlanks(cursor);
    return kTokenOk;
}

TransferError ReadHexBytes(TokenCursor* cursor, std::uint8_t* out, std::uint32_t outSize,
                           std::uint32_t* count) {
    SkipBlanks(cursor);
    std::uint32_t digits = 0;
    while (digits < cursor->remaining && IsHexDigit(cursor->pos[digits])) ++digits;
    if (digits % 2 != 0 || digits / 2 > outSize) return kErrInvalidParameter;
    (void)HexToBytes(reinterpret_cast<const char*>(cursor->pos), digits, out);
    *count = digits / 2;
    cursor->pos += digits;
    cursor->remaining -= digits;
    SkipBlanks(cursor);
    return kErrNone;
}
