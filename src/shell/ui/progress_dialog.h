// SPDX-License-Identifier: GPL-3.0-or-later
// The progress dialog of a transfer (template 117): it owns the transfer session, starts its
// worker thread when it opens, shows what the worker reports, lets the user cancel, shows a
// summary after a successful transfer and closes itself 1.5 seconds later. After it has closed,
// RunTransfer turns a failed transfer's result code into a message box.
#pragma once

#include <QString>
#include <QTimer>
#include <cstdint>
#include <memory>

#include "framework/text_buffer.h"
#include "framework/ui/dialog_base.h"
#include "framework/ui/dialog_units.h"
#include "session/transfer_session.h"
#include "shell/ui/qt_notification_sink.h"

class QLabel;
class QPushButton;
class QFrame;

class ProgressDialog : public DialogBase {
    Q_OBJECT
  public:
    static constexpr int kTemplateId = 117;
    static constexpr int kHeadingId = 1019;
    static constexpr int kTextId = 1024;
    // How long the success summary stays on screen.
    static constexpr int kCloseDelayMs = 1500;
    // Limits of the formatted texts; a text that does not fit becomes empty.
    static constexpr std::size_t kStatusLimit = 80;
    static constexpr std::size_t kTextLimit = 500;

    // Runs `session` when given (it must outlive the dialog), else a session of its own.
    explicit ProgressDialog(TransferSession* session = nullptr);
    ~ProgressDialog() override;

    // The session the caller prepares (send-only or not) before RunTransfer.
    TransferSession& Session() { return *session_; }

    // The delay between the summary and the close; tests shorten it.
    void SetCloseDelay(int milliseconds) { closeDelayMs_ = milliseconds; }
    int CloseDelay() const { return closeDelayMs_; }

    // Sets the three counts to 0 and the result to IDCANCEL (done by RunTransfer).
    void ResetCounts();
    unsigned CountToSend() const { return countToSend_; }
    unsigned CountSent() const { return countSent_; }
    unsigned CountReceived() const { return countReceived_; }
    QString StatusText() const { return QString::fromUtf16(statusText_.Text()); }
    bool CloseTimerActive() const { return closeTimer_.isActive(); }

  signals:
    // After every refresh of the text, with the text as shown.
    void textRefreshed(const QString& text);
    // When the worker's end has been handled (the dialog may stay open for its close timer).
    void workerEnded();

  protected:
    bool OnInitDialog() override;
    void Layout(int w, int h) override;
    // The dialog ends only through the worker's end or the close timer: OK does nothing, and
    // Cancel (the button, Escape, closing the window) asks the worker to stop.
    void Accept() override {}
    void Reject() override { Cancel(); }
    bool OnAppMessage(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) override;
    QSize sizeHint() const override;
    void showEvent(QShowEvent* event) override;

  private:
    void SetStatusFromString(unsigned id);
    void SetSendingStatus(unsigned current);
    void RefreshText();
    void ShowSuccess();
    void Cancel();
    void Close();

    std::unique_ptr<TransferSession> ownSession_;
    TransferSession* session_;
    QtNotificationSink sink_;
    TextBuffer statusText_;
    unsigned countToSend_ = 0;
    unsigned countSent_ = 0;
    unsigned countReceived_ = 0;
    int closeDelayMs_ = kCloseDelayMs;
    QTimer closeTimer_;
    // The template's units, in the dialog's font.
    DialogUnits units_;
    QLabel* heading_ = nullptr;
    QFrame* separator_ = nullptr;
    QLabel* text_ = nullptr;
    QPushButton* cancel_ = nullptr;
    QSize textSize_;
    QSize cancelSize_;
    int cancelLeft_ = 0;
};

// Runs the transfer: the dialog runs modally over `owner`, so that the program's other windows
// take no input meanwhile (they are not disabled, and keep their look).
// Returns IDOK when the transfer succeeded; otherwise IDCANCEL, after a message box for the
// session's result code (none for a cancel). What the run left undone (its shortfalls) is
// said too: under the error, or in a warning box after a success.
int RunTransfer(ProgressDialog& dialog, QWidget* owner);

// The text of the message box for a transfer that ended with `result`; empty for a cancel.
// `detail` fills the reason of the messages that take one (the store's trouble).
QString TransferErrorText(TransferError result, const std::u16string& detail = {});
