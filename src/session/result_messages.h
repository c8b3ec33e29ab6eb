// SPDX-License-Identifier: GPL-3.0-or-later
// What a transfer's result code says to the user: the string id of its message.
#pragma once

#include <cstdint>

#include "common/transfer_error.h"

constexpr std::uint32_t kStringOperationFailed = 3110;  // "Operation Failed (%d)", with the code
constexpr std::uint32_t kStringStoreUnusable = 3156;    // "...cannot be used.\n%s", with the reason

// The string id of the message for `result`: 3150-3157 for the codes that have their own text,
// 3110 ("Operation Failed (%d)", formatted with the code) for any other, 0 ok included, and 0
// for a cancel, which shows no message at all.
inline std::uint32_t ResultMessageId(TransferError result) {
    switch (result) {
        case kErrInvalidParameter:
            return 3155;
        case kErrTimeout:
            return 3150;
        case kErrConnection:
            return 3151;
        case kErrPhoneError:
            return 3154;
        case kErrCmsError:
            return 3152;
        case kErrCmeError:
            return 3153;
        case kErrStore:
            return kStringStoreUnusable;
        case kErrBusy:
            return 3157;
        case kErrCancelled:
            return 0;
        default:
            return kStringOperationFailed;
    }
}
