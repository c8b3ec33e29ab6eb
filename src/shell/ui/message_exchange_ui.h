// SPDX-License-Identifier: GPL-3.0-or-later
// Export and import in the desktop program ("Export..." and "Import..." in the Options menu),
// through the store's own exchange code (store/message_exchange.h): the questions asked, the
// work on a worker thread of its own behind a progress dialog with Cancel, and what the person
// is told afterwards, in words.
#pragma once

#include <QString>
#include <functional>

#include "common/sms_message.h"
#include "store/message_exchange.h"

class QProgressDialog;
class QWidget;

struct ExportChoice {
    ExchangeFormat format = ExchangeFormat::kCsv;
    // One folder, kFolderLog or kEveryFolder.
    FolderId folder = 0;
    QString path;
};

// Asks the format and the messages (those of the folder shown, `shownName`, or of every
// folder), then the file to write. False when the person cancels either.
bool AskExportChoice(QWidget* owner, FolderId shown, const QString& shownName,
                     ExportChoice* choice);
// Asks for the file to import; empty when the person cancels.
QString AskImportFile(QWidget* owner);

// Writes the export through a store connection of its own on a worker thread, while a progress
// dialog owned by `owner` shows how far it got and offers Cancel (which leaves no file). Returns
// once it has ended, with what the person is told: how many messages went to which file, or why
// nothing was written; *ok says which. `starting`, when set, is called with the progress dialog
// just before the worker starts.
QString ExportWithReport(QWidget* owner, const ExportChoice& choice, bool* ok,
                         const std::function<void(QProgressDialog&)>& starting = {});

struct ImportOutcome {
    bool ok = false;
    bool cancelled = false;
    ImportSummary summary;
    // What the person is told: the counts, or why nothing was imported (the line or element).
    QString text;
};

// Imports the file `path` (its format guessed from its name or its first character) into the
// message store through a connection of its own on a worker thread, while a progress dialog
// owned by `owner` shows how far it got and offers Cancel (which imports nothing). Returns when
// the import has ended. `starting`, when set, is called with the progress dialog just before
// the worker starts.
ImportOutcome ImportWithProgress(QWidget* owner, const QString& path,
                                 const std::function<void(QProgressDialog&)>& starting = {});

// The text of an import's outcome.
QString ImportReportText(bool ok, bool cancelled, const ImportSummary& summary,
                         const QString& path);
