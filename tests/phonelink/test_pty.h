// SPDX-License-Identifier: GPL-3.0-or-later
// A pseudo-terminal for the serial transport's tests.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

// A pseudo-terminal: the transport opens the slave side, the test plays the phone on the master.
class Pty {
  public:
    Pty() {
        master_ = ::posix_openpt(O_RDWR | O_NOCTTY);
        if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0) return;
        char name[128];
        if (::ptsname_r(master_, name, sizeof name) == 0) slave_ = name;
    }
    ~Pty() {
        if (master_ >= 0) ::close(master_);
    }
    bool Ok() const { return master_ >= 0 && !slave_.empty(); }
    int Master() const { return master_; }
    const std::string& SlavePath() const { return slave_; }

    // Reads from the master until `count` bytes have come, waiting up to 5 s for each piece.
    std::string ReadExactly(std::size_t count) {
        std::string got;
        while (got.size() < count) {
            pollfd ready{master_, POLLIN, 0};
            if (::poll(&ready, 1, 5000) <= 0) break;
            char buffer[4096];
            ssize_t n = ::read(master_, buffer, std::min(sizeof buffer, count - got.size()));
            if (n <= 0) break;
            got.append(buffer, static_cast<std::size_t>(n));
        }
        return got;
    }
    void Write(const std::string& bytes) {
        ASSERT_EQ(::write(master_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

  private:
    int master_ = -1;
    std::string slave_;
};
