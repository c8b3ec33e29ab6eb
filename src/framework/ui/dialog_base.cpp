// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/dialog_base.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QEventLoop>
#include <QKeyEvent>
#include <QPushButton>
#include <QResizeEvent>

#include "framework/ui/app_event.h"

namespace {
QPointer<FrameWindowBase> g_frame;
}

namespace {

QString CommandName(int id) {
    return QString::number(id);
}

// A new command `id` of `window`, replacing one it had under that identifier.
QAction* MakeCommand(QObject* window, int id) {
    delete FindCommand(window, id);
    auto* action = new QAction(window);
    action->setObjectName(CommandName(id));
    action->setData(id);
    return action;
}

}  // namespace

QAction* FindCommand(const QObject* window, int id) {
    if (window == nullptr) return nullptr;
    return window->findChild<QAction*>(CommandName(id), Qt::FindDirectChildrenOnly);
}

QAction* FrameWindowBase::NewCommand(int id) {
    return MakeCommand(this, id);
}

void FrameWindowBase::SetInstance(FrameWindowBase* frame) {
    g_frame = frame;
}
FrameWindowBase* FrameWindowBase::Instance() {
    return g_frame.data();
}

DialogBase::DialogBase(int templateId, QWidget* parent) : QWidget(parent), templateId_(templateId) {
    setObjectName(QStringLiteral("dialog%1").arg(templateId));
    setAutoFillBackground(true);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, Qt::white);
    setPalette(pal);
    hide();
    AddCommand(IDOK, [this] { Accept(); });
    AddCommand(IDCANCEL, [this] { Reject(); });
}

DialogBase::~DialogBase() {
    if (loop_ != nullptr) loop_->exit(0);
    if (auto* frame = FrameWindowBase::Instance()) frame->removeEventFilter(this);
}

QWidget* DialogBase::Control(int id) const {
    return findChild<QWidget*>(QString::number(id));
}

QSize DialogBase::ClientSize() const {
    const int bar = menuBar_ != nullptr ? menuBar_->height() : 0;
    return QSize(width(), qMax(0, height() - bar));
}

bool DialogBase::EnsureCreated() {
    if (created_) return true;
    if (!OnInitDialog()) return false;
    created_ = true;
    return true;
}

QAction* DialogBase::NewCommand(int id) {
    return MakeCommand(this, id);
}

QAction* DialogBase::CommandOrFrameCommand(int id) const {
    if (QAction* own = Command(id)) return own;
    if (const FrameWindowBase* frame = FrameWindowBase::Instance()) return frame->Command(id);
    return nullptr;
}

void DialogBase::SendCommand(int id) {
    if (QAction* command = CommandOrFrameCommand(id)) command->trigger();
}

void DialogBase::ConnectButton(QAbstractButton* button, int id) {
    connect(button, &QAbstractButton::clicked, this, [this, id] { SendCommand(id); });
}

void DialogBase::CreateMenuBar(const MenuBarDef& def) {
    DestroyMenuBar();
    menuBar_ = new MenuBar(this, def, [this](int id) { return CommandOrFrameCommand(id); });
    menuBar_->show();
    RelayOut();
}

void DialogBase::DestroyMenuBar() {
    if (menuBar_ == nullptr) return;
    menuBar_->hide();
    menuBar_->deleteLater();
    menuBar_ = nullptr;
    RelayOut();
}

void DialogBase::OnActivate() {
    CreateMenuBar(MenuBarDefinition());
}

void DialogBase::RelayOut() {
    if (menuBar_ != nullptr) {
        menuBar_->setGeometry(0, height() - menuBar_->height(), width(), menuBar_->height());
        menuBar_->raise();
    }
    const QSize client = ClientSize();
    Layout(client.width(), client.height());
}

void DialogBase::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    RelayOut();
}

bool DialogBase::eventFilter(QObject* watched, QEvent* event) {
    // A page follows the frame's size.
    if (watched == FrameWindowBase::Instance() && event->type() == QEvent::Resize && running_ &&
        !isWindow()) {
        setGeometry(FrameWindowBase::Instance()->rect());
    }
    return QWidget::eventFilter(watched, event);
}

int DialogBase::RunLoop() {
    running_ = true;
    if (!ended_) {
        QEventLoop loop;
        loop_ = &loop;
        loop.exec();
        loop_ = nullptr;
    }
    running_ = false;
    return result_;
}

void DialogBase::EndDialog(int result) {
    result_ = result;
    ended_ = true;
    if (loop_ != nullptr) loop_->exit(0);
}

int DialogBase::RunPage(DialogBase* owner) {
    result_ = IDCANCEL;
    ended_ = false;
    if (owner != nullptr) owner->DestroyMenuBar();
    FrameWindowBase* frame = FrameWindowBase::Instance();
    if (frame != nullptr && parentWidget() != frame) setParent(frame, Qt::Widget);
    if (!EnsureCreated()) {
        if (owner != nullptr) owner->OnActivate();
        return IDCANCEL;
    }
    OnActivate();
    if (frame != nullptr) {
        setGeometry(frame->rect());
        frame->installEventFilter(this);
    }
    // The control that had the keyboard in the owner gets it back when this page ends; hiding
    // the owner takes it away.
    QPointer<QWidget> ownerFocus;
    if (owner != nullptr) {
        QWidget* focused = QApplication::focusWidget();
        ownerFocus =
            focused != nullptr && owner->isAncestorOf(focused) ? focused : owner->focusWidget();
    }
    show();
    raise();
    activateWindow();
    setFocus();
    if (owner != nullptr) {
        owner->setEnabled(false);
        owner->hide();
    }

    RunLoop();

    if (frame != nullptr) frame->removeEventFilter(this);
    hide();
    if (owner != nullptr) {
        owner->show();
        owner->setEnabled(true);
    }
    OnEnd(result_);
    if (owner != nullptr) {
        owner->activateWindow();
        owner->OnActivate();
        owner->Refresh();
        if (ownerFocus != nullptr && owner->isAncestorOf(ownerFocus) &&
            ownerFocus->isVisibleTo(owner) && ownerFocus->isEnabled()) {
            ownerFocus->setFocus(Qt::OtherFocusReason);
        } else {
            owner->setFocus(Qt::OtherFocusReason);
        }
    }
    return result_;
}

int DialogBase::RunModal(QWidget* owner) {
    result_ = IDCANCEL;
    ended_ = false;
    setParent(owner, Qt::Dialog);
    // Modal: every other window keeps its look but takes no input while the dialog runs.
    setWindowModality(Qt::ApplicationModal);
    if (!EnsureCreated()) return IDCANCEL;
    adjustSize();
    show();
    raise();
    activateWindow();

    RunLoop();

    hide();
    OnEnd(result_);
    if (owner != nullptr) {
        owner->activateWindow();
        owner->show();
        if (auto* ownerDialog = qobject_cast<DialogBase*>(owner)) ownerDialog->OnActivate();
    }
    return result_;
}

bool DialogBase::OnAppMessage(std::uint32_t, std::uintptr_t, std::intptr_t) {
    return false;
}

bool DialogBase::event(QEvent* event) {
    if (AppEvent::IsAppMessage(event->type())) {
        auto* app = static_cast<AppEvent*>(event);
        OnAppMessage(app->Message(), app->WParam(), app->LParam());
        return true;
    }
    return QWidget::event(event);
}

void DialogBase::closeEvent(QCloseEvent* event) {
    // Closing a modal dialog's window is its Cancel.
    if (running_) {
        event->ignore();
        SendCommand(IDCANCEL);
        return;
    }
    QWidget::closeEvent(event);
}

void DialogBase::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1) {
        if (auto* frame = FrameWindowBase::Instance()) frame->ShowHelp();
        return;
    }
    if (event->key() == Qt::Key_Escape && running_) {
        SendCommand(IDCANCEL);
        return;
    }
    // Return presses the button that has the focus (a field that takes Return keeps it).
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && running_) {
        auto* button = qobject_cast<QPushButton*>(QApplication::focusWidget());
        if (button != nullptr && isAncestorOf(button) && button->isEnabled()) {
            button->click();
            return;
        }
    }
    QWidget::keyPressEvent(event);
}
