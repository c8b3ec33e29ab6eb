// SPDX-License-Identifier: GPL-3.0-or-later
// `velkan-phone-sim` as a child process for tests: on an ephemeral TCP port or a pseudo-terminal,
// with its command log and state file in a temporary folder, stopped at the end.
//
//   PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--sms", "SM:+4930111111:Hello"});
//   ASSERT_TRUE(sim.Ok());
//   ... sim.Address() ("127.0.0.1:PORT", or the device path for kPty) ...
//   sim.WaitForLog("AT+CMGL=4");   // blocks until the phone has received that command
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#ifndef PHONE_SIM_PATH
#error "define PHONE_SIM_PATH as the path of velkan-phone-sim"
#endif

class PhoneSimProcess {
  public:
    enum Mode { kTcp, kPty };

    PhoneSimProcess(Mode mode, std::vector<std::string> args, const std::string& folder = "") {
        static int counter = 0;
        const std::string base = (folder.empty() ? TempRoot() : folder) + "/sim" +
                                 std::to_string(getpid()) + "_" + std::to_string(++counter);
        logPath_ = base + ".log";
        statePath_ = base + ".state";
        std::vector<std::string> full = {PHONE_SIM_PATH};
        if (mode == kTcp) {
            full.insert(full.end(), {"--listen", "127.0.0.1:0"});
        } else {
            full.push_back("--pty");
        }
        full.insert(full.end(), {"--log", logPath_, "--state", statePath_});
        full.insert(full.end(), args.begin(), args.end());

        int fds[2];
        if (pipe(fds) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            // A test that crashes or is killed by its time-out takes its phone with it.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(fds[1], STDOUT_FILENO);
            close(fds[0]);
            close(fds[1]);
            std::vector<char*> argv;
            for (std::string& a : full) argv.push_back(a.data());
            argv.push_back(nullptr);
            execv(argv[0], argv.data());
            _exit(127);
        }
        close(fds[1]);
        out_ = fds[0];
        std::string line;
        char c = 0;
        pollfd p{out_, POLLIN, 0};
        while (poll(&p, 1, 10000) == 1 && read(out_, &c, 1) == 1 && c != '\n') line.push_back(c);
        const std::string prefix = "listening ";
        if (mode == kTcp && line.compare(0, prefix.size(), prefix) == 0) {
            address_ = line.substr(prefix.size());
        } else if (mode == kPty && line.rfind("/dev/", 0) == 0) {
            address_ = line;
        }
    }
    ~PhoneSimProcess() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        if (out_ >= 0) close(out_);
        unlink(logPath_.c_str());
        unlink(statePath_.c_str());
    }
    PhoneSimProcess(const PhoneSimProcess&) = delete;
    PhoneSimProcess& operator=(const PhoneSimProcess&) = delete;

    bool Ok() const { return !address_.empty(); }
    const std::string& Address() const { return address_; }
    const std::string& LogPath() const { return logPath_; }
    const std::string& StatePath() const { return statePath_; }

    // Every command the phone received so far, one per line, without the CR.
    std::vector<std::string> Log() const { return Lines(logPath_); }
    std::vector<std::string> State() const { return Lines(statePath_); }

    // Waits (at most `limit`) until the log holds `count` lines equal to `command`.
    bool WaitForLog(const std::string& command, int count = 1,
                    std::chrono::milliseconds limit = std::chrono::seconds(20)) const {
        // The log is written by another process: wake up whenever a file of its folder changes.
        const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        const std::string dir = logPath_.substr(0, logPath_.rfind('/'));
        if (watch >= 0) inotify_add_watch(watch, dir.c_str(), IN_MODIFY | IN_CREATE);
        const auto end = std::chrono::steady_clock::now() + limit;
        bool found = false;
        for (;;) {
            int seen = 0;
            for (const auto& l : Log()) seen += l == command;
            if (seen >= count) {
                found = true;
                break;
            }
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                end - std::chrono::steady_clock::now());
            if (left.count() <= 0 || watch < 0) break;
            pollfd p{watch, POLLIN, 0};
            if (poll(&p, 1, static_cast<int>(left.count())) == 1) {
                char events[4096];
                while (read(watch, events, sizeof events) > 0) {
                }
            }
        }
        if (watch >= 0) close(watch);
        return found;
    }

    // Stored messages per memory, counted from the state file ("SM@3|...").
    int StoredIn(const std::string& memory) const {
        int n = 0;
        for (const auto& l : State()) n += l.rfind(memory + "@", 0) == 0;
        return n;
    }

    int Stop() {
        if (pid_ <= 0) return -1;
        kill(pid_, SIGTERM);
        int status = 0;
        const pid_t done = waitpid(pid_, &status, 0);
        pid_ = -1;
        return done > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    static std::string TempRoot() {
        const char* t = std::getenv("TMPDIR");
        return t != nullptr && *t != 0 ? t : "/tmp";
    }

  private:
    static std::vector<std::string> Lines(const std::string& path) {
        std::ifstream in(path);
        std::vector<std::string> lines;
        std::string line;
        while (std::getline(in, line)) lines.push_back(line);
        return lines;
    }

    pid_t pid_ = -1;
    int out_ = -1;
    std::string address_;
    std::string logPath_;
    std::string statePath_;
};
