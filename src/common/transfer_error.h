// SPDX-License-Identifier: GPL-3.0-or-later
// Result code of every phone-link, AT-engine, codec and session operation.
#pragma once

#include <cstdint>

using TransferError = std::uint32_t;

constexpr TransferError kErrNone = 0;         // success
constexpr TransferError kErrOutOfMemory = 1;  // an allocation failed
constexpr TransferError kErrInvalidParameter =
    4;                                      // bad address, buffer full, malformed PDU or number
constexpr TransferError kErrCancelled = 5;  // the user cancelled
constexpr TransferError kErrTimeout = 10;   // no final result before the deadline, or a read failed
constexpr TransferError kErrConnection = 12;  // the connection or an input/output operation failed
constexpr TransferError kErrPhoneError = 14;  // the phone answered "ERROR"
constexpr TransferError kErrCmsError = 15;    // the phone answered "+CMS ERROR:"
constexpr TransferError kErrCmeError = 16;    // the phone answered "+CME ERROR:"
constexpr TransferError kErrStore = 20;       // the message store cannot be opened or written
constexpr TransferError kErrBusy = 21;        // another transfer is using the message store
// Inside the AT engine: a line that is not a final result code.
constexpr TransferError kErrNotFinal = 0xFFFFFFFFu;
