// SPDX-License-Identifier: GPL-3.0-or-later
// New messages find the person: the automatic check against the simulated phone, desktop
// notifications on a private session bus with a notification service written for the test,
// the unread count in the title, and names for known numbers in the list, the read dialog and
// the notifications.
#include <QDBusConnection>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>
#include <fstream>
#include <functional>
#include <memory>

#include "common/text_convert.h"
#include "framework/ui/ui_fonts.h"
#include "list_test_support.h"
#include "message_ui/ui/contact_names_cache.h"
#include "message_ui/ui/contact_picker_dialog.h"
#include "message_ui/ui/message_dialog.h"
#include "notification_server.h"
#include "phone_sim_process.h"
#include "settings/settings_key.h"
#include "shell/ui/background_check.h"
#include "shell/ui/desktop_notifier.h"
#include "shell/ui/message_list_model.h"
#include "shell/ui/message_list_view.h"
#include "shell/ui/message_row_delegate.h"
#include "shell/ui/progress_dialog.h"
#include "store/transfer_lock.h"

namespace {

// A minute of the automatic check's timer, in the tests.
constexpr int kTestMinuteMs = 100;
constexpr int kWaitMs = 30000;

class TestList : public ShownHook<MessageListView> {
  public:
    std::vector<Oid> opened;  // the messages the read dialog was opened on
    std::function<void(SmsMessage&)> inDialog;
    // Null: the program's own notifier on the session bus.
    std::function<DesktopNotifier*(QObject*)> notifierFactory;
    bool realProgressDialog = false;

  protected:
    int RunMessageDialog(SmsMessage& m) override {
        opened.push_back(m.oid);
        if (inDialog) inDialog(m);
        return IDCANCEL;
    }
    DesktopNotifier* CreateNotifier() override {
        return notifierFactory ? notifierFactory(this) : MessageListView::CreateNotifier();
    }
    std::unique_ptr<ProgressDialog> CreateProgressDialog() override {
        auto dialog = std::make_unique<ProgressDialog>();
        dialog->SetCloseDelay(0);
        return dialog;
    }
    bool HasCommandLine() const override { return false; }
    void UpdateContactsAddIn() override {}
};

int RunList(TestList& list, const std::function<void()>& body) {
    return RunPageWith<MessageListView>(list, body);
}

void SetNumber(const char16_t* name, std::uint32_t value) {
    RegistryKey key;
    QVERIFY(OpenSettings(key));
    QCOMPARE(key.WriteDword(name, value), kRegSuccess);
}

void UseAddress(const std::string& address) {
    RegistryKey key;
    QVERIFY(OpenSettings(key));
    QCOMPARE(SetCommPort(key, u"TCP"), kRegSuccess);
    QCOMPARE(SetTcpAddress(key, Utf8ToUtf16(address)), kRegSuccess);
}

void UseContactsFolder(const QString& folder) {
    RegistryKey key;
    QVERIFY(OpenSettings(key));
    QCOMPARE(key.WriteString(kValueContacts, folder.toStdU16String()), kRegSuccess);
}

void WriteFile(const QString& path, const std::string& text) {
    std::ofstream(path.toStdString(), std::ios::binary | std::ios::trunc) << text;
}

std::string Card(const std::string& name, const std::string& tel) {
    return "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:" + name + "\r\n" + tel + "\r\nEND:VCARD\r\n";
}

Oid AddInbox(const std::u16string& name, const std::u16string& number, const std::u16string& text,
             std::uint32_t flags = kFlagUnread) {
    return StoreMessage(
        MakeMessage(kFolderInbox, name, number, text, MakeTime(2024, 5, 10, 9, 0), flags));
}

Oid AddOutbox(const std::u16string& number, const std::u16string& text) {
    return StoreMessage(MakeMessage(kFolderOutbox, u"", number, text, 0, 0));
}

// An address where nothing listens: a port taken and closed again.
std::string ClosedAddress() {
    QTcpServer server;
    if (!server.listen(QHostAddress::LocalHost)) return "127.0.0.1:1";
    const quint16 port = server.serverPort();
    server.close();
    return "127.0.0.1:" + std::to_string(port);
}

// The name and number fields of the read dialog on `message`.
QStringList ReadFields(SmsMessage& message) {
    MessageDialog dialog(message);
    QStringList fields;
    QTimer::singleShot(0, &dialog, [&] {
        fields << dialog.ControlAs<QLineEdit>(MessageDialog::kIdNameField)->text()
               << dialog.ControlAs<QLineEdit>(MessageDialog::kIdNumberField)->text();
        dialog.EndDialog(IDCANCEL);
    });
    dialog.RunPage(nullptr);
    return fields;
}

}  // namespace

class NewMessagesTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        CreateUiFonts();
    }

    void init() {
        env = std::make_unique<TempEnvironment>();
        QVERIFY(env->IsValid());
        QVERIFY(contacts.isValid());
        UseContactsFolder(contacts.path());
        ContactNamesCache::Instance().Reset();
        frame = new TestFrame;
        frame->resize(360, 560);
        frame->show();
        FrameWindowBase::SetInstance(frame);
    }
    void cleanup() {
        FrameWindowBase::SetInstance(nullptr);
        delete frame;
        frame = nullptr;
        ContactNamesCache::Instance().Reset();
        for (const QString& f : QDir(contacts.path()).entryList(QDir::Files)) {
            QFile::remove(contacts.filePath(f));
        }
        env.reset();
    }

    // --- the automatic check -----------------------------------------------------------

    void offByDefault() {
        TestList list;
        RunList(list, [&] {
            QCOMPARE(list.Check()->IntervalMinutes(), 0u);
            QVERIFY(!list.Check()->TimerActive());
            QVERIFY(list.CheckLine()->isHidden());
        });
    }

    void newMessagesAppearWithoutAClickAndTheSelectionStays() {
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "SM:+4930111111:Hello there"});
        QVERIFY(sim.Ok());
        UseAddress(sim.Address());
        const Oid old = AddInbox(u"Old", u"+4930999999", u"Already here", 0);
        SetNumber(kValueCheckEvery, 1);
        BoxCapture boxes;
        TestList list;
        RunList(list, [&] {
            // The interval was read from the settings at start.
            QCOMPARE(list.Check()->IntervalMinutes(), 1u);
            QVERIFY(list.Check()->TimerActive());
            list.Check()->SetMinuteLength(kTestMinuteMs);
            QCOMPARE(list.Check()->TimerInterval(), kTestMinuteMs);
            QCOMPARE(list.Model()->rowCount(), 1);
            list.List()->selectionModel()->setCurrentIndex(list.Model()->index(0, 0),
                                                           QItemSelectionModel::ClearAndSelect);
            QSignalSpy started(list.Check(), &BackgroundCheck::started);
            QSignalSpy finished(list.Check(), &BackgroundCheck::finished);
            // Nobody clicks: the timer starts the check.
            QTRY_COMPARE_WITH_TIMEOUT(started.count() >= 1, true, kWaitMs);
            // One round is enough here; the one under way goes on.
            list.Check()->SetIntervalMinutes(0);
            QVERIFY(list.Check()->IsRunning());
            QCOMPARE(list.CheckLine()->text(), QString("Checking..."));
            QVERIFY(!list.CheckLine()->isHidden());
            QTRY_COMPARE_WITH_TIMEOUT(finished.count() >= 1, true, kWaitMs);
            QCOMPARE(list.Model()->rowCount(), 2);
            QCOMPARE(list.Model()->MessageAt(0)->text, std::u16string(u"Hello there"));
            // The message selected before the reload is selected after it.
            QCOMPARE(list.SelectedRows(), std::vector<int>{1});
            QCOMPARE(list.Model()->OidAt(1), old);
            // Success leaves no line.
            QVERIFY(list.CheckLine()->isHidden());
            QCOMPARE(started.count(), 1);
        });
        QVERIFY(boxes.boxes.empty());
    }

    void aFailingPhoneShowsTheLineOnceAndNoBoxAndTheNextCheckTriesAgain() {
        UseAddress(ClosedAddress());
        BoxCapture boxes;
        TestList list;
        RunList(list, [&] {
            QSignalSpy finished(list.Check(), &BackgroundCheck::finished);
            QVERIFY(list.Check()->CheckNow());
            QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, kWaitMs);
            QCOMPARE(finished.at(0).at(0).value<TransferError>(), kErrConnection);
            QCOMPARE(list.CheckLine()->text(), TransferErrorText(kErrConnection));
            QVERIFY(!list.CheckLine()->isHidden());
            // The rows make room for the line.
            QVERIFY(list.List()->geometry().top() >= list.CheckLine()->geometry().bottom());
            QVERIFY(list.Check()->CheckNow());
            QCOMPARE(list.CheckLine()->text(), QString("Checking..."));
            QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 2, kWaitMs);
            QCOMPARE(list.CheckLine()->text(), TransferErrorText(kErrConnection));
        });
        QVERIFY(boxes.boxes.empty());
    }

    void noCheckStartsWhileADialogIsOpenOverTheList() {
        UseAddress(ClosedAddress());
        const Oid oid = AddInbox(u"Anna", u"+4930111111", u"Hi");
        BoxCapture boxes;
        TestList list;
        bool triedInDialog = false;
        list.inDialog = [&](SmsMessage&) {
            QVERIFY(!list.MayCheckNow());
            triedInDialog = !list.Check()->CheckNow();
        };
        RunList(list, [&] {
            QVERIFY(list.MayCheckNow());
            list.List()->selectionModel()->setCurrentIndex(list.Model()->index(0, 0),
                                                           QItemSelectionModel::ClearAndSelect);
            QTest::keyClick(list.List(), Qt::Key_Return);
            QCOMPARE(list.opened, std::vector<Oid>{oid});
            QVERIFY(triedInDialog);
            QVERIFY(!list.Check()->IsRunning());
            // A box of the program over the list.
            QMessageBox box(&list);
            box.setWindowModality(Qt::ApplicationModal);
            box.show();
            QTRY_VERIFY(QApplication::activeModalWidget() != nullptr);
            QVERIFY(!list.Check()->CheckNow());
            box.close();
            QTRY_VERIFY(QApplication::activeModalWidget() == nullptr);
            // Back on the list, the check may run.
            QVERIFY(list.MayCheckNow());
        });
    }

    void theOutboxGoesOnlyWithCheckSend() {
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent"});
        QVERIFY(sim.Ok());
        UseAddress(sim.Address());
        AddOutbox(u"+4930123456", u"Waiting");
        TestList list;
        RunList(list, [&] {
            QSignalSpy finished(list.Check(), &BackgroundCheck::finished);
            QVERIFY(list.Check()->CheckNow());
            QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, kWaitMs);
            QCOMPARE(finished.at(0).at(0).value<TransferError>(), kErrNone);
            QCOMPARE(CountInFolder(kFolderOutbox), 1u);
            QCOMPARE(CountInFolder(kFolderSent), 0u);

            SetNumber(kValueCheckSend, 1);
            QVERIFY(list.Check()->CheckNow());
            QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 2, kWaitMs);
            QCOMPARE(CountInFolder(kFolderOutbox), 0u);
            QCOMPARE(CountInFolder(kFolderSent), 1u);
        });
    }

    void aCheckThatMeetsAnotherTransferSaysNothing() {
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {});
        QVERIFY(sim.Ok());
        UseAddress(sim.Address());
        TransferLock other;
        std::string error;
        QCOMPARE(other.TryTake(&error), TransferLock::Outcome::kTaken);
        BoxCapture boxes;
        TestList list;
        RunList(list, [&] {
            QSignalSpy finished(list.Check(), &BackgroundCheck::finished);
            QVERIFY(list.Check()->CheckNow());
            QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, kWaitMs);
            QCOMPARE(finished.at(0).at(0).value<TransferError>(), kErrBusy);
            QVERIFY(list.CheckLine()->isHidden());
        });
        QVERIFY(boxes.boxes.empty());
    }

    void aNewIntervalFromPreferencesIsUsed() {
        TestList list;
        RunList(list, [&] {
            list.Check()->SetMinuteLength(kTestMinuteMs);
            SetNumber(kValueCheckEvery, 5);
            list.ApplyNewMessageOptions();
            QVERIFY(list.Check()->TimerActive());
            QCOMPARE(list.Check()->TimerInterval(), 5 * kTestMinuteMs);
            SetNumber(kValueCheckEvery, 0);
            list.ApplyNewMessageOptions();
            QVERIFY(!list.Check()->TimerActive());
        });
    }

    // --- notifications -------------------------------------------------------------------

    void eachNewMessageOfAnAutomaticCheckIsAnnounced() {
        if (!PrivateBus::DaemonInstalled()) QSKIP("dbus-daemon is not installed");
        PrivateBus bus;
        QVERIFY(bus.Ok());
        NotificationServer server;
        QVERIFY(server.Register(bus.Connect("server")));
        WriteFile(contacts.filePath("people.vcf"),
                  Card("Bea Contact", "TEL;TYPE=WORK:030 2222222"));
        SetNumber(kValueNotify, 1);
        SetNumber(kValueContactNames, 1);
        PhoneSimProcess sim(PhoneSimProcess::kTcp,
                            {"--sms", "SM:+4930111111:First line\nsecond line", "--sms",
                             "SM:+49302222222:From a contact"});
        QVERIFY(sim.Ok());
        UseAddress(sim.Address());
        TestList list;
        list.notifierFactory = [&](QObject* parent) {
            return new DesktopNotifier(bus.Connect("client"), parent);
        };
        RunList(list, [&] {
            QVERIFY(list.Check()->CheckNow());
            QTRY_COMPARE_WITH_TIMEOUT(server.calls.size(), std::size_t(2), kWaitMs);
            const NotifyCall& first = server.calls[0];
            QCOMPARE(first.appName, QString("Velkan Tessiver"));
            QCOMPARE(first.appIcon, QString("velkan-tessiver"));
            QCOMPARE(first.summary, QString("+4930111111"));
            QCOMPARE(first.body, QString("First line"));
            QCOMPARE(first.actions, QStringList({"open", "Open"}));
            QCOMPARE(first.replacesId, 0u);
            // The number of a contact shows the contact's name.
            QCOMPARE(server.calls[1].summary, QString("Bea Contact"));
            QCOMPARE(server.calls[1].body, QString("From a contact"));
            QCOMPARE(list.Notifier()->Shown().size(), 2);
        });
    }

    void theGetButtonAnnouncesToo() {
        if (!PrivateBus::DaemonInstalled()) QSKIP("dbus-daemon is not installed");
        PrivateBus bus;
        QVERIFY(bus.Ok());
        NotificationServer server;
        QVERIFY(server.Register(bus.Connect("server")));
        SetNumber(kValueNotify, 1);
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "ME:+4930333333:By the button"});
        QVERIFY(sim.Ok());
        UseAddress(sim.Address());
        BoxCapture boxes;
        TestList list;
        list.notifierFactory = [&](QObject* parent) {
            return new DesktopNotifier(bus.Connect("client"), parent);
        };
        RunList(list, [&] {
            list.SendCommand(MessageListView::kGetId);
            QTRY_COMPARE_WITH_TIMEOUT(server.calls.size(), std::size_t(1), kWaitMs);
            QCOMPARE(server.calls[0].summary, QString("+4930333333"));
            QCOMPARE(server.calls[0].body, QString("By the button"));
        });
        QVERIFY(boxes.boxes.empty());
    }

    void moreThanThreeBecomeOneAndOpenShowsTheMessage() {
        if (!PrivateBus::DaemonInstalled()) QSKIP("dbus-daemon is not installed");
        PrivateBus bus;
        QVERIFY(bus.Ok());
        NotificationServer server;
        QVERIFY(server.Register(bus.Connect("server")));
        SetNumber(kValueNotify, 1);
        std::vector<Oid> four;
        for (int i = 0; i < 4; ++i) {
            four.push_back(AddInbox(u"", u"+49301", u"Text " + Utf8ToUtf16(std::to_string(i))));
        }
        const Oid named = AddInbox(u"Carl", u"+49302", u"Open me");
        TestList list;
        list.notifierFactory = [&](QObject* parent) {
            return new DesktopNotifier(bus.Connect("client"), parent);
        };
        RunList(list, [&] {
            QCOMPARE(list.Notifier()->Announce(list.Database(), four), 1);
            QTRY_COMPARE_WITH_TIMEOUT(server.calls.size(), std::size_t(1), kWaitMs);
            QCOMPARE(server.calls[0].summary, QString("4 new messages"));
            QCOMPARE(list.Notifier()->Announce(list.Database(), {four[0], four[1], named}), 3);
            QTRY_COMPARE_WITH_TIMEOUT(server.calls.size(), std::size_t(4), kWaitMs);
            QCOMPARE(server.calls[3].summary, QString("Carl"));
            QTRY_COMPARE_WITH_TIMEOUT(list.Notifier()->Shown().size(), 4, kWaitMs);

            // "Open" on Carl's notification opens his message in the read dialog.
            server.Invoke(server.calls[3].id, "open");
            QTRY_COMPARE_WITH_TIMEOUT(list.opened.size(), std::size_t(1), kWaitMs);
            QCOMPARE(list.opened[0], named);
            // Another action key, or a closed notification, opens nothing.
            server.Invoke(server.calls[1].id, "other");
            server.Close(server.calls[2].id);
            QTRY_COMPARE_WITH_TIMEOUT(list.Notifier()->Shown().size(), 3, kWaitMs);
            server.Invoke(server.calls[2].id, "open");
            // Wait on something that does arrive after those signals: a last Open.
            server.Invoke(server.calls[1].id, "open");
            QTRY_COMPARE_WITH_TIMEOUT(list.opened.size(), std::size_t(2), kWaitMs);
            QCOMPARE(list.opened[1], four[0]);
            // "Open" on the one that stands for several shows the Inbox, and opens no message.
            list.SwitchFolder(kFolderSent);
            server.Invoke(server.calls[0].id, "open");
            QTRY_COMPARE_WITH_TIMEOUT(list.CurrentFolder(), FolderId(kFolderInbox), kWaitMs);
            QCOMPARE(list.opened.size(), std::size_t(2));
        });
    }

    void withoutTheServiceOrWithNotifyOffNothingHappens() {
        if (!PrivateBus::DaemonInstalled()) QSKIP("dbus-daemon is not installed");
        PrivateBus bus;
        QVERIFY(bus.Ok());
        const Oid oid = AddInbox(u"", u"+49301", u"Text");
        static QStringList logged;
        logged.clear();
        const QtMessageHandler previous = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { logged << text; });
        {
            DesktopNotifier notifier(bus.Connect("client"));
            // Off by default.
            QCOMPARE(notifier.Announce(*std::make_unique<MessageDatabase>(), {oid}), 0);
            SetNumber(kValueNotify, 1);
            MessageDatabase db;
            QVERIFY(OpenMessageStore(db));
            // On, but no service on the bus.
            QCOMPARE(notifier.Announce(db, {oid}), 0);
            // No bus at all.
            DesktopNotifier nowhere(QDBusConnection(QStringLiteral("no such connection")));
            QCOMPARE(nowhere.Announce(db, {oid}), 0);
            // And with the service there, Notify off again: nothing.
            NotificationServer server;
            QVERIFY(server.Register(bus.Connect("server")));
            SetNumber(kValueNotify, 0);
            QCOMPARE(notifier.Announce(db, {oid}), 0);
            SetNumber(kValueNotify, 1);
            QCOMPARE(notifier.Announce(db, {oid}), 1);
            QTRY_COMPARE_WITH_TIMEOUT(server.calls.size(), std::size_t(1), kWaitMs);
        }
        qInstallMessageHandler(previous);
        QVERIFY2(logged.isEmpty(), qPrintable(logged.join('\n')));
    }

    void theTitleShowsTheUnreadCountWithNotifyOn() {
        AddInbox(u"A", u"+1", u"one");
        AddInbox(u"B", u"+2", u"two");
        AddInbox(u"C", u"+3", u"read", 0);
        BoxCapture boxes(IDYES);
        TestList list;
        RunList(list, [&] {
            QCOMPARE(frame->windowTitle(), QString("Velkan Tessiver"));
            SetNumber(kValueNotify, 1);
            list.ApplyNewMessageOptions();
            QCOMPARE(frame->windowTitle(), QString("Velkan Tessiver (2)"));
            AddInbox(u"D", u"+4", u"three");
            list.Reload();
            QCOMPARE(frame->windowTitle(), QString("Velkan Tessiver (3)"));
            // Deleting an unread message takes it from the count.
            list.List()->selectionModel()->setCurrentIndex(list.Model()->index(0, 0),
                                                           QItemSelectionModel::ClearAndSelect);
            QCOMPARE(list.Model()->MessageAt(0)->text, std::u16string(u"three"));
            list.SendCommand(MessageListView::kCmdDelete);
            QCOMPARE(boxes.boxes.size(), std::size_t(1));
            QCOMPARE(frame->windowTitle(), QString("Velkan Tessiver (2)"));
            SetNumber(kValueNotify, 0);
            list.ApplyNewMessageOptions();
            QCOMPARE(frame->windowTitle(), QString("Velkan Tessiver"));
        });
    }

    void aCheckThatEndsUnderAPageReloadsWhenTheListShowsAgain() {
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "SM:+4930111111:Arrived"});
        QVERIFY(sim.Ok());
        UseAddress(sim.Address());
        TestList list;
        RunList(list, [&] {
            QSignalSpy finished(list.Check(), &BackgroundCheck::finished);
            QVERIFY(list.Check()->CheckNow());
            // A page comes over the list while the check runs, as the read dialog does.
            list.hide();
            QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, kWaitMs);
            QCOMPARE(CountInFolder(kFolderInbox), 1u);
            QCOMPARE(list.Model()->rowCount(), 0);
            // The page ends: its runner shows the list and refreshes it.
            list.show();
            list.Refresh();
            QCOMPARE(list.Model()->rowCount(), 1);
        });
    }

    // --- names for known numbers ---------------------------------------------------------

    void contactNamesAreOffByDefaultAndShownWhenOn() {
        WriteFile(contacts.filePath("a.vcf"),
                  Card("Anna Contact", "TEL;TYPE=CELL:+49 171 1234567"));
        const Oid unnamed = AddInbox(u"", u"01711234567", u"Who is this?");
        AddInbox(u"Own Name", u"+491711234567", u"Named");
        TestList list;
        RunList(list, [&] {
            QVERIFY(!list.Delegate()->ContactNames());
            const TextBuffer today = list.Delegate()->Today();
            const int row = list.Model()->RowOf(unnamed);
            QCOMPARE(
                MakeRowTexts(*list.Model()->MessageAt(row), today, list.Delegate()->ContactNames())
                    .sender,
                QString("01711234567"));
            SetNumber(kValueContactNames, 1);
            list.ApplyNewMessageOptions();
            QVERIFY(static_cast<bool>(list.Delegate()->ContactNames()));
            QCOMPARE(
                MakeRowTexts(*list.Model()->MessageAt(row), today, list.Delegate()->ContactNames())
                    .sender,
                QString("Anna Contact"));
            // A message's own name stays.
            const int named = row == 0 ? 1 : 0;
            QCOMPARE(MakeRowTexts(*list.Model()->MessageAt(named), today,
                                  list.Delegate()->ContactNames())
                         .sender,
                     QString("Own Name"));
        });
    }

    void theReadDialogShowsTheNameAndKeepsTheNumber() {
        WriteFile(contacts.filePath("a.vcf"), Card("Anna Contact", "TEL;TYPE=HOME:+49 30 5555555"));
        SmsMessage message = MakeMessage(kFolderInbox, u"", u"0305555555", u"Hi", 0, 0);
        QCOMPARE(ReadFields(message), QStringList({"", "0305555555"}));
        SetNumber(kValueContactNames, 1);
        QCOMPARE(ReadFields(message), QStringList({"Anna Contact", "0305555555"}));
        // The message itself keeps no name.
        QVERIFY(message.name.empty());
    }

    void aChangedContactFileIsPickedUp() {
        const QString file = contacts.filePath("people.vcf");
        WriteFile(file, Card("Old Name", "TEL;TYPE=CELL:+49 171 7654321"));
        SetNumber(kValueContactNames, 1);
        ContactNamesCache& cache = ContactNamesCache::Instance();
        cache.Sync();
        QVERIFY(cache.Find(u"+491717654321") != nullptr);
        QCOMPARE(*cache.Find(u"+491717654321"), std::u16string(u"Old Name"));
        QSignalSpy changed(&cache, &ContactNamesCache::changed);
        WriteFile(file, Card("New Name", "TEL;TYPE=CELL:+49 171 7654321"));
        QTRY_COMPARE_WITH_TIMEOUT(changed.count() >= 1, true, kWaitMs);
        QCOMPARE(*cache.Find(u"+491717654321"), std::u16string(u"New Name"));
        // A file added to the folder counts as well.
        WriteFile(contacts.filePath("more.vcf"), Card("Added", "TEL;TYPE=WORK:040 1111111"));
        QTRY_COMPARE_WITH_TIMEOUT(cache.Find(u"+49401111111") != nullptr, true, kWaitMs);
        QCOMPARE(*cache.Find(u"+49401111111"), std::u16string(u"Added"));
    }

  private:
    std::unique_ptr<TempEnvironment> env;
    QTemporaryDir contacts;
    TestFrame* frame = nullptr;
};

QTEST_MAIN(NewMessagesTest)
#include "new_messages_test.moc"
