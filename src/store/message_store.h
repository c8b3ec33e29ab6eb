// SPDX-License-Identifier: GPL-3.0-or-later
// The message store: every short message of the program, one row per message in the table
// "messages" of the store file (store/schema.h), walked by time (oldest first, equal times by
// record id, messages without a time last). Every write and deletion keeps the search's
// full-text index in step in the same transaction (store/message_search.h).
//
// The user interface and the transfer worker each use their own MessageDatabase object; every
// operation below holds the one process-wide recursive lock (MessageStoreLock) while it works,
// so that the two never interleave inside the file. The cursor and outboxSeen belong to an
// object and are not protected between calls.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "common/sms_message.h"
#include "store/database.h"

// Every folder, for the operations that take one beside kFolderLog.
constexpr FolderId kEveryFolder = 0;

class MessageDatabase : public CeDatabase {
  public:
    // The folder a cursor walks, or kFolderLog for Inbox and Sent together.
    FolderId folderFilter = kFolderInbox;
    // Outbox records passed over since the cursor was last set to the first record.
    std::uint32_t outboxSeen = 0;

    // Queries for a list of a folder (kFolderLog: Inbox and Sent), newest first. They use
    // indexes and do not move the cursor. False when the store cannot be read.
    bool CountFolder(FolderId folder, std::uint32_t* count);
    // The messages of `folder` that carry the unread flag.
    bool CountUnread(FolderId folder, std::uint32_t* count);
    bool FolderOidsNewestFirst(FolderId folder, std::vector<Oid>* oids);
    // Rows first .. first+count-1 of the newest-first list, read completely.
    bool ReadFolderPage(FolderId folder, std::uint32_t first, std::uint32_t count,
                        std::vector<SmsMessage>* messages);
    // True when a record of message.folder has the same time, text and number. An index
    // look-up: it does not slow down as the folder grows, and it leaves the cursor alone.
    bool HasDuplicate(const SmsMessage& message, bool* found);
    // A place in the time order of the messages: with a time by time, then id; those without
    // one after them all, by id (newest first too, as the lists show them).
    struct TimePosition {
        bool started = false;  // false: before the first message of the current part
        bool timed = true;     // in the part of the messages with a time
        std::int64_t time = 0;
        std::int64_t id = 0;
        bool done = false;  // past the last message
    };
    // Up to `count` messages of `folder` (kFolderLog: Inbox and Sent; kEveryFolder: every
    // message) that follow *from in time order, oldest first or newest first, read
    // completely; *from moves past them. Fewer than `count` only at the end. Each call is a
    // range of the folder's index (of messages_time for every message).
    bool ReadInTimeOrder(FolderId folder, bool newestFirst, TimePosition* from, std::uint32_t count,
                         std::vector<SmsMessage>* messages);
    // Deletes one record; false when it is not stored or cannot be deleted.
    bool DeleteRecord(Oid oid);
    // Deletes every listed record in one transaction, or none: when an id is not stored,
    // nothing is deleted, *missing names it, and the result is false.
    bool DeleteRecords(const std::vector<Oid>& oids, Oid* missing);

  private:
    friend bool OpenMessageStore(MessageDatabase& db);
    friend bool WriteMessage(MessageDatabase& db, SmsMessage& message);
    friend bool WriteMessageKeepingTime(MessageDatabase& db, SmsMessage& message);
    friend class MessageSearch;
    friend class MessageReadSnapshot;
    friend class LongMessageAccess;
    friend bool ReadCurrent(MessageDatabase& db, SmsMessage& message);
    friend bool SeekFirstInFolder(MessageDatabase& db);
    friend bool SeekNextInFolder(MessageDatabase& db);
    friend bool DeleteStoredMessage(SmsMessage& message);

    // The number of messages of `folder` that also meet `condition` (SQL, empty: all).
    bool CountIn(FolderId folder, const std::string& condition, std::uint32_t* count);

    // A place in the walking order of every message: by time, messages without a time last,
    // then by id.
    struct WalkKey {
        bool timed = false;
        std::int64_t time = 0;
        std::int64_t id = 0;
    };
    bool StepInFolder(bool fromStart);
    // The next message of `folder` (kFolderLog: Inbox or Sent) after `from` (or the first).
    bool NextInFolder(FolderId folder, const WalkKey* from, WalkKey* found, bool* any);
    // Outbox messages after `from` (or from the start) up to `to` (or to the end), included.
    bool CountOutbox(const WalkKey* from, const WalkKey* to, std::uint32_t* count);
    bool ReadRow(Oid oid, SmsMessage* message, bool* found);
    // A message and its full-text entry, inside the caller's transaction; *oid its record id.
    bool Write(SmsMessage& message, bool keepNoTime);
    // *changed: the message's row was written (the index entry may not be).
    bool WriteRow(const SmsMessage& message, Oid* oid, bool* changed);
    // The full-text entry of record `oid` made to hold the message's fields (unless, when
    // mayBeIndexed, it holds them already), or taken away.
    bool Index(Oid oid, const SmsMessage& message, bool mayBeIndexed);
    bool Unindex(Oid oid);

    bool positioned_ = false;
    WalkKey position_;
};

// The one lock of the message store, held around every operation (it nests).
std::recursive_mutex& MessageStoreLock();

// Several message operations on one object as a whole: all their writes are kept, or none.
// Holds the store's lock from construction to Commit (or destruction, which rolls back what
// was not committed), so other threads wait rather than meet a locked file.
class MessageStoreBatch {
  public:
    explicit MessageStoreBatch(MessageDatabase& db);
    ~MessageStoreBatch();
    MessageStoreBatch(const MessageStoreBatch&) = delete;
    MessageStoreBatch& operator=(const MessageStoreBatch&) = delete;

    bool Started() const { return started_; }
    bool Commit();

  private:
    std::unique_lock<std::recursive_mutex> lock_;
    MessageDatabase& db_;
    bool started_;
};

// While it lives, every read of `db` sees the store as it was at the first of them; the writes
// of other connections (the transfer, the desktop program) go on meanwhile and are not seen.
// For reads that must agree with each other, as an export's count and its messages. `db` must
// not write meanwhile.
class MessageReadSnapshot {
  public:
    explicit MessageReadSnapshot(MessageDatabase& db);
    ~MessageReadSnapshot();
    MessageReadSnapshot(const MessageReadSnapshot&) = delete;
    MessageReadSnapshot& operator=(const MessageReadSnapshot&) = delete;

    bool Started() const { return started_; }

  private:
    MessageDatabase& db_;
    bool started_;
};

// Opens `db` on the store file unless it is open (creating, migrating or repairing its layout
// when needed).
bool OpenMessageStore(MessageDatabase& db);

// Writes the message's folder, name, text, time, number and flags to record message.oid (0
// creates one; a record that does not exist fails); a zero time becomes the current local time
// first, and stays in the message. The record id becomes message.oid and the database's
// current id; message.store = &db.
bool WriteMessage(MessageDatabase& db, SmsMessage& message);
// As WriteMessage, but a zero time stays "no time" rather than becoming the current time: for
// messages brought in from elsewhere that never had one.
bool WriteMessageKeepingTime(MessageDatabase& db, SmsMessage& message);
// Clears the message (keeping its folder) and reads the current record into it.
bool ReadCurrent(MessageDatabase& db, SmsMessage& message);
// The first record of db.folderFilter, read.
bool ReadFirst(MessageDatabase& db, SmsMessage& message);
// The record message.oid, read.
bool ReadById(MessageDatabase& db, SmsMessage& message);

// Cursor walks through db.folderFilter (kFolderLog: Inbox and Sent), oldest first; every
// Outbox record passed is counted in db.outboxSeen. Each step is a look-up in the folder's
// index, whatever the other folders hold; at the end the cursor rests on the last record.
bool SeekFirstInFolder(MessageDatabase& db);
bool SeekNextInFolder(MessageDatabase& db);

// True when a record in the message's folder has the same time, text, number and folder (a
// message without a time: a record without one). False also when the store cannot be read.
bool FindDuplicate(MessageDatabase& db, const SmsMessage& message);

// Deletes the message's record from message.store; a never-stored message (oid 0) succeeds
// without doing anything. On success message.oid becomes 0.
bool DeleteStoredMessage(SmsMessage& message);

// Makes the message a new, empty one in `folder`.
void ResetMessage(SmsMessage& message, FolderId folder);
// A new Draft to the same correspondent.
void MakeReply(SmsMessage& message);
// A new Draft with the same text.
void MakeForward(SmsMessage& message);
