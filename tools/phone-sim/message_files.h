// SPDX-License-Identifier: GPL-3.0-or-later
// The stored messages file that fills the simulated phone at start, the quick forms of the
// command line, and the state file that shows what the phone holds while it runs.
//
// Stored messages file: one message per line; blank lines and lines starting with '#' are
// skipped; a trailing CR is ignored.
//
//   MEM|STATUS|NUMBER|YYYY-MM-DD HH:MM:SS|+ZZ|TEXT
//   MEM|STATUS|PDU:<hex>|<tpdu length>
//   SENT|REF|NUMBER|FLAGS|DELIVERED|PDU:<hex>|<tpdu length>|TEXT
//
// MEM is "SM" or "ME", optionally with a fixed index ("SM@5"); without one the message takes the
// lowest free index. STATUS is 0 REC UNREAD, 1 REC READ, 2 STO UNSENT, 3 STO SENT. Statuses 0
// and 1 store an SMS-DELIVER with the time stamp and zone (quarter hours, "+04" = GMT+1);
// statuses 2 and 3 store an SMS-SUBMIT to NUMBER (the time is checked but not stored). TEXT is
// everything after the fifth '|' (so it may hold '|'); "\n" stands for a line feed, "\r" for a
// carriage return and "\\" for a backslash. The raw form stores the hex exactly as given (it may
// be any PDU, even a broken one); the length may be left out when the hex holds a well-formed
// service-centre part, and is then computed. SENT lines (written by the state file) restore the
// list of sent messages; only REF, DELIVERED ("ME@3" or "-"), the hex and the length are read,
// the rest is decoded again from the PDU.
#pragma once

#include <string>
#include <string_view>

#include "phone_model.h"

namespace phone_sim {

// One line of a stored messages file. False (and `error`) when it cannot be used.
bool LoadMessageLine(std::string_view line, PhoneModel* model, std::string* error);
// Every line of `text`; errors read "NAME:LINE: what".
bool LoadMessagesText(std::string_view text, std::string_view name, PhoneModel* model,
                      std::string* error);
bool LoadMessagesFile(const std::string& path, PhoneModel* model, std::string* error);

// "MEM:NUMBER:TEXT": an unread message received now from NUMBER (TEXT may hold ':').
bool AddQuickMessage(std::string_view quick, PhoneModel* model, std::string* error);

// `count` unread messages in the phone memory, from distinct numbers and at distinct times, for
// load tests. The memory grows when they would not fit.
bool GenerateMessages(unsigned count, PhoneModel* model, std::string* error);

// What the phone holds: every stored message as a "MEM@INDEX|STATUS|PDU:<hex>|<length>" line,
// then every sent message as a SENT line. A stored messages file itself, so it can be loaded
// again with --messages.
std::string FormatState(const PhoneModel& model);

std::string EscapeText(std::string_view text);
std::string UnescapeText(std::string_view text);

}  // namespace phone_sim
