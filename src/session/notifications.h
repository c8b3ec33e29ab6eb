// SPDX-License-Identifier: GPL-3.0-or-later
// How a transfer reports its progress: numbered notifications in the WM_APP range, posted by the
// worker thread to whoever follows the transfer (the progress dialog, or the `velkan` command).
// The numbers are part of the protocol: the progress dialog re-posts them as Qt events with the
// same numbers.
#pragma once

#include <cstdint>

constexpr std::uint32_t kWmApp = 0x8000;
constexpr std::uint32_t kNotifyThreadEnded = kWmApp + 1;  // always last, once per run
constexpr std::uint32_t kNotifySuccess = kWmApp + 2;      // the transfer ran to its end
constexpr std::uint32_t kNotifyStatus = kWmApp + 3;       // wParam: string id of the status line
constexpr std::uint32_t kNotifySendCount = kWmApp + 4;    // wParam: messages to send
// kWmApp + 5 is not used.
constexpr std::uint32_t kNotifyReceived =
    kWmApp + 6;  // one message stored; detail in the text slot
constexpr std::uint32_t kNotifySending =
    kWmApp + 7;  // one message about to be sent; detail in the slot

// Status line string ids carried by kNotifyStatus.
constexpr std::uint32_t kStatusReceiving = 3103;     // "Receiving Inbox Messages..."
constexpr std::uint32_t kStatusConnecting = 3104;    // "Connecting Phone..."
constexpr std::uint32_t kStatusCancelling = 3108;    // "Cancelling..."
constexpr std::uint32_t kStatusConnected = 3114;     // "Connected"
constexpr std::uint32_t kStatusInitializing = 3115;  // "Initializing..."

// The receiving end of the notifications. Post is called on the worker thread and must only
// queue the notification for the follower's own thread: it must not block on that thread.
class NotificationSink {
  public:
    virtual ~NotificationSink() = default;
    virtual void Post(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) = 0;
};
