// SPDX-License-Identifier: GPL-3.0-or-later
// The message list with the real compose dialog: New opens it in compose mode and stores what
// it returns, a "/smsto:" command line (at start or handed over by a second start) opens it
// filled, its Send runs a send-only transfer through the list's progress dialog, and an opened
// message is shown in read mode.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeView>
#include <QtTest>
#include <functional>
#include <memory>

#include "dialog_watch.h"
#include "list_test_support.h"
#include "message_ui/ui/contact_picker_dialog.h"
#include "message_ui/ui/message_dialog.h"
#include "message_ui/ui/message_text_edit.h"
#include "message_ui/ui/recent_combo_box.h"
#include "settings/settings_key.h"
#include "shell/smsto.h"
#include "shell/ui/main_window.h"
#include "shell/ui/message_list_model.h"
#include "shell/ui/message_list_view.h"
#include "shell/ui/progress_dialog.h"

namespace {

// The list as the program runs it, except that the command line and the transfer are the
// test's.
class WiredList : public ShownHook<MessageListView> {
  public:
    bool commandLine = false;
    bool commandLineFromFrame = false;
    std::u16string commandNumber, commandName;
    std::function<std::unique_ptr<ProgressDialog>()> progressFactory;

  protected:
    bool HasCommandLine() const override { return commandLine; }
    bool CommandLineRecipient(SmsMessage& m) override {
        if (commandLineFromFrame) {
            // As the program reads it: the frame's last command line, parsed.
            const MainWindow* frame = MainWindow::Instance();
            TextBuffer number, name;
            if (frame == nullptr || !ParseSmsTo(frame->CommandLine(), number, name)) return false;
            m.number = number.ToU16();
            m.name = name.ToU16();
            return true;
        }
        m.number = commandNumber;
        m.name = commandName;
        return true;
    }
    std::unique_ptr<ProgressDialog> CreateProgressDialog() override {
        return progressFactory ? progressFactory() : nullptr;
    }
};

int RunList(WiredList& list, const std::function<void()>& body) {
    return RunPageWith<MessageListView>(list, body);
}

}  // namespace

class ComposeWiringTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        env_ = std::make_unique<TempEnvironment>();
        QVERIFY(env_->IsValid());
    }
    void cleanup() { env_.reset(); }

    void newOpensComposeAndTheDraftIsStored() {
        WiredList list;
        bool seen = false;
        bool composing = false;
        RunList(list, [&] {
            WhenDialogOpen(
                &list,
                [&](MessageDialog* d) {
                    composing = !d->IsReadOnly();
                    d->NumberCombo()->setEditText(QStringLiteral("+49 171"));
                    d->TextEdit()->SetWindowText(u"Hello");
                    d->SendCommand(MessageDialog::kIdDraft);
                },
                &seen);
            list.SendCommand(MessageListView::kCmdNew);
        });
        QVERIFY(seen);
        QVERIFY(composing);
        QCOMPARE(CountInFolder(kFolderDraft), 1u);
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        db.folderFilter = kFolderDraft;
        SmsMessage stored;
        QVERIFY(ReadFirst(db, stored));
        QCOMPARE(stored.number, std::u16string(u"+49171"));
        QCOMPARE(stored.text, std::u16string(u"Hello"));
    }

    void commandLineOpensComposeFilled() {
        WiredList list;
        list.commandLine = true;
        list.commandNumber = u"+4917";
        list.commandName = u"Ann";
        bool seen = false;
        QString name, number;
        bool composing = false;
        RunList(list, [&] {
            WhenDialogOpen(
                &list,
                [&](MessageDialog* d) {
                    composing = !d->IsReadOnly();
                    name = d->NameCombo()->currentText();
                    number = d->NumberCombo()->currentText();
                    d->SendCommand(IDCANCEL);
                },
                &seen);
        });
        QVERIFY(seen);
        QVERIFY(composing);
        QCOMPARE(name, QStringLiteral("Ann"));
        QCOMPARE(number, QStringLiteral("+4917"));
        QCOMPARE(CountInFolder(kFolderDraft), 0u);
    }

    void handedOverCommandLineOpensComposeFilled() {
        MainWindow frame;
        frame.resize(360, 560);
        frame.show();
        WiredList list;
        list.commandLineFromFrame = true;
        frame.SetRunningList(&list);
        bool seen = false;
        QString name, number;
        RunList(list, [&] {
            WhenDialogOpen(
                &list,
                [&](MessageDialog* d) {
                    name = d->NameCombo()->currentText();
                    number = d->NumberCombo()->currentText();
                    d->SendCommand(IDCANCEL);
                },
                &seen);
            const std::u16string line = u"/smsto:+4917?Ann";
            QCOMPARE(frame.OnCopyData(0, line.c_str(),
                                      static_cast<std::uint32_t>((line.size() + 1) * 2)),
                     1u);
            // The list takes the command line from its own message loop.
            QTRY_VERIFY(seen);
        });
        frame.SetRunningList(nullptr);
        QVERIFY(seen);
        QCOMPARE(name, QStringLiteral("Ann"));
        QCOMPARE(number, QStringLiteral("+4917"));
    }

    void sendRunsASendOnlyTransferAndTheMessageIsStored() {
        WiredList list;
        ScriptedSession session;
        session.script = {{0x8003, 3104}, {0x8004, 1}, {0x8002}};
        std::atomic<bool> sendOnly{false};
        session.work = [&] { sendOnly = session.IsSendOnly(); };
        int progressRuns = 0;
        list.progressFactory = [&] {
            ++progressRuns;
            auto d = std::make_unique<ProgressDialog>(&session);
            d->SetCloseDelay(1);
            return d;
        };
        bool seen = false;
        RunList(list, [&] {
            WhenDialogOpen(
                &list,
                [&](MessageDialog* d) {
                    d->NumberCombo()->setEditText(QStringLiteral("+1"));
                    d->TextEdit()->SetWindowText(u"Now");
                    d->SendCommand(MessageDialog::kIdSend);
                },
                &seen);
            list.SendCommand(MessageListView::kCmdNew);
        });
        QVERIFY(seen);
        QCOMPARE(progressRuns, 1);
        QVERIFY(sendOnly);
        QCOMPARE(CountInFolder(kFolderSent), 1u);
        QCOMPARE(CountInFolder(kFolderDraft), 0u);
    }

    void failedSendKeepsComposing() {
        BoxCapture boxes;
        WiredList list;
        ScriptedSession session;
        session.script = {{0x8003, 3104}};
        session.finalResult = kErrTimeout;
        list.progressFactory = [&] { return std::make_unique<ProgressDialog>(&session); };
        bool seen = false;
        bool stillOpen = false;
        RunList(list, [&] {
            WhenDialogOpen(
                &list,
                [&](MessageDialog* d) {
                    d->NumberCombo()->setEditText(QStringLiteral("+1"));
                    d->TextEdit()->SetWindowText(u"Now");
                    d->SendCommand(MessageDialog::kIdSend);
                    stillOpen = d->Result() == kStillOpen;
                },
                &seen);
            list.SendCommand(MessageListView::kCmdNew);
        });
        QVERIFY(seen);
        QVERIFY(stillOpen);
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        QCOMPARE(CountInFolder(kFolderSent), 0u);
    }

    void aMarkedOutboxMessageIsSentAgainFromItsDialogAndMovesToSent() {
        const Oid marked =
            StoreMessage(MakeMessage(kFolderOutbox, u"Ann", u"+1", u"maybe out",
                                     MakeTime(2024, 1, 1, 1, 1), kFlagMayHaveBeenSent));
        QVERIFY(marked != 0);
        WiredList list;
        ScriptedSession session;
        session.script = {{0x8003, 3104}, {0x8004, 1}, {0x8002}};
        std::atomic<bool> sendOnly{false};
        session.work = [&] { sendOnly = session.IsSendOnly(); };
        list.progressFactory = [&] {
            auto d = std::make_unique<ProgressDialog>(&session);
            d->SetCloseDelay(1);
            return d;
        };
        bool seen = false, offered = false;
        RunList(list, [&] {
            list.SwitchFolder(kFolderOutbox);
            WhenDialogOpen(
                &list,
                [&](MessageDialog* d) {
                    QWidget* sendAgain = d->Control(MessageDialog::kIdSendAgain);
                    offered = sendAgain != nullptr && sendAgain->isVisibleTo(d);
                    d->SendCommand(MessageDialog::kIdSendAgain);
                },
                &seen);
            list.List()->setCurrentIndex(list.Model()->index(0, 0));
            emit list.List()->openKeyPressed();
        });
        QVERIFY(seen);
        QVERIFY(offered);
        QCOMPARE(session.runs.load(), 1);
        QVERIFY(sendOnly);
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        SmsMessage stored;
        stored.oid = marked;
        QVERIFY(ReadById(db, stored));
        QCOMPARE(stored.folder, kFolderSent);
        QCOMPARE(stored.flags, 0u);
        QCOMPARE(CountInFolder(kFolderOutbox), 0u);
        QCOMPARE(CountInFolder(kFolderSent), 1u);
    }

    void pickedContactOpensComposeToIt() {
        QTemporaryDir contacts;
        {
            QFile card(contacts.filePath(QStringLiteral("ann.vcf")));
            QVERIFY(card.open(QIODevice::WriteOnly));
            card.write(
                "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann Lee\r\n"
                "TEL;TYPE=CELL:+44 77 12\r\nEND:VCARD\r\n");
        }
        {
            RegistryKey key;
            QVERIFY(OpenSettings(key));
            key.WriteString(kValueContacts, contacts.path().toStdU16String());
        }
        WiredList list;
        bool pickerSeen = false, dialogSeen = false;
        QString name, number;
        RunList(list, [&] {
            WhenDialogOpen<ContactPickerDialog>(
                &list,
                [&](ContactPickerDialog* picker) {
                    // The dialog follows the picker; watch for it before the picker ends.
                    WhenDialogOpen(
                        &list,
                        [&](MessageDialog* d) {
                            name = d->NameCombo()->currentText();
                            number = d->NumberCombo()->currentText();
                        },
                        &dialogSeen);
                    picker->List()->setCurrentIndex(picker->List()->model()->index(0, 0));
                    picker->SendCommand(IDOK);
                },
                &pickerSeen);
            list.SendCommand(MessageListView::kCmdPickContact);
        });
        QVERIFY(pickerSeen);
        QVERIFY(dialogSeen);
        QCOMPARE(name, QStringLiteral("Ann Lee"));
        // The list passes the number on as the contact holds it.
        QCOMPARE(number, QStringLiteral("+44 77 12"));
    }

    void openedMessageIsShownInReadModeAndMarkedRead() {
        const Oid oid = StoreMessage(MakeMessage(kFolderInbox, u"Ann", u"+1", u"Hi",
                                                 MakeTime(2024, 1, 1, 1, 1), kFlagUnread));
        QVERIFY(oid != 0);
        WiredList list;
        bool seen = false;
        bool reading = false;
        RunList(list, [&] {
            WhenDialogOpen(
                &list,
                [&](MessageDialog* d) {
                    reading = d->IsReadOnly();
                    d->SendCommand(IDOK);
                },
                &seen);
            list.List()->setCurrentIndex(list.Model()->index(0, 0));
            emit list.List()->openKeyPressed();
        });
        QVERIFY(seen);
        QVERIFY(reading);
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        SmsMessage stored;
        stored.oid = oid;
        QVERIFY(ReadById(db, stored));
        QCOMPARE(stored.flags & kFlagUnread, 0u);
        QCOMPARE(CountInFolder(kFolderInbox), 1u);
    }

  private:
    std::unique_ptr<TempEnvironment> env_;
};

QTEST_MAIN(ComposeWiringTest)
#include "compose_wiring_test.moc"
