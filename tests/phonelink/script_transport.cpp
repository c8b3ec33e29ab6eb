// SPDX-License-Identifier: GPL-3.0-or-later
#include "script_transport.h"

#include <cstdlib>
#include <cstring>

#include "phonelink/response_buffer.h"

namespace {

struct ScriptTransportRecord {
    Transport base;  // first: the channel's transport pointer is the record
    ScriptPhone* phone;
};

}  // namespace

ScriptPhone::ScriptPhone() = default;

ScriptPhone::~ScriptPhone() {
    // A channel that outlives its phone must not reach back into it.
    if (transport_ != nullptr)
        reinterpret_cast<ScriptTransportRecord*>(transport_)->phone = nullptr;
}

PhoneChannel* ScriptPhone::Connect() {
    auto* record =
        static_cast<ScriptTransportRecord*>(std::calloc(1, sizeof(ScriptTransportRecord)));
    record->base.read = &ScriptPhone::Read;
    record->base.write = &ScriptPhone::Write;
    record->base.open = &ScriptPhone::Open;
    record->base.close = &ScriptPhone::Close;
    record->base.handle = 100;
    record->phone = this;
    transport_ = &record->base;
    closed_ = false;
    PhoneChannel* channel = nullptr;
    if (CreateChannel(&channel, &record->base) != 0) {
        std::free(record);
        transport_ = nullptr;
        return nullptr;
    }
    return channel;
}

void ScriptPhone::Expect(std::string command, std::string response, std::uint32_t afterMs) {
    expected_.push_back({std::move(command), std::move(response), afterMs, {}});
}

void ScriptPhone::ExpectMore(std::string response, std::uint32_t afterMs) {
    if (!expected_.empty()) expected_.back().more.push_back({std::move(response), afterMs});
}

void ScriptPhone::SetResponder(std::function<std::string(const std::string&)> responder) {
    responder_ = std::move(responder);
}

void ScriptPhone::QueueNow(std::string bytes) {
    Queue(bytes, false, 0);
}

void ScriptPhone::SetSplit(Split split, unsigned randomStart) {
    split_ = split;
    random_ = std::mt19937(randomStart);
}

std::size_t ScriptPhone::BytesWaiting() const {
    std::size_t total = 0;
    for (const Chunk& chunk : chunks_) total += chunk.bytes.size();
    return total;
}

void ScriptPhone::Queue(const std::string& bytes, bool timed, std::uint32_t releaseTick) {
    if (bytes.empty()) return;
    switch (split_) {
        case Split::kWhole:
            chunks_.push_back({bytes, releaseTick, timed});
            break;
        case Split::kOneByte:
            for (char c : bytes) chunks_.push_back({std::string(1, c), releaseTick, timed});
            break;
        case Split::kRandom:
            for (const std::string& piece : RandomSplit(bytes, random_())) {
                chunks_.push_back({piece, releaseTick, timed});
            }
            break;
    }
}

ScriptPhone* ScriptPhone::Of(Transport* transport) {
    return reinterpret_cast<ScriptTransportRecord*>(transport)->phone;
}

TransferError ScriptPhone::Read(PhoneChannel* channel, std::uint8_t* buffer,
                                std::uint32_t* length) {
    ScriptPhone* self = Of(channel->transport);
    std::uint32_t wanted = *length;
    *length = 0;
    if (self == nullptr) return 12;
    ++self->readCalls_;
    if (self->readFailure_ != 0) return self->readFailure_;
    if (wanted == 0) return 0;

    bool released =
        !self->chunks_.empty() && !(self->chunks_.front().timed &&
                                    TickPassed(self->chunks_.front().releaseTick, self->Now()));
    if (released) {
        Chunk& chunk = self->chunks_.front();
        // Random splits also leave some reads empty, as a real line does between bursts.
        if (self->split_ == Split::kRandom && self->random_() % 4 == 0) return 0;
        std::size_t count = std::min<std::size_t>(wanted, chunk.bytes.size());
        std::memcpy(buffer, chunk.bytes.data(), count);
        chunk.bytes.erase(0, count);
        if (chunk.bytes.empty()) self->chunks_.pop_front();
        *length = static_cast<std::uint32_t>(count);
        self->bytesHandedOut_ += count;
        return 0;
    }
    if (!self->chatter_.empty()) {
        std::size_t count = std::min<std::size_t>(wanted, self->chatter_.size());
        std::memcpy(buffer, self->chatter_.data(), count);
        *length = static_cast<std::uint32_t>(count);
        self->bytesHandedOut_ += count;
    }
    return 0;
}

TransferError ScriptPhone::Write(PhoneChannel* channel, const std::uint8_t* bytes,
                                 std::uint32_t length) {
    ScriptPhone* self = Of(channel->transport);
    if (self == nullptr) return 12;
    if (self->writeFailure_ != 0) return self->writeFailure_;
    std::string command(reinterpret_cast<const char*>(bytes), length);
    std::uint32_t now = self->Now();
    self->writes_.push_back(command);
    self->writeTicks_.push_back(now);
    if (self->readFailureAfterWrite_ != 0) {
        self->readFailure_ = self->readFailureAfterWrite_;
        self->readFailureAfterWrite_ = 0;
    }
    if (!self->expected_.empty() && self->expected_.front().command == command) {
        Expectation next = std::move(self->expected_.front());
        self->expected_.pop_front();
        self->Queue(next.response, next.afterMs != 0, now + next.afterMs);
        for (const Piece& piece : next.more) {
            self->Queue(piece.response, piece.afterMs != 0, now + piece.afterMs);
        }
    } else if (self->responder_) {
        self->Queue(self->responder_(command), false, 0);
    } else {
        self->unexpected_.push_back(command);
    }
    if (self->onWrite_) self->onWrite_(command);
    return 0;
}

TransferError ScriptPhone::Open(PhoneChannel*, std::uint32_t, const char*) {
    return 0;
}

TransferError ScriptPhone::Close(Transport* transport) {
    ScriptPhone* self = Of(transport);
    if (self != nullptr) {
        self->closed_ = true;
        self->transport_ = nullptr;
    }
    std::free(transport);
    return 0;
}

std::vector<std::string> CutAllLines(const std::vector<std::string>& chunks, std::uint8_t* buffer,
                                     std::uint32_t size) {
    std::vector<std::string> lines;
    ResponseCursor cursor;
    ResetCursor(&cursor, buffer, size);
    for (const std::string& chunk : chunks) {
        std::size_t offset = 0;
        while (offset < chunk.size()) {
            std::uint32_t room = CursorFreeSpace(&cursor);
            if (room == 0) return lines;
            std::size_t count = std::min<std::size_t>(room, chunk.size() - offset);
            std::memcpy(cursor.writePos, chunk.data() + offset, count);
            CursorCommit(&cursor, static_cast<std::uint32_t>(count));
            offset += count;
            const std::uint8_t* line;
            std::uint32_t length;
            while (CutLine(&cursor, &line, &length)) {
                lines.emplace_back(reinterpret_cast<const char*>(line), length);
            }
            CompactCursor(&cursor);
        }
    }
    return lines;
}

std::vector<std::string> RandomSplit(const std::string& bytes, unsigned variant,
                                     std::size_t maxChunk) {
    std::mt19937 random(variant);
    std::vector<std::string> pieces;
    std::size_t offset = 0;
    while (offset < bytes.size()) {
        std::size_t count = 1 + random() % maxChunk;
        if (count > bytes.size() - offset) count = bytes.size() - offset;
        pieces.push_back(bytes.substr(offset, count));
        offset += count;
    }
    return pieces;
}
