// SPDX-License-Identifier: GPL-3.0-or-later
// The serial-port transport (cable, Bluetooth or infrared serial port, USB modem, pseudo-terminal).
#pragma once

#include <sys/types.h>

#include <cstddef>

#include "phonelink/transport.h"

// Creates an unopened serial transport wrapped in a new channel. 1 when out of memory.
// Open it with ChannelOpen(channel, kOpenModeConnect, portName).
TransferError CreateSerialTransport(PhoneChannel** channel);

// The device path for a port name: "COMn:" or "COMn" (any letter case, n = 1..256) names
// /dev/ttyS(n-1); a name that begins with "/dev/" is used as it stands. False for any other
// name, or when the path does not fit in `outSize` bytes.
bool SerialDevicePath(const char* portName, char* out, std::size_t outSize);

// The read and write system calls the serial transport makes, replaceable so that tests can
// play a driver that accepts writes in part, writes nothing, or is interrupted.
struct SerialSystemCalls {
    ssize_t (*read)(int fd, void* buffer, std::size_t count);
    ssize_t (*write)(int fd, const void* bytes, std::size_t count);
};
// A null table restores the real system calls.
void SetSerialSystemCalls(const SerialSystemCalls* calls);
