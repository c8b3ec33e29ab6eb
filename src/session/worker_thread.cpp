// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/worker_thread.h"

#include <chrono>
#include <system_error>

WorkerThread::~WorkerThread() {
    // A derived class should already have waited in its own destructor (its Run() uses its
    // members); this is the last line of defence.
    CancelAndWait();
}

void WorkerThread::Run() {
    std::shared_ptr<ManualResetEvent> event;
    {
        std::lock_guard<std::mutex> lock(cancelLock_);
        event = cancel_;
    }
    if (event) event->Wait();
}

int WorkerThread::End() {
    Post(completionMessage_);
    return 0;
}

bool WorkerThread::CreateThreadFor(std::thread* thread) {
    try {
        *thread = std::thread(&WorkerThread::ThreadProc, this);
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

bool WorkerThread::Start(NotificationSink* sink, std::uint32_t completionMessage) {
    Wait();  // a previous run's thread is joined before its slot is reused
    sink_ = sink;
    completionMessage_ = completionMessage;
    {
        std::lock_guard<std::mutex> lock(cancelLock_);
        cancel_ = std::make_shared<ManualResetEvent>();
    }
    return CreateThreadFor(&thread_);
}

void WorkerThread::ThreadProc(WorkerThread* self) {
    if (self->Begin() != 0) self->Run();
    self->End();
}

int WorkerThread::Cancel() {
    std::lock_guard<std::mutex> lock(cancelLock_);
    if (!cancel_) return 0;
    cancel_->Set();
    return 1;
}

bool WorkerThread::IsCancelled() const {
    std::lock_guard<std::mutex> lock(cancelLock_);
    return cancel_ && cancel_->IsSet();
}

int WorkerThread::Wait() {
    if (!thread_.joinable()) return 1;
    if (thread_.get_id() == std::this_thread::get_id()) return 0;
    try {
        thread_.join();
    } catch (const std::system_error&) {
        return 0;
    }
    return 1;
}

int WorkerThread::CancelAndWait() {
    Cancel();
    return Wait();
}

void WorkerThread::PostText(std::uint32_t message, const std::u16string& text) {
    std::lock_guard<std::mutex> lock(textLock_);
    text_ = text;
    Post(message);
}

void WorkerThread::PostStatus(std::uint32_t stringId) {
    Post(kNotifyStatus, stringId);
}

void WorkerThread::Post(std::uint32_t message, std::uintptr_t wParam) {
    if (sink_ != nullptr) sink_->Post(message, wParam, 0);
}

std::u16string WorkerThread::Text() const {
    std::lock_guard<std::mutex> lock(textLock_);
    return text_;
}

void WorkerThread::ClearText() {
    std::lock_guard<std::mutex> lock(textLock_);
    text_.clear();
}
