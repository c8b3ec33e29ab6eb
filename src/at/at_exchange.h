// SPDX-License-Identifier: GPL-3.0-or-later
// One AT command exchange with the phone.
//
// Every conversation is one exchange: drain stale input, write one command, then read and cut the
// response into lines until a final result code arrives, an optional hook on the received data
// says stop, or the deadline passes. Information lines on the way go to a per-command handler.
//
// The deadline is fixed when the command has been written and is not extended when data arrives.
// All time is read from GetTickCount(), so tests run the 20 s and 30 s waits on a fake clock.
#pragma once

#include <cstdint>
#include <string>

#include "common/transfer_error.h"
#include "pdu/codec_options.h"
#include "phonelink/response_buffer.h"
#include "phonelink/transport.h"

// Time-outs of the commands, from the moment the command has been written.
constexpr std::uint32_t kAtDefaultTimeoutMs = 3000;  // set-up, "AT", "ATZ", AT+CPMS, AT+CMGD
constexpr std::uint32_t kAtListTimeoutMs = 20000;    // AT+CMGL
constexpr std::uint32_t kAtPromptTimeoutMs = 20000;  // AT+CMGS until its "> " prompt
constexpr std::uint32_t kAtPduTimeoutMs = 30000;     // the PDU and Ctrl-Z until the final result

// The AT engine's handle on the phone. Created once the channel is open; the channel stays the
// caller's (FreePhoneSession does not close it).
struct PhoneSession {
    PhoneChannel* channel;
    ResponseBuffer response;       // kResponseBufferSize bytes, reused by every command
    TransferError lastError;       // of the last set-up command and of the last send
    std::u16string serviceCentre;  // custom service centre for sending; empty: the phone's own
    bool statusReport;             // ask for a status report on every sent message
    CodecOptions codec;            // how listed messages are read and long ones sent
};

// 1 when out of memory, 4 for null arguments.
TransferError CreatePhoneSession(PhoneChannel* channel, PhoneSession** session);
void FreePhoneSession(PhoneSession* session);

struct AtRequest;

// Looks at everything received for this command so far; 0 ends the exchange with success.
using AtDataHook = int (*)(AtRequest* request, const std::uint8_t* bufferStart,
                           std::uint32_t filled, const void* hookContext);
// Gets every line that is not a final result code; a non-zero result ends the exchange with it.
// On a request that skips overlong lines, a null `line` (length 0) stands for a line that was too
// long for the response buffer and was passed over once its end had arrived.
using AtLineHandler = TransferError (*)(AtRequest* request, const std::uint8_t* line,
                                        std::uint32_t length, void* handlerArg);

// One command. Lives for one command (or, for sending, the two stages of one AT+CMGS).
struct AtRequest {
    PhoneChannel* channel;
    const char* command;          // 8-bit command text
    std::uint32_t commandLength;  // bytes to write; 0: the length of the NUL-terminated command
    ResponseCursor cursor;        // over the session's response buffer
    std::uint32_t timeoutMs;      // 0: kAtDefaultTimeoutMs
    PhoneSession* session;
    void* handlerResult;  // where a line handler stores what it collects
    AtDataHook dataHook;
    const void* hookContext;
    // A line too long for the buffer is dropped up to its end and the exchange goes on, instead
    // of failing with 4 (used by the listing, where one bad line must not hide the rest).
    bool skipOverlongLines;
    std::uint32_t lastArrival;  // tick of the last bytes received (of the write, before any)
};

// Zero-fills the request and points it at the session's channel and buffer.
void InitAtRequest(AtRequest* request, PhoneSession* session, const char* command,
                   std::uint32_t timeoutMs);

// The exchange. Results: the final code (0 "OK", 14 "ERROR", 15 "+CMS ERROR:", 16 "+CME ERROR:");
// 10 when no final code arrives in time or a read fails while waiting (a cancel included);
// a drain or write failure as it is (12, or 5 when cancelled); 4 when the buffer is full;
// a line handler's non-zero result.
TransferError AtExchange(AtRequest* request, AtLineHandler lineHandler, void* handlerArg);

// AtExchange without a line handler.
TransferError AtSimple(AtRequest* request);

// After an exchange that ended without its final result code (its deadline passed), the phone may
// still be sending the rest of that response, which the next command would take for its answer.
// Reads on with the request's cursor and passes everything over until a final result code line
// has gone by (0), the line has been quiet for `quietMs` since the last bytes arrived (0: the
// phone has nothing more to say), or more than `byteLimit` bytes came without one (10: the phone
// is out of step, later answers cannot be trusted). A failed read is returned as it is (5 when
// cancelled).
TransferError AtAwaitFinal(AtRequest* request, std::uint32_t quietMs, std::uint32_t byteLimit);

// Installs the prompt hook for `text` (which must outlive the request) and runs AtSimple. The
// exchange ends with 0 as soon as `text` occurs anywhere in what was received for the command.
// The hook stays installed on the request.
TransferError AtExpect(AtRequest* request, const char* text);

// One NUL-terminated command with the default time-out and no handler.
TransferError AtSendCommand(PhoneSession* session, const char* text);

// 0 and *code when the line is a final result code, kErrNotFinal otherwise. Lengths decide
// first: 2 bytes "OK" is 0; any 5 bytes starting "ER" are 14; 11 bytes or more starting
// "+CMS ERROR:" are 15 and "+CME ERROR:" are 16. Everything else is not final.
TransferError ClassifyResultLine(const std::uint8_t* line, std::uint32_t length,
                                 TransferError* code);
