// SPDX-License-Identifier: GPL-3.0-or-later
// The progress dialog over a real transfer: the session's worker thread talks to the simulated
// phone and posts its notifications to the dialog, which handles them on the user interface
// thread. Besides the outcome, these runs are what ThreadSanitizer watches for the hand-over
// between the two threads (the text slot, the counts, the end of the worker).
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

#include "common/text_convert.h"
#include "framework/ui/ui_fonts.h"
#include "list_test_support.h"
#include "phone_sim_process.h"
#include "settings/settings_key.h"
#include "shell/ui/progress_dialog.h"

namespace {

std::vector<SmsMessage> Folder(FolderId folder) {
    MessageDatabase db;
    std::vector<SmsMessage> out;
    if (OpenMessageStore(db)) db.ReadFolderPage(folder, 0, 100000, &out);
    return out;
}

bool AddOutbox(const std::u16string& number, const std::u16string& text) {
    MessageDatabase db;
    if (!OpenMessageStore(db)) return false;
    SmsMessage m;
    m.number = number;
    m.text = text;
    m.folder = kFolderOutbox;
    return WriteMessage(db, m);
}

bool UseSim(const PhoneSimProcess& sim) {
    RegistryKey key;
    if (!OpenSettings(key)) return false;
    return SetCommPort(key, u"TCP") == kRegSuccess &&
           SetTcpAddress(key, Utf8ToUtf16(sim.Address())) == kRegSuccess;
}

}  // namespace

class ProgressDialogLiveTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { CreateUiFonts(); }

    void init() {
        env = std::make_unique<TempEnvironment>();
        QVERIFY(env->IsValid());
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
        env.reset();
    }

    void aWholeTransferIsShownToItsSummary() {
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent", "--generate", "12"});
        QVERIFY(sim.Ok());
        QVERIFY(UseSim(sim));
        for (int i = 1; i <= 3; ++i) {
            QVERIFY(AddOutbox(u"+4930123456", u"Message " + Utf8ToUtf16(std::to_string(i))));
        }
        BoxCapture boxes;
        ProgressDialog d;
        d.SetCloseDelay(0);
        QSignalSpy texts(&d, &ProgressDialog::textRefreshed);
        QCOMPARE(RunTransfer(d, page), IDOK);

        QCOMPARE(d.CountToSend(), 3u);
        QCOMPARE(d.CountSent(), 3u);
        QCOMPARE(d.CountReceived(), 12u);
        QVERIFY(boxes.boxes.empty());
        QVERIFY(!texts.isEmpty());
        QCOMPARE(texts.first().at(0).toString(), QStringLiteral("Connecting Phone...\n"));
        QCOMPARE(texts.last().at(0).toString(),
                 QStringLiteral("Success\n3 message(s) sent\n12 new message(s)\n"));
        // Every message that was sent was shown while it went out, in order.
        QStringList sending;
        for (const auto& args : texts) {
            const QString t = args.at(0).toString();
            if (t.startsWith(QStringLiteral("Sending Message"))) sending << t;
        }
        QCOMPARE(sending, QStringList({"Sending Message 1/3\n'+4930123456': Message 1",
                                       "Sending Message 2/3\n'+4930123456': Message 2",
                                       "Sending Message 3/3\n'+4930123456': Message 3"}));
        QCOMPARE(Folder(kFolderSent).size(), std::size_t{3});
        QCOMPARE(Folder(kFolderOutbox).size(), std::size_t{0});
        QCOMPARE(Folder(kFolderInbox).size(), std::size_t{12});
    }

    // Cancel pressed while the worker waits for the phone: the worker ends, the dialog closes
    // without a message box, and the message being sent is in exactly one folder.
    void cancelWhileThePhoneIsSilentEndsTheWorker() {
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent", "--silent-on", "PDU"});
        QVERIFY(sim.Ok());
        QVERIFY(UseSim(sim));
        QVERIFY(AddOutbox(u"+4930123456", u"Stuck"));
        BoxCapture boxes;
        ProgressDialog d;
        d.SetCloseDelay(0);
        connect(&d, &ProgressDialog::textRefreshed, this, [&](const QString& t) {
            if (!t.startsWith(QStringLiteral("Sending Message 1/1"))) return;
            // The PDU is on its way ("Stuck" makes 17 octets): cancel once the phone has the
            // command and stays silent.
            QVERIFY(sim.WaitForLog("AT+CMGS=17"));
            auto* cancel = d.ControlAs<QPushButton>(IDCANCEL);
            QVERIFY(cancel != nullptr);
            cancel->click();
        });
        QCOMPARE(RunTransfer(d, page), IDCANCEL);
        QCOMPARE(d.Session().Result(), kErrCancelled);
        QVERIFY(boxes.boxes.empty());
        QCOMPARE(Folder(kFolderOutbox).size() + Folder(kFolderSent).size(), std::size_t{1});
    }

  private:
    std::unique_ptr<TempEnvironment> env;
    TestFrame* frame = nullptr;
    QWidget* page = nullptr;
};

QTEST_MAIN(ProgressDialogLiveTest)
#include "progress_dialog_live_test.moc"
