// SPDX-License-Identifier: GPL-3.0-or-later
#include "phonelink/serial_transport.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "phonelink/port_lock.h"

namespace {

// A read waits at most this long for the first byte, then returns whatever is there. The AT
// exchange polls the channel in a loop, and this short wait is what paces that loop.
constexpr int kReadWaitMs = 1;
// A write that cannot make progress gives up after a fixed allowance plus a per-byte allowance,
// so a phone that holds CTS low cannot hang the transfer.
constexpr int kWriteTimeoutConstantMs = 1000;
constexpr int kWriteTimeoutPerByteMs = 10;

ssize_t RealRead(int fd, void* buffer, std::size_t count) {
    return ::read(fd, buffer, count);
}
ssize_t RealWrite(int fd, const void* bytes, std::size_t count) {
    return ::write(fd, bytes, count);
}

const SerialSystemCalls kRealCalls = {&RealRead, &RealWrite};
const SerialSystemCalls* g_calls = &kRealCalls;

Transport* TransportOf(PhoneChannel* channel) {
    return channel->transport;
}

TransferError SerialRead(PhoneChannel* channel, std::uint8_t* buffer, std::uint32_t* length) {
    int fd = TransportOf(channel)->handle;
    if (fd == kNoHandle) return kErrConnection;
    std::uint32_t wanted = *length;
    *length = 0;
    if (wanted == 0) return kErrNone;

    pollfd pending{fd, POLLIN, 0};
    int ready = ::poll(&pending, 1, kReadWaitMs);
    if (ready < 0) return errno == EINTR ? kErrNone : kErrConnection;
    if (ready == 0) return kErrNone;
    if ((pending.revents & POLLNVAL) != 0) return kErrConnection;

    ssize_t got = g_calls->read(fd, buffer, wanted);
    if (got < 0) {
        if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) return kErrNone;
        return kErrConnection;  // EIO: the device went away (a hung-up line, an unplugged port)
    }
    if (static_cast<std::size_t>(got) > wanted) return kErrConnection;
    *length = static_cast<std::uint32_t>(got);
    return kErrNone;
}

TransferError SerialWrite(PhoneChannel* channel, const std::uint8_t* bytes, std::uint32_t length) {
    int fd = TransportOf(channel)->handle;
    if (fd == kNoHandle) return kErrConnection;
    std::uint32_t remaining = length;
    while (remaining > 0) {
        ssize_t written = g_calls->write(fd, bytes, remaining);
        if (written < 0) {
            if (errno == EINTR) continue;
            if (errno != EAGAIN && errno != EWOULDBLOCK) return kErrConnection;
            // The output queue is full (or flow control holds it): wait for room, but only as
            // long as a write of this size may reasonably take.
            pollfd room{fd, POLLOUT, 0};
            int waitMs =
                kWriteTimeoutConstantMs +
                kWriteTimeoutPerByteMs * static_cast<int>(remaining > 100000 ? 100000 : remaining);
            int ready;
            do {
                ready = ::poll(&room, 1, waitMs);
            } while (ready < 0 && errno == EINTR);
            if (ready <= 0 || (room.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
                return kErrConnection;
            }
            continue;
        }
        // A driver that accepts nothing is not retried: it would only accept nothing again.
        if (written == 0) return kErrConnection;
        if (static_cast<std::uint64_t>(written) > remaining) return kErrConnection;
        bytes += written;
        remaining -= static_cast<std::uint32_t>(written);
    }
    return kErrNone;
}

TransferError SerialOpen(PhoneChannel* channel, std::uint32_t mode, const char* address) {
    if (mode != kOpenModeConnect) return kErrNone;
    Transport* transport = TransportOf(channel);
    if (address == nullptr) return kErrInvalidParameter;
    if (transport->handle != kNoHandle) return kErrInvalidParameter;  // already open

    char path[256];
    if (!SerialDevicePath(address, path, sizeof path)) return kErrConnection;
    transport->problem[0] = '\0';

    // A port another program holds fails at once, and says who has it when that can be seen.
    auto held = [&](int pid) {
        char holder[96];
        PortHolderDescription(path, pid, holder, sizeof holder);
        std::snprintf(transport->problem, sizeof transport->problem, "%s is in use by %s", path,
                      holder[0] != '\0' ? holder : "another program");
        return kErrConnection;
    };
    int lockPid = 0;
    if (PortLockFileHolder(path, &lockPid)) return held(lockPid);

    // Non-blocking from the start: opening a line whose carrier is down must not hang, and
    // reads and writes do their own short waits.
    int fd = ::open(path, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return errno == EBUSY ? held(0) : kErrConnection;  // EBUSY: another's TIOCEXCL
    // From here on the descriptor belongs to the record; close releases it on every path.
    transport->handle = fd;

    // Nobody else may open the port while the transfer runs: TIOCEXCL (best effort: root
    // passes it) and the flock that terminal programs take.
    if (!TakePortFlock(fd)) return held(0);
    (void)::ioctl(fd, TIOCEXCL);

    // Required: raw 8-bit mode at 19200 baud, 8 data bits, no parity, one stop bit, receiver on,
    // modem-status lines ignored for opening and reading. A device that cannot take these is
    // not a usable port.
    termios settings{};
    if (::tcgetattr(fd, &settings) != 0) return kErrConnection;
    ::cfmakeraw(&settings);
    settings.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | CSTOPB | CRTSCTS);
    settings.c_cflag |= CS8 | CREAD | CLOCAL;
    settings.c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY | INPCK | IGNPAR | PARMRK);
    // Reads return at once with whatever is waiting; the wait happens in SerialRead's poll.
    settings.c_cc[VMIN] = 0;
    settings.c_cc[VTIME] = 0;
    if (::cfsetispeed(&settings, B19200) != 0 || ::cfsetospeed(&settings, B19200) != 0) {
        return kErrConnection;
    }
    if (::tcsetattr(fd, TCSANOW, &settings) != 0) return kErrConnection;

    // Best effort: RTS/CTS hardware flow control. Ports without handshake lines (pseudo-
    // terminals, some USB adapters) refuse it, and the phone then works without it. There is no
    // counterpart for DSR flow control here; DSR is not watched.
    termios withFlowControl = settings;
    withFlowControl.c_cflag |= CRTSCTS;
    (void)::tcsetattr(fd, TCSANOW, &withFlowControl);

    // Best effort: raise DTR and RTS, which many phones and cables need to talk at all. A port
    // without modem lines answers ENOTTY or EINVAL, and that is no reason to refuse it.
    int lines = TIOCM_DTR | TIOCM_RTS;
    (void)::ioctl(fd, TIOCMBIS, &lines);
    return kErrNone;
}

TransferError SerialClose(Transport* transport) {
    if (transport == nullptr) return kErrNone;
    if (transport->handle != kNoHandle) {
        // Throw away whatever is still queued in either direction, as a purge of the port does.
        (void)::tcflush(transport->handle, TCIOFLUSH);
        ::close(transport->handle);
        transport->handle = kNoHandle;
    }
    std::free(transport);
    return kErrNone;
}

bool HasPrefixIgnoringCase(const char* text, const char* prefix) {
    for (; *prefix != '\0'; ++text, ++prefix) {
        char c = *text;
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
        if (c != *prefix) return false;
    }
    return true;
}

}  // namespace

bool SerialDevicePath(const char* portName, char* out, std::size_t outSize) {
    if (portName == nullptr || out == nullptr || outSize == 0) return false;
    if (std::strncmp(portName, "/dev/", 5) == 0) {
        std::size_t length = std::strlen(portName);
        if (length + 1 > outSize) return false;
        std::memcpy(out, portName, length + 1);
        return true;
    }
    if (!HasPrefixIgnoringCase(portName, "COM")) return false;
    const char* digits = portName + 3;
    unsigned number = 0;
    const char* p = digits;
    while (*p >= '0' && *p <= '9' && p - digits < 4) {
        number = number * 10 + static_cast<unsigned>(*p - '0');
        ++p;
    }
    if (p == digits) return false;
    if (*p == ':') ++p;
    if (*p != '\0' || number < 1 || number > 256) return false;
    int written = std::snprintf(out, outSize, "/dev/ttyS%u", number - 1);
    return written > 0 && static_cast<std::size_t>(written) < outSize;
}

void SetSerialSystemCalls(const SerialSystemCalls* calls) {
    g_calls = calls != nullptr ? calls : &kRealCalls;
}

TransferError CreateSerialTransport(PhoneChannel** channel) {
    if (channel == nullptr) return kErrInvalidParameter;
    *channel = nullptr;
    auto* transport = static_cast<Transport*>(std::calloc(1, sizeof(Transport)));
    if (transport == nullptr) return kErrOutOfMemory;
    transport->read = &SerialRead;
    transport->write = &SerialWrite;
    transport->open = &SerialOpen;
    transport->close = &SerialClose;
    transport->handle = kNoHandle;
    TransferError result = CreateChannel(channel, transport);
    if (result != kErrNone) SerialClose(transport);
    return result;
}
