// SPDX-License-Identifier: GPL-3.0-or-later
// The conversations that are fixed sequences of commands, as data: the wake-up with which every
// transfer starts, and the set-up that puts the phone into a known state. WakePhone runs both.
#pragma once

#include <cstddef>
#include <cstdint>

#include "at/at_commands.h"
#include "at/at_exchange.h"
#include "common/transfer_error.h"

// What a sequence tells its caller as it goes. The AT engine knows nothing of who listens.
enum class WakeEvent : std::uint8_t {
    kNone,
    kConnected,     // the phone answered "AT" with OK
    kInitializing,  // the phone is awake; the set-up starts
};
using WakeNotify = void (*)(WakeEvent event, void* context);

// Where a sequence goes after a step that was answered with OK. Any other answer goes on with
// the next step.
enum class AtOnOk : std::uint8_t {
    kNext,
    kSkipNext,  // the next step is the fallback for a refusal of this one
    kFinish,    // the sequence has done its work and ends with success
};

struct AtStep {
    AtCommand command;  // a command without parameter
    AtOnOk onOk;
    WakeEvent eventOnOk;  // told when the step is answered with OK
};

// Runs the steps in order, each whatever the ones before it answered. The result is that of the
// last step run, or 0 when a kFinish step ended the sequence.
TransferError RunAtSteps(PhoneSession* session, const AtStep* steps, std::size_t count,
                         WakeNotify notify, void* context);

// "AT" (OK: connected), "AT" again (OK: awake). Otherwise a Ctrl-Z, which ends a message prompt
// that a broken send may have left open, then "AT" (OK: connected), "ATZ", "AT" and "AT", whose
// result is the wake-up's.
extern const AtStep kWakeUpSteps[];
extern const std::size_t kWakeUpStepCount;

// "ATE0V1" (or "ATE0" when it is refused), "AT+CMGF=0" (PDU mode), "AT+CSCS=\"GSM\"" (GSM
// character set), then "AT", whose result is the set-up's.
extern const AtStep kSetUpSteps[];
extern const std::size_t kSetUpStepCount;

// The start of every conversation with the phone: the wake-up, whose result is kept as the
// session's last error and returned; when the phone is awake, kInitializing and the set-up
// (AtInit), whose result does not count. `notify` may be null.
TransferError WakePhone(PhoneSession* session, WakeNotify notify, void* context);
