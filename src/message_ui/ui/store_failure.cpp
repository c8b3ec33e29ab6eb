// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/ui/store_failure.h"

#include <QCoreApplication>
#include <QStringList>

#include "framework/text_buffer.h"
#include "framework/ui/resource_text.h"
#include "store/database.h"
#include "store/object_store.h"

namespace {

constexpr unsigned kStringStoreCannotBeUsed = 3171;
constexpr unsigned kStringFirstFolder = 2051;  // "Inbox"; Outbox, Draft and Sent follow
// Paths can be long; a text that did not fit would be shown empty.
constexpr std::size_t kFailureTextLimit = 8000;

std::u16string U16(const QString& s) {
    return s.toStdU16String();
}

}  // namespace

QString FormatResourceText(unsigned id, const QString& first) {
    TextBuffer format;
    format.LoadResourceString(id);
    TextBuffer out;
    out.Format(kFailureTextLimit, format.Text(), U16(first).c_str());
    return QString::fromUtf16(out.Text());
}

QString FormatResourceText(unsigned id, const QString& first, const QString& second) {
    TextBuffer format;
    format.LoadResourceString(id);
    TextBuffer out;
    out.Format(kFailureTextLimit, format.Text(), U16(first).c_str(), U16(second).c_str());
    return QString::fromUtf16(out.Text());
}

QString TakeStoreNoticeText() {
    QStringList lines;
    for (const StoreNotice& notice : TakeStoreNotices()) {
        lines << QString::fromStdString(notice.message);
    }
    return lines.join(u'\n');
}

QString StoreFailureReason(const CeDatabase* db) {
    const QString notices = TakeStoreNoticeText();
    if (!notices.isEmpty()) return notices;
    QString why = db != nullptr ? QString::fromStdString(db->LastErrorText()) : QString();
    // A write that fails as the file is committed (a full disk, an I/O error) can leave SQLite
    // without its message, which then reads "not an error"; that is no reason to show.
    if (why == QLatin1String("not an error")) why.clear();
    if (why.isEmpty()) {
        if (db == nullptr) {
            why = QCoreApplication::translate("StoreFailure", "it cannot be opened");
        } else if (db->LastError() == StoreError::kDamaged) {
            why = QCoreApplication::translate("StoreFailure", "the file is damaged");
        } else {
            why = QCoreApplication::translate("StoreFailure",
                                              "the file could not be read or written (error %1)")
                      .arg(static_cast<unsigned>(db->LastError()));
        }
    }
    return FormatResourceText(kStringStoreCannotBeUsed, QString::fromStdString(StoreFilePath()),
                              why);
}

QString FolderName(unsigned folder) {
    if (folder < 1 || folder > 4) return QString();
    return ResourceText(kStringFirstFolder + folder - 1);
}
