// SPDX-License-Identifier: GPL-3.0-or-later
// The transfer session end to end against the simulated phone, over TCP and a pseudo-terminal:
// the commands the phone receives, the notifications and their order, the folders afterwards,
// result codes, local mode, duplicates, deletion and cancel in each phase.
#include "session/transfer_session.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "common/text_convert.h"
#include "fake_clock.h"
#include "phone_sim_process.h"
#include "session/notification_queue.h"
#include "settings/settings_key.h"
#include "settings/transfer_settings_reader.h"
#include "store/message_store.h"
#include "store/object_store.h"
#include "store/transfer_lock.h"
#include "wait_for_file.h"

using namespace std::chrono_literals;

namespace {

struct RunLog {
    TransferError result = kErrNone;
    std::vector<Notification> notes;
    std::vector<std::u16string> details;  // the text slot at each 0x8006 / 0x8007

    bool Has(std::uint32_t message) const {
        return std::any_of(notes.begin(), notes.end(),
                           [&](const Notification& n) { return n.message == message; });
    }
    int Count(std::uint32_t message) const {
        return static_cast<int>(
            std::count_if(notes.begin(), notes.end(),
                          [&](const Notification& n) { return n.message == message; }));
    }
    // The notifications as compact text: "3104 3114 3115 8004:2 8007 ... 8001".
    std::string Sequence() const {
        std::string s;
        for (const auto& n : notes) {
            if (!s.empty()) s += ' ';
            if (n.message == kNotifyStatus) {
                s += std::to_string(n.wParam);
            } else {
                char hex[8];
                std::snprintf(hex, sizeof hex, "%x", n.message);
                s += hex;
                if (n.message == kNotifySendCount) s += ":" + std::to_string(n.wParam);
            }
        }
        return s;
    }
};

class TransferSessionTest : public ::testing::Test {
  protected:
    void SetUp() override {
        root_ = std::filesystem::path(PhoneSimProcess::TempRoot()) /
                ("velkan_session_" + std::to_string(getpid()) + "_" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove_all(root_);
        std::filesystem::create_directories(root_ / "config");
        std::filesystem::create_directories(root_ / "data");
        setenv("XDG_CONFIG_HOME", (root_ / "config").c_str(), 1);
        setenv("VELKAN_DATA_DIR", (root_ / "data").c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(root_); }

    void Configure(const std::u16string& commPort, const std::u16string& tcp, bool delMsg = false) {
        RegistryKey key;
        ASSERT_TRUE(OpenSettings(key));
        SetCommPort(key, commPort);
        SetTcpAddress(key, tcp);
        WriteSettingFlag(key, kValueDelMsg, delMsg);
    }
    void UseSim(const PhoneSimProcess& sim, bool delMsg = false) {
        Configure(u"TCP", Utf8ToUtf16(sim.Address()), delMsg);
    }

    Oid AddOutbox(const std::u16string& number, const std::u16string& text) {
        MessageDatabase db;
        EXPECT_TRUE(OpenMessageStore(db));
        SmsMessage m;
        m.number = number;
        m.text = text;
        m.folder = kFolderOutbox;
        EXPECT_TRUE(WriteMessage(db, m));
        return m.oid;
    }

    std::vector<SmsMessage> Folder(FolderId folder) {
        MessageDatabase db;
        EXPECT_TRUE(OpenMessageStore(db));
        std::vector<SmsMessage> out;
        db.ReadFolderPage(folder, 0, 100000, &out);
        return out;
    }

    // Runs the session to its end; `whileRunning` runs on this thread right after the start.
    RunLog RunTransfer(TransferSession& session,
                       const std::function<void()>& whileRunning = nullptr) {
        RunLog run;
        NotificationQueue queue;
        // As the program's callers do: the settings read as the transfer starts.
        TransferSettings settings;
        EXPECT_TRUE(ReadTransferSettings(&settings));
        EXPECT_TRUE(session.Start(&queue, kNotifyThreadEnded, &settings));
        if (whileRunning) whileRunning();
        for (;;) {
            auto n = queue.Take(60s);
            if (!n) {
                ADD_FAILURE() << "the transfer did not end";
                session.CancelAndWait();
                break;
            }
            run.notes.push_back(*n);
            if (n->message == kNotifyReceived || n->message == kNotifySending) {
                run.details.push_back(session.Text());
            }
            if (n->message == kNotifyThreadEnded) break;
        }
        session.Wait();
        run.result = session.Result();
        return run;
    }
    RunLog RunFull() {
        TransferSession session;
        return RunTransfer(session);
    }

    std::filesystem::path root_;
};

// The log lines that are AT commands (leaving out stray bytes such as a lone Ctrl-Z).
std::vector<std::string> Commands(const std::vector<std::string>& lines) {
    std::vector<std::string> out;
    for (const auto& l : lines) {
        if (l.rfind("AT", 0) == 0) out.push_back(l);
    }
    return out;
}

}  // namespace

TEST_F(TransferSessionTest, SendAndGetSendsTheOutboxAndFillsTheInboxInOrder) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--no-deliver-sent", "--sms", "SM:+4930111111:From the SIM"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    AddOutbox(u"+4930123456", u"Hello");
    AddOutbox(u"0301234567", u"Second");

    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_EQ(run.Sequence(), "3104 3114 3115 8004:2 8007 8007 3103 8006 8002 8001");
    ASSERT_EQ(run.details.size(), 3u);
    EXPECT_EQ(run.details[0], u"'+4930123456': Hello");
    EXPECT_EQ(run.details[1], u"'0301234567': Second");
    EXPECT_EQ(run.details[2], u"'+4930111111': From the SIM");

    // The exact conversation: wake-up, set-up, two sends with their TPDU lengths, retrieval.
    const std::vector<std::string> expected = {"AT",
                                               "AT",
                                               "ATE0V1",
                                               "AT+CMGF=0",
                                               "AT+CSCS=\"GSM\"",
                                               "AT",
                                               "AT+CMGS=17",
                                               "0001000A9194032143650000"
                                               "05C8329BFD06<ctrl-z>",
                                               "AT+CMGS=18",
                                               "<checked below>",
                                               "AT+CPMS=\"SM\"",
                                               "AT+CMGL=4",
                                               "AT+CPMS=\"ME\"",
                                               "AT+CMGL=4"};
    std::vector<std::string> log = sim.Log();
    ASSERT_EQ(log.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (i == 9) continue;  // checked below
        EXPECT_EQ(log[i], expected[i]) << "command " << i;
    }
    // The second PDU: 00, SUBMIT, MR 0, ten national digits swapped in pairs, PID, DCS.
    EXPECT_EQ(log[9].substr(0, 24), "0001000A8130103254760000");
    EXPECT_EQ(log[9].size(), 2u * 19u + 8u);  // 19 octets of hex and "<ctrl-z>"

    EXPECT_TRUE(Folder(kFolderOutbox).empty());
    auto sent = Folder(kFolderSent);
    ASSERT_EQ(sent.size(), 2u);
    for (const auto& m : sent) EXPECT_EQ(m.flags & kFlagUnread, 0u);
    auto inbox = Folder(kFolderInbox);
    ASSERT_EQ(inbox.size(), 1u);
    EXPECT_EQ(inbox[0].number, u"+4930111111");
    EXPECT_EQ(inbox[0].text, u"From the SIM");
    EXPECT_EQ(inbox[0].flags, kFlagUnread);
    // Nothing is deleted on the phone unless asked.
    EXPECT_EQ(sim.StoredIn("SM"), 1);
}

TEST_F(TransferSessionTest, AnEmptyOutboxGoesStraightToRetrievalWithoutASendCount) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_EQ(run.Sequence(), "3104 3114 3115 3103 8002 8001");
    EXPECT_FALSE(run.Has(kNotifySendCount));
    // An empty SIM is not listed; the phone memory is listed anyway.
    const auto log = sim.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), "AT+CMGL=4"), 1);
}

TEST_F(TransferSessionTest, TheSameMessageRetrievedTwiceIsStoredOnce) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "ME:+4930222222:Twice"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    EXPECT_EQ(RunFull().result, kErrNone);
    RunLog second = RunFull();
    EXPECT_EQ(second.result, kErrNone);
    EXPECT_FALSE(second.Has(kNotifyReceived));
    EXPECT_EQ(Folder(kFolderInbox).size(), 1u);
}

TEST_F(TransferSessionTest, DeletionRemovesStoredMessagesLastIndexFirstWithTheirMemorySelected) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--sms", "SM:+4930111111:One", "--sms", "SM:+4930111112:Two", "--sms",
                         "ME:+4930222222:Three"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim, /*delMsg=*/true);
    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_EQ(run.Count(kNotifyReceived), 3);
    EXPECT_EQ(Folder(kFolderInbox).size(), 3u);
    auto log = sim.Log();
    ASSERT_GE(log.size(), 5u);
    EXPECT_EQ(std::vector<std::string>(log.end() - 5, log.end()),
              (std::vector<std::string>{"AT+CPMS=\"SM\"", "AT+CMGD=2", "AT+CMGD=1",
                                        "AT+CPMS=\"ME\"", "AT+CMGD=1"}));
    EXPECT_EQ(sim.StoredIn("SM"), 0);
    EXPECT_EQ(sim.StoredIn("ME"), 0);
}

TEST_F(TransferSessionTest, ADuplicateIsNotStoredAgainButItsPhoneCopyIsStillDeleted) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "ME:+4930222222:Kept"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    EXPECT_EQ(RunFull().result, kErrNone);  // stored, left on the phone
    UseSim(sim, /*delMsg=*/true);
    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_FALSE(run.Has(kNotifyReceived));
    EXPECT_EQ(Folder(kFolderInbox).size(), 1u);
    EXPECT_EQ(sim.Log().back(), "AT+CMGD=1");
    EXPECT_EQ(sim.StoredIn("ME"), 0);
}

// The run names the records it stored, in the order stored: the new messages, and not the
// one that was already there.
TEST_F(TransferSessionTest, TheRunNamesTheRecordsItStored) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--sms", "SM:+4930111111:First", "--sms", "ME:+4930222222:Second", "--sms",
                         "ME:+4930333333:Third"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    TransferSession session;
    RunLog run = RunTransfer(session);
    EXPECT_EQ(run.result, kErrNone);
    const std::vector<Oid> ids = session.StoredIds();
    ASSERT_EQ(ids.size(), 3u);
    EXPECT_EQ(run.Count(kNotifyReceived), 3);
    MessageDatabase db;
    ASSERT_TRUE(OpenMessageStore(db));
    std::vector<std::u16string> texts;
    for (Oid id : ids) {
        SmsMessage m;
        m.oid = id;
        ASSERT_TRUE(ReadById(db, m));
        EXPECT_EQ(m.folder, kFolderInbox);
        texts.push_back(m.text);
    }
    EXPECT_EQ(texts, (std::vector<std::u16string>{u"First", u"Second", u"Third"}));
    // The same messages again are no new ones: the next run names nothing, and forgets what
    // the last run stored.
    run = RunTransfer(session);
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_TRUE(session.StoredIds().empty());
}

TEST_F(TransferSessionTest, APhoneWithoutPhoneMemorySucceedsAfterReadingTheSim) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-me", "--sms", "SM:+4930111111:Only SIM"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_TRUE(run.Has(kNotifySuccess));
    EXPECT_EQ(Folder(kFolderInbox).size(), 1u);
}

TEST_F(TransferSessionTest, SentMessagesComeBackThroughTheSimulatedNetwork) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    AddOutbox(u"+4930999999", u"Round trip");
    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrNone);
    auto inbox = Folder(kFolderInbox);
    ASSERT_EQ(inbox.size(), 1u);
    EXPECT_EQ(inbox[0].text, u"Round trip");
    EXPECT_EQ(inbox[0].number, u"+4930999999");
}

TEST_F(TransferSessionTest, OverAPseudoTerminal) {
    PhoneSimProcess sim(PhoneSimProcess::kPty,
                        {"--no-deliver-sent", "--sms", "SM:+4930111111:Pty"});
    ASSERT_TRUE(sim.Ok());
    Configure(Utf8ToUtf16(sim.Address()), u"localhost:4000");
    AddOutbox(u"+4930123456", u"Hello");
    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_EQ(run.Sequence(), "3104 3114 3115 8004:1 8007 3103 8006 8002 8001");
    EXPECT_EQ(Folder(kFolderSent).size(), 1u);
    EXPECT_EQ(Folder(kFolderInbox).size(), 1u);
}

TEST_F(TransferSessionTest, LocalModeDeliversToTheDeviceItselfWithoutAPhone) {
    for (const auto& [commPort, tcp] :
         {std::pair<std::u16string, std::u16string>{u"local", u"localhost:4000"},
          std::pair<std::u16string, std::u16string>{u"TCP", u"local"}}) {
        Configure(commPort, tcp);
        AddOutbox(u"+4930123456", u"To myself");
        RunLog run = RunFull();
        EXPECT_EQ(run.result, kErrNone);
        // Retrieval is announced in local mode too, and then has nothing to do.
        EXPECT_EQ(run.Sequence(), "8004:1 3103 8002 8001");
        EXPECT_TRUE(Folder(kFolderOutbox).empty());
    }
    auto inbox = Folder(kFolderInbox);
    ASSERT_EQ(inbox.size(), 2u);
    EXPECT_EQ(inbox[0].flags & kFlagUnread, kFlagUnread);
    EXPECT_EQ(Folder(kFolderSent).size(), 2u);
}

TEST_F(TransferSessionTest, SendOneSendsOnlyThatMessageAndLeavesStoringToTheCaller) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "SM:+4930111111:Not fetched"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    AddOutbox(u"+4930555555", u"Stays in the Outbox");
    SmsMessage one;
    one.number = u"+4930123456";
    one.text = u"Hello";
    TransferSession session;
    session.SetSingleMessage(&one);
    RunLog run = RunTransfer(session);
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_EQ(run.Sequence(), "3104 3114 3115 8004:1 8007 8002 8001");
    EXPECT_EQ(one.folder, kFolderSent);
    EXPECT_EQ(Folder(kFolderOutbox).size(), 1u);
    EXPECT_TRUE(Folder(kFolderInbox).empty());
    EXPECT_TRUE(Folder(kFolderSent).empty());
    auto log = sim.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), "AT+CMGL=4"), 0);
}

TEST_F(TransferSessionTest, PhoneErrorsBecomeTheResultAndUnsentMessagesStayInTheOutbox) {
    struct Case {
        const char* knob;
        TransferError expected;
    } cases[] = {{"AT+CMGS", kErrPhoneError},
                 {"AT+CMGS:CMS:500", kErrCmsError},
                 {"PDU:CMS:38", kErrCmsError},
                 {"AT+CMGS:CME:10", kErrCmeError}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.knob);
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--error-on", c.knob});
        ASSERT_TRUE(sim.Ok());
        UseSim(sim);
        const Oid oid = AddOutbox(u"+4930123456", u"Hello");
        RunLog run = RunFull();
        EXPECT_EQ(run.result, c.expected);
        EXPECT_FALSE(run.Has(kNotifySuccess));
        EXPECT_EQ(run.notes.back().message, kNotifyThreadEnded);
        auto outbox = Folder(kFolderOutbox);
        ASSERT_EQ(outbox.size(), 1u);
        EXPECT_EQ(outbox[0].oid, oid);
        // Stop before the next case adds its own message.
        MessageDatabase db;
        ASSERT_TRUE(OpenMessageStore(db));
        outbox[0].store = &db;  // the handle Folder() read it through is closed
        ASSERT_TRUE(DeleteStoredMessage(outbox[0]));
    }
}

// A SIM listing that fails makes the phone memory's result the run's result.
TEST_F(TransferSessionTest, AListingErrorIsTheResult) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--error-on", "AT+CMGL:CMS:321", "--sms", "SM:+4930111111:On the SIM"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrCmsError);
    EXPECT_FALSE(run.Has(kNotifySuccess));
}

// Once the SIM has been read, a phone memory that cannot be listed is not reported.
TEST_F(TransferSessionTest, APhoneMemoryListingErrorAfterAGoodSimIsNotReported) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--error-on", "AT+CMGL:CMS:321"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_TRUE(run.Has(kNotifySuccess));
    const auto log = sim.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), "AT+CMGL=4"), 1);  // the phone memory only
}

TEST_F(TransferSessionTest, ConnectionFailuresAndBadPortNames) {
    Configure(u"tcp", u"localhost:4000");  // lower case: neither COM nor TCP
    EXPECT_EQ(RunFull().result, kErrConnection);
    Configure(u"TCP", u"no-colon-here");
    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrInvalidParameter);
    EXPECT_EQ(run.Sequence(), "3104 8001");
    Configure(u"/dev/velkan-no-such-port", u"");
    EXPECT_EQ(RunFull().result, kErrConnection);
    // A port nobody listens on.
    Configure(u"TCP", u"127.0.0.1:1");
    EXPECT_EQ(RunFull().result, kErrConnection);
}

TEST_F(TransferSessionTest, APhoneStuckInAPromptIsWokenWithCtrlZ) {
    // A pseudo-terminal keeps the phone's state between connections: leave it inside a message
    // prompt, as a broken earlier send would.
    PhoneSimProcess sim(PhoneSimProcess::kPty, {"--no-deliver-sent"});
    ASSERT_TRUE(sim.Ok());
    {
        const int fd = open(sim.Address().c_str(), O_RDWR | O_NOCTTY);
        ASSERT_GE(fd, 0);
        const char cmd[] = "AT+CMGS=17\r";
        ASSERT_EQ(write(fd, cmd, sizeof cmd - 1), static_cast<ssize_t>(sizeof cmd - 1));
        ASSERT_TRUE(sim.WaitForLog("AT+CMGS=17"));
        close(fd);
    }
    Configure(Utf8ToUtf16(sim.Address()), u"");
    // The phone ignores the first two "AT" (they are taken as PDU text): let their 3 s
    // time-outs pass in a moment.
    FakeClock clock(1000, 2);
    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_TRUE(run.Has(kNotifySuccess));
    const auto log = sim.Log();
    // The two swallowed "AT" end up in the PDU line that the Ctrl-Z closed, then the fallback.
    auto it = std::find(log.begin(), log.end(), "AT\rAT\r<ctrl-z>");
    if (it == log.end()) it = std::find(log.begin(), log.end(), "ATAT<ctrl-z>");
    ASSERT_NE(it, log.end()) << "log: " << ::testing::PrintToString(log);
    EXPECT_EQ(std::vector<std::string>(it + 1, it + 5),
              (std::vector<std::string>{"AT", "ATZ", "AT", "AT"}));
}

TEST_F(TransferSessionTest, SilenceTimesOutWithTen) {
    // A SIM with a message, so the SIM listing's time-out is the one reported.
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--silent-on", "AT+CMGL", "--sms", "SM:+4930111111:On the SIM"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    FakeClock clock(1000, 2);  // the 20 s listing time-outs pass in about ten thousand reads
    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrTimeout);
    EXPECT_FALSE(run.Has(kNotifySuccess));
}

TEST_F(TransferSessionTest, APhoneThatNeverAnswersFailsTheWakeUp) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--silent-on", "AT"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    FakeClock clock(1000, 2);
    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrTimeout);
    EXPECT_EQ(run.Sequence(), "3104 8001");
    EXPECT_EQ(Commands(sim.Log()), (std::vector<std::string>{"AT", "AT", "AT", "ATZ", "AT", "AT"}));
}

// Cancel while the phone is silent in each phase: the run ends with 5, "Cancelling..." is
// shown, there is no success, and nothing is lost or stored twice.
TEST_F(TransferSessionTest, CancelInEachPhaseEndsWithFive) {
    struct Case {
        const char* silentOn;
        const char* waitFor;
        bool delMsg;
    } cases[] = {{"AT", "AT", false},              // connecting
                 {"ATE0V1", "ATE0V1", false},      // set-up
                 {"PDU", "AT+CMGS=17", false},     // sending
                 {"AT+CMGL", "AT+CMGL=4", false},  // listing
                 {"AT+CMGD", "AT+CMGD=1", true}};  // deleting
    for (const auto& c : cases) {
        SCOPED_TRACE(c.silentOn);
        std::filesystem::remove_all(root_ / "data");
        std::filesystem::create_directories(root_ / "data");
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent", "--silent-on", c.silentOn,
                                                    "--sms", "ME:+4930222222:On the phone"});
        ASSERT_TRUE(sim.Ok());
        UseSim(sim, c.delMsg);
        AddOutbox(u"+4930123456", u"Hello");
        TransferSession session;
        RunLog run = RunTransfer(session, [&] {
            ASSERT_TRUE(sim.WaitForLog(c.waitFor));
            session.Cancel();
        });
        EXPECT_EQ(run.result, kErrCancelled);
        EXPECT_FALSE(run.Has(kNotifySuccess));
        EXPECT_NE(run.Sequence().find(std::to_string(kStatusCancelling)), std::string::npos);
        const auto outbox = Folder(kFolderOutbox);
        const auto sent = Folder(kFolderSent);
        EXPECT_EQ(outbox.size() + sent.size(), 1u);  // the message is in exactly one place
        EXPECT_LE(Folder(kFolderInbox).size(), 1u);
    }
}

// Messages that reach the Outbox during a run are not all sent by it: the run sends at most one
// more than it counted at the start, then ends without fetching (and without success).
TEST_F(TransferSessionTest, MessagesWrittenDuringTheRunWaitForTheNextOne) {
    // A slow line: the first PDU takes about 0.3 s to arrive, time enough to add messages.
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent", "--baud", "1200"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    AddOutbox(u"+4930123456", u"Hello");
    TransferSession session;
    RunLog run = RunTransfer(session, [&] {
        ASSERT_TRUE(sim.WaitForLog("AT+CMGS=17"));
        for (int i = 0; i < 3; ++i) AddOutbox(u"+4930123456", u"Later");
    });
    // The message counted at the start is sent, the run goes on to receive and succeeds; the
    // three written meanwhile wait in the Outbox for the next transfer.
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_EQ(run.Sequence(), "3104 3114 3115 8004:1 8007 3103 8002 8001");
    const auto log = sim.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), "AT+CMGS=17"), 1);
    EXPECT_EQ(Folder(kFolderSent).size(), 1u);
    const auto outbox = Folder(kFolderOutbox);
    ASSERT_EQ(outbox.size(), 3u);
    for (const auto& m : outbox) EXPECT_EQ(m.text, u"Later");

    RunLog next = RunFull();
    EXPECT_EQ(next.result, kErrNone);
    EXPECT_EQ(next.Count(kNotifySending), 3);
    EXPECT_TRUE(Folder(kFolderOutbox).empty());
}

TEST_F(TransferSessionTest, AMessageMarkedAsMaybeSentIsNeverSentAgainByItself) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    const Oid marked = AddOutbox(u"+4930123456", u"Maybe gone");
    {
        MessageDatabase db;
        ASSERT_TRUE(OpenMessageStore(db));
        SmsMessage m;
        m.oid = marked;
        ASSERT_TRUE(ReadById(db, m));
        m.flags |= kFlagMayHaveBeenSent;
        ASSERT_TRUE(WriteMessage(db, m));
    }
    AddOutbox(u"+4930999999", u"Fresh");

    TransferSession session;
    RunLog run = RunTransfer(session);
    EXPECT_EQ(run.result, kErrNone);
    // Only the unmarked message is counted and sent; the marked one is named in the outcome.
    EXPECT_EQ(run.Sequence(), "3104 3114 3115 8004:1 8007 3103 8002 8001");
    EXPECT_EQ(session.Shortfalls(),
              std::vector<std::u16string>{u"Not sent, it may have been sent already: +4930123456"});
    const auto log = sim.Log();
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const std::string& l) { return l.rfind("AT+CMGS", 0) == 0; }),
              1);
    const auto outbox = Folder(kFolderOutbox);
    ASSERT_EQ(outbox.size(), 1u);
    EXPECT_EQ(outbox[0].oid, marked);
    EXPECT_NE(outbox[0].flags & kFlagMayHaveBeenSent, 0u);
    ASSERT_EQ(Folder(kFolderSent).size(), 1u);
    EXPECT_EQ(Folder(kFolderSent)[0].flags & kFlagMayHaveBeenSent, 0u);
}

namespace {

// Holds the store's write lock from another connection, as another program would.
class ForeignWriteLock {
  public:
    ForeignWriteLock() {
        if (sqlite3_open(StoreFilePath().c_str(), &db_) != SQLITE_OK) return;
        held_ = sqlite3_exec(db_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    ~ForeignWriteLock() {
        if (held_) sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
        sqlite3_close(db_);
    }
    bool Held() const { return held_; }

  private:
    sqlite3* db_ = nullptr;
    bool held_ = false;
};

}  // namespace

TEST_F(TransferSessionTest, AMessageThePhoneTookButSentCouldNotRecordIsNotSentTwice) {
    // A slow line gives the test time to lock the store while the PDU travels.
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent", "--baud", "1200"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    const Oid oid = AddOutbox(u"+4930123456", u"Once only");
    std::unique_ptr<ForeignWriteLock> lock;
    TransferSession session;
    RunLog run = RunTransfer(session, [&] {
        ASSERT_TRUE(sim.WaitForLog("AT+CMGS=20"));
        lock = std::make_unique<ForeignWriteLock>();
        ASSERT_TRUE(lock->Held());
    });
    EXPECT_EQ(run.result, kErrStore);
    EXPECT_FALSE(run.Has(kNotifySuccess));
    const std::string detail = Utf16ToUtf8(session.FailureDetail());
    EXPECT_NE(detail.find("The message to +4930123456 was sent, but it could not be moved to Sent"),
              std::string::npos)
        << detail;
    EXPECT_NE(detail.find("locked"), std::string::npos) << detail;
    lock.reset();

    // The phone has it; the store still has it in the Outbox, marked. The next run does not
    // send it again and says so.
    auto outbox = Folder(kFolderOutbox);
    ASSERT_EQ(outbox.size(), 1u);
    EXPECT_EQ(outbox[0].oid, oid);
    EXPECT_NE(outbox[0].flags & kFlagMayHaveBeenSent, 0u);
    TransferSession again;
    RunLog second = RunTransfer(again);
    EXPECT_EQ(second.result, kErrNone);
    EXPECT_FALSE(second.Has(kNotifySending));
    EXPECT_EQ(again.Shortfalls().size(), 1u);
    const auto log = sim.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), "AT+CMGS=20"), 1);
}

TEST_F(TransferSessionTest, AMessageTheEncoderRefusesStaysMarkedAndTheOthersAreSent) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    const Oid lonePlus = AddOutbox(u"+", u"Nobody");
    const Oid tooLong = AddOutbox(std::u16string(5000, u'1'), u"Too far");
    AddOutbox(u"+4930123456", u"Fine");
    TransferSession session;
    RunLog run = RunTransfer(session);
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_EQ(run.Sequence(), "3104 3114 3115 8004:3 8007 3103 8002 8001");
    const auto shortfalls = session.Shortfalls();
    ASSERT_EQ(shortfalls.size(), 2u);
    EXPECT_EQ(shortfalls[0], u"Not sent, the number cannot be used: +");
    EXPECT_EQ(shortfalls[1].rfind(u"Not sent, the number cannot be used: 1111", 0), 0u);
    auto outbox = Folder(kFolderOutbox);
    ASSERT_EQ(outbox.size(), 2u);
    for (const auto& m : outbox) {
        EXPECT_TRUE(m.oid == lonePlus || m.oid == tooLong);
        EXPECT_NE(m.flags & kFlagNotEncodable, 0u);
        EXPECT_EQ(m.flags & kFlagMayHaveBeenSent, 0u);
    }
    ASSERT_EQ(Folder(kFolderSent).size(), 1u);
    EXPECT_EQ(Folder(kFolderSent)[0].text, u"Fine");
}

TEST_F(TransferSessionTest, AStoreThatCannotBeUsedEndsTheRunWithItsReason) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "ME:+4930222222:Waiting"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim, /*delMsg=*/true);
    AddOutbox(u"+4930123456", u"Hello");
    {
        // A store written by a newer version: opened by nobody, left as it is.
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(StoreFilePath().c_str(), &db), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(db, "PRAGMA user_version=99", nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(db);
    }
    (void)TakeStoreNotices();
    TransferSession session;
    RunLog run = RunTransfer(session);
    EXPECT_EQ(run.result, kErrStore);
    EXPECT_FALSE(run.Has(kNotifySuccess));
    EXPECT_FALSE(run.Has(kNotifySending));
    const std::string detail = Utf16ToUtf8(session.FailureDetail());
    EXPECT_NE(detail.find(StoreFilePath()), std::string::npos) << detail;
    EXPECT_NE(detail.find("newer version"), std::string::npos) << detail;
    // Nothing sent, nothing fetched or deleted.
    const auto log = sim.Log();
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const std::string& l) {
                                return l.rfind("AT+CMGS", 0) == 0 || l.rfind("AT+CMGD", 0) == 0;
                            }),
              0);
    EXPECT_EQ(sim.StoredIn("ME"), 1);
}

TEST_F(TransferSessionTest, AStoreLockedByAnotherProgramEndsTheRunBeforeAnythingIsSent) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    AddOutbox(u"+4930123456", u"Hello");
    ForeignWriteLock lock;
    ASSERT_TRUE(lock.Held());
    TransferSession session;
    RunLog run = RunTransfer(session);
    EXPECT_EQ(run.result, kErrStore);
    EXPECT_FALSE(run.Has(kNotifySending));
    EXPECT_NE(Utf16ToUtf8(session.FailureDetail()).find("locked"), std::string::npos);
}

TEST_F(TransferSessionTest, MessagesThatCannotBeStoredAreCountedAndLeftOnThePhone) {
    // The phone holds its first listing until the test has locked the store, so every message
    // listed meets the lock however loaded the machine is.
    const std::string gate = (root_ / "gate").string();
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--hold-on", "AT+CMGL", "--hold-gate", gate, "--sms", "ME:+4930222222:One",
                         "--sms", "ME:+4930222223:Two"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim, /*delMsg=*/true);
    std::unique_ptr<ForeignWriteLock> lock;
    TransferSession session;
    RunLog run = RunTransfer(session, [&] {
        ASSERT_TRUE(WaitForFile(gate + ".held"));
        lock = std::make_unique<ForeignWriteLock>();
        ASSERT_TRUE(lock->Held());
        std::ofstream open(gate);
    });
    lock.reset();
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_FALSE(run.Has(kNotifyReceived));
    const auto shortfalls = session.Shortfalls();
    ASSERT_EQ(shortfalls.size(), 1u);
    EXPECT_EQ(Utf16ToUtf8(shortfalls[0]).rfind("2 message(s) could not be stored: ", 0), 0u)
        << Utf16ToUtf8(shortfalls[0]);
    EXPECT_TRUE(Folder(kFolderInbox).empty());
    EXPECT_EQ(sim.StoredIn("ME"), 2);  // nothing deleted that was not stored
}

TEST_F(TransferSessionTest, ADamagedStoreSetAsideIsNamedInTheOutcome) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    {
        std::ofstream garbage(StoreFilePath(), std::ios::binary | std::ios::trunc);
        garbage << std::string(8192, 'x');
    }
    TransferSession session;
    RunLog run = RunTransfer(session);
    EXPECT_EQ(run.result, kErrNone);
    const auto shortfalls = session.Shortfalls();
    ASSERT_EQ(shortfalls.size(), 1u);
    const std::string line = Utf16ToUtf8(shortfalls[0]);
    EXPECT_NE(line.find("set aside as " + StoreFilePath() + ".damaged-"), std::string::npos)
        << line;
}

TEST_F(TransferSessionTest, OneTransferPerStoreAtATime) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    AddOutbox(u"+4930123456", u"Hello");
    {
        TransferLock other;
        std::string error;
        ASSERT_EQ(other.TryTake(&error), TransferLock::Outcome::kTaken) << error;
        FakeClock clock(1000, 50);  // the five-second wait passes in a hundred readings
        TransferSession session;
        RunLog run = RunTransfer(session);
        EXPECT_EQ(run.result, kErrBusy);
        EXPECT_EQ(run.Sequence(), "8001");  // nothing was tried, not even the phone
        EXPECT_TRUE(sim.Log().empty());
    }
    // Once the other transfer has ended, the next one runs.
    RunLog run = RunFull();
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_EQ(Folder(kFolderSent).size(), 1u);
}

// An automatic check does not wait for another transfer: on a clock that stands still it ends
// at once with kErrBusy, having done nothing and left nothing undone.
TEST_F(TransferSessionTest, ACheckThatSkipsIfBusyEndsAtOnceWhenAnotherTransferRuns) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "SM:+4930111111:Waits"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    TransferLock other;
    std::string error;
    ASSERT_EQ(other.TryTake(&error), TransferLock::Outcome::kTaken) << error;
    TransferSettings settings;
    ASSERT_TRUE(ReadTransferSettings(&settings));
    settings.skipIfBusy = true;
    TransferSession session;
    NotificationQueue queue;
    {
        FakeClock clock(1000, 0);  // the five-second wait would never pass
        ASSERT_TRUE(session.Start(&queue, kNotifyThreadEnded, &settings));
        auto n = queue.Take(30s);
        ASSERT_TRUE(n);
        EXPECT_EQ(n->message, kNotifyThreadEnded);  // nothing before it, not even "Connecting"
        session.Wait();
    }
    EXPECT_EQ(session.Result(), kErrBusy);
    EXPECT_TRUE(session.Shortfalls().empty());
    EXPECT_TRUE(sim.Log().empty());
    // Once the other transfer has ended, the same settings run.
    other.Release();
    TransferSession next;
    ASSERT_TRUE(next.Start(&queue, kNotifyThreadEnded, &settings));
    for (auto n = queue.Take(30s); n && n->message != kNotifyThreadEnded; n = queue.Take(30s)) {
    }
    next.Wait();
    EXPECT_EQ(next.Result(), kErrNone);
    EXPECT_EQ(Folder(kFolderInbox).size(), 1u);
}

TEST_F(TransferSessionTest, ATransferWaitsForAnotherThatEndsSoon) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    auto other = std::make_unique<TransferLock>();
    std::string error;
    ASSERT_EQ(other->TryTake(&error), TransferLock::Outcome::kTaken) << error;
    TransferSession session;
    // Released while the session waits (real clock, well within its five seconds).
    RunLog run = RunTransfer(session, [&] { other.reset(); });
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_TRUE(run.Has(kNotifySuccess));
}

// Settings that could not be read: the run does nothing at all, with no notification but the
// thread's end, and leaves the result as it was. The settings of an earlier run are not reused.
TEST_F(TransferSessionTest, WithoutItsSettingsARunDoesNothing) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "SM:+4930111111:Stays"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    AddOutbox(u"+4930123456", u"Hello");
    TransferSession session;
    auto runWithoutSettings = [&] {
        session.SetResult(kErrPhoneError);
        NotificationQueue queue;
        ASSERT_TRUE(session.Start(&queue, kNotifyThreadEnded, nullptr));
        auto n = queue.Take(60s);
        ASSERT_TRUE(n);
        EXPECT_EQ(n->message, kNotifyThreadEnded);
        session.Wait();
        EXPECT_FALSE(queue.Take(0ms));
        EXPECT_EQ(session.Result(), kErrPhoneError);
    };
    runWithoutSettings();
    EXPECT_TRUE(Commands(sim.Log()).empty());
    EXPECT_EQ(Folder(kFolderOutbox).size(), 1u);

    session.SetResult(kErrNone);  // a run sets the result only when it fails
    RunLog run = RunTransfer(session);
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_TRUE(run.Has(kNotifySuccess));
    const std::size_t commands = Commands(sim.Log()).size();
    EXPECT_GT(commands, 0u);
    EXPECT_EQ(Folder(kFolderSent).size(), 1u);

    runWithoutSettings();
    EXPECT_EQ(Commands(sim.Log()).size(), commands);
}

TEST_F(TransferSessionTest, CancelBeforeAnyInputOrOutputEndsWithFive) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "ME:+4930222222:Stays"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    AddOutbox(u"+4930123456", u"Hello");
    TransferSession session;
    RunLog run = RunTransfer(session, [&] { session.Cancel(); });
    EXPECT_EQ(run.result, kErrCancelled);
    EXPECT_FALSE(run.Has(kNotifySuccess));
    EXPECT_EQ(run.notes.back().message, kNotifyThreadEnded);
    EXPECT_EQ(run.Count(kNotifyThreadEnded), 1);
    EXPECT_EQ(Folder(kFolderOutbox).size() + Folder(kFolderSent).size(), 1u);
    EXPECT_LE(Folder(kFolderInbox).size(), 1u);
}

// Sent copies (SMS-SUBMIT) and status reports kept by the phone are neither stored, counted nor
// deleted; only the received message is.
TEST_F(TransferSessionTest, SubmitsAndStatusReportsOnThePhoneAreLeftAlone) {
    const std::string file = (root_ / "phone.txt").string();
    {
        std::ofstream out(file);
        out << "ME|3|+4930123456|2003-11-15 09:30:05|+04|A sent copy\n"
               "ME|2|+4930123456|2003-11-15 09:31:05|+04|An unsent draft\n"
               // SMS-STATUS-REPORT: first octet 06, reference 01, recipient +4930123456, the
               // centre's time stamp, the discharge time and status 00 (delivered).
               "ME|0|PDU:0006010A91940321436530115190035040301151900351400"
               "0|24\n"
               "ME|0|+4930999999|2003-11-15 09:32:05|+04|The only message\n";
    }
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--messages", file});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim, /*delMsg=*/true);
    TransferSession session;
    RunLog run = RunTransfer(session);
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_EQ(run.Count(kNotifyReceived), 1);
    EXPECT_TRUE(session.Shortfalls().empty());  // none of them is a message not read
    const auto inbox = Folder(kFolderInbox);
    ASSERT_EQ(inbox.size(), 1u);
    EXPECT_EQ(inbox[0].text, u"The only message");
    const auto log = sim.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), "AT+CMGD=4"), 1);
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const std::string& l) { return l.rfind("AT+CMGD=", 0) == 0; }),
              1);
    EXPECT_EQ(sim.StoredIn("ME"), 3);
}

// ---- What the retrieval could not read ----

// A phone that answers nothing once the set-up is over (gone, or its link dropped) has not
// been read: the run ends with the phone memory's selection error, never with "Success".
TEST_F(TransferSessionTest, APhoneThatGoesAwayBeforeRetrievalIsNoSuccess) {
    for (const char* knob : {"--silent-on", "--drop-on"}) {
        SCOPED_TRACE(knob);
        PhoneSimProcess sim(PhoneSimProcess::kTcp,
                            {knob, "AT+CPMS", "--sms", "ME:+4930222222:Never fetched"});
        ASSERT_TRUE(sim.Ok());
        UseSim(sim);
        FakeClock clock(1000, 2);  // the 3 s time-outs pass in a moment
        RunLog run = RunFull();
        EXPECT_EQ(run.result, kErrTimeout);
        EXPECT_FALSE(run.Has(kNotifySuccess));
        EXPECT_TRUE(Folder(kFolderInbox).empty());
    }
}

// A line of a listing that cannot be read costs at most its own message: the rest is fetched
// (and, with "DelMsg", deleted), and what was not read is named per memory. The unread message
// stays on the phone.
TEST_F(TransferSessionTest, ABadListingLineCostsAtMostItsMessageAndIsNamed) {
    struct Case {
        const char* noise;
        int notReadPerMemory;
    } cases[] = {{"nul", 1}, {"cmti", 0}, {"long:1999", 0}, {"long:5000", 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.noise);
        std::filesystem::remove_all(root_ / "data");
        std::filesystem::create_directories(root_ / "data");
        PhoneSimProcess sim(PhoneSimProcess::kTcp,
                            {"--listing-noise", c.noise, "--sms", "SM:+4930111111:SIM one", "--sms",
                             "SM:+4930111112:SIM two", "--sms", "ME:+4930222221:Phone one", "--sms",
                             "ME:+4930222222:Phone two", "--sms", "ME:+4930222223:Phone three"});
        ASSERT_TRUE(sim.Ok());
        UseSim(sim, /*delMsg=*/true);
        TransferSession session;
        RunLog run = RunTransfer(session);
        EXPECT_EQ(run.result, kErrNone);
        EXPECT_TRUE(run.Has(kNotifySuccess));
        EXPECT_EQ(run.Count(kNotifyReceived), 5 - 2 * c.notReadPerMemory);
        EXPECT_EQ(static_cast<int>(Folder(kFolderInbox).size()), 5 - 2 * c.notReadPerMemory);
        std::vector<std::u16string> expected;
        if (c.notReadPerMemory != 0) {
            expected = {u"1 message(s) in the SIM could not be read",
                        u"1 message(s) in the phone memory could not be read"};
        }
        EXPECT_EQ(session.Shortfalls(), expected);
        // Deleted exactly what was stored.
        EXPECT_EQ(sim.StoredIn("SM"), c.notReadPerMemory);
        EXPECT_EQ(sim.StoredIn("ME"), c.notReadPerMemory);
    }
}

// Long messages at 38400 baud take about 0.09 s each to list; with the clock running ten times
// as fast, the 20 s listing deadline falls after about 2 s, in the middle of a listing of 30 or
// 40. The messages that arrived whole are stored and deleted, the rest is named, and the phone
// is in step again for the deletions: the next Get fetches the rest, until the phone is empty.
// The result codes stay as they are: a cut phone-memory listing after a good SIM is no error; a
// cut SIM listing on a phone without phone memory is 14, and "Success" is not claimed.
TEST_F(TransferSessionTest, ACutListingIsFetchedOverSeveralGetsUntilThePhoneIsEmpty) {
    struct Case {
        const char* memory;
        int messages;
        std::vector<std::string> knobs;
        TransferError cutResult;
        std::u16string where;
    } cases[] = {{"ME", 40, {}, kErrNone, u"in the phone memory"},
                 {"SM", 30, {"--no-me"}, kErrPhoneError, u"in the SIM"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.memory);
        std::filesystem::remove_all(root_ / "data");
        std::filesystem::create_directories(root_ / "data");
        const std::string file = (root_ / "long.txt").string();
        {
            std::ofstream out(file);
            for (int i = 1; i <= c.messages; ++i) {
                std::string text = "Message " + std::to_string(i) + " ";
                text += std::string(160 - text.size(), 'x');
                out << c.memory << "|0|+49301000" << 100 + i << "|2024-01-01 08:00:00|+04|" << text
                    << "\n";
            }
        }
        std::vector<std::string> args = {"--baud", "38400", "--messages", file};
        args.insert(args.end(), c.knobs.begin(), c.knobs.end());
        PhoneSimProcess sim(PhoneSimProcess::kTcp, args);
        ASSERT_TRUE(sim.Ok());
        UseSim(sim, /*delMsg=*/true);
        ScaledClock clock(10);
        int cutGets = 0;
        int gets = 0;
        while (sim.StoredIn(c.memory) > 0 && gets < 8) {
            ++gets;
            SCOPED_TRACE("Get " + std::to_string(gets));
            const int before = sim.StoredIn(c.memory);
            TransferSession session;
            RunLog run = RunTransfer(session);
            const int left = sim.StoredIn(c.memory);
            EXPECT_EQ(run.Count(kNotifyReceived), before - left);  // every stored one was deleted
            EXPECT_GT(before - left, 0) << "no progress";
            const auto shortfalls = session.Shortfalls();
            if (left == 0) {
                EXPECT_EQ(run.result, kErrNone);
                EXPECT_TRUE(shortfalls.empty());
            } else {
                ++cutGets;
                EXPECT_EQ(run.result, c.cutResult);
                // Exactly the messages still on the phone are named.
                EXPECT_EQ(shortfalls, (std::vector<std::u16string>{
                                          Utf8ToUtf16(std::to_string(left)) + u" message(s) " +
                                          c.where + u" could not be read"}));
            }
            EXPECT_EQ(run.Has(kNotifySuccess), run.result == kErrNone);
        }
        EXPECT_EQ(sim.StoredIn(c.memory), 0);
        EXPECT_GE(cutGets, 1) << "the deadline never cut the listing";
        EXPECT_EQ(static_cast<int>(Folder(kFolderInbox).size()), c.messages);
        std::printf("%s: %d Gets emptied the memory, %d of them cut by the deadline\n", c.memory,
                    gets, cutGets);
    }
}

// A phone that goes on sending after the listing's deadline, far more than its memory can
// hold (here a line of 100,000 bytes in the middle of the listing, at 38400 baud on a clock ten
// times as fast), is out of step: its answers could belong to any command, so nothing more is
// asked of it, not even the deletion of the message that did arrive. That message is stored,
// and the one behind the noise is named.
TEST_F(TransferSessionTest, APhoneOutOfStepAfterACutListingIsAskedNothingMore) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--baud", "38400", "--listing-noise", "long:100000@2", "--sms",
                         "ME:+4930222221:Arrived", "--sms", "ME:+4930222222:Behind the noise"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim, /*delMsg=*/true);
    ScaledClock clock(10);
    TransferSession session;
    RunLog run = RunTransfer(session);
    // A phone memory listing that fails after a good (empty) SIM is not reported as an error.
    EXPECT_EQ(run.result, kErrNone);
    EXPECT_EQ(run.Count(kNotifyReceived), 1);
    EXPECT_EQ(session.Shortfalls(),
              (std::vector<std::u16string>{u"1 message(s) in the phone memory could not be read"}));
    const auto log = Commands(sim.Log());
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log.back(), "AT+CMGL=4");  // no AT+CPMS or AT+CMGD after the listing
    EXPECT_EQ(sim.StoredIn("ME"), 2);
    const auto inbox = Folder(kFolderInbox);
    ASSERT_EQ(inbox.size(), 1u);
    EXPECT_EQ(inbox[0].text, u"Arrived");
}

TEST_F(TransferSessionTest, TheRunNamesTheRecordsItStoredInTheOrderReceived) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--sms", "SM:+4930111111:First", "--sms", "ME:+4930222222:Second"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    TransferSession session;
    EXPECT_EQ(RunTransfer(session).result, kErrNone);
    const std::vector<Oid> stored = session.StoredIds();
    const auto inbox = Folder(kFolderInbox);
    ASSERT_EQ(stored.size(), 2u);
    ASSERT_EQ(inbox.size(), 2u);
    // The Inbox lists newest first; both have the phone's time, so by id.
    MessageDatabase db;
    ASSERT_TRUE(OpenMessageStore(db));
    SmsMessage first;
    first.oid = stored[0];
    ASSERT_TRUE(ReadById(db, first));
    EXPECT_EQ(first.text, u"First");
    SmsMessage second;
    second.oid = stored[1];
    ASSERT_TRUE(ReadById(db, second));
    EXPECT_EQ(second.text, u"Second");

    // A run that finds nothing new names nothing, not the last run's records.
    EXPECT_EQ(RunTransfer(session).result, kErrNone);
    EXPECT_TRUE(session.StoredIds().empty());
}

TEST_F(TransferSessionTest, ARunThatLeavesTheOutboxAloneOnlyFetches) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--no-deliver-sent", "--sms", "SM:+4930111111:Arrived"});
    ASSERT_TRUE(sim.Ok());
    UseSim(sim);
    AddOutbox(u"+4930123456", u"Waits");

    RunLog run;
    NotificationQueue queue;
    TransferSettings settings;
    ASSERT_TRUE(ReadTransferSettings(&settings));
    settings.sendOutbox = false;
    TransferSession session;
    ASSERT_TRUE(session.Start(&queue, kNotifyThreadEnded, &settings));
    for (;;) {
        auto n = queue.Take(60s);
        ASSERT_TRUE(n.has_value());
        run.notes.push_back(*n);
        if (n->message == kNotifyThreadEnded) break;
    }
    session.Wait();
    EXPECT_EQ(session.Result(), kErrNone);
    EXPECT_EQ(run.Sequence(), "3104 3114 3115 3103 8006 8002 8001");
    EXPECT_EQ(Folder(kFolderOutbox).size(), 1u);
    EXPECT_TRUE(Folder(kFolderSent).empty());
    EXPECT_EQ(Folder(kFolderInbox).size(), 1u);
    for (const std::string& line : sim.Log())
        EXPECT_EQ(line.rfind("AT+CMGS", 0), std::string::npos);
}
