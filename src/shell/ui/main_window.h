// SPDX-License-Identifier: GPL-3.0-or-later
// The frame window: the one top-level window of the program, which every page fills.
//
// Its object name is the window class "VkMainWnd", which also names the running instance for a
// second start (instance_key.h). It holds `CommandLine`, the last command line received at
// start or from a second start, which the message list turns into a new message.
#pragma once

#include <QRect>
#include <cstdint>

#include "framework/text_buffer.h"
#include "framework/ui/dialog_base.h"
#include "shell/hand_over.h"

// Commands the frame handles for every page (Command()): About runs the About page over the
// running list; Exit closes the frame.
constexpr int kCommandAbout = 57664;
constexpr int kCommandExit = 57665;
// The numbered message (WM_APP+9) that tells the running message list of a new command line;
// the list also posts it to itself at its start when there is one.
constexpr std::uint32_t kMsgNewFromCommandLine = 0x8009;

// Portrait and handheld-sized at start.
constexpr int kInitialFrameWidth = 360;
constexpr int kInitialFrameHeight = 560;
// Height of a page's menu bar, kept free below the frame on a screen too small for it.
constexpr int kMenuBarReserve = 26;

class MainWindow : public FrameWindowBase {
    Q_OBJECT
  public:
    // Creates the shared fonts, titles the window with the product name (string 2) and makes
    // itself the frame that pages fill.
    MainWindow();
    ~MainWindow() override;

    // The frame of the running program, or null.
    static MainWindow* Instance();

    // The last command line received; kept until the next one overwrites it.
    TextBuffer& CommandLine() { return commandLine_; }
    const TextBuffer& CommandLine() const { return commandLine_; }

    // The message list while it runs (it receives kMsgNewFromCommandLine), else null.
    DialogBase* RunningList() const { return runningList_; }
    void SetRunningList(DialogBase* list) { runningList_ = list; }

    // A command line handed over by a second start (the WM_COPYDATA rules): fewer than 5 bytes
    // are ignored; otherwise (size - 1) / 2 characters replace CommandLine and the running
    // list is told. Always answers 1.
    std::uint32_t OnCopyData(std::uint32_t dwData, const void* data, std::uint32_t size);
    // A second start asks the running instance to come to the front.
    void BringToFront();
    // Answers one request of a second start (hand_over.h): kHandOverActivate brings the frame
    // to the front, kHandOverCopyData goes to OnCopyData. Returns the answer (1).
    std::uint32_t AnswerHandOver(const HandOverRequest& request);

    // Opens the manual (help.h).
    void ShowHelp() override;

    // True once the frame was closed: running pages have been told to end and no new page
    // should start.
    bool IsClosing() const { return closing_; }

    // Where the frame goes at start on a screen whose free area is `available`: 360 x 560,
    // centred, made smaller where the screen is; on a screen too low for it the frame ends
    // kMenuBarReserve pixels above the free area's bottom edge.
    static QRect InitialGeometry(const QRect& available);

  signals:
    void broughtToFront();
    void commandLineReceived();

  protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void RunAbout();

    TextBuffer commandLine_;
    DialogBase* runningList_ = nullptr;
    bool closing_ = false;
};
