// SPDX-License-Identifier: GPL-3.0-or-later
// A phone played from a script, behind the ordinary Transport table, for the buffer, exchange and
// engine tests.
//
// Reads hand out the queued response bytes in chunks (whole, one byte at a time, or random
// splits with empty reads in between); writes are recorded and answered from a list of expected
// commands. Reads and writes can be made to fail. With a FakeClock attached, answers can be held
// back until a given time after the command was written, and every write records its tick.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "fake_clock.h"
#include "phonelink/transport.h"

class ScriptPhone {
  public:
    enum class Split { kWhole, kOneByte, kRandom };

    ScriptPhone();
    ~ScriptPhone();
    ScriptPhone(const ScriptPhone&) = delete;
    ScriptPhone& operator=(const ScriptPhone&) = delete;

    // A new channel over this phone; ChannelClose frees it (the phone object stays the test's).
    PhoneChannel* Connect();

    // The next command the phone expects, and its answer, released `afterMs` after the write.
    void Expect(std::string command, std::string response, std::uint32_t afterMs = 0);
    // More of the answer to the command of the last Expect, released `afterMs` after that
    // command's write and not before the pieces given before it (a long answer that keeps
    // coming, as a listing does on a slow line).
    void ExpectMore(std::string response, std::uint32_t afterMs);
    // Answers commands that are not in the Expect list (instead of recording them as unexpected).
    void SetResponder(std::function<std::string(const std::string& command)> responder);
    // Bytes available at once, before any command (stale input).
    void QueueNow(std::string bytes);
    // Bytes handed out by every read that finds no released answer, for ever.
    void SetChatter(std::string bytes) { chatter_ = std::move(bytes); }

    void SetSplit(Split split, unsigned randomStart = 1);
    void AttachClock(FakeClock* clock) { clock_ = clock; }

    // Every read from now on fails with `code` (0 to stop failing).
    void FailReads(TransferError code) { readFailure_ = code; }
    // Reads start failing with `code` once the next command has been written.
    void FailReadsAfterNextWrite(TransferError code) { readFailureAfterWrite_ = code; }
    // Every write fails with `code` (0 to stop failing); failed writes are not recorded.
    void FailWrites(TransferError code) { writeFailure_ = code; }
    // Called after each recorded write (for example to raise a cancel flag).
    void OnWrite(std::function<void(const std::string& command)> hook) {
        onWrite_ = std::move(hook);
    }

    const std::vector<std::string>& Writes() const { return writes_; }
    const std::vector<std::uint32_t>& WriteTicks() const { return writeTicks_; }
    const std::vector<std::string>& Unexpected() const { return unexpected_; }
    std::size_t PendingExpectations() const { return expected_.size(); }
    std::uint64_t ReadCalls() const { return readCalls_; }
    std::uint64_t BytesHandedOut() const { return bytesHandedOut_; }
    std::size_t BytesWaiting() const;
    bool Closed() const { return closed_; }

  private:
    struct Chunk {
        std::string bytes;
        std::uint32_t releaseTick;
        bool timed;
    };
    struct Piece {
        std::string response;
        std::uint32_t afterMs;
    };
    struct Expectation {
        std::string command;
        std::string response;
        std::uint32_t afterMs;
        std::vector<Piece> more;
    };

    static TransferError Read(PhoneChannel* channel, std::uint8_t* buffer, std::uint32_t* length);
    static TransferError Write(PhoneChannel* channel, const std::uint8_t* bytes,
                               std::uint32_t length);
    static TransferError Open(PhoneChannel* channel, std::uint32_t mode, const char* address);
    static TransferError Close(Transport* transport);
    static ScriptPhone* Of(Transport* transport);

    void Queue(const std::string& bytes, bool timed, std::uint32_t releaseTick);
    std::uint32_t Now() const { return clock_ != nullptr ? clock_->Now() : 0; }

    std::deque<Chunk> chunks_;
    std::deque<Expectation> expected_;
    std::function<std::string(const std::string&)> responder_;
    std::function<void(const std::string&)> onWrite_;
    std::string chatter_;
    Split split_ = Split::kWhole;
    std::mt19937 random_{1};
    FakeClock* clock_ = nullptr;
    TransferError readFailure_ = 0;
    TransferError readFailureAfterWrite_ = 0;
    TransferError writeFailure_ = 0;
    std::vector<std::string> writes_;
    std::vector<std::uint32_t> writeTicks_;
    std::vector<std::string> unexpected_;
    std::uint64_t readCalls_ = 0;
    std::uint64_t bytesHandedOut_ = 0;
    bool closed_ = false;
    Transport* transport_ = nullptr;
};

// Collects the lines of `chunks` fed one after another through a ResponseCursor over `buffer`,
// compacting after each chunk as the exchange does. Used to compare ways of splitting a response.
std::vector<std::string> CutAllLines(const std::vector<std::string>& chunks, std::uint8_t* buffer,
                                     std::uint32_t size);

// Splits `bytes` into random chunks of 1..maxChunk bytes; each `variant` gives another split.
std::vector<std::string> RandomSplit(const std::string& bytes, unsigned variant,
                                     std::size_t maxChunk = 16);
