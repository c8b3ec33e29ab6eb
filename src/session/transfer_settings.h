// SPDX-License-Identifier: GPL-3.0-or-later
// The settings a transfer reads once, at its start.
#pragma once

#include <string>

struct TransferSettings {
    std::u16string portName;  // "COM3:", "/dev/ttyUSB0", "TCP:host:port", "local", "TCP:local"
    bool deleteAfterRetrieve = false;
    std::u16string serviceCentre;  // empty unless a custom centre is on
    bool statusReport = false;
};

// False when the settings cannot be opened; the transfer then does nothing at all.
bool ReadTransferSettings(TransferSettings* settings);
