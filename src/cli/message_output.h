// SPDX-License-Identifier: GPL-3.0-or-later
// How the verbs show messages: the folder names, the table of `velkan list` and the JSON
// object of one message, shared by the verbs that print messages.
#pragma once

#include <cstdint>
#include <string>

#include "common/sms_message.h"

// "inbox", "outbox", "draft", "sent", "log"; "unknown" for another number.
const char* FolderLabel(FolderId folder);
// The folder of a name as the verbs take it (any case); false for an unknown name.
bool ParseFolderName(const char* name, FolderId* folder);

// "YYYY-MM-DD HH:MM:SS" of a local time; empty for none.
std::string TimeText(FileTime time);
// The marks of the flags joined with "+" ("new+flash"), or "-" for none.
std::string FlagsText(std::uint32_t flags);
// One line of a table column: line breaks and tabs become blanks, and a text longer than
// `width` characters is cut with "..." (width 0: no limit). Widths count code points.
std::string Cell(const std::u16string& text, std::size_t width);

// The table of messages: its header, and one message a line.
void PrintMessageTableHeader();
void PrintMessageTableRow(const SmsMessage& m);
// The message as one JSON object (id, folder, flags, name, number, text, time,
// mayHaveBeenSent, notEncodable), without a line break.
std::string MessageJson(const SmsMessage& m);
