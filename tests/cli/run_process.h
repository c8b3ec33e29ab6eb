// SPDX-License-Identifier: GPL-3.0-or-later
// Runs a program to completion and captures what it wrote, for tests of the `velkan` command
// and other executables.
//
//   ProcessResult r = RunProcess(VELKAN_BIN, {"pdu", "decode", "00"});
//   EXPECT_EQ(r.exitStatus, 4);
//
// The program gets `input` on its stdin (then end of file); stdout and stderr are read
// concurrently, so neither pipe can fill up and stall it. exitStatus is the status passed to
// exit(), or 128 + the signal number if it was killed, or -1 if it could not be started.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

struct ProcessResult {
    int exitStatus = -1;
    std::string out;  // stdout
    std::string err;  // stderr
};

inline ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& args,
                                const std::string& input = std::string()) {
    ProcessResult result;
    int inPipe[2], outPipe[2], errPipe[2];
    if (pipe(inPipe) != 0) return result;
    if (pipe(outPipe) != 0) {
        close(inPipe[0]);
        close(inPipe[1]);
        return result;
    }
    if (pipe(errPipe) != 0) {
        for (int fd : {inPipe[0], inPipe[1], outPipe[0], outPipe[1]}) close(fd);
        return result;
    }

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inPipe[0], 0);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], 1);
    posix_spawn_file_actions_adddup2(&actions, errPipe[1], 2);
    for (int fd : {inPipe[0], inPipe[1], outPipe[0], outPipe[1], errPipe[0], errPipe[1]}) {
        posix_spawn_file_actions_addclose(&actions, fd);
    }

    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);

    pid_t pid = -1;
    const int spawned = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(inPipe[0]);
    close(outPipe[1]);
    close(errPipe[1]);
    if (spawned != 0) {
        close(inPipe[1]);
        close(outPipe[0]);
        close(errPipe[0]);
        return result;
    }

    // Feed stdin and drain stdout and stderr together until both are closed.
    // A child that exits without reading its input must not kill the test with SIGPIPE.
    struct sigaction ignore = {}, previous = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &previous);
    std::size_t written = 0;
    int inFd = inPipe[1];
    if (input.empty()) {
        close(inFd);
        inFd = -1;
    }
    int outFd = outPipe[0];
    int errFd = errPipe[0];
    while (outFd >= 0 || errFd >= 0) {
        pollfd fds[3];
        int n = 0;
        if (outFd >= 0) fds[n++] = {outFd, POLLIN, 0};
        if (errFd >= 0) fds[n++] = {errFd, POLLIN, 0};
        if (inFd >= 0) fds[n++] = {inFd, POLLOUT, 0};
        if (poll(fds, static_cast<nfds_t>(n), -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        for (int k = 0; k < n; ++k) {
            if (fds[k].revents == 0) continue;
            if (fds[k].fd == inFd) {
                const ssize_t w = write(inFd, input.data() + written, input.size() - written);
                if (w > 0) written += static_cast<std::size_t>(w);
                if (w < 0 || written == input.size()) {
                    close(inFd);
                    inFd = -1;
                }
                continue;
            }
            char buffer[4096];
            const ssize_t r = read(fds[k].fd, buffer, sizeof buffer);
            if (r > 0) {
                (fds[k].fd == outFd ? result.out : result.err)
                    .append(buffer, static_cast<std::size_t>(r));
            } else if (r == 0 || errno != EINTR) {
                close(fds[k].fd);
                if (fds[k].fd == outFd) {
                    outFd = -1;
                } else {
                    errFd = -1;
                }
            }
        }
    }
    if (inFd >= 0) close(inFd);
    sigaction(SIGPIPE, &previous, nullptr);

    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) return result;
    }
    if (WIFEXITED(status)) {
        result.exitStatus = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        result.exitStatus = 128 + WTERMSIG(status);
    }
    return result;
}

// The lines of a program's output, without their line ends.
inline std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> out;
    std::stringstream s(text);
    std::string line;
    while (std::getline(s, line)) out.push_back(line);
    return out;
}

// A whole file as it is on disk; empty when it cannot be read.
inline std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

// A program left running, for Ctrl-C and kill -9: stdin and stdout on /dev/null, stderr to
// `errFile` (and stdout to `outFile` when one is given). It dies with the test, and is killed
// when the object goes.
class RunningProcess {
  public:
    RunningProcess(const std::string& program, const std::vector<std::string>& args,
                   const std::string& errFile, const std::string& outFile = std::string())
        : errFile_(errFile) {
        pid_ = fork();
        if (pid_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int fd = open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            if (fd >= 0) dup2(fd, STDERR_FILENO);
            const int null = open("/dev/null", O_RDWR);
            if (null >= 0) {
                dup2(null, STDIN_FILENO);
                dup2(null, STDOUT_FILENO);
            }
            if (!outFile.empty()) {
                const int out = open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
                if (out >= 0) dup2(out, STDOUT_FILENO);
            }
            std::vector<char*> argv{const_cast<char*>(program.c_str())};
            for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
            argv.push_back(nullptr);
            execv(program.c_str(), argv.data());
            _exit(127);
        }
    }
    ~RunningProcess() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
    }
    bool Started() const { return pid_ > 0; }
    void Signal(int signal) const { kill(pid_, signal); }
    // Waits for the end (a guard of `limit` against a hang); the exit status, 128 + signal
    // when killed, -1 when it did not end in time.
    int Wait(std::chrono::seconds limit = std::chrono::seconds(30)) {
        // A pidfd becomes readable when the child ends.
        const int fd = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
        if (fd >= 0) {
            pollfd p{fd, POLLIN, 0};
            const int ready = poll(&p, 1, static_cast<int>(limit.count() * 1000));
            close(fd);
            if (ready != 1) return -1;
        }
        int status = 0;
        if (waitpid(pid_, &status, 0) != pid_) return -1;
        pid_ = -1;
        if (WIFEXITED(status)) return WEXITSTATUS(status);
        return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : -1;
    }
    std::string Err() const { return ReadAll(errFile_); }

  private:
    pid_t pid_ = -1;
    std::string errFile_;
};
