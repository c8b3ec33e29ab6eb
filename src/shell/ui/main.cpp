// SPDX-License-Identifier: GPL-3.0-or-later
// velkan-tessiver: the desktop program.
#include <QApplication>
#include <QStringList>
#include <memory>
#include <string>
#include <vector>

#include "common/sms_message.h"
#include "resources/translations.h"
#include "shell/contacts_addin.h"
#include "shell/smsto.h"
#include "shell/ui/application.h"
#include "shell/ui/main_window.h"
#include "shell/ui/message_list_view.h"

namespace {

// The message list as the program runs it: the list takes its command line from the frame
// window and registers the link handler through the shell.
class ProgramMessageList : public MessageListView {
  protected:
    bool HasCommandLine() const override {
        const MainWindow* frame = MainWindow::Instance();
        return frame != nullptr && !frame->CommandLine().IsEmpty();
    }
    bool CommandLineRecipient(SmsMessage& message) override {
        const MainWindow* frame = MainWindow::Instance();
        if (frame == nullptr) return false;
        TextBuffer number, name;
        if (!ParseSmsTo(frame->CommandLine(), number, name)) return false;
        message.number = number.ToU16();
        message.name = name.ToU16();
        return true;
    }
    void UpdateContactsAddIn() override { RegisterContactsAddIn(); }
};

std::unique_ptr<DialogBase> MakeMessageList() {
    return std::make_unique<ProgramMessageList>();
}

}  // namespace

int main(int argc, char** argv) {
    QApplication qt(argc, argv);
    // The windows in the user's language (LANGUAGE, LC_ALL, LC_MESSAGES, LANG).
    InstallUserTranslation();
    // Qt has taken its own options out of the arguments; the rest is the command line.
    std::vector<std::u16string> arguments;
    const QStringList all = QCoreApplication::arguments();
    for (qsizetype i = 1; i < all.size(); ++i) arguments.push_back(all[i].toStdU16String());
    TextBuffer commandLine;
    CommandLineFromArguments(arguments, commandLine);

    Application app;
    app.SetCommandLine(commandLine);
    app.SetListPageFactory(&MakeMessageList);
    return app.Run();
}
