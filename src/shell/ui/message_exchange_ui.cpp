// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/message_exchange_ui.h"

#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QEventLoop>
#include <QFileDialog>
#include <QFormLayout>
#include <QProgressDialog>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "framework/text_buffer.h"
#include "framework/ui/resource_text.h"
#include "message_ui/ui/store_failure.h"
#include "store/message_store.h"

namespace {

constexpr unsigned kStringAllFolders = 3201;
constexpr unsigned kStringExport = 3205;
constexpr unsigned kStringFormat = 3206;
constexpr unsigned kStringMessages = 3207;
constexpr unsigned kStringShownFolder = 3208;
constexpr unsigned kStringWritten = 3209;
constexpr unsigned kStringNotExported = 3210;
constexpr unsigned kStringImporting = 3211;
constexpr unsigned kStringImported = 3212;
constexpr unsigned kStringNotImported = 3213;
constexpr unsigned kStringToOutbox = 3214;
constexpr unsigned kStringImportCancelled = 3216;
constexpr unsigned kStringExportTitle = 3217;
constexpr unsigned kStringImportTitle = 3218;
constexpr unsigned kStringExporting = 3219;
constexpr unsigned kStringExportCancelled = 3220;

// Paths can be long; a text that did not fit would be shown empty.
constexpr std::size_t kReportTextLimit = 8000;
// Steps of the progress bar.
constexpr int kProgressSteps = 1000;
// How often the progress dialog looks at the worker's figures.
constexpr int kProgressPollMs = 30;
// A short import ends before its progress dialog would be worth showing.
constexpr int kProgressShowAfterMs = 400;

struct FormatEntry {
    ExchangeFormat format;
    const char* label;  // the formats' own names: not translated
    const char* extension;
};
constexpr FormatEntry kFormats[] = {
    {ExchangeFormat::kCsv, "CSV", "csv"},
    {ExchangeFormat::kJson, "JSON lines", "json"},
    {ExchangeFormat::kXml, "XML (SMS Backup & Restore)", "xml"},
    {ExchangeFormat::kMbox, "mbox", "mbox"},
};

QString Format3(unsigned id, const QString& a, const QString& b, const QString& c) {
    TextBuffer format;
    format.LoadResourceString(id);
    TextBuffer out;
    out.Format(kReportTextLimit, format.Text(), a.toStdU16String().c_str(),
               b.toStdU16String().c_str(), c.toStdU16String().c_str());
    return QString::fromUtf16(out.Text());
}

QString Count(std::uint64_t n) {
    return QString::number(static_cast<qulonglong>(n));
}

// How far an export or an import got, shared between its worker and its progress dialog.
struct WorkerFigures {
    std::atomic<std::uint64_t> done{0};
    std::atomic<std::uint64_t> total{0};
    std::atomic<bool> cancel{false};
    std::atomic<bool> finished{false};

    // The exchange code's progress callback: records the figures, and stops the work once
    // Cancel was pressed.
    ExchangeProgress Callback() {
        return [this](std::uint64_t d, std::uint64_t t) {
            done = d;
            total = t;
            return !cancel.load();
        };
    }
};

// A progress dialog for work on a worker thread: window-modal over `owner`, shown only when the
// work lasts, its Cancel recorded in `figures`.
void SetUpProgress(QProgressDialog& progress, const QString& name, const QString& label,
                   const std::shared_ptr<WorkerFigures>& figures) {
    progress.setObjectName(name);
    progress.setWindowTitle(ResourceText(2));
    progress.setLabelText(label);
    progress.setRange(0, kProgressSteps);
    progress.setValue(0);
    progress.setAutoClose(false);
    progress.setAutoReset(false);
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(kProgressShowAfterMs);
    QObject::connect(&progress, &QProgressDialog::canceled, &progress,
                     [figures] { figures->cancel = true; });
}

// Runs `work` on a worker thread of its own while `progress` shows how far it got; returns once
// the work has ended, with true when Cancel was pressed before. The work opens its own store
// connection, so that the list's stays free to draw its rows meanwhile.
bool RunBehindProgress(QProgressDialog& progress, const std::shared_ptr<WorkerFigures>& figures,
                       std::function<void()> work) {
    std::thread worker([figures, work = std::move(work)] {
        work();
        figures->finished = true;
    });
    QEventLoop loop;
    QTimer poll;
    poll.setInterval(kProgressPollMs);
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        const std::uint64_t total = figures->total;
        if (total != 0) {
            const std::uint64_t done = std::min<std::uint64_t>(figures->done, total);
            progress.setValue(static_cast<int>(done * kProgressSteps / total));
        }
        if (figures->finished) loop.quit();
    });
    poll.start();
    if (!figures->finished) loop.exec();
    poll.stop();
    worker.join();
    // Taken before the dialog closes: closing a progress dialog counts as its Cancel.
    const bool cancelled = figures->cancel;
    progress.close();
    return cancelled;
}

}  // namespace

bool AskExportChoice(QWidget* owner, FolderId shown, const QString& shownName,
                     ExportChoice* choice) {
    QDialog dialog(owner);
    dialog.setObjectName(QStringLiteral("exportDialog"));
    dialog.setWindowTitle(ResourceText(kStringExport));
    auto* form = new QFormLayout(&dialog);
    auto* formats = new QComboBox(&dialog);
    formats->setObjectName(QStringLiteral("exportFormat"));
    for (const FormatEntry& entry : kFormats) {
        formats->addItem(QString::fromUtf8(entry.label), static_cast<int>(entry.format));
    }
    form->addRow(ResourceText(kStringFormat), formats);
    auto* folders = new QComboBox(&dialog);
    folders->setObjectName(QStringLiteral("exportFolder"));
    folders->addItem(FormatResourceText(kStringShownFolder, shownName),
                     QVariant::fromValue<quint32>(shown));
    folders->addItem(ResourceText(kStringAllFolders), QVariant::fromValue<quint32>(kEveryFolder));
    form->addRow(ResourceText(kStringMessages), folders);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    form->addRow(buttons);
    if (dialog.exec() != QDialog::Accepted) return false;

    const FormatEntry& entry = kFormats[formats->currentIndex()];
    const QString extension = QString::fromLatin1(entry.extension);
    QString path = QFileDialog::getSaveFileName(
        owner, ResourceText(kStringExportTitle),
        QDir::home().filePath(QStringLiteral("messages.") + extension),
        QStringLiteral("%1 (*.%2)").arg(QString::fromUtf8(entry.label), extension));
    if (path.isEmpty()) return false;
    choice->format = entry.format;
    choice->folder = folders->currentData().value<quint32>();
    choice->path = path;
    return true;
}

QString AskImportFile(QWidget* owner) {
    return QFileDialog::getOpenFileName(
        owner, ResourceText(kStringImportTitle), QDir::homePath(),
        QStringLiteral("XML, CSV, JSON (*.xml *.csv *.json *.jsonl *.ndjson);;* (*)"));
}

QString ExportWithReport(QWidget* owner, const ExportChoice& choice, bool* ok,
                         const std::function<void(QProgressDialog&)>& starting) {
    auto figures = std::make_shared<WorkerFigures>();
    QProgressDialog progress(owner);
    SetUpProgress(progress, QStringLiteral("exportProgress"),
                  FormatResourceText(kStringExporting, QDir::toNativeSeparators(choice.path)),
                  figures);
    if (starting) starting(progress);

    ExportSummary summary;
    bool written = false;
    const std::string path = choice.path.toStdString();
    const bool cancelled = RunBehindProgress(progress, figures, [&] {
        MessageDatabase db;
        if (!OpenMessageStore(db)) {
            summary.error = StoreFailureReason(&db).toStdString();
            return;
        }
        written = ExportMessagesToFile(db, choice.format, choice.folder, path, figures->Callback(),
                                       &summary);
    });
    *ok = written;
    if (!written) {
        const QString why = cancelled ? ResourceText(kStringExportCancelled)
                                      : QString::fromStdString(summary.error);
        return FormatResourceText(kStringNotExported, why);
    }
    return FormatResourceText(kStringWritten, Count(summary.written),
                              QDir::toNativeSeparators(choice.path));
}

QString ImportReportText(bool ok, bool cancelled, const ImportSummary& summary,
                         const QString& path) {
    if (cancelled)
        return FormatResourceText(kStringNotImported, ResourceText(kStringImportCancelled));
    if (!ok) {
        QString why = QString::fromStdString(summary.error);
        // A fault of the file is named with the file; some reasons name it already.
        const QString file = QDir::toNativeSeparators(path);
        if (summary.fileDamaged && !why.startsWith(path)) why = file + QStringLiteral(": ") + why;
        return FormatResourceText(kStringNotImported, why);
    }
    QString text = Format3(kStringImported, Count(summary.added), Count(summary.duplicates),
                           Count(summary.mmsSkipped));
    if (summary.toOutbox != 0) {
        text += u'\n' + FormatResourceText(kStringToOutbox, Count(summary.toOutbox));
    }
    return text;
}

ImportOutcome ImportWithProgress(QWidget* owner, const QString& path,
                                 const std::function<void(QProgressDialog&)>& starting) {
    auto figures = std::make_shared<WorkerFigures>();
    QProgressDialog progress(owner);
    SetUpProgress(progress, QStringLiteral("importProgress"),
                  FormatResourceText(kStringImporting, QDir::toNativeSeparators(path)), figures);
    if (starting) starting(progress);

    ImportOutcome outcome;
    const std::string file = path.toStdString();
    const bool cancelled = RunBehindProgress(progress, figures, [&] {
        MessageDatabase db;
        if (!OpenMessageStore(db)) {
            outcome.summary.error = StoreFailureReason(&db).toStdString();
            return;
        }
        outcome.ok =
            ImportMessagesFromFile(db, file, nullptr, figures->Callback(), &outcome.summary);
    });
    outcome.cancelled = !outcome.ok && cancelled;
    outcome.text = ImportReportText(outcome.ok, outcome.cancelled, outcome.summary, path);
    return outcome;
}
