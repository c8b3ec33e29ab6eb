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
#include "resources/translations.h"
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
            if (i + 1 >= argc)
                return UsageError(
                    kVerb,
                    Translate("velkan", "%1 needs a value").arg(QString::fromStdString(arg)));
            const char* value = argv[++i];
            if (arg == "--format") {
                formatName = value;
            } else if (arg == "--output") {
                output = value;
            } else if (!ParseFolderName(value, &folder)) {
                return UsageError(
                    kVerb,
                    Translate("velkan", "unknown folder '%1': inbox, outbox, draft, sent or log")
                        .arg(QString::fromLocal8Bit(value)));
            }
        } else {
            return UsageError(
                kVerb,
                Translate("velkan", "unexpected argument '%1'").arg(QString::fromStdString(arg)));
        }
    }
    ExchangeFormat format;
    if (formatName == nullptr)
        return UsageError(kVerb, Translate("velkan", "which format? --format csv|json|xml|mbox"));
    if (!ParseExchangeFormat(formatName, &format)) {
        return UsageError(kVerb, Translate("velkan", "unknown format '%1': csv, json, xml or mbox")
                                     .arg(QString::fromLocal8Bit(formatName)));
    }

    MessageDatabase db;
    if (!OpenStore(db)) return 1;
    ProgressLine line(output != nullptr ? Translate("velkan", "exporting to %1")
                                              .arg(QString::fromLocal8Bit(output))
                                              .toStdString()
                                        : Translate("velkan", "exporting").toStdString(),
                      false);
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
        QString message = QString::fromStdString(summary.error);
        if (output != nullptr) message += Translate("velkan", "; no file was written");
        Say(message);
        return 1;
    }
    const QString exported = Count(summary.written, Translate("velkan", "1 message"),
                                   Translate("velkan", "%1 messages"));
    Say(output != nullptr
            ? Translate("velkan", "exported %1 to %2").arg(exported, QString::fromLocal8Bit(output))
            : Translate("velkan", "exported %1").arg(exported));
    if (summary.skipped != 0) {
        Say(Count(summary.skipped,
                  Translate("velkan",
                            "1 message in no folder of the program (not Inbox, Outbox, Draft or "
                            "Sent) was left out"),
                  Translate("velkan",
                            "%1 messages in no folder of the program (not Inbox, Outbox, Draft "
                            "or Sent) were left out")));
    }
    return 0;
}
