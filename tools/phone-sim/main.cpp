// SPDX-License-Identifier: GPL-3.0-or-later
// velkan-phone-sim: the simulated phone on a TCP port or a pseudo-terminal.
//
// One poll() loop drives everything: the listening socket (one connection at a time), the
// connection or the pseudo-terminal's master, the control socket and its clients, the clock of
// --inject-every, and a self-pipe through which SIGTERM/SIGINT end the loop. Input is queued and
// fed to the model, output is queued and written; with --baud both are paced like a serial line
// (see LinePacer).

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "arrivals.h"
#include "line_pacer.h"
#include "message_files.h"
#include "phone_model.h"
#include "sim_options.h"

namespace {

using phone_sim::LinePacer;
using phone_sim::PhoneModel;
using phone_sim::SimOptions;
using Clock = std::chrono::steady_clock;

int g_signalPipe[2] = {-1, -1};

void OnSignal(int) {
    int saved = errno;
    char byte = 1;
    [[maybe_unused]] ssize_t n = write(g_signalPipe[1], &byte, 1);
    errno = saved;
}

bool SetNonBlocking(int fd) {
    int flags = fcntl(fd, F_GETFL);
    return flags >= 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0;
}

class LogFile {
  public:
    bool Open(const std::string& path) {
        if (path.empty()) return true;
        if (path == "-") {
            file_ = stderr;
            return true;
        }
        file_ = std::fopen(path.c_str(), "a");
        owned_ = file_ != nullptr;
        return file_ != nullptr;
    }
    ~LogFile() {
        if (owned_) std::fclose(file_);
    }
    void Write(std::string_view line) {
        if (file_ == nullptr) return;
        std::fwrite(line.data(), 1, line.size(), file_);
        std::fputc('\n', file_);
        std::fflush(file_);
    }

  private:
    std::FILE* file_ = nullptr;
    bool owned_ = false;
};

// Replaces the state file in one step, so that a reader never sees half of it.
void WriteState(const std::string& path, const PhoneModel& model) {
    std::string temporary = path + ".tmp";
    std::FILE* file = std::fopen(temporary.c_str(), "w");
    if (file == nullptr) {
        std::fprintf(stderr, "velkan-phone-sim: cannot write %s: %s\n", temporary.c_str(),
                     std::strerror(errno));
        return;
    }
    std::string text = phone_sim::FormatState(model);
    bool ok = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    ok = std::fclose(file) == 0 && ok;
    if (!ok || std::rename(temporary.c_str(), path.c_str()) != 0) {
        std::fprintf(stderr, "velkan-phone-sim: cannot write %s: %s\n", path.c_str(),
                     std::strerror(errno));
    }
}

int OpenListener(const SimOptions& options, std::string* address) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE;
    addrinfo* found = nullptr;
    std::string port = std::to_string(options.port);
    int rc = getaddrinfo(options.host.c_str(), port.c_str(), &hints, &found);
    if (rc != 0) {
        std::fprintf(stderr, "velkan-phone-sim: %s: %s\n", options.host.c_str(), gai_strerror(rc));
        return -1;
    }
    int fd = -1;
    int lastError = 0;
    for (addrinfo* a = found; a != nullptr && fd < 0; a = a->ai_next) {
        fd = socket(a->ai_family, a->ai_socktype | SOCK_CLOEXEC, a->ai_protocol);
        if (fd < 0) {
            lastError = errno;
            continue;
        }
        int on = 1;
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        if (bind(fd, a->ai_addr, a->ai_addrlen) != 0 || listen(fd, 4) != 0) {
            lastError = errno;
            close(fd);
            fd = -1;
        }
    }
    freeaddrinfo(found);
    if (fd < 0) {
        std::fprintf(stderr, "velkan-phone-sim: cannot listen on %s:%u: %s\n", options.host.c_str(),
                     options.port, std::strerror(lastError));
        return -1;
    }
    sockaddr_storage bound{};
    socklen_t length = sizeof bound;
    getsockname(fd, reinterpret_cast<sockaddr*>(&bound), &length);
    char host[INET6_ADDRSTRLEN] = "";
    unsigned port_number = 0;
    if (bound.ss_family == AF_INET6) {
        auto* in6 = reinterpret_cast<sockaddr_in6*>(&bound);
        inet_ntop(AF_INET6, &in6->sin6_addr, host, sizeof host);
        port_number = ntohs(in6->sin6_port);
        *address = "[" + std::string(host) + "]:" + std::to_string(port_number);
    } else {
        auto* in4 = reinterpret_cast<sockaddr_in*>(&bound);
        inet_ntop(AF_INET, &in4->sin_addr, host, sizeof host);
        port_number = ntohs(in4->sin_port);
        *address = std::string(host) + ":" + std::to_string(port_number);
    }
    SetNonBlocking(fd);
    return fd;
}

// The master side of a new pseudo-terminal; the slave is kept open (in raw mode) so that the
// master does not see a hang-up while no client has the device open.
int OpenPty(std::string* path, int* slave) {
    int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
        std::fprintf(stderr, "velkan-phone-sim: no pseudo-terminal: %s\n", std::strerror(errno));
        if (master >= 0) close(master);
        return -1;
    }
    const char* name = ptsname(master);
    if (name == nullptr) {
        close(master);
        return -1;
    }
    *path = name;
    *slave = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios tio{};
    if (*slave < 0 || tcgetattr(*slave, &tio) != 0) {
        std::fprintf(stderr, "velkan-phone-sim: %s: %s\n", name, std::strerror(errno));
        close(master);
        if (*slave >= 0) close(*slave);
        return -1;
    }
    cfmakeraw(&tio);
    tcsetattr(*slave, TCSANOW, &tio);
    SetNonBlocking(master);
    return master;
}

// The Unix socket of --control. A socket left at the path by an earlier run is replaced; any
// other file there is refused.
int OpenControl(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        std::fprintf(stderr, "velkan-phone-sim: --control %s: path too long\n", path.c_str());
        return -1;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    struct stat existing {};
    if (lstat(path.c_str(), &existing) == 0) {
        if (!S_ISSOCK(existing.st_mode)) {
            std::fprintf(stderr, "velkan-phone-sim: --control %s: exists and is no socket\n",
                         path.c_str());
            return -1;
        }
        unlink(path.c_str());
    }
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(fd, 4) != 0) {
        std::fprintf(stderr, "velkan-phone-sim: --control %s: %s\n", path.c_str(),
                     std::strerror(errno));
        if (fd >= 0) close(fd);
        return -1;
    }
    return fd;
}

// A client of the control socket: lines in, one answer line out for each.
struct ControlClient {
    int fd = -1;
    std::string input;
    std::string output;
    bool eof = false;
};

struct Connection {
    int fd = -1;
    std::string input;     // received, not yet fed to the model
    std::string output;    // answered, not yet written
    bool eof = false;      // the peer has stopped sending; what it sent is still answered
    bool closing = false;  // close once the output is written
};

// Writes what the pacing and the descriptor allow. False when the connection failed.
bool WriteOutput(Connection* c, LinePacer* pacer, bool byteAtATime) {
    while (!c->output.empty()) {
        std::size_t allowed = std::min(pacer->Due(Clock::now()), c->output.size());
        if (allowed == 0) return true;
        if (byteAtATime) allowed = 1;
        ssize_t n = write(c->fd, c->output.data(), allowed);
        if (n < 0) {
            if (errno == EINTR) continue;
            return errno == EAGAIN || errno == EWOULDBLOCK;
        }
        pacer->Spend(static_cast<std::size_t>(n));
        c->output.erase(0, static_cast<std::size_t>(n));
    }
    return true;
}

void FeedInput(Connection* c, PhoneModel* model, LinePacer* in, LinePacer* out) {
    while (!c->input.empty() && !c->closing) {
        std::size_t allowed = std::min(in->Due(Clock::now()), c->input.size());
        if (allowed == 0) return;
        std::size_t taken = model->Feed(std::string_view(c->input).substr(0, allowed));
        in->Spend(taken);
        c->input.erase(0, taken);
        std::string answer = model->TakeOutput();
        if (!answer.empty() && c->output.empty()) out->Queued(Clock::now());
        c->output += answer;
        if (model->drop_requested()) {
            c->closing = true;
            c->input.clear();
        }
    }
}

timespec ToTimespec(LinePacer::Clock::duration wait) {
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(wait).count();
    return timespec{static_cast<time_t>(ns / 1000000000), static_cast<long>(ns % 1000000000)};
}

}  // namespace

int main(int argc, char** argv) {
    SimOptions options;
    std::string error;
    if (!phone_sim::ParseOptions(argc, argv, &options, &error)) {
        std::fprintf(stderr, "velkan-phone-sim: %s (see --help)\n", error.c_str());
        return 2;
    }
    if (options.help) {
        std::fputs(phone_sim::HelpText(), stdout);
        return 0;
    }

    PhoneModel model(options.knobs);
    for (const std::string& path : options.messageFiles) {
        if (!phone_sim::LoadMessagesFile(path, &model, &error)) {
            std::fprintf(stderr, "velkan-phone-sim: %s\n", error.c_str());
            return 2;
        }
    }
    for (const std::string& quick : options.quickMessages) {
        if (!phone_sim::AddQuickMessage(quick, &model, &error)) {
            std::fprintf(stderr, "velkan-phone-sim: --sms %s: %s\n", quick.c_str(), error.c_str());
            return 2;
        }
    }
    if (options.generate != 0 && !phone_sim::GenerateMessages(options.generate, &model, &error)) {
        std::fprintf(stderr, "velkan-phone-sim: --generate: %s\n", error.c_str());
        return 2;
    }

    LogFile log;
    if (!log.Open(options.logPath)) {
        std::fprintf(stderr, "velkan-phone-sim: cannot open log %s: %s\n", options.logPath.c_str(),
                     std::strerror(errno));
        return 2;
    }
    model.SetLogSink([&log](std::string_view line) { log.Write(line); });
    if (!options.statePath.empty()) {
        model.SetChangeSink([&] { WriteState(options.statePath, model); });
        WriteState(options.statePath, model);
    }

    if (pipe2(g_signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        std::perror("velkan-phone-sim: pipe");
        return 1;
    }
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    signal(SIGPIPE, SIG_IGN);

    int listener = -1;
    int ptySlave = -1;
    Connection conn;
    std::string first;
    int control = -1;
    if (!options.controlPath.empty()) {
        control = OpenControl(options.controlPath);
        if (control < 0) return 1;
    }
    if (options.pty) {
        conn.fd = OpenPty(&first, &ptySlave);
        if (conn.fd < 0) return 1;
    } else {
        listener = OpenListener(options, &first);
        if (listener < 0) return 1;
        first = "listening " + first;
    }
    std::printf("%s\n", first.c_str());
    std::fflush(stdout);

    double rate = options.baud / 10.0;
    LinePacer inPacer(rate);
    LinePacer outPacer(rate);

    // What the phone says about an arrival goes to the client on the line, if there is one.
    auto passIndications = [&] {
        std::string said = model.TakeOutput();
        if (said.empty() || conn.fd < 0 || conn.closing) return;
        if (conn.output.empty()) outPacer.Queued(Clock::now());
        conn.output += said;
    };
    std::vector<ControlClient> controlClients;
    const auto injectEvery = std::chrono::milliseconds(options.injectEveryMs);
    auto nextInjection = Clock::now() + injectEvery;
    unsigned injected = 0;

    for (;;) {
        std::vector<pollfd> fds;
        fds.push_back({g_signalPipe[0], POLLIN, 0});
        int listenerSlot = -1;
        int connSlot = -1;
        int controlSlot = -1;
        if (listener >= 0 && conn.fd < 0) {
            listenerSlot = static_cast<int>(fds.size());
            fds.push_back({listener, POLLIN, 0});
        }
        if (control >= 0) {
            controlSlot = static_cast<int>(fds.size());
            fds.push_back({control, POLLIN, 0});
        }
        const std::size_t firstClientSlot = fds.size();
        for (const ControlClient& client : controlClients) {
            short events = client.eof ? 0 : POLLIN;
            if (!client.output.empty()) events |= POLLOUT;
            fds.push_back({client.fd, events, 0});
        }
        // Paced bytes are waited for to the microsecond: at 19200 baud a byte takes 0.52 ms,
        // so a whole-millisecond time-out would slow the line down after every pause.
        std::optional<LinePacer::Clock::duration> timeout;
        if (options.injectEveryMs != 0) {
            const auto now = Clock::now();
            timeout =
                nextInjection > now ? nextInjection - now : LinePacer::Clock::duration::zero();
        }
        if (conn.fd >= 0) {
            // Reading stops while a drop is pending, and while a paced input queue is long.
            short events = (conn.closing || conn.eof || conn.input.size() > 65536) ? 0 : POLLIN;
            const auto now = Clock::now();
            if (!conn.output.empty()) {
                const auto outWait = outPacer.Wait(now);
                if (outWait == LinePacer::Clock::duration::zero()) {
                    events |= POLLOUT;
                } else {
                    timeout = timeout ? std::min(*timeout, outWait) : outWait;
                }
            }
            if (!conn.input.empty() && !conn.closing) {
                const auto inWait = inPacer.Wait(now);
                timeout = timeout ? std::min(*timeout, inWait) : inWait;
            }
            connSlot = static_cast<int>(fds.size());
            fds.push_back({conn.fd, events, 0});
        }
        const timespec wait = timeout ? ToTimespec(*timeout) : timespec{};
        if (ppoll(fds.data(), fds.size(), timeout ? &wait : nullptr, nullptr) < 0) {
            if (errno == EINTR) continue;
            std::perror("velkan-phone-sim: poll");
            return 1;
        }
        if (fds[0].revents != 0) break;  // SIGTERM or SIGINT

        if (options.injectEveryMs != 0 && Clock::now() >= nextInjection) {
            // A loop held up for longer than the interval does not catch up in a burst.
            nextInjection = std::max(nextInjection + injectEvery, Clock::now() + injectEvery);
            std::string error;
            if (!phone_sim::ReceiveInjected(++injected, &model, &error)) {
                std::fprintf(stderr, "velkan-phone-sim: --inject-every: %s\n", error.c_str());
            }
            passIndications();
        }
        for (std::size_t i = 0; i < controlClients.size(); ++i) {
            ControlClient& client = controlClients[i];
            const short revents = fds[firstClientSlot + i].revents;
            if ((revents & (POLLIN | POLLHUP | POLLERR)) != 0 && !client.eof) {
                char buffer[1024];
                ssize_t n = read(client.fd, buffer, sizeof buffer);
                if (n > 0) {
                    client.input.append(buffer, static_cast<std::size_t>(n));
                } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
                    client.eof = true;
                }
                for (std::size_t end; (end = client.input.find('\n')) != std::string::npos;) {
                    client.output += phone_sim::ControlLine(
                        std::string_view(client.input).substr(0, end), &model);
                    client.output += '\n';
                    client.input.erase(0, end + 1);
                    passIndications();
                }
            }
            if (!client.output.empty()) {
                ssize_t n = write(client.fd, client.output.data(), client.output.size());
                if (n > 0) {
                    client.output.erase(0, static_cast<std::size_t>(n));
                } else if (n < 0 && errno != EAGAIN && errno != EINTR) {
                    client.output.clear();
                    client.eof = true;
                }
            }
        }
        for (auto it = controlClients.begin(); it != controlClients.end();) {
            if (it->eof && it->output.empty()) {
                close(it->fd);
                it = controlClients.erase(it);
            } else {
                ++it;
            }
        }
        if (controlSlot >= 0 && (fds[controlSlot].revents & POLLIN) != 0) {
            int fd = accept4(control, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            if (fd >= 0) controlClients.push_back(ControlClient{fd, {}, {}, false});
        }

        if (listenerSlot >= 0 && (fds[listenerSlot].revents & POLLIN) != 0) {
            int fd = accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            if (fd >= 0) {
                int on = 1;
                setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
                conn = Connection{};
                conn.fd = fd;
                model.Connect();
            }
            continue;
        }
        if (conn.fd < 0) continue;

        bool failed = false;
        bool reading = !conn.closing && !conn.eof;
        if (connSlot >= 0 && !reading && (fds[connSlot].revents & (POLLHUP | POLLERR)) != 0) {
            failed = true;  // the peer is gone; what is left to write cannot reach it
        }
        if (connSlot >= 0 && reading &&
            (fds[connSlot].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            char buffer[4096];
            ssize_t n = read(conn.fd, buffer, sizeof buffer);
            if (n > 0) {
                // A client may claim the device for itself (TIOCEXCL, as gammu does). A serial
                // port drops the claim when its user closes it; this device never closes, as
                // the simulator holds it open, so the claim would lock out the next client.
                // The claim is dropped once the client talks.
                if (ptySlave >= 0) ioctl(ptySlave, TIOCNXCL);
                if (conn.input.empty()) inPacer.Queued(Clock::now());
                conn.input.append(buffer, static_cast<std::size_t>(n));
            } else if (n == 0) {
                conn.eof = true;
            } else if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
                failed = true;
            }
        }
        if (!failed) {
            FeedInput(&conn, &model, &inPacer, &outPacer);
            if (conn.eof && conn.input.empty()) conn.closing = true;
            failed = !WriteOutput(&conn, &outPacer, options.byteAtATime);
        }
        if (failed || (conn.closing && conn.output.empty())) {
            close(conn.fd);
            conn = Connection{};
            if (options.pty) {
                // The device goes away with its master; the process stays until it is stopped.
                close(ptySlave);
                ptySlave = -1;
            }
        }
    }

    if (conn.fd >= 0) close(conn.fd);
    if (ptySlave >= 0) close(ptySlave);
    if (listener >= 0) close(listener);
    for (const ControlClient& client : controlClients) close(client.fd);
    if (control >= 0) {
        close(control);
        unlink(options.controlPath.c_str());
    }
    return 0;
}
