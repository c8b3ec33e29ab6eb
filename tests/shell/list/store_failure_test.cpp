// SPDX-License-Identifier: GPL-3.0-or-later
// What the message list and the compose dialog do when the message store cannot be used, under
// the real conditions: a store file another program holds locked (for good, or until it lets
// go), one written by a newer version, a folder where the file should be, a damaged file, and a
// full disk. Each failure is shown in a box that names the file and the reason; what the person
// wrote stays in the compose dialog; nothing goes out that could not be recorded; and the list
// offers to open the store again once the cause is gone.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QtTest>
#include <functional>
#include <memory>

#include "dialog_watch.h"
#include "list_test_support.h"
#include "message_ui/ui/message_text_edit.h"
#include "message_ui/ui/recent_combo_box.h"
#include "shell/ui/message_list_model.h"
#include "shell/ui/message_list_view.h"
#include "shell/ui/progress_dialog.h"
#include "store_conditions.h"

namespace {

// The list as the program runs it, with the real compose dialog; the transfer is the test's.
class StoreList : public ShownHook<MessageListView> {
  public:
    std::function<std::unique_ptr<ProgressDialog>()> progressFactory;

  protected:
    std::unique_ptr<ProgressDialog> CreateProgressDialog() override {
        return progressFactory ? progressFactory() : nullptr;
    }
};

int RunList(StoreList& list, const std::function<void()>& body) {
    return RunPageWith<MessageListView>(list, body);
}

QString StorePath() {
    return QString::fromStdString(StoreFilePath());
}

// A store in use holds messages already (and with them every column a message needs), as a
// person's store does.
void StoreAnEarlierMessage() {
    QVERIFY(StoreMessage(MakeMessage(kFolderInbox, u"Old", u"+9", u"earlier",
                                     MakeTime(2024, 4, 1, 8, 0))) != 0);
}

// Fills the compose dialog as a person types.
void Type(MessageDialog* d, const QString& number, const QString& text) {
    d->NumberCombo()->setEditText(number);
    d->TextEdit()->SetWindowText(text.toStdU16String().c_str());
}

}  // namespace

class StoreFailureTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void init() {
        env_ = std::make_unique<TempEnvironment>();
        QVERIFY(env_->IsValid());
        frame_ = std::make_unique<TestFrame>();
        frame_->resize(360, 560);
        frame_->show();
        FrameWindowBase::SetInstance(frame_.get());
    }
    void cleanup() {
        FrameWindowBase::SetInstance(nullptr);
        frame_.reset();
        env_.reset();
    }

    // --- at start ------------------------------------------------------------------------

    void aStoreThatCannotBeOpenedIsSaidAtStartAndRetriedOnceTheCauseIsGone_data() {
        QTest::addColumn<QString>("condition");
        QTest::addColumn<QString>("reason");
        QTest::newRow("newer version")
            << QStringLiteral("newer") << QStringLiteral("was written by a newer version");
        QTest::newRow("a folder in its place")
            << QStringLiteral("folder") << QStringLiteral("cannot be");
    }
    void aStoreThatCannotBeOpenedIsSaidAtStartAndRetriedOnceTheCauseIsGone() {
        QFETCH(QString, condition);
        QFETCH(QString, reason);
        if (condition == QStringLiteral("newer")) {
            QVERIFY(MakeNewerStoreFile());
        } else {
            QVERIFY(QDir().mkpath(StorePath()));
        }
        BoxCapture boxes;
        StoreList list;
        bool bannerShown = false, bannerHiddenAfterRetry = false, stillShownOnRetry = false;
        QString bannerText, retryText;
        int rowsBefore = -1, rowsAfter = -1;
        RunList(list, [&] {
            QTRY_COMPARE(boxes.boxes.size(), std::size_t{1});
            bannerShown = list.StoreBanner()->isVisible();
            bannerText = list.StoreBanner()->findChild<QLabel*>()->text();
            retryText = list.StoreRetryButton()->text();
            rowsBefore = list.Model()->rowCount();
            // The list stands below the line.
            QVERIFY(list.List()->geometry().top() >= list.StoreBanner()->geometry().bottom());
            // Tried again while the cause lasts, the line stays and says why.
            QTest::mouseClick(list.StoreRetryButton(), Qt::LeftButton);
            stillShownOnRetry = list.StoreBanner()->isVisible() &&
                                list.StoreBanner()->findChild<QLabel*>()->text().contains(reason);
            // The cause goes away, and a message arrives meanwhile (another program).
            if (condition == QStringLiteral("newer")) {
                QVERIFY(MakeStoreFileCurrent());
            } else {
                QVERIFY(QDir().rmdir(StorePath()));
            }
            QVERIFY(StoreMessage(MakeMessage(kFolderInbox, u"Ann", u"+1", u"hello",
                                             MakeTime(2024, 5, 1, 8, 0))) != 0);
            QTest::mouseClick(list.StoreRetryButton(), Qt::LeftButton);
            bannerHiddenAfterRetry = list.StoreBanner()->isHidden();
            rowsAfter = list.Model()->rowCount();
        });
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        QCOMPARE(boxes.boxes[0].caption, QStringLiteral("Velkan Tessiver"));
        QCOMPARE(boxes.boxes[0].kind, BoxKind::Error);
        const QString text = boxes.boxes[0].text;
        QVERIFY2(text.startsWith(QStringLiteral(
                     "The message store cannot be used, so no messages can be shown.\n")),
                 qPrintable(text));
        QVERIFY2(text.contains(StorePath()), qPrintable(text));
        QVERIFY2(text.contains(reason), qPrintable(text));
        QVERIFY(bannerShown);
        QVERIFY2(bannerText.contains(StorePath()) && bannerText.contains(reason),
                 qPrintable(bannerText));
        QCOMPARE(retryText, QStringLiteral("Retry"));
        QVERIFY(stillShownOnRetry);
        QCOMPARE(rowsBefore, 0);
        QVERIFY(bannerHiddenAfterRetry);
        QCOMPARE(rowsAfter, 1);
    }

    void aStoreLockedByAnotherProgramIsSaidAndOpensOnceTheLockEnds() {
        StoreLockHolder other(true);
        QVERIFY(other.Held());
        BoxCapture boxes;
        StoreList list;
        bool bannerShown = false, bannerHiddenAfterRetry = false;
        QString bannerText;
        int rowsAfter = -1;
        RunList(list, [&] {
            QTRY_COMPARE(boxes.boxes.size(), std::size_t{1});
            bannerShown = list.StoreBanner()->isVisible();
            bannerText = list.StoreBanner()->findChild<QLabel*>()->text();
            other.Release();
            QVERIFY(StoreMessage(MakeMessage(kFolderInbox, u"Ann", u"+1", u"hello",
                                             MakeTime(2024, 5, 1, 8, 0))) != 0);
            QTest::mouseClick(list.StoreRetryButton(), Qt::LeftButton);
            bannerHiddenAfterRetry = list.StoreBanner()->isHidden();
            rowsAfter = list.Model()->rowCount();
        });
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        const QString text = boxes.boxes[0].text;
        QVERIFY2(text.contains(StorePath()), qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("database is locked")), qPrintable(text));
        QVERIFY(bannerShown);
        QVERIFY2(bannerText.contains(QStringLiteral("database is locked")), qPrintable(bannerText));
        QVERIFY(bannerHiddenAfterRetry);
        QCOMPARE(rowsAfter, 1);
    }

    void aDamagedStoreSetAsideIsSaidAtStart() {
        QVERIFY(QDir().mkpath(QString::fromStdString(StoreDataDirectory())));
        {
            QFile file(StorePath());
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(QByteArray(8192, 'x'));
        }
        BoxCapture boxes;
        StoreList list;
        bool bannerHidden = false;
        RunList(list, [&] {
            QTRY_COMPARE(boxes.boxes.size(), std::size_t{1});
            bannerHidden = list.StoreBanner()->isHidden();
        });
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        const QString text = boxes.boxes[0].text;
        QVERIFY2(text.contains(StorePath()), qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("set aside")), qPrintable(text));
        QVERIFY(bannerHidden);
    }

    void aGoodStoreShowsNoBoxAndNoLine() {
        BoxCapture boxes;
        StoreList list;
        bool bannerHidden = false;
        RunList(list, [&] {
            QCoreApplication::processEvents();
            bannerHidden = list.StoreBanner()->isHidden();
        });
        QVERIFY(boxes.boxes.empty());
        QVERIFY(bannerHidden);
    }

    // --- compose ----------------------------------------------------------------------------

    void aMessageSavedToTheOutboxOnAFullDiskStaysInComposeUntilItCanBeStored() {
        StoreAnEarlierMessage();
        BoxCapture boxes;
        StoreList list;
        bool seen = false, openAfterFailure = false;
        QString textAfterFailure;
        RunList(list, [&] {
            WhenDialogOpen(
                &list,
                [&](MessageDialog* d) {
                    Type(d, QStringLiteral("+1"), QStringLiteral("Meet at 8"));
                    {
                        DiskFull full;
                        QVERIFY(full.Active());
                        d->SendCommand(MessageDialog::kIdOutbox);
                    }
                    openAfterFailure = d->Result() == kStillOpen;
                    textAfterFailure = d->TextEdit()->toPlainText();
                    d->SendCommand(MessageDialog::kIdOutbox);
                },
                &seen);
            list.SendCommand(MessageListView::kCmdNew);
        });
        QVERIFY(seen);
        QVERIFY(openAfterFailure);
        QCOMPARE(textAfterFailure, QStringLiteral("Meet at 8"));
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        const QString text = boxes.boxes[0].text;
        QVERIFY2(text.startsWith(QStringLiteral("The message could not be stored in Outbox.\n")),
                 qPrintable(text));
        QVERIFY2(text.contains(StorePath()), qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("disk I/O error")), qPrintable(text));
        QCOMPARE(boxes.boxes[0].caption, QStringLiteral("Velkan Tessiver"));
        QCOMPARE(CountInFolder(kFolderOutbox), 1u);
    }

    void aDraftSavedWhileAnotherProgramHoldsTheStoreIsKeptUntilTheLockEnds() {
        StoreAnEarlierMessage();
        // The list has the store open; then another program takes its write lock.
        BoxCapture boxes;
        StoreList list;
        bool seen = false, openAfterFailure = false;
        RunList(list, [&] {
            WhenDialogOpen(
                &list,
                [&](MessageDialog* d) {
                    d->TextEdit()->SetWindowText(u"Draft in progress");
                    StoreLockHolder other;
                    QVERIFY(other.Held());
                    d->SendCommand(MessageDialog::kIdDraft);
                    openAfterFailure = d->Result() == kStillOpen;
                    other.Release();
                    d->SendCommand(MessageDialog::kIdDraft);
                },
                &seen);
            list.SendCommand(MessageListView::kCmdNew);
        });
        QVERIFY(seen);
        QVERIFY(openAfterFailure);
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        const QString text = boxes.boxes[0].text;
        QVERIFY2(text.startsWith(QStringLiteral("The message could not be stored in Draft.\n")),
                 qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("database is locked")), qPrintable(text));
        QCOMPARE(CountInFolder(kFolderDraft), 1u);
    }

    void withAStoreThatCannotBeOpenedNothingIsSentAndNothingIsLost() {
        QVERIFY(MakeNewerStoreFile());
        BoxCapture boxes;
        StoreList list;
        ScriptedSession session;
        session.script = {{0x8003, 3104}, {0x8004, 1}, {0x8002}};
        list.progressFactory = [&] {
            auto d = std::make_unique<ProgressDialog>(&session);
            d->SetCloseDelay(1);
            return d;
        };
        bool seen = false, openAfterSend = false, openAfterOutbox = false;
        QString textAfter;
        RunList(list, [&] {
            QTRY_COMPARE(boxes.boxes.size(), std::size_t{1});
            WhenDialogOpen(
                &list,
                [&](MessageDialog* d) {
                    Type(d, QStringLiteral("+1"), QStringLiteral("Now"));
                    d->SendCommand(MessageDialog::kIdSend);
                    openAfterSend = d->Result() == kStillOpen;
                    d->SendCommand(MessageDialog::kIdOutbox);
                    openAfterOutbox = d->Result() == kStillOpen;
                    textAfter = d->TextEdit()->toPlainText();
                },
                &seen);
            list.SendCommand(MessageListView::kCmdNew);
        });
        QVERIFY(seen);
        QCOMPARE(session.runs.load(), 0);
        QVERIFY(openAfterSend);
        QVERIFY(openAfterOutbox);
        QCOMPARE(textAfter, QStringLiteral("Now"));
        QCOMPARE(boxes.boxes.size(), std::size_t{3});
        QVERIFY2(boxes.boxes[1].text.startsWith(QStringLiteral(
                     "The message was not sent, because it could not be recorded in Sent.\n")),
                 qPrintable(boxes.boxes[1].text));
        QVERIFY2(boxes.boxes[1].text.contains(QStringLiteral("newer version")),
                 qPrintable(boxes.boxes[1].text));
        QVERIFY2(boxes.boxes[2].text.startsWith(
                     QStringLiteral("The message could not be stored in Outbox.\n")),
                 qPrintable(boxes.boxes[2].text));
        QVERIFY2(boxes.boxes[2].text.contains(StorePath()), qPrintable(boxes.boxes[2].text));
    }

    void aStoreLockedByAnotherProgramStopsTheSendBeforeAnythingGoesOut() {
        StoreAnEarlierMessage();
        BoxCapture boxes;
        StoreList list;
        ScriptedSession session;
        session.script = {{0x8003, 3104}, {0x8004, 1}, {0x8002}};
        list.progressFactory = [&] {
            auto d = std::make_unique<ProgressDialog>(&session);
            d->SetCloseDelay(1);
            return d;
        };
        bool seen = false, openAfterSend = false;
        RunList(list, [&] {
            WhenDialogOpen(
                &list,
                [&](MessageDialog* d) {
                    Type(d, QStringLiteral("+1"), QStringLiteral("Now"));
                    StoreLockHolder other;
                    QVERIFY(other.Held());
                    d->SendCommand(MessageDialog::kIdSend);
                    openAfterSend = d->Result() == kStillOpen;
                },
                &seen);
            list.SendCommand(MessageListView::kCmdNew);
        });
        QVERIFY(seen);
        QVERIFY(openAfterSend);
        QCOMPARE(session.runs.load(), 0);
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        QVERIFY2(boxes.boxes[0].text.startsWith(QStringLiteral(
                     "The message was not sent, because it could not be recorded in Sent.\n")),
                 qPrintable(boxes.boxes[0].text));
        QVERIFY2(boxes.boxes[0].text.contains(QStringLiteral("database is locked")),
                 qPrintable(boxes.boxes[0].text));
        QCOMPARE(CountInFolder(kFolderSent), 0u);
    }

    void aMessageSentWhileTheDiskIsFullIsSaidSentButNotStoredAndIsNeverSentTwice() {
        StoreAnEarlierMessage();
        BoxCapture boxes;
        StoreList list;
        ScriptedSession session;
        session.script = {{0x8003, 3104}, {0x8004, 1}, {0x8002}};
        list.progressFactory = [&] {
            auto d = std::make_unique<ProgressDialog>(&session);
            d->SetCloseDelay(1);
            return d;
        };
        bool seen = false, openAfterSend = false;
        QString buttonText, textAfter;
        RunList(list, [&] {
            WhenDialogOpen(
                &list,
                [&](MessageDialog* d) {
                    Type(d, QStringLiteral("+1"), QStringLiteral("On my way"));
                    {
                        DiskFull full;
                        QVERIFY(full.Active());
                        d->SendCommand(MessageDialog::kIdSend);
                    }
                    openAfterSend = d->Result() == kStillOpen;
                    buttonText = d->ControlAs<QPushButton>(MessageDialog::kIdSend)->text();
                    textAfter = d->TextEdit()->toPlainText();
                    // Once the disk has room, the same button stores it.
                    d->SendCommand(MessageDialog::kIdSend);
                },
                &seen);
            list.SendCommand(MessageListView::kCmdNew);
        });
        QVERIFY(seen);
        QVERIFY(openAfterSend);
        QCOMPARE(buttonText, QStringLiteral("Retry"));
        QCOMPARE(textAfter, QStringLiteral("On my way"));
        QCOMPARE(session.runs.load(), 1);
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        const QString text = boxes.boxes[0].text;
        QVERIFY2(text.startsWith(
                     QStringLiteral("The message was sent but could not be stored in Sent.\n")),
                 qPrintable(text));
        QVERIFY2(text.contains(StorePath()), qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("disk I/O error")), qPrintable(text));
        QCOMPARE(CountInFolder(kFolderSent), 1u);
        QCOMPARE(CountInFolder(kFolderOutbox), 0u);
    }

    // --- the list's own writes ----------------------------------------------------------------

    void aDeletionOnAFullDiskIsSaidAndTheRowsStay() {
        StoreMessage(MakeMessage(kFolderInbox, u"Ann", u"+1", u"one", MakeTime(2024, 5, 1, 8, 0)));
        StoreMessage(MakeMessage(kFolderInbox, u"Bob", u"+2", u"two", MakeTime(2024, 5, 2, 8, 0)));
        BoxCapture boxes(IDYES);
        StoreList list;
        int rows = -1;
        RunList(list, [&] {
            list.List()->selectAll();
            {
                DiskFull full;
                QVERIFY(full.Active());
                list.SendCommand(MessageListView::kCmdDelete);
            }
            rows = list.Model()->rowCount();
        });
        QCOMPARE(rows, 2);
        QCOMPARE(boxes.boxes.size(), std::size_t{2});
        const QString text = boxes.boxes[1].text;
        QVERIFY2(text.startsWith(QStringLiteral("Message(s) could not be deleted.\n")),
                 qPrintable(text));
        QVERIFY2(text.contains(StorePath()), qPrintable(text));
        QCOMPARE(CountInFolder(kFolderInbox), 2u);
    }

    void aSendAgainSentButNotStoredIsSaidAndTheMessageKeepsItsMark() {
        const Oid marked =
            StoreMessage(MakeMessage(kFolderOutbox, u"Ann", u"+1", u"maybe out",
                                     MakeTime(2024, 5, 1, 8, 0), kFlagMayHaveBeenSent));
        BoxCapture boxes;
        StoreList list;
        ScriptedSession session;
        session.script = {{0x8003, 3104}, {0x8004, 1}, {0x8002}};
        // The disk fills up while the message goes out.
        std::unique_ptr<DiskFull> full;
        session.work = [&] { full = std::make_unique<DiskFull>(); };
        list.progressFactory = [&] {
            auto d = std::make_unique<ProgressDialog>(&session);
            d->SetCloseDelay(1);
            return d;
        };
        RunList(list, [&] {
            list.SwitchFolder(kFolderOutbox);
            list.List()->setCurrentIndex(list.Model()->index(0, 0));
            list.SendCommand(MessageListView::kCmdSendAgain);
            full.reset();
        });
        QCOMPARE(session.runs.load(), 1);
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        QVERIFY2(boxes.boxes[0].text.startsWith(
                     QStringLiteral("The message was sent but could not be stored in Sent.\n")),
                 qPrintable(boxes.boxes[0].text));
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        SmsMessage stored;
        stored.oid = marked;
        QVERIFY(ReadById(db, stored));
        QCOMPARE(stored.folder, kFolderOutbox);
        QCOMPARE(stored.flags, kFlagMayHaveBeenSent);
    }

  private:
    std::unique_ptr<TempEnvironment> env_;
    std::unique_ptr<TestFrame> frame_;
};

QTEST_MAIN(StoreFailureTest)
#include "store_failure_test.moc"
