// SPDX-License-Identifier: GPL-3.0-or-later
// "Export..." and "Import..." in the message list's Options menu, with the questions answered
// by the test: what an export writes and says, what an import adds, counts and says, a damaged
// file that imports nothing and names its line, Cancel, and that an import and a transfer never
// run together.
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QFileDialog>
#include <QMenu>
#include <QProgressDialog>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <functional>
#include <memory>

#include "framework/ui/ui_fonts.h"
#include "list_test_support.h"
#include "shell/ui/message_list_model.h"
#include "shell/ui/message_list_view.h"
#include "shell/ui/progress_dialog.h"
#include "store/transfer_lock.h"

namespace {

class ExchangeList : public ShownHook<MessageListView> {
  public:
    bool exportAnswered = true;
    ExportChoice exportChoice;
    QString importPath;
    int progressDialogs = 0;
    std::function<void(QProgressDialog&)> whileImporting;

  protected:
    bool ChooseExport(ExportChoice* choice) override {
        *choice = exportChoice;
        return exportAnswered;
    }
    QString ChooseImportFile() override { return importPath; }
    void ImportRunning(QProgressDialog& progress) override {
        if (whileImporting) whileImporting(progress);
    }
    std::unique_ptr<ProgressDialog> CreateProgressDialog() override {
        ++progressDialogs;
        return nullptr;
    }
};

int RunList(ExchangeList& list, const std::function<void()>& body) {
    return RunPageWith<MessageListView>(list, body);
}

QByteArray ReadAll(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) return {};
    return f.readAll();
}

bool WriteFile(const QString& path, const QByteArray& content) {
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(content) == content.size();
}

// A phone's backup: two received messages, one sent, one MMS.
QByteArray PhoneBackup() {
    return "<?xml version='1.0' encoding='UTF-8' standalone='yes' ?>\n"
           "<smses count=\"4\">\n"
           "  <sms protocol=\"0\" address=\"+4915100001\" date=\"1714550400000\" type=\"1\" "
           "body=\"Hi &amp; welcome\" read=\"1\" contact_name=\"Anna\" />\n"
           "  <sms protocol=\"0\" address=\"+4915100002\" date=\"1714554000000\" type=\"1\" "
           "body=\"unread one\" read=\"0\" />\n"
           "  <sms protocol=\"0\" address=\"+4915100001\" date=\"1714557600000\" type=\"2\" "
           "body=\"thanks\" read=\"1\" />\n"
           "  <mms date=\"1714557600000\" msg_box=\"1\" address=\"+4915100003\" />\n"
           "</smses>\n";
}

QString Texts(const BoxCapture& boxes) {
    QStringList texts;
    for (const CapturedBox& b : boxes.boxes) texts << b.text;
    return texts.join(QStringLiteral(" | "));
}

}  // namespace

class MessageListExchangeTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        CreateUiFonts();
    }

    void init() {
        env = std::make_unique<TempEnvironment>();
        QVERIFY(env->IsValid());
        QVERIFY(files.isValid());
        clock = std::make_unique<FixedLocalTime>(SystemTime{2024, 5, 0, 10, 14, 30, 0, 0});
        frame = new TestFrame;
        frame->resize(360, 560);
        frame->show();
        FrameWindowBase::SetInstance(frame);
    }
    void cleanup() {
        FrameWindowBase::SetInstance(nullptr);
        delete frame;
        frame = nullptr;
        clock.reset();
        env.reset();
    }

    void theOptionsMenuOffersExportAndImport() {
        ExchangeList list;
        RunList(list, [&] {
            QStringList names;
            for (QAction* a : list.Bar()->PopupOf(MessageListView::kCmdOptionsMenu)->actions()) {
                if (!a->isSeparator()) names << a->objectName() + u' ' + a->text();
            }
            QVERIFY(names.contains(QStringLiteral("40081 Export...")));
            QVERIFY(names.contains(QStringLiteral("40082 Import...")));
        });
    }

    void exportWritesTheChosenFolderAndSaysWhatItWrote() {
        StoreMessage(MakeMessage(1, u"Anna", u"+491", u"one", MakeTime(2024, 5, 1, 8, 0)));
        StoreMessage(
            MakeMessage(1, u"Bob", u"+492", u"two, with a comma", MakeTime(2024, 5, 2, 8, 0)));
        StoreMessage(MakeMessage(4, u"Anna", u"+491", u"sent", MakeTime(2024, 5, 3, 8, 0)));
        ExchangeList list;
        BoxCapture boxes;
        const QString path = files.filePath(QStringLiteral("inbox.csv"));
        list.exportChoice = {ExchangeFormat::kCsv, kFolderInbox, path};
        RunList(list, [&] { list.SendCommand(MessageListView::kCmdExport); });
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        QCOMPARE(boxes.boxes[0].kind, BoxKind::Information);
        QCOMPARE(boxes.boxes[0].text, QStringLiteral("2 message(s) written to ") + path);
        const QList<QByteArray> lines = ReadAll(path).split('\n');
        QCOMPARE(lines[0], QByteArray("id,time,flags,folder,name,number,text\r"));
        QCOMPARE(lines.size(), 4);  // header, two rows, the empty rest after the last CRLF
        QVERIFY(lines[2].contains("\"two, with a comma\""));
    }

    void exportOfEveryFolderAsXml() {
        StoreMessage(MakeMessage(1, u"Anna", u"+491", u"one", MakeTime(2024, 5, 1, 8, 0)));
        StoreMessage(MakeMessage(4, u"Anna", u"+491", u"sent", MakeTime(2024, 5, 3, 8, 0)));
        StoreMessage(MakeMessage(3, u"", u"+493", u"draft", MakeTime(2024, 5, 4, 8, 0)));
        ExchangeList list;
        BoxCapture boxes;
        const QString path = files.filePath(QStringLiteral("all.xml"));
        list.exportChoice = {ExchangeFormat::kXml, kEveryFolder, path};
        RunList(list, [&] { list.SendCommand(MessageListView::kCmdExport); });
        QCOMPARE(Texts(boxes), QStringLiteral("3 message(s) written to ") + path);
        const QByteArray xml = ReadAll(path);
        QVERIFY(xml.contains("<smses count=\"3\""));
        QCOMPARE(xml.count("<sms "), 3);
    }

    void aFailedExportSaysWhyAndLeavesNoFile() {
        StoreMessage(MakeMessage(1, u"Anna", u"+491", u"one", MakeTime(2024, 5, 1, 8, 0)));
        ExchangeList list;
        BoxCapture boxes;
        const QString path = files.filePath(QStringLiteral("no/such/folder/x.json"));
        list.exportChoice = {ExchangeFormat::kJson, kFolderInbox, path};
        RunList(list, [&] { list.SendCommand(MessageListView::kCmdExport); });
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        QCOMPARE(boxes.boxes[0].kind, BoxKind::Error);
        QVERIFY2(boxes.boxes[0].text.startsWith(QStringLiteral("Nothing was exported.\n")),
                 qPrintable(boxes.boxes[0].text));
        QVERIFY(boxes.boxes[0].text.size() > QStringLiteral("Nothing was exported.\n").size());
        QVERIFY(!QFile::exists(path));
    }

    void cancelDuringAnExportLeavesNoFile() {
        StoreMessage(MakeMessage(1, u"Anna", u"+491", u"one", MakeTime(2024, 5, 1, 8, 0)));
        const QString path = files.filePath(QStringLiteral("cancelled.csv"));
        QString label;
        bool ok = true;
        const QString report = ExportWithReport(frame, {ExchangeFormat::kCsv, kFolderInbox, path},
                                                &ok, [&](QProgressDialog& progress) {
                                                    label = progress.labelText();
                                                    progress.findChild<QPushButton*>()->click();
                                                });
        QCOMPARE(label, QStringLiteral("Exporting to ") + path);
        QVERIFY(!ok);
        QCOMPARE(report, QStringLiteral("Nothing was exported.\nThe export was cancelled."));
        QVERIFY(!QFile::exists(path));
        // Without Cancel the same export is written.
        QCOMPARE(ExportWithReport(frame, {ExchangeFormat::kCsv, kFolderInbox, path}, &ok),
                 QStringLiteral("1 message(s) written to ") + path);
        QVERIFY(ok && QFile::exists(path));
    }

    void aCancelledExportWritesNothing() {
        ExchangeList list;
        BoxCapture boxes;
        list.exportAnswered = false;
        list.exportChoice = {ExchangeFormat::kCsv, kFolderInbox, files.filePath("x.csv")};
        RunList(list, [&] { list.SendCommand(MessageListView::kCmdExport); });
        QVERIFY(boxes.boxes.empty());
        QVERIFY(!QFile::exists(files.filePath("x.csv")));
    }

    void importAddsCountsSaysAndReloads() {
        const QString path = files.filePath(QStringLiteral("backup.xml"));
        QVERIFY(WriteFile(path, PhoneBackup()));
        ExchangeList list;
        BoxCapture boxes;
        list.importPath = path;
        int rowsAfter = -1;
        RunList(list, [&] {
            QCOMPARE(list.Model()->rowCount(), 0);
            list.SendCommand(MessageListView::kCmdImport);
            rowsAfter = list.Model()->rowCount();
        });
        QCOMPARE(Texts(boxes),
                 QStringLiteral("3 message(s) imported, 0 duplicate(s) skipped, 1 MMS skipped"));
        QCOMPARE(boxes.boxes[0].kind, BoxKind::Information);
        QCOMPARE(rowsAfter, 2);  // the Inbox, reloaded
        QCOMPARE(CountInFolder(kFolderInbox), 2u);
        QCOMPARE(CountInFolder(kFolderSent), 1u);

        // The same file again adds nothing.
        ExchangeList again;
        BoxCapture boxes2;
        again.importPath = path;
        RunList(again, [&] { again.SendCommand(MessageListView::kCmdImport); });
        QCOMPARE(Texts(boxes2),
                 QStringLiteral("0 message(s) imported, 3 duplicate(s) skipped, 1 MMS skipped"));
        QCOMPARE(CountInFolder(kFolderInbox), 2u);
    }

    void aDamagedFileImportsNothingAndNamesTheLine() {
        StoreMessage(MakeMessage(1, u"Anna", u"+491", u"one", MakeTime(2024, 5, 1, 8, 0)));
        const QString path = files.filePath(QStringLiteral("damaged.csv"));
        QVERIFY(WriteFile(path,
                          "id,time,flags,folder,name,number,text\r\n"
                          "1,2024-01-02 03:04:05,0,inbox,Anna,+49,Hello\r\n"
                          "2,2024-01-02 03:04:06,0,inbox,Anna,+49\r\n"));
        ExchangeList list;
        BoxCapture boxes;
        list.importPath = path;
        RunList(list, [&] { list.SendCommand(MessageListView::kCmdImport); });
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        QCOMPARE(boxes.boxes[0].kind, BoxKind::Error);
        const QString text = boxes.boxes[0].text;
        QVERIFY2(text.startsWith(QStringLiteral("Nothing was imported.\n") + path + ": "),
                 qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("line 3")), qPrintable(text));
        QCOMPARE(CountInFolder(kFolderInbox), 1u);
    }

    void aFileThatCannotBeReadImportsNothing() {
        ExchangeList list;
        BoxCapture boxes;
        list.importPath = files.filePath(QStringLiteral("missing.xml"));
        RunList(list, [&] { list.SendCommand(MessageListView::kCmdImport); });
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        QVERIFY2(boxes.boxes[0].text.startsWith(QStringLiteral("Nothing was imported.\n") +
                                                list.importPath),
                 qPrintable(boxes.boxes[0].text));
    }

    void cancelImportsNothing() {
        const QString path = files.filePath(QStringLiteral("backup.xml"));
        QVERIFY(WriteFile(path, PhoneBackup()));
        ExchangeList list;
        BoxCapture boxes;
        list.importPath = path;
        QString label;
        list.whileImporting = [&](QProgressDialog& progress) {
            label = progress.labelText();
            // The person presses Cancel.
            auto* cancel = progress.findChild<QPushButton*>();
            QVERIFY(cancel != nullptr);
            cancel->click();
        };
        RunList(list, [&] { list.SendCommand(MessageListView::kCmdImport); });
        QCOMPARE(label, QStringLiteral("Importing ") + path);
        QCOMPARE(Texts(boxes), QStringLiteral("Nothing was imported.\nThe import was cancelled."));
        QCOMPARE(CountInFolder(kFolderInbox), 0u);
    }

    void noTransferStartsWhileAnImportRuns() {
        const QString path = files.filePath(QStringLiteral("backup.xml"));
        QVERIFY(WriteFile(path, PhoneBackup()));
        ExchangeList list;
        BoxCapture boxes;
        list.importPath = path;
        bool getEnabled = true, commandEnabled = true;
        TransferLock::Outcome lockDuring = TransferLock::Outcome::kTaken;
        list.whileImporting = [&](QProgressDialog&) {
            getEnabled = list.Control(MessageListView::kGetId)->isEnabled();
            commandEnabled = list.Command(MessageListView::kGetId)->isEnabled();
            list.SendCommand(MessageListView::kGetId);
            static_cast<QPushButton*>(list.Control(MessageListView::kGetId))->click();
            // A transfer of another program waits for the import as well.
            TransferLock other;
            std::string why;
            lockDuring = other.TryTake(&why);
        };
        bool getEnabledAfter = false;
        RunList(list, [&] {
            list.SendCommand(MessageListView::kCmdImport);
            getEnabledAfter = list.Control(MessageListView::kGetId)->isEnabled() &&
                              list.Command(MessageListView::kGetId)->isEnabled();
        });
        QVERIFY(!getEnabled);
        QVERIFY(!commandEnabled);
        QCOMPARE(list.progressDialogs, 0);
        QVERIFY(lockDuring == TransferLock::Outcome::kBusy);
        QVERIFY(getEnabledAfter);
        QCOMPARE(CountInFolder(kFolderInbox), 2u);
    }

    void messagesImportedIntoTheOutboxAreNamed() {
        const QString path = files.filePath(QStringLiteral("outbox.xml"));
        QVERIFY(WriteFile(path,
                          "<smses count=\"2\">\n"
                          "  <sms address=\"+491\" date=\"1714550400000\" type=\"4\" "
                          "body=\"waiting\" read=\"1\" />\n"
                          "  <sms address=\"+492\" date=\"1714550460000\" type=\"1\" "
                          "body=\"received\" read=\"1\" />\n"
                          "</smses>\n"));
        ExchangeList list;
        BoxCapture boxes;
        list.importPath = path;
        bool sendAndGetShown = false;
        RunList(list, [&] {
            list.SendCommand(MessageListView::kCmdImport);
            sendAndGetShown = !list.Control(MessageListView::kSendAndGetId)->isHidden();
        });
        QCOMPARE(Texts(boxes),
                 QStringLiteral("2 message(s) imported, 0 duplicate(s) skipped, 0 MMS skipped\n"
                                "1 of them are in the Outbox and will be sent by the next "
                                "Send & Get."));
        QVERIFY(sendAndGetShown);
    }

    void theExportDialogAsksFormatMessagesAndFile() {
        ExportChoice choice;
        bool answered = false;
        const QString path = files.filePath(QStringLiteral("chosen.xml"));
        QStringList formats, folders;
        // The dialog and then the file dialog, answered as a person would.
        auto* timer = new QTimer(this);
        timer->setInterval(5);
        int step = 0;
        connect(timer, &QTimer::timeout, this, [&, timer] {
            QWidget* modal = QApplication::activeModalWidget();
            if (modal == nullptr) return;
            if (step == 0 && modal->objectName() == QStringLiteral("exportDialog")) {
                auto* format = modal->findChild<QComboBox*>(QStringLiteral("exportFormat"));
                auto* folder = modal->findChild<QComboBox*>(QStringLiteral("exportFolder"));
                for (int i = 0; i < format->count(); ++i) formats << format->itemText(i);
                for (int i = 0; i < folder->count(); ++i) folders << folder->itemText(i);
                format->setCurrentIndex(2);
                folder->setCurrentIndex(1);
                static_cast<QDialog*>(modal)->accept();
                step = 1;
            } else if (auto* fileDialog = qobject_cast<QFileDialog*>(modal);
                       fileDialog && step == 1) {
                fileDialog->selectFile(path);
                static_cast<QDialog*>(fileDialog)->accept();
                step = 2;
                timer->stop();
            }
        });
        timer->start();
        answered = AskExportChoice(frame, kFolderSent, QStringLiteral("Sent"), &choice);
        delete timer;
        QVERIFY(answered);
        QCOMPARE(formats, QStringList({"CSV", "JSON lines", "XML (SMS Backup & Restore)", "mbox"}));
        QCOMPARE(folders, QStringList({"Sent (the folder shown)", "All folders"}));
        QVERIFY(choice.format == ExchangeFormat::kXml);
        QCOMPARE(choice.folder, kEveryFolder);
        QCOMPARE(choice.path, path);
    }

    void noImportStartsDuringATransfer() {
        const QString path = files.filePath(QStringLiteral("backup.xml"));
        QVERIFY(WriteFile(path, PhoneBackup()));
        // A transfer holds the store (here one of another program).
        TransferLock transfer;
        std::string why;
        QVERIFY(transfer.TryTake(&why) == TransferLock::Outcome::kTaken);
        ExchangeList list;
        BoxCapture boxes;
        list.importPath = path;
        RunList(list, [&] { list.SendCommand(MessageListView::kCmdImport); });
        QCOMPARE(Texts(boxes), QStringLiteral("A transfer is running. Import when it has ended."));
        QCOMPARE(CountInFolder(kFolderInbox), 0u);
    }

  private:
    std::unique_ptr<TempEnvironment> env;
    std::unique_ptr<FixedLocalTime> clock;
    QTemporaryDir files;
    TestFrame* frame = nullptr;
};

QTEST_MAIN(MessageListExchangeTest)
#include "message_list_exchange_test.moc"
