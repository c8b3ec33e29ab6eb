// SPDX-License-Identifier: GPL-3.0-or-later
#include "at/at_commands.h"

#include <cstring>

#include "common/hex.h"

namespace {

constexpr char kEndPromptText[] = {kCtrlZ, 0};
constexpr char kSubmitPduSuffix[] = {kCtrlZ, 0};

// Indexed by AtCommand.
constexpr AtCommandInfo kAtCommands[] = {
    {AtCommand::kAttention, "AT\r", AtParameter::kNone, "", kAtDefaultTimeoutMs, true},
    {AtCommand::kReset, "ATZ\r", AtParameter::kNone, "", kAtDefaultTimeoutMs, true},
    {AtCommand::kEchoOffVerbose, "ATE0V1\r", AtParameter::kNone, "", kAtDefaultTimeoutMs, true},
    {AtCommand::kEchoOff, "ATE0\r", AtParameter::kNone, "", kAtDefaultTimeoutMs, true},
    {AtCommand::kPduMode, "AT+CMGF=0\r", AtParameter::kNone, "", kAtDefaultTimeoutMs, true},
    {AtCommand::kGsmCharacterSet, "AT+CSCS=\"GSM\"\r", AtParameter::kNone, "", kAtDefaultTimeoutMs,
     true},
    {AtCommand::kSelectMemory, "AT+CPMS=\"", AtParameter::kText, "\"\r", kAtDefaultTimeoutMs, true},
    {AtCommand::kListMessages, "AT+CMGL=", AtParameter::kNumber, "\r", kAtListTimeoutMs, true},
    {AtCommand::kDeleteMessage, "AT+CMGD=", AtParameter::kNumber, "\r", kAtDefaultTimeoutMs, true},
    {AtCommand::kSubmitLength, "AT+CMGS=", AtParameter::kNumber, "\r", kAtPromptTimeoutMs, true},
    {AtCommand::kSubmitPdu, "", AtParameter::kHex, kSubmitPduSuffix, kAtPduTimeoutMs, true},
    {AtCommand::kDialVoice, "ATD", AtParameter::kText, ";\r", kAtDefaultTimeoutMs, true},
    {AtCommand::kEndPrompt, kEndPromptText, AtParameter::kNone, "", 0, false},
};

constexpr bool RowsInOrder() {
    for (std::size_t i = 0; i < sizeof kAtCommands / sizeof kAtCommands[0]; ++i) {
        if (static_cast<std::size_t>(kAtCommands[i].command) != i) return false;
    }
    return true;
}
static_assert(RowsInOrder(), "the command table is indexed by AtCommand");

// Appends `count` bytes at out[*at] when they fit with a terminating NUL after them.
bool Append(char* out, std::uint32_t size, std::uint32_t* at, const char* bytes,
            std::uint32_t count) {
    if (count >= size - *at) return false;
    std::memcpy(out + *at, bytes, count);
    *at += count;
    return true;
}

bool AppendNumber(char* out, std::uint32_t size, std::uint32_t* at, std::uint32_t number) {
    char digits[10];
    std::uint32_t count = 0;
    do {
        digits[sizeof digits - 1 - count++] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number != 0);
    return Append(out, size, at, digits + sizeof digits - count, count);
}

// The parameter, written by `fill` (which returns false when it does not fit), between the
// command's prefix and suffix.
template <typename Fill>
std::uint32_t Format(AtCommand command, AtParameter parameter, char* out, std::uint32_t size,
                     Fill fill) {
    const AtCommandInfo& info = AtCommandInfoOf(command);
    if (info.parameter != parameter || out == nullptr || size == 0) return 0;
    std::uint32_t at = 0;
    if (!Append(out, size, &at, info.prefix,
                static_cast<std::uint32_t>(std::strlen(info.prefix))) ||
        !fill(&at) ||
        !Append(out, size, &at, info.suffix,
                static_cast<std::uint32_t>(std::strlen(info.suffix)))) {
        return 0;
    }
    out[at] = 0;
    return at;
}

}  // namespace

const AtCommandInfo& AtCommandInfoOf(AtCommand command) {
    return kAtCommands[static_cast<std::size_t>(command)];
}

std::uint32_t FormatAtCommand(AtCommand command, char* out, std::uint32_t size) {
    return Format(command, AtParameter::kNone, out, size, [](std::uint32_t*) { return true; });
}

std::uint32_t FormatAtCommand(AtCommand command, std::uint32_t number, char* out,
                              std::uint32_t size) {
    return Format(command, AtParameter::kNumber, out, size,
                  [&](std::uint32_t* at) { return AppendNumber(out, size, at, number); });
}

std::uint32_t FormatAtCommand(AtCommand command, const char* text, std::uint32_t textLength,
                              char* out, std::uint32_t size) {
    return Format(command, AtParameter::kText, out, size,
                  [&](std::uint32_t* at) { return Append(out, size, at, text, textLength); });
}

std::uint32_t FormatAtCommand(AtCommand command, const std::uint8_t* octets, std::uint32_t count,
                              char* out, std::uint32_t size) {
    return Format(command, AtParameter::kHex, out, size, [&](std::uint32_t* at) {
        if (2 * count >= size - *at) return false;
        BytesToHex(octets, count, out + *at);
        *at += 2 * count;
        return true;
    });
}

void InitAtCommandRequest(AtRequest* request, PhoneSession* session, AtCommand command,
                          const char* text, std::uint32_t length) {
    InitAtRequest(request, session, text, AtCommandInfoOf(command).timeoutMs);
    request->commandLength = length;
}

TransferError RunAtCommand(PhoneSession* session, AtCommand command) {
    if (session == nullptr) return kErrInvalidParameter;
    const AtCommandInfo& info = AtCommandInfoOf(command);
    if (info.parameter != AtParameter::kNone) return kErrInvalidParameter;
    const auto length = static_cast<std::uint32_t>(std::strlen(info.prefix));
    if (!info.answered) {
        return ChannelWrite(session->channel, reinterpret_cast<const std::uint8_t*>(info.prefix),
                            length);
    }
    AtRequest request;
    InitAtCommandRequest(&request, session, command, info.prefix, length);
    return AtSimple(&request);
}
