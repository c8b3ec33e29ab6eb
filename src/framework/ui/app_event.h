// SPDX-License-Identifier: GPL-3.0-or-later
// Numbered messages between threads and windows. A notification in the WM_APP range keeps its
// number as the Qt event type, so 0x8001 posted by the worker arrives as event type 0x8001.
#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <cstdint>

class AppEvent : public QEvent {
  public:
    AppEvent(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam)
        : QEvent(static_cast<QEvent::Type>(message)),
          message_(message),
          wParam_(wParam),
          lParam_(lParam) {}
    std::uint32_t Message() const { return message_; }
    std::uintptr_t WParam() const { return wParam_; }
    std::intptr_t LParam() const { return lParam_; }

    // The WM_APP range, which every AppEvent uses.
    static bool IsAppMessage(QEvent::Type type) {
        return static_cast<int>(type) >= 0x8000 && static_cast<int>(type) <= 0xBFFF;
    }

  private:
    std::uint32_t message_;
    std::uintptr_t wParam_;
    std::intptr_t lParam_;
};

// Posts a numbered message to `target`; safe from any thread (the event queue takes ownership).
inline void PostAppMessage(QObject* target, std::uint32_t message, std::uintptr_t wParam = 0,
                           std::intptr_t lParam = 0) {
    QCoreApplication::postEvent(target, new AppEvent(message, wParam, lParam));
}
