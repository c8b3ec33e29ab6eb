// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/main_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QPointer>

#include "framework/ui/app_event.h"
#include "framework/ui/ui_fonts.h"
#include "shell/hand_over.h"
#include "shell/ui/about_page.h"
#include "shell/ui/help.h"

namespace {
QPointer<MainWindow> g_mainWindow;
constexpr unsigned kProductNameId = 2;
}  // namespace

MainWindow::MainWindow() {
    setObjectName(QStringLiteral("VkMainWnd"));
    CreateUiFonts();
    TextBuffer title;
    title.LoadResourceString(kProductNameId);
    setWindowTitle(QString::fromUtf16(title.Text()));
    setAutoFillBackground(true);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, Qt::white);
    setPalette(pal);
    resize(kInitialFrameWidth, kInitialFrameHeight);
    g_mainWindow = this;
    FrameWindowBase::SetInstance(this);
    AddCommand(kCommandAbout, [this] { RunAbout(); });
    AddCommand(kCommandExit, [this] { close(); });
}

MainWindow::~MainWindow() {
    if (FrameWindowBase::Instance() == this) FrameWindowBase::SetInstance(nullptr);
}

MainWindow* MainWindow::Instance() {
    return g_mainWindow.data();
}

std::uint32_t MainWindow::OnCopyData(std::uint32_t /*dwData*/, const void* data,
                                     std::uint32_t size) {
    if (!TakeCommandLine(data, size, commandLine_)) return 1;
    // The list acts on it later, from its own message loop, as after a start with it.
    if (runningList_ != nullptr) PostAppMessage(runningList_, kMsgNewFromCommandLine);
    emit commandLineReceived();
    return 1;
}

void MainWindow::BringToFront() {
    if (isMinimized()) showNormal();
    show();
    raise();
    activateWindow();
    emit broughtToFront();
}

std::uint32_t MainWindow::AnswerHandOver(const HandOverRequest& request) {
    if (request.message == kHandOverActivate) {
        BringToFront();
        return 1;
    }
    return OnCopyData(request.wParam, request.data.data(),
                      static_cast<std::uint32_t>(request.data.size()));
}

void MainWindow::RunAbout() {
    if (closing_) return;
    AboutPage about;
    about.RunPage(runningList_);
}

void MainWindow::ShowHelp() {
    OpenManual();
}

QRect MainWindow::InitialGeometry(const QRect& available) {
    int width = kInitialFrameWidth;
    int height = kInitialFrameHeight;
    if (available.isEmpty()) return QRect(0, 0, width, height);
    width = qMin(width, available.width());
    if (height > available.height() - kMenuBarReserve) {
        height = qMax(kMenuBarReserve, available.height() - kMenuBarReserve);
        // Top-aligned so that the frame ends exactly the reserve above the bottom edge.
        return QRect(available.left() + (available.width() - width) / 2, available.top(), width,
                     height);
    }
    return QRect(available.left() + (available.width() - width) / 2,
                 available.top() + (available.height() - height) / 2, width, height);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    // Closing the frame ends the program: every page and dialog that runs is ended (the
    // innermost returns first), and Application::Run returns once the list's page has.
    closing_ = true;
    const auto endRunning = [](QWidget* w) {
        auto* dialog = qobject_cast<DialogBase*>(w);
        if (dialog != nullptr && dialog->IsRunning()) dialog->EndDialog(IDCANCEL);
    };
    for (DialogBase* page : findChildren<DialogBase*>()) endRunning(page);
    for (QWidget* top : QApplication::topLevelWidgets()) {
        endRunning(top);
        for (DialogBase* child : top->findChildren<DialogBase*>()) endRunning(child);
    }
    event->accept();
}

void MainWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1) {
        ShowHelp();
        return;
    }
    FrameWindowBase::keyPressEvent(event);
}
