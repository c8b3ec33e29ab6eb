// SPDX-License-Identifier: GPL-3.0-or-later
// velkan watch [--interval SECONDS] [--exec COMMAND] [--once]
//
// A Get every SECONDS seconds (default 60) for scripts and servers: the same transfer as
// `velkan send-get`, with the settings read as each round starts. Every message a round stored
// in the Inbox goes to stdout as one line of JSON, with the keys of `velkan list --json`, and
// COMMAND runs once for it.
//
// COMMAND runs without a shell. It is split into words at blanks; single quotes keep what they
// enclose as it is, double quotes too except that a backslash in them escapes '"' and '\', and
// a backslash outside quotes escapes the next character. The first word is the program (looked
// up in PATH unless it contains a '/'), the others its arguments. It gets the message's JSON
// line on stdin and VELKAN_ID, VELKAN_NUMBER, VELKAN_NAME, VELKAN_TEXT and VELKAN_TIME
// ("YYYY-MM-DD HH:MM:SS", as in the JSON) in its environment; its stdout goes to stderr, so
// that stdout carries nothing but the JSON lines. The messages of a round are handed over one
// after the other, each COMMAND waited for. A COMMAND that cannot be started, fails or is
// killed is reported on stderr; the watch goes on.
//
// A round runs quietly: stderr gets a failure (in the words of `velkan send-get`) and the
// warnings of the run, nothing when all is well. A failed round is tried again at the next
// interval. A round that finds another transfer (the desktop program's) running does not wait
// for it: it is skipped with one line on stderr, and the next round tries again.
//
// SIGINT and SIGTERM cancel the running transfer and end the watch; the messages that the
// transfer stored before are still handed out. The exit status is that of the last round that
// ran to its end (0 when none did, or with a cancelled or skipped round last): 0 for success,
// else the transfer's result code as with `velkan send-get`.
//
// The wait between rounds reads the tick clock, so VELKAN_CLOCK_STEP_MS (transfer_verbs.cpp)
// shortens it as it shortens the time-outs of the phone side.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "cli/message_output.h"
#include "cli/store_access.h"
#include "cli/transfer_follow.h"
#include "cli/verbs.h"
#include "common/text_convert.h"
#include "common/tick_clock.h"
#include "resources/translations.h"
#include "session/transfer_session.h"
#include "store/message_store.h"

extern char** environ;

namespace {

constexpr unsigned long kDefaultIntervalS = 60;
constexpr unsigned long kMaxIntervalS = 86400;  // a day; the tick clock's wait allows 24 days

volatile std::sig_atomic_t g_stop = 0;
int g_wakeWrite = -1;  // the self-pipe that ends the wait between rounds

void OnStop(int) {
    g_stop = 1;
    if (g_wakeWrite >= 0) {
        const char byte = 1;
        (void)!write(g_wakeWrite, &byte, 1);
    }
}

// COMMAND as words (the rules at the top of this file); false with *error when a quote is left
// open or a backslash ends it.
bool SplitCommand(const std::string& text, std::vector<std::string>* words, QString* error) {
    words->clear();
    std::string word;
    bool inWord = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == ' ' || c == '\t' || c == '\n') {
            if (inWord) words->push_back(word);
            word.clear();
            inWord = false;
            continue;
        }
        inWord = true;
        if (c == '\\') {
            if (++i == text.size()) {
                *error = Translate("velkan", "--exec: COMMAND ends with a backslash");
                return false;
            }
            word += text[i];
        } else if (c == '\'') {
            const std::size_t close = text.find('\'', i + 1);
            if (close == std::string::npos) {
                *error = Translate("velkan", "--exec: a single quote in COMMAND is not closed");
                return false;
            }
            word += text.substr(i + 1, close - i - 1);
            i = close;
        } else if (c == '"') {
            for (++i;; ++i) {
                if (i == text.size()) {
                    *error = Translate("velkan", "--exec: a double quote in COMMAND is not closed");
                    return false;
                }
                if (text[i] == '"') break;
                if (text[i] == '\\' && i + 1 < text.size() &&
                    (text[i + 1] == '"' || text[i + 1] == '\\')) {
                    ++i;
                }
                word += text[i];
            }
        } else {
            word += c;
        }
    }
    if (inWord) words->push_back(word);
    if (words->empty()) {
        *error = Translate("velkan", "--exec: COMMAND is empty");
        return false;
    }
    return true;
}

// This process's environment with the message's variables in place of any it had.
std::vector<std::string> CommandEnvironment(const SmsMessage& m) {
    const std::pair<const char*, std::string> own[] = {
        {"VELKAN_ID", std::to_string(m.oid)}, {"VELKAN_NUMBER", Utf16ToUtf8(m.number)},
        {"VELKAN_NAME", Utf16ToUtf8(m.name)}, {"VELKAN_TEXT", Utf16ToUtf8(m.text)},
        {"VELKAN_TIME", TimeText(m.time)},
    };
    std::vector<std::string> env;
    for (char** e = environ; *e != nullptr; ++e) {
        bool replaced = false;
        for (const auto& [name, value] : own) {
            const std::size_t length = std::strlen(name);
            replaced = replaced || (std::strncmp(*e, name, length) == 0 && (*e)[length] == '=');
        }
        if (!replaced) env.emplace_back(*e);
    }
    for (const auto& [name, value] : own) env.push_back(std::string(name) + "=" + value);
    return env;
}

// Runs COMMAND for one message and waits for it; what went wrong goes to stderr.
void RunCommand(const std::vector<std::string>& words, const SmsMessage& m,
                const std::string& json) {
    int input[2];
    if (pipe2(input, O_CLOEXEC) != 0) {
        Say(Translate("velkan", "--exec for message %1: %2")
                .arg(m.oid)
                .arg(QString::fromLocal8Bit(std::strerror(errno))));
        return;
    }
    std::vector<std::string> env = CommandEnvironment(m);
    std::vector<char*> argv, envp;
    for (const std::string& w : words) argv.push_back(const_cast<char*>(w.c_str()));
    argv.push_back(nullptr);
    for (std::string& e : env) envp.push_back(e.data());
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
    // The program starts with the signals as a program expects them, not as the watch set them.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults, none;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGTERM);
    sigemptyset(&none);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    pid_t pid = -1;
    const int spawned =
        posix_spawnp(&pid, argv[0], &actions, &attributes, argv.data(), envp.data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    close(input[0]);
    if (spawned != 0) {
        close(input[1]);
        Say(Translate("velkan", "--exec for message %1: %2 cannot be started: %3")
                .arg(m.oid)
                .arg(QString::fromLocal8Bit(words[0].c_str()))
                .arg(QString::fromLocal8Bit(std::strerror(spawned))));
        return;
    }
    // A program that does not read its input ends the write (EPIPE, SIGPIPE being ignored).
    const std::string line = json + "\n";
    for (std::size_t done = 0; done < line.size();) {
        const ssize_t w = write(input[1], line.data() + done, line.size() - done);
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) break;
        done += static_cast<std::size_t>(w);
    }
    close(input[1]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) return;
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0) {
        Say(Translate("velkan", "--exec for message %1: %2 exited with status %3")
                .arg(m.oid)
                .arg(QString::fromLocal8Bit(words[0].c_str()))
                .arg(WEXITSTATUS(status)));
    } else if (WIFSIGNALED(status)) {
        Say(Translate("velkan", "--exec for message %1: %2 was killed by signal %3")
                .arg(m.oid)
                .arg(QString::fromLocal8Bit(words[0].c_str()))
                .arg(WTERMSIG(status)));
    }
}

// Hands out the messages a round stored: a JSON line each, and COMMAND when there is one.
void HandOut(const std::vector<Oid>& ids, const std::vector<std::string>& command) {
    if (ids.empty()) return;
    MessageDatabase store;
    if (!OpenStore(store)) return;
    for (Oid id : ids) {
        SmsMessage m;
        m.oid = id;
        if (!ReadById(store, m)) {
            ReportNotices();
            Say(Translate("velkan", "new message %1 could not be read: %2")
                    .arg(id)
                    .arg(QString::fromStdString(store.LastErrorText())));
            continue;
        }
        const std::string json = MessageJson(m);
        std::printf("%s\n", json.c_str());
        std::fflush(stdout);
        if (!command.empty()) RunCommand(command, m, json);
    }
}

// Waits `seconds` on the tick clock; false when a signal ended the wait. A clock that moves at
// every reading (VELKAN_CLOCK_STEP_MS) stands for time by its readings: it is read every
// millisecond instead of slept on.
bool WaitForNextRound(int wake, unsigned long seconds, bool steppingClock) {
    const std::uint32_t deadline = GetTickCount() + static_cast<std::uint32_t>(seconds * 1000);
    while (!g_stop) {
        const std::uint32_t now = GetTickCount();
        if (!TickPassed(deadline, now)) return true;  // deadline reached
        const std::uint32_t remaining = deadline - now;
        pollfd p{wake, POLLIN, 0};
        if (poll(&p, 1, steppingClock ? 1 : static_cast<int>(remaining)) > 0) {
            char drained[16];
            while (read(wake, drained, sizeof drained) > 0) {
            }
        }
    }
    return false;
}

}  // namespace

int RunWatchVerb(int argc, char** argv) {
    unsigned long interval = kDefaultIntervalS;
    std::vector<std::string> command;
    bool once = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--once") {
            once = true;
        } else if (arg == "--interval" || arg == "--exec") {
            if (i + 1 >= argc) {
                return UsageError(
                    "watch",
                    Translate("velkan", "%1 needs a value").arg(QString::fromStdString(arg)));
            }
            const char* value = argv[++i];
            if (arg == "--interval") {
                char* end = nullptr;
                errno = 0;
                interval = std::strtoul(value, &end, 10);
                if (*value < '0' || *value > '9' || *end != 0 || errno != 0 || interval == 0 ||
                    interval > kMaxIntervalS) {
                    return UsageError(
                        "watch",
                        Translate("velkan",
                                  "--interval: '%1' is not a number of seconds from 1 to 86400")
                            .arg(QString::fromLocal8Bit(value)));
                }
            } else {
                QString error;
                if (!SplitCommand(value, &command, &error)) return UsageError("watch", error);
            }
        } else {
            return UsageError("watch", Translate("velkan", "unexpected argument '%1'")
                                           .arg(QString::fromLocal8Bit(arg.c_str())));
        }
    }

    int wake[2];
    if (pipe2(wake, O_CLOEXEC | O_NONBLOCK) != 0) {
        Say(QString::fromLocal8Bit(std::strerror(errno)));
        return 1;
    }
    g_wakeWrite = wake[1];
    g_stop = 0;
    struct sigaction sa {};
    sa.sa_handler = &OnStop;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
    // A COMMAND that ends without reading its input must not end the watch.
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigemptyset(&ignore.sa_mask);
    sigaction(SIGPIPE, &ignore, nullptr);
    const bool steppingClock = UseClockFromEnvironment();

    FollowOptions options;
    options.quiet = true;
    options.skipIfBusy = true;
    options.stop = &g_stop;
    int status = 0;
    while (!g_stop) {
        TransferSession session;
        const int round = FollowTransfer(session, options);
        HandOut(session.StoredIds(), command);
        if (round == static_cast<int>(kErrBusy)) {
            Say(Translate("velkan", "another transfer is running; this check is skipped"));
        } else if (!(round == static_cast<int>(kErrCancelled) && g_stop)) {
            status = round;
        }
        std::fflush(stderr);
        if (once || !WaitForNextRound(wake[0], interval, steppingClock)) break;
    }
    g_wakeWrite = -1;
    close(wake[0]);
    close(wake[1]);
    return status;
}
