// SPDX-License-Identifier: GPL-3.0-or-later
// The base of every dialog: run as a page that fills the frame window (its owner hidden and
// disabled meanwhile) or as a modal dialog of its own size. Both runners spin a local event loop
// until the dialog ends, and return its result: 1 (OK: the caller applies the result), 2 (Cancel,
// or nothing to do), or a code the dialog sets.
//
// Controls carry their numeric identifiers as object names ("1021"); each dialog names them
// with constants in its header, which the code and the tests use. Commands are QActions of the
// dialog (FindCommand): OK (1) and Cancel (2) exist in every dialog and call Accept and Reject.
#pragma once

#include <QAction>
#include <QPointer>
#include <QWidget>
#include <cstdint>
#include <memory>

#include "framework/ui/menu_bar.h"

class QAbstractButton;
class QEventLoop;

// The object name of the one-pixel line that ends a page's header.
inline constexpr char kHeaderLineName[] = "headerLine";

constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;
constexpr int IDYES = 6;
constexpr int IDNO = 7;

// A command is what a button, a menu item or a key asks a window to do, named by its
// identifier in the resources (1 OK, 2 Cancel, 40044 "New", 57665 "Exit"). A window handles a
// command with a QAction of its own, a direct child whose object name is the identifier; the
// controls trigger that action.
QAction* FindCommand(const QObject* window, int id);

// The frame window that pages fill. The shell's main window derives from it.
class FrameWindowBase : public QWidget {
    Q_OBJECT
  public:
    using QWidget::QWidget;
    // The commands the frame handles for every page (About, Exit); null for any other.
    QAction* Command(int id) const { return FindCommand(this, id); }
    // F1 anywhere in the program.
    virtual void ShowHelp() {}

    static void SetInstance(FrameWindowBase* frame);
    static FrameWindowBase* Instance();

  protected:
    // Adds the frame's command `id`, which calls `slot`.
    template <typename Slot>
    QAction* AddCommand(int id, Slot slot) {
        QAction* action = NewCommand(id);
        connect(action, &QAction::triggered, this, slot);
        return action;
    }

  private:
    QAction* NewCommand(int id);
};

class DialogBase : public QWidget {
    Q_OBJECT
  public:
    explicit DialogBase(int templateId, QWidget* parent = nullptr);
    ~DialogBase() override;

    int TemplateId() const { return templateId_; }

    int RunPage(DialogBase* owner);
    int RunModal(QWidget* owner);
    // Ends the running dialog with `result`; its runner returns it.
    void EndDialog(int result);

    int Result() const { return result_; }
    void SetResult(int result) { result_ = result; }
    bool IsRunning() const { return running_; }

    // The control with identifier `id`, or null.
    QWidget* Control(int id) const;
    template <typename T>
    T* ControlAs(int id) const {
        return qobject_cast<T*>(Control(id));
    }
    MenuBar* Bar() const { return menuBar_; }
    // The area above the menu bar, where the dialog lays out its controls.
    QSize ClientSize() const;

    // The dialog's command `id`, or null when the dialog does not handle it.
    QAction* Command(int id) const { return FindCommand(this, id); }
    // Triggers command `id` as if chosen from the menu bar or a button. One the dialog does not
    // handle goes to the frame (About, Exit); one nobody handles does nothing.
    void SendCommand(int id);

    // Activation: (re)creates the menu bar. Public because runners call it on owners.
    virtual void OnActivate();
    virtual void Refresh() {}

  protected:
    // Creates the controls; false when the dialog could not be created (the runner then
    // returns IDCANCEL at once).
    virtual bool OnInitDialog() { return true; }
    virtual MenuBarDef MenuBarDefinition() const { return {}; }
    virtual void OnEnd(int result) { (void)result; }
    // Lays the controls out in the client area (w x h) after every size change.
    virtual void Layout(int w, int h) {
        (void)w;
        (void)h;
    }
    // OK (command 1) and Cancel (command 2, Escape, closing the window). The defaults end the
    // dialog with IDOK and IDCANCEL.
    virtual void Accept() { EndDialog(IDOK); }
    virtual void Reject() { EndDialog(IDCANCEL); }
    // Adds the dialog's command `id`, which calls `slot`.
    template <typename Slot>
    QAction* AddCommand(int id, Slot slot) {
        QAction* action = NewCommand(id);
        connect(action, &QAction::triggered, this, slot);
        return action;
    }
    // Makes `button` trigger command `id` when clicked.
    void ConnectButton(QAbstractButton* button, int id);
    // Numbered messages posted to the dialog (AppEvent): the worker's notifications and the
    // frame's hand-over of a command line. True if handled.
    virtual bool OnAppMessage(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

    void CreateMenuBar(const MenuBarDef& def);
    void DestroyMenuBar();

    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QAction* NewCommand(int id);
    // The command that command `id` of this dialog stands for: its own, else the frame's.
    QAction* CommandOrFrameCommand(int id) const;
    int RunLoop();
    bool EnsureCreated();
    void RelayOut();

    int templateId_;
    int result_ = IDCANCEL;
    bool ended_ = false;
    bool running_ = false;
    bool created_ = false;
    MenuBar* menuBar_ = nullptr;
    QEventLoop* loop_ = nullptr;
};
