// SPDX-License-Identifier: GPL-3.0-or-later
// A whole Send && Get against the simulated phone: 50 Outbox messages sent, 200 messages listed
// from the phone memory and stored.
//
//   build/default/bench/velkan_transfer_bench
//
// Paced at 19200 baud (1920 bytes a second each way, like a serial cable) over TCP and over a
// pseudo-terminal, and unpaced over TCP. For the paced runs the counters put the wall time next
// to the floor the protocol itself sets:
//   floor_s  = bytes on the wire / 1920 + commands x 50 ms (the drain before every command waits
//              for 50 ms of silence)
//   ratio    = wall time / floor_s (1.00 is the line's limit)
// The simulated line passes each byte one byte-time after it starts, back to back while bytes
// wait, and saves nothing up while idle, so no run can beat the floor.
// The bytes are counted by a relay between the session and the phone (TCP); the pseudo-terminal
// carries the same conversation, so its floor uses the same count. cpu_s is this process's CPU
// time for the run, peak_rss_mb the process's peak resident memory so far.
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "common/text_convert.h"
#include "phone_sim_process.h"
#include "session/notification_queue.h"
#include "session/transfer_session.h"
#include "settings/settings_key.h"
#include "settings/transfer_settings_reader.h"
#include "store/message_store.h"
#include "store/object_store.h"

namespace {

constexpr int kOutbox = 50;
constexpr int kOnPhone = 200;
constexpr double kBytesPerSecond = 1920.0;
constexpr double kDrainSeconds = 0.050;

// Forwards one TCP connection to the phone and counts the bytes each way.
class CountingRelay {
  public:
    explicit CountingRelay(const std::string& target) : target_(target) {
        listen_ = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bind(listen_, reinterpret_cast<sockaddr*>(&a), sizeof a);
        listen(listen_, 1);
        socklen_t len = sizeof a;
        getsockname(listen_, reinterpret_cast<sockaddr*>(&a), &len);
        port_ = ntohs(a.sin_port);
        thread_ = std::thread([this] { Run(); });
    }
    ~CountingRelay() {
        stop_ = true;
        thread_.join();
        close(listen_);
    }
    std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }
    std::uint64_t Bytes() const { return toPhone_ + fromPhone_; }

  private:
    static int Connect(const std::string& address) {
        const std::size_t colon = address.rfind(':');
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        a.sin_port = htons(static_cast<std::uint16_t>(std::atoi(address.c_str() + colon + 1)));
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        if (connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
            close(fd);
            return -1;
        }
        return fd;
    }
    void Run() {
        pollfd p{listen_, POLLIN, 0};
        while (!stop_ && poll(&p, 1, 50) == 0) {
        }
        if (stop_) return;
        const int client = accept(listen_, nullptr, nullptr);
        const int phone = Connect(target_);
        if (client < 0 || phone < 0) return;
        char buffer[4096];
        bool open = true;
        while (open && !stop_) {
            pollfd fds[2] = {{client, POLLIN, 0}, {phone, POLLIN, 0}};
            if (poll(fds, 2, 50) <= 0) continue;
            for (int i = 0; i < 2; ++i) {
                if (fds[i].revents == 0) continue;
                const ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
                if (n <= 0) {
                    open = false;
                    break;
                }
                (i == 0 ? toPhone_ : fromPhone_) += static_cast<std::uint64_t>(n);
                if (write(fds[1 - i].fd, buffer, static_cast<std::size_t>(n)) != n) open = false;
            }
        }
        close(client);
        close(phone);
    }

    std::string target_;
    int listen_ = -1;
    int port_ = 0;
    std::thread thread_;
    std::atomic<bool> stop_{false};
    std::atomic<std::uint64_t> toPhone_{0};
    std::atomic<std::uint64_t> fromPhone_{0};
};

double CpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

double PeakRssMb() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_maxrss) / 1024.0;
}

// A fresh settings file and message store of its own, with the Outbox filled.
class BenchHome {
  public:
    // `stored`: messages already in the Inbox, oldest first, before the Outbox's.
    explicit BenchHome(int stored = 0) {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "velkan-transfer-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        dir_ = pattern;
        setenv("XDG_CONFIG_HOME", (dir_ + "/config").c_str(), 1);
        SetStoreDataDirectory(dir_ + "/data");
        MessageDatabase db;
        if (!OpenMessageStore(db)) std::abort();
        if (stored > 0) {
            MessageStoreBatch batch(db);
            for (int i = 0; i < stored; ++i) {
                SmsMessage m;
                m.folder = kFolderInbox;
                m.time = 126'000'000'000'000'000ull + static_cast<FileTime>(i) * 370'000'000ull;
                m.number = u"+491701234567";
                m.text = u"An old message, number " + Utf8ToUtf16(std::to_string(i)) + u".";
                if (!WriteMessage(db, m)) std::abort();
            }
            if (!batch.Commit()) std::abort();
        }
        for (int i = 0; i < kOutbox; ++i) {
            SmsMessage m;
            m.folder = kFolderOutbox;
            m.number = u"+4917012345" + Utf8ToUtf16(std::to_string(100 + i));
            m.text = u"Outbox message " + Utf8ToUtf16(std::to_string(i)) +
                     u": see you at the station at half past seven.";
            if (!WriteMessage(db, m)) std::abort();
        }
    }
    ~BenchHome() {
        SetStoreDataDirectory("");
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    void Connect(const std::string& commPort, const std::string& tcp) {
        RegistryKey key;
        if (!OpenSettings(key)) std::abort();
        SetCommPort(key, Utf8ToUtf16(commPort));
        SetTcpAddress(key, Utf8ToUtf16(tcp));
    }

  private:
    std::string dir_;
};

// Runs one Send && Get; false if it did not succeed.
bool RunSendAndGet() {
    TransferSession session;
    NotificationQueue queue;
    TransferSettings settings;
    if (!ReadTransferSettings(&settings)) return false;
    if (!session.Start(&queue, kNotifyThreadEnded, &settings)) return false;
    for (;;) {
        auto n = queue.Take(std::chrono::minutes(5));
        if (!n || n->message == kNotifyThreadEnded) break;
    }
    session.Wait();
    return session.Result() == kErrNone;
}

// Times one Send && Get (the benchmark's clock runs only meanwhile): its wall time and this
// process's CPU time in seconds. False, with the benchmark marked failed, if it did not succeed.
bool MeasureSendAndGet(benchmark::State& state, double* wall, double* cpu) {
    state.ResumeTiming();
    const auto start = std::chrono::steady_clock::now();
    const double cpu0 = CpuSeconds();
    const bool ok = RunSendAndGet();
    *cpu = CpuSeconds() - cpu0;
    *wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.PauseTiming();
    if (!ok) state.SkipWithError("the transfer failed");
    return ok;
}

std::vector<std::string> SimArgs(bool paced) {
    std::vector<std::string> args = {"--no-deliver-sent", "--generate", std::to_string(kOnPhone)};
    if (paced) args.insert(args.end(), {"--baud", "19200"});
    return args;
}

void Report(benchmark::State& state, bool paced, double wall, double cpu, std::uint64_t bytes,
            std::size_t commands) {
    state.counters["wall_s"] = wall;
    state.counters["cpu_s"] = cpu;
    state.counters["commands"] = static_cast<double>(commands);
    state.counters["wire_bytes"] = static_cast<double>(bytes);
    // An unpaced line has no floor but the drains; without a byte count (the pseudo-terminal
    // run on its own) there is nothing to compare.
    if (!paced) {
        state.counters["drains_s"] = static_cast<double>(commands) * kDrainSeconds;
    } else if (bytes != 0) {
        const double floor = static_cast<double>(bytes) / kBytesPerSecond +
                             static_cast<double>(commands) * kDrainSeconds;
        state.counters["floor_s"] = floor;
        state.counters["ratio"] = wall / floor;
    }
    state.counters["peak_rss_mb"] = PeakRssMb();
    state.counters["messages_per_s"] = (kOutbox + kOnPhone) / wall;
}

std::uint64_t g_pacedBytes = 0;  // the paced TCP run's count, for the pseudo-terminal's floor

void BM_SendAndGetOverTcp(benchmark::State& state) {
    const bool paced = state.range(0) != 0;
    for (auto _ : state) {
        state.PauseTiming();
        BenchHome home;
        PhoneSimProcess sim(PhoneSimProcess::kTcp, SimArgs(paced));
        if (!sim.Ok()) {
            state.SkipWithError("the simulated phone did not start");
            return;
        }
        CountingRelay relay(sim.Address());
        home.Connect("TCP", relay.Address());

        double wall = 0, cpu = 0;
        if (!MeasureSendAndGet(state, &wall, &cpu)) return;
        if (paced) g_pacedBytes = relay.Bytes();
        Report(state, paced, wall, cpu, relay.Bytes(), sim.Log().size());
        state.ResumeTiming();
    }
}
BENCHMARK(BM_SendAndGetOverTcp)
    ->Arg(1)
    ->Arg(0)
    ->ArgName("paced")
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

void BM_SendAndGetOverAPseudoTerminal(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        BenchHome home;
        PhoneSimProcess sim(PhoneSimProcess::kPty, SimArgs(true));
        if (!sim.Ok()) {
            state.SkipWithError("the simulated phone did not start");
            return;
        }
        home.Connect(sim.Address(), "localhost:4000");

        double wall = 0, cpu = 0;
        if (!MeasureSendAndGet(state, &wall, &cpu)) return;
        Report(state, true, wall, cpu, g_pacedBytes, sim.Log().size());
        state.ResumeTiming();
    }
}
BENCHMARK(BM_SendAndGetOverAPseudoTerminal)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

// Unpaced over TCP with 100,000 older messages in the store: the same run should take about
// as long as with an empty store, since each step of it looks up what it needs in an index.
void BM_SendAndGetWithAFullStore(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        BenchHome home(static_cast<int>(state.range(0)));
        PhoneSimProcess sim(PhoneSimProcess::kTcp, SimArgs(false));
        if (!sim.Ok()) {
            state.SkipWithError("the simulated phone did not start");
            return;
        }
        home.Connect("TCP", sim.Address());

        double wall = 0, cpu = 0;
        if (!MeasureSendAndGet(state, &wall, &cpu)) return;
        Report(state, false, wall, cpu, 0, sim.Log().size());
        state.ResumeTiming();
    }
}
BENCHMARK(BM_SendAndGetWithAFullStore)
    ->Arg(100000)
    ->ArgName("stored")
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
