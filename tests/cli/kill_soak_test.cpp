// SPDX-License-Identifier: GPL-3.0-or-later
// kill -9 soak: `velkan send-get` killed at a random moment of a transfer, then a clean run, over
// and over against one persistent simulated phone (its state carried from one simulator process
// to the next with --state and --messages). After every kill and after every clean run the
// message database passes SQLite's integrity check and every message is where it belongs: each
// Outbox message in exactly one of Outbox and Sent and never sent twice (one handed to the phone
// by a killed run waits in the Outbox, marked "may have been sent"), each phone message either
// still on the phone or in the Inbox, never twice, and none deleted on the phone before it was
// stored.
//
//   VELKAN_KILL_RUNS   pairs of runs (default 10)
//   VELKAN_KILL_SEED   seed of the kill moments (default: a fresh one); printed, so that a
//                      failure can be replayed
//
// The moment of each kill is uniform over the duration of a clean run of the same size, measured
// first; the phone is paced like a 19200 baud line, so that a run lasts long enough for the kills
// to land in every phase.
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "common/pdu_record.h"
#include "common/text_convert.h"
#include "pdu/deliver.h"
#include "pdu/gsm_alphabet.h"
#include "phone_sim_process.h"
#include "run_process.h"

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

unsigned EnvNumber(const char* name, unsigned fallback) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == 0) return fallback;
    return static_cast<unsigned>(std::strtoul(value, nullptr, 10));
}

// The text of a stored SMS-DELIVER as the phone's state file holds it ("PDU:<hex>|<length>").
std::string DeliverText(const std::string& hex, unsigned tpduLength) {
    std::vector<std::uint8_t> bytes(hex.size() / 2);
    if (HexToBytes(hex.c_str(), hex.size(), bytes.data()) != kErrNone) return "(bad hex)";
    PduRecordPtr record(NewPduRecord());
    if (DecodePdu(record.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                  tpduLength) != kErrNone) {
        return "(undecodable)";
    }
    char16_t text[kUserDataSize + 1];
    std::size_t count = 0;
    SeptetsToText(record->userData, record->userDataLength, text, &count);
    return Utf16ToUtf8(std::u16string(text, count));
}

struct PhoneState {
    std::vector<std::string> stored;  // texts of the messages in SM and ME
    std::vector<std::string> sent;    // texts the phone has sent, once per send
};

PhoneState ReadPhoneState(const std::vector<std::string>& lines) {
    PhoneState state;
    for (const auto& line : lines) {
        if (line.rfind("SENT|", 0) == 0) {
            state.sent.push_back(line.substr(line.rfind('|') + 1));
        } else if (line.rfind("SM@", 0) == 0 || line.rfind("ME@", 0) == 0) {
            // MEM@I|STATUS|PDU:<hex>|<length>
            const std::size_t pdu = line.find("|PDU:");
            const std::size_t bar = line.rfind('|');
            if (pdu == std::string::npos || bar <= pdu) continue;
            const std::string hex = line.substr(pdu + 5, bar - pdu - 5);
            state.stored.push_back(
                DeliverText(hex, static_cast<unsigned>(std::stoul(line.substr(bar + 1)))));
        }
    }
    return state;
}

// The phase a killed run was in, from the last command the phone received from it.
std::string PhaseOf(const std::vector<std::string>& log, bool endedBeforeTheKill) {
    if (endedBeforeTheKill) return "after the end";
    std::string phase = "before the first command";
    int listings = 0;
    for (const auto& line : log) {
        if (line == "AT" || line == "ATZ") {
            if (phase == "before the first command") phase = "wake-up";
        } else if (line.rfind("ATE0", 0) == 0 || line.rfind("AT+CMGF", 0) == 0 ||
                   line.rfind("AT+CSCS", 0) == 0) {
            phase = "set-up";
        } else if (line.rfind("AT+CMGS", 0) == 0 || line.find("<ctrl-z>") != std::string::npos) {
            phase = "sending";
        } else if (line.rfind("AT+CMGL", 0) == 0) {
            ++listings;
            phase = "listing";
        } else if (line.rfind("AT+CPMS", 0) == 0) {
            phase = listings >= 2 ? "deleting" : "listing";
        } else if (line.rfind("AT+CMGD", 0) == 0) {
            phase = "deleting";
        }
    }
    return phase;
}

class KillSoakTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "velkan-kill-soak-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        home_ = pattern;
        setenv("HOME", home_.c_str(), 1);
        setenv("XDG_DATA_HOME", (home_ + "/data").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (home_ + "/config").c_str(), 1);
        unsetenv("VELKAN_DATA_DIR");
        unsetenv("VELKAN_CLOCK_STEP_MS");
    }
    void TearDown() override {
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
    // The texts of a folder, from `velkan list --json`.
    std::vector<std::string> Texts(const std::string& folder) {
        const ProcessResult r = Velkan({"list", folder, "--json"});
        EXPECT_EQ(r.exitStatus, 0) << r.err;
        std::vector<std::string> out;
        const std::string key = "\"text\":\"";
        for (const auto& line : Lines(r.out)) {
            const std::size_t at = line.find(key);
            if (at == std::string::npos) continue;
            const std::size_t start = at + key.size();
            out.push_back(line.substr(start, line.find('"', start) - start));
        }
        return out;
    }
    std::string IntegrityCheck() {
        const std::string file = home_ + "/data/velkan-tessiver/velkan.sqlite3";
        sqlite3* db = nullptr;
        std::string answer = "cannot open";
        if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
            sqlite3_stmt* check = nullptr;
            if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &check, nullptr) ==
                    SQLITE_OK &&
                sqlite3_step(check) == SQLITE_ROW) {
                answer = reinterpret_cast<const char*>(sqlite3_column_text(check, 0));
            }
            sqlite3_finalize(check);
        }
        sqlite3_close(db);
        return answer;
    }

    // Every message in its place; `clean`: after a run that went through, so everything sent,
    // fetched and deleted on the phone.
    void CheckPlacement(const PhoneSimProcess& sim, bool clean, const std::string& cleanErr = {}) {
        EXPECT_EQ(IntegrityCheck(), "ok");
        ++integrityChecks_;
        const auto outbox = Texts("outbox");
        const auto sent = Texts("sent");
        const auto inbox = Texts("inbox");
        const PhoneState phone = ReadPhoneState(sim.State());
        auto count = [](const std::vector<std::string>& v, const std::string& text) {
            return static_cast<int>(std::count(v.begin(), v.end(), text));
        };
        for (const auto& text : outboxTexts_) {
            SCOPED_TRACE(text);
            EXPECT_EQ(count(outbox, text) + count(sent, text), 1) << "in the Outbox and Sent";
            // In Sent only once the phone has sent it, and never sent twice: a kill after the
            // message was handed to the phone leaves it in the Outbox marked "may have been
            // sent", and no later run sends it again by itself.
            if (count(sent, text) == 1) {
                EXPECT_GE(count(phone.sent, text), 1);
            }
            EXPECT_LE(count(phone.sent, text), 1) << "sent twice";
            if (clean && count(sent, text) == 0) {
                // Still in the Outbox after a run that went through: only a message held back
                // for the person's word, which the run named.
                EXPECT_NE(cleanErr.find("Not sent, it may have been sent already"),
                          std::string::npos)
                    << cleanErr;
                heldBack_.insert(text);
            }
            ++messagesChecked_;
        }
        EXPECT_EQ(outbox.size() + sent.size(), outboxTexts_.size());
        for (const auto& text : phoneTexts_) {
            SCOPED_TRACE(text);
            const int stored = count(phone.stored, text);
            EXPECT_LE(stored, 1);
            EXPECT_LE(count(inbox, text), 1) << "stored twice";
            if (stored == 0) {
                EXPECT_EQ(count(inbox, text), 1) << "deleted on the phone but not in the Inbox";
            }
            if (clean) {
                EXPECT_EQ(stored, 0);
                EXPECT_EQ(count(inbox, text), 1);
            }
            ++messagesChecked_;
        }
        for (const auto& text : inbox) {
            EXPECT_EQ(count(phoneTexts_, text), 1) << "the Inbox holds a stranger: " << text;
        }
    }

    // A phone holding what the last one held, with this round's new messages, on a fresh port.
    std::unique_ptr<PhoneSimProcess> Phone(int round) {
        const std::string tag = std::to_string(round);
        std::vector<std::string> args = {"--no-deliver-sent", "--baud", "19200"};
        if (fs::exists(phoneFile_)) args.insert(args.end(), {"--messages", phoneFile_});
        const std::pair<const char*, std::string> incoming[] = {
            {"SM:+4930111111:", "SIM one " + tag},
            {"SM:+4930111112:", "SIM two " + tag},
            {"ME:+4930222222:", "Phone " + tag}};
        for (const auto& [where, text] : incoming) {
            args.insert(args.end(), {"--sms", std::string(where) + text});
            phoneTexts_.push_back(text);
        }
        auto sim = std::make_unique<PhoneSimProcess>(PhoneSimProcess::kTcp, args, home_);
        return sim;
    }
    void Compose(int round) {
        for (const std::string letter : {"A", "B"}) {
            const std::string text = "Out " + std::to_string(round) + letter;
            const ProcessResult r = Velkan({"compose", "--to", "+4930123456", "--text", text});
            ASSERT_EQ(r.exitStatus, 0) << r.err;
            outboxTexts_.push_back(text);
        }
    }
    // Keeps what the phone holds for the next round's phone.
    void KeepPhone(const PhoneSimProcess& sim) {
        std::error_code ec;
        fs::copy_file(sim.StatePath(), phoneFile_, fs::copy_options::overwrite_existing, ec);
        ASSERT_FALSE(ec) << ec.message();
    }

    std::string home_;
    std::string phoneFile_;
    std::vector<std::string> outboxTexts_;
    std::vector<std::string> phoneTexts_;
    int integrityChecks_ = 0;
    std::set<std::string> heldBack_;  // messages held back as "may have been sent"
    long messagesChecked_ = 0;
};

}  // namespace

TEST_F(KillSoakTest, KillNineAtRandomMomentsThenACleanRunLosesNothingAndStoresNothingTwice) {
    const unsigned runs = EnvNumber("VELKAN_KILL_RUNS", 10);
    const unsigned seed = EnvNumber("VELKAN_KILL_SEED", std::random_device{}());
    std::printf("kill soak: %u runs, VELKAN_KILL_SEED=%u\n", runs, seed);
    RecordProperty("seed", std::to_string(seed));
    std::mt19937 random(seed);
    phoneFile_ = home_ + "/phone.txt";
    const auto started = Clock::now();

    Set("CommPort", "TCP");
    Set("DelMsg", "1");

    // A clean run of the size of every round, timed: the kills are spread over its duration.
    Clock::duration cleanRun{};
    {
        auto sim = Phone(0);
        ASSERT_TRUE(sim->Ok());
        Set("TCP", sim->Address());
        Compose(0);
        const auto before = Clock::now();
        const ProcessResult r = Velkan({"send-get"});
        cleanRun = Clock::now() - before;
        ASSERT_EQ(r.exitStatus, 0) << r.err;
        CheckPlacement(*sim, /*clean=*/true);
        KeepPhone(*sim);
    }
    const auto cleanMs = std::chrono::duration_cast<std::chrono::milliseconds>(cleanRun).count();
    std::printf("a clean run takes %lld ms\n", static_cast<long long>(cleanMs));
    std::uniform_int_distribution<long long> moment(0, std::max<long long>(1, cleanMs * 1000));

    std::map<std::string, int> phases;
    int doubleSends = 0;
    for (unsigned round = 1; round <= runs && !HasFatalFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round) + ", seed " + std::to_string(seed));
        auto sim = Phone(static_cast<int>(round));
        ASSERT_TRUE(sim->Ok());
        Set("TCP", sim->Address());
        Compose(static_cast<int>(round));

        const auto killAfter = std::chrono::microseconds(moment(random));
        int status;
        {
            RunningProcess run(VELKAN_BIN, {"send-get"}, home_ + "/killed.err");
            ASSERT_TRUE(run.Started());
            // Not a wait for an event: the kill is meant to come at this arbitrary moment.
            std::this_thread::sleep_for(killAfter);
            run.Signal(SIGKILL);
            status = run.Wait();
        }
        EXPECT_TRUE(status == 128 + SIGKILL || status == 0) << "status " << status;
        const std::string phase = PhaseOf(sim->Log(), status != 128 + SIGKILL);
        ++phases[phase];
        CheckPlacement(*sim, /*clean=*/false);

        const ProcessResult clean = Velkan({"send-get"});
        EXPECT_EQ(clean.exitStatus, 0) << clean.err;
        CheckPlacement(*sim, /*clean=*/true, clean.err);
        const PhoneState phone = ReadPhoneState(sim->State());
        for (const std::string letter : {"A", "B"}) {
            doubleSends += std::count(phone.sent.begin(), phone.sent.end(),
                                      "Out " + std::to_string(round) + letter) > 1;
        }
        KeepPhone(*sim);
    }

    const auto seconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - started).count() /
        1000.0;
    std::printf("kills by phase:");
    for (const auto& [phase, n] : phases) std::printf(" %s %d;", phase.c_str(), n);
    std::printf(
        "\nmessages checked %ld, integrity checks %d (all ok unless reported above), "
        "messages the phone sent twice %d, held back as may have been sent %zu, %.1f s\n",
        messagesChecked_, integrityChecks_, doubleSends, heldBack_.size(), seconds);
    EXPECT_EQ(doubleSends, 0);
    for (const auto& [phase, n] : phases) RecordProperty("phase " + phase, n);
    RecordProperty("messages_checked", std::to_string(messagesChecked_));
}
