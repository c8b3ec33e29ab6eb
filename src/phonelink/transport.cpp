// SPDX-License-Identifier: GPL-3.0-or-later
#include "phonelink/transport.h"

#include <cstdlib>

#include "common/tick_clock.h"

namespace {

TransferError NeverCancel(PhoneChannel*, void*) {
    return kErrNone;
}

}  // namespace

TransferError CreateChannel(PhoneChannel** channel, Transport* transport) {
    if (channel == nullptr || transport == nullptr) return kErrInvalidParameter;
    *channel = nullptr;
    auto* created = static_cast<PhoneChannel*>(std::calloc(1, sizeof(PhoneChannel)));
    if (created == nullptr) return kErrOutOfMemory;
    created->transport = transport;
    created->pollCallback = &NeverCancel;
    created->pollInterval = kDefaultPollIntervalMs;
    *channel = created;
    return kErrNone;
}

void SetPollCallback(PhoneChannel* channel, PollCallback callback, std::uint32_t intervalMs,
                     void* context) {
    if (channel == nullptr) return;
    channel->pollCallback = callback;
    channel->pollInterval = intervalMs;
    channel->pollContext = context;
    channel->nextPollTick = GetTickCount();
}

TransferError ChannelPoll(PhoneChannel* channel) {
    if (channel->stickyError != kErrNone || channel->pollCallback == nullptr) {
        return channel->stickyError;
    }
    std::uint32_t now = GetTickCount();
    // The tick counter wraps after 49.7 days, so "later than" is a signed difference.
    if (TickPassed(now, channel->nextPollTick)) {
        channel->stickyError = channel->pollCallback(channel, channel->pollContext);
        channel->nextPollTick = now + channel->pollInterval;
    }
    return channel->stickyError;
}

TransferError ChannelOpen(PhoneChannel* channel, std::uint32_t mode, const char* address) {
    if (channel == nullptr || channel->transport == nullptr) return kErrInvalidParameter;
    return channel->transport->open(channel, mode, address);
}

TransferError ChannelRead(PhoneChannel* channel, std::uint8_t* buffer, std::uint32_t* length) {
    if (channel == nullptr || channel->transport == nullptr || length == nullptr ||
        (buffer == nullptr && *length != 0)) {
        return kErrInvalidParameter;
    }
    TransferError polled = ChannelPoll(channel);
    if (polled != kErrNone) return polled;
    return channel->transport->read(channel, buffer, length);
}

TransferError ChannelWrite(PhoneChannel* channel, const std::uint8_t* bytes, std::uint32_t length) {
    if (channel == nullptr || channel->transport == nullptr || (bytes == nullptr && length != 0)) {
        return kErrInvalidParameter;
    }
    TransferError polled = ChannelPoll(channel);
    if (polled != kErrNone) return polled;
    return channel->transport->write(channel, bytes, length);
}

TransferError ChannelClose(PhoneChannel* channel) {
    if (channel == nullptr) return kErrNone;
    TransferError result = kErrNone;
    if (channel->transport != nullptr) result = channel->transport->close(channel->transport);
    std::free(channel);
    return result;
}

const char* ChannelProblem(const PhoneChannel* channel) {
    if (channel == nullptr || channel->transport == nullptr) return "";
    return channel->transport->problem;
}
