// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/background_check.h"

#include <limits>

#include "framework/ui/app_event.h"
#include "session/notifications.h"
#include "settings/settings_key.h"
#include "settings/transfer_settings_reader.h"
#include "shell/ui/progress_dialog.h"

BackgroundCheck::BackgroundCheck(QObject* parent) : QObject(parent) {
    timer_.setSingleShot(false);
    connect(&timer_, &QTimer::timeout, this, [this] { CheckNow(); });
}

BackgroundCheck::~BackgroundCheck() {
    // No notification may reach this object once it is gone; a check still running stops.
    sink_.SetTarget(nullptr);
    session_.CancelAndWait();
}

void BackgroundCheck::SetIntervalMinutes(std::uint32_t minutes) {
    minutes_ = minutes;
    if (minutes == 0) {
        timer_.stop();
        return;
    }
    // QTimer counts in int milliseconds: a longer interval waits as long as it can.
    const qint64 ms = static_cast<qint64>(minutes) * minuteMs_;
    timer_.start(static_cast<int>(std::min<qint64>(ms, std::numeric_limits<int>::max())));
}

void BackgroundCheck::SetMinuteLength(int milliseconds) {
    minuteMs_ = milliseconds;
    if (minutes_ != 0) SetIntervalMinutes(minutes_);
}

bool BackgroundCheck::CheckNow() {
    if (running_) return false;
    if (mayStart_ && !mayStart_()) return false;
    TransferSettings settings;
    if (!ReadTransferSettings(&settings)) return false;
    // Another transfer running means this round is skipped, not waited for.
    settings.skipIfBusy = true;
    {
        RegistryKey key;
        settings.sendOutbox = OpenSettings(key) && ReadSettingFlag(key, kValueCheckSend);
    }
    session_.SetSingleMessage(nullptr);
    session_.SetResult(kErrNone);
    sink_.SetTarget(this);
    running_ = true;
    if (!session_.Start(&sink_, kNotifyThreadEnded, &settings)) {
        running_ = false;
        return false;
    }
    emit started();
    return true;
}

bool BackgroundCheck::event(QEvent* event) {
    if (!AppEvent::IsAppMessage(event->type())) return QObject::event(event);
    // Only the end matters: the list reloads then, with everything the check stored.
    if (static_cast<AppEvent*>(event)->Message() == kNotifyThreadEnded) OnEnded();
    return true;
}

void BackgroundCheck::OnEnded() {
    session_.Wait();
    running_ = false;
    const TransferError result = session_.Result();
    QString failure;
    // A round skipped because another transfer held the phone, and a cancel (the program
    // ending), are nothing to report.
    if (result != kErrNone && result != kErrBusy && result != kErrCancelled) {
        failure = TransferErrorText(result, session_.FailureDetail());
    }
    emit finished(result, failure, session_.StoredIds());
}
