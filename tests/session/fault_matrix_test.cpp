// SPDX-License-Identifier: GPL-3.0-or-later
// Faults at every command of a transfer, against the simulated phone over TCP.
//
// The run under test: two messages in the Outbox, two messages on the SIM and one in the phone
// memory, deletion after retrieval on. Its clean conversation (checked by the first test) is
// kCleanRun below. Every command of it, the PDU stage included, is then failed one at a time in
// each way a phone can fail a command (ERROR, +CMS ERROR, +CME ERROR, silence, 2000 bytes without
// a line end, the link dropped); the whole run is also tried with faults that touch every answer
// (one byte at a time, a prompt without its blank, floods at each kind of command, stray bytes
// and unsolicited lines before the answers), cancelled at each kind of notification, and faced
// with a TCP peer that sends only noise.
//
// Each case checks the result code (derived below from how the session treats each phase), that
// "Success" comes exactly when the result is success, where every message ended up, measured
// against what the phone holds afterwards (its --state file), and that the run left no
// descriptor and no thread behind.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <netinet/in.h>
#include <poll.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "at/at_exchange.h"
#include "common/text_convert.h"
#include "fake_clock.h"
#include "phone_sim_process.h"
#include "phonelink/response_buffer.h"
#include "session/notification_queue.h"
#include "session/transfer_session.h"
#include "settings/settings_key.h"
#include "settings/transfer_settings_reader.h"
#include "store/message_store.h"
#include "store/object_store.h"
#include "wait_for_file.h"

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

// ---- The run and its messages --------------------------------------------------------------

constexpr const char* kRecipient = "+4930123456";
const char* const kOutboxTexts[] = {"Out A", "Out B"};

struct PhoneMessage {
    const char* slot;  // memory and index as the state file names them
    const char* number;
    const char* text;
};
const PhoneMessage kPhoneMessages[] = {{"SM@1", "+4930111111", "SIM one"},
                                       {"SM@2", "+4930111112", "SIM two"},
                                       {"ME@1", "+4930222222", "Phone one"}};

std::vector<std::string> PhoneArgs(const std::vector<std::string>& faults) {
    std::vector<std::string> args = {"--no-deliver-sent"};
    for (const auto& m : kPhoneMessages) {
        args.push_back("--sms");
        args.push_back(std::string(m.slot).substr(0, 2) + ":" + m.number + ":" + m.text);
    }
    args.insert(args.end(), faults.begin(), faults.end());
    return args;
}

enum class Role {
    kWake,          // the first "AT"
    kWakeAgain,     // the second "AT"; on failure the Ctrl-Z fallback follows
    kSetUp,         // ATE0V1, AT+CMGF, AT+CSCS
    kSetUpLast,     // the set-up's closing "AT"
    kSendLength,    // AT+CMGS=n, until the prompt
    kSendPdu,       // the PDU and Ctrl-Z
    kSelectSim,     // AT+CPMS="SM" before listing
    kListSim,       // AT+CMGL=4 on the SIM
    kSelectPhone,   // AT+CPMS="ME" before listing
    kListPhone,     // AT+CMGL=4 on the phone memory
    kDeleteSelect,  // AT+CPMS before deleting
    kDelete,        // AT+CMGD
};

struct Step {
    const char* command;  // the log line; "PDU" stands for a PDU line ending in "<ctrl-z>"
    Role role;
    const char* name;  // for test names
};

// The clean run as the phone logs it: wake-up, set-up, two sends, both memories listed, the SIM's
// messages deleted last index first with the SIM selected again, then the phone memory's.
const Step kCleanRun[] = {
    {"AT", Role::kWake, "Wake"},
    {"AT", Role::kWakeAgain, "WakeAgain"},
    {"ATE0V1", Role::kSetUp, "EchoOff"},
    {"AT+CMGF=0", Role::kSetUp, "PduMode"},
    {"AT+CSCS=\"GSM\"", Role::kSetUp, "Charset"},
    {"AT", Role::kSetUpLast, "SetUpAt"},
    {"AT+CMGS=17", Role::kSendLength, "SendLengthA"},
    {"PDU", Role::kSendPdu, "SendPduA"},
    {"AT+CMGS=17", Role::kSendLength, "SendLengthB"},
    {"PDU", Role::kSendPdu, "SendPduB"},
    {"AT+CPMS=\"SM\"", Role::kSelectSim, "SelectSim"},
    {"AT+CMGL=4", Role::kListSim, "ListSim"},
    {"AT+CPMS=\"ME\"", Role::kSelectPhone, "SelectPhone"},
    {"AT+CMGL=4", Role::kListPhone, "ListPhone"},
    {"AT+CPMS=\"SM\"", Role::kDeleteSelect, "DeleteSelectSim"},
    {"AT+CMGD=2", Role::kDelete, "DeleteSim2"},
    {"AT+CMGD=1", Role::kDelete, "DeleteSim1"},
    {"AT+CPMS=\"ME\"", Role::kDeleteSelect, "DeleteSelectPhone"},
    {"AT+CMGD=1", Role::kDelete, "DeletePhone1"},
};
constexpr int kStepCount = static_cast<int>(sizeof kCleanRun / sizeof kCleanRun[0]);

bool LogLineIs(const std::string& line, const Step& step) {
    if (std::string(step.command) == "PDU") {
        return line.size() > 8 && line.compare(line.size() - 8, 8, "<ctrl-z>") == 0;
    }
    return line == step.command;
}

// ---- Faults at one command and the result they must give -------------------------------------

enum class Fault { kError, kCms, kCme, kSilence, kFlood, kDrop };

const char* FaultName(Fault f) {
    switch (f) {
        case Fault::kError:
            return "Error";
        case Fault::kCms:
            return "CmsError";
        case Fault::kCme:
            return "CmeError";
        case Fault::kSilence:
            return "Silence";
        case Fault::kFlood:
            return "Flood";
        case Fault::kDrop:
            return "Drop";
    }
    return "?";
}

// The simulator's knob for a fault at the n-th command of the connection.
std::vector<std::string> FaultArgs(Fault f, int n) {
    const std::string target = "#" + std::to_string(n);
    switch (f) {
        case Fault::kError:
            return {"--error-on", target};
        case Fault::kCms:
            return {"--error-on", target + ":CMS:500"};
        case Fault::kCme:
            return {"--error-on", target + ":CME:10"};
        case Fault::kSilence:
            return {"--silent-on", target};
        case Fault::kFlood:
            return {"--no-line-end-flood", target};
        case Fault::kDrop:
            return {"--drop-on", target};
    }
    return {};
}

// What the exchange of the faulted command itself returns: the class of the final result code
// (the number after +CMS/+CME ERROR is not kept), the time-out for silence, and "invalid
// parameter" when 2000 bytes without a line end fill the response buffer (a listing passes such
// a line over and runs into its deadline instead; its code is never the run's alone).
TransferError ExchangeCode(Fault f) {
    switch (f) {
        case Fault::kError:
            return kErrPhoneError;
        case Fault::kCms:
            return kErrCmsError;
        case Fault::kCme:
            return kErrCmeError;
        case Fault::kSilence:
            return kErrTimeout;
        case Fault::kFlood:
            return kErrInvalidParameter;
        case Fault::kDrop:
            return kErrTimeout;
    }
    return kErrNone;
}

// The run's result for one fault at one command, following the session phase by phase:
//
// An answered fault (ERROR, +CMS/+CME ERROR, silence, a flood) fails that one exchange with its
// ExchangeCode; the phone answers every other command normally.
// - Wake-up: a failed first "AT" is followed by a second; a failed second one by Ctrl-Z, "AT",
//   "ATZ", "AT", "AT", and only the last of those decides. One failed command costs nothing: 0.
// - Set-up: its results are ignored: 0.
// - Sending: a failed send ends the run with the send's code: the fault's code.
// - Retrieval reports an error only when the SIM was selected but not read AND the phone memory
//   was not read either; a SIM that cannot be selected or read is made good by a good phone
//   memory, and the phone memory's failure is not reported after a good SIM. One fault never
//   fails both: 0.
// - Deletion: results are ignored (a memory that cannot be selected is skipped): 0.
//
// A dropped link: the phone closes the connection when the command arrives, without answering.
// The TCP transport passes the end of the stream on as "nothing arrived", so that exchange runs
// into its time-out (10). The next command is still written (a socket whose peer has closed
// takes one more write) but its answer never comes: the peer's reset fails the read, which an
// exchange reports as a time-out (10). Every later write is refused: 12. Hence:
// - at the wake-up or any set-up command but the last: the last wake-up "AT", or the first send,
//   is refused: 12;
// - at the set-up's last "AT" (the first send is the next command) or in a send: 10;
// - at the SIM's selection: the phone memory's selection, the next command, fails too; with
//   neither memory selected nothing was read, and the phone memory's selection error is the
//   result: 10;
// - at the SIM's listing: the SIM was selected but not read, and the phone memory cannot be
//   selected: the SIM's failure is reported as "ERROR": 14;
// - later: the SIM was read; what fails afterwards is not reported: 0.
TransferError ExpectedResult(int step, Fault f) {
    const Role role = kCleanRun[step - 1].role;
    if (f != Fault::kDrop) {
        return role == Role::kSendLength || role == Role::kSendPdu ? ExchangeCode(f) : kErrNone;
    }
    switch (role) {
        case Role::kWake:
        case Role::kWakeAgain:
        case Role::kSetUp:
            return kErrConnection;
        case Role::kSetUpLast:
        case Role::kSendLength:
        case Role::kSendPdu:
            return kErrTimeout;
        case Role::kSelectSim:
            return kErrTimeout;
        case Role::kListSim:
            return kErrPhoneError;
        default:
            return kErrNone;
    }
}

void PrintTo(Fault f, std::ostream* os) {
    *os << FaultName(f);
}

// ---- Following a run --------------------------------------------------------------------------

// Records the notifications. When `cancelAt` arrives for the `occurrence`-th time, the session is
// cancelled from within the notification, before the worker goes on: the cancel lands exactly
// at that point of the run.
class RecordingSink : public NotificationSink {
  public:
    struct Trigger {
        std::uint32_t message = 0;  // 0: never cancel
        std::uintptr_t status = 0;  // for kNotifyStatus: the status line's id
        int occurrence = 1;
    };

    RecordingSink(TransferSession* session, Trigger trigger)
        : session_(session), trigger_(trigger) {}

    void Post(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) override {
        std::lock_guard<std::mutex> lock(mutex_);
        notes_.push_back({message, wParam, lParam});
        if (trigger_.message == message &&
            (message != kNotifyStatus || trigger_.status == wParam) &&
            ++seen_ == trigger_.occurrence) {
            session_->Cancel();
            cancelled_ = true;
        }
        if (message == kNotifyThreadEnded) {
            ended_ = true;
            cv_.notify_all();
        }
    }

    bool WaitEnded(std::chrono::seconds limit) {
        std::unique_lock<std::mutex> lock(mutex_);
        return cv_.wait_for(lock, limit, [this] { return ended_; });
    }
    std::vector<Notification> Notes() {
        std::lock_guard<std::mutex> lock(mutex_);
        return notes_;
    }
    bool Cancelled() {
        std::lock_guard<std::mutex> lock(mutex_);
        return cancelled_;
    }

  private:
    TransferSession* session_;
    Trigger trigger_;
    std::mutex mutex_;
    std::condition_variable cv_;
    std::vector<Notification> notes_;
    int seen_ = 0;
    bool cancelled_ = false;
    bool ended_ = false;
};

struct RunOutcome {
    TransferError result = kErrNone;
    std::vector<Notification> notes;
    bool cancelled = false;
    std::uint32_t fakeMs = 0;  // how far the fake clock moved during the run

    int Count(std::uint32_t message, std::uintptr_t status = 0) const {
        return static_cast<int>(
            std::count_if(notes.begin(), notes.end(), [&](const Notification& n) {
                return n.message == message && (message != kNotifyStatus || n.wParam == status);
            }));
    }
    std::string Sequence() const {
        std::string s;
        for (const auto& n : notes) {
            if (!s.empty()) s += ' ';
            char hex[16];
            std::snprintf(hex, sizeof hex, "%x", n.message);
            s += n.message == kNotifyStatus ? std::to_string(n.wParam) : std::string(hex);
        }
        return s;
    }
};

// Descriptors and threads of this process. A thread that has been joined may still be listed
// for a moment: the kernel wakes the joiner before it removes the thread's entry, and nothing
// announces the removal, so the thread count is read again for a while until it settles.
struct ProcessCounts {
    int fds = 0;
    int threads = 0;
};

int Entries(const char* dir) {
    int n = 0;
    std::error_code ec;
    for (auto it = fs::directory_iterator(dir, ec); !ec && it != fs::directory_iterator();
         it.increment(ec)) {
        ++n;
    }
    return n;
}

ProcessCounts Counts() {
    return {Entries("/proc/self/fd"), Entries("/proc/self/task")};
}

ProcessCounts CountsSettledTo(const ProcessCounts& before) {
    ProcessCounts now = Counts();
    for (int i = 0; i < 200 && now.threads > before.threads; ++i) {
        std::this_thread::sleep_for(5ms);
        now = Counts();
    }
    return now;
}

std::string IntegrityCheck(const std::string& file) {
    sqlite3* db = nullptr;
    std::string answer = "cannot open";
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_stmt* check = nullptr;
        if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &check, nullptr) == SQLITE_OK &&
            sqlite3_step(check) == SQLITE_ROW) {
            answer = reinterpret_cast<const char*>(sqlite3_column_text(check, 0));
        }
        sqlite3_finalize(check);
    }
    sqlite3_close(db);
    return answer;
}

class FaultMatrixBase : public ::testing::Test {
  protected:
    void SetUp() override {
        before_ = Counts();
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string(info->test_suite_name()) + "_" + info->name();
        std::replace(name.begin(), name.end(), '/', '_');
        root_ = fs::path(PhoneSimProcess::TempRoot()) /
                ("velkan_faults_" + std::to_string(getpid()) + "_" + name);
        fs::remove_all(root_);
        fs::create_directories(root_ / "config");
        fs::create_directories(root_ / "data");
        setenv("XDG_CONFIG_HOME", (root_ / "config").c_str(), 1);
        setenv("VELKAN_DATA_DIR", (root_ / "data").c_str(), 1);
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(root_, ec);
    }

    void Configure(const std::string& tcp) {
        RegistryKey key;
        ASSERT_TRUE(OpenSettings(key));
        SetCommPort(key, u"TCP");
        SetTcpAddress(key, Utf8ToUtf16(tcp));
        WriteSettingFlag(key, kValueDelMsg, true);
    }
    void FillOutbox() {
        MessageDatabase db;
        ASSERT_TRUE(OpenMessageStore(db));
        for (const char* text : kOutboxTexts) {
            SmsMessage m;
            m.number = Utf8ToUtf16(kRecipient);
            m.text = Utf8ToUtf16(text);
            m.folder = kFolderOutbox;
            ASSERT_TRUE(WriteMessage(db, m));
        }
    }
    // The texts of a folder, as UTF-8.
    std::vector<std::string> Texts(FolderId folder) {
        MessageDatabase db;
        EXPECT_TRUE(OpenMessageStore(db));
        std::vector<SmsMessage> messages;
        db.ReadFolderPage(folder, 0, 100000, &messages);
        std::vector<std::string> out;
        for (const auto& m : messages) out.push_back(Utf16ToUtf8(m.text));
        return out;
    }

    // Runs one transfer on a fresh session (with the fake clock moving 1 ms at every reading:
    // the phone's answers arrive long before a time-out, a silent phone's 30 s pass in a
    // second or two; or, for runs that meet no time-out, on the real clock, which a loaded
    // machine cannot run out) and destroys the session before returning.
    RunOutcome Run(RecordingSink::Trigger trigger = {}, bool realClock = false) {
        std::optional<FakeClock> fake;
        if (!realClock) fake.emplace(1000, 1);
        const std::uint32_t start = GetTickCount();
        RunOutcome out;
        TransferSession session;
        RecordingSink sink(&session, trigger);
        TransferSettings settings;
        EXPECT_TRUE(ReadTransferSettings(&settings));
        EXPECT_TRUE(session.Start(&sink, kNotifyThreadEnded, &settings));
        if (!sink.WaitEnded(120s)) {
            ADD_FAILURE() << "the transfer did not end";
            session.CancelAndWait();
        }
        session.Wait();
        out.result = session.Result();
        out.notes = sink.Notes();
        out.cancelled = sink.Cancelled();
        out.fakeMs = GetTickCount() - start;
        return out;
    }

    // Where every message is, against what the phone holds afterwards.
    void CheckPlacement(const PhoneSimProcess& sim) {
        const auto outbox = Texts(kFolderOutbox);
        const auto sent = Texts(kFolderSent);
        const auto inbox = Texts(kFolderInbox);
        std::vector<std::string> state = sim.State();
        ASSERT_FALSE(state.empty()) << "no state file";
        auto count = [](const std::vector<std::string>& v, const std::string& text) {
            return static_cast<int>(std::count(v.begin(), v.end(), text));
        };
        // Sent texts the phone reports as sent (the last field of a SENT line).
        std::vector<std::string> phoneSent;
        std::vector<std::string> onPhone;
        for (const auto& line : state) {
            if (line.rfind("SENT|", 0) == 0) phoneSent.push_back(line.substr(line.rfind('|') + 1));
            if (line.rfind("SM@", 0) == 0 || line.rfind("ME@", 0) == 0) {
                onPhone.push_back(line.substr(0, line.find('|')));
            }
        }
        for (const char* text : kOutboxTexts) {
            SCOPED_TRACE(text);
            // In exactly one of Outbox and Sent: never both, never gone.
            EXPECT_EQ(count(outbox, text) + count(sent, text), 1);
            // Moved to Sent only once the phone had taken it.
            if (count(sent, text) == 1) {
                EXPECT_EQ(count(phoneSent, text), 1);
            }
        }
        EXPECT_EQ(outbox.size() + sent.size(), std::size(kOutboxTexts));
        for (const auto& m : kPhoneMessages) {
            SCOPED_TRACE(m.text);
            const bool stillThere = std::count(onPhone.begin(), onPhone.end(), m.slot) == 1;
            // Never stored twice, and never deleted on the phone unless stored here.
            EXPECT_LE(count(inbox, m.text), 1);
            if (!stillThere) {
                EXPECT_EQ(count(inbox, m.text), 1) << "deleted but not stored";
            }
        }
        EXPECT_LE(inbox.size(), std::size(kPhoneMessages)) << "the Inbox holds strangers";
        EXPECT_LE(onPhone.size(), std::size(kPhoneMessages));
        EXPECT_EQ(IntegrityCheck(StoreFilePath()), "ok");
    }

    // The outcome of a run that went through: everything sent, fetched and deleted.
    void CheckComplete(const PhoneSimProcess& sim) {
        EXPECT_TRUE(Texts(kFolderOutbox).empty());
        EXPECT_EQ(Texts(kFolderSent).size(), 2u);
        EXPECT_EQ(Texts(kFolderInbox).size(), 3u);
        EXPECT_EQ(sim.StoredIn("SM"), 0);
        EXPECT_EQ(sim.StoredIn("ME"), 0);
    }

    // The common frame of a case: a phone with `faults`, the Outbox filled, one run; then the
    // result, "Success" exactly on success, and where the messages are. The phone and the
    // session are gone before descriptors and threads are counted again.
    RunOutcome RunAgainstPhone(const std::vector<std::string>& faults, TransferError expected,
                               RecordingSink::Trigger trigger = {},
                               const std::function<void(PhoneSimProcess&)>& more = nullptr) {
        RunOutcome run;
        {
            PhoneSimProcess sim(PhoneSimProcess::kTcp, PhoneArgs(faults), root_.string());
            EXPECT_TRUE(sim.Ok());
            if (!sim.Ok()) return run;
            Configure(sim.Address());
            FillOutbox();
            run = Run(trigger);
            EXPECT_EQ(run.result, expected) << "notifications: " << run.Sequence();
            EXPECT_EQ(run.Count(kNotifySuccess), run.result == kErrNone ? 1 : 0)
                << "notifications: " << run.Sequence();
            EXPECT_EQ(run.Count(kNotifyThreadEnded), 1);
            EXPECT_TRUE(!run.notes.empty() && run.notes.back().message == kNotifyThreadEnded)
                << "the thread-end notification comes last: " << run.Sequence();
            CheckPlacement(sim);
            if (more) more(sim);
        }
        CheckNothingLeaked();
        return run;
    }

    void CheckNothingLeaked() {
        const ProcessCounts after = CountsSettledTo(before_);
        std::printf("descriptors %d -> %d, threads %d -> %d\n", before_.fds, after.fds,
                    before_.threads, after.threads);
        EXPECT_EQ(after.fds, before_.fds) << "descriptors before and after";
        EXPECT_EQ(after.threads, before_.threads) << "threads before and after";
    }

    fs::path root_;
    ProcessCounts before_;
};

// ---- The clean run ----------------------------------------------------------------------------

class FaultMatrix : public FaultMatrixBase {};

TEST_F(FaultMatrix, TheCleanRunIsTheConversationTheMatrixFaults) {
    RunAgainstPhone({}, kErrNone, {}, [&](PhoneSimProcess& sim) {
        const auto log = sim.Log();
        ASSERT_EQ(static_cast<int>(log.size()), kStepCount) << ::testing::PrintToString(log);
        for (int i = 0; i < kStepCount; ++i) {
            EXPECT_TRUE(LogLineIs(log[i], kCleanRun[i])) << "command " << i + 1 << ": " << log[i];
        }
        CheckComplete(sim);
    });
}

// ---- One fault at one command -----------------------------------------------------------------

class CommandFault : public FaultMatrixBase,
                     public ::testing::WithParamInterface<std::tuple<int, Fault>> {};

TEST_P(CommandFault, GivesItsResultAndLosesNothing) {
    const auto [step, fault] = GetParam();
    const TransferError expected = ExpectedResult(step, fault);
    SCOPED_TRACE(std::string(kCleanRun[step - 1].name) + " " + FaultName(fault));
    const RunOutcome run =
        RunAgainstPhone(FaultArgs(fault, step), expected, {}, [&](PhoneSimProcess& sim) {
            // The fault hit the command it was meant for: the conversation up to it is the clean
            // one.
            const auto log = sim.Log();
            ASSERT_GE(static_cast<int>(log.size()), step);
            for (int i = 0; i < step; ++i) {
                EXPECT_TRUE(LogLineIs(log[i], kCleanRun[i]))
                    << "command " << i + 1 << ": " << log[i];
            }
        });
    // A run that fails before retrieval fetches nothing: a failed wake-up sends nothing, and a
    // failed send ends the run.
    if (run.result != kErrNone && kCleanRun[step - 1].role <= Role::kSendPdu) {
        EXPECT_EQ(run.Count(kNotifyStatus, kStatusReceiving), 0);
        EXPECT_EQ(run.Count(kNotifyReceived), 0);
    }
}

std::string CommandFaultName(const ::testing::TestParamInfo<std::tuple<int, Fault>>& info) {
    const int step = std::get<0>(info.param);
    char number[8];
    std::snprintf(number, sizeof number, "%02d", step);
    return std::string("Cmd") + number + kCleanRun[step - 1].name + "_" +
           FaultName(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(AnsweredFaults, CommandFault,
                         ::testing::Combine(::testing::Range(1, kStepCount + 1),
                                            ::testing::Values(Fault::kError, Fault::kCms,
                                                              Fault::kCme, Fault::kFlood)),
                         CommandFaultName);
INSTANTIATE_TEST_SUITE_P(SilenceAndDrop, CommandFault,
                         ::testing::Combine(::testing::Range(1, kStepCount + 1),
                                            ::testing::Values(Fault::kSilence, Fault::kDrop)),
                         CommandFaultName);

// ---- Faults in every answer -------------------------------------------------------------------

// Answers delivered one byte at a time, stray printable bytes before every answer (never ">",
// so no false prompt; lengths other than 2 and 5, so no false "OK" or "ERROR"), unsolicited lines
// before every answer: all of it is passed over, and the run is the clean one.
struct WholeRunCase {
    const char* name;
    std::vector<std::string> args;
};

void PrintTo(const WholeRunCase& c, std::ostream* os) {
    *os << c.name;
}

class HarmlessNoise : public FaultMatrixBase, public ::testing::WithParamInterface<WholeRunCase> {};

TEST_P(HarmlessNoise, TheRunStillGoesThrough) {
    RunAgainstPhone(GetParam().args, kErrNone, {},
                    [&](PhoneSimProcess& sim) { CheckComplete(sim); });
}

INSTANTIATE_TEST_SUITE_P(
    WholeRun, HarmlessNoise,
    ::testing::Values(WholeRunCase{"ByteAtATime", {"--byte-at-a-time"}},
                      WholeRunCase{"Garbage1", {"--garbage", "1"}},
                      WholeRunCase{"Garbage3", {"--garbage", "3"}},
                      WholeRunCase{"Garbage40", {"--garbage", "40"}},
                      WholeRunCase{"Garbage1000", {"--garbage", "1000"}},
                      WholeRunCase{"GarbageByteAtATime", {"--garbage", "17", "--byte-at-a-time"}},
                      WholeRunCase{"Ring", {"--unsolicited", "RING"}},
                      WholeRunCase{"NewMessageIndication", {"--unsolicited", "+CMTI: \"SM\",3"}},
                      WholeRunCase{"NoCarrier", {"--unsolicited", "NO CARRIER"}},
                      WholeRunCase{"RingAndGarbage", {"--unsolicited", "RING", "--garbage", "9"}}),
    [](const ::testing::TestParamInfo<WholeRunCase>& info) {
        return std::string(info.param.name);
    });

// A prompt without its blank never satisfies the wait for "> ": the first send times out.
TEST_F(FaultMatrix, APromptWithoutItsBlankTimesTheSendOut) {
    const RunOutcome run = RunAgainstPhone({"--prompt-without-blank"}, kErrTimeout);
    EXPECT_EQ(run.Count(kNotifySending), 1);
}

// 2000 bytes without a line end fill the response buffer: that exchange ends with 4, but for a
// listing, which passes a line too long for the buffer over and waits for the rest until its
// deadline: 10. Answered so for every command of a kind, the run's result follows the rules of
// ExpectedResult:
// - "AT" (every command starts so): the whole wake-up, fallback included, fails: 4;
// - ATE0V1, AT+CMGF, AT+CSCS: set-up results are ignored: 0;
// - AT+CMGS, the PDU: the first send fails: 4;
// - AT+CPMS: neither memory can be selected, so nothing is listed or deleted, and the phone
//   memory's selection error is the result: 4;
// - AT+CMGL: the SIM was selected but not read, and the phone memory's listing fails too: 10;
// - AT+CMGD: deletion results are ignored: 0.
struct FloodCase {
    const char* kind;
    const char* name;
    TransferError expected;
};

void PrintTo(const FloodCase& c, std::ostream* os) {
    *os << c.kind << " -> " << c.expected;
}

class FloodOnEveryCommandOfAKind : public FaultMatrixBase,
                                   public ::testing::WithParamInterface<FloodCase> {};

TEST_P(FloodOnEveryCommandOfAKind, GivesItsResultAndLosesNothing) {
    RunAgainstPhone({"--no-line-end-flood", GetParam().kind}, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    WholeRun, FloodOnEveryCommandOfAKind,
    ::testing::Values(
        FloodCase{"AT", "Every", kErrInvalidParameter}, FloodCase{"ATE0V1", "EchoOff", kErrNone},
        FloodCase{"AT+CMGF", "PduMode", kErrNone}, FloodCase{"AT+CSCS", "Charset", kErrNone},
        FloodCase{"AT+CMGS", "SendLength", kErrInvalidParameter},
        FloodCase{"PDU", "SendPdu", kErrInvalidParameter},
        FloodCase{"AT+CPMS", "SelectMemory", kErrInvalidParameter},
        FloodCase{"AT+CMGL", "List", kErrTimeout}, FloodCase{"AT+CMGD", "Delete", kErrNone}),
    [](const ::testing::TestParamInfo<FloodCase>& info) { return std::string(info.param.name); });

// ---- Cancel at each notification --------------------------------------------------------------

// The cancel event is set from within the notification, so the worker sees it from that point
// on. Any cancel before the run's end makes the result 5 (the thread's end turns whatever the
// interrupted command returned into 5), "Cancelling..." is shown by the next input or output, and
// there is no "Success". Once "Success" has been posted the run is over: a cancel then changes
// nothing, and a cancel at the thread-end notification comes after the result was set.
struct CancelCase {
    const char* name;
    RecordingSink::Trigger trigger;
    TransferError expected;
};

void PrintTo(const CancelCase& c, std::ostream* os) {
    *os << c.name << " -> " << c.expected;
}

class CancelAtNotification : public FaultMatrixBase,
                             public ::testing::WithParamInterface<CancelCase> {};

TEST_P(CancelAtNotification, EndsAsCancelledUnlessTheRunWasOver) {
    const CancelCase& c = GetParam();
    const RunOutcome run = RunAgainstPhone({}, c.expected, c.trigger);
    EXPECT_TRUE(run.cancelled) << "the notification never came: " << run.Sequence();
    if (c.expected == kErrCancelled) {
        EXPECT_GE(run.Count(kNotifyStatus, kStatusCancelling), 1) << run.Sequence();
    } else {
        EXPECT_EQ(run.Count(kNotifyStatus, kStatusCancelling), 0) << run.Sequence();
    }
}

INSTANTIATE_TEST_SUITE_P(
    EveryKind, CancelAtNotification,
    ::testing::Values(
        CancelCase{"Connecting", {kNotifyStatus, kStatusConnecting, 1}, kErrCancelled},
        CancelCase{"Connected", {kNotifyStatus, kStatusConnected, 1}, kErrCancelled},
        CancelCase{"Initializing", {kNotifyStatus, kStatusInitializing, 1}, kErrCancelled},
        CancelCase{"SendCount", {kNotifySendCount, 0, 1}, kErrCancelled},
        CancelCase{"SendingFirst", {kNotifySending, 0, 1}, kErrCancelled},
        CancelCase{"SendingSecond", {kNotifySending, 0, 2}, kErrCancelled},
        CancelCase{"Receiving", {kNotifyStatus, kStatusReceiving, 1}, kErrCancelled},
        CancelCase{"ReceivedFirst", {kNotifyReceived, 0, 1}, kErrCancelled},
        CancelCase{"ReceivedSecond", {kNotifyReceived, 0, 2}, kErrCancelled},
        CancelCase{"ReceivedLast", {kNotifyReceived, 0, 3}, kErrCancelled},
        CancelCase{"Success", {kNotifySuccess, 0, 1}, kErrNone},
        CancelCase{"ThreadEnded", {kNotifyThreadEnded, 0, 1}, kErrNone}),
    [](const ::testing::TestParamInfo<CancelCase>& info) { return std::string(info.param.name); });

// ---- A TCP peer that sends only noise ---------------------------------------------------------

// Listens on an ephemeral port, takes one connection, and answers everything it receives with the
// next piece of a seeded pseudo-random byte stream, until the stream is spent; then it only reads,
// until the session closes the connection. What it received is kept.
class NoisyPeer {
  public:
    NoisyPeer(std::vector<std::uint8_t> stream, std::size_t piece)
        : stream_(std::move(stream)), piece_(piece) {
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (listener_ < 0 || bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            listen(listener_, 1) != 0 ||
            getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
            return;
        }
        port_ = ntohs(address.sin_port);
        stop_ = eventfd(0, EFD_CLOEXEC);
        thread_ = std::thread([this] { Serve(); });
    }
    ~NoisyPeer() {
        if (thread_.joinable()) {
            const std::uint64_t one = 1;
            [[maybe_unused]] ssize_t n = write(stop_, &one, sizeof one);
            thread_.join();
        }
        if (stop_ >= 0) close(stop_);
        if (listener_ >= 0) close(listener_);
    }
    std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }
    bool Ok() const { return port_ != 0 && stop_ >= 0; }
    // Joins the peer (it ends when the session has closed the connection) and returns what it got.
    std::string Received() {
        if (thread_.joinable()) thread_.join();
        return received_;
    }

  private:
    void Serve() {
        pollfd waiting[2] = {{listener_, POLLIN, 0}, {stop_, POLLIN, 0}};
        if (poll(waiting, 2, 120000) <= 0 || (waiting[1].revents & POLLIN) != 0) return;
        const int conn = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (conn < 0) return;
        std::size_t next = 0;  // next byte of the stream to queue
        std::string pending;   // queued, not yet written
        for (;;) {
            pollfd fds[2] = {
                {conn, static_cast<short>(POLLIN | (pending.empty() ? 0 : POLLOUT)), 0},
                {stop_, POLLIN, 0}};
            if (poll(fds, 2, 120000) <= 0 || (fds[1].revents & POLLIN) != 0) break;
            if ((fds[0].revents & POLLOUT) != 0) {
                const ssize_t sent = send(conn, pending.data(), pending.size(), MSG_NOSIGNAL);
                if (sent > 0) pending.erase(0, static_cast<std::size_t>(sent));
                if (sent < 0 && errno != EAGAIN) break;
            }
            if ((fds[0].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
                char buffer[4096];
                const ssize_t got = recv(conn, buffer, sizeof buffer, 0);
                if (got == 0 || (got < 0 && errno != EAGAIN)) break;  // the session has gone
                if (got > 0) {
                    received_.append(buffer, static_cast<std::size_t>(got));
                    const std::size_t take = std::min(piece_, stream_.size() - next);
                    pending.append(reinterpret_cast<const char*>(stream_.data() + next), take);
                    next += take;
                }
            }
        }
        close(conn);
    }

    std::vector<std::uint8_t> stream_;
    std::size_t piece_;
    int listener_ = -1;
    int stop_ = -1;
    std::uint16_t port_ = 0;
    std::thread thread_;
    std::string received_;
};

struct NoiseCase {
    const char* name;
    std::uint32_t seed;
    std::size_t length;
    std::size_t piece;  // bytes answered to each piece of input
    bool noLineEnds;    // CR and LF left out (NUL bytes in their place)
};

void PrintTo(const NoiseCase& c, std::ostream* os) {
    *os << c.name << " seed " << c.seed;
}

class NoisyTcpPeer : public FaultMatrixBase, public ::testing::WithParamInterface<NoiseCase> {};

// Noise never holds "OK" on a line of its own, so the wake-up never succeeds: the run ends with a
// failure code of the wake-up's last "AT" (4 for a full buffer, 10 for no final code, 14 to 16 for
// noise that happens to look like an error line), within the time-outs, and sends nothing.
TEST_P(NoisyTcpPeer, EndsWithAFailureAndLeavesTheStoreIntact) {
    const NoiseCase& c = GetParam();
    std::mt19937 random(c.seed);
    std::vector<std::uint8_t> stream(c.length);
    for (auto& b : stream) {
        b = static_cast<std::uint8_t>(random() & 0xFF);
        if (c.noLineEnds && (b == '\r' || b == '\n')) b = 0;
    }
    std::printf("seed %u, %zu bytes in pieces of %zu%s\n", c.seed, c.length, c.piece,
                c.noLineEnds ? ", no line ends" : "");
    RunOutcome run;
    std::string received;
    {
        NoisyPeer peer(std::move(stream), c.piece);
        ASSERT_TRUE(peer.Ok());
        Configure(peer.Address());
        FillOutbox();
        run = Run();
        received = peer.Received();
    }
    EXPECT_TRUE(run.result == kErrInvalidParameter || run.result == kErrTimeout ||
                run.result == kErrPhoneError || run.result == kErrCmsError ||
                run.result == kErrCmeError)
        << "result " << run.result << ", notifications " << run.Sequence();
    EXPECT_EQ(run.Count(kNotifySuccess), 0);
    EXPECT_EQ(run.Count(kNotifySending), 0);
    // Within the time-outs: the wake-up's six exchanges, each a drain of stale input (at most
    // kDrainLimitMs however much keeps arriving) and a wait for the answer.
    EXPECT_LE(run.fakeMs, 6 * (kDrainLimitMs + kAtDefaultTimeoutMs) + 1000) << "fake ms";
    std::printf("result %u after %u fake ms\n", run.result, run.fakeMs);
    EXPECT_EQ(received.find("AT+CMGS"), std::string::npos);
    EXPECT_NE(received.find("AT\r"), std::string::npos);
    const auto outbox = Texts(kFolderOutbox);
    EXPECT_EQ(outbox.size(), 2u);
    EXPECT_TRUE(Texts(kFolderSent).empty());
    EXPECT_TRUE(Texts(kFolderInbox).empty());
    EXPECT_EQ(IntegrityCheck(StoreFilePath()), "ok");
    CheckNothingLeaked();
}

INSTANTIATE_TEST_SUITE_P(Seeds, NoisyTcpPeer,
                         ::testing::Values(NoiseCase{"Short", 1, 64, 16, false},
                                           NoiseCase{"Random4K", 2, 4096, 512, false},
                                           NoiseCase{"Random64K", 3, 65536, 3000, false},
                                           NoiseCase{"NoLineEnd70K", 4, 70000, 70000, true},
                                           NoiseCase{"NoLineEnd200K", 5, 200000, 100000, true},
                                           NoiseCase{"Random300K", 6, 300000, 1500, false},
                                           NoiseCase{"ByteByByte", 7, 2000, 1, false}),
                         [](const ::testing::TestParamInfo<NoiseCase>& info) {
                             return std::string(info.param.name);
                         });

}  // namespace

namespace {

// ---- The store failing from one command on ----------------------------------------------------

// The message store gets into trouble when the phone receives the command of a step (the phone
// holds its answer until the trouble is in place) and stays so to the end of the run:
// - locked: another program holds the write lock (the busy wait shortened to 100 ms);
// - read-only: the file loses its write permission (for root, with the permission check in
//   force for this process's threads);
// - full: a one-byte file size limit, so that every write into the file fails as on a full disk;
// - newer: another program marks the file as written by a newer version.
// The store is opened once the phone is set up; what the trouble does follows from that:
// - before the store is opened (wake-up, set-up): no transfer can use it: 20, nothing sent, nothing
//   fetched or deleted;
// - while a message is sent (locked, full): the phone has it, but it cannot be moved to Sent: 20,
//   and it waits in the Outbox marked "may have been sent"; read-only and newer only matter to a
//   connection opened afterwards: the run goes through;
// - while messages are fetched (locked, full): those not yet stored cannot be, and stay on the
//   phone: success, with the count of those not stored said; read-only, newer: the run goes
//   through.
// Then the trouble ends and a second run completes the transfer without sending anything twice.
enum class StoreFault { kLocked, kReadOnly, kFull, kNewer };

const char* StoreFaultName(StoreFault f) {
    switch (f) {
        case StoreFault::kLocked:
            return "Locked";
        case StoreFault::kReadOnly:
            return "ReadOnly";
        case StoreFault::kFull:
            return "Full";
        case StoreFault::kNewer:
            return "NewerVersion";
    }
    return "?";
}

void PrintTo(StoreFault f, std::ostream* os) {
    *os << StoreFaultName(f);
}

// Root writes to a read-only file all the same; with CAP_DAC_OVERRIDE left out of the effective
// set it meets the permission bits as anyone does. Threads started meanwhile (the transfer's
// worker) inherit the reduced set. The capability stays permitted, so it is taken back after.
class PermissionCheckInForce {
  public:
    PermissionCheckInForce() {
        header_.version = _LINUX_CAPABILITY_VERSION_3;
        if (syscall(SYS_capget, &header_, saved_) != 0) return;
        __user_cap_data_struct reduced[2] = {saved_[0], saved_[1]};
        reduced[0].effective &= ~(1u << CAP_DAC_OVERRIDE);
        changed_ = syscall(SYS_capset, &header_, reduced) == 0;
    }
    ~PermissionCheckInForce() {
        if (changed_) syscall(SYS_capset, &header_, saved_);
    }

  private:
    __user_cap_header_struct header_{};
    __user_cap_data_struct saved_[2]{};
    bool changed_ = false;
};

class StoreFaultAtCommand : public FaultMatrixBase,
                            public ::testing::WithParamInterface<std::tuple<int, StoreFault>> {
  protected:
    void TearDown() override {
        SetStoreBusyTimeout(0);
        FaultMatrixBase::TearDown();
    }

    // Puts the trouble in place; undone by EndTrouble.
    void StartTrouble(StoreFault fault) {
        const std::string file = StoreFilePath();
        switch (fault) {
            case StoreFault::kLocked:
                if (sqlite3_open(file.c_str(), &holder_) == SQLITE_OK) {
                    // The session may be writing this very moment: wait for its turn.
                    sqlite3_busy_timeout(holder_, 10000);
                    EXPECT_EQ(sqlite3_exec(holder_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr),
                              SQLITE_OK);
                }
                break;
            case StoreFault::kReadOnly:
                EXPECT_EQ(chmod(file.c_str(), 0400), 0);
                break;
            case StoreFault::kFull: {
                signal(SIGXFSZ, SIG_IGN);
                EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &savedLimit_), 0);
                rlimit tiny = savedLimit_;
                tiny.rlim_cur = 1;
                EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &tiny), 0);
                break;
            }
            case StoreFault::kNewer:
                SetVersion(99);
                break;
        }
    }
    void EndTrouble(StoreFault fault) {
        switch (fault) {
            case StoreFault::kLocked:
                sqlite3_exec(holder_, "ROLLBACK", nullptr, nullptr, nullptr);
                sqlite3_close(holder_);
                holder_ = nullptr;
                break;
            case StoreFault::kReadOnly:
                EXPECT_EQ(chmod(StoreFilePath().c_str(), 0600), 0);
                break;
            case StoreFault::kFull:
                EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &savedLimit_), 0);
                signal(SIGXFSZ, SIG_DFL);
                break;
            case StoreFault::kNewer:
                SetVersion(kStoreSchemaVersion);
                break;
        }
    }
    static void SetVersion(std::uint32_t version) {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(StoreFilePath().c_str(), &db), SQLITE_OK);
        sqlite3_busy_timeout(db, 10000);
        const std::string sql = "PRAGMA user_version=" + std::to_string(version);
        EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(db);
    }

    sqlite3* holder_ = nullptr;
    rlimit savedLimit_{};
};

TEST_P(StoreFaultAtCommand, SaysWhatWasNotDoneAndSendsNothingTwice) {
    const auto [step, fault] = GetParam();
    const Role role = kCleanRun[step - 1].role;
    SCOPED_TRACE(std::string(kCleanRun[step - 1].name) + " " + StoreFaultName(fault));
    const bool beforeTheStore = role <= Role::kSetUpLast;
    const bool writesFail = fault == StoreFault::kLocked || fault == StoreFault::kFull;
    const bool whileSending = role == Role::kSendLength || role == Role::kSendPdu;
    const bool whileFetching = role >= Role::kSelectSim && role <= Role::kListPhone;
    // Messages fetched after the trouble began: the SIM's two unless it was listed already.
    const int notStored = writesFail && whileFetching ? (role <= Role::kListSim ? 3 : 1) : 0;
    const TransferError expected =
        beforeTheStore || (writesFail && whileSending) ? kErrStore : kErrNone;

    SetStoreBusyTimeout(100);
    const std::string gate = (root_ / "gate").string();
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        PhoneArgs({"--hold-on", "#" + std::to_string(step), "--hold-gate", gate}),
                        root_.string());
    ASSERT_TRUE(sim.Ok());
    Configure(sim.Address());
    FillOutbox();

    RunOutcome first;
    std::vector<std::u16string> shortfalls;
    std::u16string detail;
    {
        std::unique_ptr<PermissionCheckInForce> permissions;
        if (fault == StoreFault::kReadOnly)
            permissions = std::make_unique<PermissionCheckInForce>();
        std::thread trouble([&] {
            ASSERT_TRUE(WaitForFile(gate + ".held"));
            StartTrouble(fault);
            std::ofstream open(gate);
        });
        // Real time: the phone holds its answer for as long as the trouble takes to set up,
        // and no time-out may run out meanwhile, however loaded the machine is.
        TransferSession session;
        RecordingSink sink(&session, {});
        TransferSettings settings;
        ASSERT_TRUE(ReadTransferSettings(&settings));
        ASSERT_TRUE(session.Start(&sink, kNotifyThreadEnded, &settings));
        const bool ended = sink.WaitEnded(120s);
        if (!ended) session.CancelAndWait();
        session.Wait();
        trouble.join();
        EndTrouble(fault);
        ASSERT_TRUE(ended) << "the transfer did not end";
        first.result = session.Result();
        first.notes = sink.Notes();
        shortfalls = session.Shortfalls();
        detail = session.FailureDetail();
    }

    EXPECT_EQ(first.result, expected) << "notifications: " << first.Sequence();
    EXPECT_EQ(first.Count(kNotifySuccess), first.result == kErrNone ? 1 : 0);
    if (first.result == kErrStore) {
        EXPECT_NE(Utf16ToUtf8(detail).find(StoreFilePath()), std::string::npos)
            << Utf16ToUtf8(detail);
    }
    if (beforeTheStore) {
        EXPECT_EQ(first.Count(kNotifySending), 0);
        EXPECT_EQ(first.Count(kNotifyStatus, kStatusReceiving), 0);
    }
    const std::string notStoredLine =
        std::to_string(notStored) + " message(s) could not be stored: ";
    const bool said = std::any_of(shortfalls.begin(), shortfalls.end(), [&](const auto& line) {
        return Utf16ToUtf8(line).rfind(notStoredLine, 0) == 0;
    });
    EXPECT_EQ(said, notStored != 0) << "shortfalls: " << shortfalls.size();
    EXPECT_EQ(first.Count(kNotifyReceived), whileFetching && writesFail ? 3 - notStored
                                            : expected == kErrNone      ? 3
                                                                        : 0);
    CheckPlacement(sim);
    // A message the phone took but Sent never recorded waits, marked, in the Outbox.
    const int heldBack = writesFail && whileSending ? 1 : 0;
    EXPECT_EQ(static_cast<int>(Texts(kFolderOutbox).size()),
              beforeTheStore ? 2 : heldBack + (writesFail && whileSending && step <= 8 ? 1 : 0));

    // The trouble over, the next run completes what was left, sending nothing a second time
    // (the gate stays open: the phone no longer holds its answer).
    const RunOutcome second = Run({}, /*realClock=*/true);
    EXPECT_EQ(second.result, kErrNone) << second.Sequence();
    CheckPlacement(sim);
    EXPECT_EQ(static_cast<int>(Texts(kFolderOutbox).size()), heldBack);
    EXPECT_EQ(Texts(kFolderInbox).size(), 3u);
    EXPECT_EQ(sim.StoredIn("SM"), 0);
    EXPECT_EQ(sim.StoredIn("ME"), 0);
    std::vector<std::string> state = sim.State();
    for (const char* text : kOutboxTexts) {
        EXPECT_LE(std::count_if(state.begin(), state.end(),
                                [&](const std::string& l) {
                                    return l.rfind("SENT|", 0) == 0 &&
                                           l.substr(l.rfind('|') + 1) == text;
                                }),
                  1)
            << text << " sent twice";
    }
}

std::string StoreFaultCaseName(const ::testing::TestParamInfo<std::tuple<int, StoreFault>>& info) {
    const int step = std::get<0>(info.param);
    char number[8];
    std::snprintf(number, sizeof number, "%02d", step);
    return std::string("Cmd") + number + kCleanRun[step - 1].name + "_" +
           StoreFaultName(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(
    EveryStep, StoreFaultAtCommand,
    ::testing::Combine(::testing::Range(1, kStepCount + 1),
                       ::testing::Values(StoreFault::kLocked, StoreFault::kReadOnly,
                                         StoreFault::kFull, StoreFault::kNewer)),
    StoreFaultCaseName);

}  // namespace
