// SPDX-License-Identifier: GPL-3.0-or-later
// Carries a transfer's notifications from the worker thread to a window: each one is posted to
// the target as a numbered message with the same number (0x8001 arrives as event type 0x8001).
#pragma once

#include <QObject>
#include <cstdint>
#include <mutex>

#include "session/notifications.h"

class QtNotificationSink : public NotificationSink {
  public:
    explicit QtNotificationSink(QObject* target = nullptr) : target_(target) {}

    // Changes the window that receives the notifications; null drops them. A window that goes
    // away sets null first, so that no worker posts to it afterwards.
    void SetTarget(QObject* target);

    // Called on the worker thread: only queues the message for the target's thread.
    void Post(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) override;

  private:
    std::mutex lock_;
    QObject* target_;
};
