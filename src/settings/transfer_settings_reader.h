// SPDX-License-Identifier: GPL-3.0-or-later
// The settings of a transfer, read from the settings key in one go as the transfer starts.
#pragma once

#include "session/transfer_settings.h"

// False when the settings key cannot be opened; the transfer then does nothing at all.
bool ReadTransferSettings(TransferSettings* settings);
