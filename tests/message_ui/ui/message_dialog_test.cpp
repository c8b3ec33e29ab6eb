// SPDX-License-Identifier: GPL-3.0-or-later
// The compose and read dialog as a user meets it: the two modes, the 160-character counter,
// the recent-recipient lists and their split, the compose buttons with empty and partial
// fields, Reply, Forward, Delete, marking a received message read, the Name button and the
// Edit menu.
#include "message_ui/ui/message_dialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>
#include <functional>

#include "framework/ui/ui_fonts.h"
#include "list_test_support.h"
#include "message_ui/ui/edit_menu.h"
#include "message_ui/ui/message_text_edit.h"
#include "message_ui/ui/recent_combo_box.h"
#include "settings/settings_key.h"
#include "settings/ui/connection_dialog.h"
#include "settings/ui/preferences_dialog.h"
#include "store/recent_store.h"
#include "store_conditions.h"

namespace {

// A result no command produces: the dialog was still open when the test ended it.
constexpr int kStillOpen = 99;

class TestDialog : public MessageDialog {
  public:
    using MessageDialog::MessageDialog;

    int pickerResult = IDCANCEL;
    std::u16string pickedName, pickedPhone;
    int pickerRuns = 0, connectionRuns = 0, preferencesRuns = 0;
    // The real connection and preferences dialogs instead of counting.
    bool realSettingsDialogs = false;

  protected:
    int RunContactPicker(std::u16string* name, std::u16string* phone) override {
        ++pickerRuns;
        *name = pickedName;
        *phone = pickedPhone;
        return pickerResult;
    }
    void RunConnectionDialog() override {
        ++connectionRuns;
        if (realSettingsDialogs) MessageDialog::RunConnectionDialog();
    }
    void RunPreferencesDialog() override {
        ++preferencesRuns;
        if (realSettingsDialogs) MessageDialog::RunPreferencesDialog();
    }
};

// Cancels the running page of kind `Page` once it shows (it spins its own loop).
template <typename Page>
void CancelWhenShown(QObject* context, bool* seen) {
    auto* timer = new QTimer(context);
    timer->setInterval(5);
    QObject::connect(timer, &QTimer::timeout, context, [timer, seen] {
        for (QWidget* w : QApplication::allWidgets()) {
            auto* page = qobject_cast<Page*>(w);
            if (page == nullptr || !page->IsRunning() || !page->isVisible()) continue;
            timer->stop();
            timer->deleteLater();
            *seen = true;
            page->SendCommand(IDCANCEL);
            return;
        }
    });
    timer->start();
}

// A store that the test controls: it can refuse, and it remembers what it stored.
struct FakeStore {
    bool writable = true;
    bool writes = true;
    QString problem = QStringLiteral(
        "The message store /data/velkan.sqlite3 cannot be used: "
        "database is locked.");
    std::vector<SmsMessage> stored;
    int checks = 0;

    void Attach(MessageDialog& d) {
        d.SetStore(
            [this](QString* why) {
                ++checks;
                if (!writable) *why = problem;
                return writable;
            },
            [this](SmsMessage& m, QString* why) {
                if (!writes) {
                    *why = problem;
                    return false;
                }
                SmsMessage copy;
                copy.flags = m.flags;
                copy.name = m.name;
                copy.number = m.number;
                copy.text = m.text;
                copy.folder = m.folder;
                copy.oid = m.oid;
                stored.push_back(std::move(copy));
                return true;
            });
    }
};

// Runs the dialog; `act` works on it once it is open. A dialog that `act` did not end is ended
// with kStillOpen, so the result tells whether the commands closed it.
int RunAndAct(MessageDialog& dialog, const std::function<void()>& act) {
    QTimer::singleShot(0, &dialog, [&dialog, act] {
        dialog.SetResult(kStillOpen);
        act();
        if (dialog.Result() == kStillOpen) dialog.EndDialog(kStillOpen);
    });
    return dialog.RunPage(nullptr);
}

QString Repeat(char c, int n) {
    return QString(n, QChar::fromLatin1(c));
}

std::u16string U16(const QString& s) {
    return s.toStdU16String();
}

bool Shown(MessageDialog& d, int id) {
    QWidget* w = d.Control(id);
    return w != nullptr && w->isVisibleTo(&d);
}

// Records a recent recipient as the dialog's collecting does.
void AddRecentRecipient(const std::u16string& name, const std::u16string& number) {
    RecentDatabase db;
    QVERIFY(OpenRecentStore(db, kPropRecentLastUsed));
    RecentRecipient entry;
    entry.name = name;
    entry.number = number;
    QVERIFY(AddRecent(db, entry));
}

std::vector<RecentRecipient> RecentByName() {
    RecentDatabase db;
    std::vector<RecentRecipient> entries;
    if (OpenRecentStore(db, kPropRecentName)) ListRecentByName(db, &entries);
    return entries;
}

int IndexOfText(QComboBox* combo, const QString& text) {
    for (int i = 0; i < combo->count(); ++i) {
        if (combo->itemText(i) == text) return i;
    }
    return -1;
}

}  // namespace

class MessageDialogTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() { CreateUiFonts(); }

    void init() {
        env_ = std::make_unique<TempEnvironment>();
        QVERIFY(env_->IsValid());
    }
    void cleanup() { env_.reset(); }

    // --- modes ---------------------------------------------------------------------------

    void newMessageOpensInComposeMode() {
        SmsMessage m;
        TestDialog d(m);
        RunAndAct(d, [&] {
            QVERIFY(!d.IsReadOnly());
            for (int id :
                 {MessageDialog::kIdSend, MessageDialog::kIdDraft, MessageDialog::kIdOutbox,
                  IDCANCEL, MessageDialog::kIdFlash, MessageDialog::kIdCounter,
                  MessageDialog::kIdNameCombo, MessageDialog::kIdNumberCombo,
                  MessageDialog::kIdName, MessageDialog::kIdNumberLabel, MessageDialog::kIdText}) {
                QVERIFY2(Shown(d, id), qPrintable(QString::number(id)));
            }
            for (int id :
                 {MessageDialog::kIdReply, MessageDialog::kIdDelete, MessageDialog::kIdForward,
                  IDOK, MessageDialog::kIdDateLine, MessageDialog::kIdNameField,
                  MessageDialog::kIdNumberField, MessageDialog::kIdNameLabel}) {
                QVERIFY2(!Shown(d, id), qPrintable(QString::number(id)));
            }
            QVERIFY(!d.TextEdit()->isReadOnly());
            QCOMPARE(d.Counter()->text(), QStringLiteral("0/160"));
            QCOMPARE(d.InputPanelPreference(), 0);
        });
    }

    void receivedMessageOpensInReadModeWithDateLine() {
        SmsMessage m = MakeMessage(kFolderInbox, u"Ann", u"+4412", u"Hello\r\nthere",
                                   MakeTime(2024, 3, 2, 10, 39, 5));
        TestDialog d(m);
        RunAndAct(d, [&] {
            QVERIFY(d.IsReadOnly());
            QVERIFY(Shown(d, MessageDialog::kIdReply));
            QVERIFY(Shown(d, MessageDialog::kIdDateLine));
            QVERIFY(Shown(d, MessageDialog::kIdNumberLabel));
            QVERIFY(!Shown(d, MessageDialog::kIdSend));
            QVERIFY(!Shown(d, MessageDialog::kIdCounter));
            QVERIFY(d.TextEdit()->isReadOnly());
            QCOMPARE(d.ControlAs<QLineEdit>(MessageDialog::kIdNameField)->text(),
                     QStringLiteral("Ann"));
            QCOMPARE(d.ControlAs<QLineEdit>(MessageDialog::kIdNumberField)->text(),
                     QStringLiteral("+4412"));
            QCOMPARE(d.TextEdit()->WindowText().ToU16(), std::u16string(u"Hello\r\nthere"));
            TextBuffer date, time;
            date.FormatDate(m.time, 0);
            time.FormatTime(m.time, 0);
            QVERIFY(!date.IsEmpty());
            QCOMPARE(d.DateLine()->text(), QStringLiteral("Received: ") +
                                               QString::fromUtf16(date.Text()) + u' ' +
                                               QString::fromUtf16(time.Text()));
            QCOMPARE(d.InputPanelPreference(), 1);
            // The counter is not touched in read mode: it keeps its placeholder.
            QCOMPARE(d.Counter()->text(), QStringLiteral("160/160"));
        });
    }

    void sentMessageDateLineSaysSent() {
        SmsMessage m = MakeMessage(kFolderSent, u"Bob", u"+1", u"Hi", MakeTime(2024, 3, 2, 9, 0));
        TestDialog d(m);
        RunAndAct(d, [&] {
            QVERIFY(d.IsReadOnly());
            QVERIFY(d.DateLine()->text().startsWith(QStringLiteral("Sent: ")));
        });
    }

    void outboxMessageOpensInComposeMode() {
        SmsMessage m = MakeMessage(kFolderOutbox, u"Bob", u"+1", u"Hi", 0, kFlagFlash);
        TestDialog d(m);
        RunAndAct(d, [&] {
            QVERIFY(!d.IsReadOnly());
            QCOMPARE(d.NameCombo()->currentText(), QStringLiteral("Bob"));
            QCOMPARE(d.NumberCombo()->currentText(), QStringLiteral("+1"));
            QCOMPARE(d.ControlAs<QCheckBox>(MessageDialog::kIdFlash)->checkState(), Qt::Checked);
            QCOMPARE(d.Counter()->text(), QStringLiteral("2/160"));
        });
    }

    void readOnlyFieldsLookWhite() {
        SmsMessage m =
            MakeMessage(kFolderInbox, u"Ann", u"+4412", u"Hi", MakeTime(2024, 1, 1, 1, 1));
        TestDialog d(m);
        RunAndAct(d, [&] {
            for (int id : {MessageDialog::kIdNameField, MessageDialog::kIdNumberField,
                           MessageDialog::kIdText}) {
                QWidget* w = d.Control(id);
                QCOMPARE(w->palette().color(QPalette::Base), QColor(Qt::white));
                // What is on screen: the middle of the field is white.
                const QImage shot = w->grab().toImage();
                QCOMPARE(shot.pixelColor(shot.width() * 2 / 3, shot.height() / 2).rgb(),
                         QColor(Qt::white).rgb());
            }
        });
    }

    // --- focus ---------------------------------------------------------------------------

    void focusOnOpening() {
        SmsMessage withNumber;
        withNumber.number = u"+1";
        TestDialog a(withNumber);
        RunAndAct(a, [&] { QTRY_COMPARE(QApplication::focusWidget(), a.TextEdit()); });

        SmsMessage empty;
        TestDialog b(empty);
        RunAndAct(b, [&] {
            QTRY_VERIFY(QApplication::focusWidget() != nullptr);
            QVERIFY(b.NameCombo()->isAncestorOf(QApplication::focusWidget()) ||
                    QApplication::focusWidget() == b.NameCombo());
        });

        SmsMessage received =
            MakeMessage(kFolderInbox, u"Ann", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1));
        TestDialog c(received);
        RunAndAct(c, [&] { QTRY_COMPARE(QApplication::focusWidget(), c.Control(IDOK)); });
    }

    void focusAfterReplyForwardAndName() {
        SmsMessage m = MakeMessage(kFolderInbox, u"Ann", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1));
        TestDialog d(m);
        RunAndAct(d, [&] {
            QTRY_COMPARE(QApplication::focusWidget(), d.Control(IDOK));
            d.SendCommand(MessageDialog::kIdReply);
            QTRY_COMPARE(QApplication::focusWidget(), d.TextEdit());
        });
        SmsMessage f = MakeMessage(kFolderSent, u"Ann", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1));
        TestDialog e(f);
        e.pickerResult = IDCANCEL;
        RunAndAct(e, [&] {
            QTRY_COMPARE(QApplication::focusWidget(), e.Control(IDOK));
            e.SendCommand(MessageDialog::kIdForward);
            QTRY_VERIFY(QApplication::focusWidget() != e.Control(IDOK));
            QVERIFY(e.NameCombo()->isAncestorOf(QApplication::focusWidget()) ||
                    QApplication::focusWidget() == e.NameCombo());
            // The Name button sends the focus to the text, even when nothing was picked.
            e.SendCommand(MessageDialog::kIdName);
            QTRY_COMPARE(QApplication::focusWidget(), e.TextEdit());
        });
    }

    // --- the counter ---------------------------------------------------------------------

    void pasting300CharactersKeeps160() {
        SmsMessage m;
        m.number = u"+1";  // the text field then has the focus
        TestDialog d(m);
        RunAndAct(d, [&] {
            QApplication::clipboard()->setText(Repeat('x', 300));
            d.TextEdit()->setFocus();
            d.SendCommand(kIdEditPaste);
            QCOMPARE(d.TextEdit()->toPlainText(), Repeat('x', 160));
            QCOMPARE(d.Counter()->text(), QStringLiteral("160/160"));
            QCOMPARE(d.TextEdit()->TextLimit(), 160);
        });
    }

    void typingBeyond160IsDropped() {
        SmsMessage m;
        m.number = u"+1";
        m.text = U16(Repeat('a', 158));
        TestDialog d(m);
        RunAndAct(d, [&] {
            QCOMPARE(d.Counter()->text(), QStringLiteral("158/160"));
            d.TextEdit()->moveCursor(QTextCursor::End);
            QTest::keyClicks(d.TextEdit(), QStringLiteral("bcd"));
            QCOMPARE(d.TextEdit()->toPlainText(), Repeat('a', 158) + QStringLiteral("bc"));
            QCOMPARE(d.Counter()->text(), QStringLiteral("160/160"));
        });
    }

    void lineBreaksCountAsOne() {
        // 150 characters and 5 line breaks: the field holds 160, the count is 155.
        QString text;
        for (int i = 0; i < 5; ++i) text += Repeat('a', 30) + QStringLiteral("\r\n");
        SmsMessage m;
        m.number = u"+1";
        m.text = U16(text);
        TestDialog d(m);
        RunAndAct(d, [&] {
            QCOMPARE(d.Counter()->text(), QStringLiteral("155/160"));
            QCOMPARE(d.TextEdit()->WindowTextLength(), 160);
            QCOMPARE(d.TextEdit()->TextLimit(), 160 - 310 + 320);
        });
    }

    void typedLineBreaksCountAsOne() {
        SmsMessage m;
        m.number = u"+1";
        TestDialog d(m);
        RunAndAct(d, [&] {
            d.TextEdit()->setFocus();
            for (int i = 0; i < 5; ++i) {
                QTest::keyClicks(d.TextEdit(), Repeat('a', 30));
                QTest::keyClick(d.TextEdit(), Qt::Key_Return);
            }
            QCOMPARE(d.Counter()->text(), QStringLiteral("155/160"));
            QCOMPARE(d.TextEdit()->WindowTextLength(), 160);
            QCOMPARE(d.TextEdit()->TextLimit(), 170);
        });
    }

    void counterReachesFixedPoint() {
        SmsMessage m;
        m.number = u"+1";
        m.text = U16(Repeat('z', 200));
        TestDialog d(m);
        RunAndAct(d, [&] {
            // Opening cut the stored text already.
            QCOMPARE(d.TextEdit()->toPlainText(), Repeat('z', 160));
            const QString text = d.TextEdit()->toPlainText();
            const int limit = d.TextEdit()->TextLimit();
            QSignalSpy changes(d.TextEdit(), &QPlainTextEdit::textChanged);
            d.UpdateCounter();
            QCOMPARE(changes.count(), 0);
            QCOMPARE(d.TextEdit()->toPlainText(), text);
            QCOMPARE(d.TextEdit()->TextLimit(), limit);
            QCOMPARE(d.Counter()->text(), QStringLiteral("160/160"));
        });
    }

    // --- the counter with Unicode or long messages ------------------------------------------

    static void SetCodecSettings(bool unicode, bool longSms) {
        RegistryKey key;
        QVERIFY(OpenSettings(key));
        QCOMPARE(WriteSettingFlag(key, kValueUnicode, unicode), 0u);
        QCOMPARE(WriteSettingFlag(key, kValueLongSms, longSms), 0u);
    }

    void withUnicodeASevenBitTextCountsSeptetsAndExtensionCharactersTwice() {
        SetCodecSettings(true, false);
        SmsMessage m;
        m.number = u"+1";
        m.text = u"Price: 5€ [net]";  // 15 characters, three of them from the extension table
        TestDialog d(m);
        RunAndAct(d, [&] {
            QCOMPARE(d.Counter()->text(), QStringLiteral("18/160"));
            // 80 euro signs fill one message; the 81st is cut as soon as it is typed.
            d.TextEdit()->SetWindowText(U16(QString(80, QChar(0x20AC))).c_str());
            QCOMPARE(d.Counter()->text(), QStringLiteral("160/160"));
            d.TextEdit()->moveCursor(QTextCursor::End);
            QTest::sendKeyEvent(QTest::Click, d.TextEdit(), Qt::Key_unknown, QStringLiteral("€"),
                                Qt::NoModifier);
            QCOMPARE(d.TextEdit()->toPlainText(), QString(80, QChar(0x20AC)));
            QCOMPARE(d.Counter()->text(), QStringLiteral("160/160"));
        });
    }

    void withUnicodeAnyOtherCharacterCountsInUcs2Against70() {
        SetCodecSettings(true, false);
        SmsMessage m;
        m.number = u"+1";
        m.text = u"Привет 😀";  // 7 characters and a surrogate pair: 9 UCS2 units
        TestDialog d(m);
        RunAndAct(d, [&] {
            QCOMPARE(d.Counter()->text(), QStringLiteral("9/70"));
            QApplication::clipboard()->setText(QString(100, QChar(0x0416)));
            d.TextEdit()->setFocus();
            d.TextEdit()->moveCursor(QTextCursor::End);
            d.SendCommand(kIdEditPaste);
            // Without long messages the text is cut at one message of 70 units.
            QCOMPARE(d.Counter()->text(), QStringLiteral("70/70"));
            QCOMPARE(d.TextEdit()->toPlainText(),
                     QStringLiteral("Привет 😀") + QString(61, QChar(0x0416)));
        });
    }

    void withLongMessagesThreePartsShowTheirLimitAndNumber() {
        SetCodecSettings(false, true);
        SmsMessage m;
        m.number = u"+1";
        m.text = U16(Repeat('a', 200));
        TestDialog d(m);
        RunAndAct(d, [&] {
            QCOMPARE(d.Counter()->text(), QStringLiteral("200/306 (2 SMS)"));
            d.TextEdit()->SetWindowText(U16(Repeat('a', 400)).c_str());
            QCOMPARE(d.Counter()->text(), QStringLiteral("400/459 (3 SMS)"));
            d.TextEdit()->SetWindowText(U16(Repeat('a', 160)).c_str());
            QCOMPARE(d.Counter()->text(), QStringLiteral("160/160"));
        });
    }

    void withBothThreeUcs2PartsAndTenPartsAtMost() {
        SetCodecSettings(true, true);
        SmsMessage m;
        m.number = u"+1";
        m.text = U16(QString(150, QChar(0x4F60)));  // 150 Chinese characters
        TestDialog d(m);
        RunAndAct(d, [&] {
            QCOMPARE(d.Counter()->text(), QStringLiteral("150/201 (3 SMS)"));
            QApplication::clipboard()->setText(QString(1000, QChar(0x4F60)));
            d.TextEdit()->setFocus();
            d.TextEdit()->moveCursor(QTextCursor::End);
            d.SendCommand(kIdEditPaste);
            QCOMPARE(d.TextEdit()->toPlainText(), QString(670, QChar(0x4F60)));
            QCOMPARE(d.Counter()->text(), QStringLiteral("670/670 (10 SMS)"));
            // A second pass changes nothing.
            QSignalSpy changes(d.TextEdit(), &QPlainTextEdit::textChanged);
            d.UpdateCounter();
            QCOMPARE(changes.count(), 0);
        });
    }

    void withBothOffTheCounterIsTheOriginalOne() {
        SetCodecSettings(false, false);
        SmsMessage m;
        m.number = u"+1";
        m.text = U16(QStringLiteral("Привет €") + Repeat('a', 200));
        TestDialog d(m);
        RunAndAct(d, [&] {
            QCOMPARE(d.Counter()->text(), QStringLiteral("160/160"));
            QCOMPARE(d.TextEdit()->toPlainText().size(), 160);
        });
    }

    void thePreferencesChangeTheCountingAtOnce() {
        SmsMessage m;
        m.number = u"+1";
        m.text = u"Привет";
        TestDialog d(m);
        RunAndAct(d, [&] {
            QCOMPARE(d.Counter()->text(), QStringLiteral("6/160"));
            SetCodecSettings(true, false);
            d.SendCommand(MessageDialog::kCmdPreferences);  // the settings are read again
            QCOMPARE(d.Counter()->text(), QStringLiteral("6/70"));
        });
        QCOMPARE(d.preferencesRuns, 1);
    }

    void cutKeepsTheCursorAndTheFirstLine() {
        SmsMessage m;
        m.number = u"+1";
        TestDialog d(m);
        RunAndAct(d, [&] {
            d.TextEdit()->SetWindowText(u"start");
            QTextCursor c = d.TextEdit()->textCursor();
            c.setPosition(2);
            d.TextEdit()->setTextCursor(c);
            d.TextEdit()->InsertLimited(Repeat('q', 300));
            QCOMPARE(d.TextEdit()->toPlainText().size(), 160);
            QCOMPARE(d.TextEdit()->textCursor().position(), 160);
        });
    }

    // --- recent recipients ---------------------------------------------------------------

    void recentListsAreFilledFromTheStore() {
        AddRecentRecipient(u"Zoe", u"+300");
        AddRecentRecipient(u"Ann (work)", u"555");
        AddRecentRecipient(u"", u"+200");
        SmsMessage m;
        TestDialog d(m);
        RunAndAct(d, [&] {
            const std::vector<RecentRecipient> byName = RecentByName();
            QCOMPARE(d.NameCombo()->count(), 3);
            QCOMPARE(d.NumberCombo()->count(), 3);
            // The name list is in the store's name order; item data is that position.
            for (int i = 0; i < 3; ++i) {
                const RecentRecipient& e = byName[static_cast<std::size_t>(i)];
                QCOMPARE(d.NameCombo()->itemText(i),
                         QString::fromStdU16String(FormatRecentItem(e.name, e.number)));
                QCOMPARE(d.NameCombo()->itemData(i).toInt(), i);
            }
            // The number list sorts its entries alphabetically.
            QStringList numbers;
            for (int i = 0; i < 3; ++i) numbers << d.NumberCombo()->itemText(i);
            QCOMPARE(numbers, (QStringList{QStringLiteral("+200"), QStringLiteral("+300 (Zoe)"),
                                           QStringLiteral("555 (Ann (work))")}));
            // An entry of either list carries the same item data for the same recipient.
            const int byNumber = IndexOfText(d.NumberCombo(), QStringLiteral("555 (Ann (work))"));
            const int byNameText = IndexOfText(d.NameCombo(), QStringLiteral("Ann (work) (555)"));
            QVERIFY(byNumber >= 0 && byNameText >= 0);
            QCOMPARE(d.NumberCombo()->itemData(byNumber).toInt(),
                     d.NameCombo()->itemData(byNameText).toInt());
            // The edits show the message's recipient, not an entry of the list.
            QCOMPARE(d.NameCombo()->currentText(), QString());
            QCOMPARE(d.NumberCombo()->currentText(), QString());
        });
    }

    void choosingANumberEntrySplitsIt() {
        AddRecentRecipient(u"Ann (work)", u"555");
        SmsMessage m;
        TestDialog d(m);
        RunAndAct(d, [&] {
            RecentComboBox* numbers = d.NumberCombo();
            const int i = IndexOfText(numbers, QStringLiteral("555 (Ann (work))"));
            QVERIFY(i >= 0);
            numbers->setCurrentIndex(i);
            emit numbers->activated(i);
            // The split is posted: the edit still shows the entry until the event loop runs.
            QCOMPARE(numbers->currentText(), QStringLiteral("555 (Ann (work))"));
            QTRY_COMPARE(numbers->currentText(), QStringLiteral("555"));
            QCOMPARE(d.NameCombo()->currentText(), QStringLiteral("Ann (work)"));
        });
    }

    void choosingANameEntrySplitsIt() {
        AddRecentRecipient(u"Ann (work)", u"555");
        SmsMessage m;
        TestDialog d(m);
        RunAndAct(d, [&] {
            RecentComboBox* names = d.NameCombo();
            const int i = IndexOfText(names, QStringLiteral("Ann (work) (555)"));
            QVERIFY(i >= 0);
            names->setCurrentIndex(i);
            emit names->activated(i);
            QCOMPARE(names->currentText(), QStringLiteral("Ann (work) (555)"));
            QTRY_COMPARE(names->currentText(), QStringLiteral("Ann (work)"));
            QCOMPARE(d.NumberCombo()->currentText(), QStringLiteral("555"));
        });
    }

    void abandoningAListKeepsOnlyItsOwnPart() {
        SmsMessage m;
        m.name = u"Bob";
        TestDialog d(m);
        RunAndAct(d, [&] {
            d.NumberCombo()->setEditText(QStringLiteral("777 (Carl)"));
            emit d.NumberCombo()->choiceAbandoned();
            QTRY_COMPARE(d.NumberCombo()->currentText(), QStringLiteral("777"));
            QCOMPARE(d.NameCombo()->currentText(), QStringLiteral("Bob"));

            d.NameCombo()->setEditText(QStringLiteral("Dora (x) (888)"));
            emit d.NameCombo()->choiceAbandoned();
            QTRY_COMPARE(d.NameCombo()->currentText(), QStringLiteral("Dora (x)"));
            QCOMPARE(d.NumberCombo()->currentText(), QStringLiteral("777"));
        });
    }

    void splitWithoutParenthesesOrClose() {
        SmsMessage m;
        TestDialog d(m);
        RunAndAct(d, [&] {
            d.NumberCombo()->setEditText(QStringLiteral("123"));
            emit d.NumberCombo()->entryChosen();
            QTRY_COMPARE(d.NumberCombo()->currentText(), QStringLiteral("123"));
            QCOMPARE(d.NameCombo()->currentText(), QString());

            d.NumberCombo()->setEditText(QStringLiteral("456 (open"));
            d.NameCombo()->setEditText(QStringLiteral("x"));
            emit d.NumberCombo()->entryChosen();
            QTRY_COMPARE(d.NumberCombo()->currentText(), QStringLiteral("456"));
            QCOMPARE(d.NameCombo()->currentText(), QString());
        });
    }

    void collectingRecordsTheRecipient() {
        SmsMessage m;
        TestDialog d(m);
        const int result = RunAndAct(d, [&] {
            d.NameCombo()->setEditText(QStringLiteral("Eve"));
            d.NumberCombo()->setEditText(QStringLiteral("+49 (171) 23-45"));
            d.SendCommand(MessageDialog::kIdDraft);
        });
        QCOMPARE(result, IDOK);
        QCOMPARE(m.number, std::u16string(u"+491712345"));
        const std::vector<RecentRecipient> recent = RecentByName();
        QCOMPARE(recent.size(), std::size_t{1});
        QCOMPARE(recent[0].name, std::u16string(u"Eve"));
        QCOMPARE(recent[0].number, std::u16string(u"+491712345"));
    }

    void nameWithoutNumberIsNotRecorded() {
        SmsMessage m;
        TestDialog d(m);
        QCOMPARE(RunAndAct(d,
                           [&] {
                               d.NameCombo()->setEditText(QStringLiteral("Eve"));
                               d.SendCommand(MessageDialog::kIdDraft);
                           }),
                 IDOK);
        QVERIFY(RecentByName().empty());
    }

    // --- compose buttons -----------------------------------------------------------------

    void emptyFieldsEndWithCancel_data() {
        QTest::addColumn<int>("command");
        QTest::newRow("Outbox") << MessageDialog::kIdOutbox;
        QTest::newRow("Draft") << MessageDialog::kIdDraft;
        QTest::newRow("Send") << MessageDialog::kIdSend;
        QTest::newRow("OK") << IDOK;
        QTest::newRow("Cancel") << IDCANCEL;
    }
    void emptyFieldsEndWithCancel() {
        QFETCH(int, command);
        SmsMessage m;
        TestDialog d(m);
        int sends = 0;
        d.SetSendRunner([&](SmsMessage&, QWidget*) { return ++sends, IDOK; });
        QCOMPARE(RunAndAct(d, [&] { d.SendCommand(command); }), IDCANCEL);
        QCOMPARE(sends, 0);
    }

    void draftWithOnlyANameIsStored() {
        SmsMessage m;
        TestDialog d(m);
        QCOMPARE(RunAndAct(d,
                           [&] {
                               d.NameCombo()->setEditText(QStringLiteral("Ann"));
                               d.SendCommand(MessageDialog::kIdDraft);
                           }),
                 IDOK);
        QCOMPARE(m.folder, kFolderDraft);
        QCOMPARE(m.name, std::u16string(u"Ann"));
    }

    void outboxWithOnlyANameDoesNothing() {
        SmsMessage m;
        TestDialog d(m);
        QCOMPARE(RunAndAct(d,
                           [&] {
                               d.NameCombo()->setEditText(QStringLiteral("Ann"));
                               d.SendCommand(MessageDialog::kIdOutbox);
                           }),
                 kStillOpen);
    }

    void outboxWithNumberAndTextEndsWithOk() {
        SmsMessage m;
        TestDialog d(m);
        QCOMPARE(RunAndAct(d,
                           [&] {
                               d.NumberCombo()->setEditText(QStringLiteral("+1 2"));
                               d.TextEdit()->SetWindowText(u"Hi\r\nyou");
                               d.SendCommand(MessageDialog::kIdOutbox);
                           }),
                 IDOK);
        QCOMPARE(m.folder, kFolderOutbox);
        QCOMPARE(m.number, std::u16string(u"+12"));
        QCOMPARE(m.text, std::u16string(u"Hi\r\nyou"));
    }

    void sendWithOnlyATextDoesNothing() {
        SmsMessage m;
        TestDialog d(m);
        int sends = 0;
        d.SetSendRunner([&](SmsMessage&, QWidget*) { return ++sends, IDOK; });
        QCOMPARE(RunAndAct(d,
                           [&] {
                               d.TextEdit()->SetWindowText(u"Hi");
                               d.SendCommand(MessageDialog::kIdSend);
                           }),
                 kStillOpen);
        QCOMPARE(sends, 0);
    }

    void sendRunsTheTransferAndEndsWithOk() {
        SmsMessage m;
        TestDialog d(m);
        std::vector<FolderId> seenFolders;
        d.SetSendRunner([&](SmsMessage& msg, QWidget* owner) {
            seenFolders.push_back(msg.folder);
            [&] { QCOMPARE(owner, static_cast<QWidget*>(&d)); }();
            return IDOK;
        });
        QCOMPARE(RunAndAct(d,
                           [&] {
                               d.NumberCombo()->setEditText(QStringLiteral("+1"));
                               d.TextEdit()->SetWindowText(u"Hi");
                               d.SendCommand(MessageDialog::kIdSend);
                           }),
                 IDOK);
        QCOMPARE(seenFolders, std::vector<FolderId>{kFolderSent});
        QCOMPARE(m.folder, kFolderSent);
    }

    void failedSendKeepsTheDialogOpen() {
        SmsMessage m;
        TestDialog d(m);
        int sends = 0;
        d.SetSendRunner([&](SmsMessage&, QWidget*) { return ++sends, IDCANCEL; });
        QCOMPARE(RunAndAct(d,
                           [&] {
                               d.NumberCombo()->setEditText(QStringLiteral("+1"));
                               d.TextEdit()->SetWindowText(u"Hi");
                               d.SendCommand(MessageDialog::kIdSend);
                           }),
                 kStillOpen);
        QCOMPARE(sends, 1);
    }

    void okStoresInTheCurrentFolderAndFlashFollowsTheBox() {
        SmsMessage m = MakeMessage(kFolderOutbox, u"", u"+1", u"Hi", 0, kFlagFlash);
        TestDialog d(m);
        QCOMPARE(RunAndAct(d,
                           [&] {
                               d.ControlAs<QCheckBox>(MessageDialog::kIdFlash)->setChecked(false);
                               d.SendCommand(IDOK);
                           }),
                 IDOK);
        QCOMPARE(m.folder, kFolderOutbox);
        QCOMPARE(m.flags & kFlagFlash, 0u);

        SmsMessage n;
        TestDialog e(n);
        QCOMPARE(RunAndAct(e,
                           [&] {
                               e.ControlAs<QCheckBox>(MessageDialog::kIdFlash)->setChecked(true);
                               e.TextEdit()->SetWindowText(u"x");
                               e.SendCommand(IDOK);
                           }),
                 IDOK);
        QCOMPARE(n.folder, kFolderDraft);
        QCOMPARE(n.flags & kFlagFlash, kFlagFlash);
    }

    // --- keeping what the person wrote ----------------------------------------------------

    void aSaveTheStoreRefusesKeepsTheDialogOpenWithItsText_data() {
        QTest::addColumn<int>("command");
        QTest::addColumn<QString>("folderName");
        QTest::newRow("Outbox") << MessageDialog::kIdOutbox << QStringLiteral("Outbox");
        QTest::newRow("Draft") << MessageDialog::kIdDraft << QStringLiteral("Draft");
        QTest::newRow("OK") << IDOK << QStringLiteral("Draft");
    }
    void aSaveTheStoreRefusesKeepsTheDialogOpenWithItsText() {
        QFETCH(int, command);
        QFETCH(QString, folderName);
        BoxCapture boxes;
        FakeStore store;
        store.writes = false;
        SmsMessage m;
        TestDialog d(m);
        store.Attach(d);
        bool stillOpenAfterRefusal = false;
        QString textAfterRefusal, numberAfterRefusal;
        QCOMPARE(RunAndAct(d,
                           [&] {
                               d.NameCombo()->setEditText(QStringLiteral("Ann"));
                               d.NumberCombo()->setEditText(QStringLiteral("+1"));
                               d.TextEdit()->SetWindowText(u"Hello");
                               d.SendCommand(command);
                               stillOpenAfterRefusal = d.Result() == kStillOpen;
                               textAfterRefusal = d.TextEdit()->toPlainText();
                               numberAfterRefusal = d.NumberCombo()->currentText();
                               // The cause is gone: the same button stores it.
                               store.writes = true;
                               d.SendCommand(command);
                           }),
                 IDOK);
        QVERIFY(stillOpenAfterRefusal);
        QCOMPARE(textAfterRefusal, QStringLiteral("Hello"));
        QCOMPARE(numberAfterRefusal, QStringLiteral("+1"));
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        QCOMPARE(boxes.boxes[0].caption, QStringLiteral("Velkan Tessiver"));
        QCOMPARE(boxes.boxes[0].kind, BoxKind::Error);
        QCOMPARE(boxes.boxes[0].text, QStringLiteral("The message could not be stored in ") +
                                          folderName + QStringLiteral(".\n") + store.problem);
        QCOMPARE(store.stored.size(), std::size_t{1});
        QCOMPARE(store.stored[0].text, std::u16string(u"Hello"));
    }

    void sendChecksTheStoreFirstAndSendsNothingItCouldNotRecord() {
        BoxCapture boxes;
        FakeStore store;
        store.writable = false;
        SmsMessage m = MakeMessage(kFolderOutbox, u"", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1));
        TestDialog d(m);
        store.Attach(d);
        int sends = 0;
        d.SetSendRunner([&](SmsMessage&, QWidget*) { return ++sends, IDOK; });
        QCOMPARE(RunAndAct(d, [&] { d.SendCommand(MessageDialog::kIdSend); }), kStillOpen);
        QCOMPARE(store.checks, 1);
        QCOMPARE(sends, 0);
        QVERIFY(store.stored.empty());
        // The message is where it was, not claimed to be sent.
        QCOMPARE(m.folder, kFolderOutbox);
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        QCOMPARE(boxes.boxes[0].text,
                 QStringLiteral("The message was not sent, because it could not be recorded in "
                                "Sent.\n") +
                     store.problem);
    }

    void aFailedSendLeavesTheMessageInItsFolder() {
        SmsMessage m = MakeMessage(kFolderDraft, u"", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1));
        TestDialog d(m);
        FakeStore store;
        store.Attach(d);
        d.SetSendRunner([&](SmsMessage&, QWidget*) { return IDCANCEL; });
        // After the failure OK stores it where it was, not in Sent.
        QCOMPARE(RunAndAct(d,
                           [&] {
                               d.SendCommand(MessageDialog::kIdSend);
                               d.SendCommand(IDOK);
                           }),
                 IDOK);
        QCOMPARE(store.stored.size(), std::size_t{1});
        QCOMPARE(store.stored[0].folder, kFolderDraft);
    }

    void aMessageSentButNotStoredIsSaidSoAndNeverSentTwice() {
        BoxCapture boxes;
        FakeStore store;
        store.writes = false;
        SmsMessage m;
        TestDialog d(m);
        store.Attach(d);
        int sends = 0;
        d.SetSendRunner([&](SmsMessage&, QWidget*) { return ++sends, IDOK; });
        bool stillOpen = false, outboxEnabled = true;
        QString buttonText, text;
        QCOMPARE(RunAndAct(d,
                           [&] {
                               d.NumberCombo()->setEditText(QStringLiteral("+1"));
                               d.TextEdit()->SetWindowText(u"Hi there");
                               d.SendCommand(MessageDialog::kIdSend);
                               stillOpen = d.Result() == kStillOpen;
                               buttonText =
                                   d.ControlAs<QPushButton>(MessageDialog::kIdSend)->text();
                               outboxEnabled = d.Control(MessageDialog::kIdOutbox)->isEnabled();
                               text = d.TextEdit()->toPlainText();
                               // Still refused: said again, nothing sent again.
                               d.SendCommand(MessageDialog::kIdSend);
                               store.writes = true;
                               d.SendCommand(MessageDialog::kIdSend);
                           }),
                 IDOK);
        QVERIFY(stillOpen);
        QVERIFY(d.SentButNotStored());
        QCOMPARE(buttonText, QStringLiteral("Retry"));
        QVERIFY(!outboxEnabled);
        QCOMPARE(text, QStringLiteral("Hi there"));
        QCOMPARE(sends, 1);
        QCOMPARE(boxes.boxes.size(), std::size_t{2});
        QCOMPARE(boxes.boxes[0].text,
                 QStringLiteral("The message was sent but could not be stored in Sent.\n") +
                     store.problem);
        QCOMPARE(store.stored.size(), std::size_t{1});
        QCOMPARE(store.stored[0].folder, kFolderSent);
    }

    // --- an Outbox message that may have been sent, or cannot be sent ----------------------

    void aMessageThatMayHaveBeenSentOffersSendAgain() {
        SmsMessage m = MakeMessage(kFolderOutbox, u"Ann", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1),
                                   kFlagMayHaveBeenSent | kFlagFlash);
        m.oid = 7;
        TestDialog d(m);
        FakeStore store;
        store.Attach(d);
        std::vector<std::uint32_t> flagsSent;
        d.SetSendRunner([&](SmsMessage& msg, QWidget*) {
            flagsSent.push_back(msg.flags);
            return IDOK;
        });
        QString mark, sendAgainText;
        bool sendShown = true, sendAgainShown = false;
        QCOMPARE(
            RunAndAct(d,
                      [&] {
                          QVERIFY(!d.IsReadOnly());
                          mark = d.MarkLine()->isVisibleTo(&d) ? d.MarkLine()->text() : QString();
                          sendShown = Shown(d, MessageDialog::kIdSend);
                          sendAgainShown = Shown(d, MessageDialog::kIdSendAgain);
                          sendAgainText =
                              d.ControlAs<QPushButton>(MessageDialog::kIdSendAgain)->text();
                          QTest::mouseClick(d.ControlAs<QPushButton>(MessageDialog::kIdSendAgain),
                                            Qt::LeftButton);
                      }),
            IDOK);
        QCOMPARE(mark, QStringLiteral("may have been sent"));
        QVERIFY(!sendShown);
        QVERIFY(sendAgainShown);
        QCOMPARE(sendAgainText, QStringLiteral("Send again"));
        QCOMPARE(flagsSent.size(), std::size_t{1});
        // Stored as the same record, in Sent, without the mark.
        QCOMPARE(store.stored.size(), std::size_t{1});
        QCOMPARE(store.stored[0].oid, Oid{7});
        QCOMPARE(store.stored[0].folder, kFolderSent);
        QCOMPARE(store.stored[0].flags, kFlagFlash);
    }

    void aFailedSendAgainKeepsTheMessageAndItsMark() {
        SmsMessage m = MakeMessage(kFolderOutbox, u"Ann", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1),
                                   kFlagMayHaveBeenSent);
        TestDialog d(m);
        FakeStore store;
        store.Attach(d);
        d.SetSendRunner([&](SmsMessage&, QWidget*) { return IDCANCEL; });
        QCOMPARE(RunAndAct(d, [&] { d.SendCommand(MessageDialog::kIdSendAgain); }), kStillOpen);
        QVERIFY(store.stored.empty());
        QCOMPARE(m.folder, kFolderOutbox);
        QCOMPARE(m.flags & kFlagMayHaveBeenSent, kFlagMayHaveBeenSent);
    }

    void aMessageThatCannotBeSentSaysSoAndSavingItTriesAgain() {
        SmsMessage m = MakeMessage(kFolderOutbox, u"Ann", u"+123456789012345678901", u"Hi",
                                   MakeTime(2024, 1, 1, 1, 1), kFlagNotEncodable);
        TestDialog d(m);
        QString mark;
        bool sendShown = false, sendAgainShown = true;
        QCOMPARE(RunAndAct(d,
                           [&] {
                               mark =
                                   d.MarkLine()->isVisibleTo(&d) ? d.MarkLine()->text() : QString();
                               sendShown = Shown(d, MessageDialog::kIdSend);
                               sendAgainShown = Shown(d, MessageDialog::kIdSendAgain);
                               d.NumberCombo()->setEditText(QStringLiteral("+1234"));
                               d.SendCommand(MessageDialog::kIdOutbox);
                           }),
                 IDOK);
        QCOMPARE(mark, QStringLiteral("cannot be sent"));
        QVERIFY(sendShown);
        QVERIFY(!sendAgainShown);
        QCOMPARE(m.flags & kFlagNotEncodable, 0u);
    }

    void anOrdinaryMessageHasNoMark() {
        SmsMessage m = MakeMessage(kFolderOutbox, u"Ann", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1));
        TestDialog d(m);
        RunAndAct(d, [&] {
            QVERIFY(!d.MarkLine()->isVisibleTo(&d));
            QVERIFY(Shown(d, MessageDialog::kIdSend));
            QVERIFY(!Shown(d, MessageDialog::kIdSendAgain));
        });
    }

    // --- keys and focus ------------------------------------------------------------------

    void escapeAsksBeforeDiscardingWhatWasTyped_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("number");
        QTest::addColumn<QString>("text");
        QTest::newRow("text") << QString() << QString() << QStringLiteral("Hello");
        QTest::newRow("number") << QString() << QStringLiteral("+1") << QString();
        QTest::newRow("name") << QStringLiteral("Ann") << QString() << QString();
    }
    void escapeAsksBeforeDiscardingWhatWasTyped() {
        QFETCH(QString, name);
        QFETCH(QString, number);
        QFETCH(QString, text);
        BoxCapture boxes(IDNO);
        SmsMessage m;
        TestDialog d(m);
        bool openAfterNo = false;
        QString textAfterNo;
        QCOMPARE(RunAndAct(d,
                           [&] {
                               d.NameCombo()->setEditText(name);
                               d.NumberCombo()->setEditText(number);
                               d.TextEdit()->SetWindowText(text.toStdU16String().c_str());
                               QTest::keyClick(d.TextEdit(), Qt::Key_Escape);
                               openAfterNo = d.Result() == kStillOpen;
                               textAfterNo = d.TextEdit()->toPlainText();
                               boxes.SetAnswer(IDYES);
                               QTest::keyClick(d.TextEdit(), Qt::Key_Escape);
                           }),
                 IDCANCEL);
        QVERIFY(openAfterNo);
        QCOMPARE(textAfterNo, text);
        QCOMPARE(boxes.boxes.size(), std::size_t{2});
        QCOMPARE(boxes.boxes[0].text, QStringLiteral("Discard this message?"));
        QCOMPARE(boxes.boxes[0].kind, BoxKind::Question);
        QCOMPARE(boxes.boxes[0].caption, QStringLiteral("Velkan Tessiver"));
    }

    void escapeOnAnEmptyMessageAndCancelCloseAtOnce() {
        BoxCapture boxes;
        SmsMessage m;
        TestDialog d(m);
        QCOMPARE(RunAndAct(d, [&] { QTest::keyClick(d.TextEdit(), Qt::Key_Escape); }), IDCANCEL);
        SmsMessage n;
        TestDialog e(n);
        QCOMPARE(RunAndAct(e,
                           [&] {
                               e.TextEdit()->SetWindowText(u"typed");
                               QTest::mouseClick(e.ControlAs<QPushButton>(IDCANCEL),
                                                 Qt::LeftButton);
                           }),
                 IDCANCEL);
        QVERIFY(boxes.boxes.empty());
    }

    void returnPressesTheFocusedOkOfTheReadDialog() {
        SmsMessage m = MakeMessage(kFolderInbox, u"Ann", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1));
        TestDialog d(m);
        QCOMPARE(RunAndAct(d,
                           [&] {
                               QTRY_COMPARE(QApplication::focusWidget(), d.Control(IDOK));
                               // As the keyboard delivers it: to the window, which hands it to the
                               // focus.
                               QTest::keyClick(d.window()->windowHandle(), Qt::Key_Return);
                           }),
                 IDCANCEL);
    }

    void theKeyboardComesBackAfterTheSettingsDialogsClose() {
        // As in the program, the pages fill one frame window.
        TestFrame frame;
        frame.resize(360, 560);
        frame.show();
        FrameWindowBase::SetInstance(&frame);
        SmsMessage m;
        m.number = u"+1";
        TestDialog d(m);
        d.realSettingsDialogs = true;
        BoxCapture boxes(IDYES);
        bool preferencesSeen = false, connectionSeen = false;
        QWidget* focusAfterPreferences = nullptr;
        QWidget* focusAfterConnection = nullptr;
        QString typed;
        QCOMPARE(RunAndAct(d,
                           [&] {
                               QTRY_COMPARE(QApplication::focusWidget(), d.TextEdit());
                               CancelWhenShown<PreferencesDialog>(&d, &preferencesSeen);
                               d.SendCommand(MessageDialog::kCmdPreferences);
                               focusAfterPreferences = QApplication::focusWidget();
                               CancelWhenShown<ConnectionDialog>(&d, &connectionSeen);
                               d.SendCommand(MessageDialog::kCmdConnection);
                               focusAfterConnection = QApplication::focusWidget();
                               // Typing goes into the text, and Escape reaches the dialog.
                               QTest::keyClick(d.window()->windowHandle(), 'x');
                               typed = d.TextEdit()->toPlainText();
                               QTest::keyClick(d.window()->windowHandle(), Qt::Key_Escape);
                           }),
                 IDCANCEL);
        FrameWindowBase::SetInstance(nullptr);
        QVERIFY(preferencesSeen);
        QVERIFY(connectionSeen);
        QCOMPARE(focusAfterPreferences, static_cast<QWidget*>(d.TextEdit()));
        QCOMPARE(focusAfterConnection, static_cast<QWidget*>(d.TextEdit()));
        QCOMPARE(typed, QStringLiteral("x"));
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
    }

    // --- read mode -----------------------------------------------------------------------

    void okInReadModeStoresNothing() {
        SmsMessage m = MakeMessage(kFolderSent, u"Bob", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1));
        TestDialog d(m);
        QCOMPARE(RunAndAct(d, [&] { d.SendCommand(IDOK); }), IDCANCEL);
    }

    void openingAnUnreadInboxMessageMarksItRead() {
        const Oid oid = StoreMessage(MakeMessage(kFolderInbox, u"Ann", u"+1", u"Hi",
                                                 MakeTime(2024, 1, 1, 1, 1), kFlagUnread));
        QVERIFY(oid != 0);
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        SmsMessage m;
        m.oid = oid;
        QVERIFY(ReadById(db, m));
        QCOMPARE(m.flags & kFlagUnread, kFlagUnread);
        TestDialog d(m);
        QCOMPARE(RunAndAct(d, [&] { d.SendCommand(IDOK); }), IDCANCEL);
        QCOMPARE(m.flags & kFlagUnread, 0u);
        SmsMessage stored;
        stored.oid = oid;
        QVERIFY(ReadById(db, stored));
        QCOMPARE(stored.flags & kFlagUnread, 0u);
        QCOMPARE(stored.text, std::u16string(u"Hi"));
        QCOMPARE(CountInFolder(kFolderInbox), 1u);
    }

    void unreadMessageWithoutDatabaseObjectIsMarkedToo() {
        const Oid oid = StoreMessage(MakeMessage(kFolderInbox, u"Ann", u"+1", u"Hi",
                                                 MakeTime(2024, 1, 1, 1, 1), kFlagUnread));
        SmsMessage m = MakeMessage(kFolderInbox, u"Ann", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1),
                                   kFlagUnread);
        m.oid = oid;
        TestDialog d(m);
        RunAndAct(d, [&] { d.SendCommand(IDCANCEL); });
        QVERIFY(m.store == nullptr);
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        SmsMessage stored;
        stored.oid = oid;
        QVERIFY(ReadById(db, stored));
        QCOMPARE(stored.flags & kFlagUnread, 0u);
    }

    void aReadMarkTheStoreCannotKeepIsSaidSo() {
        const Oid oid = StoreMessage(MakeMessage(kFolderInbox, u"Ann", u"+1", u"Hi",
                                                 MakeTime(2024, 1, 1, 1, 1), kFlagUnread));
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        SmsMessage m;
        m.oid = oid;
        QVERIFY(ReadById(db, m));
        BoxCapture boxes;
        int result = 0;
        {
            DiskFull full;
            QVERIFY(full.Active());
            TestDialog d(m);
            result = RunAndAct(d, [&] { d.SendCommand(IDOK); });
        }
        QCOMPARE(result, IDCANCEL);
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        const QString text = boxes.boxes[0].text;
        QVERIFY2(text.startsWith(QStringLiteral("The message could not be marked as read.\n")),
                 qPrintable(text));
        QVERIFY2(text.contains(QString::fromStdString(StoreFilePath())), qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("disk I/O error")), qPrintable(text));
        SmsMessage stored;
        stored.oid = oid;
        QVERIFY(ReadById(db, stored));
        QCOMPARE(stored.flags & kFlagUnread, kFlagUnread);
    }

    void aDeletionTheStoreRefusesIsSaidSoAndTheDialogStays() {
        const Oid oid = StoreMessage(
            MakeMessage(kFolderSent, u"Ann", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1)));
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        SmsMessage m;
        m.oid = oid;
        QVERIFY(ReadById(db, m));
        BoxCapture boxes(IDYES);
        int result = 0;
        {
            DiskFull full;
            QVERIFY(full.Active());
            TestDialog d(m);
            result = RunAndAct(d, [&] { d.SendCommand(MessageDialog::kIdDelete); });
        }
        QCOMPARE(result, kStillOpen);
        QCOMPARE(boxes.boxes.size(), std::size_t{2});
        const QString text = boxes.boxes[1].text;
        QVERIFY2(text.startsWith(QStringLiteral("Message(s) could not be deleted.\n")),
                 qPrintable(text));
        QVERIFY2(text.contains(QString::fromStdString(StoreFilePath())), qPrintable(text));
        QCOMPARE(boxes.boxes[1].kind, BoxKind::Error);
        QCOMPARE(CountInFolder(kFolderSent), 1u);
    }

    void replyComposesToTheSender() {
        SmsMessage m = MakeMessage(kFolderInbox, u"Ann", u"+4412", u"Hello",
                                   MakeTime(2024, 1, 1, 1, 1), kFlagFlash);
        m.oid = 42;
        TestDialog d(m);
        RunAndAct(d, [&] {
            d.SendCommand(MessageDialog::kIdReply);
            QVERIFY(!d.IsReadOnly());
            QVERIFY(Shown(d, MessageDialog::kIdSend));
            QVERIFY(!Shown(d, MessageDialog::kIdReply));
            QCOMPARE(d.NameCombo()->currentText(), QStringLiteral("Ann"));
            QCOMPARE(d.NumberCombo()->currentText(), QStringLiteral("+4412"));
            QCOMPARE(d.TextEdit()->toPlainText(), QString());
            QVERIFY(!d.TextEdit()->isReadOnly());
            QCOMPARE(d.Counter()->text(), QStringLiteral("0/160"));
        });
        QCOMPARE(m.folder, kFolderDraft);
        QCOMPARE(m.oid, Oid{0});
        QCOMPARE(m.time, FileTime{0});
        QCOMPARE(m.flags, 0u);
    }

    void forwardKeepsOnlyTheText() {
        SmsMessage m = MakeMessage(kFolderSent, u"Ann", u"+4412", u"Hello\r\nagain",
                                   MakeTime(2024, 1, 1, 1, 1));
        TestDialog d(m);
        RunAndAct(d, [&] {
            d.SendCommand(MessageDialog::kIdForward);
            QVERIFY(!d.IsReadOnly());
            QCOMPARE(d.NameCombo()->currentText(), QString());
            QCOMPARE(d.NumberCombo()->currentText(), QString());
            QCOMPARE(d.TextEdit()->WindowText().ToU16(), std::u16string(u"Hello\r\nagain"));
            QCOMPARE(d.Counter()->text(), QStringLiteral("11/160"));
        });
        QCOMPARE(m.folder, kFolderDraft);
    }

    void replyRefillsTheRecentLists() {
        AddRecentRecipient(u"Zoe", u"+300");
        SmsMessage m = MakeMessage(kFolderInbox, u"Ann", u"+1", u"x", MakeTime(2024, 1, 1, 1, 1));
        TestDialog d(m);
        RunAndAct(d, [&] {
            QCOMPARE(d.NameCombo()->count(), 0);
            d.SendCommand(MessageDialog::kIdReply);
            QCOMPARE(d.NameCombo()->count(), 1);
            QCOMPARE(d.NumberCombo()->itemText(0), QStringLiteral("+300 (Zoe)"));
            QCOMPARE(d.NameCombo()->currentText(), QStringLiteral("Ann"));
        });
    }

    void deleteAsksAndDeletesOnYes() {
        const Oid oid = StoreMessage(
            MakeMessage(kFolderSent, u"Ann", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1)));
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        SmsMessage m;
        m.oid = oid;
        QVERIFY(ReadById(db, m));
        BoxCapture boxes(IDNO);
        {
            TestDialog d(m);
            QCOMPARE(RunAndAct(d, [&] { d.SendCommand(MessageDialog::kIdDelete); }), kStillOpen);
        }
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        QCOMPARE(boxes.boxes[0].text,
                 QStringLiteral("Message(s) will be permanently deleted. Continue?"));
        QCOMPARE(boxes.boxes[0].kind, BoxKind::Question);
        QCOMPARE(CountInFolder(kFolderSent), 1u);

        boxes.SetAnswer(IDYES);
        TestDialog d(m);
        QCOMPARE(RunAndAct(d, [&] { d.SendCommand(MessageDialog::kIdDelete); }), IDCANCEL);
        QCOMPARE(CountInFolder(kFolderSent), 0u);
    }

    void deletingANeverStoredMessageJustEnds() {
        SmsMessage m = MakeMessage(kFolderInbox, u"Ann", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1));
        BoxCapture boxes(IDYES);
        TestDialog d(m);
        QCOMPARE(RunAndAct(d, [&] { d.SendCommand(MessageDialog::kIdDelete); }), IDCANCEL);
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
    }

    // --- Name button ---------------------------------------------------------------------

    void pickedContactNumberIsNormalisedWithPlus_data() {
        QTest::addColumn<QString>("phone");
        QTest::addColumn<QString>("number");
        QTest::newRow("international") << QStringLiteral("+44 77 12") << QStringLiteral("+447712");
        QTest::newRow("national") << QStringLiteral("077 12") << QStringLiteral("+07712");
    }
    void pickedContactNumberIsNormalisedWithPlus() {
        QFETCH(QString, phone);
        QFETCH(QString, number);
        SmsMessage m;
        TestDialog d(m);
        d.pickerResult = IDOK;
        d.pickedName = u"Ann Lee";
        d.pickedPhone = U16(phone);
        RunAndAct(d, [&] {
            d.SendCommand(MessageDialog::kIdName);
            QCOMPARE(d.pickerRuns, 1);
            QCOMPARE(d.NameCombo()->currentText(), QStringLiteral("Ann Lee"));
            QCOMPARE(d.NumberCombo()->currentText(), number);
        });
    }

    void cancelledPickerChangesNothing() {
        SmsMessage m;
        m.name = u"Bob";
        TestDialog d(m);
        d.pickerResult = IDCANCEL;
        d.pickedName = u"Ann";
        d.pickedPhone = u"1";
        RunAndAct(d, [&] {
            d.SendCommand(MessageDialog::kIdName);
            QCOMPARE(d.pickerRuns, 1);
            QCOMPARE(d.NameCombo()->currentText(), QStringLiteral("Bob"));
            QCOMPARE(d.NumberCombo()->currentText(), QString());
        });
    }

    void nameButtonIsInactiveInReadMode() {
        SmsMessage m = MakeMessage(kFolderInbox, u"Ann", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1));
        TestDialog d(m);
        RunAndAct(d, [&] { d.SendCommand(MessageDialog::kIdName); });
        QCOMPARE(d.pickerRuns, 0);
    }

    // --- menu ----------------------------------------------------------------------------

    void menuBarHasEditAndSettings() {
        SmsMessage m;
        TestDialog d(m);
        RunAndAct(d, [&] {
            QMenu* edit = d.Bar()->PopupOf(kIdEditMenu);
            QVERIFY(edit != nullptr);
            QStringList labels;
            for (QAction* a : edit->actions()) labels << (a->isSeparator() ? "-" : a->text());
            QCOMPARE(labels, (QStringList{"Cut", "Copy", "Paste", "Clear", "-", "Select All"}));
            d.SendCommand(MessageDialog::kCmdConnection);
            d.SendCommand(MessageDialog::kCmdPreferences);
            QCOMPARE(d.connectionRuns, 1);
            QCOMPARE(d.preferencesRuns, 1);
        });
    }

    void editCommandsActOnTheText() {
        SmsMessage m;
        m.number = u"+1";
        m.text = u"hello";
        TestDialog d(m);
        RunAndAct(d, [&] {
            d.TextEdit()->setFocus();
            d.SendCommand(kIdEditSelectAll);
            QCOMPARE(d.TextEdit()->textCursor().selectedText(), QStringLiteral("hello"));
            d.SendCommand(kIdEditCopy);
            QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("hello"));
            d.SendCommand(kIdEditClear);
            QCOMPARE(d.TextEdit()->toPlainText(), QString());
            QCOMPARE(d.Counter()->text(), QStringLiteral("0/160"));
            d.SendCommand(kIdEditPaste);
            d.SendCommand(kIdEditPaste);
            QCOMPARE(d.TextEdit()->toPlainText(), QStringLiteral("hellohello"));
            d.SendCommand(kIdEditSelectAll);
            d.SendCommand(kIdEditCut);
            QCOMPARE(d.TextEdit()->toPlainText(), QString());
            QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("hellohello"));
        });
    }

    void readOnlyFieldsOnlyCopy() {
        SmsMessage m = MakeMessage(kFolderInbox, u"Ann", u"+1", u"Hi", MakeTime(2024, 1, 1, 1, 1));
        TestDialog d(m);
        RunAndAct(d, [&] {
            auto* name = d.ControlAs<QLineEdit>(MessageDialog::kIdNameField);
            QTRY_COMPARE(QApplication::focusWidget(), d.Control(IDOK));
            name->setFocus();
            QTRY_COMPARE(QApplication::focusWidget(), static_cast<QWidget*>(name));
            QApplication::clipboard()->setText(QStringLiteral("pasted"));
            d.SendCommand(kIdEditPaste);
            QCOMPARE(name->text(), QStringLiteral("Ann"));
            d.SendCommand(kIdEditSelectAll);
            d.SendCommand(kIdEditCut);
            QCOMPARE(name->text(), QStringLiteral("Ann"));
            QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("pasted"));
            d.SendCommand(kIdEditCopy);
            QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("Ann"));
            d.SendCommand(kIdEditClear);
            QCOMPARE(name->text(), QStringLiteral("Ann"));
        });
    }

    void layoutFollowsTheSize() {
        SmsMessage m;
        TestDialog d(m);
        RunAndAct(d, [&] {
            d.resize(400, 600);
            QTRY_COMPARE(d.width(), 400);
            const QSize client = d.ClientSize();
            QWidget* cancel = d.Control(IDCANCEL);
            // The text field takes the extra height; the buttons stay inside the client area.
            QVERIFY(cancel->geometry().bottom() <= client.height());
            QVERIFY(cancel->geometry().right() <= client.width());
            QVERIFY(d.TextEdit()->height() > client.height() / 3);
            QVERIFY(d.NumberCombo()->geometry().right() > client.width() * 3 / 4);
        });
    }

  private:
    std::unique_ptr<TempEnvironment> env_;
};

QTEST_MAIN(MessageDialogTest)
#include "message_dialog_test.moc"
