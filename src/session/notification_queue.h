// SPDX-License-Identifier: GPL-3.0-or-later
// A NotificationSink that queues notifications for another thread to take in order: what the
// `velkan` command and the tests follow a transfer with.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

#include "session/notifications.h"

struct Notification {
    std::uint32_t message;
    std::uintptr_t wParam;
    std::intptr_t lParam;
};

class NotificationQueue : public NotificationSink {
  public:
    void Post(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) override {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            queue_.push_back({message, wParam, lParam});
        }
        cv_.notify_all();
    }

    // The next notification, waiting for it at most `timeout`; nothing if none came.
    std::optional<Notification> Take(std::chrono::milliseconds timeout) {
        std::unique_lock<std::mutex> lock(mutex_);
        if (!cv_.wait_for(lock, timeout, [this] { return !queue_.empty(); })) return std::nullopt;
        Notification n = queue_.front();
        queue_.pop_front();
        return n;
    }

  private:
    std::mutex mutex_;
    std::condition_variable cv_;
    std::deque<Notification> queue_;
};
