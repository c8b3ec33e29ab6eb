// SPDX-License-Identifier: GPL-3.0-or-later
// The automatic check for new messages: every CheckEvery minutes, while the program runs, the
// same transfer as the "Get" button runs without a progress dialog. The settings are read as
// it starts; the Outbox goes too only when CheckSend is on. A check that would meet another
// transfer skips its round (the session ends at once with kErrBusy), and one whose time comes
// while the caller says no (a dialog is open, a transfer runs) is left for the next round.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <cstdint>
#include <functional>
#include <vector>

#include "common/sms_message.h"
#include "common/transfer_error.h"
#include "session/transfer_session.h"
#include "shell/ui/qt_notification_sink.h"

class BackgroundCheck : public QObject {
    Q_OBJECT
  public:
    static constexpr int kMinuteMs = 60 * 1000;

    explicit BackgroundCheck(QObject* parent = nullptr);
    ~BackgroundCheck() override;

    // Every `minutes` minutes from now; 0 stops the checks.
    void SetIntervalMinutes(std::uint32_t minutes);
    std::uint32_t IntervalMinutes() const { return minutes_; }
    // The length of a minute for the timer; tests shorten it.
    void SetMinuteLength(int milliseconds);
    bool TimerActive() const { return timer_.isActive(); }
    int TimerInterval() const { return timer_.interval(); }

    // Asked before each check: false leaves this round out.
    void SetGate(std::function<bool()> mayStart) { mayStart_ = std::move(mayStart); }

    // A check now, as the timer does it; false when it did not start (one runs already, the
    // gate said no, or the worker could not start).
    bool CheckNow();
    bool IsRunning() const { return running_; }
    TransferSession& Session() { return session_; }

  signals:
    void started();
    // The check ended with `result`; `failure` is the text for a result worth showing (empty
    // for success, a cancel and a skipped round); `stored` the messages it put in the Inbox.
    void finished(TransferError result, const QString& failure, const std::vector<Oid>& stored);

  protected:
    bool event(QEvent* event) override;

  private:
    void OnEnded();

    TransferSession session_;
    QtNotificationSink sink_;
    QTimer timer_;
    std::uint32_t minutes_ = 0;
    int minuteMs_ = kMinuteMs;
    bool running_ = false;
    std::function<bool()> mayStart_;
};
