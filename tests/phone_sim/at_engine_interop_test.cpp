// SPDX-License-Identifier: GPL-3.0-or-later
// The project's own AT engine and TCP transport against the simulator program: what the
// simulator answers is what the engine expects, round trip included.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "at/phone_commands.h"
#include "at/send_message.h"
#include "common/sms_message.h"
#include "phone_sim_process.h"
#include "phonelink/tcp_transport.h"

namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

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
    PhoneSimProcess sim(PhoneSimProcess::kTcp,
                        {"--sms", "SM:+4930111111:First", "--sms", "ME:+4930222222:Second"});
    ASSERT_TRUE(sim.Ok());
    {
        Engine engine(sim.Address());
        ASSERT_NE(engine.session(), nullptr);
        EXPECT_TRUE(AtPing(engine.session()));
        EXPECT_EQ(AtInit(engine.session()), 0u);

        Retrieved first;
        EXPECT_EQ(RetrieveAll(engine.session(), OnMemory, OnMessage, &first, nullptr), 0u);
        EXPECT_EQ(first.memories, (std::vector<std::string>{"SM", "ME"}));
        EXPECT_EQ(first.numbers, (std::vector<std::string>{"4930111111", "4930222222"}));
        FreeDeletionLists(&first.deletion);

        SmsMessage message;
        message.number = u"+4930333333";
        message.text = u"Round trip";
        EXPECT_TRUE(SendMessage(engine.session(), &message));
        EXPECT_EQ(engine.session()->lastError, 0u);

        Retrieved second;
        EXPECT_EQ(RetrieveAll(engine.session(), OnMemory, OnMessage, &second, nullptr), 0u);
        EXPECT_EQ(second.numbers,
                  (std::vector<std::string>{"4930111111", "4930222222", "4930333333"}));
        DeleteCollected(engine.session(), &second.deletion);
        FreeDeletionLists(&second.deletion);
    }
    std::string text = ReadFile(sim.StatePath());
    EXPECT_NE(text.find("# SM 0/30"), std::string::npos) << text;
    EXPECT_NE(text.find("# ME 0/100"), std::string::npos) << text;
    EXPECT_NE(text.find("SENT|1|+4930333333|-|ME@2|"), std::string::npos) << text;
    EXPECT_NE(text.find("|Round trip\n"), std::string::npos) << text;
    EXPECT_EQ(sim.Stop(), 0);
}

TEST(AtEngineInterop, FaultKnobsReachTheEngineAsTheirResultCodes) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--reject-v1", "--no-me", "--echo", "--unsolicited",
                                                "RING", "--error-on", "PDU:CMS:500", "--error-on",
                                                "AT+CMGD:CME:3", "--sms", "SM:+4930111111:First"});
    ASSERT_TRUE(sim.Ok());
    {
        Engine engine(sim.Address());
        ASSERT_NE(engine.session(), nullptr);
        EXPECT_EQ(AtInit(engine.session()), 0u);

        Retrieved retrieved;
        EXPECT_EQ(RetrieveAll(engine.session(), OnMemory, OnMessage, &retrieved, nullptr), 0u);
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
    std::string text = ReadFile(sim.LogPath());
    EXPECT_EQ(text.substr(0, 12), "ATE0V1\nATE0\n") << text;
    EXPECT_NE(text.find("AT+CPMS=\"ME\"\n"), std::string::npos) << text;
    EXPECT_NE(text.find("<ctrl-z>\n"), std::string::npos) << text;
    EXPECT_EQ(sim.Stop(), 0);
}

TEST(AtEngineInterop, FloodFillsTheResponseBuffer) {
    PhoneSimProcess sim(PhoneSimProcess::kTcp, {"--no-line-end-flood", "AT+CPMS"});
    ASSERT_TRUE(sim.Ok());
    {
        Engine engine(sim.Address());
        ASSERT_NE(engine.session(), nullptr);
        std::int32_t used = 0;
        std::int32_t total = 0;
        EXPECT_EQ(SelectMemory(engine.session(), "SM", &used, &total), kErrInvalidParameter);
    }
    EXPECT_EQ(sim.Stop(), 0);
}

}  // namespace
