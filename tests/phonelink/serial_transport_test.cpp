// SPDX-License-Identifier: GPL-3.0-or-later
#include "phonelink/serial_transport.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "test_pty.h"

namespace {

int OpenDescriptors() {
    int count = 0;
    DIR* dir = ::opendir("/proc/self/fd");
    if (dir == nullptr) return -1;
    while (::readdir(dir) != nullptr) ++count;
    ::closedir(dir);
    return count;
}

// Reads through the channel until `count` bytes have come (bounded number of attempts).
std::string ReadFromChannel(PhoneChannel* channel, std::size_t count) {
    std::string got;
    for (int attempt = 0; attempt < 5000 && got.size() < count; ++attempt) {
        std::uint8_t buffer[64];
        std::uint32_t length = sizeof buffer;
        if (ChannelRead(channel, buffer, &length) != 0) break;
        got.append(reinterpret_cast<char*>(buffer), length);
    }
    return got;
}

class SerialOverPty : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(pty_.Ok()) << "no pseudo-terminal available";
        ASSERT_EQ(CreateSerialTransport(&channel_), 0u);
        ASSERT_EQ(ChannelOpen(channel_, kOpenModeConnect, pty_.SlavePath().c_str()), 0u);
    }
    void TearDown() override {
        SetSerialSystemCalls(nullptr);
        EXPECT_EQ(ChannelClose(channel_), 0u);
    }
    Pty pty_;
    PhoneChannel* channel_ = nullptr;
};

TEST(SerialPortName, ComNamesMapToTtyS) {
    char path[64];
    ASSERT_TRUE(SerialDevicePath("COM3:", path, sizeof path));
    EXPECT_STREQ(path, "/dev/ttyS2");
    ASSERT_TRUE(SerialDevicePath("COM1", path, sizeof path));
    EXPECT_STREQ(path, "/dev/ttyS0");
    ASSERT_TRUE(SerialDevicePath("com12:", path, sizeof path));
    EXPECT_STREQ(path, "/dev/ttyS11");
    ASSERT_TRUE(SerialDevicePath("/dev/ttyUSB0", path, sizeof path));
    EXPECT_STREQ(path, "/dev/ttyUSB0");
}

TEST(SerialPortName, OtherNamesAreRefused) {
    char path[64];
    for (const char* name : {"COM0:", "COM:", "COM", "COMX:", "COM3:x", "COM257", "COM99999",
                             "ttyUSB0", "", "/devx/tty", "TCP:localhost:4000"}) {
        EXPECT_FALSE(SerialDevicePath(name, path, sizeof path)) << name;
    }
    char tiny[6];
    EXPECT_FALSE(SerialDevicePath("COM3:", tiny, sizeof tiny));  // "/dev/ttyS2" does not fit
    EXPECT_FALSE(SerialDevicePath(nullptr, path, sizeof path));
}

TEST(SerialTransport, NonexistentPortFailsAndCloseStillFrees) {
    PhoneChannel* channel = nullptr;
    ASSERT_EQ(CreateSerialTransport(&channel), 0u);
    ASSERT_NE(channel, nullptr);
    EXPECT_EQ(channel->transport->handle, kNoHandle);
    EXPECT_EQ(ChannelOpen(channel, kOpenModeConnect, "/dev/velkan-test-no-such-port"),
              kErrConnection);
    EXPECT_EQ(ChannelOpen(channel, kOpenModeConnect, "NOTAPORT"), kErrConnection);
    EXPECT_EQ(channel->transport->handle, kNoHandle);
    EXPECT_EQ(ChannelClose(channel), 0u);  // the leak checker sees whether it was freed
}

TEST(SerialTransport, DeviceThatIsNoTerminalFailsAndIsReleasedByClose) {
    int before = OpenDescriptors();
    PhoneChannel* channel = nullptr;
    ASSERT_EQ(CreateSerialTransport(&channel), 0u);
    EXPECT_EQ(ChannelOpen(channel, kOpenModeConnect, "/dev/null"), kErrConnection);
    EXPECT_EQ(ChannelClose(channel), 0u);
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(SerialTransport, OpenWithAnotherModeDoesNothing) {
    PhoneChannel* channel = nullptr;
    ASSERT_EQ(CreateSerialTransport(&channel), 0u);
    EXPECT_EQ(ChannelOpen(channel, 0, "/dev/velkan-test-no-such-port"), 0u);
    EXPECT_EQ(ChannelOpen(channel, 2, "/dev/null"), 0u);
    EXPECT_EQ(channel->transport->handle, kNoHandle);
    EXPECT_EQ(ChannelClose(channel), 0u);
}

TEST(SerialTransport, CreateRefusesANullOutParameter) {
    EXPECT_EQ(CreateSerialTransport(nullptr), kErrInvalidParameter);
}

TEST(SerialTransport, CloseReleasesTheDescriptor) {
    Pty pty;
    ASSERT_TRUE(pty.Ok());
    int before = OpenDescriptors();
    PhoneChannel* channel = nullptr;
    ASSERT_EQ(CreateSerialTransport(&channel), 0u);
    ASSERT_EQ(ChannelOpen(channel, kOpenModeConnect, pty.SlavePath().c_str()), 0u);
    EXPECT_EQ(OpenDescriptors(), before + 1);
    EXPECT_EQ(ChannelClose(channel), 0u);
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(SerialOverPty, PortIsRawEightBitsNoParityAt19200) {
    termios settings{};
    ASSERT_EQ(::tcgetattr(channel_->transport->handle, &settings), 0);
    EXPECT_EQ(::cfgetispeed(&settings), static_cast<speed_t>(B19200));
    EXPECT_EQ(::cfgetospeed(&settings), static_cast<speed_t>(B19200));
    EXPECT_EQ(settings.c_cflag & CSIZE, static_cast<tcflag_t>(CS8));
    EXPECT_EQ(settings.c_cflag & PARENB, 0u);
    EXPECT_EQ(settings.c_cflag & CSTOPB, 0u);
    EXPECT_NE(settings.c_cflag & CREAD, 0u);
    EXPECT_NE(settings.c_cflag & CLOCAL, 0u);
    EXPECT_EQ(settings.c_lflag & (ICANON | ECHO | ISIG), 0u);
    EXPECT_EQ(settings.c_iflag & (IXON | IXOFF | ICRNL), 0u);
    EXPECT_EQ(settings.c_oflag & OPOST, 0u);
    EXPECT_EQ(settings.c_cc[VMIN], 0);
    EXPECT_EQ(settings.c_cc[VTIME], 0);
}

TEST_F(SerialOverPty, OpeningTwiceIsRefused) {
    EXPECT_EQ(ChannelOpen(channel_, kOpenModeConnect, pty_.SlavePath().c_str()),
              kErrInvalidParameter);
}

TEST_F(SerialOverPty, ReadWithNothingPendingReturnsAtOnceWithNoBytes) {
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 10; ++i) {
        std::uint8_t buffer[16];
        std::uint32_t length = sizeof buffer;
        ASSERT_EQ(ChannelRead(channel_, buffer, &length), 0u);
        EXPECT_EQ(length, 0u);
    }
    auto elapsed = std::chrono::steady_clock::now() - start;
    // Ten reads with a 1 ms wait each; a blocking read would never come back.
    EXPECT_LT(elapsed, std::chrono::milliseconds(500));
}

TEST_F(SerialOverPty, BytesTravelBothWaysUnchanged) {
    const std::string command = "AT+CMGF=0\r";
    ASSERT_EQ(ChannelWrite(channel_, reinterpret_cast<const std::uint8_t*>(command.data()),
                           static_cast<std::uint32_t>(command.size())),
              0u);
    EXPECT_EQ(pty_.ReadExactly(command.size()), command);

    const std::string answer("\r\nOK\r\n\x00\x1A\xFF", 9);
    pty_.Write(answer);
    EXPECT_EQ(ReadFromChannel(channel_, answer.size()), answer);
}

// ---- the write loop, with real partial writes and with a scripted driver ----

struct DriverScript {
    std::vector<ssize_t> results;  // what each write call returns; past the end: everything
    std::vector<int> errors;       // errno for a -1 result
    std::size_t calls = 0;
    std::size_t partials = 0;  // real writes that took fewer bytes than offered
    std::string accepted;
    bool passThrough = false;  // hand the call to the real system call (counting partials)
};
DriverScript g_driver;

ssize_t ScriptedWrite(int fd, const void* bytes, std::size_t count) {
    std::size_t call = g_driver.calls++;
    if (g_driver.passThrough) {
        ssize_t n = ::write(fd, bytes, count);
        if (n >= 0 && static_cast<std::size_t>(n) < count) ++g_driver.partials;
        return n;
    }
    ssize_t result =
        call < g_driver.results.size() ? g_driver.results[call] : static_cast<ssize_t>(count);
    if (result < 0) {
        errno = g_driver.errors.at(call);
        return -1;
    }
    if (static_cast<std::size_t>(result) > count) result = static_cast<ssize_t>(count);
    g_driver.accepted.append(static_cast<const char*>(bytes), static_cast<std::size_t>(result));
    return result;
}

ssize_t ScriptedRead(int, void*, std::size_t) {
    ++g_driver.calls;
    errno = g_driver.errors.at(0);
    return -1;
}

const SerialSystemCalls kScriptedCalls = {&ScriptedRead, &ScriptedWrite};

TransferError WriteText(PhoneChannel* channel, const std::string& text) {
    return ChannelWrite(channel, reinterpret_cast<const std::uint8_t*>(text.data()),
                        static_cast<std::uint32_t>(text.size()));
}

TEST_F(SerialOverPty, PartialWritesAreContinuedUntilAllIsWritten) {
    g_driver = DriverScript{};
    g_driver.results = {3, 3, 3};  // then the rest at once
    SetSerialSystemCalls(&kScriptedCalls);
    EXPECT_EQ(WriteText(channel_, "AT+CMGS=17\r"), 0u);
    EXPECT_EQ(g_driver.accepted, "AT+CMGS=17\r");
    EXPECT_EQ(g_driver.calls, 4u);
}

TEST_F(SerialOverPty, AWriteOfZeroBytesIsAnErrorNotARetry) {
    g_driver = DriverScript{};
    g_driver.results = {0};
    SetSerialSystemCalls(&kScriptedCalls);
    EXPECT_EQ(WriteText(channel_, "AT\r"), kErrConnection);
    EXPECT_EQ(g_driver.calls, 1u);
    g_driver = DriverScript{};
    g_driver.results = {2, 0};
    EXPECT_EQ(WriteText(channel_, "AT\r"), kErrConnection);
    EXPECT_EQ(g_driver.calls, 2u);
}

TEST_F(SerialOverPty, InterruptedAndFullWritesAreRetriedOtherErrorsFail) {
    g_driver = DriverScript{};
    g_driver.results = {-1, 1, -1};
    g_driver.errors = {EINTR, 0, EAGAIN};
    SetSerialSystemCalls(&kScriptedCalls);
    EXPECT_EQ(WriteText(channel_, "ATZ\r"), 0u);
    EXPECT_EQ(g_driver.accepted, "ATZ\r");
    EXPECT_EQ(g_driver.calls, 4u);

    g_driver = DriverScript{};
    g_driver.results = {-1};
    g_driver.errors = {EIO};
    EXPECT_EQ(WriteText(channel_, "ATZ\r"), kErrConnection);
}

TEST_F(SerialOverPty, LargeWriteThroughAFullQueueArrivesWhole) {
    std::string big(256 * 1024, '\0');
    for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>('A' + i % 26);
    g_driver = DriverScript{};
    g_driver.passThrough = true;
    SetSerialSystemCalls(&kScriptedCalls);
    std::string received;
    std::thread reader([&] { received = pty_.ReadExactly(big.size()); });
    EXPECT_EQ(WriteText(channel_, big), 0u);
    reader.join();
    EXPECT_TRUE(received == big) << "received " << received.size() << " of " << big.size();
    EXPECT_GT(g_driver.calls, 1u) << "the terminal queue should have taken it in parts";
}

TEST_F(SerialOverPty, InterruptedReadIsNothingAFailedReadIsAnError) {
    pty_.Write("x");  // make the port readable so that the read system call is reached
    g_driver = DriverScript{};
    g_driver.errors = {EINTR};
    SetSerialSystemCalls(&kScriptedCalls);
    std::uint8_t buffer[8];
    std::uint32_t length = sizeof buffer;
    // The byte may need a moment to cross the pseudo-terminal; wait until the read call is made.
    for (int i = 0; i < 5000 && g_driver.calls == 0; ++i) {
        length = sizeof buffer;
        ASSERT_EQ(ChannelRead(channel_, buffer, &length), 0u);
    }
    ASSERT_GT(g_driver.calls, 0u);
    EXPECT_EQ(length, 0u);

    g_driver.errors = {EIO};
    length = sizeof buffer;
    EXPECT_EQ(ChannelRead(channel_, buffer, &length), kErrConnection);
    EXPECT_EQ(length, 0u);
}

}  // namespace
