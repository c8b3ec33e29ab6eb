// velkan-tessiver: the desktop program.
#include <QApplication>
#include <QLabel>
#include <QStringList>
#include <memory>
#include <string>
#include <vector>

#include "framework/ui/app_event.h"
#include "shell/contacts_addin.h"
#include "shell/smsto.h"
#include "shell/ui/application.h"
#include "shell/ui/main_window.h"

namespace {

// Stands in for the message list (template 109) until the real one is part of the program:
// it does what the list does at start (registers the link handler, takes the command line)
// and shows what arrived, with the Options menu's About and Exit.
class PlaceholderMessageList : public DialogBase {
  public:
    PlaceholderMessageList() : DialogBase(109) {}

  protected:
    bool OnInitDialog() override {
        label_ = new QLabel(this);
        label_->setObjectName(QStringLiteral("placeholder"));
        label_->setAlignment(Qt::AlignCenter);
        label_->setWordWrap(true);
        label_->setText(QStringLiteral("Message list"));
        PostAppMessage(this, kMsgRegisterAddIn);
        if (MainWindow* frame = MainWindow::Instance(); frame && !frame->CommandLine().IsEmpty()) {
            PostAppMessage(this, kMsgNewFromCommandLine);
        }
        return true;
    }
    MenuBarDef MenuBarDefinition() const override {
        return {{40004,
                 QStringLiteral("Options"),
                 {{kCommandExit, QStringLiteral("Exit")},
                  {0, {}},
                  {kCommandAbout, QStringLiteral("About")}}}};
    }
    void Layout(int w, int h) override {
        if (label_ != nullptr) label_->setGeometry(0, 0, w, h);
    }
    bool OnAppMessage(std::uint32_t message, std::uintptr_t, std::intptr_t) override {
        if (message == kMsgRegisterAddIn) {
            RegisterContactsAddIn();
            return true;
        }
        if (message == kMsgNewFromCommandLine) {
            MainWindow* frame = MainWindow::Instance();
            TextBuffer number, name;
            if (frame != nullptr && ParseSmsTo(frame->CommandLine(), number, name)) {
                label_->setText(
                    QStringLiteral("New message to %1 %2")
                        .arg(QString::fromUtf16(number.Text()), QString::fromUtf16(name.Text())));
            }
            return true;
        }
        return false;
    }

  private:
    QLabel* label_ = nullptr;
};

std::unique_ptr<DialogBase> MakePlaceholderMessageList() {
    return std::make_unique<PlaceholderMessageList>();
}

}  // namespace

int main(int argc, char** argv) {
    QApplication qt(argc, argv);
    // Qt has taken its own options out of the arguments; the rest is the command line.
    std::vector<std::u16string> arguments;
    const QStringList all = QCoreApplication::arguments();
    for (qsizetype i = 1; i < all.size(); ++i) arguments.push_back(all[i].toStdU16String());
    TextBuffer commandLine;
    CommandLineFromArguments(arguments, commandLine);

    Application app;
    app.SetCommandLine(commandLine);
    app.SetListPageFactory(&MakePlaceholderMessageList);
    return app.Run();
}
