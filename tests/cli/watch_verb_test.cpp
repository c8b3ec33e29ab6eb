// SPDX-License-Identifier: GPL-3.0-or-later
// `velkan watch` as a separate process against the simulated phone: the JSON lines of the new
// messages, COMMAND's arguments, environment and input, a failing COMMAND, SIGTERM in the
// middle of a listing, a failed round tried again, and a round that finds another transfer
// running.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "phone_sim_process.h"
#include "run_process.h"

namespace fs = std::filesystem;

namespace {

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

int Count(const std::string& text, const std::string& part) {
    int n = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++n;
    }
    return n;
}

// Waits (at most `limit`) until `path` exists and holds `text`; the file is written by another
// process, so this wakes whenever a file of its folder changes.
bool WaitForText(const std::string& path, const std::string& text,
                 std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    const std::string dir = path.substr(0, path.rfind('/'));
    if (watch >= 0) inotify_add_watch(watch, dir.c_str(), IN_MODIFY | IN_CREATE | IN_CLOSE_WRITE);
    const auto end = std::chrono::steady_clock::now() + limit;
    bool found = false;
    for (;;) {
        if (access(path.c_str(), F_OK) == 0 && Contains(ReadAll(path), text)) {
            found = true;
            break;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        if (left.count() <= 0 || watch < 0) break;
        pollfd p{watch, POLLIN, 0};
        if (poll(&p, 1, static_cast<int>(left.count())) > 0) {
            char events[4096];
            while (read(watch, events, sizeof events) > 0) {
            }
        }
    }
    if (watch >= 0) close(watch);
    return found;
}

class CliWatchTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "velkan-watch-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        home_ = pattern;
        setenv("HOME", home_.c_str(), 1);
        setenv("XDG_DATA_HOME", (home_ + "/data").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (home_ + "/config").c_str(), 1);
        ASSERT_EQ(mkdir((home_ + "/run").c_str(), 0700), 0);
        setenv("XDG_RUNTIME_DIR", (home_ + "/run").c_str(), 1);
        unsetenv("VELKAN_DATA_DIR");
        unsetenv("VELKAN_CLOCK_STEP_MS");
    }
    void TearDown() override {
        unsetenv("VELKAN_CLOCK_STEP_MS");
        unsetenv("XDG_RUNTIME_DIR");
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
    void UseTcp(const PhoneSimProcess& sim) {
        Set("CommPort", "TCP");
        Set("TCP", sim.Address());
    }
    std::vector<std::string> Folder(const std::string& folder) {
        const ProcessResult r = Velkan({"list", folder, "--json"});
        EXPECT_EQ(r.exitStatus, 0) << r.err;
        return Lines(r.out);
    }
    // A script that records, for each message, its arguments, VELKAN_* and its input in
    // FOLDER/ID, says something on its stdout, and ends with `status`.
    std::string RecordingScript(int status = 0) {
        const std::string path = home_ + "/record.sh";
        std::ofstream(path) << "#!/bin/sh\n"
                               "echo \"recorded $VELKAN_ID\"\n"
                               "{ printf '%s\\n' \"$#\" \"$2\" \"$VELKAN_ID\" \"$VELKAN_NUMBER\" "
                               "\"$VELKAN_NAME\" \"$VELKAN_TEXT\" \"$VELKAN_TIME\"; cat; } "
                               "> \"$1/$VELKAN_ID\"\n"
                               "exit "
                            << status << "\n";
        fs::permissions(path, fs::perms::owner_all);
        fs::create_directories(home_ + "/records");
        return path;
    }
    std::vector<std::string> Sorted(std::vector<std::string> lines) {
        std::sort(lines.begin(), lines.end());
        return lines;
    }

    std::string home_;
};

const char kSkipped[] = "velkan: another transfer is running; this check is skipped";

}  // namespace

// One round: each new message is one line of JSON, as `velkan list --json` shows it, and the
// round says nothing else; the next round finds nothing new.
TEST_F(CliWatchTest, OnceGetsTheNewMessagesAsJsonLines) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "SM:+4930111111:From the SIM", "--sms",
                                                "ME:+4930222222:From the phone"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    ProcessResult r = Velkan({"watch", "--once"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.err, "");
    const auto lines = Lines(r.out);
    ASSERT_EQ(lines.size(), 2u) << r.out;
    EXPECT_TRUE(Contains(lines[0], "\"number\":\"+4930111111\",\"text\":\"From the SIM\""))
        << lines[0];
    EXPECT_TRUE(Contains(lines[1], "\"text\":\"From the phone\"")) << lines[1];
    EXPECT_EQ(Sorted(lines), Sorted(Folder("inbox")));

    r = Velkan({"watch", "--once"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(Folder("inbox").size(), 2u);
}

// COMMAND runs once per message, without a shell: its words as quoted, the message in its
// environment, its JSON line on stdin; what it prints goes to stderr, not among the JSON lines.
TEST_F(CliWatchTest, TheCommandGetsTheMessageInItsEnvironmentAndOnItsInput) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "SM:+4930111111:Meet at 8, ok?"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    const std::string script = RecordingScript();
    const ProcessResult r = Velkan(
        {"watch", "--once", "--exec", script + " " + home_ + "/records 'two words' \"and $HOME\""});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    const auto lines = Lines(r.out);
    ASSERT_EQ(lines.size(), 1u) << r.out;
    const auto inbox = Folder("inbox");
    ASSERT_EQ(inbox.size(), 1u);
    EXPECT_EQ(lines[0], inbox[0]);
    const std::string id = lines[0].substr(6, lines[0].find(',') - 6);  // {"id":N,
    EXPECT_EQ(r.err, "recorded " + id + "\n");
    const std::string time = lines[0].substr(lines[0].find("\"time\":\"") + 8, 19);
    EXPECT_EQ(Lines(ReadAll(home_ + "/records/" + id)),
              (std::vector<std::string>{"3", "two words", id, "+4930111111", "", "Meet at 8, ok?",
                                        time, lines[0]}));
}

// A COMMAND that fails, is killed or cannot be started is reported for each message; the
// messages are still printed and the watch ends well.
TEST_F(CliWatchTest, AFailingCommandIsReportedAndDoesNotStopTheWatch) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--sms", "SM:+4930111111:One", "--sms", "SM:+4930111112:Two"});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    const std::string script = RecordingScript(3);
    ProcessResult r = Velkan({"watch", "--once", "--exec", script + " " + home_ + "/records"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(Lines(r.out).size(), 2u) << r.out;
    EXPECT_EQ(Count(r.err, script + " exited with status 3"), 2) << r.err;
    EXPECT_TRUE(Contains(r.err, "velkan: --exec for message 1: ")) << r.err;
    EXPECT_TRUE(Contains(r.err, "velkan: --exec for message 2: ")) << r.err;
    EXPECT_EQ(std::distance(fs::directory_iterator(home_ + "/records"), fs::directory_iterator()),
              2);

    PhoneSimProcess more(PhoneSimProcess::kTcp, {"--sms", "SM:+4930111113:Three"});
    ASSERT_TRUE(more.Ok());
    UseTcp(more);
    const std::string missing = home_ + "/no-such-program";
    r = Velkan({"watch", "--once", "--exec", missing});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(Lines(r.out).size(), 1u) << r.out;
    EXPECT_TRUE(Contains(r.err, missing + " cannot be started: No such file or directory"))
        << r.err;

    PhoneSimProcess last(PhoneSimProcess::kTcp, {"--sms", "SM:+4930111114:Four"});
    ASSERT_TRUE(last.Ok());
    UseTcp(last);
    const std::string killer = home_ + "/killed.sh";
    std::ofstream(killer) << "#!/bin/sh\nkill -9 $$\n";
    fs::permissions(killer, fs::perms::owner_all);
    r = Velkan({"watch", "--once", "--exec", killer});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(Lines(r.out).size(), 1u) << r.out;
    EXPECT_TRUE(Contains(r.err, killer + " was killed by signal 9")) << r.err;
}

TEST_F(CliWatchTest, BadArgumentsAreAUsageError) {
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"watch", "--interval", "0"},
          {"watch", "--interval", "ten"},
          {"watch", "--interval", "-5"},
          {"watch", "--interval", "86401"},
          {"watch", "--interval"},
          {"watch", "--exec", "'unclosed"},
          {"watch", "--exec", "\"unclosed"},
          {"watch", "--exec", "   "},
          {"watch", "--exec", "trailing\\"},
          {"watch", "--now"}}) {
        SCOPED_TRACE(args.back());
        const ProcessResult r = Velkan(args);
        EXPECT_EQ(r.exitStatus, 2) << r.err;
        EXPECT_TRUE(Contains(r.err, "usage:\nvelkan watch")) << r.err;
        EXPECT_EQ(r.out, "");
    }
}

// A failed round is printed, and its status is the exit status when it is the last.
TEST_F(CliWatchTest, AFailedRoundSaysWhyAndEndsWithItsStatus) {
    Set("CommPort", "Bluetooth");  // neither COM, a device path nor TCP
    const ProcessResult r = Velkan({"watch", "--once"});
    EXPECT_EQ(r.exitStatus, 12);
    EXPECT_EQ(r.err, "Connection failed.\nCheck your Connection settings.\n");
    EXPECT_EQ(r.out, "");
}

// A failed round is tried again at the next interval, with the settings as they are then; the
// watch runs until SIGTERM, and ends with 0 after a good last round. The interval passes on the
// clock of VELKAN_CLOCK_STEP_MS.
TEST_F(CliWatchTest, AFailedRoundIsTriedAgainAtTheNextInterval) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "ME:+4930222222:Second try"});
    ASSERT_TRUE(sim.Ok());
    Set("CommPort", "Bluetooth");
    setenv("VELKAN_CLOCK_STEP_MS", "10", 1);
    const std::string out = home_ + "/watch.out", err = home_ + "/watch.err";
    RunningProcess watch(VELKAN_BIN, {"watch", "--interval", "5"}, err, out);
    ASSERT_TRUE(WaitForText(err, "Check your Connection settings.\n")) << ReadAll(err);
    // The address first: a round between the two changes still fails the same way.
    Set("TCP", sim.Address());
    Set("CommPort", "TCP");
    ASSERT_TRUE(WaitForText(out, "\"text\":\"Second try\"")) << ReadAll(err);
    watch.Signal(SIGTERM);
    EXPECT_EQ(watch.Wait(), 0) << ReadAll(err);
    EXPECT_EQ(Lines(ReadAll(out)), Folder("inbox"));
    const std::string said = ReadAll(err);
    EXPECT_GE(Count(said, "Connection failed.\nCheck your Connection settings.\n"), 1) << said;
    EXPECT_EQ(Count(said, "Connection failed."), Count(said, "\n") / 2) << said;  // nothing else
}

// SIGTERM while the phone holds back the listing of its own memory: the transfer is cancelled,
// which is no error, and the watch ends with 0 at once; what it stored from the SIM before is
// printed.
TEST_F(CliWatchTest, SigtermDuringAListingEndsTheWatchAfterTheTransfer) {
    const std::string gate = home_ + "/gate";
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--sms", "SM:+4930111111:Before", "--sms", "ME:+4930222222:Held",
                         "--hold-on", "AT+CPMS=\"ME\"", "--hold-gate", gate});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    const std::string out = home_ + "/watch.out", err = home_ + "/watch.err";
    RunningProcess watch(VELKAN_BIN, {"watch"}, err, out);
    ASSERT_TRUE(WaitForText(gate + ".held", ""));
    ASSERT_TRUE(fs::exists(gate + ".held"));
    watch.Signal(SIGTERM);
    // The watch does not wait for the phone to go on: the cancel ends the transfer, and the
    // watch with it, while the phone still holds its answer; then the phone is let go.
    EXPECT_EQ(watch.Wait(), 0);
    std::ofstream(gate) << "";
    EXPECT_EQ(ReadAll(err), "");  // neither "Cancelling..." nor an error
    const auto printed = Lines(ReadAll(out));
    ASSERT_EQ(printed.size(), 1u);
    EXPECT_TRUE(Contains(printed[0], "\"text\":\"Before\"")) << printed[0];
    EXPECT_EQ(printed, Folder("inbox"));
    const auto log = sim.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), "AT+CMGL=4"), 1);  // one round
}

// A round that finds another transfer running (here a `velkan send-get` held in its listing)
// does not wait for it: it is skipped with one line, and is no failure. The lock file is in the
// runtime folder.
TEST_F(CliWatchTest, ARoundThatFindsAnotherTransferRunningIsSkipped) {
    const std::string gate = home_ + "/gate";
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "SM:+4930111111:Fetched by the other",
                                                "--hold-on", "AT+CMGL", "--hold-gate", gate});
    ASSERT_TRUE(sim.Ok());
    UseTcp(sim);
    RunningProcess other(VELKAN_BIN, {"send-get"}, home_ + "/other.err");
    ASSERT_TRUE(WaitForText(gate + ".held", ""));
    ASSERT_TRUE(fs::exists(gate + ".held"));
    std::vector<std::string> locks;
    for (const auto& entry : fs::directory_iterator(home_ + "/run/velkan-tessiver")) {
        locks.push_back(entry.path().filename().string());
    }
    ASSERT_EQ(locks.size(), 1u);
    EXPECT_EQ(locks[0].rfind("transfer-", 0), 0u) << locks[0];

    const std::size_t commands = sim.Log().size();
    const auto start = std::chrono::steady_clock::now();
    const ProcessResult r = Velkan({"watch", "--once"});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));  // no wait
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.err, std::string(kSkipped) + "\n");
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(sim.Log().size(), commands);  // the phone heard nothing of it

    std::ofstream(gate) << "";
    EXPECT_EQ(other.Wait(), 0) << other.Err();
    EXPECT_EQ(Folder("inbox").size(), 1u);
}

// The systemd user unit runs `velkan watch`, is wanted by the user's session once enabled, and
// passes systemd's own check (where systemd-analyze is installed), pointed at the built command.
TEST(VelkanWatchUnit, TheUserUnitRunsTheWatchAndPassesSystemdsCheck) {
    const std::string unit =
        ReadAll(std::string(VELKAN_SOURCE_DIR) + "/packaging/systemd/velkan-watch.service");
    ASSERT_FALSE(unit.empty());
    EXPECT_TRUE(Contains(unit, "\nExecStart=/usr/bin/velkan watch\n")) << unit;
    EXPECT_TRUE(Contains(unit, "\n[Install]\nWantedBy=default.target\n")) << unit;

    std::string analyze;
    for (const char* dir : {"/usr/bin", "/bin", "/usr/local/bin"}) {
        const std::string candidate = std::string(dir) + "/systemd-analyze";
        if (access(candidate.c_str(), X_OK) == 0) {
            analyze = candidate;
            break;
        }
    }
    if (analyze.empty()) GTEST_SKIP() << "systemd-analyze is not installed";

    std::string pattern = (fs::temp_directory_path() / "velkan-unit-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    const std::string dir = pattern;
    std::string copy = unit;
    const std::string exec = "\nExecStart=/usr/bin/velkan ";
    copy.replace(copy.find(exec), exec.size(), "\nExecStart=" + std::string(VELKAN_BIN) + " ");
    std::ofstream(dir + "/velkan-watch.service") << copy;
    // The user manager's check wants a runtime folder of its own.
    const char* previous = std::getenv("XDG_RUNTIME_DIR");
    const std::string saved = previous != nullptr ? previous : "";
    setenv("XDG_RUNTIME_DIR", dir.c_str(), 1);
    const ProcessResult r =
        RunProcess(analyze, {"--user", "--man=no", "verify", dir + "/velkan-watch.service"});
    if (previous != nullptr) {
        setenv("XDG_RUNTIME_DIR", saved.c_str(), 1);
    } else {
        unsetenv("XDG_RUNTIME_DIR");
    }
    std::error_code ec;
    fs::remove_all(dir, ec);
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.err, "");
}
