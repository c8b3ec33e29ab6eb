// SPDX-License-Identifier: GPL-3.0-or-later
// The progress dialog: texts for each notification sequence, the success summary and its close,
// cancel, the message for each result code, and the layout.
#include "shell/ui/progress_dialog.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>
#include <thread>

#include "framework/ui/app_event.h"
#include "framework/ui/ui_fonts.h"
#include "list_test_support.h"
#include "shell/ui/qt_notification_sink.h"

namespace {

QStringList Texts(const QSignalSpy& spy) {
    QStringList out;
    for (const auto& args : spy) out << args.at(0).toString();
    return out;
}

QString LabelText(ProgressDialog& d, int id) {
    auto* label = d.ControlAs<QLabel>(id);
    return label != nullptr ? label->text() : QStringLiteral("<missing>");
}

// Collects the numbered messages that reach it.
class Receiver : public QObject {
  public:
    std::vector<std::uint32_t> messages;
    std::vector<std::uintptr_t> wParams;

  protected:
    bool event(QEvent* e) override {
        if (AppEvent::IsAppMessage(e->type())) {
            auto* app = static_cast<AppEvent*>(e);
            messages.push_back(app->Message());
            wParams.push_back(app->WParam());
            return true;
        }
        return QObject::event(e);
    }
};

// A progress dialog that tells a paced session when it has handled a notification.
class PacedDialog : public ProgressDialog {
  public:
    explicit PacedDialog(ScriptedSession* session) : ProgressDialog(session), session_(session) {
        session_->paced = true;
    }

  protected:
    bool OnAppMessage(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) override {
        const bool handled = ProgressDialog::OnAppMessage(message, wParam, lParam);
        session_->Ack();
        return handled;
    }

  private:
    ScriptedSession* session_;
};

}  // namespace

class ProgressDialogTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { CreateUiFonts(); }

    void init() {
        frame = new TestFrame;
        frame->resize(360, 560);
        frame->show();
        FrameWindowBase::SetInstance(frame);
        page = new QWidget(frame);
        page->setGeometry(frame->rect());
        page->show();
    }
    void cleanup() {
        FrameWindowBase::SetInstance(nullptr);
        delete frame;
        frame = nullptr;
        page = nullptr;
    }

    void theShippedCloseDelayIsOneAndAHalfSeconds() {
        ScriptedSession s;
        ProgressDialog d(&s);
        QCOMPARE(ProgressDialog::kCloseDelayMs, 1500);
        QCOMPARE(d.CloseDelay(), 1500);
    }

    void sendAndGetWithTwoSentAndNoneReceivedEndsWithThreeLinesAndCloses() {
        BoxCapture boxes;
        ScriptedSession s;
        s.script = SuccessScript({u"'Anna': Hi", u"'Bob': Yo"}, {});
        PacedDialog d(&s);
        d.SetCloseDelay(200);
        QSignalSpy texts(&d, &ProgressDialog::textRefreshed);
        QElapsedTimer sinceSummary;
        bool openAfterWorkerEnd = false, timerRanAtWorkerEnd = false, cancelOffAtWorkerEnd = false;
        connect(&d, &ProgressDialog::textRefreshed, this, [&](const QString& t) {
            if (t.startsWith(QStringLiteral("Success"))) sinceSummary.start();
        });
        connect(&d, &ProgressDialog::workerEnded, this, [&] {
            openAfterWorkerEnd = d.IsRunning();
            timerRanAtWorkerEnd = d.CloseTimerActive();
            auto* cancel = d.ControlAs<QPushButton>(IDCANCEL);
            cancelOffAtWorkerEnd = cancel != nullptr && !cancel->isEnabled();
        });

        QCOMPARE(RunTransfer(d, page), IDOK);
        const qint64 shownFor = sinceSummary.elapsed();

        QCOMPARE(Texts(texts),
                 QStringList({"Connecting Phone...\n", "Connected\n", "Initializing...\n",
                              "Sending Message 1/2\n'Anna': Hi", "Sending Message 2/2\n'Bob': Yo",
                              "Receiving Inbox Messages...\n'Bob': Yo",
                              "Success\n2 message(s) sent\nNo new messages\n"}));
        QCOMPARE(LabelText(d, ProgressDialog::kTextId),
                 QStringLiteral("Success\n2 message(s) sent\nNo new messages\n"));
        // The worker's end does not close the dialog while the summary is shown...
        QVERIFY(openAfterWorkerEnd);
        QVERIFY(timerRanAtWorkerEnd);
        QVERIFY(cancelOffAtWorkerEnd);
        // ...the close timer does, no earlier than its delay.
        QVERIFY2(shownFor >= 200, qPrintable(QString::number(shownFor)));
        QCOMPARE(d.CountToSend(), 2u);
        QCOMPARE(d.CountSent(), 2u);
        QCOMPARE(d.CountReceived(), 0u);
        QVERIFY(boxes.boxes.empty());
    }

    void theWorkedExampleSendsTwoAndReceivesOne() {
        BoxCapture boxes;
        ScriptedSession s;
        s.script = SuccessScript({u"'A': 1", u"'B': 2"}, {u"'+4917': new"});
        PacedDialog d(&s);
        d.SetCloseDelay(1);
        QSignalSpy texts(&d, &ProgressDialog::textRefreshed);
        QCOMPARE(RunTransfer(d, page), IDOK);
        const QStringList t = Texts(texts);
        QVERIFY(t.contains(QStringLiteral("Received (1)\n'+4917': new")));
        QCOMPARE(t.last(), QStringLiteral("Success\n2 message(s) sent\n1 new message(s)\n"));
        QVERIFY(boxes.boxes.empty());
    }

    void nothingToSendLeavesTheSentLineOut() {
        ScriptedSession s;
        s.script = SuccessScript({}, {u"'x': 1", u"'y': 2", u"'z': 3"});
        PacedDialog d(&s);
        d.SetCloseDelay(1);
        QSignalSpy texts(&d, &ProgressDialog::textRefreshed);
        QCOMPARE(RunTransfer(d, page), IDOK);
        const QStringList t = Texts(texts);
        QVERIFY(t.contains(QStringLiteral("Received (2)\n'y': 2")));
        QCOMPARE(t.last(), QStringLiteral("Success\n3 new message(s)\n"));
    }

    void aSendOnlyTransferEndsWithSuccessAlone() {
        BoxCapture boxes;
        ScriptedSession s;
        SmsMessage single;
        s.SetSingleMessage(&single);
        s.script = {{0x8003, 3104}, {0x8004, 1}, {0x8007, 0, 0, u"'+491': hello"}, {0x8002}};
        PacedDialog d(&s);
        d.SetCloseDelay(1);
        QSignalSpy texts(&d, &ProgressDialog::textRefreshed);
        QString heading;
        QTimer::singleShot(0, &d, [&] { heading = LabelText(d, ProgressDialog::kHeadingId); });
        QCOMPARE(RunTransfer(d, page), IDOK);
        QCOMPARE(heading, QStringLiteral("Send SMS"));
        QVERIFY(Texts(texts).contains(QStringLiteral("Sending Message 1/1\n'+491': hello")));
        QCOMPARE(Texts(texts).last(), QStringLiteral("Success\n\n"));
        QCOMPARE(Texts(texts).last().split(u'\n').first(), QStringLiteral("Success"));
    }

    void theHeadingAndTitleOfAFullTransfer() {
        ScriptedSession s;
        s.script = {{0x8002}};
        ProgressDialog d(&s);
        d.SetCloseDelay(1);
        QString heading, title;
        QTimer::singleShot(0, &d, [&] {
            heading = LabelText(d, ProgressDialog::kHeadingId);
            title = d.windowTitle();
        });
        RunTransfer(d, page);
        QCOMPARE(heading, QStringLiteral("Send & Get SMS"));
        QCOMPARE(title, QStringLiteral("Velkan Tessiver"));
    }

    void whileTheThirdOfFiveIsSentTheFirstLineSaysSo() {
        ScriptedSession s;
        s.script = SuccessScript(
            {u"'a': one", u"'b': two", u"'c': three", u"'d': four", u"'e': five"}, {});
        PacedDialog d(&s);
        d.SetCloseDelay(1);
        QSignalSpy texts(&d, &ProgressDialog::textRefreshed);
        RunTransfer(d, page);
        const QStringList t = Texts(texts);
        QCOMPARE(t.at(5), QStringLiteral("Sending Message 3/5\n'c': three"));
        QCOMPARE(t.at(5).split(u'\n').first(), QStringLiteral("Sending Message 3/5"));
    }

    void aSendingStatusLineTakesItsNumberFromTheMessage() {
        ScriptedSession s;
        s.script = {{0x8004, 5}, {0x8003, 3102, 4}, {0x8003, 3115}};
        PacedDialog d(&s);
        QSignalSpy texts(&d, &ProgressDialog::textRefreshed);
        BoxCapture boxes;
        RunTransfer(d, page);
        QCOMPARE(Texts(texts), QStringList({"Sending Message 4/5\n", "Initializing...\n"}));
        // WM_APP+4 itself shows nothing.
        QCOMPARE(d.CountToSend(), 5u);
    }

    void aDetailTooLongForTheDialogLeavesTheTextEmpty() {
        ScriptedSession s;
        s.script = {{0x8004, 1}, {0x8007, 0, 0, std::u16string(600, u'x')}};
        ProgressDialog d(&s);
        QSignalSpy texts(&d, &ProgressDialog::textRefreshed);
        BoxCapture boxes;
        RunTransfer(d, page);
        QCOMPARE(Texts(texts), QStringList({QString()}));
    }

    void eachResultCodeShowsItsMessage_data() {
        QTest::addColumn<unsigned>("code");
        QTest::addColumn<QString>("text");
        QTest::newRow("time-out") << 10u
                                  << "A timeout occurred during connection/operation.\n"
                                     "Operation failed.";
        QTest::newRow("+CMS ERROR") << 15u
                                    << "Operation failed.\nError related to network or mobile "
                                       "(CMS).";
        QTest::newRow("+CME ERROR") << 16u
                                    << "Operation failed.\nError related to network or mobile "
                                       "(CME).";
        QTest::newRow("connection") << 12u << "Connection failed.\nCheck your Connection settings.";
        QTest::newRow("ERROR") << 14u << "Error during AT interpretation.\nOperation failed.";
        QTest::newRow("invalid parameter") << 4u << "Operation failed.\nInvalid Parameter.";
        QTest::newRow("out of memory") << 1u << "Operation Failed (1)";
        QTest::newRow("no code at all") << 0u << "Operation Failed (0)";
        QTest::newRow("unnamed code") << 99u << "Operation Failed (99)";
    }
    void eachResultCodeShowsItsMessage() {
        QFETCH(unsigned, code);
        QFETCH(QString, text);
        BoxCapture boxes;
        ScriptedSession s;
        s.script = {{0x8003, 3104}};
        s.finalResult = code;
        ProgressDialog d(&s);
        bool timerAtEnd = true;
        connect(&d, &ProgressDialog::workerEnded, this, [&] { timerAtEnd = d.CloseTimerActive(); });
        QCOMPARE(RunTransfer(d, page), IDCANCEL);
        // A failed transfer closes at once.
        QVERIFY(!timerAtEnd);
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        QCOMPARE(boxes.boxes[0].text, text);
        QCOMPARE(boxes.boxes[0].caption, QStringLiteral("Velkan Tessiver"));
        QCOMPARE(boxes.boxes[0].kind, BoxKind::Error);
        QCOMPARE(TransferErrorText(code), text);
    }

    void cancelDisablesTheButtonAndShowsNoMessage() {
        BoxCapture boxes;
        ScriptedSession s;
        s.script = {{0x8003, 3104}};
        s.waitForCancel = true;
        s.finalResult = kErrTimeout;  // turned into "cancelled" because the event is set
        ProgressDialog d(&s);
        QSignalSpy texts(&d, &ProgressDialog::textRefreshed);
        bool disabledAfterFirst = false;
        QTimer::singleShot(0, &d, [&] {
            auto* cancel = d.ControlAs<QPushButton>(IDCANCEL);
            QVERIFY(cancel != nullptr);
            QVERIFY(cancel->isEnabled());
            QTest::mouseClick(cancel, Qt::LeftButton);
            disabledAfterFirst = !cancel->isEnabled();
            // A second press, by the mouse, Escape or closing the window, does nothing more.
            QTest::mouseClick(cancel, Qt::LeftButton);
            QTest::keyClick(&d, Qt::Key_Escape);
            d.close();
        });
        QCOMPARE(RunTransfer(d, page), IDCANCEL);
        QVERIFY(disabledAfterFirst);
        QCOMPARE(Texts(texts).count(QStringLiteral("Cancelling...\n")), 1);
        QCOMPARE(s.Result(), kErrCancelled);
        QVERIFY(boxes.boxes.empty());
    }

    void aWorkerThatCannotStartClosesTheDialogWithTheSessionsCode() {
        BoxCapture boxes;
        ScriptedSession s;
        s.failStart = true;
        ProgressDialog d(&s);
        QCOMPARE(RunTransfer(d, page), IDCANCEL);
        QCOMPARE(s.runs.load(), 0);
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        QCOMPARE(boxes.boxes[0].text, QStringLiteral("Operation Failed (0)"));
    }

    void thePageKeepsItsLookWhileTheModalDialogTakesItsInput() {
        ScriptedSession s;
        s.waitForCancel = true;
        ProgressDialog d(&s);
        auto* button = new QPushButton(QStringLiteral("Get"), page);
        button->setGeometry(10, 10, 80, 24);
        button->show();
        int clicks = 0;
        QObject::connect(button, &QPushButton::clicked, [&] { ++clicks; });
        bool frameEnabled = false, pageEnabled = false, dialogEnabled = false,
             dialogVisible = false, modalOverOwner = false, activeModal = false;
        QPalette::ColorGroup buttonGroup = QPalette::Disabled;
        QTimer::singleShot(0, &d, [&] {
            frameEnabled = frame->isEnabled();
            pageEnabled = page->isEnabled() && button->isEnabled();
            // Drawn as it is: its colours are not the greyed ones.
            buttonGroup = button->palette().currentColorGroup();
            dialogEnabled = d.isEnabled();
            dialogVisible = d.isVisible();
            modalOverOwner = d.isWindow() && d.parentWidget() == page;
            activeModal = QApplication::activeModalWidget() == &d;
            // A click on the page under the dialog, made as the window system delivers it,
            // does not reach it.
            QWindow* window = button->window()->windowHandle();
            const QPoint at = button->mapTo(button->window(), button->rect().center());
            QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, at);
            d.SendCommand(IDCANCEL);
        });
        BoxCapture boxes;
        RunTransfer(d, page);
        QVERIFY(frameEnabled);
        QVERIFY(pageEnabled);
        QVERIFY(buttonGroup != QPalette::Disabled);
        QVERIFY(dialogEnabled);
        QVERIFY(dialogVisible);
        QVERIFY(modalOverOwner);
        QCOMPARE(clicks, 0);
        QVERIFY(activeModal);
        QVERIFY(frame->isEnabled());
        delete button;
    }

    void layoutFollowsTheSize() {
        ScriptedSession s;
        s.waitForCancel = true;
        ProgressDialog d(&s);
        QRect cancel, text, heading, line;
        QSize size;
        QTimer::singleShot(0, &d, [&] {
            d.resize(300, 200);
            cancel = d.Control(IDCANCEL)->geometry();
            text = d.Control(ProgressDialog::kTextId)->geometry();
            heading = d.Control(ProgressDialog::kHeadingId)->geometry();
            line = d.findChild<QWidget*>(kHeaderLineName)->geometry();
            d.SendCommand(IDCANCEL);
        });
        BoxCapture boxes;
        RunTransfer(d, page);
        QCOMPARE(cancel.bottom() + 1, 200 - 8);
        QCOMPARE(text.left(), 8);
        QCOMPARE(text.top(), 33);
        QCOMPARE(text.right() + 1, 300 - 8);
        QCOMPARE(heading.topLeft(), QPoint(5, 5));
        QCOMPARE(line, QRect(0, 24, 300, 1));
    }

    void theDialogSpansItsOwnerLessThreePixelsEachSide() {
        ScriptedSession s;
        s.waitForCancel = true;
        ProgressDialog d(&s);
        QRect geometry;
        QTimer::singleShot(0, &d, [&] {
            geometry = QRect(d.pos(), d.size());
            d.SendCommand(IDCANCEL);
        });
        BoxCapture boxes;
        RunTransfer(d, page);
        QCOMPARE(geometry.width(), page->width() - 6);
        QCOMPARE(geometry.topLeft(), page->mapToGlobal(QPoint(3, 3)));
    }

    void destroyingTheDialogCancelsAndWaitsForTheWorker() {
        ScriptedSession s;
        s.waitForCancel = true;
        auto* d = new ProgressDialog(&s);
        QTimer::singleShot(0, d, [d] { d->EndDialog(IDCANCEL); });
        d->RunModal(page);
        QVERIFY(!s.IsCancelled());
        delete d;  // must not hang: the worker is cancelled and joined
        QVERIFY(s.IsCancelled());
        QCOMPARE(s.Result(), kErrCancelled);
    }

    void theSinkPostsNumberedMessagesFromAnotherThread() {
        Receiver r;
        QtNotificationSink sink(&r);
        std::thread worker([&] {
            sink.Post(0x8003, 3104, 0);
            sink.Post(0x8007, 0, 0);
            sink.Post(0x8001, 0, 0);
        });
        worker.join();
        QTRY_COMPARE(r.messages.size(), std::size_t{3});
        QCOMPARE(r.messages, (std::vector<std::uint32_t>{0x8003, 0x8007, 0x8001}));
        QCOMPARE(r.wParams[0], std::uintptr_t{3104});
        sink.SetTarget(nullptr);
        sink.Post(0x8002, 0, 0);
        QCoreApplication::sendPostedEvents(&r);
        QCOMPARE(r.messages.size(), std::size_t{3});
    }

  private:
    TestFrame* frame = nullptr;
    QWidget* page = nullptr;
};

QTEST_MAIN(ProgressDialogTest)
#include "progress_dialog_test.moc"
