// An in-memory phone for the AT fuzz entry points: after the command has been written, reads
// hand out the fuzz input in pieces; the tick clock moves 50 ms at every reading, so a 20 s
// time-out ends after a few hundred turns of the exchange loop.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "at/at_exchange.h"
#include "common/tick_clock.h"
#include "phonelink/transport.h"

namespace fuzz_phone {

struct Script {
    const std::uint8_t* bytes = nullptr;
    std::size_t size = 0;
    std::size_t offset = 0;
    std::size_t piece = 1;  // bytes per read
    bool written = false;   // nothing arrives before the command
    std::uint32_t ticks = 0;
};

inline Script g_script;

inline std::uint32_t SteppingTicks(void*) {
    return g_script.ticks += 50;
}

inline TransferError Read(PhoneChannel*, std::uint8_t* buffer, std::uint32_t* length) {
    std::size_t wanted = *length;
    *length = 0;
    if (!g_script.written || g_script.offset >= g_script.size) return kErrNone;
    std::size_t count = g_script.size - g_script.offset;
    if (count > g_script.piece) count = g_script.piece;
    if (count > wanted) count = wanted;
    std::memcpy(buffer, g_script.bytes + g_script.offset, count);
    g_script.offset += count;
    *length = static_cast<std::uint32_t>(count);
    return kErrNone;
}

inline TransferError Write(PhoneChannel*, const std::uint8_t*, std::uint32_t) {
    g_script.written = true;
    return kErrNone;
}

inline TransferError Open(PhoneChannel*, std::uint32_t, const char*) {
    return kErrNone;
}

inline TransferError Close(Transport* transport) {
    std::free(transport);
    return kErrNone;
}

// A session whose phone answers the next command with `bytes`, `piece` bytes per read.
inline PhoneSession* Start(const std::uint8_t* bytes, std::size_t size, std::size_t piece,
                           PhoneChannel** channel) {
    g_script = Script{bytes, size, 0, piece == 0 ? 1 : piece, false, 0};
    SetTickSource(&SteppingTicks, nullptr);
    auto* transport = static_cast<Transport*>(std::calloc(1, sizeof(Transport)));
    if (transport == nullptr) return nullptr;
    *transport = Transport{&Read, &Write, &Open, &Close, 3};
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
