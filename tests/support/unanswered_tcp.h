// SPDX-License-Identifier: GPL-3.0-or-later
// A loopback TCP address whose connects never complete, for tests of connect time-outs and
// cancels. It is a listener that accepts nothing, its queue (of one) filled by a connection of
// its own: the kernel then drops every further SYN, and a connect to it waits in SYN_SENT
// through the system's retries (about two minutes) unless its caller gives up first.
//
//   UnansweredTcpAddress gateway;
//   ASSERT_TRUE(gateway.Ok());
//   ... connect to gateway.Address() ("127.0.0.1:PORT") ...
//   gateway.WaitForConnectAttempt();  // a connect to it is under way
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

class UnansweredTcpAddress {
  public:
    UnansweredTcpAddress() {
        listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (listener_ < 0) return;
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(listener_, 0) != 0 ||
            ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
            return;
        }
        port_ = ntohs(address.sin_port);
        // Fill the queue: each filler connects at once while there is room, and the queue is
        // full once it holds more than its stated length (as the kernel counts it).
        for (int n = 0; n < 16 && !Full(); ++n) {
            const std::uint32_t before = Queued();
            const int filler = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            if (filler < 0 ||
                ::connect(filler, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
                if (filler >= 0) ::close(filler);
                port_ = 0;
                return;
            }
            fillers_.push_back(filler);
            // The listener counts the connection when the handshake's last packet reaches it.
            const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
            while (Queued() == before && std::chrono::steady_clock::now() < end) {
                ::poll(nullptr, 0, 1);
            }
        }
        if (!Full()) port_ = 0;
    }
    ~UnansweredTcpAddress() {
        for (int fd : fillers_) ::close(fd);
        if (listener_ >= 0) ::close(listener_);
    }
    UnansweredTcpAddress(const UnansweredTcpAddress&) = delete;
    UnansweredTcpAddress& operator=(const UnansweredTcpAddress&) = delete;

    bool Ok() const { return port_ != 0; }
    unsigned Port() const { return port_; }
    std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }

    // Waits until some socket of this machine is connecting to the address (SYN_SENT towards
    // it); false when none did within `limit`.
    bool WaitForConnectAttempt(std::chrono::milliseconds limit = std::chrono::seconds(20)) const {
        const auto end = std::chrono::steady_clock::now() + limit;
        for (;;) {
            if (Connecting()) return true;
            if (std::chrono::steady_clock::now() >= end) return false;
            // The kernel's socket table offers nothing to wait on; look again shortly.
            ::poll(nullptr, 0, 5);
        }
    }

  private:
    bool ListenerInfo(tcp_info* info) const {
        socklen_t size = sizeof *info;
        return ::getsockopt(listener_, IPPROTO_TCP, TCP_INFO, info, &size) == 0;
    }
    // For a listener the kernel reports the queue's length and its limit in these two fields.
    std::uint32_t Queued() const {
        tcp_info info{};
        return ListenerInfo(&info) ? info.tcpi_unacked : 0;
    }
    bool Full() const {
        tcp_info info{};
        return ListenerInfo(&info) && info.tcpi_unacked > info.tcpi_sacked;
    }
    bool Connecting() const {
        char remote[16];
        std::snprintf(remote, sizeof remote, ":%04X", port_);
        std::ifstream table("/proc/net/tcp");
        std::string line;
        std::getline(table, line);  // the heading
        while (std::getline(table, line)) {
            std::istringstream fields(line);
            std::string slot, local, peer, state;
            fields >> slot >> local >> peer >> state;
            const std::size_t colon = peer.find(':');
            if (state == "02" && colon != std::string::npos && peer.substr(colon) == remote) {
                return true;
            }
        }
        return false;
    }

    int listener_ = -1;
    unsigned port_ = 0;
    std::vector<int> fillers_;
};
