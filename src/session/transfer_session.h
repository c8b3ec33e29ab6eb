// One transfer with the phone, run on its own worker thread: read the settings, open the link,
// wake and set up the phone, send the Outbox (or one message), move what was sent to Sent,
// retrieve new messages into the Inbox and, if asked, delete them on the phone.
//
// Progress goes to the NotificationSink given to Start() (kNotify* numbers); the result stays in
// the session and is read after kNotifyThreadEnded.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/sms_message.h"
#include "common/transfer_error.h"
#include "session/worker_thread.h"

class TransferSession : public WorkerThread {
public:
    TransferSession();
    ~TransferSession() override;

    // Null (the default): the full Send && Get. Otherwise only this message is sent (no
    // retrieval); it is not owned and must outlive the run. On success its folder is Sent and
    // the caller stores it.
    void SetSingleMessage(SmsMessage* message) { singleMessage_ = message; }
    bool IsSendOnly() const { return singleMessage_ != nullptr; }

    // The run's result; meaningful once kNotifyThreadEnded has arrived.
    TransferError Result() const { return result_; }
    void SetResult(TransferError result) { result_ = result; }

    int End() override;
    void Run() override;

private:
    // Posts kNotifySuccess and marks the run as over: a cancel that comes after it stops
    // nothing, and must not turn the result of a run that reported success into "cancelled".
    void PostSuccess();

    SmsMessage* singleMessage_ = nullptr;
    TransferError result_ = kErrNone;
    bool succeeded_ = false;  // kNotifySuccess was posted; written and read on the worker only
};
