// SPDX-License-Identifier: GPL-3.0-or-later
// There is no per-process socket library start-up or clean-up on this platform: a socket is an
// ordinary descriptor, created with the transport and closed exactly once when it is closed.
#include "phonelink/tcp_transport.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "common/tick_clock.h"

namespace {

// A read waits this long for data, then returns whatever is there; the AT exchange polls.
constexpr long kReadWaitNs = 100 * 1000;
// A send that meets a full socket buffer waits this long for room before the command fails.
constexpr int kSendRoomWaitMs = 1000;
// A connect gives up after this long on the tick clock, and waits at most a slice at a time
// between the channel's poll steps (where the user's Cancel is seen).
constexpr std::uint32_t kConnectLimitMs = 20000;
constexpr int kConnectSliceMs = 100;
// Longest host part accepted; DNS names are at most 253 characters.
constexpr std::size_t kHostSize = 256;

TransferError TcpRead(PhoneChannel* channel, std::uint8_t* buffer, std::uint32_t* length) {
    int fd = channel->transport->handle;
    std::uint32_t wanted = *length;
    *length = 0;
    if (wanted == 0) return kErrNone;

    pollfd pending{fd, POLLIN, 0};
    timespec wait{0, kReadWaitNs};
    int ready = ::ppoll(&pending, 1, &wait, nullptr);
    if (ready < 0) return errno == EINTR ? kErrNone : kErrPollFailed;
    if (ready == 0) return kErrNone;
    if ((pending.revents & POLLNVAL) != 0) return kErrPollFailed;

    ssize_t got = ::recv(fd, buffer, wanted, 0);
    if (got < 0) {
        if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) return kErrNone;
        return kErrConnection;
    }
    // 0 from a peer that closed the connection is passed on as "nothing arrived": the exchange
    // then runs into its time-out.
    *length = static_cast<std::uint32_t>(got);
    return kErrNone;
}

TransferError TcpWrite(PhoneChannel* channel, const std::uint8_t* bytes, std::uint32_t length) {
    int fd = channel->transport->handle;
    std::uint32_t remaining = length;
    while (remaining > 0) {
        // MSG_NOSIGNAL: a peer that has gone away is a failed write (12), not a SIGPIPE that
        // ends the whole program.
        ssize_t sent = ::send(fd, bytes, remaining, MSG_NOSIGNAL);
        if (sent < 0) {
            if (errno == EINTR) continue;
            if (errno != EAGAIN && errno != EWOULDBLOCK) return kErrConnection;
            pollfd room{fd, POLLOUT, 0};
            int ready;
            do {
                ready = ::poll(&room, 1, kSendRoomWaitMs);
            } while (ready < 0 && errno == EINTR);
            if (ready <= 0 || (room.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
                return kErrConnection;
            }
            continue;
        }
        if (sent == 0 || static_cast<std::uint64_t>(sent) > remaining) return kErrConnection;
        bytes += sent;
        remaining -= static_cast<std::uint32_t>(sent);
    }
    return kErrNone;
}

bool ResolveHost(const char* host, in_addr* address) {
    // A dotted address needs no look-up.
    if (::inet_aton(host, address) != 0) return true;
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host, nullptr, &hints, &found) != 0 || found == nullptr) return false;
    bool ok = false;
    for (addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
        if (entry->ai_family == AF_INET && entry->ai_addr != nullptr &&
            entry->ai_addrlen >= sizeof(sockaddr_in)) {
            sockaddr_in ipv4;
            std::memcpy(&ipv4, entry->ai_addr, sizeof ipv4);
            *address = ipv4.sin_addr;
            ok = true;
            break;
        }
    }
    ::freeaddrinfo(found);
    return ok;
}

// Whether a connect that went on in the background has ended; *result is its outcome.
bool ConnectFinished(int fd, int waitMs, TransferError* result) {
    pollfd done{fd, POLLOUT, 0};
    const int ready = ::poll(&done, 1, waitMs);
    if (ready < 0) {
        if (errno == EINTR) return false;
        *result = kErrConnection;
        return true;
    }
    if (ready == 0) return false;
    int error = 0;
    socklen_t size = sizeof error;
    *result = ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0
                  ? kErrNone
                  : kErrConnection;
    return true;
}

// Connects without blocking: a gateway that never answers (its queue full, packets dropped on
// the way) would otherwise hold the connect for the system's two minutes of retries, deaf to
// the user's Cancel. The channel's poll step runs between waits of at most 100 ms, and after
// 20 s on the tick clock the attempt is given up.
TransferError ConnectWithin(PhoneChannel* channel, int fd, const sockaddr_in& target) {
    int flags = ::fcntl(fd, F_GETFL, 0);
    if (flags < 0 || ::fcntl(fd, F_SETFL, flags | O_NONBLOCK) != 0) return kErrConnection;
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&target), sizeof target) == 0) {
        return kErrNone;
    }
    if (errno != EINPROGRESS && errno != EINTR) return kErrConnection;
    const std::uint32_t start = GetTickCount();
    for (;;) {
        const TransferError polled = ChannelPoll(channel);
        if (polled != kErrNone) return polled;
        if (TickElapsed(GetTickCount(), start) >= kConnectLimitMs) return kErrConnection;
        TransferError result = kErrNone;
        if (ConnectFinished(fd, kConnectSliceMs, &result)) return result;
    }
}

TransferError TcpOpen(PhoneChannel* channel, std::uint32_t mode, const char* address) {
    if (mode != kOpenModeConnect) return kErrNone;
    if (address == nullptr) return kErrInvalidParameter;
    const char* colon = std::strchr(address, ':');
    if (colon == nullptr) return kErrInvalidParameter;

    // Work on a copy: the caller's address text stays as it was.
    std::size_t hostLength = static_cast<std::size_t>(colon - address);
    if (hostLength >= kHostSize) return kErrConnection;  // no such host can exist
    char host[kHostSize];
    std::memcpy(host, address, hostLength);
    host[hostLength] = '\0';

    // atoi semantics (leading blanks, optional sign, digits up to the first other character),
    // reduced modulo 65536 without any range check. strtol is used because atoi's behaviour on
    // overflow is undefined.
    long number = std::strtol(colon + 1, nullptr, 10);
    auto port = static_cast<std::uint16_t>(static_cast<unsigned long>(number));

    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(port);
    if (!ResolveHost(host, &target.sin_addr)) return kErrConnection;

    int fd = channel->transport->handle;
    if (fd == kNoHandle) return kErrConnection;
    return ConnectWithin(channel, fd, target);
}

TransferError TcpClose(Transport* transport) {
    if (transport == nullptr) return kErrNone;
    if (transport->handle != kNoHandle) {
        ::close(transport->handle);
        transport->handle = kNoHandle;
    }
    std::free(transport);
    return kErrNone;
}

}  // namespace

TransferError CreateTcpTransport(PhoneChannel** channel) {
    if (channel == nullptr) return kErrInvalidParameter;
    *channel = nullptr;
    auto* transport = static_cast<Transport*>(std::calloc(1, sizeof(Transport)));
    if (transport == nullptr) return kErrOutOfMemory;
    transport->read = &TcpRead;
    transport->write = &TcpWrite;
    transport->open = &TcpOpen;
    transport->close = &TcpClose;
    transport->handle = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    if (transport->handle < 0) {
        transport->handle = kNoHandle;
        TcpClose(transport);
        return kErrConnection;
    }
    TransferError result = CreateChannel(channel, transport);
    if (result != kErrNone) TcpClose(transport);
    return result;
}
