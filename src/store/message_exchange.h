// SPDX-License-Identifier: GPL-3.0-or-later
// Messages out of the store into files, and into the store from files: CSV, JSON lines, mbox,
// and the XML of Android's "SMS Backup & Restore" app, so that a phone can take back what the
// program holds and the program can take a phone's backup.
//
// Formats (times: store/exchange_time.h):
// - CSV (RFC 4180, UTF-8, CRLF): a header row "id,time,flags,folder,name,number,text", then one
//   message a row; time the local time "YYYY-MM-DD HH:MM:SS[.fraction]" (empty: no time),
//   flags the store's bits (1 new, 2 flash, 4 may have been sent, 8 cannot be encoded), folder
//   inbox, outbox, draft or sent.
// - JSON lines: one object a line with the fields of `velkan list --json` (id, folder, flags,
//   name, number, text, time, mayHaveBeenSent, notEncodable), time as
//   "YYYY-MM-DDTHH:MM:SS[.fraction]" or null.
// - XML: <smses count="n"> with one <sms protocol="0" address=".." date="ms" type=".." body=".."
//   read=".." .../> a message: date in milliseconds since 1970 UTC, type 1 Inbox, 2 Sent,
//   3 Draft, 4 Outbox, read 0 for a new Inbox message. The new mark is all of the flags it
//   keeps. Characters XML cannot hold (control characters, a lone surrogate) are written as
//   the app writes them, as character references.
// - mbox (mboxrd): one mail a message, From the correspondent (an Inbox message) or To them
//   (the others) as "Name <number@sms.invalid>", Date with the local zone's offset, a Subject
//   from the text's start, a UTF-8 text/plain body; Status RO for a read Inbox message.
//   Written only.
//
// Exports run oldest first over one consistent view of the store (writes of other programs go
// on meanwhile). Imports are all or nothing: every message goes through the duplicate check
// (FindDuplicate) inside one transaction, so a file imported twice adds nothing the second
// time, and a file with one bad line or element adds nothing at all and says where it is.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

#include "store/message_store.h"

enum class ExchangeFormat { kCsv, kJson, kXml, kMbox };

// "csv", "json", "xml", "mbox" (any case).
bool ParseExchangeFormat(std::string_view name, ExchangeFormat* format);
const char* ExchangeFormatName(ExchangeFormat format);

// Called now and then, and at the end, with the work done and the whole: messages for an
// export, bytes of the file for an import. Returning false stops the work; nothing is written
// then (an import is rolled back, an export to a file leaves no file).
using ExchangeProgress = std::function<bool(std::uint64_t done, std::uint64_t total)>;

struct ExportSummary {
    std::uint64_t written = 0;
    // Messages in no folder of the program (a number other than 1 to 4): not written.
    std::uint64_t skipped = 0;
    std::string error;  // why the export failed
};

// Writes the messages of `folder` (one folder, kFolderLog or kEveryFolder) to `out`, oldest
// first. False on a store, write or cancel failure, with summary->error.
bool ExportMessages(MessageDatabase& db, ExchangeFormat format, FolderId folder, std::FILE* out,
                    const ExchangeProgress& progress, ExportSummary* summary);
// The same into the file `path`, which appears (or is replaced) only once it is complete; the
// file is readable by its owner alone.
bool ExportMessagesToFile(MessageDatabase& db, ExchangeFormat format, FolderId folder,
                          const std::string& path, const ExchangeProgress& progress,
                          ExportSummary* summary);

struct ImportSummary {
    std::uint64_t read = 0;        // messages in the file
    std::uint64_t added = 0;       // written to the store
    std::uint64_t duplicates = 0;  // already in the store (or earlier in the file)
    std::uint64_t mmsSkipped = 0;  // <mms> entries of an XML backup, not taken
    std::uint64_t toOutbox = 0;    // added to the Outbox: the next Send & Get sends them
    // Why nothing was imported: what is wrong in the file and where ("line 12: ..."), or what
    // the store refused.
    std::string error;
    bool fileDamaged = false;  // the file is at fault, not the store
};

// Reads messages in `format` (not mbox) from `in` (`size` bytes long, 0 if unknown, for the
// progress) into the store. False when nothing was imported, with summary->error.
//
// The import holds the store file's write lock from its start to its end: other connections
// (the desktop program's, a transfer's) read as before, but a write of theirs waits for the
// import and fails after the busy time-out (kStoreBusyTimeoutMs). The store's process-wide lock
// is taken per message only, so another thread of the program is never held up for longer.
// Memory stays the same whatever the file's size: the file is read as a stream.
bool ImportMessages(MessageDatabase& db, ExchangeFormat format, std::FILE* in, std::uint64_t size,
                    const ExchangeProgress& progress, ImportSummary* summary);
// The same from the file `path`: in `*format`, or when that is null as GuessImportFormat says.
bool ImportMessagesFromFile(MessageDatabase& db, const std::string& path,
                            const ExchangeFormat* format, const ExchangeProgress& progress,
                            ImportSummary* summary);
// The format of a file to import: by its name's ending (.xml, .csv, .json, .jsonl, .ndjson),
// else by its first character ('<' XML, '{' JSON lines, anything else CSV).
ExchangeFormat GuessImportFormat(const std::string& path, int firstByte);
