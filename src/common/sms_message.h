// SPDX-License-Identifier: GPL-3.0-or-later
// One short message in memory and the folder numbers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/file_time.h"
#include "common/pdu_record.h"

using FolderId = std::uint32_t;
constexpr FolderId kFolderInbox = 1;
constexpr FolderId kFolderOutbox = 2;
constexpr FolderId kFolderDraft = 3;
constexpr FolderId kFolderSent = 4;
// Cursor filter only: Inbox and Sent together (the "Log" view).
constexpr FolderId kFolderLog = 255;

constexpr std::uint32_t kFlagUnread = 1;  // taken from the phone and not yet opened
constexpr std::uint32_t kFlagFlash = 2;   // sent or received as a Flash SMS (class 0)
// An Outbox message handed to the phone whose acceptance was never recorded: the phone may
// have sent it. Written durably before the message goes to the phone and cleared when it
// moves to Sent; a message still carrying it is never sent again without the person's word.
constexpr std::uint32_t kFlagMayHaveBeenSent = 4;
// An Outbox message that cannot be encoded as an SMS (its number or service centre is not a
// valid address); it stays in the Outbox, and the transfer goes on with the next message.
constexpr std::uint32_t kFlagNotEncodable = 8;

// Record id in the message store; 0 while the message is not stored.
using Oid = std::uint32_t;

class MessageDatabase;  // the store's database object (store/message_store.h)

struct SmsMessage {
    std::uint32_t flags = 0;
    std::u16string name;
    std::u16string number;  // international numbers with a leading "+"
    std::u16string text;
    FileTime time = 0;              // local time; 0 = not yet stored
    std::vector<std::uint8_t> pdu;  // the last encoded PDU; never stored
    FolderId folder = kFolderDraft;
    Oid oid = 0;
    MessageDatabase* store = nullptr;  // not owned
    PduRecordPtr pduRecord;            // created on demand
    std::uint32_t codecResult = 0;
};
