// SPDX-License-Identifier: GPL-3.0-or-later
// Two real starts of the program: the first becomes the running instance, the second hands its
// command line over and ends. The first is instance_probe (Application::Run with a message list
// that reports what it receives); the second is the probe again or the program itself.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "shell/hand_over.h"
#include "shell/instance_key.h"
#include "temp_dir.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPatience = std::chrono::seconds(20);

// A started program with its standard input and output connected to the test.
class Child {
  public:
    Child(const std::string& program, const std::vector<std::string>& args,
          const std::vector<std::string>& env) {
        int in[2], out[2];
        if (pipe(in) != 0) return;
        if (pipe(out) != 0) {
            close(in[0]);
            close(in[1]);
            return;
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in[0], 0);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        for (int fd : {in[0], in[1], out[0], out[1]})
            posix_spawn_file_actions_addclose(&actions, fd);
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        std::vector<char*> envp;
        for (const auto& e : env) envp.push_back(const_cast<char*>(e.c_str()));
        envp.push_back(nullptr);
        if (posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), envp.data()) != 0) {
            pid_ = -1;
        }
        posix_spawn_file_actions_destroy(&actions);
        close(in[0]);
        close(out[1]);
        stdin_ = in[1];
        stdout_ = out[0];
        fcntl(stdout_, F_SETFL, O_NONBLOCK);
    }
    ~Child() {
        CloseInput();
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        if (stdout_ >= 0) close(stdout_);
    }
    bool Started() const { return pid_ > 0; }

    // The next line of output; empty when none comes within the patience (or at the end).
    std::string ReadLine() {
        const auto deadline = Clock::now() + kPatience;
        for (;;) {
            const std::size_t newline = buffer_.find('\n');
            if (newline != std::string::npos) {
                std::string line = buffer_.substr(0, newline);
                buffer_.erase(0, newline + 1);
                return line;
            }
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
            if (left.count() <= 0 || stdout_ < 0) return {};
            pollfd p{stdout_, POLLIN, 0};
            if (poll(&p, 1, static_cast<int>(left.count())) <= 0) continue;
            char chunk[512];
            const ssize_t n = read(stdout_, chunk, sizeof chunk);
            if (n > 0) {
                buffer_.append(chunk, static_cast<std::size_t>(n));
            } else if (n == 0) {
                close(stdout_);
                stdout_ = -1;
            }
        }
    }
    // Reads lines until `expected` comes; the lines before it go to `skipped`.
    bool WaitFor(const std::string& expected, std::vector<std::string>* skipped = nullptr) {
        for (;;) {
            const std::string line = ReadLine();
            if (line == expected) return true;
            if (line.empty() && stdout_ < 0) return false;
            if (line.empty()) return false;
            if (skipped != nullptr) skipped->push_back(line);
        }
    }
    void CloseInput() {
        if (stdin_ >= 0) close(stdin_);
        stdin_ = -1;
    }
    // The exit status, waiting up to the patience; -1 when it does not end.
    int Wait() {
        const auto deadline = Clock::now() + kPatience;
        int status = 0;
        while (Clock::now() < deadline) {
            const pid_t r = waitpid(pid_, &status, WNOHANG);
            if (r == pid_) {
                pid_ = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
            // Drain what it writes so that it never blocks on a full pipe.
            if (stdout_ >= 0) {
                pollfd p{stdout_, POLLIN, 0};
                if (poll(&p, 1, 20) > 0) {
                    char chunk[512];
                    const ssize_t n = read(stdout_, chunk, sizeof chunk);
                    if (n > 0) buffer_.append(chunk, static_cast<std::size_t>(n));
                    if (n == 0) {
                        close(stdout_);
                        stdout_ = -1;
                    }
                }
            } else {
                poll(nullptr, 0, 20);
            }
        }
        return -1;
    }
    // Everything still unread.
    std::string Rest() {
        while (stdout_ >= 0) {
            char chunk[512];
            const ssize_t n = read(stdout_, chunk, sizeof chunk);
            if (n <= 0) break;
            buffer_.append(chunk, static_cast<std::size_t>(n));
        }
        return buffer_;
    }

  private:
    pid_t pid_ = -1;
    int stdin_ = -1;
    int stdout_ = -1;
    std::string buffer_;
};

class TwoStarts : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(root.Path().empty());
        ASSERT_EQ(chmod(root.Path().c_str(), 0700), 0);
        runtime = root / "runtime";
        ASSERT_EQ(mkdir(runtime.c_str(), 0700), 0);
        for (char** e = environ; *e != nullptr; ++e) {
            const std::string entry = *e;
            if (entry.rfind("XDG_", 0) == 0 || entry.rfind("QT_QPA_PLATFORM=", 0) == 0) continue;
            env.push_back(entry);
        }
        env.push_back("XDG_RUNTIME_DIR=" + runtime);
        env.push_back("XDG_CONFIG_HOME=" + (root / "config"));
        env.push_back("XDG_DATA_HOME=" + (root / "data"));
        env.push_back("QT_QPA_PLATFORM=offscreen");
        socketPath = SingleInstanceSocketPath(runtime, getuid());
    }
    // The first start, running its message list.
    std::unique_ptr<Child> StartFirst(const std::vector<std::string>& args = {}) {
        auto child = std::make_unique<Child>(VELKAN_PROBE, args, env);
        EXPECT_TRUE(child->Started());
        EXPECT_EQ(child->ReadLine(), "about");  // the start-up screen comes first
        EXPECT_TRUE(child->WaitFor("ready"));
        return child;
    }
    // Sends raw requests the way a second start does and returns the answers.
    std::vector<std::uint32_t> SendRaw(const std::vector<std::vector<std::uint8_t>>& requests) {
        std::vector<std::uint32_t> answers;
        const int s = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
        if (s < 0 || connect(s, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            if (s >= 0) close(s);
            return answers;
        }
        for (const auto& request : requests) {
            if (write(s, request.data(), request.size()) != static_cast<ssize_t>(request.size()))
                break;
            std::uint8_t answer[4];
            std::size_t got = 0;
            while (got < 4) {
                const ssize_t n = read(s, answer + got, 4 - got);
                if (n <= 0) break;
                got += static_cast<std::size_t>(n);
            }
            if (got < 4) break;
            answers.push_back(GetU32(answer));
        }
        close(s);
        return answers;
    }
    void EndFirst(Child& first) {
        first.CloseInput();
        EXPECT_TRUE(first.WaitFor("end"));
        EXPECT_EQ(first.Wait(), 0);
    }

    TempDir root;
    std::string runtime;
    std::string socketPath;
    std::vector<std::string> env;
};

TEST_F(TwoStarts, SecondStartHandsItsCommandLineToTheFirstAndEnds) {
    auto first = StartFirst();
    EXPECT_TRUE(first->WaitFor("registered"));
    Child second(VELKAN_PROBE, {"/smsto:0123?Anna"}, env);
    ASSERT_TRUE(second.Started());
    EXPECT_EQ(second.Wait(), 0);
    // The second start made nothing of its own: no About page, no list.
    EXPECT_EQ(second.Rest(), "end\n");
    EXPECT_EQ(first->ReadLine(), "front");
    EXPECT_EQ(first->ReadLine(), "compose 0123 Anna");
    EndFirst(*first);
}

TEST_F(TwoStarts, SecondStartWithoutArgumentsOnlyBringsTheFirstToTheFront) {
    auto first = StartFirst();
    EXPECT_TRUE(first->WaitFor("registered"));
    Child second(VELKAN_PROBE, {}, env);
    EXPECT_EQ(second.Wait(), 0);
    EXPECT_EQ(first->ReadLine(), "front");
    // A later hand-over is the next thing the list hears of: the empty start sent nothing.
    const auto payload = CommandLinePayload(TextBuffer(u"/smsto:5"));
    EXPECT_EQ(SendRaw({EncodeHandOverRequest(kHandOverCopyData, 0, payload.data(),
                                             static_cast<std::uint32_t>(payload.size()))}),
              std::vector<std::uint32_t>{1});
    EXPECT_EQ(first->ReadLine(), "compose 5 ");
    EndFirst(*first);
}

TEST_F(TwoStarts, FewerThanFiveBytesAreAnsweredAndIgnored) {
    auto first = StartFirst();
    EXPECT_TRUE(first->WaitFor("registered"));
    const std::uint8_t four[] = {'7', 0, 0, 0};
    const auto payload = CommandLinePayload(TextBuffer(u"/smsto:42?Bo"));
    const auto answers = SendRaw({
        EncodeHandOverRequest(kHandOverCopyData, 0, four, 4),
        EncodeHandOverRequest(kHandOverCopyData, 0, payload.data(),
                              static_cast<std::uint32_t>(payload.size())),
    });
    EXPECT_EQ(answers, (std::vector<std::uint32_t>{1, 1}));
    // Only the second hand-over reached the list.
    EXPECT_EQ(first->ReadLine(), "compose 42 Bo");
    EndFirst(*first);
}

TEST_F(TwoStarts, ACommandLineWithoutNumberReachesTheListAndIsRejectedThere) {
    auto first = StartFirst();
    EXPECT_TRUE(first->WaitFor("registered"));
    Child second(VELKAN_PROBE, {"/smsto:?Anna"}, env);
    EXPECT_EQ(second.Wait(), 0);
    EXPECT_EQ(first->ReadLine(), "front");
    EXPECT_EQ(first->ReadLine(), "rejected");
    EndFirst(*first);
}

TEST_F(TwoStarts, TheProgramItselfHandsOverALink) {
    auto first = StartFirst();
    EXPECT_TRUE(first->WaitFor("registered"));
    Child second(VELKAN_PROGRAM, {"sms:0123?body=hello"}, env);
    ASSERT_TRUE(second.Started());
    EXPECT_EQ(second.Wait(), 0);
    EXPECT_EQ(first->ReadLine(), "front");
    EXPECT_EQ(first->ReadLine(), "compose 0123 ");
    EndFirst(*first);
}

TEST_F(TwoStarts, StartWithACommandLineShowsAboutThenComposes) {
    Child first(VELKAN_PROBE, {"/smsto:+49 (172) 12-34?Domarfle"}, env);
    std::vector<std::string> lines;
    for (int i = 0; i < 4; ++i) lines.push_back(first.ReadLine());
    // The start-up screen first; the list acts on the command line once it runs.
    EXPECT_EQ(lines[0], "about");
    EXPECT_EQ(lines[1], "ready");
    EXPECT_EQ(lines[2], "registered");
    EXPECT_EQ(lines[3], "compose +491721234 Domarfle");
    EndFirst(first);
}

TEST_F(TwoStarts, EveryStartRecordsTheProgramPath) {
    auto first = StartFirst();
    EXPECT_TRUE(first->WaitFor("registered"));
    EndFirst(*first);
    const std::string ini = ReadTextFile(root / "config/Orvane Systems/Velkan Tessiver.ini");
    EXPECT_NE(ini.find(std::string("Exe=") + VELKAN_PROBE), std::string::npos) << ini;
}

TEST_F(TwoStarts, AfterTheFirstEndsTheNextStartRunsOnItsOwn) {
    auto first = StartFirst();
    EndFirst(*first);
    // The socket is gone with the first instance; a new start becomes the running one.
    auto next = StartFirst();
    EndFirst(*next);
}

TEST_F(TwoStarts, SocketLeftByACrashIsTakenOver) {
    {
        auto first = StartFirst();
        // Killed without a chance to clean up: the socket file stays.
    }
    struct stat st {};
    ASSERT_EQ(stat(socketPath.c_str(), &st), 0);
    auto next = StartFirst();
    // As in the other tests, the hand-over comes after the list's own start-up work: started
    // earlier, its lines could come before "registered" on a loaded machine.
    EXPECT_TRUE(next->WaitFor("registered"));
    Child second(VELKAN_PROBE, {"/smsto:9"}, env);
    EXPECT_EQ(second.Wait(), 0);
    EXPECT_EQ(next->ReadLine(), "front");
    EXPECT_EQ(next->ReadLine(), "compose 9 ");
    EndFirst(*next);
}

}  // namespace
