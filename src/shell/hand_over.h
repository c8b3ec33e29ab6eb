// SPDX-License-Identifier: GPL-3.0-or-later
// The hand-over between a second start of the program and the instance that already runs.
//
// The second start connects to the running instance (single_instance in the user interface)
// and sends numbered requests, each answered with a 32-bit result before the next is read:
//
//   request:  u32 message, u32 wParam, u32 size, then `size` bytes of data
//   answer:   u32 result
//
// All numbers are little-endian. Two messages exist:
//   kHandOverActivate  bring the running instance to the front (no data); answers 1
//   kHandOverCopyData  the command line, as the window message WM_COPYDATA carries it: wParam
//                      0, data = the UTF-16 text with its terminating zero, size = (characters
//                      + 1) * 2; answers 1, also when the data is ignored
// A request of another number, or with more than kMaxHandOverData bytes, ends the connection
// without an answer. Nothing that arrives this way is ever run: the command line is only text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "framework/text_buffer.h"

constexpr std::uint32_t kHandOverActivate = 6;   // WM_ACTIVATE
constexpr std::uint32_t kHandOverCopyData = 74;  // WM_COPYDATA
constexpr std::uint32_t kHandOverAnswer = 1;
constexpr std::size_t kHandOverHeaderSize = 12;
// Far more than any command line; a bigger request is not a hand-over.
constexpr std::uint32_t kMaxHandOverData = 64 * 1024;

struct HandOverRequest {
    std::uint32_t message = 0;
    std::uint32_t wParam = 0;
    std::vector<std::uint8_t> data;
};

// The bytes of one request.
std::vector<std::uint8_t> EncodeHandOverRequest(std::uint32_t message, std::uint32_t wParam,
                                                const void* data, std::uint32_t size);
// The data of a command-line hand-over: the text and its terminating zero, as UTF-16
// little-endian code units; (characters + 1) * 2 bytes.
std::vector<std::uint8_t> CommandLinePayload(const TextBuffer& commandLine);

// The running instance's side of WM_COPYDATA: fewer than 5 bytes are ignored (false);
// otherwise (size - 1) / 2 characters (the terminating zero dropped) replace `commandLine`.
bool TakeCommandLine(const void* data, std::uint32_t size, TextBuffer& commandLine);

// Cuts requests out of the bytes as they arrive, in pieces of any size.
class HandOverReader {
  public:
    enum class Status { kNeedMore, kRequest, kBad };
    // Adds received bytes.
    void Feed(const void* bytes, std::size_t n);
    // The next complete request into `request` (kRequest), kNeedMore while it is incomplete,
    // kBad for an unknown message or an oversized request (the connection should end; the
    // reader stays bad).
    Status Next(HandOverRequest& request);

  private:
    std::vector<std::uint8_t> buffer_;
    std::size_t start_ = 0;  // where the next request begins in buffer_
    bool bad_ = false;
};

// 32-bit little-endian helpers for both sides.
void PutU32(std::vector<std::uint8_t>& out, std::uint32_t value);
std::uint32_t GetU32(const std::uint8_t* in);
