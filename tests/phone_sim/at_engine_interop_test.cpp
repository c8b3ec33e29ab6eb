// The project's own AT engine and TCP transport against the simulator program: what the
// simulator answers is what the engine expects, round trip included.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "at/phone_commands.h"
#include "at/send_message.h"
#include "common/sms_message.h"
#include "phonelink/tcp_transport.h"

namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

std::string TempPath(const std::string& name) {
    static int counter = 0;
    return ::testing::TempDir() + "phone_sim_interop_" + std::to_string(getpid()) + "_" +
           std::to_string(++counter) + "_" + name;
}

// The simulator on an ephemeral port; stopped with SIGTERM at the end.
class Simulator {
  public:
    explicit Simulator(std::vector<std::string> args) {
        args.insert(args.begin(), {PHONE_SIM_PATH, "--listen", "127.0.0.1:0"});
        int fds[2];
        if (pipe(fds) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            dup2(fds[1], STDOUT_FILENO);
            close(fds[0]);
            close(fds[1]);
            std::vector<char*> argv;
            for (std::string& a : args) argv.push_back(a.data());
            argv.push_back(nullptr);
            execv(argv[0], argv.data());
            _exit(127);
        }
        close(fds[1]);
        out_ = fds[0];
        std::string line;
        char c = 0;
        pollfd p{out_, POLLIN, 0};
        while (poll(&p, 1, 10000) == 1 && read(out_, &c, 1) == 1 && c != '\n') line.push_back(c);
        const std::string prefix = "listening ";
        if (line.compare(0, prefix.size(), prefix) == 0) address_ = line.substr(prefix.size());
    }
    ~Simulator() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        if (out_ >= 0) close(out_);
    }
    const std::string& address() const { return address_; }

    int Stop() {
        kill(pid_, SIGTERM);
        int status = 0;
        pid_t done = waitpid(pid_, &status, 0);
        pid_ = -1;
        return done > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    pid_t pid_ = -1;
    int out_ = -1;
    std::string address_;
};

// A channel and AT session connected to the simulator.
class Engine {
  public:
    explicit Engine(const std::string& address) {
        if (CreateTcpTransport(&channel_) != 0) return;
        if (ChannelOpen(channel_, kOpenModeConnect, address.c_str()) != 0) return;
        CreatePhoneSession(channel_, &session_);
    }
    ~Engine() {
        FreePhoneSession(session_);
        ChannelClose(channel_);
    }
    PhoneSession* session() const { return session_; }

  private:
    PhoneChannel* channel_ = nullptr;
    PhoneSession* session_ = nullptr;
};

struct Retrieved {
    std::vector<std::string> memories;
    std::vector<std::string> numbers;
    std::vector<std::uint32_t> indices;
    DeletionLists deletion{};
};

void OnMemory(const char16_t* memory, void* context) {
    auto* r = static_cast<Retrieved*>(context);
    r->memories.push_back(memory[0] == u'S' ? "SM" : "ME");
    NoteListedMemory(&r->deletion, memory);
}

TransferError OnMessage(PduRecord* record, void* context) {
    auto* r = static_cast<Retrieved*>(context);
    r->numbers.emplace_back(record->addressDigits);
    r->indices.push_back(record->storageIndex);
    return CollectForDeletion(&r->deletion, record->storageIndex);
}

TEST(AtEngineInterop, SetUpRetrieveSendDeliverAndDelete) {
    std::string state = TempPath("state.txt");
    Simulator sim(
        {"--state", state, "--sms", "SM:+4930111111:First", "--sms", "ME:+4930222222:Second"});
    ASSERT_FALSE(sim.address().empty());
    {
        Engine engine(sim.address());
        ASSERT_NE(engine.session(), nullptr);
        EXPECT_TRUE(AtPing(engine.session()));
        EXPECT_EQ(AtInit(engine.session()), 0u);

        Retrieved first;
        EXPECT_EQ(RetrieveAll(engine.session(), OnMemory, OnMessage, &first), 0u);
        EXPECT_EQ(first.memories, (std::vector<std::string>{"SM", "ME"}));
        EXPECT_EQ(first.numbers, (std::vector<std::string>{"4930111111", "4930222222"}));
        FreeDeletionLists(&first.deletion);

        SmsMessage message;
        message.number = u"+4930333333";
        message.text = u"Round trip";
        EXPECT_TRUE(SendMessage(engine.session(), &message));
        EXPECT_EQ(engine.session()->lastError, 0u);

        Retrieved second;
        EXPECT_EQ(RetrieveAll(engine.session(), OnMemory, OnMessage, &second), 0u);
        EXPECT_EQ(second.numbers,
                  (std::vector<std::string>{"4930111111", "4930222222", "4930333333"}));
        DeleteCollected(engine.session(), &second.deletion);
        FreeDeletionLists(&second.deletion);
    }
    std::string text = ReadFile(state);
    EXPECT_NE(text.find("# SM 0/30"), std::string::npos) << text;
    EXPECT_NE(text.find("# ME 0/100"), std::string::npos) << text;
    EXPECT_NE(text.find("SENT|1|+4930333333|-|ME@2|"), std::string::npos) << text;
    EXPECT_NE(text.find("|Round trip\n"), std::string::npos) << text;
    EXPECT_EQ(sim.Stop(), 0);
    std::remove(state.c_str());
    std::remove((state + ".tmp").c_str());
}

TEST(AtEngineInterop, FaultKnobsReachTheEngineAsTheirResultCodes) {
    std::string log = TempPath("log.txt");
    Simulator sim({"--log", log, "--reject-v1", "--no-me", "--echo", "--unsolicited", "RING",
                   "--error-on", "PDU:CMS:500", "--error-on", "AT+CMGD:CME:3", "--sms",
                   "SM:+4930111111:First"});
    ASSERT_FALSE(sim.address().empty());
    {
        Engine engine(sim.address());
        ASSERT_NE(engine.session(), nullptr);
        EXPECT_EQ(AtInit(engine.session()), 0u);

        Retrieved retrieved;
        EXPECT_EQ(RetrieveAll(engine.session(), OnMemory, OnMessage, &retrieved), 0u);
        EXPECT_EQ(retrieved.numbers, (std::vector<std::string>{"4930111111"}));
        FreeDeletionLists(&retrieved.deletion);

        EXPECT_EQ(DeleteMessage(engine.session(), 1), kErrCmeError);
        EXPECT_EQ(DeleteMessage(engine.session(), 1), kErrCmeError);

        SmsMessage message;
        message.number = u"+4930333333";
        message.text = u"Refused";
        EXPECT_FALSE(SendMessage(engine.session(), &message));
        EXPECT_EQ(engine.session()->lastError, kErrCmsError);
    }
    std::string text = ReadFile(log);
    EXPECT_EQ(text.substr(0, 12), "ATE0V1\nATE0\n") << text;
    EXPECT_NE(text.find("AT+CPMS=\"ME\"\n"), std::string::npos) << text;
    EXPECT_NE(text.find("<ctrl-z>\n"), std::string::npos) << text;
    EXPECT_EQ(sim.Stop(), 0);
    std::remove(log.c_str());
}

TEST(AtEngineInterop, FloodFillsTheResponseBuffer) {
    Simulator sim({"--no-line-end-flood", "AT+CPMS"});
    ASSERT_FALSE(sim.address().empty());
    {
        Engine engine(sim.address());
        ASSERT_NE(engine.session(), nullptr);
        std::int32_t used = 0;
        std::int32_t total = 0;
        EXPECT_EQ(SelectMemory(engine.session(), "SM", &used, &total), kErrInvalidParameter);
    }
    EXPECT_EQ(sim.Stop(), 0);
}

}  // namespace
