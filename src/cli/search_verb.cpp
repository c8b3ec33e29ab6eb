// SPDX-License-Identifier: GPL-3.0-or-later
// velkan search WORDS... [--folder F] [--json]
//
// Prints the messages whose text, name or number contain every word, Latin letters compared
// without regard to case or accents, newest first: as the table of `velkan list` or, with
// --json, one JSON object a line. --folder limits the search to inbox, outbox, draft, sent or
// log (Inbox and Sent). Words that begin with "-" follow "--".
//
// Exit status: 0 done (also when nothing matches: stderr says so), 1 the store could not be
// read, 2 bad arguments.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "cli/message_output.h"
#include "cli/store_access.h"
#include "cli/verbs.h"
#include "common/text_convert.h"
#include "resources/translations.h"
#include "store/message_search.h"
#include "store/search_fold.h"

namespace {

constexpr const char* kVerb = "search";

}  // namespace

int RunSearchVerb(int argc, char** argv) {
    std::string query;
    FolderId folder = kEveryFolder;
    bool json = false;
    bool wordsOnly = false;
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        if (!wordsOnly && std::strcmp(arg, "--") == 0) {
            wordsOnly = true;
        } else if (!wordsOnly && std::strcmp(arg, "--json") == 0) {
            json = true;
        } else if (!wordsOnly && std::strcmp(arg, "--folder") == 0) {
            if (i + 1 >= argc)
                return UsageError(kVerb, Translate("velkan", "--folder needs a folder"));
            if (!ParseFolderName(argv[++i], &folder)) {
                return UsageError(
                    kVerb,
                    Translate("velkan", "unknown folder '%1': inbox, outbox, draft, sent or log")
                        .arg(QString::fromLocal8Bit(argv[i])));
            }
        } else if (!wordsOnly && arg[0] == '-' && arg[1] != '\0') {
            return UsageError(
                kVerb,
                Translate("velkan", "unknown option '%1' (words that begin with - go after --)")
                    .arg(QString::fromStdString(arg)));
        } else {
            if (!query.empty()) query += ' ';
            query += arg;
        }
    }
    if (SearchWords(Utf8ToUtf16(query)).empty()) {
        return UsageError(kVerb, Translate("velkan", "which words? give one or more"));
    }

    MessageDatabase db;
    if (!OpenStore(db)) return 1;
    MessageSearch search(db, Utf8ToUtf16(query), folder);
    std::vector<SmsMessage> screen;
    bool any = false;
    while (!search.AtEnd()) {
        if (!search.Next(200, &screen)) {
            ReportNotices();
            Say(Translate("velkan", "the messages could not be searched: %1")
                    .arg(QString::fromStdString(db.LastErrorText())));
            return 1;
        }
        for (const SmsMessage& m : screen) {
            if (json) {
                std::printf("%s\n", MessageJson(m).c_str());
            } else {
                if (!any) PrintMessageTableHeader();
                PrintMessageTableRow(m);
            }
            any = true;
        }
        std::fflush(stdout);
    }
    if (!any) Say(Translate("velkan", "no message matches"));
    return 0;
}
