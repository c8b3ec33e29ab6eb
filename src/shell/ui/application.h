// SPDX-License-Identifier: GPL-3.0-or-later
// The program's entry routine: one instance per user, the frame window, the About page as
// start-up screen, then the message list until the user exits.
//
//   Application app;                 // after the QApplication
//   app.SetCommandLine(commandLine); // from the arguments (CommandLineFromArguments)
//   app.SetListPageFactory(...);     // the message list page
//   return app.Run();
#pragma once

#include <QString>
#include <functional>
#include <memory>

#include "framework/text_buffer.h"
#include "framework/ui/dialog_base.h"

class MainWindow;
class SingleInstanceServer;

class Application {
  public:
    using PageFactory = std::function<std::unique_ptr<DialogBase>()>;

    Application();
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    // The command line as given at start (may be empty).
    void SetCommandLine(const TextBuffer& commandLine) { commandLine_ = commandLine; }
    const TextBuffer& StartCommandLine() const { return commandLine_; }
    // Makes the message list page (template 109). Without one, Run ends after the About page.
    void SetListPageFactory(PageFactory factory) { listFactory_ = std::move(factory); }
    // Where the running instance listens; the user's default unless set (tests).
    void SetInstanceSocketPath(const QString& path) {
        socketPath_ = path;
        socketPathSet_ = true;
    }

    // The start-up order:
    //  1. make the message list object (not yet its window) and load the title (string 2);
    //  2. if an instance of this user runs: bring it to the front, hand over the command line
    //     (when not empty) and end;
    //  3. otherwise: one-time set-up, the frame window (with the shared fonts), listen for later
    //     starts, show the frame, run the About page as start-up screen (no owner), copy the
    //     command line into CommandLine, run the message list page (no owner), destroy the
    //     frame.
    // Returns 0.
    int Run();

    // The frame while Run runs, else null.
    MainWindow* Frame() const { return frame_.get(); }

  private:
    TextBuffer commandLine_;
    PageFactory listFactory_;
    QString socketPath_;
    bool socketPathSet_ = false;
    std::unique_ptr<MainWindow> frame_;
    std::unique_ptr<SingleInstanceServer> server_;
};
