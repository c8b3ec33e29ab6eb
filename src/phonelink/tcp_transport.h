// SPDX-License-Identifier: GPL-3.0-or-later
// The TCP transport: a phone or modem server reached as "host:port" (default "localhost:4000").
#pragma once

#include <cstdint>

#include "phonelink/transport.h"

// Creates the transport with its (unconnected) IPv4 socket, wrapped in a new channel.
// 1 when out of memory, 12 when no socket can be created.
// Open it with ChannelOpen(channel, kOpenModeConnect, "host:port"):
//  - the address is cut at its first ':' (none: 4, before any network activity); the caller's
//    text is never modified;
//  - the port is the decimal number after the ':' as atoi reads it, taken modulo 65536, without
//    further checks ("host:" is port 0);
//  - a dotted IPv4 host is used without a look-up; any other host name is resolved (IPv4);
//  - the connect does not block: it waits in slices of at most 100 ms, running the channel's
//    poll step between them (a poll callback's error, such as 5 for a cancel, ends it with that
//    code), and gives up with 12 after 20 s on the tick clock; the socket stays non-blocking.
TransferError CreateTcpTransport(PhoneChannel** channel);

// Returned by a read whose readiness wait failed; the AT exchange reports any read failure as 10.
constexpr TransferError kErrPollFailed = 0xFFFFFFFFu;
