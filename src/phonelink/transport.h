// SPDX-License-Identifier: GPL-3.0-or-later
// The byte channel to the phone.
//
// A `Transport` is a small table of operations (read, write, open, close) plus the OS handle,
// filled in by a concrete transport (serial port or TCP). Callers never use a transport
// directly: they go through the `PhoneChannel` that wraps it, which runs a periodic poll
// callback (the transfer session checks the user's cancel request there) before every read
// and write. Once the poll callback has returned an error, the channel keeps returning that
// error and never touches the transport again.
//
// Every operation returns a TransferError (0 = success); results travel through out-parameters.
#pragma once

#include <cstdint>

#include "common/transfer_error.h"

struct PhoneChannel;
struct Transport;

// Reads at most *length bytes into `buffer` and stores the number actually read in *length.
// Returns at once: 0 bytes is the normal answer when nothing has arrived.
using TransportReadFn = TransferError (*)(PhoneChannel* channel, std::uint8_t* buffer,
                                          std::uint32_t* length);
// Writes all `length` bytes or fails.
using TransportWriteFn = TransferError (*)(PhoneChannel* channel, const std::uint8_t* bytes,
                                           std::uint32_t length);
// Mode kOpenModeConnect opens; any other mode does nothing and succeeds. `address` is 8-bit text:
// the serial port name ("COM3:", "/dev/ttyUSB0") or "host:port" for TCP.
using TransportOpenFn = TransferError (*)(PhoneChannel* channel, std::uint32_t mode,
                                          const char* address);
// Releases the OS handle (if any) and frees the transport record itself.
using TransportCloseFn = TransferError (*)(Transport* transport);

constexpr std::uint32_t kOpenModeConnect = 1;
constexpr int kNoHandle = -1;

struct Transport {
    TransportReadFn read;
    TransportWriteFn write;
    TransportOpenFn open;
    TransportCloseFn close;
    int handle;  // file or socket descriptor; kNoHandle when none
    // Why the last open failed, when there is more to say than its code (a port that another
    // program holds, and which one); empty otherwise.
    char problem[384];
};

// Called before I/O at most once per poll interval; a non-zero result aborts all further I/O.
using PollCallback = TransferError (*)(PhoneChannel* channel, void* context);

struct PhoneChannel {
    Transport* transport;
    PollCallback pollCallback;
    TransferError stickyError;   // 0 until the poll callback fails; then returned forever
    std::uint32_t pollInterval;  // milliseconds between poll calls
    std::uint32_t nextPollTick;  // the callback runs only once GetTickCount() is later than this
    void* pollContext;
};

constexpr std::uint32_t kDefaultPollIntervalMs = 1000;

// Wraps `transport` in a new zero-filled channel with a poll callback that always succeeds.
// 1 when out of memory (the transport is then left to the caller), 4 for null arguments.
TransferError CreateChannel(PhoneChannel** channel, Transport* transport);

// Installs the poll callback; the first poll happens at the first I/O after the clock has moved.
void SetPollCallback(PhoneChannel* channel, PollCallback callback, std::uint32_t intervalMs,
                     void* context);

// Opens the transport; no poll step here.
TransferError ChannelOpen(PhoneChannel* channel, std::uint32_t mode, const char* address);

// Poll step, then one read of at most *length bytes; *length receives the count read.
TransferError ChannelRead(PhoneChannel* channel, std::uint8_t* buffer, std::uint32_t* length);

// Poll step, then a write of all `length` bytes.
TransferError ChannelWrite(PhoneChannel* channel, const std::uint8_t* bytes, std::uint32_t length);

// Why the channel's last open failed, in words, or an empty string (see Transport::problem).
const char* ChannelProblem(const PhoneChannel* channel);

// Closes and frees the transport, then frees the channel. A null channel returns 0.
TransferError ChannelClose(PhoneChannel* channel);

// The poll step on its own: runs the callback when its interval has passed and returns the
// channel's sticky error (0 while nothing has failed).
TransferError ChannelPoll(PhoneChannel* channel);
