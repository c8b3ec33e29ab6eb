// SPDX-License-Identifier: GPL-3.0-or-later
// A loopback TCP listener for transport tests: bound on 127.0.0.1 with a port of the system's
// choice, counting the connections it accepts.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

class TcpTestListener {
  public:
    TcpTestListener() {
        fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (fd_ < 0) return;
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = 0;
        socklen_t size = sizeof address;
        if (::bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(fd_, 8) != 0 ||
            ::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
            Stop();
            return;
        }
        port_ = ntohs(address.sin_port);
    }
    ~TcpTestListener() { Stop(); }
    TcpTestListener(const TcpTestListener&) = delete;
    TcpTestListener& operator=(const TcpTestListener&) = delete;

    bool Ok() const { return fd_ >= 0 && port_ != 0; }
    unsigned Port() const { return port_; }
    int Accepted() const { return accepted_; }

    // The next connection (a blocking socket owned by the caller), waiting up to `waitMs` for it;
    // -1 when none came.
    int Accept(int waitMs = 5000) {
        if (fd_ < 0) return -1;
        pollfd ready{fd_, POLLIN, 0};
        if (::poll(&ready, 1, waitMs) != 1) return -1;
        int peer = ::accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (peer >= 0) ++accepted_;
        return peer;
    }

    void Stop() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }

  private:
    int fd_ = -1;
    unsigned port_ = 0;
    int accepted_ = 0;
};
