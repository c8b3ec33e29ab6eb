// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/application.h"

#include <QApplication>
#include <QGuiApplication>
#include <QIcon>
#include <QScreen>
#include <cstdio>

#include "shell/ui/about_page.h"
#include "shell/ui/main_window.h"
#include "shell/ui/single_instance.h"

static void InitImageResources() {
    Q_INIT_RESOURCE(resources);
}

namespace {

constexpr unsigned kProductNameId = 2;

// Once per process, before the first window: what the platform needs set up for the pages.
void InitialiseShell() {
    InitImageResources();
    // The program ends when the message list ends, not when a window happens to close.
    QApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::setDesktopFileName(QStringLiteral("velkan-tessiver"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/images/velkan-tessiver.png")));
}

}  // namespace

Application::Application() = default;

Application::~Application() {
    server_.reset();
    frame_.reset();
}

int Application::Run() {
    std::unique_ptr<DialogBase> list = listFactory_ ? listFactory_() : nullptr;
    TextBuffer title;
    title.LoadResourceString(kProductNameId);

    const QString socketPath = socketPathSet_ ? socketPath_ : DefaultInstanceSocketPath();
    const HandOverResult handOver = HandOverToRunningInstance(socketPath, commandLine_);
    if (handOver == HandOverResult::kHandedOver) return 0;
    if (handOver == HandOverResult::kFailed) {
        std::fputs("velkan-tessiver: the running instance does not answer; starting anyway\n",
                   stderr);
    }

    InitialiseShell();
    frame_ = std::make_unique<MainWindow>();
    MainWindow* frame = frame_.get();
    server_ = std::make_unique<SingleInstanceServer>(
        [frame](const HandOverRequest& request) { return frame->AnswerHandOver(request); });
    if (handOver == HandOverResult::kNoInstance && !socketPath.isEmpty() &&
        !server_->Listen(socketPath)) {
        // Another start got there at the same moment: it is the running instance now.
        if (HandOverToRunningInstance(socketPath, commandLine_) == HandOverResult::kHandedOver) {
            server_.reset();
            frame_.reset();
            return 0;
        }
    }

    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        frame->setGeometry(MainWindow::InitialGeometry(screen->availableGeometry()));
    }
    frame->show();

    {
        AboutPage about;
        about.RunPage(nullptr);
    }
    if (!commandLine_.IsEmpty()) frame->CommandLine() = commandLine_;

    if (list != nullptr && !frame->IsClosing()) {
        frame->SetRunningList(list.get());
        list->RunPage(nullptr);
        frame->SetRunningList(nullptr);
    }
    list.reset();
    server_.reset();
    frame_.reset();
    return 0;
}
