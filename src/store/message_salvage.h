// SPDX-License-Identifier: GPL-3.0-or-later
// The messages that can still be read from a store file, typically one set aside as damaged
// ("velkan.sqlite3.damaged-YYYYMMDD-HHMMSS"), so that they can be brought back into the store
// in use (`velkan recover`).
//
// The file is never changed: it is read through a private copy (with its -wal, whose committed
// transactions count), record by record, around the parts that cannot be read: the records are
// walked from both ends, looked up one by one through the indexes that still name them, and in
// between by their ids.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/sms_message.h"

struct SalvagedMessages {
    // Every message record that could be read, in record-id order; oid 0 and no store, ready
    // to be written as new records.
    std::vector<SmsMessage> messages;
    // Records known to exist (read, or named by an index) that could not be read, or that were
    // read but make no message (no folder, no time, values of the wrong kind).
    std::uint32_t unreadable = 0;
    // Part of the file could not be read at all and no index said what it held: records kept
    // there may be neither read nor counted.
    bool partlyUnreadable = false;
};

enum class SalvageResult {
    kRead,        // `out` holds what could be read (possibly nothing)
    kCannotRead,  // the file cannot be opened or read at all
    kNotAStore,   // the file is a database, but not a message store of this program
};

// Reads the messages of the store file `path` into `out`. For kCannotRead and kNotAStore,
// `detail` says why in a few words.
SalvageResult SalvageMessages(const std::string& path, SalvagedMessages* out, std::string* detail);
