// SPDX-License-Identifier: GPL-3.0-or-later
// A start of the program for the process tests: Application::Run with the real frame, About
// page and single-instance code, and a message list that reports on standard output what it
// receives, one line each:
//   about                      the About page was shown (and is closed at once)
//   ready                      the message list runs
//   registered                 the link-handler registration ran
//   front                      a second start brought the frame to the front
//   compose NUMBER NAME        a new message from the command line (ParseSmsTo accepted it)
//   rejected                   a command line without a number part
//   end                        Application::Run returned
// The list ends when standard input reaches its end.
#include <unistd.h>

#include <QApplication>
#include <QSocketNotifier>
#include <QTimer>
#include <cstdio>
#include <memory>

#include "framework/ui/app_event.h"
#include "shell/contacts_addin.h"
#include "shell/smsto.h"
#include "shell/ui/about_page.h"
#include "shell/ui/application.h"
#include "shell/ui/main_window.h"

namespace {

void Print(const QString& line) {
    std::fputs(line.toUtf8().constData(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

class ProbeList : public DialogBase {
  public:
    ProbeList() : DialogBase(109) {}

  protected:
    bool OnInitDialog() override {
        MainWindow* frame = MainWindow::Instance();
        QObject::connect(frame, &MainWindow::broughtToFront, this, [] { Print("front"); });
        auto* input = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
        QObject::connect(input, &QSocketNotifier::activated, this, [this, input] {
            char buffer[256];
            if (read(STDIN_FILENO, buffer, sizeof buffer) <= 0) {
                input->setEnabled(false);
                EndDialog(IDOK);
            }
        });
        // As the message list does at its start.
        QMetaObject::invokeMethod(
            this,
            [] {
                RegisterContactsAddIn();
                Print("registered");
            },
            Qt::QueuedConnection);
        if (!frame->CommandLine().IsEmpty()) PostAppMessage(this, kMsgNewFromCommandLine);
        return true;
    }
    void showEvent(QShowEvent* event) override {
        DialogBase::showEvent(event);
        if (!shown_) Print("ready");
        shown_ = true;
    }
    bool OnAppMessage(std::uint32_t message, std::uintptr_t, std::intptr_t) override {
        if (message == kMsgNewFromCommandLine) {
            TextBuffer number, name;
            if (ParseSmsTo(MainWindow::Instance()->CommandLine(), number, name)) {
                Print(QStringLiteral("compose %1 %2")
                          .arg(QString::fromUtf16(number.Text()), QString::fromUtf16(name.Text())));
            } else {
                Print("rejected");
            }
        }
        return true;
    }

  private:
    bool shown_ = false;
};

// Closes the start-up screen as soon as it shows, as a user tapping its X would.
class AboutCloser : public QObject {
  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show) {
            if (auto* about = qobject_cast<AboutPage*>(watched)) {
                Print("about");
                QTimer::singleShot(0, about, [about] { about->SendCommand(IDCANCEL); });
            }
        }
        return false;
    }
};

}  // namespace

int main(int argc, char** argv) {
    QApplication qt(argc, argv);
    std::vector<std::u16string> arguments;
    const QStringList all = QCoreApplication::arguments();
    for (qsizetype i = 1; i < all.size(); ++i) arguments.push_back(all[i].toStdU16String());
    TextBuffer commandLine;
    CommandLineFromArguments(arguments, commandLine);

    AboutCloser closer;
    qt.installEventFilter(&closer);
    Application app;
    app.SetCommandLine(commandLine);
    app.SetListPageFactory([] { return std::make_unique<ProbeList>(); });
    const int rc = app.Run();
    Print("end");
    return rc;
}
