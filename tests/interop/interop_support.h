// SPDX-License-Identifier: GPL-3.0-or-later
// Running independent GSM 07.07/07.05 clients (gammu, smstools' smsd) against the simulated
// phone: finding the tools, running one to its end within a time limit, keeping a daemon in the
// foreground for as long as a test needs it, and waiting for the files it writes.
#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include "run_process.h"

// A tool's path from PATH, /usr/sbin and /sbin included (smsd lives there, and a non-root PATH
// often leaves them out); empty when it is not installed.
inline std::string FindTool(const std::string& name) {
    std::string path = std::getenv("PATH") != nullptr ? std::getenv("PATH") : "";
    path += ":/usr/bin:/bin:/usr/sbin:/sbin";
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find(':', start);
        if (end == std::string::npos) end = path.size();
        const std::string dir = path.substr(start, end - start);
        if (!dir.empty()) {
            const std::string candidate = dir + "/" + name;
            if (access(candidate.c_str(), X_OK) == 0) return candidate;
        }
        start = end + 1;
    }
    return {};
}

// Runs a tool to its end, killed after `seconds` (coreutils' timeout: status 124 then).
inline ProcessResult RunTool(const std::string& tool, const std::vector<std::string>& args,
                             int seconds = 60) {
    std::vector<std::string> full = {"--kill-after=5", std::to_string(seconds), tool};
    full.insert(full.end(), args.begin(), args.end());
    return RunProcess(FindTool("timeout"), full);
}

// A daemon run in the foreground in a process group of its own, so that it and every process
// it starts are stopped together. stdin and stdout on /dev/null, stderr to `errFile`.
class DaemonGroup {
  public:
    DaemonGroup(const std::string& program, const std::vector<std::string>& args,
                const std::string& errFile) {
        pid_ = fork();
        if (pid_ == 0) {
            setpgid(0, 0);
            prctl(PR_SET_PDEATHSIG, SIGTERM);  // a test that dies takes the daemon with it
            const int err = open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            if (err >= 0) dup2(err, STDERR_FILENO);
            const int null = open("/dev/null", O_RDWR);
            if (null >= 0) {
                dup2(null, STDIN_FILENO);
                dup2(null, STDOUT_FILENO);
            }
            std::vector<char*> argv{const_cast<char*>(program.c_str())};
            for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
            argv.push_back(nullptr);
            execv(program.c_str(), argv.data());
            _exit(127);
        }
        if (pid_ > 0) setpgid(pid_, pid_);  // also here: no race with the child's own call
    }
    ~DaemonGroup() { Stop(); }
    DaemonGroup(const DaemonGroup&) = delete;
    DaemonGroup& operator=(const DaemonGroup&) = delete;

    bool Started() const { return pid_ > 0; }

    // SIGTERM to the group, at most `limit` for the leader to end, then SIGKILL to whatever of
    // the group is left. The leader's exit status, 128 + signal, or -1.
    int Stop(std::chrono::seconds limit = std::chrono::seconds(15)) {
        if (pid_ <= 0) return -1;
        kill(-pid_, SIGTERM);
        const int fd = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
        if (fd >= 0) {
            pollfd p{fd, POLLIN, 0};
            poll(&p, 1, static_cast<int>(limit.count() * 1000));
            close(fd);
        }
        kill(-pid_, SIGKILL);
        int status = 0;
        const pid_t done = waitpid(pid_, &status, 0);
        pid_ = -1;
        if (done <= 0) return -1;
        if (WIFEXITED(status)) return WEXITSTATUS(status);
        return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : -1;
    }

  private:
    pid_t pid_ = -1;
};

// The names in `dir` that start with `prefix`.
inline std::vector<std::string> FilesIn(const std::string& dir, const std::string& prefix) {
    std::vector<std::string> names;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d)) {
            const std::string name = e->d_name;
            if (name.rfind(prefix, 0) == 0 && name != "." && name != "..") names.push_back(name);
        }
        closedir(d);
    }
    return names;
}

// Waits (until `end` at most) until `dir` holds `count` files whose names start with `prefix`,
// woken by every file written or moved there. True when they are there.
inline bool WaitForFiles(const std::string& dir, const std::string& prefix, std::size_t count,
                         std::chrono::steady_clock::time_point end) {
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (watch >= 0) inotify_add_watch(watch, dir.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO);
    bool found = false;
    for (;;) {
        if (FilesIn(dir, prefix).size() >= count) {
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
