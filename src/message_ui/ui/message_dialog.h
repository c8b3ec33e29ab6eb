// SPDX-License-Identifier: GPL-3.0-or-later
// The compose and read dialog (template 110): the one window in which the user reads a stored
// message and writes a new one.
//
// The folder of the message decides the mode: Outbox and Draft open in compose mode (a new
// message is a Draft, so "New" always composes), every other folder in read mode. Reply and
// Forward turn a read-mode dialog into a compose-mode one in place. The dialog works on the
// caller's message and writes the store itself only to mark an opened Inbox message read and
// to delete a message; otherwise it ends with IDOK when the caller is to store the message (in
// the folder the message names by then) and IDCANCEL when nothing is to be stored.
//
// A caller that hands the dialog its store (SetStore) has the message stored before the dialog
// ends: when that fails, a box names the file and the reason and the dialog stays open with
// everything the person wrote. Send then also makes sure first that the store can record the
// message, and sends nothing when it cannot.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <string>

#include "common/sms_message.h"
#include "framework/text_buffer.h"
#include "framework/ui/dialog_base.h"
#include "pdu/codec_options.h"
#include "store/message_store.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class EditTarget;
class MessageTextEdit;
class RecentComboBox;

class MessageDialog : public DialogBase {
    Q_OBJECT
  public:
    static constexpr int kTemplateId = 110;
    static constexpr int kMenuBarId = 400;
    // Controls.
    static constexpr int kIdName = 40074;        // button: pick a contact
    static constexpr int kIdNameCombo = 1008;    // compose: recipient name
    static constexpr int kIdNameLabel = 1012;    // read: "Name:"
    static constexpr int kIdNameField = 1038;    // read: sender or recipient name
    static constexpr int kIdNumberLabel = 1013;  // both: "Number:"
    static constexpr int kIdNumberCombo = 1010;  // compose: recipient number
    static constexpr int kIdNumberField = 1037;  // read: number
    static constexpr int kIdText = 1004;         // the message text
    static constexpr int kIdFlash = 1007;        // compose: "Flash SMS"
    static constexpr int kIdCounter = 1015;      // compose: "n/160"
    static constexpr int kIdDateLine = 1032;     // read: "Received: date time"
    static constexpr int kIdReply = 40069;
    static constexpr int kIdForward = 40070;
    static constexpr int kIdDelete = 40068;
    static constexpr int kIdSend = 40034;
    static constexpr int kIdOutbox = 1002;
    static constexpr int kIdDraft = 1003;
    // Compose, for an Outbox message that may have been sent: sends it again.
    static constexpr int kIdSendAgain = 40071;
    // Menu commands.
    static constexpr int kCmdOptionsMenu = 40004;
    static constexpr int kCmdConnection = 40065;
    static constexpr int kCmdPreferences = 40066;
    // The fixed length of one message and the limit of the date line.
    static constexpr unsigned kMaxChars = 160;
    static constexpr std::size_t kDateLineLimit = 80;

    // Sends one message now: runs the transfer (normally the progress dialog of a send-only
    // transfer) over `owner` and returns its result, IDOK when the message was sent.
    using SendRunner = std::function<int(SmsMessage& message, QWidget* owner)>;
    // The caller's store: whether it can be written now, and writing the message to it. Both
    // put the reason into *problem when they fail.
    using StoreCheck = std::function<bool(QString* problem)>;
    using StoreWriter = std::function<bool(SmsMessage& message, QString* problem)>;

    // `message` is the caller's and must outlive the dialog; the dialog changes it in place.
    explicit MessageDialog(SmsMessage& message, QWidget* parent = nullptr);
    ~MessageDialog() override;

    // The transfer behind Send. The progress dialog belongs to the shell, which links this
    // library, so the shell hands the dialog a runner instead of this library calling it.
    // Without a runner Send does not send and the dialog stays open.
    void SetSendRunner(SendRunner runner) { sendRunner_ = std::move(runner); }
    // The store the dialog keeps its message in. Without one the dialog ends with IDOK and the
    // caller stores.
    void SetStore(StoreCheck check, StoreWriter writer) {
        storeCheck_ = std::move(check);
        storeWriter_ = std::move(writer);
    }

    SmsMessage& Message() { return message_; }
    bool IsReadOnly() const { return readOnly_; }
    // 1 in read mode, 0 in compose mode: whether the on-screen keyboard is wanted lowered.
    int InputPanelPreference() const { return inputPanelPreference_; }

    MessageTextEdit* TextEdit() const { return text_; }
    RecentComboBox* NameCombo() const { return nameCombo_; }
    RecentComboBox* NumberCombo() const { return numberCombo_; }
    QLabel* Counter() const { return counter_; }
    QLabel* DateLine() const { return dateLine_; }
    // The line that says "may have been sent" or "cannot be sent" in compose mode.
    QLabel* MarkLine() const { return markLine_; }
    // The message went out but could not be stored in Sent: the Send button now only retries
    // storing it, and the Outbox is closed to it.
    bool SentButNotStored() const { return sentNotStored_; }

    // Counts the text and cuts it at 160 characters, then sets the edit's limit and the
    // counter. Runs on every change of the text; nothing happens in read mode. With the
    // `Unicode` or `LongSms` setting on, the text is counted as it will be sent instead (see
    // UpdateSendCounter).
    void UpdateCounter();

    QSize sizeHint() const override;

  protected:
    bool OnInitDialog() override;
    MenuBarDef MenuBarDefinition() const override;
    void Layout(int w, int h) override;
    // OK: read mode ends with IDCANCEL; compose mode collects the fields and ends with IDCANCEL
    // when all are empty, else stores the message and ends with IDOK.
    void Accept() override;
    void keyPressEvent(QKeyEvent* event) override;

    // The screens the dialog opens over itself. The picker returns IDOK with the contact's
    // name and its phone number as the contact holds it.
    virtual int RunContactPicker(std::u16string* name, std::u16string* phone);
    virtual void RunConnectionDialog();
    virtual void RunPreferencesDialog();
    // Runs the transfer of the message (through the runner); IDCANCEL without one.
    virtual int RunSendTransfer();

  private:
    enum class Collected { kEmpty, kFilled };

    void AddCommands();
    void CreateControls();
    void FillFields();
    void FillRecentLists();
    QString DateLineText() const;
    void ShowMode();
    Collected CollectFields();
    void SaveTo(FolderId folder);
    // Stores the message through the caller's store and ends with IDOK, or shows why it could
    // not and stays open.
    void StoreAndEnd();
    void Send();
    // After a send: stores the message in Sent, or says that it was sent but not stored.
    void StoreSent();
    bool IsTypedIn() const;
    QString MarkText() const;
    void Reply(bool reply);
    void Delete();
    void PickContact();
    // A recent recipient was chosen from `combo` (or its list was left): its entry is split into
    // name and number.
    void SplitRecent(RecentComboBox* combo, bool chosen);
    void MarkReadOnOpening();
    // The `Unicode` and `LongSms` settings, read as the fields are filled and after the
    // preferences dialog.
    void ReadCodecOptions();
    // The counter with either setting on: the units of the encoding the text will be sent in
    // (septets, an extension character two; or UCS2 units), the limit of the parts used and,
    // beyond one part, their number, "200/306 (2 SMS)". Text beyond what can be sent is cut.
    void UpdateSendCounter();

    SmsMessage& message_;
    bool readOnly_ = true;
    int inputPanelPreference_ = 1;
    bool inCounter_ = false;
    CodecOptions codecOptions_;
    SendRunner sendRunner_;
    StoreCheck storeCheck_;
    StoreWriter storeWriter_;
    bool sentNotStored_ = false;

    QPushButton* nameButton_ = nullptr;
    RecentComboBox* nameCombo_ = nullptr;
    QLabel* nameLabel_ = nullptr;
    QLineEdit* nameField_ = nullptr;
    QLabel* numberLabel_ = nullptr;
    RecentComboBox* numberCombo_ = nullptr;
    QLineEdit* numberField_ = nullptr;
    MessageTextEdit* text_ = nullptr;
    QCheckBox* flash_ = nullptr;
    QLabel* counter_ = nullptr;
    QLabel* dateLine_ = nullptr;
    QLabel* markLine_ = nullptr;
    QPushButton* reply_ = nullptr;
    QPushButton* forward_ = nullptr;
    QPushButton* delete_ = nullptr;
    QPushButton* ok_ = nullptr;
    QPushButton* send_ = nullptr;
    QPushButton* sendAgain_ = nullptr;
    QPushButton* outbox_ = nullptr;
    QPushButton* draft_ = nullptr;
    QPushButton* cancel_ = nullptr;
    EditTarget* editTarget_ = nullptr;
};
