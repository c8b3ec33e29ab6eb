// SPDX-License-Identifier: GPL-3.0-or-later
// Every command the AT engine sends, as one table: its text around its one parameter, and the
// time the phone gets to answer it. Commands are 8-bit text ending in a single CR; the PDU of a
// message ends in Ctrl-Z alone.
#pragma once

#include <cstdint>

#include "at/at_exchange.h"
#include "common/transfer_error.h"

// Ends a message's PDU, with nothing after it. Sent alone, it closes a message prompt that a
// broken send left open.
constexpr char kCtrlZ = 0x1A;

enum class AtCommand : std::uint8_t {
    kAttention,        // "AT\r"
    kReset,            // "ATZ\r"
    kEchoOffVerbose,   // "ATE0V1\r": echo off, verbose result codes
    kEchoOff,          // "ATE0\r", for phones that refuse V1
    kPduMode,          // "AT+CMGF=0\r"
    kGsmCharacterSet,  // "AT+CSCS=\"GSM\"\r"
    kSelectMemory,     // "AT+CPMS=\"<memory>\"\r"
    kListMessages,     // "AT+CMGL=<status>\r"
    kDeleteMessage,    // "AT+CMGD=<index>\r"
    kSubmitLength,     // "AT+CMGS=<TPDU octets>\r", answered by the "> " prompt
    kSubmitPdu,        // the whole PDU in upper-case hex, then Ctrl-Z
    kDialVoice,        // "ATD<number>;\r"
    kEndPrompt,        // Ctrl-Z alone; no answer is awaited
};

// What stands between a command's prefix and its suffix.
enum class AtParameter : std::uint8_t {
    kNone,
    kNumber,  // decimal, without sign or padding
    kText,    // 8-bit text as it is (NUL bytes included)
    kHex,     // octets, two upper-case hex digits each
};

struct AtCommandInfo {
    AtCommand command;
    const char* prefix;  // the whole command when it has no parameter
    AtParameter parameter;
    const char* suffix;
    std::uint32_t timeoutMs;  // from the write to the final result code
    bool answered;            // false: the command is only written
};

// The command's row of the table.
const AtCommandInfo& AtCommandInfoOf(AtCommand command);

// The command with its parameter, written into `out` (`size` bytes, room for a terminating NUL
// included). Returns its length, or 0 when it does not fit or the command takes another kind of
// parameter.
std::uint32_t FormatAtCommand(AtCommand command, char* out, std::uint32_t size);
std::uint32_t FormatAtCommand(AtCommand command, std::uint32_t number, char* out,
                              std::uint32_t size);
std::uint32_t FormatAtCommand(AtCommand command, const char* text, std::uint32_t textLength,
                              char* out, std::uint32_t size);
std::uint32_t FormatAtCommand(AtCommand command, const std::uint8_t* octets, std::uint32_t count,
                              char* out, std::uint32_t size);

// Prepares a request for the formatted command `text` (`length` bytes) with the command's
// time-out.
void InitAtCommandRequest(AtRequest* request, PhoneSession* session, AtCommand command,
                          const char* text, std::uint32_t length);

// Runs a command without parameter: with its time-out and no line handler, or, when it awaits
// no answer, only written (the write's result).
TransferError RunAtCommand(PhoneSession* session, AtCommand command);
