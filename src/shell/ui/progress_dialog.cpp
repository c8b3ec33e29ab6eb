// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/progress_dialog.h"

#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QShowEvent>
#include <QStringList>

#include "framework/ui/app_event.h"
#include "framework/ui/dialog_units.h"
#include "framework/ui/message_box.h"
#include "framework/ui/resource_text.h"
#include "framework/ui/ui_fonts.h"
#include "session/notifications.h"
#include "session/result_messages.h"
#include "settings/transfer_settings_reader.h"

namespace {

constexpr unsigned kStringProductName = 2;
constexpr unsigned kStringReceivedCount = 3003;
constexpr unsigned kStringSendingMessage = 3102;
constexpr unsigned kStringHeadingSendOnly = 3105;
constexpr unsigned kStringHeadingSendAndGet = 3106;
constexpr unsigned kStringSuccess = 3109;
constexpr unsigned kStringNoNewMessages = 3111;
constexpr unsigned kStringNewMessages = 3112;
constexpr unsigned kStringMessagesSent = 3113;

// The template's own size; the dialog is as wide as its owner allows.
constexpr int kTemplateWidth = 124;
constexpr int kTemplateHeight = 90;
// The dialog header: the heading at 5,5 and a line across the dialog at y 24.
constexpr int kHeadingLeft = 5;
constexpr int kHeadingTop = 5;
constexpr int kSeparatorTop = 24;
constexpr int kTextTop = 33;
constexpr int kMargin = 8;
// The dialog keeps this distance from its owner's left, top and right edges.
constexpr int kOwnerInset = 3;

// `format` (a string resource with one %d) formatted with `value` within the status limit.
TextBuffer FormatCount(unsigned formatId, int value) {
    TextBuffer format;
    format.LoadResourceString(formatId);
    TextBuffer out;
    out.Format(ProgressDialog::kStatusLimit, format.Text(), value);
    return out;
}

}  // namespace

ProgressDialog::ProgressDialog(TransferSession* session)
    : DialogBase(kTemplateId), session_(session), units_(DialogPixelFont()) {
    if (session_ == nullptr) {
        ownSession_ = std::make_unique<TransferSession>();
        session_ = ownSession_.get();
    }
    closeTimer_.setSingleShot(true);
    // The summary must stay for its whole time: a coarse timer may fire a little early.
    closeTimer_.setTimerType(Qt::PreciseTimer);
    connect(&closeTimer_, &QTimer::timeout, this, [this] { Close(); });
}

ProgressDialog::~ProgressDialog() {
    // No notification may reach the dialog once it is gone; a transfer still running is
    // cancelled and waited for.
    sink_.SetTarget(nullptr);
    session_->CancelAndWait();
}

void ProgressDialog::ResetCounts() {
    countToSend_ = 0;
    countSent_ = 0;
    countReceived_ = 0;
    SetResult(IDCANCEL);
}

bool ProgressDialog::OnInitDialog() {
    setFont(DialogPixelFont());
    setWindowTitle(ResourceText(kStringProductName));

    heading_ = new QLabel(this);
    heading_->setObjectName(QString::number(kHeadingId));
    heading_->setTextFormat(Qt::PlainText);
    heading_->setFont(GetUiFont(UiFont::SmallBold));
    heading_->setText(tr("Checking Messages..."));
    heading_->setGeometry(kHeadingLeft, kHeadingTop, units_.X(79), units_.Y(9));

    separator_ = new QFrame(this);
    separator_->setObjectName(QLatin1String(kHeaderLineName));
    separator_->setAutoFillBackground(true);
    QPalette linePalette = separator_->palette();
    linePalette.setColor(QPalette::Window, palette().color(QPalette::WindowText));
    separator_->setPalette(linePalette);
    separator_->setGeometry(0, kSeparatorTop, width(), 1);

    text_ = new QLabel(this);
    text_->setObjectName(QString::number(kTextId));
    // Message texts are shown as they are, never as markup.
    text_->setTextFormat(Qt::PlainText);
    text_->setWordWrap(true);
    text_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    const QRect textRect = units_.SizedRect(2, 18, 113, 25);
    text_->setGeometry(textRect);
    textSize_ = textRect.size();

    cancel_ = new QPushButton(tr("Cancel"), this);
    cancel_->setObjectName(QString::number(IDCANCEL));
    const QRect cancelRect = units_.SizedRect(41, 71, 42, 12);
    cancel_->setGeometry(cancelRect);
    cancelSize_ = cancelRect.size();
    cancelLeft_ = cancelRect.left();
    ConnectButton(cancel_, IDCANCEL);

    heading_->setText(StaticLabelText(
        ResourceText(session_->IsSendOnly() ? kStringHeadingSendOnly : kStringHeadingSendAndGet)));

    // The worker reports to this dialog; a worker that cannot start ends the dialog the same
    // way a finished one does, and the session's result code then decides the message. The
    // settings are read now, as the transfer starts; a transfer without them does nothing.
    sink_.SetTarget(this);
    TransferSettings settings;
    const bool settingsRead = ReadTransferSettings(&settings);
    if (!session_->Start(&sink_, kNotifyThreadEnded, settingsRead ? &settings : nullptr)) {
        PostAppMessage(this, kNotifyThreadEnded);
    }
    return true;
}

QSize ProgressDialog::sizeHint() const {
    int w = units_.X(kTemplateWidth);
    if (const QWidget* owner = parentWidget()) w = qMax(w, owner->width() - 2 * kOwnerInset);
    return QSize(w, units_.Y(kTemplateHeight));
}

void ProgressDialog::showEvent(QShowEvent* event) {
    DialogBase::showEvent(event);
    if (const QWidget* owner = parentWidget(); owner != nullptr && isWindow()) {
        move(owner->mapToGlobal(QPoint(kOwnerInset, kOwnerInset)));
    }
}

void ProgressDialog::Layout(int w, int h) {
    if (heading_ == nullptr) return;
    // The heading keeps its place and takes the width the bold face needs.
    heading_->setGeometry(kHeadingLeft, kHeadingTop, qMax(units_.X(79), w - 2 * kHeadingLeft),
                          heading_->height());
    separator_->setGeometry(0, kSeparatorTop, w, 1);
    cancel_->setGeometry(cancelLeft_, h - kMargin - cancelSize_.height(), cancelSize_.width(),
                         cancelSize_.height());
    text_->setGeometry(kMargin, kTextTop, qMax(0, w - 2 * kMargin), textSize_.height());
}

void ProgressDialog::Cancel() {
    // A second press (or Escape, or closing the window) after the first does nothing.
    if (cancel_ == nullptr || !cancel_->isEnabled()) return;
    session_->Cancel();
    PostAppMessage(this, kNotifyStatus, kStatusCancelling);
    cancel_->setEnabled(false);
}

bool ProgressDialog::OnAppMessage(std::uint32_t message, std::uintptr_t wParam,
                                  std::intptr_t lParam) {
    switch (message) {
        case kNotifyThreadEnded:
            if (!closeTimer_.isActive()) Close();
            emit workerEnded();
            return true;
        case kNotifySuccess:
            ShowSuccess();
            return true;
        case kNotifyStatus:
            if (wParam == kStringSendingMessage) {
                SetSendingStatus(static_cast<unsigned>(lParam));
            } else {
                SetStatusFromString(static_cast<unsigned>(wParam));
            }
            RefreshText();
            return true;
        case kNotifySendCount:
            countToSend_ = static_cast<unsigned>(wParam);
            return true;
        case kNotifyReceived:
            ++countReceived_;
            statusText_ = FormatCount(kStringReceivedCount, static_cast<int>(countReceived_));
            RefreshText();
            return true;
        case kNotifySending:
            ++countSent_;
            SetSendingStatus(countSent_);
            RefreshText();
            return true;
        default:
            return false;
    }
}

void ProgressDialog::SetStatusFromString(unsigned id) {
    statusText_.LoadResourceString(id);
}

void ProgressDialog::SetSendingStatus(unsigned current) {
    TextBuffer format;
    format.LoadResourceString(kStringSendingMessage);
    statusText_.Format(kStatusLimit, format.Text(), static_cast<int>(current),
                       static_cast<int>(countToSend_));
}

void ProgressDialog::RefreshText() {
    TextBuffer shown;
    {
        // The worker writes the detail line under the same lock while it posts.
        std::lock_guard<std::mutex> guard(session_->TextLock());
        const std::u16string& detail = session_->TextUnlocked();
        shown.Format(kTextLimit, u"%s\n%s", statusText_.Text(), detail.c_str());
    }
    const QString text = QString::fromUtf16(shown.Text());
    if (text_ != nullptr) {
        text_->setText(text);
        text_->repaint();
    }
    emit textRefreshed(text);
}

void ProgressDialog::ShowSuccess() {
    // The summary replaces the last detail line.
    session_->ClearText();
    TextBuffer status;
    status.LoadResourceString(kStringSuccess);
    status.Append(u"\n");
    if (!session_->IsSendOnly()) {
        // The messages handed to the phone, which is the count to send unless some were held
        // back (a "may have been sent" mark, a number that cannot be used).
        if (countSent_ != 0) {
            status.Append(FormatCount(kStringMessagesSent, static_cast<int>(countSent_)));
            status.Append(u"\n");
        }
        if (countReceived_ != 0) {
            status.Append(FormatCount(kStringNewMessages, static_cast<int>(countReceived_)));
        } else {
            TextBuffer none;
            none.LoadResourceString(kStringNoNewMessages);
            status.Append(none);
        }
    }
    for (const std::u16string& line : session_->Shortfalls()) {
        status.Append(u"\n");
        status.Append(line.c_str());
    }
    statusText_ = status;
    RefreshText();

    SetResult(IDOK);
    if (cancel_ != nullptr) cancel_->setEnabled(false);
    closeTimer_.start(closeDelayMs_);
}

void ProgressDialog::Close() {
    closeTimer_.stop();
    EndDialog(Result());
}

QString TransferErrorText(TransferError result, const std::u16string& detail) {
    const std::uint32_t id = ResultMessageId(result);
    if (id == 0) return QString();
    if (id == kStringStoreUnusable) {
        // No length limit here: the reason names a file, whose path may be long.
        return ResourceText(id).replace(QStringLiteral("%s"), QString::fromStdU16String(detail));
    }
    if (id != kStringOperationFailed) return ResourceText(id);
    TextBuffer format;
    format.LoadResourceString(id);
    TextBuffer text;
    text.Format(ProgressDialog::kStatusLimit, format.Text(), static_cast<int>(result));
    return QString::fromUtf16(text.Text());
}

namespace {

QString ShortfallText(const TransferSession& session) {
    QStringList lines;
    for (const std::u16string& line : session.Shortfalls()) {
        lines << QString::fromStdU16String(line);
    }
    return lines.join(QLatin1Char('\n'));
}

}  // namespace

int RunTransfer(ProgressDialog& dialog, QWidget* owner) {
    dialog.ResetCounts();
    // The page under the dialog stays drawn as it is; the dialog, being modal, is what keeps
    // its input away meanwhile.
    const int result = dialog.RunModal(owner);
    const QString shortfalls = ShortfallText(dialog.Session());
    if (result != IDCANCEL) {
        // The summary closes by itself after a moment: what was left undone is said again in a
        // box that stays until the person has read it.
        if (!shortfalls.isEmpty()) ShowMessageBox(owner, shortfalls, BoxKind::Warning);
        return result;
    }
    const TransferError code = dialog.Session().Result();
    if (code == kErrCancelled && shortfalls.isEmpty()) return result;
    // The owner is repainted first so that the box does not stand over a stale screen.
    if (owner != nullptr) owner->repaint();
    QString text = TransferErrorText(code, dialog.Session().FailureDetail());
    if (!shortfalls.isEmpty())
        text += (text.isEmpty() ? QString() : QStringLiteral("\n\n")) + shortfalls;
    ShowMessageBox(owner, text, code == kErrCancelled ? BoxKind::Warning : BoxKind::Error);
    return result;
}
