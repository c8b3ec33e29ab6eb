// SPDX-License-Identifier: GPL-3.0-or-later
// velkan import FILE [--format xml|csv|json]
//
// Reads the messages of FILE into the store: the XML of a phone's "SMS Backup & Restore"
// backup (received messages into the Inbox with their read mark, sent ones into Sent, drafts
// and the outbox as such; MMS entries are skipped and counted), or the CSV or JSON lines of
// `velkan export`. Every message goes through the duplicate check, so importing a file again
// adds nothing. All or nothing: a file with a bad line or element imports nothing, and stderr
// says where it is. Without --format the format follows from the file's name, else its first
// character. FILE - is standard input. Progress and a summary go to stderr.
//
// Exit status: 0 done, 1 nothing was imported (the file is damaged or unreadable, or the store
// could not take the messages), 2 bad arguments.
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "cli/progress_line.h"
#include "cli/store_access.h"
#include "cli/verbs.h"
#include "resources/translations.h"
#include "store/message_exchange.h"

namespace {

constexpr const char* kVerb = "import";

}  // namespace

int RunImportVerb(int argc, char** argv) {
    const char* path = nullptr;
    const char* formatName = nullptr;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--format") {
            if (i + 1 >= argc)
                return UsageError(kVerb, Translate("velkan", "--format needs a value"));
            formatName = argv[++i];
        } else if (arg.size() > 1 && arg[0] == '-') {
            return UsageError(
                kVerb, Translate("velkan", "unknown option '%1'").arg(QString::fromStdString(arg)));
        } else if (path != nullptr) {
            return UsageError(kVerb, Translate("velkan", "import takes one FILE"));
        } else {
            path = argv[i];
        }
    }
    if (path == nullptr)
        return UsageError(kVerb,
                          Translate("velkan", "which file? give the backup or export to read"));
    ExchangeFormat format = ExchangeFormat::kXml;
    if (formatName != nullptr &&
        (!ParseExchangeFormat(formatName, &format) || format == ExchangeFormat::kMbox)) {
        return UsageError(kVerb, Translate("velkan", "unknown format '%1': xml, csv or json")
                                     .arg(QString::fromLocal8Bit(formatName)));
    }

    const bool standardInput = std::strcmp(path, "-") == 0;
    std::FILE* file = standardInput ? stdin : std::fopen(path, "rb");
    if (file == nullptr) {
        Say(Translate("velkan", "%1 cannot be read: %2; nothing was imported")
                .arg(QString::fromLocal8Bit(path), QString::fromLocal8Bit(std::strerror(errno))));
        return 1;
    }
    struct stat st;
    const std::uint64_t size = fstat(fileno(file), &st) == 0 && S_ISREG(st.st_mode)
                                   ? static_cast<std::uint64_t>(st.st_size)
                                   : 0;
    if (formatName == nullptr) {
        int first = std::getc(file);
        while (first == ' ' || first == '\t' || first == '\r' || first == '\n')
            first = std::getc(file);
        // Only the first byte goes back; blanks before it mean nothing to any of the readers.
        if (first != EOF) std::ungetc(first, file);
        format = GuessImportFormat(standardInput ? std::string() : std::string(path), first);
    }

    MessageDatabase db;
    if (!OpenStore(db)) {
        if (!standardInput) std::fclose(file);
        return 1;
    }
    ProgressLine line(Translate("velkan", "importing %1")
                          .arg(standardInput ? Translate("velkan", "standard input")
                                             : QString::fromLocal8Bit(path))
                          .toStdString(),
                      true);
    ImportSummary summary;
    const bool ok = ImportMessages(
        db, format, file, size,
        [&line](std::uint64_t done, std::uint64_t total) { return line.Show(done, total); },
        &summary);
    line.Finish();
    if (!standardInput) std::fclose(file);
    if (!ok) {
        ReportNotices();
        const QString error = QString::fromStdString(summary.error);
        const QString source =
            standardInput ? Translate("velkan", "standard input") : QString::fromLocal8Bit(path);
        Say(summary.fileDamaged
                ? Translate("velkan", "%1: %2; nothing was imported").arg(source, error)
                : Translate("velkan", "%1; nothing was imported").arg(error));
        return 1;
    }
    QString imported = Translate("velkan", "imported %1 from %2 as %3")
                           .arg(Count(summary.added, Translate("velkan", "1 message"),
                                      Translate("velkan", "%1 messages")),
                                standardInput ? Translate("velkan", "standard input")
                                              : QString::fromLocal8Bit(path),
                                QString::fromUtf8(ExchangeFormatName(format)));
    if (summary.duplicates != 0) {
        imported += Translate("velkan", ", %1 already in the store").arg(summary.duplicates);
    }
    if (summary.mmsSkipped != 0) {
        imported += Translate("velkan", ", %1 MMS skipped").arg(summary.mmsSkipped);
    }
    Say(imported);
    if (summary.toOutbox != 0) {
        Say(Count(
            summary.toOutbox,
            Translate("velkan", "1 of them is in the Outbox and will be sent by the next send-get"),
            Translate("velkan",
                      "%1 of them are in the Outbox and will be sent by the next send-get")));
    }
    return 0;
}
