// SPDX-License-Identifier: GPL-3.0-or-later
// velkan send-get
// velkan send --to NUMBER --text TEXT [--name NAME] [--flash | --no-flash]
// velkan resend ID
//
// The transfers of the program without its windows. The session runs on its worker thread as
// it does under the progress dialog; this thread follows its notifications and prints one line
// per change on stderr, with the texts the dialog shows, and a "warning:" line for each thing
// the run left undone. The exit status is the transfer's result code (0 success, 5 cancelled,
// 4, 10, 12, 14, 15, 16, 20 the message store cannot be used, 21 another transfer is using
// it; 1 when the run ended without a code of its own).
//
// `velkan watch` (watch_verb.cpp) follows its rounds the same way (transfer_follow.h).
//
// `resend` is the person's word for an Outbox message marked as possibly sent (it was handed to
// the phone, and its acceptance was never recorded): it goes as a send of that one message, and
// on success the same record moves to Sent with its marks cleared; otherwise it stays as it
// was. Another message, or one without the mark, is refused with 2; an unknown id ends with 1.
//
// For tests of the time-outs, VELKAN_CLOCK_STEP_MS=N replaces the phone side's clock with one
// that moves N ms forward at every reading, so a 20 s time-out passes in a few thousand reads
// instead of 20 s. Unset (the normal case), the real monotonic clock and the shipped time-outs
// apply.
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "cli/message_options.h"
#include "cli/store_access.h"
#include "cli/transfer_follow.h"
#include "cli/verbs.h"
#include "common/text_convert.h"
#include "common/tick_clock.h"
#include "framework/text_buffer.h"
#include "message_ui/text_helpers.h"
#include "pdu/submit_check.h"
#include "resources/translations.h"
#include "session/notification_queue.h"
#include "session/result_messages.h"
#include "session/transfer_session.h"
#include "settings/settings_key.h"
#include "settings/transfer_settings_reader.h"
#include "store/message_store.h"
#include "store/recent_store.h"

namespace {

volatile std::sig_atomic_t g_interrupted = 0;

void OnInterrupt(int) {
    g_interrupted = 1;
}

std::string Str(std::uint32_t id) {
    TextBuffer t;
    t.LoadResourceString(id);
    return Utf16ToUtf8(t.ToU16());
}

std::string Formatted(std::uint32_t id, int a, int b = 0) {
    TextBuffer format, out;
    format.LoadResourceString(id);
    out.Format(80, format.Text(), a, b);
    return Utf16ToUtf8(out.ToU16());
}

std::atomic<std::uint32_t> g_virtualNow{1000};

std::uint32_t SteppingClock(void* context) {
    const auto step = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(context));
    return g_virtualNow.fetch_add(step);
}

void Line(const std::string& text) {
    std::fprintf(stderr, "%s\n", text.c_str());
    std::fflush(stderr);
}

}  // namespace

bool UseClockFromEnvironment() {
    const char* value = std::getenv("VELKAN_CLOCK_STEP_MS");
    if (value == nullptr || *value == 0) return false;
    char* end = nullptr;
    const unsigned long step = std::strtoul(value, &end, 10);
    if (*end != 0 || step == 0 || step > 60000) return false;
    SetTickSource(&SteppingClock, reinterpret_cast<void*>(static_cast<std::uintptr_t>(step)));
    return true;
}

// Follows one run to its end, as the progress dialog does; returns the exit status.
int FollowTransfer(TransferSession& session, const FollowOptions& options) {
    UseClockFromEnvironment();
    struct sigaction sa {};
    sa.sa_handler = &OnInterrupt;
    sigemptyset(&sa.sa_mask);
    struct sigaction oldInt {
    }, oldTerm{};
    if (options.stop == nullptr) {
        sigaction(SIGINT, &sa, &oldInt);
        sigaction(SIGTERM, &sa, &oldTerm);
    }
    g_interrupted = 0;
    const volatile std::sig_atomic_t* stop =
        options.stop != nullptr ? options.stop : &g_interrupted;
    // Quiet: the progress lines are left out.
    const auto progress = [&](const std::string& text) {
        if (!options.quiet) Line(text);
    };

    // The settings are read as the transfer starts; a transfer without them does nothing.
    NotificationQueue queue;
    TransferSettings settings;
    const bool settingsRead = ReadTransferSettings(&settings);
    settings.skipIfBusy = options.skipIfBusy;
    if (!session.Start(&queue, kNotifyThreadEnded, settingsRead ? &settings : nullptr)) {
        queue.Post(kNotifyThreadEnded, 0, 0);
    }

    int toSend = 0, sent = 0, received = 0;
    bool success = false, cancelSent = false;
    for (;;) {
        // Ctrl-C reaches the worker through its cancel event, which it checks at least every
        // 100 ms while it waits for the phone.
        if (*stop && !cancelSent) {
            session.Cancel();
            cancelSent = true;
        }
        auto n = queue.Take(std::chrono::milliseconds(50));
        if (!n) continue;
        if (n->message == kNotifyThreadEnded) break;
        switch (n->message) {
            case kNotifyStatus:
                progress(Str(static_cast<std::uint32_t>(n->wParam)));
                break;
            case kNotifySendCount:
                toSend = static_cast<int>(n->wParam);
                break;
            case kNotifySending:
                ++sent;
                progress(Formatted(3102, sent, toSend) + ": " + Utf16ToUtf8(session.Text()));
                break;
            case kNotifyReceived:
                ++received;
                progress(Formatted(3003, received) + ": " + Utf16ToUtf8(session.Text()));
                break;
            case kNotifySuccess:
                success = true;
                progress(Str(3109));
                if (!session.IsSendOnly()) {
                    // The messages handed to the phone: fewer than counted when some were held
                    // back, which the warnings below name.
                    if (sent != 0) progress(Formatted(3113, sent));
                    progress(received != 0 ? Formatted(3112, received) : Str(3111));
                }
                break;
            default:
                break;
        }
    }
    session.Wait();
    if (options.stop == nullptr) {
        sigaction(SIGINT, &oldInt, nullptr);
        sigaction(SIGTERM, &oldTerm, nullptr);
    }

    // What the run left undone is said whatever its result: a success may still have left
    // messages unsent, unstored or unread.
    for (const std::u16string& shortfall : session.Shortfalls()) {
        Line("velkan: warning: " + Utf16ToUtf8(shortfall));
    }
    const TransferError result = session.Result();
    if (success && result == kErrNone) return 0;
    // The caller says in its own words that it let another transfer go first, or that it
    // stopped the run itself.
    if (options.skipIfBusy && result == kErrBusy) return static_cast<int>(result);
    if (options.stop != nullptr && *options.stop && result == kErrCancelled) {
        return static_cast<int>(result);
    }
    const std::uint32_t id = ResultMessageId(result);
    if (id == kStringOperationFailed) {
        Line(Formatted(id, static_cast<int>(result)));
    } else if (id == kStringStoreUnusable) {
        std::string text = Str(id);
        const std::size_t at = text.find("%s");
        if (at != std::string::npos) text.replace(at, 2, Utf16ToUtf8(session.FailureDetail()));
        Line(text);
    } else if (id != 0) {
        Line(Str(id));
        // What more the run knows of the failure, such as the program that holds the port.
        if (!session.FailureDetail().empty()) {
            Line("velkan: " + Utf16ToUtf8(session.FailureDetail()));
        }
    }
    return result == kErrNone ? 1 : static_cast<int>(result);
}

namespace {

// A custom centre the encoder refuses would end the transfer with 4: false, after saying why.
bool CentreUsable(std::string* reason) {
    TransferSettings settings;
    if (ReadTransferSettings(&settings) && !IsNoCommunication(settings.portName) &&
        ValidateServiceCentre(settings.serviceCentre, reason) != kErrNone) {
        Say(Translate("velkan", "%1 (the SMSC setting); nothing was sent")
                .arg(QString::fromStdString(*reason)));
        return false;
    }
    return true;
}

}  // namespace

int RunSendGetVerb(int argc, char**) {
    if (argc > 1) return UsageError("send-get", Translate("velkan", "send-get takes no arguments"));
    TransferSession session;
    return FollowTransfer(session);
}

int RunSendVerb(int argc, char** argv) {
    MessageOptions options;
    for (int i = 1; i < argc; ++i) {
        const OptionTaken taken = TakeMessageOption("send", argc, argv, &i, &options);
        if (taken == OptionTaken::kUsageError) return 2;
        if (taken == OptionTaken::kNo) {
            return UsageError("send", Translate("velkan", "unexpected argument '%1'")
                                          .arg(QString::fromLocal8Bit(argv[i])));
        }
    }
    const char* to = options.to;
    const char* text = options.text;
    if (to == nullptr || text == nullptr)
        return UsageError("send", Translate("velkan", "--to and --text are required"));

    SmsMessage message;
    message.number = Utf8ToUtf16(to);
    NormalizePhoneNumber(message.number);
    std::u16string body = Utf8ToUtf16(text);
    const CodecOptions codec = CodecOptionsOfSettings();
    if (!codec.unicode && !codec.longSms) {
        CountedText(message.text, body);
    } else {
        // A longer text goes as it will be sent, in parts when LongSms is on.
        std::size_t kept = 0;
        (void)CutToMessage(body, codec, &kept);
        for (char16_t c : body) {
            if (c != u'\r') message.text.push_back(c);
        }
    }
    message.name = Utf8ToUtf16(options.name != nullptr ? options.name : "");
    if (message.number.empty() || message.text.empty()) {
        Say(Translate("velkan", "a message needs a number and a text"));
        return 2;
    }
    std::string reason;
    if (ValidateRecipient(message.number, &reason) != kErrNone ||
        ValidateMessageText(message.text, codec, &reason) != kErrNone) {
        Say(Translate("velkan", "%1; nothing was sent").arg(QString::fromStdString(reason)));
        return 2;
    }
    if (!CentreUsable(&reason)) return static_cast<int>(kErrInvalidParameter);
    if (FlashOf(options)) message.flags |= kFlagFlash;
    message.folder = kFolderSent;

    TransferSession session;
    session.SetSingleMessage(&message);
    const int status = FollowTransfer(session);
    if (status != 0) return status;

    // Sent: keep it in Sent and remember the recipient, as the compose dialog's Send does.
    MessageDatabase store;
    if (!OpenMessageStore(store) || !WriteMessage(store, message)) {
        Say(Translate("velkan", "the message was sent but could not be stored in Sent"));
        return 1;
    }
    RecentDatabase recent;
    if (OpenRecentStore(recent, kPropRecentLastUsed)) {
        RecentRecipient entry;
        entry.name = message.name;
        entry.number = message.number;
        (void)AddRecent(recent, entry);
    }
    return 0;
}

int RunResendVerb(int argc, char** argv) {
    if (argc < 2) return UsageError("resend", Translate("velkan", "which message? give its id"));
    if (argc > 2) return UsageError("resend", Translate("velkan", "resend takes one id"));
    Oid id = 0;
    if (!ParseId(argv[1], &id)) {
        return UsageError(
            "resend",
            Translate("velkan", "'%1' is not a message id").arg(QString::fromLocal8Bit(argv[1])));
    }

    MessageDatabase store;
    if (!OpenStore(store)) return 1;
    SmsMessage message;
    message.oid = id;
    if (!ReadById(store, message)) {
        ReportNotices();
        if (store.LastError() == StoreError::kNoRecord) {
            Say(Translate("velkan", "there is no message %1; nothing was sent").arg(id));
        } else {
            Say(Translate("velkan", "message %1 could not be read: %2")
                    .arg(QString::number(id), QString::fromStdString(store.LastErrorText())));
        }
        return 1;
    }
    // Only the person's word sends a message that the phone may already have sent; any other
    // message goes with the Outbox at the next send-get.
    if (message.folder != kFolderOutbox) {
        Say(Translate("velkan",
                      "message %1 is not in the Outbox; only an Outbox message marked as possibly "
                      "sent is sent again; nothing was sent")
                .arg(id));
        return 2;
    }
    if ((message.flags & kFlagMayHaveBeenSent) == 0) {
        Say(Translate("velkan",
                      "message %1 is not marked as possibly sent; `velkan send-get` sends it with "
                      "the rest of the Outbox; nothing was sent")
                .arg(id));
        return 2;
    }
    std::string reason;
    if (ValidateRecipient(message.number, &reason) != kErrNone ||
        ValidateMessageText(message.text, CodecOptionsOfSettings(), &reason) != kErrNone) {
        Say(Translate("velkan", "message %1 cannot be sent: %2; nothing was sent")
                .arg(QString::number(id), QString::fromStdString(reason)));
        return 2;
    }
    if (!CentreUsable(&reason)) return static_cast<int>(kErrInvalidParameter);

    // The stored record keeps its mark until the phone has taken the message: if this run is
    // cut short, the message is still one that may have been sent.
    message.flags &= ~kFlagMayHaveBeenSent;
    TransferSession session;
    session.SetSingleMessage(&message);
    const int status = FollowTransfer(session);
    if (status != 0) {
        Say(Translate("velkan", "message %1 stays in the Outbox, marked as possibly sent").arg(id));
        return status;
    }
    // Sent: the same record moves to Sent, its marks cleared.
    message.folder = kFolderSent;
    message.flags &= ~(kFlagMayHaveBeenSent | kFlagUnread);
    message.oid = id;
    if (!WriteMessage(store, message)) {
        ReportNotices();
        Say(Translate("velkan",
                      "message %1 was sent but could not be moved to Sent (%2); it stays in the "
                      "Outbox, marked as possibly sent")
                .arg(QString::number(id), QString::fromStdString(store.LastErrorText())));
        return 1;
    }
    return 0;
}
