// SPDX-License-Identifier: GPL-3.0-or-later
// The compose window's Send of a long message, as the progress dialog runs it with the
// session's real worker against the simulated phone: the message goes as its parts and ends as
// one record, which the caller moves to Sent; when a part is refused, the message is left in
// the Outbox with the parts that went noted, and the next transfer sends only the rest.
#include <QtTest>
#include <string>

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

bool UseSim(const PhoneSimProcess& sim) {
    RegistryKey key;
    if (!OpenSettings(key)) return false;
    return SetCommPort(key, u"TCP") == kRegSuccess &&
           SetTcpAddress(key, Utf8ToUtf16(sim.Address())) == kRegSuccess &&
           WriteSettingFlag(key, kValueLongSms, true) == kRegSuccess;
}

// The SENT lines of the phone's state.
int SentCount(const PhoneSimProcess& sim) {
    int n = 0;
    for (const auto& l : sim.State()) n += l.rfind("SENT|", 0) == 0;
    return n;
}

std::u16string LongText() {
    std::u16string text;
    while (text.size() < 400) text += u"A long message written in the compose window. ";
    return text.substr(0, 400);
}

}  // namespace

class LongMessageSendLiveTest : public QObject {
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

    void aLongMessageSentFromComposeEndsAsOneRecordInSent() {
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent"});
        QVERIFY(sim.Ok());
        QVERIFY(UseSim(sim));
        SmsMessage message;
        message.number = u"+4930123456";
        message.text = LongText();
        message.folder = kFolderSent;  // as the compose window hands it over
        BoxCapture boxes;
        ProgressDialog d;
        d.SetCloseDelay(0);
        d.Session().SetSingleMessage(&message);
        QCOMPARE(RunTransfer(d, page), IDOK);
        QVERIFY(boxes.boxes.empty());
        QCOMPARE(SentCount(sim), 3);
        QCOMPARE(message.folder, kFolderSent);
        QVERIFY(message.oid != 0);
        QCOMPARE(message.flags & kFlagMayHaveBeenSent, 0u);
        // The compose window stores it: the same record moves to Sent.
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        QVERIFY(WriteMessage(db, message));
        QCOMPARE(Folder(kFolderOutbox).size(), std::size_t{0});
        const auto sent = Folder(kFolderSent);
        QCOMPARE(sent.size(), std::size_t{1});
        QCOMPARE(sent[0].text, LongText());
    }

    void aRefusedPartLeavesTheMessageInTheOutboxForTheRest() {
        SmsMessage message;
        message.number = u"+4930123456";
        message.text = LongText();
        message.folder = kFolderSent;
        {
            PhoneSimProcess sim(PhoneSimProcess::kTcp,
                                {"--no-deliver-sent", "--error-on", "PDU#2:CMS:500"});
            QVERIFY(sim.Ok());
            QVERIFY(UseSim(sim));
            BoxCapture boxes;
            ProgressDialog d;
            d.SetCloseDelay(0);
            d.Session().SetSingleMessage(&message);
            QVERIFY(RunTransfer(d, page) != IDOK);
            QCOMPARE(d.Session().Result(), kErrCmsError);
            QCOMPARE(SentCount(sim), 1);
        }
        const auto outbox = Folder(kFolderOutbox);
        QCOMPARE(outbox.size(), std::size_t{1});
        QCOMPARE(outbox[0].oid, message.oid);
        QCOMPARE(outbox[0].flags & kFlagMayHaveBeenSent, 0u);
        // The next transfer sends parts 2 and 3 and moves it to Sent.
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent"});
        QVERIFY(sim.Ok());
        QVERIFY(UseSim(sim));
        BoxCapture boxes;
        ProgressDialog d;
        d.SetCloseDelay(0);
        QCOMPARE(RunTransfer(d, page), IDOK);
        QCOMPARE(SentCount(sim), 2);
        QCOMPARE(Folder(kFolderOutbox).size(), std::size_t{0});
        QCOMPARE(Folder(kFolderSent).size(), std::size_t{1});
    }

    void aSendThatSentNoPartLeavesNothingBehind() {
        PhoneSimProcess sim(PhoneSimProcess::kTcp,
                            {"--no-deliver-sent", "--error-on", "PDU#1:CMS:500"});
        QVERIFY(sim.Ok());
        QVERIFY(UseSim(sim));
        SmsMessage message;
        message.number = u"+4930123456";
        message.text = LongText();
        message.folder = kFolderSent;
        BoxCapture boxes;
        ProgressDialog d;
        d.SetCloseDelay(0);
        d.Session().SetSingleMessage(&message);
        QVERIFY(RunTransfer(d, page) != IDOK);
        QCOMPARE(SentCount(sim), 0);
        QCOMPARE(message.oid, 0u);
        QCOMPARE(Folder(kFolderOutbox).size(), std::size_t{0});
    }

  private:
    std::unique_ptr<TempEnvironment> env;
    TestFrame* frame = nullptr;
    QWidget* page = nullptr;
};

QTEST_MAIN(LongMessageSendLiveTest)
#include "long_message_send_live_test.moc"
