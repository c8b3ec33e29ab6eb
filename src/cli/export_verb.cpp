// SPDX-License-Identifier: GPL-3.0-or-later
// velkan export --format csv|json|xml|mbox [--folder F] [--output FILE]
//
// Writes the messages (of one folder, or log for Inbox and Sent, or all of them) oldest first
// to standard output or FILE: CSV with a header row, JSON lines, mbox, or the XML of Android's
// "SMS Backup & Restore" app (store/message_exchange.h). FILE appears (or is replaced) only
// when the export is complete. Progress and a summary go to stderr.
//
// Exit status: 0 done, 1 the store could not be read or the output not written, 2 bad
// arguments.
#include <cstdio>
#include <cstring>
#include <string>

#include "cli/message_output.h"
#include "cli/progress_line.h"
#include "cli/store_access.h"
#include "cli/verbs.h"
#include "store/message_exchange.h"

namespace {

constexpr const char* kVerb = "export";

}  // namespace

int RunExportVerb(int argc, char** argv) {
    const char* formatName = nullptr;
    const char* output = nullptr;
    FolderId folder = kEveryFolder;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--format" || arg == "--folder" || arg == "--output") {
            if (i + 1 >= argc) return UsageError(kVerb, (arg + " needs a value").c_str());
            const char* value = argv[++i];
            if (arg == "--format") {
                formatName = value;
            } else if (arg == "--output") {
                output = value;
            } else if (!ParseFolderName(value, &folder)) {
                return UsageError(kVerb, (std::string("unknown folder '") + value +
                                          "': inbox, outbox, draft, sent or log")
                                             .c_str());
            }
        } else {
            return UsageError(kVerb, ("unexpected argument '" + arg + "'").c_str());
        }
    }
    ExchangeFormat format;
    if (formatName == nullptr) return UsageError(kVerb, "which format? --format csv|json|xml|mbox");
    if (!ParseExchangeFormat(formatName, &format)) {
        return UsageError(
            kVerb,
            (std::string("unknown format '") + formatName + "': csv, json, xml or mbox").c_str());
    }

    MessageDatabase db;
    if (!OpenStore(db)) return 1;
    ProgressLine line(
        std::string("exporting") + (output != nullptr ? std::string(" to ") + output : ""), false);
    const ExchangeProgress progress = [&line](std::uint64_t done, std::uint64_t total) {
        return line.Show(done, total);
    };
    ExportSummary summary;
    const bool ok = output != nullptr
                        ? ExportMessagesToFile(db, format, folder, output, progress, &summary)
                        : ExportMessages(db, format, folder, stdout, progress, &summary);
    line.Finish();
    if (!ok) {
        ReportNotices();
        std::fprintf(stderr, "velkan: %s%s\n", summary.error.c_str(),
                     output != nullptr ? "; no file was written" : "");
        return 1;
    }
    std::fprintf(stderr, "velkan: exported %llu message%s%s%s\n",
                 static_cast<unsigned long long>(summary.written), summary.written == 1 ? "" : "s",
                 output != nullptr ? " to " : "", output != nullptr ? output : "");
    if (summary.skipped != 0) {
        std::fprintf(stderr,
                     "velkan: %llu message%s in no folder of the program (not Inbox, Outbox, "
                     "Draft or Sent) %s left out\n",
                     static_cast<unsigned long long>(summary.skipped),
                     summary.skipped == 1 ? "" : "s", summary.skipped == 1 ? "was" : "were");
    }
    return 0;
}
