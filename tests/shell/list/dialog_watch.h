// SPDX-License-Identifier: GPL-3.0-or-later
// Acting on a dialog that runs its own loop: the tests wait for it to show, act on it, and
// cancel it if it is still open, so that a test never hangs on it.
#pragma once

#include <QApplication>
#include <QTimer>

#include "message_ui/ui/message_dialog.h"

// A result no command produces: the dialog was still open after the test's action.
constexpr int kStillOpen = 99;

// The running, visible dialog of kind `Dialog`, or null.
template <typename Dialog>
Dialog* OpenDialog() {
    for (QWidget* w : QApplication::allWidgets()) {
        auto* d = qobject_cast<Dialog*>(w);
        if (d != nullptr && d->IsRunning() && d->isVisible()) return d;
    }
    return nullptr;
}

// Calls `action` with the dialog once it runs (it spins its own loop). A dialog that `action`
// leaves open is cancelled, so a test never hangs on it.
template <typename Dialog = MessageDialog, typename Action>
void WhenDialogOpen(QObject* context, Action action, bool* seen) {
    auto* timer = new QTimer(context);
    timer->setInterval(5);
    QObject::connect(timer, &QTimer::timeout, context, [timer, action, seen] {
        Dialog* d = OpenDialog<Dialog>();
        if (d == nullptr) return;
        timer->stop();
        timer->deleteLater();
        *seen = true;
        d->SetResult(kStillOpen);
        action(d);
        if (d->Result() == kStillOpen) d->SendCommand(IDCANCEL);
    });
    timer->start();
}
