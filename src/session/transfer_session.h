// SPDX-License-Identifier: GPL-3.0-or-later
// One transfer with the phone, run on its own worker thread: open the link, wake and set up the
// phone, send the Outbox (or one message), move what was sent to Sent, retrieve new messages into
// the Inbox and, if asked, delete them on the phone.
//
// The settings are handed to Start() by the caller, who reads them as the transfer starts; the
// session reads none itself. Progress goes to the NotificationSink given to Start() (kNotify*
// numbers); the result stays in the session and is read after kNotifyThreadEnded.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "common/sms_message.h"
#include "common/transfer_error.h"
#include "session/transfer_settings.h"
#include "session/worker_thread.h"

class MessageDatabase;
class TransferLock;
struct PhoneSession;

class TransferSession : public WorkerThread {
  public:
    TransferSession();
    ~TransferSession() override;

    // Null (the default): the full Send && Get. Otherwise only this message is sent (no
    // retrieval); it is not owned and must outlive the run. On success its folder is Sent and
    // the caller stores it.
    void SetSingleMessage(SmsMessage* message) { singleMessage_ = message; }
    bool IsSendOnly() const { return singleMessage_ != nullptr; }

    // Starts a run with `settings`, which are copied. Null when the settings could not be read:
    // the run then does nothing at all (no notification but kNotifyThreadEnded) and leaves the
    // result as it was. Otherwise as WorkerThread::Start, which this hides: a transfer never
    // starts without its caller's word on the settings.
    bool Start(NotificationSink* sink, std::uint32_t completionMessage,
               const TransferSettings* settings);

    // The run's result; meaningful once kNotifyThreadEnded has arrived.
    TransferError Result() const { return result_; }
    void SetResult(TransferError result) { result_ = result; }
    // Why the run failed, for the results whose message takes a reason (kErrStore: the file
    // and what is wrong with it); empty otherwise. Meaningful once kNotifyThreadEnded has
    // arrived.
    const std::u16string& FailureDetail() const { return failureDetail_; }
    void SetFailure(TransferError result, std::u16string detail);

    // What the run left undone while it went on: messages not sent, received messages that
    // could not be stored or read, a damaged store set aside. One line each for the person,
    // in the order met; read under the text lock, so the follower may read it as soon as
    // kNotifySuccess arrives.
    std::vector<std::u16string> Shortfalls() const;
    void AddShortfall(std::u16string line);

    // The record ids of the messages the run stored in the Inbox, in the order received; each
    // is added before its kNotifyReceived is posted. Read under the text lock.
    std::vector<Oid> StoredIds() const;
    void AddStored(Oid id);

    // How long a transfer waits for another one on the same store to end before it gives up
    // with kErrBusy, on the tick clock.
    static constexpr std::uint32_t kLockWaitMs = 5000;

    int End() override;
    void Run() override;

  private:
    // Posts kNotifySuccess and marks the run as over: a cancel that comes after it stops
    // nothing, and must not turn the result of a run that reported success into "cancelled".
    void PostSuccess();

    // Sends the Outbox messages that were there when sending started; false when the run
    // ends there.
    bool SendOutbox(MessageDatabase& store, PhoneSession* phone, bool localMode);
    // Takes the store's transfer lock, waiting up to kLockWaitMs (not at all when the settings
    // say skipIfBusy); false (result set) when not.
    bool TakeTransferLock(TransferLock& lock);

    // The parts of a long Outbox message not yet accepted by the phone, sent in order.
    enum class PartsSent {
        kAll,           // every part has gone; the message is still in the Outbox
        kNotEncodable,  // nothing sent: the message is marked and left (a shortfall says so)
        kStopped,       // the run ends here (result set)
    };
    PartsSent SendParts(MessageDatabase& store, PhoneSession* phone, SmsMessage& message,
                        std::uint32_t parts);
    // The single message of a send-only run, in parts; false (result set) when the run ends.
    bool SendOneInParts(MessageDatabase& store, PhoneSession* phone, SmsMessage& message,
                        std::uint32_t parts);

    std::optional<TransferSettings> settings_;  // of the run; written before its thread starts
    SmsMessage* singleMessage_ = nullptr;
    TransferError result_ = kErrNone;
    std::u16string failureDetail_;
    std::vector<std::u16string> shortfalls_;  // under TextLock()
    std::vector<Oid> storedIds_;              // under TextLock()
    bool succeeded_ = false;  // kNotifySuccess was posted; written and read on the worker only
};
