// SPDX-License-Identifier: GPL-3.0-or-later
// The main screen (template 109): one folder of the message store as a list of drawn two-line
// rows, newest first, with the folder combo box, the transfer button ("Send && Get" while the
// Outbox holds messages, "Get" otherwise) and the commands of the menu bar and the context menu.
//
// A store that cannot be used is never passed over in silence: at start a box names the file and
// the reason, and while the store stays closed a line above the list repeats the reason with a
// "Retry" button; every write that fails says so too.
//
// Find (Ctrl+F, or "Find" in the "Sms" menu) shows a search field above the rows: typing
// filters the folder shown, or every folder with "All folders" ticked, to the messages whose
// text, name or number contain every word (the store's MessageSearch, as `velkan search`
// matches). The rows stay the list's own rows and commands. Escape clears the field, hides it
// and shows the folder again with the same message selected.
#pragma once

#include <QListView>
#include <QPoint>
#include <QTimer>
#include <cstdint>
#include <memory>
#include <string>

#include "common/sms_message.h"
#include "framework/ui/dialog_base.h"
#include "shell/ui/message_exchange_ui.h"
#include "store/message_store.h"

class QCheckBox;
class QComboBox;
class QProgressDialog;
class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;
class MessageListModel;
class MessageRowDelegate;
class ProgressDialog;

// The list control (1021): extended selection with the mouse and the keyboard, drag selection
// from the row where a drag begins, a context menu on press-and-hold and on the right button.
class MessageListControl : public QListView {
    Q_OBJECT
  public:
    explicit MessageListControl(QWidget* parent = nullptr);

    // Drag selection: anchor is the row where the drag began, last the row reached.
    bool IsDragging() const { return dragging_; }
    int DragAnchor() const { return anchor_; }
    int DragLast() const { return last_; }
    void EndDrag() { dragging_ = false; }

    // While the context menu is tracked, taps belong to the menu.
    void SetMenuOpen(bool open) { menuOpen_ = open; }
    bool MenuOpen() const { return menuOpen_; }
    // Swallows the tap that closed a context menu.
    void SetMenuJustClosed(bool set) { menuJustClosed_ = set; }
    bool MenuJustClosed() const { return menuJustClosed_; }

    // How long a press is held before it asks for the context menu.
    void SetHoldInterval(int milliseconds) { holdTimer_.setInterval(milliseconds); }
    int HoldInterval() const { return holdTimer_.interval(); }

    // The row height the drag selection scrolls by.
    int RowHeight() const;

  signals:
    // A tap (press and release without a drag or a hold) with the keyboard modifiers held.
    void tapped(Qt::KeyboardModifiers modifiers);
    // A context menu is asked for at `globalPos` (press-and-hold or the right button).
    void contextMenuAsked(const QPoint& globalPos);
    // Return or Enter: open the selected message; Delete: delete the selection.
    void openKeyPressed();
    void deleteKeyPressed();

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void BeginDrag(int row);
    void DragTo(const QPoint& pos);
    void SelectRows(int first, int last, bool select);

    bool dragging_ = false;
    int anchor_ = -1;
    int last_ = -1;
    bool menuOpen_ = false;
    bool menuJustClosed_ = false;
    bool pressTracked_ = false;
    bool holdFired_ = false;
    int pressRow_ = -1;
    QPoint pressPos_;
    QTimer holdTimer_;
};

class MessageListView : public DialogBase {
    Q_OBJECT
  public:
    static constexpr int kTemplateId = 109;
    static constexpr int kMenuBarId = 401;
    static constexpr int kContextMenuId = 30145;
    // Controls.
    static constexpr int kListId = 1021;
    static constexpr int kFolderComboId = 1008;
    static constexpr int kSendAndGetId = 1023;
    static constexpr int kGetId = 40035;
    // Commands.
    static constexpr int kCmdNew = 40044;
    static constexpr int kCmdSmsMenu = 40014;
    static constexpr int kCmdOptionsMenu = 40004;
    static constexpr int kCmdDelete = 40068;
    static constexpr int kCmdReply = 40069;
    static constexpr int kCmdForward = 40070;
    // Sends the one selected Outbox message that may have been sent, once more.
    static constexpr int kCmdSendAgain = 40071;
    static constexpr int kCmdPickContact = 40074;
    static constexpr int kCmdConnection = 40065;
    static constexpr int kCmdPreferences = 40066;
    // Shows the search field (Ctrl+F).
    static constexpr int kCmdFind = 40080;
    // "Export..." and "Import..." in the Options menu.
    static constexpr int kCmdExport = 40081;
    static constexpr int kCmdImport = 40082;
    static constexpr int kCmdAbout = 57664;
    static constexpr int kCmdExit = 57665;
    // A new command line to act on (WM_APP+9): posted by the frame when a second start hands
    // one over, and by the list to itself at its start when the program was started with one.
    static constexpr std::uint32_t kMsgCommandLine = 0x8009;

    MessageListView();
    ~MessageListView() override;

    // The folder shown: 1 Inbox, 2 Outbox, 3 Draft, 4 Sent, 255 the "Log"; 0 before the first.
    FolderId CurrentFolder() const { return currentFolder_; }
    // The drawn row height, 0 until first measured.
    int RowHeight() const;

    // Shows folder `f` (selecting its combo entry) and reloads the list.
    void SwitchFolder(FolderId f);
    // Rebuilds the list from the store; the first selected message stays selected.
    void Reload();
    void Refresh() override;
    // The menu bar again, with "Send again" offered as the selection allows.
    void OnActivate() override;

    MessageListControl* List() const { return list_; }
    QComboBox* FolderCombo() const { return combo_; }
    MessageListModel* Model() const { return model_; }
    MessageRowDelegate* Delegate() const { return delegate_; }
    MessageDatabase& Database() { return db_; }
    // The line above the list while the store cannot be opened, with its "Retry" button.
    QFrame* StoreBanner() const { return storeBanner_; }
    QPushButton* StoreRetryButton() const { return storeRetry_; }
    // Why the store is not open (empty while it is).
    const QString& StoreProblem() const { return storeProblem_; }
    // Opens the store again; once it opens, the folder is loaded.
    void RetryStore();

    // The rows selected now, in ascending order.
    std::vector<int> SelectedRows() const;

    // The search: the line above the rows with its field and its "All folders" box.
    QWidget* SearchBar() const { return searchBar_; }
    QLineEdit* SearchField() const { return searchField_; }
    QCheckBox* AllFoldersBox() const { return allFolders_; }
    // True while the rows are filtered by words typed into the field.
    bool Filtered() const;
    // Shows the field and puts the cursor in it (Find).
    void ShowSearch();
    // Clears the field, hides it and shows the folder again, the selection kept (Escape).
    void CloseSearch();

  protected:
    bool OnInitDialog() override;
    MenuBarDef MenuBarDefinition() const override;
    void Layout(int w, int h) override;
    // The main screen ends only through Exit: OK and Cancel (Escape) do nothing.
    void Accept() override {}
    // Escape: closes the search while it is shown; otherwise the list stays.
    void Reject() override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool OnAppMessage(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) override;

    // The screens the list opens. Each returns what its dialog returns (IDOK: the caller
    // stores the result).
    virtual int RunMessageDialog(SmsMessage& message);
    virtual int RunContactPicker(std::u16string* name, std::u16string* number);
    virtual void RunConnectionDialog();
    virtual void RunPreferencesDialog();
    // The progress dialog of a "Send && Get" or "Get" transfer.
    virtual std::unique_ptr<ProgressDialog> CreateProgressDialog();
    // The "/smsto:" command line handed to the program: whether there is one, and its
    // recipient put into `message` (false when it names no number part).
    virtual bool HasCommandLine() const;
    virtual bool CommandLineRecipient(SmsMessage& message);
    // Registers or removes the Contacts add-in.
    virtual void UpdateContactsAddIn();
    // Export: the format, the messages and the file (false: cancelled). Import: the file
    // (empty: cancelled).
    virtual bool ChooseExport(ExportChoice* choice);
    virtual QString ChooseImportFile();
    // An import is about to start: its progress dialog is set up and transfers are refused.
    virtual void ImportRunning(QProgressDialog& progress);

  private:
    void AddCommands();
    // What the list does once it is on screen: the box about a store that could not be opened
    // (or was repaired) at start.
    void ShowStartProblem();
    void OnFolderChosen(int index);
    void OnTapped(Qt::KeyboardModifiers modifiers);
    void ShowContextMenu(const QPoint& globalPos);
    // New message: with the "Flash" setting applied; `recipient` fills the number and name.
    void NewMessage(bool fromCommandLine);
    void PickContact();
    void RunAndSave(SmsMessage& message);
    void OpenSelected();
    void ReplyOrForward(bool reply);
    void DeleteSelected();
    void Transfer();
    void SendAgain();
    void ExportMessages();
    void ImportMessages();
    // Transfers are refused while an import runs.
    void SetTransfersAllowed(bool allowed);
    int FirstSelectedRow() const;
    // The one selected message when it is an Outbox message that may have been sent.
    bool SelectedMaySendAgain() const;
    void UpdateSendAgain();
    void UpdateStoreBanner();
    // The rows for the folder shown, filtered by the search field's words while there are any.
    void LoadRows();
    // The field's words or the "All folders" box changed: the rows again, the selection kept.
    void ApplySearch();
    void LayoutNow();

    // The store as the list writes to it: opened on demand (a store that could not be opened
    // at start is tried again), checked for a write lock, and written. Each puts the reason into
    // *problem when it fails.
    bool EnsureStoreOpen(QString* problem);
    bool StoreWritable(QString* problem);
    bool SaveMessage(SmsMessage& message, QString* problem);

    MessageDatabase db_;
    FolderId currentFolder_ = 0;
    QComboBox* combo_ = nullptr;
    QPushButton* sendAndGet_ = nullptr;
    QPushButton* get_ = nullptr;
    MessageListControl* list_ = nullptr;
    QFrame* separator_ = nullptr;
    MessageListModel* model_ = nullptr;
    MessageRowDelegate* delegate_ = nullptr;
    QFrame* storeBanner_ = nullptr;
    QLabel* storeBannerText_ = nullptr;
    QPushButton* storeRetry_ = nullptr;
    QWidget* searchBar_ = nullptr;
    QLineEdit* searchField_ = nullptr;
    QCheckBox* allFolders_ = nullptr;
    // Set while the search field's words reload the rows: the focus stays in the field.
    bool keepFocus_ = false;
    bool importing_ = false;
    QString storeProblem_;
    QString startProblem_;
    // Set when the compose dialog stored its message itself.
    bool storedByDialog_ = false;
};
