// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/transfer_session.h"

#include <chrono>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>

#include "at/at_exchange.h"
#include "at/command_sequences.h"
#include "at/phone_commands.h"
#include "at/send_message.h"
#include "common/text_convert.h"
#include "common/tick_clock.h"
#include "framework/text_buffer.h"
#include "pdu/concatenation.h"
#include "pdu/deliver.h"
#include "pdu/submit_parts.h"
#include "phonelink/serial_transport.h"
#include "phonelink/tcp_transport.h"
#include "phonelink/transport.h"
#include "store/long_messages.h"
#include "store/message_store.h"
#include "store/object_store.h"
#include "store/transfer_lock.h"

namespace {

constexpr std::uint32_t kCancelPollIntervalMs = 100;
constexpr std::size_t kDetailLimit = 300;

// The phone side speaks 8-bit text: a UTF-16 setting goes to it by its low bytes.
std::string Narrow(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char16_t c : text) out.push_back(static_cast<char>(c & 0xFF));
    return out;
}

bool StartsWith(std::u16string_view text, std::u16string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

// Lines of the outcome name files and recipients: roomier than a status line.
constexpr std::size_t kOutcomeLimit = 4000;
constexpr std::uint32_t kLockRetryMs = 100;

constexpr std::uint32_t kStringNotStored = 3158;        // "%d message(s) could not be stored: %s"
constexpr std::uint32_t kStringSimNotRead = 3159;       // "%d message(s) in the SIM could not ..."
constexpr std::uint32_t kStringPhoneNotRead = 3160;     // "%d message(s) in the phone memory ..."
constexpr std::uint32_t kStringMayHaveBeenSent = 3161;  // "Not sent, it may have been sent ..."
constexpr std::uint32_t kStringNotEncodable = 3162;     // "Not sent, the number cannot be used: %s"
constexpr std::uint32_t kStringSentNotMoved = 3163;     // "The message to %s was sent, but ..."
constexpr std::uint32_t kStringTooLong = 3260;          // "Not sent, the text is too long ..."
constexpr std::uint32_t kStringPartsLeft = 3261;        // "%d of %d parts of the message ..."

const std::u16string& Who(const SmsMessage& message) {
    return message.name.empty() ? message.number : message.name;
}

// Who, as a line of the outcome names it: a name or number of absurd length is cut, so that
// the line still fits and says something.
std::u16string Recipient(const SmsMessage& message) {
    constexpr std::size_t kShown = 40;
    const std::u16string& who = Who(message);
    return who.size() <= kShown ? who : who.substr(0, kShown) + u"...";
}

// "'%s': %s" of who and what, as the progress detail line.
std::u16string Detail(const SmsMessage& message) {
    TextBuffer line;
    line.Format(kDetailLimit, u"'%s': %s", Who(message).c_str(), message.text.c_str());
    return line.ToU16();
}

// A line of the outcome from a string of the table and its arguments.
template <typename... Args>
std::u16string Outcome(std::uint32_t id, Args... args) {
    TextBuffer format, line;
    format.LoadResourceString(id);
    line.Format(kOutcomeLimit, format.Text(), args...);
    return line.ToU16();
}

// Why the store cannot be used, in its own words: the notices it recorded (they name the file
// and the cause), else the file and SQLite's reason for the last failure.
std::u16string StoreTrouble(const MessageDatabase& store) {
    std::string text;
    for (const StoreNotice& notice : TakeStoreNotices()) {
        if (!text.empty()) text += "\n";
        text += notice.message;
    }
    if (text.empty()) {
        text = StoreFilePath();
        if (!store.LastErrorText().empty()) text += ": " + store.LastErrorText();
    }
    return Utf8ToUtf16(text);
}

// What the store said while it opened (a damaged file set aside and a new one started) is part
// of the outcome: the person has to learn where the older messages went.
void ReportStoreNotices(TransferSession* session) {
    for (const StoreNotice& notice : TakeStoreNotices()) {
        session->AddShortfall(Utf8ToUtf16(notice.message));
    }
}

// Everything the run holds, released on every path by the destructor.
struct RunResources {
    PhoneChannel* channel = nullptr;
    PhoneSession* phone = nullptr;
    DeletionLists deletions{};
    ~RunResources() {
        FreeDeletionLists(&deletions);
        FreePhoneSession(phone);
        ChannelClose(channel);
    }
};

struct RetrieveContext {
    TransferSession* session;
    MessageDatabase* store;
    DeletionLists* deletions;  // null when messages stay on the phone
    std::uint32_t notStored;   // messages that could not be written (they stay on the phone)
    std::string whyNotStored;  // the store's reason for the last of them
    bool joinParts;            // the parts of a long message become one message
};

}  // namespace

TransferSession::TransferSession() = default;

TransferSession::~TransferSession() {
    CancelAndWait();
}

bool TransferSession::Start(NotificationSink* sink, std::uint32_t completionMessage,
                            const TransferSettings* settings) {
    Wait();  // a previous run's thread still reads its settings
    settings_.reset();
    if (settings != nullptr) settings_ = *settings;
    return WorkerThread::Start(sink, completionMessage);
}

int TransferSession::End() {
    // Whatever an interrupted command returned, a cancelled run ends as cancelled; but once
    // "Success" has been posted the follower has already shown it, and the run had nothing left
    // to do when the cancel came.
    if (IsCancelled() && !succeeded_) result_ = kErrCancelled;
    return WorkerThread::End();
}

void TransferSession::PostSuccess() {
    succeeded_ = true;
    Post(kNotifySuccess);
}

void TransferSession::SetFailure(TransferError result, std::u16string detail) {
    result_ = result;
    failureDetail_ = std::move(detail);
}

std::vector<std::u16string> TransferSession::Shortfalls() const {
    std::lock_guard<std::mutex> lock(TextLock());
    return shortfalls_;
}

void TransferSession::AddShortfall(std::u16string line) {
    std::lock_guard<std::mutex> lock(TextLock());
    shortfalls_.push_back(std::move(line));
}

std::vector<Oid> TransferSession::StoredIds() const {
    std::lock_guard<std::mutex> lock(TextLock());
    return storedIds_;
}

void TransferSession::AddStored(Oid id) {
    std::lock_guard<std::mutex> lock(TextLock());
    storedIds_.push_back(id);
}

bool TransferSession::TakeTransferLock(TransferLock& lock) {
    const std::uint32_t deadline = GetTickCount() + kLockWaitMs;
    for (;;) {
        std::string error;
        switch (lock.TryTake(&error)) {
            case TransferLock::Outcome::kTaken:
                return true;
            case TransferLock::Outcome::kFailed:
                SetFailure(kErrStore, Utf8ToUtf16(error));
                return false;
            case TransferLock::Outcome::kBusy:
                break;
        }
        // An automatic check does not queue behind another transfer: it tries again later.
        if (settings_ && settings_->skipIfBusy) {
            result_ = kErrBusy;
            return false;
        }
        if (IsCancelled()) {
            result_ = kErrCancelled;
            return false;
        }
        if (TickPassed(GetTickCount(), deadline)) {
            result_ = kErrBusy;
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(kLockRetryMs));
    }
}

namespace {

TransferError CancelCheck(PhoneChannel*, void* context) {
    auto* session = static_cast<TransferSession*>(context);
    if (!session->IsCancelled()) return kErrNone;
    session->PostStatus(kStatusCancelling);
    return kErrCancelled;
}

// The wake-up's progress as status lines.
void NoteWake(WakeEvent event, void* context) {
    auto* session = static_cast<TransferSession*>(context);
    if (event == WakeEvent::kConnected) session->PostStatus(kStatusConnected);
    if (event == WakeEvent::kInitializing) session->PostStatus(kStatusInitializing);
}

void NoteMemory(const char16_t* memory, void* context) {
    auto* ctx = static_cast<RetrieveContext*>(context);
    if (ctx->deletions != nullptr) NoteListedMemory(ctx->deletions, memory);
}

// A part of a long message: stored with its siblings, and deleted on the phone once it is
// stored, as any other message. The duplicate check is the part's own: a phone that keeps its
// parts lists them again at every transfer.
TransferError StoreRetrievedPart(RetrieveContext* ctx, const PduRecord* record,
                                 const SmsMessage& fields, const ConcatenationInfo& info) {
    ReceivedPart part;
    part.sender = fields.number;
    part.reference = info.reference;
    part.total = info.total;
    part.sequence = info.sequence;
    part.time = fields.time;
    part.text = fields.text;
    SmsMessage joined;
    PartOutcome outcome = PartOutcome::kDuplicate;
    bool stored = false;
    if (ctx->notStored == 0) {
        stored = StoreReceivedPart(*ctx->store, part, fields, &joined, &outcome);
        if (!stored) ctx->whyNotStored = ctx->store->LastErrorText();
    }
    if (!stored) {
        ++ctx->notStored;
    } else if (outcome != PartOutcome::kDuplicate) {
        ctx->session->PostText(kNotifyReceived, Detail(joined));
    }
    if (stored && ctx->deletions != nullptr) {
        (void)CollectForDeletion(ctx->deletions, record->storageIndex);
    }
    return kErrNone;
}

TransferError StoreRetrieved(PduRecord* record, void* context) {
    auto* ctx = static_cast<RetrieveContext*>(context);
    // Only SMS-DELIVER messages are kept; sent copies and status reports stay on the phone.
    if ((record->firstOctet & 3) != kMtiDeliver) return kErrNone;

    SmsMessage message;
    message.pduRecord.reset(NewPduRecord());
    if (!message.pduRecord) return kErrNone;
    std::memcpy(message.pduRecord.get(), record, sizeof *record);
    message.folder = kFolderInbox;
    ApplyPduRecord(&message);
    message.flags = kFlagUnread;

    ConcatenationInfo concatenation{};
    if (ctx->joinParts && ReadConcatenation(record, &concatenation)) {
        return StoreRetrievedPart(ctx, record, message, concatenation);
    }
    bool stored = FindDuplicate(*ctx->store, message);
    if (!stored) {
        // Once a write has failed (a full disk, a lock that outlasted the wait) the others
        // would fail the same way, each after the same wait: they are counted, not tried.
        stored = ctx->notStored == 0 && WriteMessage(*ctx->store, message);
        if (stored) {
            ctx->session->AddStored(message.oid);
            ctx->session->PostText(kNotifyReceived, Detail(message));
        } else {
            if (ctx->notStored == 0) ctx->whyNotStored = ctx->store->LastErrorText();
            ++ctx->notStored;
        }
    }
    // A message is deleted on the phone only once it is safely here: stored now, or already
    // stored by an earlier transfer. One that could not be written stays on the phone.
    if (stored && ctx->deletions != nullptr) {
        (void)CollectForDeletion(ctx->deletions, record->storageIndex);
    }
    return kErrNone;
}

bool CodecOptionsOn(const PhoneSession* phone) {
    return phone->codec.unicode || phone->codec.longSms;
}

// The number of parts the message goes in: 0 when the settings do not let it go (too long).
// With both codec options off every message is one part, as it always was.
std::uint32_t PartsOf(const PhoneSession* phone, const SmsMessage& message) {
    if (!CodecOptionsOn(phone)) return 1;
    return SubmitPartCount(message, phone->codec);
}

// A message of one part, prepared as the codec options say.
TransferError PrepareOne(PhoneSession* phone, SmsMessage* message) {
    if (!CodecOptionsOn(phone)) return PrepareForSending(phone, message);
    return PrepareForSending(phone, message, 0, 0);
}

// Announces one message and sends it through the phone; when the phone refuses it, its error
// becomes the run's result.
bool SendThroughPhone(TransferSession* session, PhoneSession* phone, SmsMessage& message) {
    session->PostText(kNotifySending, Detail(message));
    if (!CodecOptionsOn(phone)) {
        if (SendMessage(phone, &message)) return true;
        session->SetResult(phone->lastError);
        return false;
    }
    phone->lastError = PrepareOne(phone, &message);
    if (phone->lastError == kErrNone) {
        phone->lastError = SubmitPdu(phone, message.pduRecord.get());
    }
    if (phone->lastError == kErrNone) return true;
    session->SetResult(phone->lastError);
    return false;
}

// The phone's own refusal, or a failure before the PDU went out, means it was not sent; after
// the PDU, silence or a broken line may still mean it was.
bool SurelyNotSent(TransferError sent, bool pduWritten) {
    const bool refused = sent == kErrPhoneError || sent == kErrCmsError || sent == kErrCmeError;
    return !pduWritten || refused;
}

}  // namespace

void TransferSession::Run() {
    succeeded_ = false;
    // Settings that could not be read: nothing is done, not even a notification.
    if (!settings_) return;
    const TransferSettings& settings = *settings_;
    const bool localMode = settings.noCommunication;
    {
        std::lock_guard<std::mutex> lock(TextLock());
        shortfalls_.clear();
        storedIds_.clear();
    }
    failureDetail_.clear();

    // Held to the end of the run, whatever path it ends on.
    TransferLock transferLock;
    if (!TakeTransferLock(transferLock)) return;

    RunResources res;
    if (!localMode) {
        PostStatus(kStatusConnecting);
        const std::u16string& port = settings.portName;
        TransferError err;
        std::string address;
        if (StartsWith(port, u"TCP:")) {
            err = CreateTcpTransport(&res.channel);
            address = Narrow(std::u16string_view(port).substr(4));
        } else if (StartsWith(port, u"COM") || StartsWith(port, u"/dev/")) {
            err = CreateSerialTransport(&res.channel);
            address = Narrow(port);
        } else {
            result_ = kErrConnection;
            return;
        }
        if (err != kErrNone) {
            result_ = err;
            return;
        }
        SetPollCallback(res.channel, &CancelCheck, kCancelPollIntervalMs, this);
        err = ChannelOpen(res.channel, kOpenModeConnect, address.c_str());
        if (err != kErrNone) {
            // A port that another program holds says which one.
            SetFailure(err, Utf8ToUtf16(ChannelProblem(res.channel)));
            return;
        }
        err = CreatePhoneSession(res.channel, &res.phone);
        if (err != kErrNone) {
            result_ = err;
            return;
        }
        res.phone->serviceCentre = settings.serviceCentre;
        res.phone->statusReport = settings.statusReport;
        res.phone->codec = CodecOptions{settings.unicode, settings.longSms};

        err = WakePhone(res.phone, &NoteWake, this);
        if (err != kErrNone) {
            result_ = err;
            return;
        }
    }

    MessageDatabase store;
    if (singleMessage_ != nullptr) {
        SmsMessage& message = *singleMessage_;
        Post(kNotifySendCount, 1);
        if (!localMode) {
            const std::uint32_t parts = PartsOf(res.phone, message);
            if (parts <= 1) {
                if (!SendThroughPhone(this, res.phone, message)) return;
            } else if (!SendOneInParts(store, res.phone, message, parts)) {
                return;
            }
            message.folder = kFolderSent;
        } else {
            message.folder = kFolderSent;
            message.flags &= ~kFlagUnread;
            message.time = CurrentLocalFileTime();
            if (OpenMessageStore(store)) {
                SmsMessage copy;
                copy.name = message.name;
                copy.number = message.number;
                copy.text = message.text;
                copy.time = message.time;
                copy.flags = message.flags | kFlagUnread;
                copy.folder = kFolderInbox;
                (void)WriteMessage(store, copy);
            }
        }
        PostSuccess();
        return;
    }

    // A transfer that cannot keep what it sends and receives must not pretend it ran: a store
    // that cannot be opened, or not written to, ends the run with its reason.
    if (!OpenMessageStore(store)) {
        SetFailure(kErrStore, StoreTrouble(store));
        return;
    }
    {
        // The write lock taken and given back at once: a store that another program holds
        // locked, or that is read-only, is found here rather than after the phone has sent.
        MessageStoreBatch probe(store);
        if (!probe.Started()) {
            SetFailure(kErrStore, StoreTrouble(store));
            return;
        }
    }
    ReportStoreNotices(this);
    if (settings.sendOutbox && !SendOutbox(store, res.phone, localMode)) return;

    PostStatus(kStatusReceiving);
    if (!localMode) {
        if (settings.deleteAfterRetrieve) {
            res.deletions.sim.growthStep = kIndexListGrowthStep;
            res.deletions.phone.growthStep = kIndexListGrowthStep;
        }
        RetrieveContext ctx{};
        ctx.session = this;
        ctx.store = &store;
        ctx.deletions = settings.deleteAfterRetrieve ? &res.deletions : nullptr;
        ctx.joinParts = settings.longSms;
        RetrieveCounts counts{};
        const TransferError err =
            RetrieveAll(res.phone, &NoteMemory, &StoreRetrieved, &ctx, &counts);
        if (ctx.notStored != 0) {
            AddShortfall(Outcome(kStringNotStored, static_cast<int>(ctx.notStored),
                                 Utf8ToUtf16(ctx.whyNotStored).c_str()));
        }
        // Messages left unread because the person stopped the run are no shortfall to report.
        const bool cancelled = err == kErrCancelled || IsCancelled();
        if (!cancelled && counts.simNotRead != 0) {
            AddShortfall(Outcome(kStringSimNotRead, static_cast<int>(counts.simNotRead)));
        }
        if (!cancelled && counts.phoneNotRead != 0) {
            AddShortfall(Outcome(kStringPhoneNotRead, static_cast<int>(counts.phoneNotRead)));
        }
        // What arrived whole goes from the phone, even after a cut or failed listing, but not
        // after a cancel or with the phone out of step; a cancel that comes later stops the
        // first deletion.
        if (settings.deleteAfterRetrieve) DeleteRetrieved(res.phone, &res.deletions, err, counts);
        if (err != kErrNone) {
            result_ = err;
            return;
        }
    }
    // A cancel that interrupted the listing or the deletions reaches the engine as a time-out,
    // which a phone memory listed after a good SIM does not report: the run still ends as
    // cancelled, and a cancelled run is never a success.
    if (IsCancelled()) return;
    PostSuccess();
}

namespace {

// The Outbox messages in the order they are sent (oldest first, records without a time last),
// as they are when sending starts.
bool OutboxIds(MessageDatabase& store, std::vector<Oid>* ids) {
    std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
    store.folderFilter = kFolderOutbox;
    ids->clear();
    for (bool found = SeekFirstInFolder(store); found; found = SeekNextInFolder(store)) {
        ids->push_back(store.currentId);
    }
    return store.LastError() == StoreError::kNone || store.LastError() == StoreError::kNoRecord;
}

}  // namespace

// Sending is at most once per message. The list of messages is taken once, so a message
// written while the transfer runs waits for the next one and none is handed to the phone twice
// in a run. Before a message goes to the phone it is marked "may have been sent" in the store,
// durably; the mark goes only when the message moves to Sent, or when the phone's answer says
// it did not take the PDU. A message found with the mark was handed over by a run that did not
// learn the outcome (killed, or the store failed after the phone's OK): sending it again could
// deliver it twice, so it waits for the person's word.
bool TransferSession::SendOutbox(MessageDatabase& store, PhoneSession* phone, bool localMode) {
    std::vector<Oid> ids;
    if (!OutboxIds(store, &ids)) {
        SetFailure(kErrStore, StoreTrouble(store));
        return false;
    }
    std::vector<Oid> toSend;
    SmsMessage message;
    for (Oid id : ids) {
        message.oid = id;
        if (!ReadById(store, message)) continue;
        if ((message.flags & kFlagMayHaveBeenSent) != 0) {
            AddShortfall(Outcome(kStringMayHaveBeenSent, Recipient(message).c_str()));
            continue;
        }
        toSend.push_back(id);
    }
    if (toSend.empty()) return true;
    Post(kNotifySendCount, toSend.size());

    for (Oid id : toSend) {
        message.oid = id;
        // Gone or moved since the list was taken (the person deleted or edited it): skipped.
        if (!ReadById(store, message) || message.folder != kFolderOutbox) continue;
        if (localMode) {
            message.folder = kFolderSent;
            message.flags &= ~kFlagUnread;
            if (!WriteMessage(store, message)) {
                SetFailure(kErrStore, StoreTrouble(store));
                return false;
            }
            message.oid = 0;
            message.flags |= kFlagUnread;
            message.folder = kFolderInbox;
            if (!WriteMessage(store, message)) {
                SetFailure(kErrStore, StoreTrouble(store));
                return false;
            }
        } else {
            const std::uint32_t parts = PartsOf(phone, message);
            if (parts == 0) {
                // Longer than the settings let a message be: it stays in the Outbox.
                message.flags |= kFlagNotEncodable;
                (void)WriteMessage(store, message);
                AddShortfall(Outcome(kStringTooLong, Recipient(message).c_str()));
                continue;
            }
            if (parts > 1) {
                const PartsSent sent = SendParts(store, phone, message, parts);
                if (sent == PartsSent::kStopped) return false;
                if (sent == PartsSent::kNotEncodable) continue;
                // Every part went: the message moves to Sent, and what was kept of its
                // sending goes with it.
                message.folder = kFolderSent;
                message.flags &= ~(kFlagUnread | kFlagMayHaveBeenSent | kFlagNotEncodable);
                MessageStoreBatch batch(store);
                if (!batch.Started() || !WriteMessage(store, message) ||
                    !ForgetLongSend(store, message.oid) || !batch.Commit()) {
                    SetFailure(kErrStore, Outcome(kStringSentNotMoved, Recipient(message).c_str(),
                                                  StoreTrouble(store).c_str()));
                    return false;
                }
                if (IsCancelled()) return false;
                continue;
            }
            // A message the encoder refuses never reaches the phone and cannot be sent as it
            // stands: it stays in the Outbox with its mark, and the others still go.
            if (PrepareOne(phone, &message) != kErrNone) {
                message.flags |= kFlagNotEncodable;
                (void)WriteMessage(store, message);
                AddShortfall(Outcome(kStringNotEncodable, Recipient(message).c_str()));
                continue;
            }
            message.flags = (message.flags & ~kFlagNotEncodable) | kFlagMayHaveBeenSent;
            if (!WriteMessage(store, message)) {
                SetFailure(kErrStore, StoreTrouble(store));
                return false;
            }
            PostText(kNotifySending, Detail(message));
            bool pduWritten = false;
            const TransferError sent = SubmitPdu(phone, message.pduRecord.get(), &pduWritten);
            phone->lastError = sent;
            if (sent != kErrNone) {
                // The phone's own refusal, or a failure before the PDU went out, means it was
                // not sent; after the PDU, silence or a broken line leaves the mark in place.
                if (SurelyNotSent(sent, pduWritten)) {
                    message.flags &= ~kFlagMayHaveBeenSent;
                    (void)WriteMessage(store, message);
                }
                result_ = sent;
                return false;
            }
            message.folder = kFolderSent;
            message.flags &= ~(kFlagUnread | kFlagMayHaveBeenSent);
            if (!WriteMessage(store, message)) {
                SetFailure(kErrStore, Outcome(kStringSentNotMoved, Recipient(message).c_str(),
                                              StoreTrouble(store).c_str()));
                return false;
            }
        }
        if (IsCancelled()) return false;
    }
    return true;
}

// A long message goes as its parts, in order, each its own AT+CMGS with the same reference.
// The mark "may have been sent" covers one part at a time: it is written before the part goes
// and taken away, in the same transaction that notes the part as sent, once the phone accepted
// it. A run that stops between two parts (a refusal, a kill) leaves the message in the Outbox
// with the parts sent noted, and the next run sends only the rest; one that stops while a part
// is with the phone leaves the mark, and the message waits for the person's word.
TransferSession::PartsSent TransferSession::SendParts(MessageDatabase& store, PhoneSession* phone,
                                                      SmsMessage& message, std::uint32_t parts) {
    LongSend progress;
    if (!StartLongSend(store, message.oid, &progress)) {
        SetFailure(kErrStore, StoreTrouble(store));
        return PartsSent::kStopped;
    }
    const auto reference = static_cast<std::uint8_t>(progress.reference);
    // Every part is encoded before the first goes: a message the encoder refuses does not go
    // out in halves.
    for (std::uint32_t k = progress.partsSent; k < parts; ++k) {
        if (PrepareForSending(phone, &message, reference, k) != kErrNone) {
            message.flags |= kFlagNotEncodable;
            (void)WriteMessage(store, message);
            AddShortfall(Outcome(kStringNotEncodable, Recipient(message).c_str()));
            return PartsSent::kNotEncodable;
        }
    }
    PostText(kNotifySending, Detail(message));
    for (std::uint32_t k = progress.partsSent; k < parts; ++k) {
        (void)PrepareForSending(phone, &message, reference, k);
        message.flags = (message.flags & ~kFlagNotEncodable) | kFlagMayHaveBeenSent;
        if (!WriteMessage(store, message)) {
            SetFailure(kErrStore, StoreTrouble(store));
            return PartsSent::kStopped;
        }
        bool pduWritten = false;
        const TransferError sent = SubmitPdu(phone, message.pduRecord.get(), &pduWritten);
        phone->lastError = sent;
        if (sent != kErrNone) {
            if (SurelyNotSent(sent, pduWritten)) {
                message.flags &= ~kFlagMayHaveBeenSent;
                (void)WriteMessage(store, message);
            }
            if (k > 0) {
                AddShortfall(Outcome(kStringPartsLeft, static_cast<int>(k), static_cast<int>(parts),
                                     Recipient(message).c_str()));
            }
            result_ = sent;
            return PartsSent::kStopped;
        }
        if (k + 1 == parts) break;  // the caller moves it to Sent, mark and all
        message.flags &= ~kFlagMayHaveBeenSent;
        MessageStoreBatch batch(store);
        if (!batch.Started() || !WriteMessage(store, message) ||
            !NotePartsSent(store, message.oid, k + 1) || !batch.Commit()) {
            SetFailure(kErrStore, Outcome(kStringSentNotMoved, Recipient(message).c_str(),
                                          StoreTrouble(store).c_str()));
            return PartsSent::kStopped;
        }
        if (IsCancelled()) {
            AddShortfall(Outcome(kStringPartsLeft, static_cast<int>(k + 1), static_cast<int>(parts),
                                 Recipient(message).c_str()));
            return PartsSent::kStopped;
        }
    }
    return PartsSent::kAll;
}

// The one message of a send-only run, when it goes in parts: it waits in the Outbox while they
// go, so that what went out is noted as for any Outbox message. On success the caller stores
// it in Sent (the same record); a run that sent no part takes back the record it made.
bool TransferSession::SendOneInParts(MessageDatabase& store, PhoneSession* phone,
                                     SmsMessage& message, std::uint32_t parts) {
    if (!OpenMessageStore(store)) {
        SetFailure(kErrStore, StoreTrouble(store));
        return false;
    }
    const bool made = message.oid == 0;
    const FolderId folder = message.folder;
    message.folder = kFolderOutbox;
    message.flags &= ~kFlagUnread;
    if (!WriteMessage(store, message)) {
        message.folder = folder;
        SetFailure(kErrStore, StoreTrouble(store));
        return false;
    }
    const PartsSent sent = SendParts(store, phone, message, parts);
    if (sent == PartsSent::kAll) {
        if (!ForgetLongSend(store, message.oid)) {
            SetFailure(kErrStore, Outcome(kStringSentNotMoved, Recipient(message).c_str(),
                                          StoreTrouble(store).c_str()));
            return false;
        }
        message.flags &= ~(kFlagMayHaveBeenSent | kFlagNotEncodable);
        return true;
    }
    if (sent == PartsSent::kNotEncodable) result_ = kErrInvalidParameter;
    LongSend progress;
    const bool noneSent = (message.flags & kFlagMayHaveBeenSent) == 0 &&
                          StartLongSend(store, message.oid, &progress) && progress.partsSent == 0;
    if (made && noneSent && store.DeleteRecord(message.oid)) message.oid = 0;
    message.folder = folder;
    return false;
}
