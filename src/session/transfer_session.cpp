#include "session/transfer_session.h"

#include <cstring>
#include <mutex>
#include <string>

#include "at/at_exchange.h"
#include "at/phone_commands.h"
#include "at/send_message.h"
#include "framework/text_buffer.h"
#include "pdu/deliver.h"
#include "phonelink/serial_transport.h"
#include "phonelink/tcp_transport.h"
#include "phonelink/transport.h"
#include "session/transfer_settings.h"
#include "settings/settings_key.h"
#include "store/message_store.h"

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

// "'%s': %s" of who and what, as the progress detail line.
std::u16string Detail(const SmsMessage& message) {
    const std::u16string& who = message.name.empty() ? message.number : message.name;
    TextBuffer line;
    line.Format(kDetailLimit, u"'%s': %s", who.c_str(), message.text.c_str());
    return line.ToU16();
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
};

}  // namespace

TransferSession::TransferSession() = default;

TransferSession::~TransferSession() { CancelAndWait(); }

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

namespace {

TransferError CancelCheck(PhoneChannel*, void* context) {
    auto* session = static_cast<TransferSession*>(context);
    if (!session->IsCancelled()) return kErrNone;
    session->PostStatus(kStatusCancelling);
    return kErrCancelled;
}

void NoteMemory(const char16_t* memory, void* context) {
    auto* ctx = static_cast<RetrieveContext*>(context);
    if (ctx->deletions != nullptr) NoteListedMemory(ctx->deletions, memory);
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

    bool stored = FindDuplicate(*ctx->store, message);
    if (!stored) {
        stored = WriteMessage(*ctx->store, message);
        if (stored) ctx->session->PostText(kNotifyReceived, Detail(message));
    }
    // A message is deleted on the phone only once it is safely here: stored now, or already
    // stored by an earlier transfer. One that could not be written stays on the phone.
    if (stored && ctx->deletions != nullptr) {
        (void)CollectForDeletion(ctx->deletions, record->storageIndex);
    }
    return kErrNone;
}

// Announces one message and sends it through the phone; when the phone refuses it, its error
// becomes the run's result.
bool SendThroughPhone(TransferSession* session, PhoneSession* phone, SmsMessage& message) {
    session->PostText(kNotifySending, Detail(message));
    if (SendMessage(phone, &message)) return true;
    session->SetResult(phone->lastError);
    return false;
}

}  // namespace

void TransferSession::Run() {
    succeeded_ = false;
    TransferSettings settings;
    if (!ReadTransferSettings(&settings)) return;
    const bool localMode = IsNoCommunication(settings.portName);

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
            result_ = err;
            return;
        }
        err = CreatePhoneSession(res.channel, &res.phone);
        if (err != kErrNone) {
            result_ = err;
            return;
        }
        res.phone->serviceCentre = settings.serviceCentre;
        res.phone->statusReport = settings.statusReport;

        // Wake-up. A phone left inside a message prompt by a broken send answers nothing
        // useful until a Ctrl-Z ends that prompt.
        if (AtPing(res.phone)) PostStatus(kStatusConnected);
        if (!AtPing(res.phone)) {
            const std::uint8_t ctrlZ = 0x1A;
            (void)ChannelWrite(res.channel, &ctrlZ, 1);
            if (AtPing(res.phone)) PostStatus(kStatusConnected);
            (void)AtReset(res.phone);
            (void)AtPing(res.phone);
            if (!AtPing(res.phone)) {
                result_ = res.phone->lastError;
                return;
            }
        }
        PostStatus(kStatusInitializing);
        (void)AtInit(res.phone);
    }

    MessageDatabase store;
    if (singleMessage_ != nullptr) {
        SmsMessage& message = *singleMessage_;
        Post(kNotifySendCount, 1);
        if (!localMode) {
            if (!SendThroughPhone(this, res.phone, message)) return;
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

    if (!OpenMessageStore(store)) {
        PostSuccess();
        return;
    }
    std::uint32_t count = 0;
    {
        std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
        if (!store.CountFolder(kFolderOutbox, &count)) count = 0;
    }
    if (count != 0) {
        Post(kNotifySendCount, count);
        SmsMessage message;
        store.folderFilter = kFolderOutbox;
        message.folder = kFolderOutbox;
        while (ReadFirst(store, message)) {
            if (!localMode) {
                if (!SendThroughPhone(this, res.phone, message)) return;
                message.folder = kFolderSent;
                message.flags &= ~kFlagUnread;
                if (!WriteMessage(store, message)) return;
            } else {
                message.folder = kFolderSent;
                message.flags &= ~kFlagUnread;
                if (!WriteMessage(store, message)) return;
                message.oid = 0;
                message.flags |= kFlagUnread;
                message.folder = kFolderInbox;
                if (!WriteMessage(store, message)) return;
            }
            // A message that cannot leave the Outbox would be read again forever: stop after
            // one more than were counted.
            if (count == 0) return;
            --count;
            if (IsCancelled()) return;
            store.folderFilter = kFolderOutbox;
            message.folder = kFolderOutbox;
        }
    }

    PostStatus(kStatusReceiving);
    if (!localMode) {
        if (settings.deleteAfterRetrieve) {
            res.deletions.sim.growthStep = kIndexListGrowthStep;
            res.deletions.phone.growthStep = kIndexListGrowthStep;
        }
        RetrieveContext ctx{this, &store, settings.deleteAfterRetrieve ? &res.deletions : nullptr};
        const TransferError err = RetrieveAll(res.phone, &NoteMemory, &StoreRetrieved, &ctx);
        if (err != kErrNone) {
            result_ = err;
            return;
        }
        if (settings.deleteAfterRetrieve) DeleteCollected(res.phone, &res.deletions);
    }
    // A cancel that interrupted the listing or the deletions reaches the engine as a time-out,
    // which a phone memory listed after a good SIM does not report: the run still ends as
    // cancelled, and a cancelled run is never a success.
    if (IsCancelled()) return;
    PostSuccess();
}
