// SPDX-License-Identifier: GPL-3.0-or-later
// An in-memory phone for the AT fuzz entry points: after the command has been written, reads
// hand out the fuzz input in pieces; the tick clock moves 50 ms at every reading, so a 20 s
// time-out ends after a few hundred turns of the exchange loop.
//
// For a whole conversation the input holds one answer per write, separated by kAnswerSeparator:
// each write releases the next answer, and what the engine leaves unread of one answer is still
// there for the drain before the next command, as it would be on a real line. Writes are kept
// in order so that an entry point can check what was sent.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "at/at_exchange.h"
#include "common/tick_clock.h"
#include "phonelink/transport.h"

namespace fuzz_phone {

// Never part of an answer: it separates the answers of a conversation.
constexpr std::uint8_t kAnswerSeparator = 0xFF;

struct Script {
    std::string answers;              // every answer, back to back
    std::vector<std::size_t> ends;    // where each answer ends in `answers`
    std::size_t released = 0;         // bytes of `answers` the phone has sent so far
    std::size_t offset = 0;           // bytes of `answers` read so far
    std::size_t piece = 1;            // bytes per read
    std::vector<std::string> writes;  // what the engine wrote, one entry per write
    std::uint32_t ticks = 0;
};

inline Script g_script;

inline std::uint32_t SteppingTicks(void*) {
    return g_script.ticks += 50;
}

inline TransferError Read(PhoneChannel*, std::uint8_t* buffer, std::uint32_t* length) {
    std::size_t wanted = *length;
    *length = 0;
    if (g_script.offset >= g_script.released) return kErrNone;
    std::size_t count = g_script.released - g_script.offset;
    if (count > g_script.piece) count = g_script.piece;
    if (count > wanted) count = wanted;
    std::memcpy(buffer, g_script.answers.data() + g_script.offset, count);
    g_script.offset += count;
    *length = static_cast<std::uint32_t>(count);
    return kErrNone;
}

// Each write releases the next answer; nothing arrives before the first command.
inline TransferError Write(PhoneChannel*, const std::uint8_t* bytes, std::uint32_t length) {
    g_script.writes.emplace_back(reinterpret_cast<const char*>(bytes), length);
    const std::size_t answer = g_script.writes.size() - 1;
    if (answer < g_script.ends.size()) g_script.released = g_script.ends[answer];
    return kErrNone;
}

inline TransferError Open(PhoneChannel*, std::uint32_t, const char*) {
    return kErrNone;
}

inline TransferError Close(Transport* transport) {
    std::free(transport);
    return kErrNone;
}

namespace detail {

inline PhoneSession* OpenSession(std::size_t piece, PhoneChannel** channel) {
    g_script.piece = piece == 0 ? 1 : piece;
    SetTickSource(&SteppingTicks, nullptr);
    auto* transport = static_cast<Transport*>(std::calloc(1, sizeof(Transport)));
    if (transport == nullptr) return nullptr;
    *transport = Transport{&Read, &Write, &Open, &Close, 3, {}};
    if (CreateChannel(channel, transport) != kErrNone) {
        std::free(transport);
        return nullptr;
    }
    PhoneSession* session = nullptr;
    if (CreatePhoneSession(*channel, &session) != kErrNone) {
        ChannelClose(*channel);
        return nullptr;
    }
    return session;
}

}  // namespace detail

// A session whose phone answers the next command with `bytes`, `piece` bytes per read.
inline PhoneSession* Start(const std::uint8_t* bytes, std::size_t size, std::size_t piece,
                           PhoneChannel** channel) {
    g_script = Script{};
    g_script.answers.assign(reinterpret_cast<const char*>(bytes), size);
    g_script.ends.push_back(size);
    return detail::OpenSession(piece, channel);
}

// A session whose phone answers its n-th write with the n-th answer of `bytes` (answers
// separated by kAnswerSeparator), `piece` bytes per read; writes beyond the last answer get
// none.
inline PhoneSession* StartConversation(const std::uint8_t* bytes, std::size_t size,
                                       std::size_t piece, PhoneChannel** channel) {
    g_script = Script{};
    g_script.answers.reserve(size);
    for (std::size_t i = 0; i < size; ++i) {
        if (bytes[i] == kAnswerSeparator) {
            g_script.ends.push_back(g_script.answers.size());
        } else {
            g_script.answers.push_back(static_cast<char>(bytes[i]));
        }
    }
    g_script.ends.push_back(g_script.answers.size());
    return detail::OpenSession(piece, channel);
}

inline void Stop(PhoneSession* session, PhoneChannel* channel) {
    FreePhoneSession(session);
    ChannelClose(channel);
    SetTickSource(nullptr, nullptr);
}

inline void Check(bool condition) {
    if (!condition) __builtin_trap();
}

inline bool IsExchangeResult(TransferError result) {
    return result == kErrNone || result == kErrInvalidParameter || result == kErrCancelled ||
           result == kErrTimeout || result == kErrPhoneError || result == kErrCmsError ||
           result == kErrCmeError;
}

}  // namespace fuzz_phone
