// SPDX-License-Identifier: GPL-3.0-or-later
// Reading a response allocates nothing: the session's one response buffer takes every read, lines
// are cut in place, final results are matched in place, and a listing decodes every message into
// the one record it allocated before the command. Every heap allocation of this thread is counted
// across the commands (allocation_counter.h), so a listing of 30 messages must cost what a
// listing of one costs.
//
// The scripted phone of the other tests keeps its own books in strings and vectors, which would
// be counted too; the phone here answers from responses made before counting starts and hands
// them out a few bytes per read, so that every count is the engine's alone.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "allocation_counter.h"
#include "at/at_exchange.h"
#include "at/phone_commands.h"
#include "at/send_message.h"
#include "fake_clock.h"
#include "pdu/gsm_alphabet.h"
#include "pdu/submit.h"
#include "phonelink/tcp_transport.h"
#include "tcp_test_listener.h"

namespace {

const std::string kOk = "\r\nOK\r\n";

// One command and its answer. A null command stands for any command (the PDU of a send).
struct Answer {
    const char* command;
    const std::string* response;
};

// A phone that allocates nothing while it runs.
struct QuietPhone {
    Transport transport;  // first: the channel's transport pointer is the phone
    const Answer* answers = nullptr;
    std::size_t answerCount = 0;
    std::size_t next = 0;
    const std::string* pending = nullptr;  // the answer being handed out
    std::size_t position = 0;
    std::uint32_t chunk = 1;  // bytes per read at most
    std::size_t unexpected = 0;

    QuietPhone() {
        std::memset(&transport, 0, sizeof transport);
        transport.read = &Read;
        transport.write = &Write;
        transport.open = &Open;
        transport.close = &Close;
        transport.handle = 100;
    }

    void Script(const Answer* list, std::size_t count, std::uint32_t bytesPerRead) {
        answers = list;
        answerCount = count;
        next = 0;
        pending = nullptr;
        position = 0;
        chunk = bytesPerRead;
        unexpected = 0;
    }

    static QuietPhone* Of(PhoneChannel* channel) {
        return reinterpret_cast<QuietPhone*>(channel->transport);
    }

    static TransferError Read(PhoneChannel* channel, std::uint8_t* buffer, std::uint32_t* length) {
        QuietPhone* self = Of(channel);
        std::size_t count = 0;
        if (self->pending != nullptr) {
            count = self->pending->size() - self->position;
            if (count > self->chunk) count = self->chunk;
            if (count > *length) count = *length;
            std::memcpy(buffer, self->pending->data() + self->position, count);
            self->position += count;
        }
        *length = static_cast<std::uint32_t>(count);
        return kErrNone;
    }

    static TransferError Write(PhoneChannel* channel, const std::uint8_t* bytes,
                               std::uint32_t length) {
        QuietPhone* self = Of(channel);
        if (self->next >= self->answerCount) {
            ++self->unexpected;
            return kErrNone;
        }
        const Answer& answer = self->answers[self->next];
        if (answer.command != nullptr && (std::strlen(answer.command) != length ||
                                          std::memcmp(answer.command, bytes, length) != 0)) {
            ++self->unexpected;
            return kErrNone;
        }
        ++self->next;
        self->pending = answer.response;
        self->position = 0;
        return kErrNone;
    }

    static TransferError Open(PhoneChannel*, std::uint32_t, const char*) { return kErrNone; }
    // The phone object is the test's; only the channel is freed by ChannelClose.
    static TransferError Close(Transport*) { return kErrNone; }
};

// An SMS-DELIVER of 160 characters from +4930123456 as the phone lists it: no service-centre
// part, then the TPDU, in hex. `variant` changes the text so that no two messages are the same.
std::string ListedPdu(int variant, std::uint32_t* tpduLength) {
    PduRecordPtr record(static_cast<PduRecord*>(std::calloc(1, sizeof(PduRecord))));
    PduRecord* r = record.get();
    r->firstOctet = 0x04;
    r->addressType = 0x91;
    std::strcpy(r->addressDigits, "4930123456");
    r->timeStamp = {2003, 11, 15, 9, 30, static_cast<std::uint8_t>(variant % 60), 60};
    std::u16string text;
    while (text.size() < 160) {
        text.push_back(static_cast<char16_t>(u'A' + (text.size() + variant) % 26));
    }
    std::size_t count = 0;
    TextToSeptets(text.data(), text.size(), r->userData, &count);
    r->userDataLength = static_cast<std::uint32_t>(count);
    EXPECT_EQ(EncodePdu(r), kErrNone);
    *tpduLength = r->tpduLength;
    std::string hex(2 * r->encodedLength + 1, '\0');
    BytesToHex(r->encoded, r->encodedLength, hex.data());
    hex.pop_back();
    return hex;
}

// The answer to AT+CMGL=4 with `messages` messages at storage indices 1, 2, ...
std::string Listing(int messages) {
    std::string response = "\r\n";
    for (int k = 1; k <= messages; ++k) {
        std::uint32_t tpduLength = 0;
        std::string pdu = ListedPdu(k, &tpduLength);
        response += "+CMGL: " + std::to_string(k) + ",1,," + std::to_string(tpduLength) + "\r\n" +
                    pdu + "\r\n";
    }
    return response + kOk;
}

std::string Cpms(int used) {
    return "\r\n+CPMS: " + std::to_string(used) + ",30," + std::to_string(used) + ",30,0,30\r\n" +
           kOk;
}

// What the per-message callback saw, kept without allocating.
struct Tally {
    std::uint32_t messages = 0;
    std::uint32_t indexSum = 0;
    std::uint32_t wrongLength = 0;
};

TransferError Count(PduRecord* record, void* context) {
    auto* tally = static_cast<Tally*>(context);
    ++tally->messages;
    tally->indexSum += record->storageIndex;
    if (record->userDataLength != 160) ++tally->wrongLength;
    return kErrNone;
}

TransferError CountLine(AtRequest* request, const std::uint8_t*, std::uint32_t, void*) {
    ++*static_cast<std::uint32_t*>(request->handlerResult);
    return kErrNone;
}

class AtNoAllocation : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!allocations::CountingAvailable()) GTEST_SKIP() << allocations::WhyNotAvailable();
        ASSERT_EQ(CreateChannel(&channel_, &phone_.transport), kErrNone);
        ASSERT_EQ(CreatePhoneSession(channel_, &session_), kErrNone);
    }
    void TearDown() override {
        FreePhoneSession(session_);
        ChannelClose(channel_);
    }

    // One 20 s listing read 7 bytes at a time takes about 2 ticks per read on this clock.
    FakeClock clock_{1000, 1};
    QuietPhone phone_;
    PhoneChannel* channel_ = nullptr;
    PhoneSession* session_ = nullptr;
};

// ---- the exchange itself ----

// The caller's request, the session's buffer: AtExchange allocates nothing, however many lines
// the answer has and however it is split, and also when the answer is more than the buffer holds.
TEST_F(AtNoAllocation, ExchangeReadsLongAndShortAnswersWithoutAllocating) {
    std::string built = "\r\n";
    for (int k = 0; k < 400; ++k) built += "+CIEV: " + std::to_string(k % 10) + ",1\r\n";
    const std::string longAnswer = built + "OK\r\n";
    ASSERT_GT(longAnswer.size(), 2u * kResponseBufferSize);
    const std::string shortAnswer = kOk;

    for (std::uint32_t chunk : {1u, 7u, 4096u}) {
        for (const std::string* answer : {&shortAnswer, &longAnswer}) {
            const Answer script[] = {{"AT+CIND?\r", answer}};
            phone_.Script(script, 1, chunk);
            AtRequest request;
            InitAtRequest(&request, session_, "AT+CIND?\r", kAtListTimeoutMs);
            std::uint32_t lines = 0;
            request.handlerResult = &lines;
            TransferError result = 1;
            std::uint64_t count =
                allocations::During([&] { result = AtExchange(&request, &CountLine, nullptr); });
            EXPECT_EQ(result, kErrNone);
            EXPECT_EQ(phone_.unexpected, 0u);
            EXPECT_EQ(phone_.position, answer->size()) << "the whole answer was read";
            EXPECT_EQ(lines, answer == &longAnswer ? 400u : 0u);
            EXPECT_EQ(count, 0u) << answer->size() << " bytes, " << chunk << " bytes per read";
        }
    }
}

TEST_F(AtNoAllocation, SelectMemoryReadsTheCountsWithoutAllocating) {
    const std::string answer = Cpms(17);
    const Answer script[] = {{"AT+CPMS=\"SM\"\r", &answer}};
    phone_.Script(script, 1, 1);
    std::int32_t used = -1;
    std::int32_t total = -1;
    TransferError result = 1;
    std::uint64_t count =
        allocations::During([&] { result = SelectMemory(session_, "SM", &used, &total); });
    EXPECT_EQ(result, kErrNone);
    EXPECT_EQ(used, 17);
    EXPECT_EQ(total, 30);
    EXPECT_EQ(count, 0u);
}

// ---- listing ----

// The listing's one record is all it allocates: 30 messages of 160 characters (about 10 KB,
// five times the response buffer) cost exactly what one message costs.
TEST_F(AtNoAllocation, ListingThirtyMessagesCostsWhatListingOneCosts) {
    const std::string one = Listing(1);
    const std::string thirty = Listing(30);
    ASSERT_GT(thirty.size(), 4u * kResponseBufferSize);

    auto list = [this](const std::string& answer, Tally* tally) {
        const Answer script[] = {{"AT+CMGL=4\r", &answer}};
        phone_.Script(script, 1, 7);
        TransferError result = 1;
        std::uint64_t count = allocations::During(
            [&] { result = ListMessages(session_, kListAllMessages, &Count, tally); });
        EXPECT_EQ(result, kErrNone);
        EXPECT_EQ(phone_.unexpected, 0u);
        return count;
    };

    Tally oneTally;
    const std::uint64_t forOne = list(one, &oneTally);
    EXPECT_EQ(oneTally.messages, 1u);

    Tally thirtyTally;
    const std::uint64_t forThirty = list(thirty, &thirtyTally);
    EXPECT_EQ(thirtyTally.messages, 30u);
    EXPECT_EQ(thirtyTally.indexSum, 30u * 31 / 2);
    EXPECT_EQ(thirtyTally.wrongLength, 0u);

    EXPECT_EQ(forOne, 1u) << "the listing's record";
    EXPECT_EQ(forThirty, forOne) << "nothing per message, line or byte";
}

// The same over the real TCP transport: its reads go straight into the session's buffer.
TEST_F(AtNoAllocation, ListingOverTcpAllocatesOnlyItsRecord) {
    TcpTestListener listener;
    ASSERT_TRUE(listener.Ok());
    PhoneChannel* channel = nullptr;
    ASSERT_EQ(CreateTcpTransport(&channel), kErrNone);
    const std::string address = "127.0.0.1:" + std::to_string(listener.Port());
    ASSERT_EQ(ChannelOpen(channel, kOpenModeConnect, address.c_str()), kErrNone);
    const int peer = listener.Accept();
    ASSERT_GE(peer, 0);
    PhoneSession* session = nullptr;
    ASSERT_EQ(CreatePhoneSession(channel, &session), kErrNone);

    // The far end answers once the command has arrived (an earlier answer would be drained as
    // stale input); the channel's poll callback, run before every read, plays it.
    const std::string listing = Listing(30);
    struct Peer {
        int fd;
        const std::string* answer;
        bool answered;
    } state{peer, &listing, false};
    SetPollCallback(
        channel,
        [](PhoneChannel*, void* context) -> TransferError {
            auto* p = static_cast<Peer*>(context);
            if (p->answered) return kErrNone;
            pollfd ready{p->fd, POLLIN, 0};
            char command[16];
            if (::poll(&ready, 1, 0) == 1 && ::recv(p->fd, command, sizeof command, 0) > 0) {
                p->answered = ::send(p->fd, p->answer->data(), p->answer->size(), MSG_NOSIGNAL) ==
                              static_cast<ssize_t>(p->answer->size());
            }
            return kErrNone;
        },
        0, &state);

    Tally tally;
    TransferError result = 1;
    std::uint64_t count = allocations::During(
        [&] { result = ListMessages(session, kListAllMessages, &Count, &tally); });
    FreePhoneSession(session);
    EXPECT_EQ(ChannelClose(channel), kErrNone);
    ::close(peer);

    EXPECT_EQ(result, kErrNone);
    EXPECT_TRUE(state.answered);
    EXPECT_EQ(tally.messages, 30u);
    EXPECT_EQ(count, 1u) << "the listing's record";
}

// A whole Get over both memories: one record per listing, whatever the memories hold.
TEST_F(AtNoAllocation, RetrievingBothMemoriesAllocatesOneRecordPerListing) {
    const std::string one = Listing(1);
    const std::string thirty = Listing(30);
    const std::string simOne = Cpms(1);
    const std::string simThirty = Cpms(30);
    const std::string phoneMemory = Cpms(30);

    auto retrieve = [&](const std::string& cpms, const std::string& listing, Tally* tally) {
        const Answer script[] = {{"AT+CPMS=\"SM\"\r", &cpms},
                                 {"AT+CMGL=4\r", &listing},
                                 {"AT+CPMS=\"ME\"\r", &phoneMemory},
                                 {"AT+CMGL=4\r", &listing}};
        phone_.Script(script, 4, 7);
        TransferError result = 1;
        std::uint64_t count = allocations::During(
            [&] { result = RetrieveAll(session_, nullptr, &Count, tally, nullptr); });
        EXPECT_EQ(result, kErrNone);
        EXPECT_EQ(phone_.next, 4u) << "every command was sent";
        EXPECT_EQ(phone_.unexpected, 0u);
        return count;
    };

    Tally small;
    const std::uint64_t forTwo = retrieve(simOne, one, &small);
    EXPECT_EQ(small.messages, 2u);
    Tally large;
    const std::uint64_t forSixty = retrieve(simThirty, thirty, &large);
    EXPECT_EQ(large.messages, 60u);

    EXPECT_EQ(forTwo, 2u) << "one record for each memory's listing";
    EXPECT_EQ(forSixty, forTwo);
}

// ---- sending ----

// Both stages of AT+CMGS on a prepared record: the encoding, the prompt and the final result
// are all read in place.
TEST_F(AtNoAllocation, SubmittingAPreparedRecordAllocatesNothing) {
    SmsMessage message;
    message.number = u"+4930123456";
    message.text = u"See you at eight";
    ASSERT_EQ(PrepareSubmit(&message), 1);
    const std::string lengthCommand =
        "AT+CMGS=" + std::to_string(message.pduRecord->tpduLength) + "\r";
    const std::string prompt = "\r\n> ";
    const std::string sent = "\r\n+CMGS: 42\r\n\r\nOK\r\n";
    const Answer script[] = {{lengthCommand.c_str(), &prompt}, {nullptr, &sent}};
    phone_.Script(script, 2, 1);

    TransferError result = 1;
    std::uint64_t count =
        allocations::During([&] { result = SubmitPdu(session_, message.pduRecord.get()); });
    EXPECT_EQ(result, kErrNone);
    EXPECT_EQ(phone_.next, 2u);
    EXPECT_EQ(phone_.unexpected, 0u);
    EXPECT_EQ(count, 0u);
}

}  // namespace
