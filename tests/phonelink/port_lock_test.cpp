// SPDX-License-Identifier: GPL-3.0-or-later
// A serial port that another program holds is not shared: opening it fails at once with 12,
// and the transport says who has it when that can be seen.
#include "phonelink/port_lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "phonelink/serial_transport.h"
#include "test_pty.h"

namespace {

// Another process that opens the port and takes its flock, as a terminal program does; it
// holds it until it is destroyed.
class Holder {
  public:
    explicit Holder(const std::string& path) {
        int ready[2];
        if (::pipe(ready) != 0) return;
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(ready[0]);
            const int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
            const char ok = fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) == 0 ? '1' : '0';
            (void)!::write(ready[1], &ok, 1);
            ::pause();
            ::_exit(0);
        }
        ::close(ready[1]);
        char ok = '0';
        held_ = pid_ > 0 && ::read(ready[0], &ok, 1) == 1 && ok == '1';
        ::close(ready[0]);
    }
    ~Holder() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
    }
    bool Held() const { return held_; }
    pid_t Pid() const { return pid_; }

  private:
    pid_t pid_ = -1;
    bool held_ = false;
};

std::string LockFilePath(const std::string& device) {
    std::string name = device.substr(5);  // after "/dev/"
    for (char& c : name) {
        if (c == '/') c = '_';
    }
    return "/run/lock/LCK.." + name;
}

TEST(PortLock, APortHeldByAnotherProgramFailsAtOnceAndNamesIt) {
    Pty pty;
    ASSERT_TRUE(pty.Ok());
    Holder holder(pty.SlavePath());
    ASSERT_TRUE(holder.Held());
    PhoneChannel* channel = nullptr;
    ASSERT_EQ(CreateSerialTransport(&channel), 0u);
    EXPECT_EQ(ChannelOpen(channel, kOpenModeConnect, pty.SlavePath().c_str()), kErrConnection);
    const std::string problem = ChannelProblem(channel);
    EXPECT_EQ(problem.rfind(pty.SlavePath() + " is in use by ", 0), 0u) << problem;
    EXPECT_NE(problem.find("(pid " + std::to_string(holder.Pid()) + ")"), std::string::npos)
        << problem;
    EXPECT_EQ(ChannelClose(channel), 0u);
}

TEST(PortLock, OurOwnHoldKeepsASecondOpenOut) {
    Pty pty;
    ASSERT_TRUE(pty.Ok());
    PhoneChannel* first = nullptr;
    PhoneChannel* second = nullptr;
    ASSERT_EQ(CreateSerialTransport(&first), 0u);
    ASSERT_EQ(CreateSerialTransport(&second), 0u);
    ASSERT_EQ(ChannelOpen(first, kOpenModeConnect, pty.SlavePath().c_str()), 0u);
    EXPECT_EQ(ChannelOpen(second, kOpenModeConnect, pty.SlavePath().c_str()), kErrConnection);
    EXPECT_NE(std::string(ChannelProblem(second)).find("is in use by"), std::string::npos);
    // Closed, the port is free again.
    EXPECT_EQ(ChannelClose(first), 0u);
    PhoneChannel* third = nullptr;
    ASSERT_EQ(CreateSerialTransport(&third), 0u);
    EXPECT_EQ(ChannelOpen(third, kOpenModeConnect, pty.SlavePath().c_str()), 0u);
    EXPECT_STREQ(ChannelProblem(third), "");
    EXPECT_EQ(ChannelClose(third), 0u);
    EXPECT_EQ(ChannelClose(second), 0u);
}

TEST(PortLock, ALockFileOfALiveProgramIsHonouredAndAStaleOneIsNot) {
    Pty pty;
    ASSERT_TRUE(pty.Ok());
    const std::string lock = LockFilePath(pty.SlavePath());
    std::FILE* f = std::fopen(lock.c_str(), "w");
    if (f == nullptr) GTEST_SKIP() << "/run/lock is not writable here";
    // A live process that is not this one: a child that waits.
    const pid_t child = ::fork();
    if (child == 0) {
        ::pause();
        ::_exit(0);
    }
    std::fprintf(f, "%10d\n", static_cast<int>(child));
    std::fclose(f);
    PhoneChannel* channel = nullptr;
    ASSERT_EQ(CreateSerialTransport(&channel), 0u);
    EXPECT_EQ(ChannelOpen(channel, kOpenModeConnect, pty.SlavePath().c_str()), kErrConnection);
    EXPECT_NE(std::string(ChannelProblem(channel)).find("(pid " + std::to_string(child) + ")"),
              std::string::npos)
        << ChannelProblem(channel);
    EXPECT_EQ(ChannelClose(channel), 0u);

    // Once its program has gone, the lock is stale and holds nothing.
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ASSERT_EQ(CreateSerialTransport(&channel), 0u);
    EXPECT_EQ(ChannelOpen(channel, kOpenModeConnect, pty.SlavePath().c_str()), 0u);
    EXPECT_EQ(ChannelClose(channel), 0u);
    std::remove(lock.c_str());
}

}  // namespace
