// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/ui/message_dialog.h"

#include <QCheckBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTextCursor>
#include <QTimer>
#include <vector>

#include "framework/ui/dialog_units.h"
#include "framework/ui/drawn_controls.h"
#include "framework/ui/message_box.h"
#include "framework/ui/resource_text.h"
#include "framework/ui/ui_fonts.h"
#include "framework/ui/window_text.h"
#include "message_ui/text_helpers.h"
#include "message_ui/ui/contact_picker_dialog.h"
#include "message_ui/ui/edit_menu.h"
#include "message_ui/ui/message_text_edit.h"
#include "message_ui/ui/recent_combo_box.h"
#include "message_ui/ui/store_failure.h"
#include "pdu/text_measure.h"
#include "settings/settings_key.h"
#include "settings/ui/connection_dialog.h"
#include "settings/ui/preferences_dialog.h"
#include "store/recent_store.h"

namespace {

constexpr unsigned kStringDeleteQuestion = 2112;
constexpr unsigned kStringLongCounter = 3242;

// The field's limit with the `Unicode` or `LongSms` setting. No character takes less than one
// unit, so the field never needs more characters than the parts hold units; the counter's cut
// does the exact work.
int SendTextLimit(const CodecOptions& options) {
    return static_cast<int>(options.longSms ? kMaxParts * kPartSeptets : kSinglePartSeptets);
}
constexpr unsigned kStringSent = 3001;
constexpr unsigned kStringReceived = 3002;
constexpr unsigned kStringOptions = 40010;
constexpr unsigned kStringNotStored = 3172;
constexpr unsigned kStringSentNotStored = 3173;
constexpr unsigned kStringNotSent = 3174;
constexpr unsigned kStringRetry = 3175;
constexpr unsigned kStringMayHaveBeenSent = 3176;
constexpr unsigned kStringCannotBeSent = 3177;
constexpr unsigned kStringSendAgain = 3178;
constexpr unsigned kStringDiscardQuestion = 3179;
constexpr unsigned kStringNotDeleted = 3181;
constexpr unsigned kStringNotMarkedRead = 3182;

// The colour of the line that marks a message that may have been sent or cannot be sent.
constexpr QRgb kMarkColor = 0xFFC00000;

// The width and height of the template, in dialog units: what the controls are placed in at
// the standard screen size.
constexpr int kTemplateWidth = 138;
constexpr int kTemplateHeight = 156;
// Controls below this line move down when the dialog is taller than the template; the text
// field above it takes the extra height.
constexpr int kTextBottom = 83;

QString ToQString(const TextBuffer& text) {
    return QString::fromUtf16(text.Text());
}
QString ToQString(const std::u16string& text) {
    return QString::fromStdU16String(text);
}

// Read-only fields look like ordinary white fields, not greyed.
void PaintWhite(QWidget* field) {
    QPalette pal = field->palette();
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        pal.setColor(group, QPalette::Base, Qt::white);
        pal.setColor(group, QPalette::Window, Qt::white);
    }
    field->setPalette(pal);
}

// Where each control sits in the template (dialog units).
struct Placement {
    QWidget* control;
    int x, y, w, h;
};

}  // namespace

MessageDialog::MessageDialog(SmsMessage& message, QWidget* parent)
    : DialogBase(kTemplateId, parent), message_(message) {
    setFont(DialogFont());
    AddCommands();
}

MessageDialog::~MessageDialog() = default;

QSize MessageDialog::sizeHint() const {
    const DialogUnits du(font());
    return FullScreenSize(QSize(du.X(kTemplateWidth), du.Y(kTemplateHeight) + MenuBar::kHeight));
}

MenuBarDef MessageDialog::MenuBarDefinition() const {
    return {EditMenuEntry(),
            {kCmdOptionsMenu,
             ResourceText(kStringOptions),
             {{kCmdConnection, tr("Connection")}, {kCmdPreferences, tr("Preferences")}}}};
}

void MessageDialog::CreateControls() {
    auto button = [this](int id, const QString& label) {
        auto* b = new QPushButton(label, this);
        b->setObjectName(QString::number(id));
        b->setAutoDefault(false);
        ConnectButton(b, id);
        return b;
    };
    auto label = [this](int id, const QString& text) {
        auto* l = new QLabel(text, this);
        l->setObjectName(QString::number(id));
        return l;
    };
    auto readOnlyField = [this](int id) {
        auto* e = new QLineEdit(this);
        e->setObjectName(QString::number(id));
        e->setReadOnly(true);
        PaintWhite(e);
        return e;
    };

    nameButton_ = button(kIdName, tr("Name"));
    nameCombo_ = new RecentComboBox(false, this);
    nameCombo_->setObjectName(QString::number(kIdNameCombo));
    nameLabel_ = label(kIdNameLabel, tr("Name:"));
    nameField_ = readOnlyField(kIdNameField);
    numberLabel_ = label(kIdNumberLabel, tr("Number:"));
    numberCombo_ = new RecentComboBox(true, this);
    numberCombo_->setObjectName(QString::number(kIdNumberCombo));
    numberField_ = readOnlyField(kIdNumberField);
    text_ = new MessageTextEdit(this);
    text_->setObjectName(QString::number(kIdText));
    PaintWhite(text_);
    flash_ = new QCheckBox(tr("Flash SMS"), this);
    flash_->setObjectName(QString::number(kIdFlash));
    counter_ = label(kIdCounter, QStringLiteral("160/160"));
    counter_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    dateLine_ = label(kIdDateLine, "");
    markLine_ = new QLabel(this);
    markLine_->setObjectName(QStringLiteral("markLine"));
    {
        QPalette pal = markLine_->palette();
        pal.setColor(QPalette::WindowText, QColor::fromRgb(kMarkColor));
        markLine_->setPalette(pal);
    }
    reply_ = button(kIdReply, tr("Reply"));
    forward_ = button(kIdForward, tr("Forward"));
    delete_ = button(kIdDelete, tr("Delete"));
    ok_ = button(IDOK, tr("OK"));
    send_ = button(kIdSend, tr("Send"));
    sendAgain_ = button(kIdSendAgain, "");
    sendAgain_->setText(ResourceText(kStringSendAgain));
    outbox_ = button(kIdOutbox, tr("Outbox"));
    draft_ = button(kIdDraft, tr("Draft"));
    cancel_ = button(IDCANCEL, tr("Cancel"));
    for (QPushButton* b : {send_, ok_, outbox_, reply_, delete_, draft_, forward_, cancel_,
                           nameButton_, sendAgain_}) {
        MakeRoundedButton(b);
    }

    connect(text_, &QPlainTextEdit::textChanged, this, [this] { UpdateCounter(); });
    for (RecentComboBox* combo : {nameCombo_, numberCombo_}) {
        // The split waits for the event loop: the combo box's edit shows the chosen entry only
        // once the choice has been handled, and the split must act on that text.
        connect(
            combo, &RecentComboBox::entryChosen, this, [this, combo] { SplitRecent(combo, true); },
            Qt::QueuedConnection);
        connect(
            combo, &RecentComboBox::choiceAbandoned, this,
            [this, combo] { SplitRecent(combo, false); }, Qt::QueuedConnection);
    }
    editTarget_ = new EditTarget(this);
}

bool MessageDialog::OnInitDialog() {
    readOnly_ = true;
    CreateControls();
    // Here as well as on activation: the modal runner does not activate the dialog.
    CreateMenuBar(MenuBarDefinition());
    resize(sizeHint());
    FillFields();
    QWidget* first = readOnly_                 ? static_cast<QWidget*>(ok_)
                     : message_.number.empty() ? static_cast<QWidget*>(nameCombo_)
                                               : static_cast<QWidget*>(text_);
    // The runner focuses the dialog itself once it is shown; the control takes the focus
    // from the dialog's own loop, after that.
    QTimer::singleShot(0, first, [first] { first->setFocus(); });
    MarkReadOnOpening();
    return true;
}

void MessageDialog::MarkReadOnOpening() {
    if (message_.folder != kFolderInbox || (message_.flags & kFlagUnread) == 0) return;
    message_.flags &= ~kFlagUnread;
    // Opening a received message marks it read at once, whatever the dialog ends with.
    if (message_.store != nullptr) {
        if (!WriteMessage(*message_.store, message_)) {
            ShowMessageBox(
                this, FormatResourceText(kStringNotMarkedRead, StoreFailureReason(message_.store)),
                BoxKind::Error);
        }
        return;
    }
    if (message_.oid == 0) return;
    MessageDatabase db;
    if (!OpenMessageStore(db) || !WriteMessage(db, message_)) {
        ShowMessageBox(this, FormatResourceText(kStringNotMarkedRead, StoreFailureReason(&db)),
                       BoxKind::Error);
    }
    // The database object ends here; the caller's message must not point at it.
    message_.store = nullptr;
}

void MessageDialog::Layout(int w, int h) {
    if (text_ == nullptr) return;
    const DialogUnits du(font());
    const double scale = static_cast<double>(w) / du.X(kTemplateWidth);
    const int extra = qMax(0, h - du.Y(kTemplateHeight));
    const std::vector<Placement> placements = {
        {nameButton_, 0, 2, 28, 11},
        {nameCombo_, 33, 2, 103, 13},
        {nameLabel_, 2, 15, 26, 11},
        {nameField_, 31, 15, 98, 12},
        {numberLabel_, 3, 29, 33, 11},
        {numberCombo_, 33, 28, 103, 13},
        {numberField_, 32, 42, 98, 12},
        {text_, 0, 57, 136, 26},
        {flash_, 2, 94, 46, 10},
        {counter_, 90, 95, 46, 8},
        {dateLine_, 0, 106, 68, 8},
        // Compose mode leaves the date line's and the read-mode buttons' places free: the mark
        // of a message that may have been sent and its "Send again" stand there.
        {markLine_, 0, 106, 136, 8},
        {sendAgain_, 0, 122, 66, 12},
        // The buttons of each mode stand in one row, in the order of the template (whose
        // read-mode buttons overlap one another).
        {ok_, 0, 122, 32, 12},
        {reply_, 35, 122, 32, 12},
        {forward_, 70, 122, 32, 12},
        {delete_, 104, 122, 32, 12},
        {send_, 2, 141, 30, 12},
        {outbox_, 36, 141, 30, 12},
        {draft_, 70, 141, 31, 12},
        {cancel_, 104, 141, 32, 12},
    };
    for (const Placement& p : placements) {
        const QRect r = du.Rect(p.x, p.y, p.w, p.h);
        const int left = static_cast<int>(r.x() * scale);
        const int right = static_cast<int>((r.x() + r.width()) * scale);
        int top = r.y();
        int height = r.height();
        if (p.control == text_) {
            height += extra;
        } else if (p.y >= kTextBottom) {
            top += extra;
        }
        // Combo boxes and fields need at least the height of their font.
        if (p.control == nameCombo_ || p.control == numberCombo_) {
            height = qMax(height, p.control->sizeHint().height());
        }
        p.control->setGeometry(left, top, qMax(0, right - left), height);
    }
    // The date line runs across the whole dialog: "Received: " and a long date need the room.
    dateLine_->resize(qMax(dateLine_->width(), w - dateLine_->x()), dateLine_->height());
}

// --- filling the fields ------------------------------------------------------------------

void MessageDialog::FillFields() {
    const bool wasReadOnly = readOnly_;
    if (message_.folder == kFolderOutbox || message_.folder == kFolderDraft) readOnly_ = false;
    const bool changed = wasReadOnly != readOnly_;

    if (readOnly_) dateLine_->setText(DateLineText());
    ShowMode();
    text_->setReadOnly(readOnly_);
    if (readOnly_) {
        nameField_->setText(ToQString(message_.name));
        numberField_->setText(ToQString(message_.number));
    } else if (changed) {
        FillRecentLists();
        nameCombo_->setCurrentIndex(-1);
        nameCombo_->setEditText(ToQString(message_.name));
        numberCombo_->setCurrentIndex(-1);
        numberCombo_->setEditText(ToQString(message_.number));
        flash_->setChecked((message_.flags & kFlagFlash) != 0);
    }
    ReadCodecOptions();
    // A long message must reach the counter whole, to be counted and cut there.
    if (codecOptions_.unicode || codecOptions_.longSms) {
        text_->SetTextLimit(SendTextLimit(codecOptions_));
    }
    text_->SetWindowText(message_.text.c_str());
    UpdateCounter();
}

QString MessageDialog::DateLineText() const {
    TextBuffer label;
    label.LoadResourceString(message_.folder == kFolderInbox ? kStringReceived : kStringSent);
    // A conversion that fails leaves its part of the line empty.
    TextBuffer date;
    date.FormatDate(message_.time, 0);
    TextBuffer time;
    time.FormatTime(message_.time, 0);
    TextBuffer line;
    line.Format(kDateLineLimit, u"%s: %s %s", label.Text(), date.Text(), time.Text());
    return ToQString(line);
}

QString MessageDialog::MarkText() const {
    if (message_.folder != kFolderOutbox) return QString();
    if ((message_.flags & kFlagMayHaveBeenSent) != 0) return ResourceText(kStringMayHaveBeenSent);
    if ((message_.flags & kFlagNotEncodable) != 0) return ResourceText(kStringCannotBeSent);
    return QString();
}

void MessageDialog::ShowMode() {
    const bool compose = !readOnly_;
    for (QWidget* w : std::initializer_list<QWidget*>{draft_, outbox_, cancel_, flash_, counter_,
                                                      nameCombo_, numberCombo_, nameButton_}) {
        w->setVisible(compose);
    }
    // A message that may already be out is sent only by the person's explicit "Send again".
    const bool sendAgain =
        compose && message_.folder == kFolderOutbox && (message_.flags & kFlagMayHaveBeenSent) != 0;
    send_->setVisible(compose && !sendAgain);
    sendAgain_->setVisible(sendAgain);
    markLine_->setText(compose ? MarkText() : QString());
    markLine_->setVisible(compose && !markLine_->text().isEmpty());
    for (QWidget* w : std::initializer_list<QWidget*>{reply_, delete_, forward_, ok_, dateLine_,
                                                      nameField_, numberField_, nameLabel_}) {
        w->setVisible(!compose);
    }
    numberLabel_->setVisible(true);
    inputPanelPreference_ = compose ? 0 : 1;
}

void MessageDialog::FillRecentLists() {
    nameCombo_->clear();
    numberCombo_->clear();
    RecentDatabase db;
    if (!OpenRecentStore(db, kPropRecentName)) return;
    std::vector<RecentRecipient> entries;
    ListRecentByName(db, &entries);
    // Item data is the entry's place in the name order; the number list sorts its own way.
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const RecentRecipient& e = entries[i];
        nameCombo_->AddEntry(ToQString(FormatRecentItem(e.name, e.number)), static_cast<int>(i));
        numberCombo_->AddEntry(ToQString(FormatRecentItem(e.number, e.name)), static_cast<int>(i));
    }
}

// --- the counter -------------------------------------------------------------------------

void MessageDialog::ReadCodecOptions() {
    RegistryKey key;
    codecOptions_ = CodecOptions{};
    if (!OpenSettings(key)) return;
    codecOptions_.unicode = ReadSettingFlag(key, kValueUnicode);
    codecOptions_.longSms = ReadSettingFlag(key, kValueLongSms);
}

void MessageDialog::UpdateCounter() {
    // Putting a cut text back changes the field again; that second pass has nothing to do.
    if (readOnly_ || text_ == nullptr || inCounter_) return;
    if (codecOptions_.unicode || codecOptions_.longSms) {
        UpdateSendCounter();
        return;
    }
    inCounter_ = true;

    TextBuffer typed = text_->WindowText();
    const std::size_t before = typed.Length();
    const int firstLine = text_->verticalScrollBar()->value();
    const QTextCursor cursor = text_->textCursor();
    const int anchor = cursor.anchor();
    const int position = cursor.position();

    TextBuffer counted;
    const unsigned count = CountedText(counted, typed);
    if (typed.Length() != before) {
        // What went beyond the 160th character is dropped, and the user keeps their place.
        text_->SetWindowText(typed.Text());
        QTextCursor restored = text_->textCursor();
        const int end = restored.document()->characterCount() - 1;
        restored.setPosition(qMin(anchor, end));
        restored.setPosition(qMin(position, end), QTextCursor::KeepAnchor);
        text_->setTextCursor(restored);
        text_->verticalScrollBar()->setValue(firstLine);
    }
    // A line break takes two characters in the field but counts as one, so the limit leaves
    // room for twice the characters that are still free.
    text_->SetTextLimit(static_cast<int>(typed.Length()) - 2 * static_cast<int>(count) +
                        2 * static_cast<int>(kMaxChars));
    TextBuffer shown;
    shown.Format(kDateLineLimit, u"%lu/%lu", static_cast<unsigned long>(count),
                 static_cast<unsigned long>(kMaxChars));
    counter_->setText(ToQString(shown));

    inCounter_ = false;
}

void MessageDialog::UpdateSendCounter() {
    inCounter_ = true;
    TextBuffer typed = text_->WindowText();
    const std::u16string sent = typed.ToU16();
    const int firstLine = text_->verticalScrollBar()->value();
    const QTextCursor cursor = text_->textCursor();
    const int anchor = cursor.anchor();
    const int position = cursor.position();

    // The field's text is what is sent, a line break as carriage return and line feed.
    std::size_t keep = FittingLength(sent, codecOptions_);
    if (keep > 0 && keep < sent.size() && sent[keep - 1] == u'\r' && sent[keep] == u'\n') {
        --keep;  // a line break goes whole
    }
    if (keep < sent.size()) {
        // What cannot be sent is dropped, and the user keeps their place.
        text_->SetWindowText(sent.substr(0, keep).c_str());
        QTextCursor restored = text_->textCursor();
        const int end = restored.document()->characterCount() - 1;
        restored.setPosition(qMin(anchor, end));
        restored.setPosition(qMin(position, end), QTextCursor::KeepAnchor);
        text_->setTextCursor(restored);
        text_->verticalScrollBar()->setValue(firstLine);
    }
    const TextMeasure measure =
        MeasureText(std::u16string_view(sent).substr(0, keep), codecOptions_);
    // No character takes less than one unit, so the field never needs more characters than the
    // parts hold units; the cut above does the exact work.
    text_->SetTextLimit(
        static_cast<int>(codecOptions_.longSms ? kMaxParts * kPartSeptets : kSinglePartSeptets));
    TextBuffer shown;
    if (measure.parts <= 1) {
        shown.Format(kDateLineLimit, u"%lu/%lu", static_cast<unsigned long>(measure.units),
                     static_cast<unsigned long>(measure.limit));
    } else {
        TextBuffer format;
        format.LoadResourceString(kStringLongCounter);
        shown.Format(kDateLineLimit, format.Text(), unsigned{measure.units},
                     unsigned{measure.limit}, unsigned{measure.parts});
    }
    counter_->setText(ToQString(shown));
    inCounter_ = false;
}

// --- commands ----------------------------------------------------------------------------

void MessageDialog::AddCommands() {
    // Each button acts only in its own mode.
    AddCommand(kIdSend, [this] {
        if (!readOnly_) Send();
    });
    AddCommand(kIdSendAgain, [this] {
        if (!readOnly_) Send();
    });
    AddCommand(kIdOutbox, [this] {
        if (!readOnly_) SaveTo(kFolderOutbox);
    });
    AddCommand(kIdDraft, [this] {
        if (!readOnly_) SaveTo(kFolderDraft);
    });
    AddCommand(kIdReply, [this] {
        if (readOnly_) Reply(true);
    });
    AddCommand(kIdForward, [this] {
        if (readOnly_) Reply(false);
    });
    AddCommand(kIdDelete, [this] {
        if (readOnly_) Delete();
    });
    AddCommand(kIdName, [this] {
        if (!readOnly_) PickContact();
    });
    AddCommand(kCmdConnection, [this] { RunConnectionDialog(); });
    AddCommand(kCmdPreferences, [this] {
        RunPreferencesDialog();
        // The text is counted from now on as the settings say.
        ReadCodecOptions();
        UpdateCounter();
    });
    // The Edit menu acts on the field that last had the focus, else on the text.
    for (int id : {kIdEditCut, kIdEditCopy, kIdEditPaste, kIdEditClear, kIdEditSelectAll}) {
        AddCommand(id, [this, id] {
            QWidget* field = editTarget_ != nullptr ? editTarget_->Field() : nullptr;
            ApplyEditCommand(field != nullptr ? field : text_, id);
        });
    }
}

void MessageDialog::Accept() {
    if (readOnly_) {
        EndDialog(IDCANCEL);
    } else if (CollectFields() == Collected::kEmpty) {
        EndDialog(IDCANCEL);
    } else {
        StoreAndEnd();
    }
}

void MessageDialog::SplitRecent(RecentComboBox* combo, bool chosen) {
    if (readOnly_) return;
    RecentRecipient entry;
    // A number entry reads "number (name)" and splits at the first " ("; a name entry reads
    // "name (number)" and splits at the last, so that a name may itself hold " (".
    if (combo == numberCombo_) {
        ParseNumberItem(entry, combo->currentText().toStdU16String());
    } else {
        ParseNameItem(entry, combo->currentText().toStdU16String());
    }
    if (chosen || combo == nameCombo_) nameCombo_->setEditText(ToQString(entry.name));
    if (chosen || combo == numberCombo_) numberCombo_->setEditText(ToQString(entry.number));
}

MessageDialog::Collected MessageDialog::CollectFields() {
    TextBuffer number = GetWindowText(numberCombo_);
    NormalizePhoneNumber(number);
    message_.name = nameCombo_->currentText().toStdU16String();
    message_.number = number.ToU16();
    message_.text = text_->WindowText().ToU16();
    // Only a plainly checked box asks for Flash; the other flags stay as they are.
    if (flash_->checkState() == Qt::Checked) {
        message_.flags |= kFlagFlash;
    } else {
        message_.flags &= ~kFlagFlash;
    }
    if (message_.name.empty() && message_.number.empty() && message_.text.empty()) {
        return Collected::kEmpty;
    }
    if (!message_.number.empty()) {
        // A store that cannot be opened only means the recipient is not remembered.
        RecentDatabase db;
        if (OpenRecentStore(db, kPropRecentLastUsed)) {
            RecentRecipient entry;
            entry.name = message_.name;
            entry.number = message_.number;
            AddRecent(db, entry);
        }
    }
    return Collected::kFilled;
}

void MessageDialog::SaveTo(FolderId folder) {
    message_.folder = folder;
    if (CollectFields() == Collected::kEmpty) {
        EndDialog(IDCANCEL);
        return;
    }
    // A draft may lack anything; the Outbox only takes what can be sent.
    if (folder == kFolderOutbox && (message_.number.empty() || message_.text.empty())) return;
    // Saved again, the message is tried again: the next transfer finds out whether it can be
    // encoded now.
    message_.flags &= ~kFlagNotEncodable;
    StoreAndEnd();
}

void MessageDialog::StoreAndEnd() {
    QString problem;
    if (!storeWriter_ || storeWriter_(message_, &problem)) {
        EndDialog(IDOK);
        return;
    }
    // Nothing the person wrote is lost: the dialog stays as it is.
    ShowMessageBox(this, FormatResourceText(kStringNotStored, FolderName(message_.folder), problem),
                   BoxKind::Error);
}

void MessageDialog::Send() {
    // The message is out already; sending it again would send it twice.
    if (sentNotStored_) {
        StoreSent();
        return;
    }
    const FolderId folder = message_.folder;
    message_.folder = kFolderSent;
    if (CollectFields() == Collected::kEmpty) {
        EndDialog(IDCANCEL);
        return;
    }
    if (message_.number.empty() || message_.text.empty()) {
        message_.folder = folder;
        return;
    }
    // Nothing goes out that could not be recorded afterwards.
    QString problem;
    if (storeCheck_ && !storeCheck_(&problem)) {
        message_.folder = folder;
        ShowMessageBox(this, FormatResourceText(kStringNotSent, problem), BoxKind::Error);
        return;
    }
    // (A handheld locks its on-screen keyboard up while the transfer runs; a desktop has no
    // such panel to hold, so nothing is saved or restored around the transfer here.)
    // The transfer may have changed the message (its folder, its time). A failed or cancelled
    // send leaves the dialog open, and the message in the folder it came from.
    if (RunSendTransfer() == IDCANCEL) {
        message_.folder = folder;
        return;
    }
    // Sent: what the Outbox said about it no longer holds.
    message_.folder = kFolderSent;
    message_.flags &= ~(kFlagMayHaveBeenSent | kFlagNotEncodable | kFlagUnread);
    StoreSent();
}

void MessageDialog::StoreSent() {
    QString problem;
    if (!storeWriter_ || storeWriter_(message_, &problem)) {
        EndDialog(IDOK);
        return;
    }
    if (!sentNotStored_) {
        sentNotStored_ = true;
        // From now on the button stores the sent message, and the Outbox, from which it would
        // go out a second time, does not take it.
        for (QPushButton* b : {send_, sendAgain_}) b->setText(ResourceText(kStringRetry));
        outbox_->setEnabled(false);
    }
    ShowMessageBox(this, FormatResourceText(kStringSentNotStored, problem), BoxKind::Error);
}

bool MessageDialog::IsTypedIn() const {
    return !nameCombo_->currentText().isEmpty() || !numberCombo_->currentText().isEmpty() ||
           !text_->toPlainText().isEmpty();
}

void MessageDialog::keyPressEvent(QKeyEvent* event) {
    // Escape is more often a slip than a choice: a message with something in it is discarded
    // only when the person says so. The Cancel button discards at once.
    if (event->key() == Qt::Key_Escape && IsRunning() && !readOnly_ && IsTypedIn()) {
        if (ShowMessageBox(this, ResourceText(kStringDiscardQuestion), BoxKind::Question) ==
            IDYES) {
            EndDialog(IDCANCEL);
        }
        return;
    }
    DialogBase::keyPressEvent(event);
}

int MessageDialog::RunSendTransfer() {
    if (!sendRunner_) return IDCANCEL;
    return sendRunner_(message_, this);
}

void MessageDialog::Reply(bool reply) {
    if (reply) {
        MakeReply(message_);
    } else {
        MakeForward(message_);
    }
    FillFields();
    if (reply) {
        text_->setFocus();
    } else {
        nameCombo_->setFocus();
    }
}

void MessageDialog::Delete() {
    if (ShowMessageBox(this, ResourceText(kStringDeleteQuestion), BoxKind::Question) != IDYES) {
        return;
    }
    if (!DeleteStoredMessage(message_)) {
        // The message is still there, and so is the dialog.
        ShowMessageBox(this,
                       FormatResourceText(kStringNotDeleted, StoreFailureReason(message_.store)),
                       BoxKind::Error);
        return;
    }
    EndDialog(IDCANCEL);
}

void MessageDialog::PickContact() {
    std::u16string name;
    std::u16string phone;
    if (RunContactPicker(&name, &phone) == IDOK) {
        // A picked number always gets a "+" in front, even one stored in national form.
        TextBuffer number = TextBuffer::FromU16(u"+" + phone);
        NormalizePhoneNumber(number);
        nameCombo_->setEditText(ToQString(name));
        numberCombo_->setEditText(ToQString(number));
    }
    text_->setFocus();
}

// --- the screens opened over the dialog --------------------------------------------------

int MessageDialog::RunContactPicker(std::u16string* name, std::u16string* phone) {
    return RunContactPickerPage(this, name, phone);
}

void MessageDialog::RunConnectionDialog() {
    ConnectionDialog dialog;
    dialog.RunPage(this);
}

void MessageDialog::RunPreferencesDialog() {
    PreferencesDialog dialog;
    dialog.RunPage(this);
}
