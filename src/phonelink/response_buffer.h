// SPDX-License-Identifier: GPL-3.0-or-later
// The receive buffer from which response lines are read, and the tokenisers for their fields.
//
// Responses arrive in arbitrary pieces. They are collected in one fixed buffer per phone session,
// cut into lines ended by CR LF, and the buffer is compacted after every read so that it never
// holds more than one incomplete line plus the bytes of the current read. Nothing here allocates
// while a response is read: the buffer is allocated once, with the session.
#pragma once

#include <cstdint>

#include "common/transfer_error.h"
#include "phonelink/transport.h"

constexpr std::uint32_t kResponseBufferSize = 2000;
// Draining stops at the first empty read once this much time has passed...
constexpr std::uint32_t kDrainQuietMs = 50;
// ...and in any case once this much has passed, however much the phone keeps sending.
constexpr std::uint32_t kDrainLimitMs = 3000;

struct ResponseBuffer {
    std::uint8_t* data;  // malloc'ed, `size` bytes
    std::uint32_t size;
};

// Allocates `size` bytes (1 when out of memory, 4 for size 0).
TransferError CreateResponseBuffer(ResponseBuffer* buffer, std::uint32_t size);
void FreeResponseBuffer(ResponseBuffer* buffer);

// Where one command's response stands in the buffer.
struct ResponseCursor {
    std::uint8_t* bufferStart;
    std::uint32_t bufferSize;
    std::uint8_t* writePos;   // where the next received bytes go
    std::uint32_t filled;     // bytes stored, counted from the buffer start after compaction
    std::uint8_t* parsePos;   // first byte not yet cut into a line
    std::uint32_t unparsed;   // bytes from parsePos to writePos
    std::uint8_t* lineStart;  // start of the line being assembled; null before the first line
    bool discarding;  // the line being received did not fit: its bytes are dropped up to its CR LF
};

// Starts a new response: everything empty, no line started.
void ResetCursor(ResponseCursor* cursor, std::uint8_t* buffer, std::uint32_t size);

// Free bytes at writePos (0: the buffer is full and the command must fail with 4).
std::uint32_t CursorFreeSpace(const ResponseCursor* cursor);

// Accounts for `count` bytes just read into writePos (count <= CursorFreeSpace).
void CursorCommit(ResponseCursor* cursor, std::uint32_t count);

// Cuts the next complete line (without its CR LF; the length may be 0). False when no complete
// line is waiting; the incomplete rest stays for the next read. Before the first line of a
// response a leading CR LF is skipped (a phone in verbose mode sends one); later empty lines are
// delivered as lines of length 0. The data may hold NUL bytes.
bool CutLine(ResponseCursor* cursor, const std::uint8_t** line, std::uint32_t* length);

// Moves the unparsed tail to the buffer start once the complete lines of a read are handled.
void CompactCursor(ResponseCursor* cursor);

// For a full buffer that holds no complete line: the line being assembled can never fit, so it is
// dropped, and so are its further bytes as they arrive (CursorEndDiscard), up to its CR LF. A CR
// at the end is kept, as it may be the first half of that CR LF. The buffer has room afterwards.
void CursorStartDiscard(ResponseCursor* cursor);

// While discarding, after bytes were committed: drops them up to and including the first CR LF.
// True when it was found: the overlong line is over, and what follows it is cut into lines as
// usual. False when everything was dropped (but a CR at the end) and the line goes on.
bool CursorEndDiscard(ResponseCursor* cursor);

// Reads and discards stale input before a command is written: stops at the first empty read
// after kDrainQuietMs, and after kDrainLimitMs at the latest. A read error is returned as is.
TransferError DrainInput(PhoneChannel* channel, std::uint8_t* buffer, std::uint32_t size);

// The one blank of the phone's responses: the bytes 9 to 13 (TAB, LF, VT, FF, CR) and 32 only;
// every other byte, control characters included, is data.
inline bool IsBlank(std::uint8_t c) {
    return (c >= 9 && c <= 13) || c == 32;
}

// Tokenisers over (position, remaining length). All skip blanks before and after.
struct TokenCursor {
    const std::uint8_t* pos;
    std::uint32_t remaining;
};

constexpr int kTokenOk = 0;
constexpr int kTokenFailed = -1;

// True when any blank was skipped.
bool SkipBlanks(TokenCursor* cursor);
// Consumes `literal` when the next bytes equal it; blanks are skipped after a mismatch too.
int ExpectLiteral(TokenCursor* cursor, const char* literal);
// Decimal digits, no sign; the value wraps silently when it does not fit.
int ReadNumber(TokenCursor* cursor, std::int32_t* value);
// A double-quoted string, quotes included; its text is not returned.
int SkipQuotedString(TokenCursor* cursor);
// Pairs of hexadecimal digits (either case) into `out`, up to the first byte that is no hex digit.
// 0 on success with *count bytes; 4 for an odd number of digits or more bytes than `outSize`.
TransferError ReadHexBytes(TokenCursor* cursor, std::uint8_t* out, std::uint32_t outSize,
                           std::uint32_t* count);
