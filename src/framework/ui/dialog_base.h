// SPDX-License-Identifier: GPL-3.0-or-later
// The base of every dialog: run as a page that fills the frame window (its owner hidden and
// disabled meanwhile) or as a modal dialog of its own size. Both runners spin a local event loop
// until the dialog ends, and return its result: 1 (OK: the caller applies the result), 2 (Cancel,
// or nothing to do), or a code the dialog sets.
//
// Controls carry their numeric identifiers as object names ("1021"), so that the code, the tests
// and the manual can all name them the same way.
#pragma once

#include <QPointer>
#include <QWidget>
#include <cstdint>
#include <memory>

#include "framework/ui/menu_bar.h"

class QEventLoop;

constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;
constexpr int IDYES = 6;
constexpr int IDNO = 7;

// The frame window that pages fill. The shell's main window derives from it.
class FrameWindowBase : public QWidget {
    Q_OBJECT
  public:
    using QWidget::QWidget;
    // Commands that the frame handles for every page (About, Exit). True if handled.
    virtual bool OnFrameCommand(int id) {
        (void)id;
        return false;
    }
    // F1 anywhere in the program.
    virtual void ShowHelp() {}

    static void SetInstance(FrameWindowBase* frame);
    static FrameWindowBase* Instance();
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

    // Sends a command as if chosen from the menu bar or a button.
    void SendCommand(int id, int notifyCode = 0) { OnCommand(id, notifyCode); }

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
    // Commands from buttons and menus. The default ends the dialog on IDOK and IDCANCEL and
    // hands anything else to the frame. True if handled.
    virtual bool OnCommand(int id, int notifyCode);
    // Numbered messages posted to the dialog (AppEvent). True if handled.
    virtual bool OnAppMessage(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

    void CreateMenuBar(const MenuBarDef& def);
    void DestroyMenuBar();

    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
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
