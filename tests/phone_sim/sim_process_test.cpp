// SPDX-License-Identifier: GPL-3.0-or-later
// The velkan-phone-sim program end to end: started as a child process, spoken to over TCP and a
// pseudo-terminal. Every wait is a poll() on a descriptor with a time limit.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr int kTimeoutMs = 10000;
constexpr char kSubmitHello[] = "0001000A919403214365000005C8329BFD06";

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

bool EndsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

std::string TempPath(const std::string& name) {
    static int counter = 0;
    return ::testing::TempDir() + "phone_sim_" + std::to_string(getpid()) + "_" +
           std::to_string(++counter) + "_" + name;
}

class SimProcess {
  public:
    ~SimProcess() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        if (out_ >= 0) close(out_);
        std::remove(errPath_.c_str());
    }

    bool Start(const std::vector<std::string>& args) {
        errPath_ = TempPath("stderr.txt");
        int pipeFds[2];
        if (pipe(pipeFds) != 0) return false;
        pid_ = fork();
        if (pid_ < 0) return false;
        if (pid_ == 0) {
            dup2(pipeFds[1], STDOUT_FILENO);
            int err = open(errPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            if (err >= 0) dup2(err, STDERR_FILENO);
            close(pipeFds[0]);
            close(pipeFds[1]);
            std::vector<char*> argv;
            std::string path = PHONE_SIM_PATH;
            argv.push_back(path.data());
            std::vector<std::string> copy = args;
            for (std::string& a : copy) argv.push_back(a.data());
            argv.push_back(nullptr);
            execv(path.c_str(), argv.data());
            _exit(127);
        }
        close(pipeFds[1]);
        out_ = pipeFds[0];
        return true;
    }

    // One line of standard output, without its line feed; empty on time-out or end.
    std::string ReadLine() {
        std::string line;
        char c = 0;
        while (WaitReadable(out_, kTimeoutMs) && read(out_, &c, 1) == 1) {
            if (c == '\n') return line;
            line.push_back(c);
        }
        return line;
    }

    // Everything on standard output until the program closes it.
    std::string ReadAll() {
        std::string all;
        char buffer[4096];
        for (;;) {
            if (!WaitReadable(out_, kTimeoutMs)) break;
            ssize_t n = read(out_, buffer, sizeof buffer);
            if (n <= 0) break;
            all.append(buffer, static_cast<std::size_t>(n));
        }
        return all;
    }

    // The exit status once the program has ended (-1 if it did not within the time limit, or
    // was ended by a signal).
    int Wait() {
        ReadAll();  // standard output closes when the process ends
        int status = 0;
        pid_t done = waitpid(pid_, &status, 0);
        if (done != pid_) return -1;
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    int Stop(int signal = SIGTERM) {
        kill(pid_, signal);
        return Wait();
    }

    std::string Stderr() const { return ReadFile(errPath_); }

    static bool WaitReadable(int fd, int timeoutMs) {
        pollfd p{fd, POLLIN, 0};
        return poll(&p, 1, timeoutMs) == 1;
    }

  private:
    pid_t pid_ = -1;
    int out_ = -1;
    std::string errPath_;
};

// Starts the simulator on an ephemeral port and returns the port (0 on failure).
unsigned StartListening(SimProcess& sim, std::vector<std::string> args) {
    args.insert(args.begin(), {"--listen", "127.0.0.1:0"});
    if (!sim.Start(args)) return 0;
    std::string line = sim.ReadLine();
    const std::string prefix = "listening 127.0.0.1:";
    if (line.compare(0, prefix.size(), prefix) != 0) {
        ADD_FAILURE() << "first line: '" << line << "'";
        return 0;
    }
    return static_cast<unsigned>(std::stoul(line.substr(prefix.size())));
}

class Client {
  public:
    explicit Client(unsigned port) {
        fd_ = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            close(fd_);
            fd_ = -1;
        }
    }
    explicit Client(int fd, bool) : fd_(fd) {}
    ~Client() {
        if (fd_ >= 0) close(fd_);
    }
    bool ok() const { return fd_ >= 0; }

    void Write(const std::string& bytes) {
        ASSERT_EQ(write(fd_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    // Reads until `needle` has arrived (returns everything read), the peer closes, or time runs
    // out.
    std::string ReadUntil(const std::string& needle) {
        std::string all;
        char buffer[4096];
        while (all.find(needle) == std::string::npos) {
            if (!SimProcess::WaitReadable(fd_, kTimeoutMs)) break;
            ssize_t n = read(fd_, buffer, sizeof buffer);
            if (n <= 0) {
                closed_ = true;
                break;
            }
            all.append(buffer, static_cast<std::size_t>(n));
        }
        return all;
    }

    // Reads until `count` bytes have arrived, the peer closes, or time runs out.
    std::string ReadCount(std::size_t count) {
        std::string all;
        char buffer[4096];
        while (all.size() < count && SimProcess::WaitReadable(fd_, kTimeoutMs)) {
            ssize_t n = read(fd_, buffer, std::min(sizeof buffer, count - all.size()));
            if (n <= 0) break;
            all.append(buffer, static_cast<std::size_t>(n));
        }
        return all;
    }

    std::string Command(const std::string& command) {
        Write(command);
        return ReadUntil("OK\r\n");
    }

    void ShutdownWrite() { shutdown(fd_, SHUT_WR); }

    // True once the other side has closed (read gives end of file or an error).
    bool WaitClosed() {
        char buffer[256];
        while (SimProcess::WaitReadable(fd_, kTimeoutMs)) {
            if (read(fd_, buffer, sizeof buffer) <= 0) return true;
        }
        return false;
    }
    bool closed() const { return closed_; }

  private:
    int fd_ = -1;
    bool closed_ = false;
};

TEST(PhoneSimProcess, ListensAnswersLogsAndEndsOnSigterm) {
    std::string log = TempPath("log.txt");
    SimProcess sim;
    unsigned port =
        StartListening(sim, {"--log", log, "--smsc", "", "--sms", "SM:+4930123456:Hello"});
    ASSERT_NE(port, 0u);
    {
        Client phone(port);
        ASSERT_TRUE(phone.ok());
        EXPECT_EQ(phone.Command("AT\r"), "\r\nOK\r\n");
        EXPECT_EQ(phone.Command("ATE0V1\r"), "\r\nOK\r\n");
        EXPECT_EQ(phone.Command("AT+CPMS=\"SM\"\r"), "\r\n+CPMS: 1,30,1,30,0,100\r\n\r\nOK\r\n");
        std::string list = phone.Command("AT+CMGL=4\r");
        EXPECT_EQ(list.substr(0, 36), "\r\n+CMGL: 1,0,,23\r\n00040A919403214365");
        EXPECT_TRUE(EndsWith(list, "05C8329BFD06\r\n\r\nOK\r\n")) << list;
        // Split across writes, with a stray line feed.
        phone.Write("A");
        phone.Write("T+CMGF");
        EXPECT_EQ(phone.Command("=0\r\n"), "\r\nOK\r\n");
    }
    EXPECT_EQ(ReadFile(log), "AT\nATE0V1\nAT+CPMS=\"SM\"\nAT+CMGL=4\nAT+CMGF=0\n");
    EXPECT_EQ(sim.Stop(SIGTERM), 0);
    std::remove(log.c_str());
}

TEST(PhoneSimProcess, SigintEndsItCleanlyToo) {
    SimProcess sim;
    ASSERT_NE(StartListening(sim, {}), 0u);
    EXPECT_EQ(sim.Stop(SIGINT), 0);
}

TEST(PhoneSimProcess, SuccessiveConnectionsShareTheMemories) {
    std::string log = TempPath("log.txt");
    std::string state = TempPath("state.txt");
    SimProcess sim;
    unsigned port = StartListening(sim, {"--log", log, "--state", state});
    ASSERT_NE(port, 0u);
    EXPECT_NE(ReadFile(state).find("# sent 0"), std::string::npos);
    {
        Client first(port);
        ASSERT_TRUE(first.ok());
        first.Write("AT+CMGS=17\r");
        EXPECT_EQ(first.ReadUntil("> "), "\r\n> ");
        EXPECT_EQ(first.Command(std::string(kSubmitHello) + "\x1A"), "\r\n+CMGS: 1\r\n\r\nOK\r\n");
    }
    {
        Client second(port);
        ASSERT_TRUE(second.ok());
        EXPECT_EQ(second.Command("AT+CPMS=\"ME\"\r"), "\r\n+CPMS: 1,100,0,30,1,100\r\n\r\nOK\r\n");
        std::string list = second.Command("AT+CMGL=4\r");
        EXPECT_EQ(list.substr(0, 18), "\r\n+CMGL: 1,0,,23\r\n");
        EXPECT_NE(list.find("040A919403214365"), std::string::npos) << list;
    }
    std::string text = ReadFile(state);
    EXPECT_NE(text.find("ME@1|1|PDU:0791947101670000040A919403214365"), std::string::npos) << text;
    EXPECT_NE(text.find("SENT|1|+4930123456|-|ME@1|PDU:" + std::string(kSubmitHello) + "|17|Hello"),
              std::string::npos)
        << text;
    EXPECT_EQ(ReadFile(log),
              "AT+CMGS=17\n" + std::string(kSubmitHello) + "<ctrl-z>\nAT+CPMS=\"ME\"\nAT+CMGL=4\n");
    EXPECT_EQ(sim.Stop(), 0);
    std::remove(log.c_str());
    std::remove(state.c_str());
    std::remove((state + ".tmp").c_str());
}

TEST(PhoneSimProcess, PseudoTerminalInRawMode) {
    SimProcess sim;
    ASSERT_TRUE(sim.Start({"--pty", "--sms", "ME:+4930123456:Hi"}));
    std::string path = sim.ReadLine();
    ASSERT_EQ(path.compare(0, 5, "/dev/"), 0) << path;
    int fd = open(path.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(fd, 0) << path;
    termios tio{};
    ASSERT_EQ(tcgetattr(fd, &tio), 0);
    cfmakeraw(&tio);
    ASSERT_EQ(tcsetattr(fd, TCSANOW, &tio), 0);
    {
        Client phone(fd, true);
        EXPECT_EQ(phone.Command("AT\r"), "\r\nOK\r\n");
        EXPECT_EQ(phone.Command("AT+CPMS=\"ME\"\r"), "\r\n+CPMS: 1,100,0,30,1,100\r\n\r\nOK\r\n");
        // Bytes pass unchanged: no CR to LF mapping, no echo from the line discipline.
        std::string list = phone.Command("AT+CMGL=4\r");
        EXPECT_EQ(list.substr(0, 18), "\r\n+CMGL: 1,0,,20\r\n");
        EXPECT_TRUE(EndsWith(list, "\r\n\r\nOK\r\n")) << list;
        phone.Write("AT+CMGS=17\r");
        EXPECT_EQ(phone.ReadUntil("> "), "\r\n> ");
        EXPECT_EQ(phone.Command(std::string(kSubmitHello) + "\x1A"), "\r\n+CMGS: 1\r\n\r\nOK\r\n");
    }
    EXPECT_EQ(sim.Stop(), 0);
}

// gammu claims the device with TIOCEXCL and closes it without giving the claim back; the
// simulator holds the device open, so the claim must end once the client has spoken, or the next
// client (without root's right to ignore it) could not open the device.
TEST(PhoneSimProcess, AClaimOnThePseudoTerminalDoesNotOutliveTheClient) {
    SimProcess sim;
    ASSERT_TRUE(sim.Start({"--pty"}));
    std::string path = sim.ReadLine();
    int fd = open(path.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(fd, 0) << path;
    termios tio{};
    ASSERT_EQ(tcgetattr(fd, &tio), 0);
    cfmakeraw(&tio);
    ASSERT_EQ(tcsetattr(fd, TCSANOW, &tio), 0);
    ASSERT_EQ(ioctl(fd, TIOCEXCL), 0);
    int exclusive = 0;
    ASSERT_EQ(ioctl(fd, TIOCGEXCL, &exclusive), 0);
    ASSERT_NE(exclusive, 0);
    Client phone(fd, true);
    EXPECT_EQ(phone.Command("AT\r"), "\r\nOK\r\n");
    ASSERT_EQ(ioctl(fd, TIOCGEXCL, &exclusive), 0);
    EXPECT_EQ(exclusive, 0);
    EXPECT_EQ(sim.Stop(), 0);
}

TEST(PhoneSimProcess, DropOnOverAPseudoTerminalClosesTheMaster) {
    SimProcess sim;
    ASSERT_TRUE(sim.Start({"--pty", "--drop-on", "AT+CMGL"}));
    std::string path = sim.ReadLine();
    int fd = open(path.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(fd, 0) << path;
    termios tio{};
    ASSERT_EQ(tcgetattr(fd, &tio), 0);
    cfmakeraw(&tio);
    ASSERT_EQ(tcsetattr(fd, TCSANOW, &tio), 0);
    Client phone(fd, true);
    EXPECT_EQ(phone.Command("AT\r"), "\r\nOK\r\n");
    phone.Write("AT+CMGL=4\r");
    EXPECT_TRUE(phone.WaitClosed());
    EXPECT_EQ(sim.Stop(), 0);
}

TEST(PhoneSimProcess, HelpListsTheOptionsAndEndsWithZero) {
    SimProcess sim;
    ASSERT_TRUE(sim.Start({"--help"}));
    std::string help = sim.ReadAll();
    EXPECT_NE(help.find("--listen HOST:PORT"), std::string::npos);
    EXPECT_NE(help.find("--no-line-end-flood"), std::string::npos);
    EXPECT_NE(help.find("MEM|STATUS|PDU:<hex>|<tpdu length>"), std::string::npos);
    EXPECT_EQ(sim.Wait(), 0);
}

TEST(PhoneSimProcess, BadOptionEndsWithTwo) {
    SimProcess sim;
    ASSERT_TRUE(sim.Start({"--frobnicate"}));
    EXPECT_EQ(sim.Wait(), 2);
    EXPECT_NE(sim.Stderr().find("unknown option '--frobnicate'"), std::string::npos)
        << sim.Stderr();
}

TEST(PhoneSimProcess, BadMessagesFileEndsWithTwo) {
    std::string file = TempPath("messages.txt");
    std::ofstream(file) << "# fine\nSM|7|+49|2003-11-15 09:30:05|+04|Hi\n";
    SimProcess sim;
    ASSERT_TRUE(sim.Start({"--messages", file}));
    EXPECT_EQ(sim.Wait(), 2);
    EXPECT_NE(sim.Stderr().find(file + ":2: STATUS"), std::string::npos) << sim.Stderr();
    std::remove(file.c_str());
}

TEST(PhoneSimProcess, SmsTakesUnicodeAndLongTexts) {
    SimProcess sim;
    unsigned port = StartListening(sim, {"--smsc", "", "--sms", "ME:+4930123456:Привет 😀", "--sms",
                                         "ME:+4930123456:" + std::string(400, 'x')});
    ASSERT_NE(port, 0u);
    Client phone(port);
    EXPECT_EQ(phone.Command("AT+CPMS=\"ME\"\r"), "\r\n+CPMS: 4,100,0,30,4,100\r\n\r\nOK\r\n");
    const std::string list = phone.Command("AT+CMGL=4\r");
    // UCS2 (DCS 08): "Привет 😀" as nine big-endian units after its length octet 12.
    EXPECT_NE(list.find("0008"), std::string::npos) << list;
    EXPECT_NE(list.find("12041F044004380432043504420020D83DDE00\r\n"), std::string::npos) << list;
    // The long text: three 7-bit parts with the header 05 00 03, reference 2, total 3.
    for (const char* header : {"050003020301", "050003020302", "050003020303"}) {
        EXPECT_NE(list.find(header), std::string::npos) << header << "\n" << list;
    }
    EXPECT_EQ(sim.Stop(), 0);
}

TEST(PhoneSimProcess, MessagesFileIsListed) {
    std::string file = TempPath("messages.txt");
    std::ofstream(file) << "SM|0|+4930123456|2003-11-15 09:30:05|+04|Hello\n"
                           "SM|1|PDU:00AB|1\n";
    SimProcess sim;
    unsigned port = StartListening(sim, {"--messages", file, "--smsc", ""});
    ASSERT_NE(port, 0u);
    Client phone(port);
    EXPECT_EQ(phone.Command("AT+CMGL=4\r"),
              "\r\n+CMGL: 1,0,,23\r\n00040A91940321436500003011519003504005C8329BFD06\r\n"
              "+CMGL: 2,1,,1\r\n00AB\r\n\r\nOK\r\n");
    EXPECT_EQ(sim.Stop(), 0);
    std::remove(file.c_str());
}

TEST(PhoneSimProcess, DropOnClosesTheConnectionAndTheNextOneIsAccepted) {
    SimProcess sim;
    unsigned port = StartListening(sim, {"--drop-on", "AT+CMGL"});
    ASSERT_NE(port, 0u);
    {
        Client phone(port);
        EXPECT_EQ(phone.Command("AT\r"), "\r\nOK\r\n");
        phone.Write("AT+CMGL=4\r");
        EXPECT_TRUE(phone.WaitClosed());
    }
    Client again(port);
    EXPECT_EQ(again.Command("AT\r"), "\r\nOK\r\n");
    EXPECT_EQ(sim.Stop(), 0);
}

TEST(PhoneSimProcess, WhatArrivedBeforeTheClientStoppedSendingIsStillAnswered) {
    SimProcess sim;
    unsigned port = StartListening(sim, {});
    ASSERT_NE(port, 0u);
    {
        Client phone(port);
        phone.Write("AT\rAT+CMGF=1\r");
        phone.ShutdownWrite();
        EXPECT_EQ(phone.ReadUntil("\r\nERROR\r\n"), "\r\nOK\r\n\r\nERROR\r\n");
        EXPECT_TRUE(phone.WaitClosed());
    }
    Client again(port);
    EXPECT_EQ(again.Command("AT\r"), "\r\nOK\r\n");
    EXPECT_EQ(sim.Stop(), 0);
}

TEST(PhoneSimProcess, DropAfterAnswersThenCloses) {
    SimProcess sim;
    unsigned port = StartListening(sim, {"--drop-after", "2"});
    ASSERT_NE(port, 0u);
    Client phone(port);
    EXPECT_EQ(phone.Command("AT\r"), "\r\nOK\r\n");
    EXPECT_EQ(phone.Command("AT\r"), "\r\nOK\r\n");
    EXPECT_TRUE(phone.WaitClosed());
    EXPECT_EQ(sim.Stop(), 0);
}

TEST(PhoneSimProcess, ByteAtATimeDeliversTheWholeResponse) {
    SimProcess sim;
    unsigned port = StartListening(sim, {"--byte-at-a-time", "--unsolicited", "RING"});
    ASSERT_NE(port, 0u);
    Client phone(port);
    EXPECT_EQ(phone.Command("AT+CPMS?\r"),
              "\r\nRING\r\n\r\n+CPMS: \"SM\",0,30,\"SM\",0,30,\"ME\",0,100\r\n\r\nOK\r\n");
    EXPECT_EQ(sim.Stop(), 0);
}

TEST(PhoneSimProcess, BaudPacesTheOutput) {
    SimProcess sim;
    // 96000 baud: 9600 bytes a second, so the 2000-byte flood takes about 0.2 s.
    unsigned port = StartListening(sim, {"--baud", "96000", "--no-line-end-flood", "AT+CMGL"});
    ASSERT_NE(port, 0u);
    Client phone(port);
    auto start = std::chrono::steady_clock::now();
    phone.Write("AT+CMGL=4\r");
    std::string flood = phone.ReadCount(2000);
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_EQ(flood.size(), 2000u);
    EXPECT_GE(seconds, 0.15);
    EXPECT_LT(seconds, 5.0);
    EXPECT_EQ(sim.Stop(), 0);
}

TEST(PhoneSimProcess, BaudPacesTheInputToo) {
    SimProcess sim;
    // 1000 baud: 100 bytes a second. Ten command bytes in and six result bytes out take about
    // 0.16 s, even though the command arrives in one write.
    unsigned port = StartListening(sim, {"--baud", "1000"});
    ASSERT_NE(port, 0u);
    Client phone(port);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(phone.Command("AT+CMGF=0\r"), "\r\nOK\r\n");
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_GE(seconds, 0.12);
    EXPECT_LT(seconds, 5.0);
    EXPECT_EQ(sim.Stop(), 0);
}

TEST(PhoneSimProcess, LogToStandardError) {
    SimProcess sim;
    unsigned port = StartListening(sim, {"--log", "-"});
    ASSERT_NE(port, 0u);
    {
        Client phone(port);
        EXPECT_EQ(phone.Command("AT+CSCS=\"GSM\"\r"), "\r\nOK\r\n");
    }
    EXPECT_EQ(sim.Stop(), 0);
    EXPECT_EQ(sim.Stderr(), "AT+CSCS=\"GSM\"\n");
}

// A client of the control socket: writes a line and reads the one-line answer.
std::string ControlSay(const std::string& path, const std::string& line) {
    int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    if (fd < 0 || connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        if (fd >= 0) close(fd);
        return "cannot connect";
    }
    std::string answer;
    if (write(fd, line.data(), line.size()) == static_cast<ssize_t>(line.size())) {
        Client reader(fd, true);
        answer = reader.ReadUntil("\n");
    } else {
        close(fd);
    }
    return answer;
}

TEST(PhoneSimProcess, InjectEveryAnnouncesArrivalsToAClientThatAskedForThem) {
    SimProcess sim;
    ASSERT_TRUE(sim.Start({"--pty", "--inject-every", "0.05"}));
    std::string path = sim.ReadLine();
    int fd = open(path.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(fd, 0) << path;
    termios tio{};
    ASSERT_EQ(tcgetattr(fd, &tio), 0);
    cfmakeraw(&tio);
    ASSERT_EQ(tcsetattr(fd, TCSANOW, &tio), 0);
    Client phone(fd, true);
    EXPECT_EQ(phone.Command("AT+CNMI=2,1,0,0,0\r"), "\r\nOK\r\n");
    const std::string cmti = "\r\n+CMTI: \"ME\",";
    std::string said = phone.ReadUntil(cmti);
    const std::size_t at = said.find(cmti);
    ASSERT_NE(at, std::string::npos) << said;
    if (said.find("\r\n", at + cmti.size()) == std::string::npos) said += phone.ReadUntil("\r\n");
    const unsigned index = static_cast<unsigned>(std::stoul(said.substr(at + cmti.size())));
    EXPECT_GE(index, 1u);
    // The indication names a stored message from the injecting sender, +4930555000.
    EXPECT_EQ(phone.Command("AT+CNMI=0,0\r").substr(0, 2), "\r\n");
    phone.Command("AT+CPMS=\"ME\"\r");
    std::string read = phone.Command("AT+CMGR=" + std::to_string(index) + "\r");
    EXPECT_NE(read.find("0A919403550500"), std::string::npos) << read;
    EXPECT_EQ(sim.Stop(), 0);
}

TEST(PhoneSimProcess, ControlSocketLinesArriveAndAreAnnounced) {
    const std::string control = TempPath("control.sock");
    SimProcess sim;
    unsigned port = StartListening(sim, {"--control", control});
    ASSERT_NE(port, 0u);
    {
        Client phone(port);
        ASSERT_TRUE(phone.ok());
        EXPECT_EQ(phone.Command("AT+CNMI=1,1\r"), "\r\nOK\r\n");
        EXPECT_EQ(ControlSay(control, "+4930111222:From the socket\n"), "stored ME 1\n");
        EXPECT_EQ(phone.ReadUntil("\r\n+CMTI: \"ME\",1\r\n"), "\r\n+CMTI: \"ME\",1\r\n");
        EXPECT_EQ(ControlSay(control, "bad line\n"), "error: expected NUMBER:TEXT\n");
        phone.Command("AT+CPMS=\"ME\"\r");
        std::string read = phone.Command("AT+CMGR=1\r");
        EXPECT_NE(read.find("0A919403112122"), std::string::npos) << read;
    }
    EXPECT_EQ(sim.Stop(), 0);
    EXPECT_NE(access(control.c_str(), F_OK), 0);  // removed at the end
}

TEST(PhoneSimProcess, AClientThatNeverAskedHearsNothingUnsolicited) {
    const std::string control = TempPath("control.sock");
    SimProcess sim;
    unsigned port = StartListening(sim, {"--control", control});
    ASSERT_NE(port, 0u);
    {
        Client phone(port);
        ASSERT_TRUE(phone.ok());
        EXPECT_EQ(phone.Command("AT\r"), "\r\nOK\r\n");
        EXPECT_EQ(ControlSay(control, "+4930111222:Unannounced\n"), "stored ME 1\n");
        // Anything said about it would come before this answer.
        EXPECT_EQ(phone.Command("AT\r"), "\r\nOK\r\n");
        EXPECT_EQ(phone.Command("AT+CPMS=\"ME\"\r"), "\r\n+CPMS: 1,100,0,30,1,100\r\n\r\nOK\r\n");
    }
    EXPECT_EQ(sim.Stop(), 0);
}

TEST(PhoneSimProcess, ControlPathThatIsNoSocketIsRefused) {
    const std::string taken = TempPath("plain.txt");
    { std::ofstream(taken) << "keep me\n"; }
    SimProcess sim;
    ASSERT_TRUE(sim.Start({"--listen", "127.0.0.1:0", "--control", taken}));
    EXPECT_EQ(sim.Wait(), 1);
    EXPECT_NE(sim.Stderr().find("exists and is no socket"), std::string::npos) << sim.Stderr();
    EXPECT_EQ(ReadFile(taken), "keep me\n");
    std::remove(taken.c_str());
}

}  // namespace
