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
#include "resources/translations.h"
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
            return UsageError("compose", Translate("velkan", "unexpected argument '%1'")
                                             .arg(QString::fromLocal8Bit(argv[i])));
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
    const std::size_t given = source.size();
    std::u16string counted;
    CountedText(counted, source);
    if (source.size() < given) {
        Say(Translate("velkan", "the text was cut to %1 characters").arg(kMaxMessageChars));
    }
    message.text = source;

    if (message.name.empty() && message.number.empty() && message.text.empty()) {
        Say(Translate("velkan",
                      "nothing to store: the name, the number and the text are all empty"));
        return 2;
    }
    // An Outbox message will be sent, so it needs both; a draft needs neither.
    if (!draft && (message.number.empty() || message.text.empty())) {
        Say(message.number.empty()
                ? (to == nullptr ? Translate("velkan",
                                             "an Outbox message needs a number (--to) (use "
                                             "--draft to keep it as a draft)")
                                 : Translate("velkan",
                                             "an Outbox message needs a number with digits "
                                             "(--to) (use --draft to keep it as a draft)"))
                : Translate("velkan",
                            "an Outbox message needs a text (--text) (use --draft to keep it as "
                            "a draft)"));
        return 2;
    }

    // What the encoder would refuse is refused here, with the reason, before it is stored: an
    // Outbox message the phone cannot be given would only fail at the next transfer. A draft
    // is checked for a number it already has; its text is counted again when it is sent.
    std::string reason;
    if ((!message.number.empty() && ValidateRecipient(message.number, &reason) != kErrNone) ||
        (!draft && ValidateMessageText(message.text, &reason) != kErrNone)) {
        Say(Translate("velkan", "%1; nothing was stored").arg(QString::fromStdString(reason)));
        return 2;
    }

    if (FlashOf(options)) message.flags |= kFlagFlash;

    MessageDatabase db;
    if (!OpenStore(db)) return 1;
    if (!WriteMessage(db, message)) {
        ReportNotices();
        Say(Translate("velkan", "the message could not be stored: %1")
                .arg(QString::fromStdString(db.LastErrorText())));
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
            Say(Translate("velkan",
                          "the message was stored, but the recipient was not remembered"));
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
            return UsageError("list", Translate("velkan", "unexpected argument '%1'")
                                          .arg(QString::fromLocal8Bit(argv[i])));
        } else {
            folderName = argv[i];
        }
    }
    if (folderName == nullptr)
        return UsageError("list",
                          Translate("velkan", "which folder? inbox, outbox, draft, sent or log"));
    FolderId folder = 0;
    if (!ParseFolderName(folderName, &folder)) {
        return UsageError(
            "list", Translate("velkan", "unknown folder '%1': inbox, outbox, draft, sent or log")
                        .arg(QString::fromLocal8Bit(folderName)));
    }

    MessageDatabase db;
    if (!OpenStore(db)) return 1;
    constexpr std::uint32_t kPage = 500;
    std::vector<SmsMessage> page;
    bool header = false;
    for (std::uint32_t first = 0;; first += kPage) {
        if (!db.ReadFolderPage(folder, first, kPage, &page)) {
            ReportNotices();
            Say(Translate("velkan", "the folder could not be read: %1")
                    .arg(QString::fromStdString(db.LastErrorText())));
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
        Say(Translate("velkan", "the %1 folder is empty")
                .arg(QString::fromUtf8(FolderLabel(folder))));
    return 0;
}

// --- delete ----------------------------------------------------------------------------------

int RunDelete(int argc, char** argv) {
    std::vector<Oid> ids;
    for (int i = 1; i < argc; ++i) {
        Oid id = 0;
        if (!ParseId(argv[i], &id)) {
            return UsageError("delete", Translate("velkan", "'%1' is not a message id")
                                            .arg(QString::fromLocal8Bit(argv[i])));
        }
        ids.push_back(id);
    }
    if (ids.empty())
        return UsageError("delete", Translate("velkan", "which messages? give their ids"));
    MessageDatabase db;
    if (!OpenStore(db)) return 1;
    // Every id is checked inside the one transaction that deletes them: all go, or none.
    Oid missing = 0;
    if (!db.DeleteRecords(ids, &missing)) {
        ReportNotices();
        if (missing != 0) {
            Say(Translate("velkan", "there is no message %1; nothing was deleted").arg(missing));
        } else {
            Say(Translate("velkan", "nothing was deleted: %1")
                    .arg(QString::fromStdString(db.LastErrorText())));
        }
        return 1;
    }
    // An id listed twice names one message, deleted once.
    std::vector<Oid> distinct = ids;
    std::sort(distinct.begin(), distinct.end());
    distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    Say(Translate("velkan", "deleted %1")
            .arg(Count(distinct.size(), Translate("velkan", "1 message"),
                       Translate("velkan", "%1 messages"))));
    return 0;
}

// --- recent ----------------------------------------------------------------------------------

int RunRecent(int argc, char** argv) {
    bool json = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json") != 0) {
            return UsageError("recent", Translate("velkan", "unexpected argument '%1'")
                                            .arg(QString::fromLocal8Bit(argv[i])));
        }
        json = true;
    }
    RecentDatabase db;
    if (!OpenRecent(db, kPropRecentName)) return 1;
    std::vector<RecentRecipient> entries;
    if (!ListRecentByName(db, &entries)) {
        ReportNotices();
        Say(Translate("velkan", "the recent recipients could not be read"));
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
    if (!json && entries.empty()) Say(Translate("velkan", "no recent recipients"));
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
