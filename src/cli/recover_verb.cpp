// SPDX-License-Identifier: GPL-3.0-or-later
// velkan recover FILE
//
// Brings the messages that can still be read from FILE, a message store set aside as damaged
// ("velkan.sqlite3.damaged-YYYYMMDD-HHMMSS"), back into the store in use: each into its own
// folder with its flags, time, name, number and text, skipping those the store already holds
// (the same folder, time, number and text), all in one transaction. FILE itself is never
// changed, so running it again adds nothing. Says on stderr what was recovered, skipped and
// could not be read.
//
// Exit status: 0 done (also when nothing was left to recover), 1 FILE is not a message store or
// cannot be read at all, or the store in use could not take the messages (then nothing is
// written), 2 bad arguments.
#include <sys/stat.h>

#include <cstdio>
#include <string>

#include "cli/store_access.h"
#include "cli/verbs.h"
#include "resources/translations.h"
#include "store/message_salvage.h"
#include "store/message_store.h"
#include "store/object_store.h"

namespace {

constexpr const char* kVerb = "recover";

bool SameFile(const std::string& a, const std::string& b) {
    struct stat x, y;
    return stat(a.c_str(), &x) == 0 && stat(b.c_str(), &y) == 0 && x.st_dev == y.st_dev &&
           x.st_ino == y.st_ino;
}

}  // namespace

int RunRecoverVerb(int argc, char** argv) {
    if (argc < 2)
        return UsageError(kVerb,
                          Translate("velkan", "which file? give the store that was set aside"));
    if (argc > 2) return UsageError(kVerb, Translate("velkan", "recover takes one FILE"));
    const std::string file = argv[1];
    if (SameFile(file, StoreFilePath())) {
        return UsageError(kVerb, (file + " is the message store in use; give a store that was "
                                         "set aside as damaged")
                                     .c_str());
    }

    SalvagedMessages salvaged;
    std::string detail;
    switch (SalvageMessages(file, &salvaged, &detail)) {
        case SalvageResult::kNotAStore:
            Say(Translate("velkan",
                          "%1 is not a message store of Velkan Tessiver (%2); nothing was "
                          "recovered")
                    .arg(QString::fromStdString(file), QString::fromStdString(detail)));
            return 1;
        case SalvageResult::kCannotRead:
            Say(Translate("velkan", "%1 cannot be read (%2); nothing was recovered")
                    .arg(QString::fromStdString(file), QString::fromStdString(detail)));
            return 1;
        case SalvageResult::kRead:
            break;
    }

    MessageDatabase db;
    if (!OpenStore(db)) return 1;
    std::size_t recovered = 0, duplicates = 0;
    {
        MessageStoreBatch batch(db);
        bool ok = batch.Started();
        for (std::size_t i = 0; ok && i < salvaged.messages.size(); ++i) {
            SmsMessage& message = salvaged.messages[i];
            if (FindDuplicate(db, message)) {
                ++duplicates;
                continue;
            }
            message.oid = 0;
            ok = WriteMessage(db, message);
            if (ok) ++recovered;
        }
        if (!ok || !batch.Commit()) {
            ReportNotices();
            Say(Translate("velkan",
                          "the messages could not be written to the store in use (%1); nothing "
                          "was recovered")
                    .arg(QString::fromStdString(db.LastErrorText())));
            return 1;
        }
    }
    Say(Translate("velkan", "recovered %1, %2 skipped, %3 unreadable")
            .arg(Count(recovered, Translate("velkan", "1 message"),
                       Translate("velkan", "%1 messages")),
                 Count(duplicates, Translate("velkan", "1 duplicate"),
                       Translate("velkan", "%1 duplicates")),
                 QString::number(salvaged.unreadable)));
    if (salvaged.partlyUnreadable) {
        Say(Translate("velkan",
                      "part of %1 could not be read at all; messages kept there could not be "
                      "counted")
                .arg(QString::fromStdString(file)));
    }
    return 0;
}
