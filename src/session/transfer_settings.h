// SPDX-License-Identifier: GPL-3.0-or-later
// The settings a transfer runs with. Its caller reads them once, as the transfer starts
// (ReadTransferSettings in settings/transfer_settings_reader.h), and hands them to the session,
// which reads nothing itself.
#pragma once

#include <string>

struct TransferSettings {
    std::u16string portName;       // "COM3:", "/dev/ttyUSB0", "TCP:host:port", "local", "TCP:local"
    bool noCommunication = false;  // the port name says "no phone": messages go to the device
    bool deleteAfterRetrieve = false;
    std::u16string serviceCentre;  // empty unless a custom centre is on
    bool statusReport = false;
    bool unicode = false;  // `Unicode`: UCS2, the GSM extension table, 8-bit as ISO-8859-1
    bool longSms = false;  // `LongSms`: join concatenated parts on receipt, send in parts
    // Another transfer holds the store's lock: end at once with kErrBusy instead of waiting
    // for it (automatic checks, which simply try again at their next round).
    bool skipIfBusy = false;
    // Off for an automatic check that leaves the Outbox alone: only new messages are fetched.
    bool sendOutbox = true;
};
