// SPDX-License-Identifier: GPL-3.0-or-later
// `velkan send-get` and `velkan send` run as separate processes against the simulated phone, over
// TCP and a pseudo-terminal: what they print, their exit status, the commands the phone
// receives, the folders afterwards, Ctrl-C in each phase and kill -9 in the middle of a run.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "phone_sim_process.h"
#include "run_process.h"
#include "store/message_store.h"
#include "unanswered_tcp.h"
#include "wait_for_file.h"

namespace fs = std::filesystem;

namespace {

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// The log lines that are AT commands (leaving out the PDU lines).
std::vector<std::string> Commands(const std::vector<std::string>& lines) {
    std::vector<std::string> out;
    for (const auto& l : lines) {
        if (l.rfind("AT", 0) == 0) out.push_back(l);
    }
    return out;
}

class CliTransferTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "velkan-transfer-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        home_ = pattern;
        setenv("HOME", home_.c_str(), 1);
        setenv("XDG_DATA_HOME", (home_ + "/data").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (home_ + "/config").c_str(), 1);
        unsetenv("VELKAN_DATA_DIR");
        unsetenv("VELKAN_CLOCK_STEP_MS");
    }
    void TearDown() override {
        unsetenv("VELKAN_CLOCK_STEP_MS");
        std::error_code ec;
        fs::remove_all(home_, ec);
    }

    ProcessResult Velkan(const std::vector<std::string>& args) {
        return RunProcess(VELKAN_BIN, args);
    }

    void Set(const std::string& name, const std::string& value) {
        const ProcessResult r = Velkan({"config", "set", name, value});
        ASSERT_EQ(r.exitStatus, 0) << r.err;
    }
    void UseTcp(const PhoneSimProcess& sim, bool delMsg = false) {
        Set("CommPort", "TCP");
        Set("TCP", sim.Address());
        Set("DelMsg", delMsg ? "1" : "0");
    }
    void Compose(const std::string& to, const std::string& text) {
        const ProcessResult r = Velkan({"compose", "--to", to, "--text", text});
        ASSERT_EQ(r.exitStatus, 0) << r.err;
    }
    // The folder as `velkan list --json` prints it, one object a line.
    std::vector<std::string> Folder(const std::string& folder) {
        const ProcessResult r = Velkan({"list", folder, "--json"});
        EXPECT_EQ(r.exitStatus, 0) << r.err;
        return Lines(r.out);
    }
    int CountWithText(const std::string& folder, const std::string& text) {
        const auto lines = Folder(folder);
        return static_cast<int>(std::count_if(
            lines.begin(), lines.end(),
            [&](const std::string& l) { return Contains(l, "\"text\":\"" + text + "\""); }));
    }
    // The PDU that `velkan pdu encode` makes for a message with the default centre.
    std::string EncodedPdu(const std::string& to, const std::string& text) {
        const ProcessResult r = Velkan({"pdu", "encode", "--to", to, "--text", text});
        const std::string key = "\"pdu\":\"";
        const std::size_t at = r.out.find(key);
        if (at == std::string::npos) return "(no pdu: " + r.out + ")";
        const std::size_t start = at + key.size();
        return r.out.substr(start, r.out.find('"', start) - start);
    }
    std::string StoreFile() const { return home_ + "/data/velkan-tessiver/velkan.sqlite3"; }
    // Puts a message straight into the store, as a transfer cut short would have left it.
    Oid Put(FolderId folder, const std::u16string& number, const std::u16string& text,
            std::uint32_t flags) {
        MessageDatabase db;
        EXPECT_TRUE(OpenMessageStore(db));
        SmsMessage m;
        m.folder = folder;
        m.number = number;
        m.text = text;
        m.flags = flags;
        EXPECT_TRUE(WriteMessage(db, m));
        return m.oid;
    }
    // The line of `velkan list FOLDER --json` for message `id`; empty when it is not there.
    std::string Entry(const std::string& folder, Oid id) {
        for (const std::string& line : Folder(folder)) {
            if (Contains(line, "{\"id\":" + std::to_string(id) + ",")) return line;
        }
        return {};
    }

    std::string home_;
};

const char kTimeoutText[] = "A timeout occurred during connection/operation.";
const char kConnectionText[] = "Connection failed.";

}  // namespace

TEST_F(CliTransferTest, SendGetSendsTheOutboxFillsTheInboxAndSaysSoLineByLine) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--no-deliver-sent", "--sms", "SM:+4930111111:From the SIM"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    Compose("+49 30 123456", "Hello");
    Compose("0301234567", "Second");

    const ProcessResult r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(Lines(r.err),
              (std::vector<std::string>{"Connecting Phone...", "Connected", "Initializing...",
                                        "Sending Message 1/2: '+4930123456': Hello",
                                        "Sending Message 2/2: '0301234567': Second",
                                        "Receiving Inbox Messages...",
                                        "Received (1): '+4930111111': From the SIM", "Success",
                                        "2 message(s) sent", "1 new message(s)"}));
    EXPECT_EQ(sim.Log(), (std::vector<std::string>{
                             "AT", "AT", "ATE0V1", "AT+CMGF=0", "AT+CSCS=\"GSM\"", "AT",
                             "AT+CMGS=17", "0001000A919403214365000005C8329BFD06<ctrl-z>",
                             "AT+CMGS=18", EncodedPdu("0301234567", "Second") + "<ctrl-z>",
                             "AT+CPMS=\"SM\"", "AT+CMGL=4", "AT+CPMS=\"ME\"", "AT+CMGL=4"}));
    EXPECT_TRUE(Folder("outbox").empty());
    EXPECT_EQ(CountWithText("sent", "Hello"), 1);
    EXPECT_EQ(CountWithText("sent", "Second"), 1);
    const auto inbox = Folder("inbox");
    ASSERT_EQ(inbox.size(), 1u);
    EXPECT_TRUE(Contains(inbox[0], "\"flags\":1"));
    EXPECT_TRUE(Contains(inbox[0], "\"number\":\"+4930111111\""));
    EXPECT_EQ(sim.StoredIn("SM"), 1);  // nothing deleted unless asked
}

TEST_F(CliTransferTest, SendGetOverAPseudoTerminal) {
    PhoneSimProcess sim(PhoneSimProcess::kPty,
                        {"--no-deliver-sent", "--sms", "ME:+4930222222:Pty"});
    ASSERT_TRUE(sim.Ok());
    Set("CommPort", sim.Address());
    Compose("+4930123456", "Over the line");
    const ProcessResult r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(CountWithText("sent", "Over the line"), 1);
    EXPECT_EQ(CountWithText("inbox", "Pty"), 1);
}

TEST_F(CliTransferTest, SendStoresTheMessageInSentAndRemembersTheRecipient) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "SM:+4930111111:Not fetched"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    const ProcessResult r =
        Velkan({"send", "--to", "+49 (30) 123-456", "--text", "Hello", "--name", "Anna"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(Lines(r.err),
              (std::vector<std::string>{"Connecting Phone...", "Connected", "Initializing...",
                                        "Sending Message 1/1: 'Anna': Hello", "Success"}));
    const auto log = sim.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), "AT+CMGS=17"), 1);
    EXPECT_EQ(std::count(log.begin(), log.end(), "0001000A919403214365000005C8329BFD06<ctrl-z>"),
              1);
    EXPECT_EQ(std::count(log.begin(), log.end(), "AT+CMGL=4"), 0);  // a send fetches nothing
    const auto sent = Folder("sent");
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_TRUE(Contains(sent[0], "\"name\":\"Anna\",\"number\":\"+4930123456\""));
    EXPECT_TRUE(Folder("inbox").empty());
    EXPECT_TRUE(Contains(Velkan({"recent", "--json"}).out,
                         "{\"name\":\"Anna\",\"number\":\"+4930123456\"}"));
}

TEST_F(CliTransferTest, FlashAndStatusReportChangeOnlyTheirOctets) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    Set("StatusReq", "1");
    const ProcessResult r = Velkan({"send", "--to", "+4930123456", "--text", "Hello", "--flash"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    const auto log = sim.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), "0021000A91940321436500F005C8329BFD06<ctrl-z>"),
              1);
}

// Without --flash or --no-flash a message sent at once takes the Flash setting, as a new
// message in the compose window does; either option overrides it.
TEST_F(CliTransferTest, SendTakesTheFlashSettingUnlessToldOtherwise) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    const std::string flashPdu = "0001000A91940321436500F005C8329BFD06<ctrl-z>";
    const std::string plainPdu =
        "0001000A91940321436500"
        "0005C8329BFD06<ctrl-z>";
    const std::vector<std::string> send = {"send", "--to", "+4930123456", "--text", "Hello"};
    auto with = [&](std::vector<std::string> extra) {
        std::vector<std::string> args = send;
        args.insert(args.end(), extra.begin(), extra.end());
        return args;
    };

    ASSERT_EQ(Velkan(send).exitStatus, 0);
    Set("Flash", "1");
    ASSERT_EQ(Velkan(send).exitStatus, 0);
    ASSERT_EQ(Velkan(with({"--no-flash"})).exitStatus, 0);
    Set("Flash", "0");
    ASSERT_EQ(Velkan(with({"--flash"})).exitStatus, 0);

    std::vector<std::string> pdus;
    for (const std::string& line : sim.Log()) {
        if (line.find("<ctrl-z>") != std::string::npos) pdus.push_back(line);
    }
    EXPECT_EQ(pdus, (std::vector<std::string>{plainPdu, flashPdu, plainPdu, flashPdu}));
    // Sent keeps each message as it went: two of the four marked as flash messages.
    const auto sent = Folder("sent");
    ASSERT_EQ(sent.size(), 4u);
    const std::string flashFlags = "\"flags\":2";  // the flash flag alone, as the store keeps it
    EXPECT_EQ(std::count_if(sent.begin(), sent.end(),
                            [&](const std::string& l) { return Contains(l, flashFlags); }),
              2);
}

TEST_F(CliTransferTest, ACustomServiceCentreLeadsThePduButNotTheLength) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    Set("SMSCCustom", "1");
    Set("SMSC", "+491234567890");
    ASSERT_EQ(Velkan({"send", "--to", "+4930123456", "--text", "Hello"}).exitStatus, 0);
    const auto log = sim.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), "AT+CMGS=17"), 1);
    EXPECT_EQ(std::count(log.begin(), log.end(),
                         "07919421436587090"
                         "1000A919403214365000005C8329BFD06<ctrl-z>"),
              1);
}

TEST_F(CliTransferTest, EveryPhoneErrorHasItsExitStatusAndMessageAndTheMessageStaysInTheOutbox) {
    struct Case {
        const char* knob;
        int status;
        const char* text;
    } cases[] = {
        {"AT+CMGS", 14, "Error during AT interpretation.\nOperation failed."},
        {"AT+CMGS:CMS:500", 15, "Operation failed.\nError related to network or mobile (CMS)."},
        {"PDU:CMS:38", 15, "Operation failed.\nError related to network or mobile (CMS)."},
        {"AT+CMGS:CME:10", 16, "Operation failed.\nError related to network or mobile (CME)."}};
    Compose("+4930123456", "Waiting");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.knob);
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--error-on", c.knob});
        ASSERT_TRUE(sim.Ok());
        UseTcp(sim);
        const ProcessResult r = Velkan({"send-get"});
        EXPECT_EQ(r.exitStatus, c.status);
        EXPECT_TRUE(Contains(r.err, c.text)) << r.err;
        EXPECT_FALSE(Contains(r.err, "Success"));
        EXPECT_EQ(CountWithText("outbox", "Waiting"), 1);
        EXPECT_TRUE(Folder("sent").empty());
    }
}

TEST_F(CliTransferTest, ConnectionProblemsHaveTheirExitStatusAndMessage) {
    Set("CommPort", "TCP");
    Set("TCP", "127.0.0.1:1");  // nobody listens there
    ProcessResult r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 12);
    EXPECT_TRUE(
        Contains(r.err, std::string(kConnectionText) + "\nCheck your Connection settings."));

    Set("TCP", "no-port-here");
    r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 4);
    EXPECT_TRUE(Contains(r.err, "Operation failed.\nInvalid Parameter.")) << r.err;

    Set("CommPort", "Bluetooth");  // neither COM, a device path nor TCP
    r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 12);

    Set("CommPort", "/dev/velkan-no-such-port");
    r = Velkan({"send", "--to", "+4930123456", "--text", "Hi"});
    EXPECT_EQ(r.exitStatus, 12);
    EXPECT_TRUE(Folder("sent").empty());  // nothing stored for a send that failed
}

// A gateway that never completes the TCP connection: SIGTERM ends the run at once with 5, and
// the message waits in the Outbox.
TEST_F(CliTransferTest, SigtermWhileTheConnectionIsBeingMadeEndsTheRunWithFivePromptly) {
    UnansweredTcpAddress gateway;
    ASSERT_TRUE(gateway.Ok());
    Set("CommPort", "TCP");
    Set("TCP", gateway.Address());
    Compose("+4930123456", "Waiting");
    RunningProcess run(VELKAN_BIN, {"send-get"}, home_ + "/connect.err");
    ASSERT_TRUE(gateway.WaitForConnectAttempt());
    const auto start = std::chrono::steady_clock::now();
    run.Signal(SIGTERM);
    EXPECT_EQ(run.Wait(std::chrono::seconds(10)), 5);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    const std::string err = run.Err();
    EXPECT_EQ(Lines(err), (std::vector<std::string>{"Connecting Phone...", "Cancelling..."}))
        << err;
    EXPECT_EQ(CountWithText("outbox", "Waiting"), 1);
}

// ... and left alone, the run gives up after 20 s (on a clock that moves 1 s at every reading)
// with "Connection failed." and 12.
TEST_F(CliTransferTest, AGatewayThatNeverCompletesTheConnectionFailsWithTwelve) {
    UnansweredTcpAddress gateway;
    ASSERT_TRUE(gateway.Ok());
    Set("CommPort", "TCP");
    Set("TCP", gateway.Address());
    setenv("VELKAN_CLOCK_STEP_MS", "1000", 1);
    const auto start = std::chrono::steady_clock::now();
    const ProcessResult r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 12);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_TRUE(Contains(r.err, std::string(kConnectionText) + "\nCheck your Connection settings."))
        << r.err;
}

TEST_F(CliTransferTest, APhoneThatNeverAnswersTimesOutAfterTheWakeUpFallback) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--silent-on", "AT"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    setenv("VELKAN_CLOCK_STEP_MS", "2", 1);  // the 3 s time-outs pass in a moment
    const ProcessResult r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 10);
    EXPECT_EQ(Lines(r.err),
              (std::vector<std::string>{"Connecting Phone...", kTimeoutText, "Operation failed."}));
    EXPECT_EQ(Commands(sim.Log()), (std::vector<std::string>{"AT", "AT", "AT", "ATZ", "AT", "AT"}));
}

TEST_F(CliTransferTest, ASilentPromptTimesOutWithTen) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--prompt-without-blank"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    setenv("VELKAN_CLOCK_STEP_MS", "5", 1);
    const ProcessResult r = Velkan({"send", "--to", "+4930123456", "--text", "Hello"});
    EXPECT_EQ(r.exitStatus, 10);
    EXPECT_TRUE(Contains(r.err, kTimeoutText));
    // No PDU followed a prompt that never came.
    for (const auto& line : sim.Log()) EXPECT_FALSE(Contains(line, "<ctrl-z>")) << line;
}

TEST_F(CliTransferTest, AMessageAlreadyInTheInboxIsNotStoredTwiceButIsStillDeleted) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "ME:+4930222222:Kept"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    ASSERT_EQ(Velkan({"send-get"}).exitStatus, 0);
    UseTcp(sim, /*delMsg=*/true);
    const ProcessResult r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(Lines(r.err).back(), "No new messages");
    EXPECT_EQ(CountWithText("inbox", "Kept"), 1);
    EXPECT_EQ(sim.StoredIn("ME"), 0);
}

TEST_F(CliTransferTest, DeletionRunsLastIndexFirstWithEachMemorySelectedAgain) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--sms", "SM:+4930111111:One", "--sms", "SM:+4930111112:Two", "--sms",
                         "ME:+4930222222:Three"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim, /*delMsg=*/true);
    const ProcessResult r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(Lines(r.err).back(), "3 new message(s)");
    const auto log = sim.Log();
    ASSERT_GE(log.size(), 5u);
    EXPECT_EQ(std::vector<std::string>(log.end() - 5, log.end()),
              (std::vector<std::string>{"AT+CPMS=\"SM\"", "AT+CMGD=2", "AT+CMGD=1",
                                        "AT+CPMS=\"ME\"", "AT+CMGD=1"}));
    EXPECT_EQ(sim.StoredIn("SM"), 0);
    EXPECT_EQ(sim.StoredIn("ME"), 0);
}

TEST_F(CliTransferTest, APhoneWithoutPhoneMemorySucceedsAfterTheSim) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-me", "--sms", "SM:+4930111111:Only SIM"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    const ProcessResult r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(CountWithText("inbox", "Only SIM"), 1);
}

TEST_F(CliTransferTest, LocalModeDeliversToThisDeviceWithoutAPhone) {
    Set("CommPort", "local");
    Compose("+4930123456", "To myself");
    ProcessResult r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_FALSE(Contains(r.err, "Connecting Phone..."));
    EXPECT_EQ(CountWithText("sent", "To myself"), 1);
    EXPECT_EQ(CountWithText("inbox", "To myself"), 1);

    Set("CommPort", "TCP");
    Set("TCP", "local");
    r = Velkan({"send", "--to", "+4930123456", "--text", "Again"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(CountWithText("sent", "Again"), 1);
    EXPECT_EQ(CountWithText("inbox", "Again"), 1);
}

TEST_F(CliTransferTest, BadArgumentsAreAUsageErrorAndSendNothing) {
    EXPECT_EQ(Velkan({"send-get", "extra"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"send", "--to", "+4930123456"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"send", "--text", "Hi"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"send", "--to", "+4930123456", "--text", "Hi", "--bogus"}).exitStatus, 2);
    // An option at the end without its value says which one.
    const ProcessResult noText = Velkan({"send", "--to", "+4930123456", "--text"});
    EXPECT_EQ(noText.exitStatus, 2);
    EXPECT_TRUE(Contains(noText.err, "--text needs a value")) << noText.err;
    const ProcessResult r = Velkan({"send", "--to", "no digits", "--text", "Hi"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_TRUE(Contains(r.err, "a message needs a number and a text"));
    EXPECT_TRUE(Folder("sent").empty());
}

// A message the encoder would refuse is refused before any connection, with the reason; so
// is a send through a configured service centre it would refuse.
TEST_F(CliTransferTest, SendRefusesWhatTheEncoderWouldRefuseAndConnectsToNothing) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    ProcessResult r = Velkan({"send", "--to", std::string(5000, '9'), "--text", "Hi"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_EQ(r.err,
              "velkan: the number has 5000 digits; at most 20 can be sent; nothing was sent\n");

    // An SMSC stored before it was checked (by hand, or by an older version).
    Set("SMSCCustom", "1");
    {
        std::ofstream ini(home_ + "/config/Orvane Systems/Velkan Tessiver.ini", std::ios::app);
        ini << "SMSC=+" << std::string(25, '1') << "\n";
    }
    ASSERT_EQ(Velkan({"config", "get", "SMSC"}).out, "+" + std::string(25, '1') + "\n");
    r = Velkan({"send", "--to", "+4930123456", "--text", "Hi"});
    EXPECT_EQ(r.exitStatus, 4);
    EXPECT_NE(r.err.find("the service centre has 25 digits; at most 20 can be used (the SMSC "
                         "setting); nothing was sent"),
              std::string::npos)
        << r.err;
    EXPECT_TRUE(sim.Log().empty());
    EXPECT_TRUE(Folder("sent").empty());
}

// `velkan resend` is the person's word for an Outbox message that may have been sent: it goes
// once, and the same record moves to Sent with its mark cleared.
TEST_F(CliTransferTest, ResendSendsAMessageMarkedAsPossiblySentAndMovesItToSent) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "SM:+4930111111:Not fetched"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    const Oid id = Put(kFolderOutbox, u"+4930123456", u"Hello", kFlagMayHaveBeenSent | kFlagFlash);
    Put(kFolderOutbox, u"+4930123456", u"Not this one", 0);
    const ProcessResult r = Velkan({"resend", std::to_string(id)});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(Lines(r.err),
              (std::vector<std::string>{"Connecting Phone...", "Connected", "Initializing...",
                                        "Sending Message 1/1: '+4930123456': Hello", "Success"}));
    const auto log = sim.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), "AT+CMGS=17"), 1);
    EXPECT_EQ(std::count(log.begin(), log.end(), "0001000A91940321436500F005C8329BFD06<ctrl-z>"),
              1);
    EXPECT_EQ(std::count(log.begin(), log.end(), "AT+CMGL=4"), 0);
    const std::string sent = Entry("sent", id);
    EXPECT_TRUE(Contains(sent, "\"flags\":2,")) << sent;  // flash kept, the mark cleared
    EXPECT_TRUE(Contains(sent, "\"mayHaveBeenSent\":false")) << sent;
    EXPECT_EQ(Entry("outbox", id), "");
    EXPECT_EQ(CountWithText("outbox", "Not this one"), 1);
    EXPECT_EQ(Folder("sent").size(), 1u);
}

TEST_F(CliTransferTest, AResendThatFailsLeavesTheMessageMarkedInTheOutbox) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--error-on", "AT+CMGS:CMS:500"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    const Oid id = Put(kFolderOutbox, u"+4930123456", u"Hello", kFlagMayHaveBeenSent);
    const ProcessResult r = Velkan({"resend", std::to_string(id)});
    EXPECT_EQ(r.exitStatus, 15);
    EXPECT_TRUE(Contains(r.err, "stays in the Outbox, marked as possibly sent")) << r.err;
    const std::string waiting = Entry("outbox", id);
    EXPECT_TRUE(Contains(waiting, "\"mayHaveBeenSent\":true")) << waiting;
    EXPECT_TRUE(Folder("sent").empty());
}

TEST_F(CliTransferTest, ResendRefusesEveryOtherMessageAndSendsNothing) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    const Oid unmarked = Put(kFolderOutbox, u"+4930123456", u"Waiting", 0);
    const Oid sent = Put(kFolderSent, u"+4930123456", u"Gone", kFlagMayHaveBeenSent);
    const Oid unsendable =
        Put(kFolderOutbox, std::u16string(30, u'9'), u"Too long a number", kFlagMayHaveBeenSent);

    ProcessResult r = Velkan({"resend", std::to_string(unmarked)});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_TRUE(Contains(r.err, "is not marked as possibly sent")) << r.err;
    r = Velkan({"resend", std::to_string(sent)});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_TRUE(Contains(r.err, "is not in the Outbox")) << r.err;
    r = Velkan({"resend", std::to_string(unsendable)});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_TRUE(Contains(r.err, "the number has 30 digits; at most 20 can be sent")) << r.err;
    r = Velkan({"resend", "4242"});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_TRUE(Contains(r.err, "there is no message 4242; nothing was sent")) << r.err;
    EXPECT_EQ(Velkan({"resend"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"resend", "abc"}).exitStatus, 2);
    EXPECT_EQ(Velkan({"resend", "1", "2"}).exitStatus, 2);

    EXPECT_TRUE(sim.Log().empty()) << "no connection was made";
    EXPECT_EQ(CountWithText("outbox", "Waiting"), 1);
    EXPECT_EQ(CountWithText("outbox", "Too long a number"), 1);
}

// Ctrl-C while the phone keeps silent in each phase: the run ends with 5 and no message box
// text, "Cancelling..." is shown, there is no success, and the Outbox message is in exactly
// one place.
TEST_F(CliTransferTest, CtrlCEndsTheRunWithFiveInEveryPhase) {
    struct Case {
        const char* silentOn;
        const char* waitFor;
        bool delMsg;
    } cases[] = {{"AT", "AT", false},
                 {"ATE0V1", "ATE0V1", false},
                 {"PDU", "AT+CMGS=17", false},
                 {"AT+CMGL", "AT+CMGL=4", false},
                 {"AT+CMGD", "AT+CMGD=1", true}};
    // One Outbox message for all phases: cancelled while it is sent it stays in the Outbox, and
    // a later phase sends it.
    Compose("+4930123456", "Hello");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.silentOn);
        PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent", "--silent-on", c.silentOn,
                                                    "--sms", "ME:+4930222222:On the phone"});
        ASSERT_TRUE(sim.Ok());
        UseTcp(sim, c.delMsg);
        RunningProcess run(VELKAN_BIN, {"send-get"}, home_ + "/ctrl-c.err");
        ASSERT_TRUE(sim.WaitForLog(c.waitFor));
        run.Signal(SIGINT);
        EXPECT_EQ(run.Wait(), 5);
        const std::string err = run.Err();
        EXPECT_TRUE(Contains(err, "Cancelling...")) << err;
        EXPECT_FALSE(Contains(err, "Success")) << err;
        EXPECT_EQ(CountWithText("outbox", "Hello") + CountWithText("sent", "Hello"), 1);
        EXPECT_LE(CountWithText("inbox", "On the phone"), 1);
    }
}

// kill -9 at several moments of a transfer with deletion on, each followed by a clean one:
// the database stays sound, no message is sent twice, every Outbox message ends in Sent once
// unless the kill came after it was handed to the phone, every phone message is in the Inbox
// once, and the phone is emptied.
TEST_F(CliTransferTest, KillNineInTheMiddleThenACleanRunLosesNothingAndStoresNothingTwice) {
    // Where to kill: while the phone holds its answer to the second message's PDU (one message
    // has gone, one was handed over), to the first listing, to the first deletion, to the phone
    // memory's turn. The phone holds until the kill is done, so it lands there however loaded the
    // machine is; then it lets go and serves the clean run.
    const char* killPoints[] = {"PDU#2", "AT+CMGL=4", "AT+CMGD=2", "AT+CPMS=\"ME\""};
    int round = 0;
    for (const char* point : killPoints) {
        SCOPED_TRACE(point);
        ++round;
        const std::string tag = std::to_string(round);
        const std::string gate = home_ + "/gate" + tag;
        PhoneSimProcess sim(
            PhoneSimProcess::kTcp,
            {"--no-deliver-sent", "--hold-on", point, "--hold-gate", gate, "--sms",
             "SM:+4930111111:SIM one " + tag, "--sms", "SM:+4930111112:SIM two " + tag, "--sms",
             "ME:+4930222222:Phone " + tag});
        ASSERT_TRUE(sim.Ok());
        UseTcp(sim, /*delMsg=*/true);
        Compose("+4930123456", "Out A " + tag);
        Compose("+4930123456", "Out B " + tag);
        {
            RunningProcess run(VELKAN_BIN, {"send-get"}, home_ + "/kill.err");
            ASSERT_TRUE(WaitForFile(gate + ".held"));
            run.Signal(SIGKILL);
            EXPECT_EQ(run.Wait(), 128 + SIGKILL);
            std::ofstream open(gate);
        }
        const ProcessResult clean = Velkan({"send-get"});
        EXPECT_EQ(clean.exitStatus, 0) << clean.err;

        // Killed once the second message was handed to the phone: whether the phone sent it is
        // not known, so it waits in the Outbox with its mark and the clean run names it instead
        // of sending it a second time. Killed anywhere else, both end in Sent.
        const bool secondWasHandedOver = std::string(point) == "PDU#2";
        EXPECT_EQ(CountWithText("sent", "Out A " + tag), 1);
        EXPECT_EQ(CountWithText("outbox", "Out A " + tag), 0);
        EXPECT_EQ(CountWithText("sent", "Out B " + tag), secondWasHandedOver ? 0 : 1);
        EXPECT_EQ(CountWithText("outbox", "Out B " + tag), secondWasHandedOver ? 1 : 0);
        if (secondWasHandedOver) {
            EXPECT_TRUE(Contains(clean.err,
                                 "warning: Not sent, it may have been sent already: +4930123456"))
                << clean.err;
        }
        for (const std::string text : {"Out A ", "Out B "}) {
            const auto state = sim.State();
            EXPECT_LE(std::count_if(state.begin(), state.end(),
                                    [&](const std::string& l) {
                                        return l.rfind("SENT|", 0) == 0 &&
                                               l.size() >= text.size() + tag.size() &&
                                               l.compare(l.size() - text.size() - tag.size(),
                                                         std::string::npos, text + tag) == 0;
                                    }),
                      1)
                << "the phone sent " << text << "twice";
        }
        for (const std::string text : {"SIM one ", "SIM two ", "Phone "}) {
            EXPECT_EQ(CountWithText("inbox", text + tag), 1) << text;
        }
        EXPECT_EQ(sim.StoredIn("SM"), 0);
        EXPECT_EQ(sim.StoredIn("ME"), 0);

        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open_v2(StoreFile().c_str(), &db, SQLITE_OPEN_READONLY, nullptr),
                  SQLITE_OK);
        sqlite3_stmt* check = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &check, nullptr), SQLITE_OK);
        ASSERT_EQ(sqlite3_step(check), SQLITE_ROW);
        EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(check, 0)), "ok");
        sqlite3_finalize(check);
        sqlite3_close(db);
    }
}

// A store the transfer cannot use is an error with its reason and its own exit status, never
// "Success / No new messages".
TEST_F(CliTransferTest, SendGetWithAStoreThatCannotBeUsedSaysSoAndExitsWithTwenty) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "ME:+4930222222:Waiting"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim, /*delMsg=*/true);
    Compose("+4930123456", "Hello");
    {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(StoreFile().c_str(), &db), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(db, "PRAGMA user_version=99", nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(db);
    }
    const ProcessResult r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 20) << r.err;
    EXPECT_FALSE(Contains(r.err, "Success")) << r.err;
    EXPECT_TRUE(Contains(r.err, "The message store cannot be used.\nThe message store " +
                                    StoreFile() + " was written by a newer version"))
        << r.err;
    EXPECT_EQ(sim.StoredIn("ME"), 1);  // nothing fetched, nothing deleted
}

// Two transfers on one store at once: the second waits a moment, then gives up and says why;
// every Outbox message is sent once.
TEST_F(CliTransferTest, ASecondSendGetOnTheSameStoreWaitsThenGivesUp) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-deliver-sent", "--silent-on", "AT+CMGL"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    Compose("+4930123456", "Only once");
    RunningProcess first(VELKAN_BIN, {"send-get"}, home_ + "/first.err");
    ASSERT_TRUE(sim.WaitForLog("AT+CMGL=4"));  // the first has sent and hangs in the listing
    setenv("VELKAN_CLOCK_STEP_MS", "100", 1);  // the few seconds' wait passes at once
    const ProcessResult second = Velkan({"send-get"});
    unsetenv("VELKAN_CLOCK_STEP_MS");
    EXPECT_EQ(second.exitStatus, 21) << second.err;
    EXPECT_TRUE(Contains(second.err, "Another transfer is using the message store.")) << second.err;
    first.Signal(SIGINT);
    EXPECT_EQ(first.Wait(), 5);
    const auto log = sim.Log();
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const std::string& l) { return l.rfind("AT+CMGS", 0) == 0; }),
              1);
    EXPECT_EQ(CountWithText("sent", "Only once"), 1);
}

// A listing line that cannot be read costs only its message: the run succeeds (exit 0), the
// rest is fetched and deleted, and the message left unread on the phone is named on stderr.
TEST_F(CliTransferTest, SendGetNamesMessagesThatCouldNotBeReadAndStillSucceeds) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--listing-noise", "nul", "--sms", "ME:+4930222221:Unreadable", "--sms",
                         "ME:+4930222222:Fetched"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim, /*delMsg=*/true);
    const ProcessResult r = Velkan({"send-get"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    const auto lines = Lines(r.err);
    EXPECT_NE(std::find(lines.begin(), lines.end(), "Success"), lines.end()) << r.err;
    EXPECT_EQ(lines.back(), "velkan: warning: 1 message(s) in the phone memory could not be read")
        << r.err;
    EXPECT_EQ(CountWithText("inbox", "Fetched"), 1);
    EXPECT_EQ(CountWithText("inbox", "Unreadable"), 0);
    EXPECT_EQ(sim.StoredIn("ME"), 1);
}

// A port that another program holds (here a child that took its lock, as a terminal program
// does) fails at once with 12, and the command names the holder.
TEST_F(CliTransferTest, APortHeldByAnotherProgramFailsWithTwelveAndNamesIt) {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(::grantpt(master), 0);
    ASSERT_EQ(::unlockpt(master), 0);
    char slave[128];
    ASSERT_EQ(::ptsname_r(master, slave, sizeof slave), 0);
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t holder = ::fork();
    if (holder == 0) {
        const int fd = ::open(slave, O_RDWR | O_NOCTTY | O_NONBLOCK);
        const char ok = fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) == 0 ? '1' : '0';
        (void)!::write(ready[1], &ok, 1);
        ::pause();
        ::_exit(0);
    }
    char ok = '0';
    ASSERT_EQ(::read(ready[0], &ok, 1), 1);
    ASSERT_EQ(ok, '1');
    Set("CommPort", slave);
    const ProcessResult r = Velkan({"send-get"});
    ::kill(holder, SIGKILL);
    ::waitpid(holder, nullptr, 0);
    ::close(ready[0]);
    ::close(ready[1]);
    ::close(master);
    EXPECT_EQ(r.exitStatus, 12) << r.err;
    EXPECT_TRUE(Contains(r.err, "Connection failed.")) << r.err;
    EXPECT_TRUE(Contains(r.err, std::string("velkan: ") + slave + " is in use by ")) << r.err;
    EXPECT_TRUE(Contains(r.err, "(pid " + std::to_string(holder) + ")")) << r.err;
}
