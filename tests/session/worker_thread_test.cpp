// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/worker_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <vector>

#include "session/notification_queue.h"

using namespace std::chrono_literals;

namespace {

// Drains the queue up to and including the completion message.
std::vector<Notification> TakeUntilEnd(NotificationQueue& q) {
    std::vector<Notification> got;
    for (;;) {
        auto n = q.Take(10s);
        if (!n) {
            ADD_FAILURE() << "no completion message";
            return got;
        }
        got.push_back(*n);
        if (n->message == kNotifyThreadEnded) return got;
    }
}

class PostingWorker : public WorkerThread {
  public:
    ~PostingWorker() override { CancelAndWait(); }
    void Run() override {
        PostStatus(kStatusConnecting);
        PostText(kNotifySending, u"'+49': Hi");
        ran = true;
    }
    std::atomic<bool> ran{false};
};

class RefusingWorker : public WorkerThread {
  protected:
    bool CreateThreadFor(std::thread*) override { return false; }
};

class CheckingWorker : public WorkerThread {
  public:
    ~CheckingWorker() override { CancelAndWait(); }
    int End() override {
        cancelledAtEnd = IsCancelled();
        return WorkerThread::End();
    }
    std::atomic<bool> cancelledAtEnd{false};
};

}  // namespace

TEST(WorkerThread, PostsItsNotificationsThenTheCompletionMessageExactlyOnce) {
    NotificationQueue q;
    PostingWorker w;
    ASSERT_TRUE(w.Start(&q, kNotifyThreadEnded));
    auto got = TakeUntilEnd(q);
    ASSERT_EQ(got.size(), 3u);
    EXPECT_EQ(got[0].message, kNotifyStatus);
    EXPECT_EQ(got[0].wParam, kStatusConnecting);
    EXPECT_EQ(got[1].message, kNotifySending);
    EXPECT_EQ(got[2].message, kNotifyThreadEnded);
    EXPECT_EQ(got[2].wParam, 0u);
    EXPECT_EQ(got[2].lParam, 0);
    EXPECT_EQ(w.Text(), u"'+49': Hi");
    EXPECT_EQ(w.Wait(), 1);
    EXPECT_TRUE(w.ran);
    // Nothing more arrives after the completion message.
    EXPECT_FALSE(q.Take(20ms).has_value());
}

TEST(WorkerThread, BaseRunWaitsUntilCancelled) {
    NotificationQueue q;
    CheckingWorker w;
    ASSERT_TRUE(w.Start(&q, kNotifyThreadEnded));
    EXPECT_FALSE(q.Take(30ms).has_value());  // still running
    EXPECT_FALSE(w.IsCancelled());
    EXPECT_EQ(w.Cancel(), 1);
    auto got = TakeUntilEnd(q);
    ASSERT_EQ(got.size(), 1u);
    EXPECT_TRUE(w.cancelledAtEnd);
    EXPECT_TRUE(w.IsCancelled());
}

TEST(WorkerThread, CancelWithoutAnEventReturnsZero) {
    WorkerThread w;
    EXPECT_EQ(w.Cancel(), 0);
    EXPECT_FALSE(w.IsCancelled());
    EXPECT_EQ(w.Wait(), 1);  // no thread: nothing to wait for
}

TEST(WorkerThread, AFailedStartReportsFalseAndPostsNothing) {
    NotificationQueue q;
    RefusingWorker w;
    EXPECT_FALSE(w.Start(&q, kNotifyThreadEnded));
    EXPECT_FALSE(q.Take(20ms).has_value());
}

TEST(WorkerThread, ANewStartReplacesTheCancelEvent) {
    NotificationQueue q;
    CheckingWorker w;
    ASSERT_TRUE(w.Start(&q, kNotifyThreadEnded));
    w.Cancel();
    TakeUntilEnd(q);
    ASSERT_TRUE(w.Start(&q, kNotifyThreadEnded));
    EXPECT_FALSE(w.IsCancelled());  // a fresh event
    EXPECT_EQ(w.CancelAndWait(), 1);
    TakeUntilEnd(q);
}

TEST(WorkerThread, DestroyingARunningWorkerCancelsAndJoins) {
    NotificationQueue q;
    {
        CheckingWorker w;
        ASSERT_TRUE(w.Start(&q, kNotifyThreadEnded));
    }
    auto n = q.Take(1s);
    ASSERT_TRUE(n.has_value());
    EXPECT_EQ(n->message, kNotifyThreadEnded);
}

TEST(ManualResetEvent, StaysSetForEveryWaiter) {
    ManualResetEvent e;
    EXPECT_FALSE(e.WaitFor(1ms));
    e.Set();
    EXPECT_TRUE(e.WaitFor(0ms));
    EXPECT_TRUE(e.WaitFor(0ms));
    EXPECT_TRUE(e.IsSet());
    e.Reset();
    EXPECT_FALSE(e.IsSet());
}
