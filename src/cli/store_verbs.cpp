// SPDX-License-Identifier: GPL-3.0-or-later
// velkan compose --to NUMBER --text TEXT [--name NAME] [--flash | --no-flash] [--draft]
// velkan list inbox|outbox|draft|sent|log [--json]
// velkan delete ID...
// velkan recent [--json]
//
// The message store from the command line. Data goes to stdout, progress and errors to stderr.
// Exit status: 0 done, 1 the store could not do it (nothing is changed then), 2 bad arguments.
// A store file found damaged is set aside and reported, and the command stops with status 1
// without acting on the new, empty store; run it again to use that.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "cli/json.h"
#include "cli/message_options.h"
#include "cli/message_output.h"
#include "cli/store_access.h"
#include "cli/verbs.h"
#include "common/text_convert.h"
#include "message_ui/text_helpers.h"
#include "pdu/submit_check.h"
#include "store/message_store.h"
#include "store/object_store.h"
#include "store/recent_store.h"

namespace {

// --- compose ---------------------------------------------------------------------------------

int RunCompose(int argc, char** argv) {
    MessageOptions options;
    bool draft = false;
    for (int i = 1; i < argc; ++i) {
        const OptionTaken taken = TakeMessageOption("compose", argc, argv, &i, &options);
        if (taken == OptionTaken::kUsageError) return 2;
        if (taken == OptionTaken::kYes) continue;
        if (std::strcmp(argv[i], "--draft") == 0) {
            draft = true;
        } else {
            return UsageError("compose",
                              (std::string("unexpected argument '") + argv[i] + "'").c_str());
        }
    }
    const char* to = options.to;
    const char* text = options.text;
    const char* name = options.name;

    // The fields as the compose dialog collects them.
    SmsMessage message;
    message.folder = draft ? kFolderDraft : kFolderOutbox;
    message.name = Utf8ToUtf16(name != nullptr ? name : "");
    message.number = Utf8ToUtf16(to != nullptr ? to : "");
    NormalizePhoneNumber(message.number);
    std::u16string source = Utf8ToUtf16(text != nullptr ? text : "");
    // As the compose window counts: with Unicode or LongSms on, in the encoding and parts the
    // text will go in.
    const CodecOptions codec = CodecOptionsOfSettings();
    std::size_t kept = 0;
    if (CutToMessage(source, codec, &kept)) {
        std::fprintf(stderr, "velkan: the text was cut to %zu characters\n", kept);
    }
    message.text = source;

    if (message.name.empty() && message.number.empty() && message.text.empty()) {
        std::fputs("velkan: nothing to store: the name, the number and the text are all empty\n",
                   stderr);
        return 2;
    }
    // An Outbox message will be sent, so it needs both; a draft needs neither.
    if (!draft && (message.number.empty() || message.text.empty())) {
        std::fprintf(stderr,
                     "velkan: an Outbox message needs %s (use --draft to keep it as a draft)\n",
                     message.number.empty()
                         ? (to == nullptr ? "a number (--to)" : "a number with digits (--to)")
                         : "a text (--text)");
        return 2;
    }

    // What the encoder would refuse is refused here, with the reason, before it is stored: an
    // Outbox message the phone cannot be given would only fail at the next transfer. A draft
    // is checked for a number it already has; its text is counted again when it is sent.
    std::string reason;
    if ((!message.number.empty() && ValidateRecipient(message.number, &reason) != kErrNone) ||
        (!draft && ValidateMessageText(message.text, codec, &reason) != kErrNone)) {
        std::fprintf(stderr, "velkan: %s; nothing was stored\n", reason.c_str());
        return 2;
    }

    if (FlashOf(options)) message.flags |= kFlagFlash;

    MessageDatabase db;
    if (!OpenStore(db)) return 1;
    if (!WriteMessage(db, message)) {
        ReportNotices();
        std::fprintf(stderr, "velkan: the message could not be stored: %s\n",
                     db.LastErrorText().c_str());
        return 1;
    }
    std::printf("%u\n", message.oid);
    std::fflush(stdout);

    if (!message.number.empty()) {
        RecentDatabase recent;
        RecentRecipient entry;
        entry.name = message.name;
        entry.number = message.number;
        if (!OpenRecent(recent, kPropRecentLastUsed) || !AddRecent(recent, entry)) {
            std::fputs("velkan: the message was stored, but the recipient was not remembered\n",
                       stderr);
        }
    }
    return 0;
}

// --- list ------------------------------------------------------------------------------------

int RunList(int argc, char** argv) {
    const char* folderName = nullptr;
    bool json = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json") == 0) {
            json = true;
        } else if (argv[i][0] == '-' || folderName != nullptr) {
            return UsageError("list",
                              (std::string("unexpected argument '") + argv[i] + "'").c_str());
        } else {
            folderName = argv[i];
        }
    }
    if (folderName == nullptr)
        return UsageError("list", "which folder? inbox, outbox, draft, sent or log");
    FolderId folder = 0;
    if (!ParseFolderName(folderName, &folder)) {
        return UsageError("list", (std::string("unknown folder '") + folderName +
                                   "': inbox, outbox, draft, sent or log")
                                      .c_str());
    }

    MessageDatabase db;
    if (!OpenStore(db)) return 1;
    constexpr std::uint32_t kPage = 500;
    std::vector<SmsMessage> page;
    bool header = false;
    for (std::uint32_t first = 0;; first += kPage) {
        if (!db.ReadFolderPage(folder, first, kPage, &page)) {
            ReportNotices();
            std::fprintf(stderr, "velkan: the folder could not be read: %s\n",
                         db.LastErrorText().c_str());
            return 1;
        }
        for (const SmsMessage& m : page) {
            if (json) {
                std::printf("%s\n", MessageJson(m).c_str());
                continue;
            }
            if (!header) {
                PrintMessageTableHeader();
                header = true;
            }
            PrintMessageTableRow(m);
        }
        if (page.size() < kPage) break;
    }
    if (!json && !header)
        std::fprintf(stderr, "velkan: the %s folder is empty\n", FolderLabel(folder));
    return 0;
}

// --- delete ----------------------------------------------------------------------------------

int RunDelete(int argc, char** argv) {
    std::vector<Oid> ids;
    for (int i = 1; i < argc; ++i) {
        Oid id = 0;
        if (!ParseId(argv[i], &id)) {
            return UsageError("delete",
                              (std::string("'") + argv[i] + "' is not a message id").c_str());
        }
        ids.push_back(id);
    }
    if (ids.empty()) return UsageError("delete", "which messages? give their ids");
    MessageDatabase db;
    if (!OpenStore(db)) return 1;
    // Every id is checked inside the one transaction that deletes them: all go, or none.
    Oid missing = 0;
    if (!db.DeleteRecords(ids, &missing)) {
        ReportNotices();
        if (missing != 0) {
            std::fprintf(stderr, "velkan: there is no message %u; nothing was deleted\n", missing);
        } else {
            std::fprintf(stderr, "velkan: nothing was deleted: %s\n", db.LastErrorText().c_str());
        }
        return 1;
    }
    // An id listed twice names one message, deleted once.
    std::vector<Oid> distinct = ids;
    std::sort(distinct.begin(), distinct.end());
    distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    std::fprintf(stderr, "velkan: deleted %zu message%s\n", distinct.size(),
                 distinct.size() == 1 ? "" : "s");
    return 0;
}

// --- recent ----------------------------------------------------------------------------------

int RunRecent(int argc, char** argv) {
    bool json = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json") != 0) {
            return UsageError("recent",
                              (std::string("unexpected argument '") + argv[i] + "'").c_str());
        }
        json = true;
    }
    RecentDatabase db;
    if (!OpenRecent(db, kPropRecentName)) return 1;
    std::vector<RecentRecipient> entries;
    if (!ListRecentByName(db, &entries)) {
        ReportNotices();
        std::fprintf(stderr, "velkan: the recent recipients could not be read\n");
        return 1;
    }
    if (!json && !entries.empty()) std::printf("%-30s  %s\n", "NAME", "NUMBER");
    for (const RecentRecipient& e : entries) {
        if (json) {
            std::printf("%s\n",
                        JsonObject().Add("name", e.name).Add("number", e.number).Str().c_str());
        } else {
            std::printf("%s  %s\n", Cell(e.name, 30).c_str(), Cell(e.number, 0).c_str());
        }
    }
    if (!json && entries.empty()) std::fputs("velkan: no recent recipients\n", stderr);
    return 0;
}

}  // namespace

int RunComposeVerb(int argc, char** argv) {
    return RunCompose(argc, argv);
}
int RunListVerb(int argc, char** argv) {
    return RunList(argc, argv);
}
int RunDeleteVerb(int argc, char** argv) {
    return RunDelete(argc, argv);
}
int RunRecentVerb(int argc, char** argv) {
    return RunRecent(argc, argv);
}
