// SPDX-License-Identifier: GPL-3.0-or-later
#include "at/command_sequences.h"

#include "at/phone_commands.h"

const AtStep kWakeUpSteps[] = {
    {AtCommand::kAttention, AtOnOk::kNext, WakeEvent::kConnected},
    {AtCommand::kAttention, AtOnOk::kFinish, WakeEvent::kNone},
    {AtCommand::kEndPrompt, AtOnOk::kNext, WakeEvent::kNone},
    {AtCommand::kAttention, AtOnOk::kNext, WakeEvent::kConnected},
    {AtCommand::kReset, AtOnOk::kNext, WakeEvent::kNone},
    {AtCommand::kAttention, AtOnOk::kNext, WakeEvent::kNone},
    {AtCommand::kAttention, AtOnOk::kNext, WakeEvent::kNone},
};
const std::size_t kWakeUpStepCount = sizeof kWakeUpSteps / sizeof kWakeUpSteps[0];

const AtStep kSetUpSteps[] = {
    {AtCommand::kEchoOffVerbose, AtOnOk::kSkipNext, WakeEvent::kNone},
    {AtCommand::kEchoOff, AtOnOk::kNext, WakeEvent::kNone},
    {AtCommand::kPduMode, AtOnOk::kNext, WakeEvent::kNone},
    {AtCommand::kGsmCharacterSet, AtOnOk::kNext, WakeEvent::kNone},
    {AtCommand::kAttention, AtOnOk::kNext, WakeEvent::kNone},
};
const std::size_t kSetUpStepCount = sizeof kSetUpSteps / sizeof kSetUpSteps[0];

TransferError RunAtSteps(PhoneSession* session, const AtStep* steps, std::size_t count,
                         WakeNotify notify, void* context) {
    if (session == nullptr || (steps == nullptr && count != 0)) return kErrInvalidParameter;
    TransferError result = kErrNone;
    for (std::size_t i = 0; i < count; ++i) {
        const AtStep& step = steps[i];
        result = RunAtCommand(session, step.command);
        if (result != kErrNone) continue;
        if (step.eventOnOk != WakeEvent::kNone && notify != nullptr)
            notify(step.eventOnOk, context);
        if (step.onOk == AtOnOk::kFinish) return kErrNone;
        if (step.onOk == AtOnOk::kSkipNext) ++i;
    }
    return result;
}

TransferError WakePhone(PhoneSession* session, WakeNotify notify, void* context) {
    if (session == nullptr) return kErrInvalidParameter;
    session->lastError = RunAtSteps(session, kWakeUpSteps, kWakeUpStepCount, notify, context);
    if (session->lastError != kErrNone) return session->lastError;
    if (notify != nullptr) notify(WakeEvent::kInitializing, context);
    (void)AtInit(session);
    return kErrNone;
}
