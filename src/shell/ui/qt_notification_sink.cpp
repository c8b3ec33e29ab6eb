// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/qt_notification_sink.h"

#include "framework/ui/app_event.h"

void QtNotificationSink::SetTarget(QObject* target) {
    std::lock_guard<std::mutex> guard(lock_);
    target_ = target;
}

void QtNotificationSink::Post(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) {
    std::lock_guard<std::mutex> guard(lock_);
    if (target_ != nullptr) PostAppMessage(target_, message, wParam, lParam);
}
