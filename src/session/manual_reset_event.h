// SPDX-License-Identifier: GPL-3.0-or-later
// A manual-reset event: once set it stays set for every waiter until Reset().
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

class ManualResetEvent {
  public:
    void Set() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            set_ = true;
        }
        cv_.notify_all();
    }
    void Reset() {
        std::lock_guard<std::mutex> lock(mutex_);
        set_ = false;
    }
    bool IsSet() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return set_;
    }
    // True if the event was set within `timeout`.
    bool WaitFor(std::chrono::milliseconds timeout) const {
        std::unique_lock<std::mutex> lock(mutex_);
        return cv_.wait_for(lock, timeout, [this] { return set_; });
    }
    void Wait() const {
        std::unique_lock<std::mutex> lock(mutex_);
        cv_.wait(lock, [this] { return set_; });
    }

  private:
    mutable std::mutex mutex_;
    mutable std::condition_variable cv_;
    bool set_ = false;
};
