// SPDX-License-Identifier: GPL-3.0-or-later
// The small thread class a transfer runs on: one worker thread per run, a manual-reset cancel
// event that the user's Cancel sets, and a text slot shared with the follower under a lock.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "session/manual_reset_event.h"
#include "session/notifications.h"

class WorkerThread {
  public:
    WorkerThread() = default;
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;
    // Cancels and joins a thread that still runs.
    virtual ~WorkerThread();

    // Called first on the new thread; non-zero means go on to Run().
    virtual int Begin() { return 1; }
    // The work. The base version waits, polling the cancel event, until it is set.
    virtual void Run();
    // Called last on the thread: posts the completion message (wParam 0, lParam 0) once.
    virtual int End();

    // Starts a new thread with a fresh cancel event. False if no thread could be started; the
    // follower then posts the completion message to itself.
    bool Start(NotificationSink* sink, std::uint32_t completionMessage);
    // Sets the cancel event; 1 if there was one, 0 otherwise.
    int Cancel();
    bool IsCancelled() const;
    // Joins the thread if there is one; returns 1 (0 only if joining failed).
    int Wait();
    int CancelAndWait();

    // Copies `text` into the slot and posts `message`, both under the text lock, so a follower
    // that reads the slot under the same lock sees this text or a newer one.
    void PostText(std::uint32_t message, const std::u16string& text);
    void PostStatus(std::uint32_t stringId);
    // Posts `message` with `wParam` (lParam 0) to the follower, when there is one.
    void Post(std::uint32_t message, std::uintptr_t wParam = 0);

    // The text slot, read under the lock.
    std::u16string Text() const;
    void ClearText();
    // The lock guarding the slot, for a follower that reads the slot and other state together.
    std::mutex& TextLock() const { return textLock_; }
    const std::u16string& TextUnlocked() const { return text_; }

    NotificationSink* Sink() const { return sink_; }

  protected:
    // Test hook: lets a test make thread creation fail.
    virtual bool CreateThreadFor(std::thread* thread);

  private:
    static void ThreadProc(WorkerThread* self);

    std::thread thread_;
    mutable std::mutex textLock_;
    std::u16string text_;
    NotificationSink* sink_ = nullptr;
    std::uint32_t completionMessage_ = 0;
    std::shared_ptr<ManualResetEvent> cancel_;
    mutable std::mutex cancelLock_;  // guards the cancel_ pointer, replaced by Start()
};
