// SPDX-License-Identifier: GPL-3.0-or-later
// Messages that arrive from the network while the simulator runs: one line of the control
// socket ("NUMBER:TEXT"), or the numbered messages of --inject-every. Each is stored as an unread
// SMS-DELIVER stamped now in the phone's receiving memory and announced as the client's
// AT+CNMI asks (see PhoneModel::Receive).
#pragma once

#include <string>
#include <string_view>

#include "phone_model.h"

namespace phone_sim {

// The sender of the messages --inject-every brings.
constexpr char kInjectedSender[] = "+4930555000";

// A message from `number` with `text` (UTF-8, escapes as in --sms); `index` receives where it
// was stored. False (and `error`) for a bad number or text, or a full memory (the message is
// then lost, as on a phone).
bool ReceiveText(std::string_view number, std::string_view text, PhoneModel* model, unsigned* index,
                 std::string* error);

// The n-th message of --inject-every: "Injected message n" from kInjectedSender.
bool ReceiveInjected(unsigned n, PhoneModel* model, std::string* error);

// One line of the control socket, "NUMBER:TEXT" (a trailing CR is ignored). Returns the answer
// line without its line feed: "stored MEM INDEX", or "error: " and the reason.
std::string ControlLine(std::string_view line, PhoneModel* model);

}  // namespace phone_sim
